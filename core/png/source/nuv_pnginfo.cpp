#include "core/png/nuv_pnginfo.h"

#include "core/png/source/nuv_pnginfointernal.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

#include <utility>

namespace nuv {

NUV_PNGInfo::NUV_PNGInfo(NUV_Manager& manager) noexcept : NUV_FormatInfo(manager) {}

NUV_PNGInfo::~NUV_PNGInfo() = default;

bool NUV_PNGInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_PNGInfo::load()");
    const std::int32_t start = storage->position();
    if (load_header(*storage))
        return true;
    fields_ = {};
    internal_.reset();
    static_cast<void>(storage->to(start));
    return false;
}

bool NUV_PNGInfo::load_header(NUV_InputStorage& storage)
{
    NUV_Held<NUV_PNGInfoInternal> internal =
        make_initiated<NUV_PNGInfoInternal>(manager(), &storage);
    if (!internal || !internal_.own(std::move(internal)) || !copy(internal_->header()))
        return false;
    fields_ = internal_->fields();
    resolution_.x = fields_.pixels_x;
    resolution_.y = fields_.pixels_y;
    resolution_.unit =
        fields_.pixels_unit == 1 ? NUV_ResolutionInfo::per_metre : NUV_ResolutionInfo::no_unit;
    return true;
}

} // namespace nuv
