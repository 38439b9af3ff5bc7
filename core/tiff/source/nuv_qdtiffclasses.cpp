#include "core/tiff/source/nuv_qdtiffclasses.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>

namespace nuv {
namespace {

constexpr NUV_StatusCode status_of(std::int32_t code) noexcept
{
    switch (code) {
    case QDTIFF_Status::read_failed:
    case QDTIFF_Status::outside:
        return NUV_ERR_BROKEN_DATA;
    case QDTIFF_Status::not_usable:
        return NUV_ERR_ARGUMENT;
    case QDTIFF_Status::refused_tag:
        return NUV_ERR_INVALID_DATA;
    case QDTIFF_Status::bad_entry_count:
    case QDTIFF_Status::size_overflow:
        return NUV_ERR_UNSUPPORTED;
    case QDTIFF_Status::version_mismatch:
        return NUV_ERR_VERSION;
    case QDTIFF_Status::no_memory:
    case QDTIFF_Status::no_byte_order:
        return NUV_STATUS_OK;
    default:
        return NUV_ERROR;
    }
}

// Of a directory, at which all of these codes turn up.
constexpr const char* text_of(std::int32_t code) noexcept
{
    switch (code) {
    case QDTIFF_Status::read_failed:
        return "a directory ends early";
    case QDTIFF_Status::not_usable:
        return "there is no such page";
    case QDTIFF_Status::bad_entry_count:
        return "a directory of no entries, or of more than 1024";
    default:
        return "";
    }
}

} // namespace

bool NUV_QDTIFFStatus::raise(const char* method, NUV_Diagnosis why) const
{
    if (is_good())
        return true;
    if (why.text[0] == '\0')
        why.says("%s", text_of(code()));
    const NUV_StatusCode raised = status_of(code());
    return raised == NUV_STATUS_OK ? false : fail(manager_, raised, method, why);
}

void* NUV_QDTIFFAllocator::allocate(std::size_t bytes)
{
    return manager().allocate(bytes);
}

void NUV_QDTIFFAllocator::free(void* memory)
{
    manager().deallocate(memory);
}

bool NUV_QDTIFFInputStorage::good() const
{
    return !storage_->is_closed();
}

std::uint32_t NUV_QDTIFFInputStorage::seek(std::uint32_t position)
{
    static_cast<void>(seek_exactly(*storage_, position));
    return tell();
}

std::uint32_t NUV_QDTIFFInputStorage::tell() const
{
    return static_cast<std::uint32_t>(storage_->position());
}

std::uint32_t NUV_QDTIFFInputStorage::size() const
{
    return static_cast<std::uint32_t>(std::max(storage_->size(), 0));
}

bool NUV_QDTIFFInputStorage::read(std::span<std::uint8_t> into)
{
    return read_exactly(*storage_, into.data(), static_cast<std::uint32_t>(into.size()));
}

} // namespace nuv
