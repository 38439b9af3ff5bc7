#include "api/source/nuv_inputs.h"

#include "framework/base/nuv_failure.h"

namespace nuv {

bool NUV_LineInputStorage::initiate(nuv_give_line function, void* user, std::uint32_t line_bytes,
                                    std::uint32_t lines)
{
    give_ = function;
    user_ = user;
    line_bytes_ = static_cast<std::int32_t>(line_bytes);
    size_ = static_cast<std::int32_t>(line_bytes * lines);
    return true;
}

bool NUV_LineInputStorage::close()
{
    give_ = nullptr;
    position_ = 0;
    size_ = 0;
    return true;
}

std::int32_t NUV_LineInputStorage::read(void* into, std::int32_t bytes)
{
    if (is_closed() || !into || bytes < line_bytes_ || position_ == size_)
        return 0;
    const auto line = static_cast<std::uint32_t>(position_ / line_bytes_);
    if (give_(user_, line, into) != 0) {
        fail(manager(), NUV_ERR_IO, "NUV_LineInputStorage::read()",
             NUV_Diagnosis().on_line(line).says("the function that gives its lines failed"));
        return 0;
    }
    position_ += line_bytes_;
    return line_bytes_;
}

} // namespace nuv
