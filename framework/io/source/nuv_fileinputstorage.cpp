#include "framework/io/nuv_fileinputstorage.h"

namespace nuv {

NUV_FileInputStorage::NUV_FileInputStorage(NUV_Manager& manager) noexcept
    : NUV_InputStorage(manager),
      NUV_NamableImpl(manager),
      NUV_PosixStorage(manager)
{}

bool NUV_FileInputStorage::initiate(const char* path, NUV_ReadAhead ahead)
{
    if (!path)
        return true;
    if (!is_closed())
        take_stamp();
    if (!name_.assign(path) || !(name_ == path))
        return false;
    file_.read_ahead(ahead);
    return open(path, NUV_FileUse::reading);
}

bool NUV_FileInputStorage::initiate(std::int32_t descriptor)
{
    constexpr auto method = "NUV_FileInputStorage::initiate()";

    if (descriptor < 0)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (descriptor == 0)
        return true;
    if (!is_closed())
        take_stamp();
    if (!file_.adopt(descriptor))
        return fail(manager(), NUV_ERR_IO, method, why_not_opened(errno, NUV_FileUse::reading));
    return true;
}

bool NUV_FileInputStorage::close()
{
    return file_.close();
}

bool NUV_FileInputStorage::is_closed() const
{
    return file_.is_closed();
}

std::int32_t NUV_FileInputStorage::get()
{
    std::uint8_t byte = 0;
    return file_.read(&byte, 1) == 1 ? byte : -1;
}

std::int32_t NUV_FileInputStorage::read(void* into, std::int32_t bytes)
{
    const std::int32_t got = file_.read(into, bytes);
    if (got >= 0)
        return got;
    fail(manager(), NUV_ERR_IO, "NUV_FileInputStorage::read()");
    return 0;
}

std::int32_t NUV_FileInputStorage::position() const
{
    return file_.position();
}

std::int32_t NUV_FileInputStorage::move(std::int32_t bytes)
{
    return move_file(bytes);
}

bool NUV_FileInputStorage::pass_over(std::int32_t bytes)
{
    return file_.pass_over(bytes);
}

bool NUV_FileInputStorage::to(std::int32_t offset)
{
    return offset >= 0 && seek_file(offset);
}

bool NUV_FileInputStorage::to_from_end(std::int32_t bytes)
{
    return seek_file(std::int64_t{file_.size()} + bytes);
}

std::int32_t NUV_FileInputStorage::size() const
{
    return file_.size();
}

bool NUV_FileInputStorage::to_begin()
{
    return file_.seek(0, NUV_SeekOrigin::begin) == 0;
}

bool NUV_FileInputStorage::to_end()
{
    return file_.seek(0, NUV_SeekOrigin::end) >= 0;
}

} // namespace nuv
