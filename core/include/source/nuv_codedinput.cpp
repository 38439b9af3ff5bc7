#include "core/include/nuv_codedinput.h"

#include "framework/buffer/nuv_srcbuffer.h"

#include <utility>

namespace nuv {

std::span<const std::uint8_t> NUV_CodedInput::next()
{
    if (std::exchange(holds_block_, false) && !source_->release())
        return {};
    std::uint32_t bytes = 0;
    const void* block = source_->get(&bytes);
    if (!block)
        return {};
    holds_block_ = true;
    return {static_cast<const std::uint8_t*>(block), bytes};
}

} // namespace nuv
