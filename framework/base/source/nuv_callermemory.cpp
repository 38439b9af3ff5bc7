#include "framework/base/nuv_callermemory.h"

#include "framework/base/nuv_manager.h"

#include <cstdint>
#include <functional>

namespace nuv {

NUV_CallerMemory::NUV_CallerMemory(NUV_Manager& manager) noexcept : list_(&manager.caller_memory())
{}

void NUV_CallerMemory::note(const void* data, std::size_t bytes, Use use) noexcept
{
    forget();
    begin_ = data;
    end_ = static_cast<const std::uint8_t*>(data) + bytes;
    use_ = use;
    next_ = list_->first_;
    link_ = &list_->first_;
    if (next_)
        next_->link_ = &next_;
    list_->first_ = this;
    ++list_->changes_;
}

void NUV_CallerMemory::forget() noexcept
{
    if (!link_)
        return;
    *link_ = next_;
    if (next_)
        next_->link_ = link_;
    link_ = nullptr;
    ++list_->changes_;
}

void NUV_CallerMemory::look_around() noexcept
{
    constexpr std::less<> before; // pointers into different arrays have an order in it alone
    seen_changes_ = list_->changes_;
    is_apart_ = link_ != nullptr;
    for (const NUV_CallerMemory* other = list_->first_; other && is_apart_; other = other->next_) {
        is_apart_ =
            other->use_ == use_ || !before(begin_, other->end_) || !before(other->begin_, end_);
    }
}

} // namespace nuv
