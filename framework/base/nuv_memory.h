#pragma once

#include <cstddef>
#include <limits>
#include <span>
#include <type_traits>
#include <utility>

namespace nuv {

// Work memory, given back with its holder. Not zeroed. `Source` is where it comes from, a value
// with take(bytes), which answers null when there is none, and give_back(memory).
template <class T, class Source>
class NUV_Memory {
    static_assert(std::is_trivially_copyable_v<T>, "goes away without destructors");

public:
    NUV_Memory() = default;
    NUV_Memory(const NUV_Memory&) = delete;
    NUV_Memory& operator=(const NUV_Memory&) = delete;

    ~NUV_Memory() { free(); }

    // False when there is none; what was held before is gone either way.
    [[nodiscard]] bool allocate(const Source& source, std::size_t count)
    {
        free();
        // What no source has, it refuses under its own name; here we only keep from wrapping.
        constexpr auto limit = std::numeric_limits<std::size_t>::max();
        void* const memory = source.take(count > limit / sizeof(T) ? limit : count * sizeof(T));
        if (!memory)
            return false;
        source_ = source;
        items_ = {static_cast<T*>(memory), count};
        return true;
    }

    void swap(NUV_Memory& other) noexcept
    {
        std::swap(source_, other.source_);
        std::swap(items_, other.items_);
    }

    void free() noexcept
    {
        if (items_.data())
            source_.give_back(items_.data());
        items_ = {};
    }

    [[nodiscard]] std::span<T> items() const noexcept { return items_; }
    [[nodiscard]] T* data() const noexcept { return items_.data(); }
    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }
    [[nodiscard]] T& operator[](std::size_t i) const noexcept { return items_[i]; }

private:
    Source source_;
    std::span<T> items_;
};

} // namespace nuv
