#pragma once

#include "framework/base/nuv_utility.h"
#include "framework/containers/nuv_allocator.h"
#include "framework/containers/nuv_guard.h"

#include <cstddef>
#include <string>

namespace nuv {

// std::basic_string with the manager's memory, whose failures are a status and a false. After a
// failure the text is what it was before.
template <class Ch>
class NUV_BasicString : public NUV_Utility {
public:
    using Text = std::basic_string<Ch, std::char_traits<Ch>, NUV_Allocator<Ch>>;

    explicit NUV_BasicString(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          text_(NUV_Allocator<Ch>(manager))
    {}
    NUV_BasicString(const NUV_BasicString&) = delete;
    NUV_BasicString& operator=(const NUV_BasicString&) = delete;

    // Null fails.
    [[nodiscard]] bool assign(const Ch* text)
    {
        constexpr auto method = "NUV_BasicString<Ch>::assign()";
        if (!text)
            return fail(manager(), NUV_ERROR, method);
        return guarded(manager(), method, false, [&] {
            text_.assign(text);
            return true;
        });
    }
    [[nodiscard]] bool append(const Ch* text)
    {
        constexpr auto method = "NUV_BasicString<Ch>::append()";
        if (!text)
            return fail(manager(), NUV_ERROR, method);
        return guarded(manager(), method, false, [&] {
            text_.append(text);
            return true;
        });
    }
    [[nodiscard]] bool resize(std::size_t count)
    {
        return guarded(manager(), "NUV_BasicString<Ch>::resize()", false, [&] {
            text_.resize(count);
            return true;
        });
    }
    // Drops `count` characters from `at` on. False when `at` lies beyond the end.
    [[nodiscard]] bool erase(std::size_t at, std::size_t count)
    {
        return guarded(manager(), "NUV_BasicString<Ch>::erase()", false, [&] {
            text_.erase(at, count);
            return true;
        });
    }
    // Both texts must have the same manager.
    void swap(NUV_BasicString& other) noexcept { text_.swap(other.text_); }
    void clear() noexcept { text_.clear(); }

    [[nodiscard]] const Ch* c_str() const noexcept { return text_.c_str(); }
    [[nodiscard]] Ch* data() noexcept { return text_.data(); }
    [[nodiscard]] std::size_t size() const noexcept { return text_.size(); }
    [[nodiscard]] bool empty() const noexcept { return text_.empty(); }
    [[nodiscard]] Ch& operator[](std::size_t index) noexcept { return text_[index]; }
    [[nodiscard]] const Ch& operator[](std::size_t index) const noexcept { return text_[index]; }
    [[nodiscard]] bool operator==(const Ch* text) const { return text && text_.compare(text) == 0; }

private:
    Text text_;
};

} // namespace nuv
