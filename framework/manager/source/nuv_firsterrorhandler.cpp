#include "framework/manager/nuv_firsterrorhandler.h"

#include <mutex>

namespace nuv {

void NUV_FirstErrorHandler::raise(std::uint32_t code, const char* method, const char* file,
                                  std::uint32_t line)
{
    if (code == NUV_STATUS_OK || !method || *method == '\0')
        return;
    const std::lock_guard<NUV_Mutex> held(lock_);
    if (current_.has_error())
        return;
    const bool stronger = is_warning(current_.code) && is_error(code);
    if (current_.code == NUV_STATUS_OK || stronger)
        current_ = NUV_Status(*manager_, code, method, file, line);
}

bool NUV_FirstErrorHandler::reset()
{
    const std::lock_guard<NUV_Mutex> held(lock_);
    current_ = NUV_Status(*manager_);
    return true;
}

} // namespace nuv
