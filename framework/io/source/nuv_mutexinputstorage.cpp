#include "framework/io/nuv_mutexinputstorage.h"

#include <mutex>

namespace nuv {

using Held = std::lock_guard<NUV_Mutex>;

std::int32_t NUV_MutexInputStorage::get()
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::get();
}

std::int32_t NUV_MutexInputStorage::read(void* into, std::int32_t bytes)
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::read(into, bytes);
}

std::int32_t NUV_MutexInputStorage::ignore(std::int32_t bytes)
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::ignore(bytes);
}

std::int32_t NUV_MutexInputStorage::position() const
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::position();
}

std::int32_t NUV_MutexInputStorage::move(std::int32_t bytes)
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::move(bytes);
}

bool NUV_MutexInputStorage::pass_over(std::int32_t bytes)
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::pass_over(bytes);
}

bool NUV_MutexInputStorage::to(std::int32_t offset)
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::to(offset);
}

bool NUV_MutexInputStorage::to_from_end(std::int32_t bytes)
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::to_from_end(bytes);
}

std::int32_t NUV_MutexInputStorage::size() const
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::size();
}

bool NUV_MutexInputStorage::to_begin()
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::to_begin();
}

bool NUV_MutexInputStorage::to_end()
{
    const Held held(mutex_);
    return NUV_InputStorageDecorator::to_end();
}

} // namespace nuv
