#include "core/qdrle/nuv_qdrlerun.h"

#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>

namespace nuv {
namespace {

// True when nothing has to be done, as with every line that our own engines write.
[[nodiscard]] bool is_canonical(std::span<const NUV_QDRLERun> runs, std::uint32_t width) noexcept
{
    std::uint64_t free_from = 0; // the first column that the next run may start in
    for (const NUV_QDRLERun& run : runs) {
        if (run.start < free_from || run.end < run.start || run.end >= width)
            return false;
        free_from = std::uint64_t{run.end} + 2;
    }
    return true;
}

} // namespace

std::size_t make_canonical(std::span<NUV_QDRLERun> runs, std::uint32_t width) noexcept
{
    if (is_canonical(runs, width))
        return runs.size();

    std::size_t count = 0;
    for (const NUV_QDRLERun run : runs) {
        if (run.start < width && run.start <= run.end)
            runs[count++] = {run.start, std::min(run.end, width - 1)};
    }
    runs = runs.first(count);
    const auto by_start = [](const NUV_QDRLERun& a, const NUV_QDRLERun& b) {
        return a.start < b.start;
    };
    if (!std::is_sorted(runs.begin(), runs.end(), by_start))
        std::sort(runs.begin(), runs.end(), by_start);

    count = 0;
    for (const NUV_QDRLERun run : runs) {
        if (count > 0 && run.start <= std::uint64_t{runs[count - 1].end} + 1)
            runs[count - 1].end = std::max(runs[count - 1].end, run.end);
        else
            runs[count++] = run;
    }
    return count;
}

bool append_records(NUV_Vector<NUV_QDRLERun>& runs, std::span<const NUV_QDRLERun> records)
{
    const std::size_t before = runs.size();
    if (!runs.resize(before + records.size()))
        return false;
    std::ranges::transform(records, runs.data() + before, in_host_order);
    return true;
}

bool write_runs(std::span<const NUV_QDRLERun> runs, NUV_DstBuffer& dst)
{
    const std::size_t records_per_block = dst.block_bytes() / NUV_QDRLERun::bytes;
    if (records_per_block == 0)
        return false;
    for (;;) {
        const bool is_last = runs.size() < records_per_block; // the terminator fits too
        const std::size_t count = is_last ? runs.size() : records_per_block;
        NUV_OutputBlock block(dst);
        if (!block)
            return false;
        auto* to = block.as<std::uint8_t>();
        for (const NUV_QDRLERun& run : runs.first(count)) { // a plain copy where words need no turn
            store_run(to, run);
            to += NUV_QDRLERun::bytes;
        }
        if (is_last) {
            store_run(to, {});
            to += NUV_QDRLERun::bytes;
        }
        if (!block.commit(static_cast<std::uint32_t>(to - block.as<std::uint8_t>())))
            return false;
        if (is_last)
            return true;
        runs = runs.subspan(count);
    }
}

} // namespace nuv
