#include "framework/manager/nuv_firsterrorhandler.h"

#include <mutex>

namespace nuv {

void NUV_FirstErrorHandler::raise(std::uint32_t code, const char* method, const char* file,
                                  std::uint32_t line)
{
    raise_because(code, method, file, line, NUV_Diagnosis());
}

void NUV_FirstErrorHandler::raise_because(std::uint32_t code, const char* method, const char* file,
                                          std::uint32_t line, const NUV_Diagnosis& why)
{
    if (code == NUV_STATUS_OK || !method || *method == '\0')
        return;
    const std::lock_guard<NUV_Mutex> held(lock_);
    const bool is_of_pixels = why.cause == NUV_Cause::none || why.cause == NUV_Cause::damaged;
    if (code == NUV_WARN_BROKEN_DATA && is_of_pixels)
        count_damage(why);
    if (current_.has_error())
        return;
    const bool stronger = is_warning(current_.code) && is_error(code);
    if (current_.code != NUV_STATUS_OK && !stronger)
        return;
    current_ = NUV_Status(*manager_, code, method, file, line);
    diagnosis_ = why;
    if (diagnosis_.cause == NUV_Cause::none)
        diagnosis_.cause = cause_of(code);
}

void NUV_FirstErrorHandler::note_damage(const NUV_Diagnosis& why)
{
    const std::lock_guard<NUV_Mutex> held(lock_);
    count_damage(why);
}

void NUV_FirstErrorHandler::count_damage(const NUV_Diagnosis& why) noexcept
{
    ++damage_.count;
    const bool is_first = damage_.first_line < 0 || why.line < damage_.first_line;
    if (why.line >= 0 && is_first)
        damage_.first_line = why.line;
}

bool NUV_FirstErrorHandler::reset()
{
    const std::lock_guard<NUV_Mutex> held(lock_);
    current_ = NUV_Status(*manager_);
    diagnosis_ = {};
    damage_ = {};
    return true;
}

} // namespace nuv
