#include "core/ccitt/codec/nuv_qdccittbase.h"

#include <cstdio>

namespace nuv {
namespace {

using Code = QDCCITTBase::Code;

[[nodiscard]] const char* words(Code code) noexcept
{
    switch (code) {
    case Code::unexpected_eol:
    case Code::data_ended:
        return "unexpected EOL or unexpected End of Data(Data Stream Error) ";
    case Code::page_over:
        return "unexpected RTC or EOB ";
    case Code::bad_code:
        return "bad code recoverable by EOL ";
    default:
        return QDCCITTBase::is_fatal(code) ? "unrecoverable error." : "bad code ";
    }
}

} // namespace

QDCCITTBase::Status::Message QDCCITTBase::Status::message() const noexcept
{
    Message message = {};
    if (reported_ == Code::good)
        return message;
    std::snprintf(message.data(), message.size(), "%saround %dth pixel in %dth line.",
                  words(reported_), static_cast<int>(position_ + 1), static_cast<int>(row_));
    return message;
}

void QDCCITTBase::Status::report(std::uint32_t row) noexcept
{
    reported_ = code_;
    row_ = row;
    if (code_ == Code::data_ended)
        code_ = Code::bad_code;
    else if (code_ < Code::unsupported)
        finalise();
}

} // namespace nuv
