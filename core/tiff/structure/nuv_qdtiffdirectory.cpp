#include "core/tiff/structure/nuv_qdtiffdirectory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nuv {
namespace {

QDTIFF_Status read_count(QDTIFF_ValueInputStorage& storage, std::uint16_t& count)
{
    if (!storage.read_u16(count))
        return QDTIFF_Status::read_failed;
    const bool in_bounds = count > 0 && count <= QDTIFF_ImageFileDirectory::most_entries;
    return in_bounds ? QDTIFF_Status::good : QDTIFF_Status::bad_entry_count;
}

} // namespace

QDTIFF_Status QDTIFF_ImageFileHeader::read(QDTIFF_InputStorage& storage)
{
    if (!storage.good())
        return QDTIFF_Status::not_usable;
    if (!storage.read(byte_order))
        return QDTIFF_Status::read_failed;
    const auto is_order = [this](std::uint8_t letter) {
        return byte_order[0] == letter && byte_order[1] == letter;
    };
    const auto read_numbers = [this](QDTIFF_ValueInputStorage&& numbers) {
        return numbers.read_u16(version) && numbers.read_u32(first_ifd_offset);
    };
    const bool complete = is_order('M')
                              ? read_numbers(QDTIFF_BigEndianValueInputStorage(storage))
                              : read_numbers(QDTIFF_LittleEndianValueInputStorage(storage));
    if (!is_order('M') && !is_order('I'))
        return QDTIFF_Status::no_byte_order;
    return complete ? QDTIFF_Status::good : QDTIFF_Status::read_failed;
}

QDTIFF_Status QDTIFF_ImageFileDirectory::skip_to(QDTIFF_ValueInputStorage& storage,
                                                 std::uint32_t pages)
{
    if (pages > last_page)
        return QDTIFF_Status::not_usable;
    const auto reach = [&storage](std::uint64_t position) {
        const auto target = static_cast<std::uint32_t>(position);
        return target == position && storage.storage().seek(target) == target;
    };
    for (; pages > 0; --pages) {
        std::uint16_t count = 0;
        const QDTIFF_Status status = read_count(storage, count);
        if (!status.is_good())
            return status;
        std::uint32_t next = 0;
        const std::uint64_t entries = std::uint64_t{QDTIFF_Tag::entry_bytes} * count;
        if (!reach(storage.storage().tell() + entries) || !storage.read_u32(next))
            return QDTIFF_Status::read_failed;
        if (next == 0)
            return QDTIFF_Status::not_usable;
        if (!reach(next))
            return QDTIFF_Status::read_failed;
    }
    return QDTIFF_Status::good;
}

QDTIFF_Status QDTIFF_ImageFileDirectory::read(QDTIFF_ValueInputStorage& storage)
{
    if (!storage.storage().good())
        return QDTIFF_Status::not_usable;
    clear();
    std::uint16_t count = 0;
    QDTIFF_Status status = read_count(storage, count);
    for (; status.is_good() && count > 0; --count)
        status = read_entry(storage);
    if (!status.is_good())
        return status;
    if (!storage.read_u32(next_ifd_offset_))
        return QDTIFF_Status::read_failed;
    check_values(storage.storage().size());
    return QDTIFF_Status::good;
}

QDTIFF_Status QDTIFF_ImageFileDirectory::read_entry(QDTIFF_ValueInputStorage& storage)
{
    constexpr std::uint16_t byte_like = 0;
    const std::uint32_t position = storage.storage().tell();
    std::array<std::uint8_t, QDTIFF_Tag::entry_bytes> stored{};
    if (!storage.storage().read(stored))
        return QDTIFF_Status::read_failed;
    std::uint16_t tag_and_type[2];
    std::memcpy(tag_and_type, stored.data(), sizeof(tag_and_type));
    storage.to_host_order(tag_and_type, 2, sizeof(std::uint16_t));

    const auto [number, type] = tag_and_type;
    const bool known = type > 0 && type <= QDTIFF_TagFactory::highest_type;
    QDTIFF_Tag* tag = QDTIFF_TagFactory::create(allocator_, number, known ? type : byte_like);
    if (!tag)
        return QDTIFF_Status::no_memory;
    tag->read_entry(std::span(stored).last<8>(), position, storage);
    if (!known)
        tag->status(QDTIFF_Status::refused_tag);
    return add(tag) ? QDTIFF_Status::good : QDTIFF_Status::no_memory;
}

// Tags may claim the same bytes, but all together not much more than the storage has.
void QDTIFF_ImageFileDirectory::check_values(std::uint32_t storage_bytes)
{
    const std::uint64_t most = std::uint64_t{storage_bytes} * 2 + 65536;
    std::uint64_t claimed = 0;
    for (QDTIFF_Tag* tag : room_.first(count_)) {
        QDTIFF_Status status = tag->check_value(storage_bytes);
        if (status.is_good() && claimed > most)
            status = QDTIFF_Status::outside;
        if (status.is_good())
            claimed += tag->total_size();
        else
            tag->status(status);
    }
}

QDTIFF_Tag* QDTIFF_ImageFileDirectory::find(std::uint16_t number) const noexcept
{
    const auto tags = room_.first(count_);
    const auto found = std::find_if(
        tags.begin(), tags.end(), [number](const QDTIFF_Tag* tag) { return tag->tag() == number; });
    return found != tags.end() ? *found : nullptr;
}

bool QDTIFF_ImageFileDirectory::add(QDTIFF_Tag* tag)
{
    if (count_ == room_.size() && !grow()) {
        QDTIFF_TagFactory::destroy(allocator_, tag);
        return false;
    }
    if (find(tag->tag()))
        tag->status(QDTIFF_Status::refused_tag);
    room_[count_++] = tag;
    return true;
}

bool QDTIFF_ImageFileDirectory::grow()
{
    constexpr std::size_t least = 16;
    const std::size_t wanted = std::max(least, room_.size() * 2);
    auto* memory = static_cast<QDTIFF_Tag**>(allocator_.allocate(wanted * sizeof(QDTIFF_Tag*)));
    if (!memory)
        return false;
    std::copy_n(room_.data(), count_, memory);
    allocator_.free(room_.data());
    room_ = {memory, wanted};
    return true;
}

void QDTIFF_ImageFileDirectory::clear()
{
    for (QDTIFF_Tag* tag : room_.first(std::exchange(count_, 0)))
        QDTIFF_TagFactory::destroy(allocator_, tag);
    allocator_.free(room_.data());
    room_ = {};
    next_ifd_offset_ = 0;
}

} // namespace nuv
