// The input of a fuzzer as a stream of values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

namespace fuzz
{

/// Takes values from the front, in the same way on every machine; behind the end everything is 0.
/// The input stays the caller's. One thread at a time.
class Bytes final
{
public:
    Bytes(const std::uint8_t* data, std::size_t size) noexcept : next_(data), left_(size) {}

    bool isEmpty() const noexcept { return left_ == 0; }

    std::uint8_t byte() noexcept
    {
        if (left_ == 0)
            return 0;
        --left_;
        return *next_++;
    }

    /// Least significant byte first.
    template <typename T>
    T take() noexcept
    {
        using Unsigned = std::make_unsigned_t<T>;
        std::uint64_t value = 0;
        for (unsigned i = 0; i < sizeof(T); ++i)
            value |= std::uint64_t{byte()} << (8 * i);
        return static_cast<T>(static_cast<Unsigned>(value));
    }

    /// True once in so many times, and never behind the end.
    bool isOneIn(unsigned count) noexcept { return !isEmpty() && byte() % count == count - 1; }

    /// Up to this number of bytes.
    std::size_t fill(void* target, std::size_t size) noexcept
    {
        const std::size_t count = std::min(size, left_);
        if (count > 0)
            std::memcpy(target, next_, count);
        next_ += count;
        left_ -= count;
        return count;
    }

    /// Exactly this number of bytes, zeros behind the end.
    std::vector<std::uint8_t> block(std::size_t size)
    {
        std::vector<std::uint8_t> bytes(size);
        fill(bytes.data(), size);
        return bytes;
    }

    /// A length in one byte and so many bytes, fewer at the end.
    std::string text()
    {
        std::string text(byte(), '\0');
        text.resize(fill(text.data(), text.size()));
        return text;
    }

    /// One of the elements of an array or container that isn't empty.
    template <typename List>
    auto pick(const List& list) noexcept
    {
        return *std::next(std::begin(list), static_cast<std::ptrdiff_t>(byte() % std::size(list)));
    }

private:
    const std::uint8_t* next_;
    std::size_t left_;
};

} // namespace fuzz
