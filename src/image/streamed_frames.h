// Copy and conversion by non-temporal stores, for the sources of one instruction set each.
#pragma once

#include "image/block_conversion.h"
#include "image/frame_kernels.h"

namespace V4lX
{

namespace
{

// A whole line of the cache: such stores are fast only when no line is written in parts.
constexpr std::size_t kLine = 64;

// Kit is an instruction set with its operations on blocks of a line:
//   load, store     at any address
//   stream          non-temporal, at the start of a line
//   luma, chroma    the odd and the even ones of 128 bytes
//   fence           behind the last non-temporal store
// kBlock is the pixels of a block, kUnroll the number of blocks of one plane that are written at a
// time.

// The address may lie behind the source, where a pointer must not point.
inline void prefetch(std::uintptr_t address) noexcept
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    __builtin_prefetch(reinterpret_cast<const void*>(address), 0, 3);
}

// Into the second-level cache alone.
inline void prefetchFar(std::uintptr_t address) noexcept
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    __builtin_prefetch(reinterpret_cast<const void*>(address), 0, 2);
}

// Several pages side by side: reads and look-ups of addresses overlap.
template <typename Kit>
void copyPages(const std::uint8_t* source, std::uint8_t* destination, std::size_t pages) noexcept
{
    constexpr std::size_t kPage = 4096;
    constexpr std::size_t kStep = 2 * kLine;
    for (std::size_t offset = 0; offset < kPage; offset += kStep) {
        for (std::size_t page = 0; page < pages; ++page) {
            const std::uint8_t* from = source + page * kPage + offset;
            std::uint8_t* to = destination + page * kPage + offset;
            const auto ahead = reinterpret_cast<std::uintptr_t>(from) + kStep;
            prefetch(ahead);
            prefetch(ahead + kLine);
            const typename Kit::Block first = Kit::load(from);
            const typename Kit::Block second = Kit::load(from + kLine);
            Kit::stream(to, first);
            Kit::stream(to + kLine, second);
        }
    }
}

template <typename Kit>
void copyStreamed(const std::uint8_t* source, std::uint8_t* destination, std::size_t size) noexcept
{
    constexpr std::size_t kPages = 4;
    constexpr std::size_t kStep = kPages * 4096;
    const std::size_t toLine = -reinterpret_cast<std::uintptr_t>(destination) % kLine;
    const std::size_t head = toLine < size ? toLine : size;
    std::memcpy(destination, source, head);
    std::size_t done = head;
    for (; size - done >= kStep; done += kStep)
        copyPages<Kit>(source + done, destination + done, kPages);
    Kit::fence();
    std::memcpy(destination + done, source + done, size - done);
}

// What the bytes of a plane are taken from: a block of them, and the source's bytes for each.
template <typename Kit>
struct Plain {
    static constexpr std::size_t kStep = 1;
    static typename Kit::Block take(const std::uint8_t* from) noexcept { return Kit::load(from); }
};

template <typename Kit>
struct Luma {
    static constexpr std::size_t kStep = 2;
    static typename Kit::Block take(const std::uint8_t* from) noexcept { return Kit::luma(from); }
};

template <typename Kit>
struct Chroma {
    static constexpr std::size_t kStep = 2;
    static typename Kit::Block take(const std::uint8_t* from) noexcept { return Kit::chroma(from); }
};

// The part of an image line that fills whole lines of the cache.
struct Middle {
    const std::uint8_t* source;
    std::uint8_t* destination;
    std::size_t lines;
};

// Writes a plane, whose image lines begin and end within lines of the cache: those that two
// image lines share are put together here, the ones between are the caller's.
template <typename Kit>
class PlaneStream
{
public:
    explicit PlaneStream(std::uint8_t* destination) noexcept
        : fill_(reinterpret_cast<std::uintptr_t>(destination) % kLine),
          next_(destination), shared_{}
    {
    }

    // At least a line's worth of bytes.
    template <typename Taken>
    Middle Append(const std::uint8_t* source, std::size_t size) noexcept
    {
        Kit::store(shared_ + kLine + fill_, Taken::take(source));
        const std::size_t head = kLine - fill_;
        writeShared(head);
        const Middle middle = {source + head * Taken::kStep, next_, (size - head) / kLine};
        next_ += middle.lines * kLine;
        fill_ = (size - head) % kLine;
        Kit::store(shared_ + fill_, Taken::take(source + (size - kLine) * Taken::kStep));
        return middle;
    }

    void Finish() noexcept { std::memcpy(next_, shared_ + kLine, fill_); }

private:
    // The first line's beginning isn't ours.
    void writeShared(std::size_t head) noexcept
    {
        if (reinterpret_cast<std::uintptr_t>(next_) % kLine != 0) {
            std::memcpy(next_, shared_ + kLine + fill_, head);
            next_ += head;
            return;
        }
        Kit::stream(next_, Kit::load(shared_ + kLine));
        next_ += kLine;
    }

    std::size_t fill_;   // bytes of the shared line that are there
    std::uint8_t* next_; // the shared line; before the first one, where the plane begins
    // The shared line is the second third: blocks end and begin there.
    alignas(kLine) std::uint8_t shared_[3 * kLine];
};

template <typename Kit, typename Taken>
void streamRest(const Middle& middle, std::size_t first) noexcept
{
    constexpr std::size_t kStep = kLine * Taken::kStep;
    for (std::size_t i = first; i < middle.lines; ++i)
        Kit::stream(middle.destination + i * kLine, Taken::take(middle.source + i * kStep));
}

// Two pages or so ahead: further than the processor looks by itself.
inline void prefetchLines(const std::uint8_t* source, std::size_t count) noexcept
{
    constexpr std::uintptr_t kDistance = 8192;
    for (std::size_t i = 0; i < count; ++i)
        prefetchFar(reinterpret_cast<std::uintptr_t>(source) + i * kLine + kDistance);
}

// Reads before it writes: the writes wait for their lines' buffers, and reads behind them do too.
template <typename Kit>
void streamBlocks(const Middle& even, const Middle& luma, const Middle& chroma,
                  std::size_t first) noexcept
{
    constexpr std::size_t kCount = Kit::kUnroll;
    typename Kit::Block blocks[3 * kCount];
    prefetchLines(even.source + first * kLine, kCount);
    prefetchLines(luma.source + first * 2 * kLine, 2 * kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
        blocks[i] = Plain<Kit>::take(even.source + (first + i) * kLine);
        blocks[kCount + i] = Luma<Kit>::take(luma.source + (first + i) * 2 * kLine);
        blocks[2 * kCount + i] = Chroma<Kit>::take(chroma.source + (first + i) * 2 * kLine);
    }
    const Middle* const planes[] = {&even, &luma, &chroma};
    for (std::size_t plane = 0; plane < 3; ++plane) {
        for (std::size_t i = 0; i < kCount; ++i)
            Kit::stream(planes[plane]->destination + (first + i) * kLine,
                        blocks[plane * kCount + i]);
    }
}

template <typename Kit>
void streamPair(const Middle& even, const Middle& luma, const Middle& chroma) noexcept
{
    std::size_t common = even.lines < luma.lines ? even.lines : luma.lines;
    common = chroma.lines < common ? chroma.lines : common;
    std::size_t i = 0;
    for (; i + Kit::kUnroll <= common; i += Kit::kUnroll)
        streamBlocks<Kit>(even, luma, chroma, i);
    streamRest<Kit, Plain<Kit>>(even, i);
    streamRest<Kit, Luma<Kit>>(luma, i);
    streamRest<Kit, Chroma<Kit>>(chroma, i);
}

template <typename Kit>
void convertYuv420Streamed(const std::uint8_t* source, std::uint8_t* destination, std::size_t width,
                           std::size_t height) noexcept
{
    PlaneStream<Kit> lumaPlane(destination);
    PlaneStream<Kit> chromaPlane(destination + width * height);
    for (std::size_t line = 0; line < height; line += 2) {
        const Middle even = lumaPlane.template Append<Plain<Kit>>(source, width);
        const Middle luma = lumaPlane.template Append<Luma<Kit>>(source + width, width);
        const Middle chroma = chromaPlane.template Append<Chroma<Kit>>(source + width, width);
        streamPair<Kit>(even, luma, chroma);
        source += 3 * width;
    }
    Kit::fence();
    lumaPlane.Finish();
    chromaPlane.Finish();
}

// A kit for the conversion in blocks.
template <typename Kit>
struct Splitting : Kit {
    static void split(const std::uint8_t* from, std::uint8_t* lumaTo,
                      std::uint8_t* chromaTo) noexcept
    {
        Kit::store(lumaTo, Kit::luma(from));
        Kit::store(chromaTo, Kit::chroma(from));
    }
};

template <typename Kit>
constexpr FrameKernels makeStreamingKernels(const char* name) noexcept
{
    return {name, convertYuv420<Splitting<Kit>>, copyStreamed<Kit>, convertYuv420Streamed<Kit>};
}

} // namespace

} // namespace V4lX
