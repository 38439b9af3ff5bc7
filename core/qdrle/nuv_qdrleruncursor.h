#pragma once

#include "core/qdrle/nuv_qdrlerun.h"
#include "framework/containers/nuv_vector.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// A place in a line of runs. The line is one of a NUV_QDRLEBuffer, which must outlive the cursor,
// or the cursor's own, from the first add() on. Copies of the first kind are cheap.
class NUV_QDRLERunCursor {
public:
    explicit NUV_QDRLERunCursor(NUV_Manager& manager) noexcept : own_(manager) {}
    NUV_QDRLERunCursor(NUV_Manager& manager, std::span<const NUV_QDRLERun> line,
                       std::size_t index) noexcept
        : own_(manager),
          runs_(line),
          next_(index)
    {}
    // A copy of an own line is a line of its own; empty after NUV_ERR_MEMORY.
    NUV_QDRLERunCursor(const NUV_QDRLERunCursor& other);
    NUV_QDRLERunCursor& operator=(const NUV_QDRLERunCursor& other);
    NUV_QDRLERunCursor(NUV_QDRLERunCursor&& other) noexcept;
    NUV_QDRLERunCursor& operator=(NUV_QDRLERunCursor&& other) noexcept;
    ~NUV_QDRLERunCursor() = default;

    // Same line, same place.
    [[nodiscard]] bool operator==(const NUV_QDRLERunCursor& other) const noexcept
    {
        return runs_.data() == other.runs_.data() && next_ == other.next_;
    }

    [[nodiscard]] bool at_end() const noexcept { return next_ >= runs_.size(); }
    // The run here; not at the end.
    [[nodiscard]] const NUV_QDRLERun& operator*() const noexcept { return runs_[next_]; }
    [[nodiscard]] const NUV_QDRLERun* operator->() const noexcept { return &runs_[next_]; }
    NUV_QDRLERunCursor& operator++() noexcept
    {
        ++next_;
        return *this;
    }
    // Runs of the whole line.
    [[nodiscard]] std::size_t count() const noexcept { return runs_.size(); }

    // Appends a run to the cursor's own line, which starts as a copy of the line looked at. False
    // after NUV_ERR_MEMORY.
    [[nodiscard]] bool add(std::uint32_t start, std::uint32_t end);
    // The whole line and its terminator, see write_runs(). False for a null too.
    [[nodiscard]] bool write(NUV_DstBuffer* dst) const { return dst && write_runs(runs_, *dst); }

private:
    NUV_Vector<NUV_QDRLERun> own_;
    std::span<const NUV_QDRLERun> runs_; // own_'s items when owned_
    std::size_t next_ = 0;
    bool owned_ = false;
};

} // namespace nuv
