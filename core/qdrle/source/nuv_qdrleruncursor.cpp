#include "core/qdrle/nuv_qdrleruncursor.h"

#include <utility>

namespace nuv {

NUV_QDRLERunCursor::NUV_QDRLERunCursor(const NUV_QDRLERunCursor& other) : own_(other.own_.manager())
{
    *this = other;
}

NUV_QDRLERunCursor& NUV_QDRLERunCursor::operator=(const NUV_QDRLERunCursor& other)
{
    if (this == &other)
        return *this;
    static_cast<void>(own_.copy(other.own_)); // empty after a failure
    runs_ = other.owned_ ? std::span<const NUV_QDRLERun>(own_.items()) : other.runs_;
    next_ = other.next_;
    owned_ = other.owned_;
    return *this;
}

NUV_QDRLERunCursor::NUV_QDRLERunCursor(NUV_QDRLERunCursor&& other) noexcept
    : own_(other.own_.manager())
{
    *this = std::move(other);
}

NUV_QDRLERunCursor& NUV_QDRLERunCursor::operator=(NUV_QDRLERunCursor&& other) noexcept
{
    if (this == &other)
        return *this;
    own_.clear();
    own_.swap(other.own_); // the items keep their place
    runs_ = std::exchange(other.runs_, {});
    next_ = std::exchange(other.next_, 0);
    owned_ = std::exchange(other.owned_, false);
    return *this;
}

bool NUV_QDRLERunCursor::add(std::uint32_t start, std::uint32_t end)
{
    if (!owned_) {
        own_.clear();
        for (const NUV_QDRLERun& run : runs_) {
            if (!own_.push_back(run))
                return false;
        }
        owned_ = true;
    }
    const bool added = own_.push_back(NUV_QDRLERun{start, end});
    runs_ = own_.items();
    return added;
}

} // namespace nuv
