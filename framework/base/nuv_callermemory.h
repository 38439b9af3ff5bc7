#pragma once

#include <cstddef>

namespace nuv {

class NUV_CallerMemory;
class NUV_Manager;

// The caller's memory that the storages of one pipeline stand on. Owns nothing.
class NUV_CallerMemoryList {
public:
    NUV_CallerMemoryList() = default;
    NUV_CallerMemoryList(const NUV_CallerMemoryList&) = delete;
    NUV_CallerMemoryList& operator=(const NUV_CallerMemoryList&) = delete;

private:
    friend class NUV_CallerMemory;

    NUV_CallerMemory* first_ = nullptr;
    std::size_t changes_ = 1;
};

// What one storage stands on. Lines may leave out the copy between it and the chain only while
// nobody can tell: where a job writes over what it reads, the order of all copies matters.
class NUV_CallerMemory {
public:
    enum class Use { read, written };

    explicit NUV_CallerMemory(NUV_Manager& manager) noexcept;
    ~NUV_CallerMemory() { forget(); }
    NUV_CallerMemory(const NUV_CallerMemory&) = delete;
    NUV_CallerMemory& operator=(const NUV_CallerMemory&) = delete;

    // In place of what was noted before.
    void note(const void* data, std::size_t bytes, Use use) noexcept;
    void forget() noexcept;
    // No storage of the pipeline stands on a part of it for the other use.
    [[nodiscard]] bool is_apart() noexcept
    {
        if (seen_changes_ != list_->changes_)
            look_around();
        return is_apart_;
    }

private:
    void look_around() noexcept;

    NUV_CallerMemoryList* list_;
    NUV_CallerMemory* next_ = nullptr;
    NUV_CallerMemory** link_ = nullptr; // that points here; null while nothing is noted
    const void* begin_ = nullptr;
    const void* end_ = nullptr;
    Use use_ = Use::read;
    bool is_apart_ = false;
    std::size_t seen_changes_ = 0; // of the list, when is_apart_ was found
};

} // namespace nuv
