// Closing where nobody can be told that it failed.
#pragma once

namespace GenTLProducer
{

/// Runs a close in a destructor. Whatever it throws stays here: the destruction goes on, and
/// releases by ownership what the close didn't get to.
template <typename Close>
void CloseQuietly(Close close) noexcept
{
    try {
        close();
    } catch (...) {
        return;
    }
}

} // namespace GenTLProducer
