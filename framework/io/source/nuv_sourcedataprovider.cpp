#include "framework/io/nuv_sourcedataprovider.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/buffer/nuv_srcbuffer.h"

namespace nuv {

bool NUV_SourceDataProvider::initiate(NUV_SrcBuffer* source)
{
    constexpr auto method = "NUV_SourceDataProvider::initiate()";

    if (!source)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    source_ = source;
    position_ = 0;
    length_ = 0;
    if (!block_.allocate(manager(), source->block_bytes()))
        return fail(manager(), NUV_ERR_MEMORY, method);
    return true;
}

bool NUV_SourceDataProvider::close()
{
    block_.free();
    source_ = nullptr;
    position_ = 0;
    length_ = 0;
    return true;
}

bool NUV_SourceDataProvider::get_byte(std::uint8_t* byte)
{
    if (position_ > 0 && position_ < length_) {
        *byte = block_[position_++];
        return true;
    }
    position_ = 0;
    if (!source_ || !source_->get(block_.data(), &length_))
        return false;
    if (!source_->release() || length_ == 0)
        return false;
    *byte = block_[position_++];
    return true;
}

} // namespace nuv
