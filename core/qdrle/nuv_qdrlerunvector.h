#pragma once

#include "core/qdrle/nuv_qdrlerun.h"
#include "framework/containers/nuv_vector.h"

#include <cstdint>
#include <span>

namespace nuv {

// One line of runs in memory that grows. Once grown it stays so, hence an engine that reuses one
// soon stops allocating.
template <class Run>
class NUV_QDRLERunVectorBase : public NUV_Utility {
public:
    explicit NUV_QDRLERunVectorBase(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          runs_(manager)
    {}

    // Appends a run. False after NUV_ERR_MEMORY.
    [[nodiscard]] bool add(std::uint32_t start, std::uint32_t end)
    {
        return runs_.push_back(Run{start, end});
    }
    // Appends records as they stand in a stream. False after NUV_ERR_MEMORY.
    [[nodiscard]] bool append(std::span<const Run> records)
    {
        return append_records(runs_, records);
    }
    // The run at the reading position, which goes on. False behind the last one.
    [[nodiscard]] bool next(std::uint32_t* start, std::uint32_t* end) noexcept
    {
        if (next_ >= runs_.size())
            return false;
        *start = runs_[next_].start;
        *end = runs_[next_].end;
        ++next_;
        return true;
    }
    // No runs, and reading starts at the first again.
    void clear() noexcept
    {
        runs_.clear();
        next_ = 0;
    }
    // The line and its terminator, see write_runs(). False for a null too.
    [[nodiscard]] bool write(NUV_DstBuffer* dst) const { return dst && write_runs(items(), *dst); }

    // See make_canonical() of a span.
    [[nodiscard]] bool make_canonical(std::uint32_t width)
    {
        return runs_.resize(nuv::make_canonical(runs_.items(), width));
    }
    [[nodiscard]] std::span<const Run> items() const noexcept { return runs_.items(); }

private:
    std::uint32_t next_ = 0;
    NUV_Vector<Run> runs_;
};

class NUV_QDRLERunVector final : public NUV_QDRLERunVectorBase<NUV_QDRLERun> {
public:
    using NUV_QDRLERunVectorBase::NUV_QDRLERunVectorBase;
};

} // namespace nuv
