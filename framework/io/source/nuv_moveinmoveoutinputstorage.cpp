#include "framework/io/nuv_moveinmoveoutinputstorage.h"

#include "framework/io/nuv_streamposition.h"

#include <mutex>

namespace nuv {
namespace {

using Lock = std::lock_guard<NUV_Lockable>;

// The inner storage at another position, as long as this lives.
class Visit {
public:
    Visit(NUV_InputStorage& storage, std::int32_t position)
        : storage_(&storage),
          home_(storage.position())
    {
        const std::int32_t distance = position - home_;
        arrived_ = storage.move(distance) == distance;
    }
    ~Visit() { storage_->move(home_ - storage_->position()); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    [[nodiscard]] bool arrived() const noexcept { return arrived_; }

private:
    NUV_InputStorage* storage_;
    std::int32_t home_;
    bool arrived_ = false;
};

} // namespace

void NUV_MoveInMoveOutMovableInputStream::take_lock_of(NUV_InputStorage* inner)
{
    auto* lock = dynamic_cast<NUV_Lockable*>(inner);
    lock_ = lock ? lock : &no_lock_;
}

bool NUV_MoveInMoveOutMovableInputStream::initiate(NUV_InputStorage* inner, std::int32_t position)
{
    if (!attach_input(inner))
        return false;
    if (position < 0) {
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MoveInMoveOutMovableInputStream::initiate()");
    }
    take_lock_of(inner);
    position_ = position;
    return true;
}

bool NUV_MoveInMoveOutMovableInputStream::initiate(NUV_InputStorage* inner)
{
    if (!attach_input(inner))
        return false;
    take_lock_of(inner);
    const Lock held(*lock_);
    position_ = inner->position();
    return true;
}

std::int32_t NUV_MoveInMoveOutMovableInputStream::get()
{
    if (!inner_)
        return -1;
    const Lock held(*lock_);
    const Visit visit(*inner_, position_);
    const std::int32_t byte = visit.arrived() ? inner_->get() : -1;
    if (byte >= 0)
        ++position_;
    return byte;
}

std::int32_t NUV_MoveInMoveOutMovableInputStream::read(void* into, std::int32_t bytes)
{
    if (!inner_ || bytes < 1)
        return 0;
    const Lock held(*lock_);
    const Visit visit(*inner_, position_);
    const std::int32_t got = visit.arrived() ? inner_->read(into, bytes) : 0;
    position_ += got;
    return got;
}

const std::uint8_t* NUV_MoveInMoveOutMovableInputStream::lend(std::int32_t bytes)
{
    if (!inner_)
        return nullptr;
    const Lock held(*lock_);
    const Visit visit(*inner_, position_);
    const std::uint8_t* const place = visit.arrived() ? inner_->lend(bytes) : nullptr;
    if (place)
        position_ += bytes;
    return place;
}

std::int32_t NUV_MoveInMoveOutMovableInputStream::move(std::int32_t bytes)
{
    if (bytes == 0 || is_closed())
        return 0;
    const std::int32_t before = position_;
    position_ = clamped_position(std::int64_t{position_} + bytes, size());
    return position_ - before;
}

bool NUV_MoveInMoveOutMovableInputStream::pass_over(std::int32_t bytes)
{
    if (bytes < 0 || is_closed() || bytes > size() - position_)
        return false;
    position_ += bytes;
    return true;
}

bool NUV_MoveInMoveOutMovableInputStream::go_to_locked(std::int64_t target)
{
    if (!inner_)
        return false;
    const Lock held(*lock_);
    position_ = clamped_position(target, inner_->size());
    return true;
}

bool NUV_MoveInMoveOutMovableInputStream::go_from_end_locked(std::int64_t distance)
{
    if (!inner_)
        return false;
    const Lock held(*lock_);
    const std::int32_t end = inner_->size();
    position_ = clamped_position(end + distance, end);
    return true;
}

bool NUV_MoveInMoveOutInputStorage::to(std::int32_t offset)
{
    return offset >= 0 && go_to_locked(offset);
}

bool NUV_MoveInMoveOutInputStorage::to_from_end(std::int32_t bytes)
{
    return go_from_end_locked(bytes);
}

bool NUV_MoveInMoveOutInputStorage::to_begin()
{
    return go_to_locked(0);
}

bool NUV_MoveInMoveOutInputStorage::to_end()
{
    return go_from_end_locked(0);
}

} // namespace nuv
