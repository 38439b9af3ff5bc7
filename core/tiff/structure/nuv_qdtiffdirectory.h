#pragma once

#include "core/tiff/structure/nuv_qdtiffstatus.h"
#include "core/tiff/structure/nuv_qdtiffstorage.h"
#include "core/tiff/structure/nuv_qdtifftag.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// The first eight bytes of a file (TIFF 6.0, section 2).
struct QDTIFF_ImageFileHeader {
    std::array<std::uint8_t, 2> byte_order{}; // "II" or "MM"
    std::uint16_t version = 0;                // 42 as a rule; nobody looks
    std::uint32_t first_ifd_offset = 0;

    [[nodiscard]] bool is_little_endian() const noexcept { return byte_order[0] == 'I'; }

    // From where the storage stands. not_usable, read_failed, no_byte_order.
    [[nodiscard]] QDTIFF_Status read(QDTIFF_InputStorage& storage);
};

// A directory: 1 to 1024 tags, in the order in which they are stored, and the place of the next
// one.
class QDTIFF_ImageFileDirectory {
public:
    static constexpr std::uint16_t most_entries = 1024;
    static constexpr std::uint32_t last_page = 65535;

    // The allocator is the holder's.
    explicit QDTIFF_ImageFileDirectory(QDTIFF_Allocator& allocator) noexcept : allocator_(allocator)
    {}
    ~QDTIFF_ImageFileDirectory() { clear(); }
    QDTIFF_ImageFileDirectory(const QDTIFF_ImageFileDirectory&) = delete;
    QDTIFF_ImageFileDirectory& operator=(const QDTIFF_ImageFileDirectory&) = delete;

    // Goes from the directory where the storage stands `pages` directories on, along the chain, and
    // leaves the storage there. not_usable for a page that is not there or is above last_page,
    // read_failed, bad_entry_count.
    [[nodiscard]] QDTIFF_Status skip_to(QDTIFF_ValueInputStorage& storage, std::uint32_t pages);
    // The directory where the storage stands, in place of what was held. Tags whose value cannot be
    // are there, with a status of their own. not_usable, read_failed, no_memory, bad_entry_count.
    [[nodiscard]] QDTIFF_Status read(QDTIFF_ValueInputStorage& storage);

    // The first tag of this number, or null.
    [[nodiscard]] QDTIFF_Tag* find(std::uint16_t number) const noexcept;
    // Takes the tag over. One whose number is there already is marked refused_tag. False when there
    // is no memory; the tag is then gone.
    [[nodiscard]] bool add(QDTIFF_Tag* tag);

    [[nodiscard]] std::uint32_t next_ifd_offset() const noexcept { return next_ifd_offset_; }

private:
    [[nodiscard]] QDTIFF_Status read_entry(QDTIFF_ValueInputStorage& storage);
    void check_values(std::uint32_t storage_bytes);
    [[nodiscard]] bool grow();
    void clear();

    QDTIFF_Allocator& allocator_;
    std::span<QDTIFF_Tag*> room_; // of which count_ are in use
    std::size_t count_ = 0;
    std::uint32_t next_ifd_offset_ = 0;
};

} // namespace nuv
