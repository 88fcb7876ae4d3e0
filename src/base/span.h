// Borrowed array: what std::span is from C++20 on.
#pragma once

#include <cassert>
#include <cstddef>
#include <type_traits>

namespace GenTLProducer
{

/// A pointer and a count. Never owns, never outlives the call that it is passed to.
/// Indexing is checked in builds with assertions.
template <typename T>
class Span final
{
public:
    constexpr Span() noexcept = default;
    constexpr Span(T* data, std::size_t size) noexcept : data_(data), size_(size) {}

    template <std::size_t N>
    constexpr Span(T (&array)[N]) noexcept : data_(array), size_(N)
    {
    }

    /// Any container with data() and size() whose elements are T, but for constness.
    template <typename Container, typename = std::enable_if_t<std::is_convertible_v<
                                      decltype(std::declval<Container&>().data()), T*>>>
    constexpr Span(Container& container) noexcept : data_(container.data()), size_(container.size())
    {
    }

    constexpr T* data() const noexcept { return data_; }
    constexpr std::size_t size() const noexcept { return size_; }
    constexpr bool empty() const noexcept { return size_ == 0; }
    constexpr T* begin() const noexcept { return data_; }
    constexpr T* end() const noexcept { return data_ + size_; }

    constexpr T& operator[](std::size_t index) const
    {
        assert(index < size_ && "index past the end of a span");
        return data_[index];
    }

private:
    T* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace GenTLProducer
