#include "framework/base/nuv_diagnosis.h"

#include <cstdarg>
#include <cstdio>

namespace nuv {

NUV_Cause cause_of(NUV_StatusCode code) noexcept
{
    constexpr NUV_StatusCode severity = NUV_ERROR | NUV_WARNING;
    constexpr NUV_StatusCode detail = 0xFFFF;

    if (code == NUV_STATUS_OK)
        return NUV_Cause::none;
    switch ((code & ~(severity | detail)) | NUV_ERROR) {
    case NUV_ERR_MEMORY:
        return NUV_Cause::no_memory;
    case NUV_ERR_IO:
        return NUV_Cause::io;
    case NUV_ERR_FORMAT:
        return NUV_Cause::unknown_kind;
    case NUV_ERR_BROKEN_DATA:
        return NUV_Cause::damaged;
    case NUV_ERR_UNSUPPORTED:
        return NUV_Cause::unsupported;
    case NUV_ERR_ARGUMENT:
    case NUV_ERR_SEQUENCE:
    case NUV_ERR_VERSION:
        return NUV_Cause::bad_call;
    default:
        return NUV_Cause::invalid;
    }
}

NUV_Diagnosis& NUV_Diagnosis::says(const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return *this;
}

} // namespace nuv
