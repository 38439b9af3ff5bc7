#pragma once

#include "core/qdrle/nuv_qdrlerunvector.h"
#include "framework/base/nuv_object.h"
#include "framework/buffer/nuv_srcbuffer.h"

#include <cstdint>
#include <span>

namespace nuv {

// Reads an image in run form line after line, wherever the source's blocks begin and end. An engine
// makes one behind its reader and ends it before that.
template <class Run, class RunVector>
class NUV_QDRLELineBase : public NUV_Object {
public:
    explicit NUV_QDRLELineBase(NUV_Manager& manager) noexcept : NUV_Object(manager), line_(manager)
    {}

    bool cleanup() override;

    // Sets the block size of `src`. NUV_ERR_ARGUMENT for a null, NUV_ERR_UNSUPPORTED for an image
    // of another kind and for lines longer than a stream of runs may be.
    [[nodiscard]] bool initiate(NUV_SrcBuffer* src, const NUV_Header* header);

    // Reads the next line; line() then holds its runs in canonical order, whatever came. False when
    // there is no whole line any more, silently at the end of the data, after NUV_ERR_BROKEN_DATA
    // for data that no line of this width can be; line() is then empty.
    [[nodiscard]] bool get_next_line();

    [[nodiscard]] RunVector& line() noexcept { return line_; }

private:
    [[nodiscard]] virtual bool check_header(const NUV_Header&) const { return true; }
    [[nodiscard]] bool read_line();
    [[nodiscard]] bool next_block();

    RunVector line_;
    NUV_SrcBuffer* src_ = nullptr;
    bool holds_block_ = false;
    std::span<const Run> rest_; // records of the block that are not read yet
    std::uint32_t width_ = 0;
};

extern template class NUV_QDRLELineBase<NUV_QDRLERun, NUV_QDRLERunVector>;

class NUV_QDRLELine final : public NUV_QDRLELineBase<NUV_QDRLERun, NUV_QDRLERunVector> {
public:
    using NUV_QDRLELineBase::NUV_QDRLELineBase;

private:
    [[nodiscard]] bool check_header(const NUV_Header& header) const override
    {
        return holds_runs(header);
    }
};

} // namespace nuv
