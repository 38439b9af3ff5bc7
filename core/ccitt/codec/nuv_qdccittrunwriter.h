#pragma once

#include "core/ccitt/codec/nuv_qdccittallocator.h"
#include "core/ccitt/codec/nuv_qdccittbase.h"
#include "core/qdrle/nuv_qdrlecodec.h"

#include <cstdint>

namespace nuv {

// A decoder's own memory for the runs of a line, taken when it is first needed. Lines are narrow or
// have few runs, so a wide one begins small and grows.
class QDCCITTRunArray {
public:
    // What stands in the word in front: as a signed number, -2, in front of every position.
    static constexpr std::uint32_t before_first = 0xFFFFFFFE;
    // Words behind the room for runs that may be written over.
    static constexpr std::uint32_t spare_words = 48;

    // For lines of `width` pixels; nothing is taken yet.
    QDCCITTRunArray(QDCCITTAllocator* allocator, std::uint32_t width) noexcept;
    QDCCITTRunArray(const QDCCITTRunArray&) = delete;
    QDCCITTRunArray& operator=(const QDCCITTRunArray&) = delete;
    ~QDCCITTRunArray() { free(); }

    // Room for `words` words of runs with their terminator, no more than a line of the width can
    // have. What there was stays. False when memory was refused.
    [[nodiscard]] bool reserve(std::uint32_t words);
    void free() noexcept;
    void swap(QDCCITTRunArray& other) noexcept;

    // Null before the first reserve().
    [[nodiscard]] std::uint32_t* words() const noexcept { return words_; }
    // Words of runs that there is room for.
    [[nodiscard]] std::uint32_t capacity() const noexcept { return capacity_; }

private:
    static constexpr std::uint32_t front_words = 4; // so many that the runs stay aligned

    QDCCITTAllocator* allocator_;
    std::uint32_t* words_ = nullptr;
    std::uint32_t capacity_ = 0;
    std::uint32_t first_capacity_;
    std::uint32_t most_words_;
};

// Appends the runs of a line in the order that all run operations rely on: ascending, not touching,
// inside the width.
class QDCCITTRunWriter {
public:
    // Over a line whose memory has room for `capacity` words; with `own`, over memory that grows.
    QDCCITTRunWriter(QDRLELine& line, std::uint32_t capacity, QDCCITTRunArray* own,
                     std::int64_t width) noexcept
        : line_(line),
          own_(own),
          capacity_(capacity),
          width_(width)
    {}

    // The run from `start` to `end`, both inclusive; none when they are the other way round. One
    // that touches the run before makes that longer. found_bad_code for one that goes back, and for
    // one that leaves the line, which is cut; no_memory when the line could not grow.
    [[nodiscard]] QDCCITTBase::Code append(std::int64_t start, std::int64_t end);

private:
    QDRLELine& line_;
    QDCCITTRunArray* own_;
    std::uint32_t capacity_;
    std::int64_t width_;
};

} // namespace nuv
