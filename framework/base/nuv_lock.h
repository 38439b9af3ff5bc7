#pragma once

#include <mutex>

namespace nuv {

// What a storage that several readers share may be.
class NUV_Lockable {
public:
    virtual ~NUV_Lockable() = default;
    virtual void lock() = 0;
    virtual void unlock() = 0;
    [[nodiscard]] virtual bool try_lock() = 0;
};

// For a storage that one thread uses.
class NUV_DummyLock final : public NUV_Lockable {
public:
    void lock() override {}
    void unlock() override {}
    [[nodiscard]] bool try_lock() override { return true; }
};

// A thread may take it again while it holds it.
class NUV_Mutex {
public:
    NUV_Mutex() = default;
    NUV_Mutex(const NUV_Mutex&) = delete;
    NUV_Mutex& operator=(const NUV_Mutex&) = delete;
    virtual ~NUV_Mutex() = default;

    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    [[nodiscard]] bool try_lock() { return mutex_.try_lock(); }

private:
    std::recursive_mutex mutex_;
};

} // namespace nuv
