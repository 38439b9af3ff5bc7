#include "framework/base/nuv_status.h"

#include <cstring>

namespace nuv {
namespace {

void copy_text(char (&to)[NUV_Status::text_bytes], const char* from) noexcept
{
    const std::size_t length = from ? strnlen(from, NUV_Status::text_bytes - 1) : 0;
    if (length > 0)
        std::memcpy(to, from, length);
    to[length] = '\0';
}

const char* without_directories(const char* path) noexcept
{
    if (!path)
        return "";
    const char* name = path;
    for (const char* at = path; *at != '\0'; ++at) {
        if (*at == '/' || *at == '\\')
            name = at + 1;
    }
    return name;
}

} // namespace

NUV_Status::NUV_Status(NUV_Manager& manager, NUV_StatusCode raised_code, const char* raised_by,
                       const char* raised_in, std::uint32_t raised_at) noexcept
    : NUV_Utility(manager),
      code(raised_code),
      line(raised_at)
{
    copy_text(method, raised_by);
    copy_text(file, without_directories(raised_in));
}

NUV_Status& NUV_Status::operator=(const NUV_Status& other) noexcept
{
    if (this == &other)
        return *this;
    code = other.code;
    copy_text(method, other.method);
    copy_text(file, other.file);
    line = other.line;
    return *this;
}

} // namespace nuv
