#pragma once

#include "framework/base/nuv_header.h"
#include "framework/containers/nuv_vector.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace nuv {

class NUV_DstBuffer;

// A stretch of black pixels of one line, columns counted from 0 at the left edge. As bytes: start,
// then end, both little-endian. A line of an image in run form is its runs and one terminator.
struct NUV_QDRLERun {
    static constexpr std::uint32_t terminator = 0xFFFFFFFF;
    static constexpr std::uint32_t bytes = 8;

    std::uint32_t start = terminator;
    std::uint32_t end = terminator; // inclusive

    [[nodiscard]] constexpr bool is_terminator() const noexcept
    {
        return start == terminator && end == terminator;
    }
    [[nodiscard]] constexpr bool operator==(const NUV_QDRLERun&) const noexcept = default;
};

// A record as it stands in a stream, as a run, and the other way.
[[nodiscard]] constexpr NUV_QDRLERun in_host_order(NUV_QDRLERun record) noexcept
{
    if constexpr (std::endian::native == std::endian::big)
        return {__builtin_bswap32(record.start), __builtin_bswap32(record.end)};
    return record;
}

// The record at any address.
[[nodiscard]] inline NUV_QDRLERun load_run(const std::uint8_t* from) noexcept
{
    static_assert(sizeof(NUV_QDRLERun) == NUV_QDRLERun::bytes);
    NUV_QDRLERun record;
    std::memcpy(&record, from, sizeof(record));
    return in_host_order(record);
}

inline void store_run(std::uint8_t* to, NUV_QDRLERun run) noexcept
{
    const NUV_QDRLERun record = in_host_order(run);
    std::memcpy(to, &record, sizeof(record));
}

// Bytes of the longest line of `width` pixels, every second one black, with its terminator: the
// block size of whoever writes the form. Nothing where that passes what a coded stream may hold.
[[nodiscard]] constexpr std::optional<std::uint32_t> checked_run_line_bytes(
    std::uint32_t width) noexcept
{
    constexpr std::uint64_t limit = 0x40000000;
    const std::uint64_t runs = (std::uint64_t{width} + 1) >> 1;
    const std::uint64_t line_bytes = (runs + 1) * NUV_QDRLERun::bytes;
    if (line_bytes > limit)
        return std::nullopt;
    return static_cast<std::uint32_t>(line_bytes);
}

// True for an image in run form: coded so, one bit, one channel.
[[nodiscard]] inline bool holds_runs(const NUV_Header& header) noexcept
{
    return header.encode_type() == NUV_EncodeType::qd_rle && header.bits() == 1 &&
           header.channels() == 1;
}

// Brings a line as it was read into the order that all run operations rely on: ascending, start not
// behind end, all within `width`, no two that overlap or touch. What lies outside is cut off, an
// inverted run is dropped. Works in place and answers how many runs are left; they need at most
// checked_run_line_bytes(width) bytes.
[[nodiscard]] std::size_t make_canonical(std::span<NUV_QDRLERun> runs,
                                         std::uint32_t width) noexcept;

// Appends records as they stand in a stream. False after NUV_ERR_MEMORY.
[[nodiscard]] bool append_records(NUV_Vector<NUV_QDRLERun>& runs,
                                  std::span<const NUV_QDRLERun> records);

// Writes one line and its terminator, in as many blocks as it takes. False when a block could not
// be had or committed, or holds no whole record.
[[nodiscard]] bool write_runs(std::span<const NUV_QDRLERun> runs, NUV_DstBuffer& dst);

} // namespace nuv
