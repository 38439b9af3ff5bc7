#include "framework/io/nuv_fileoutputstorage.h"

#include "framework/base/nuv_held.h"
#include "framework/io/nuv_fileinputstorage.h"

#include <algorithm>

namespace nuv {

NUV_FileOutputStorage::NUV_FileOutputStorage(NUV_Manager& manager) noexcept
    : NUV_OutputStorage(manager),
      NUV_NamableImpl(manager),
      NUV_PosixStorage(manager)
{}

bool NUV_FileOutputStorage::initiate(const char* path)
{
    if (!path)
        return true;
    if (!name_.assign(path) || !(name_ == path))
        return false;
    return open(path, NUV_FileUse::writing);
}

bool NUV_FileOutputStorage::initiate(std::int32_t descriptor)
{
    if (file_.adopt(descriptor, NUV_FileUse::writing))
        return true;
    return fail(manager(), NUV_ERR_IO, "NUV_FileOutputStorage::initiate()",
                why_not_opened(errno, NUV_FileUse::writing));
}

bool NUV_FileOutputStorage::close()
{
    return file_.close();
}

bool NUV_FileOutputStorage::is_closed() const
{
    return file_.is_closed();
}

std::int32_t NUV_FileOutputStorage::put(std::uint8_t byte)
{
    return file_.write(&byte, 1) == 1 ? byte : -1;
}

std::int32_t NUV_FileOutputStorage::write(const void* from, std::int32_t bytes)
{
    return file_.write(from, bytes);
}

std::int32_t NUV_FileOutputStorage::fill(std::int32_t bytes)
{
    if (bytes < 1 || is_closed())
        return 0;
    const std::int32_t before = file_.position();
    const std::int32_t room = std::min(bytes, last_stream_position - before);
    if (room > 0) {
        if (file_.seek(room - 1, NUV_SeekOrigin::current) < 0)
            return 0;
        put(0);
    }
    if (room < bytes)
        fail(manager(), NUV_ERR_IO, "NUV_FileOutputStorage::fill()", beyond_positions());
    return file_.position() - before;
}

NUV_InputStorage* NUV_FileOutputStorage::create_input_storage()
{
    return make_initiated<NUV_FileInputStorage>(manager(), name(), NUV_ReadAhead::no).release();
}

std::int32_t NUV_FileOutputStorage::move(std::int32_t bytes)
{
    return move_file(bytes);
}

std::int32_t NUV_FileOutputStorage::position() const
{
    return file_.position();
}

std::int32_t NUV_FileOutputStorage::size()
{
    return file_.size();
}

bool NUV_FileOutputStorage::to_begin()
{
    return file_.seek(0, NUV_SeekOrigin::begin) == 0;
}

bool NUV_FileOutputStorage::to_end()
{
    return file_.seek(0, NUV_SeekOrigin::end) >= 0;
}

} // namespace nuv
