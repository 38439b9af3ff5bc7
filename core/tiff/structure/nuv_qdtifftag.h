#pragma once

#include "core/tiff/structure/nuv_qdtiffstatus.h"
#include "core/tiff/structure/nuv_qdtiffstorage.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// One entry of a directory (TIFF 6.0, section 2). Its value stays in the storage until it is asked
// for.
class QDTIFF_Tag {
public:
    static constexpr std::uint32_t entry_bytes = 12;

    virtual ~QDTIFF_Tag() = default;
    QDTIFF_Tag(const QDTIFF_Tag&) = delete;
    QDTIFF_Tag& operator=(const QDTIFF_Tag&) = delete;

    [[nodiscard]] std::uint16_t tag() const noexcept { return tag_; }
    [[nodiscard]] std::uint16_t type() const noexcept { return type_; }
    [[nodiscard]] std::uint32_t count() const noexcept { return count_; }
    [[nodiscard]] QDTIFF_Status status() const noexcept { return status_; }
    void status(QDTIFF_Status status) noexcept { status_ = status; }

    // Bytes of an element of the value, and the low 32 bits of all of them.
    [[nodiscard]] virtual std::uint32_t element_size() const noexcept = 0;
    [[nodiscard]] std::uint32_t total_size() const noexcept { return count_ * element_size(); }
    // The value stands elsewhere, for it has more than the four bytes of the entry.
    [[nodiscard]] bool is_offset() const noexcept { return total_size() > inline_bytes; }

    // Takes the entry behind tag and type: count, and value or offset, as they are stored.
    void read_entry(std::span<const std::uint8_t, 8> stored, std::uint32_t entry_position,
                    const QDTIFF_ValueInputStorage& storage) noexcept;
    // Whether the value can lie where the entry says, in a storage of `storage_bytes`. What it
    // answers below success belongs into the status.
    [[nodiscard]] QDTIFF_Status check_value(std::uint32_t storage_bytes) const noexcept;

    // The elements from `first` on, up to the size of `into`, widened, or cut to their low bits;
    // how many were copied. An integer has the denominator 1. A rational as an integer loses its
    // fraction, and is 0 without a denominator; a real number keeps within the range, too. None,
    // and a status, when the storage fails.
    [[nodiscard]] virtual std::size_t get(QDTIFF_ValueInputStorage& storage,
                                          std::span<std::uint8_t> into, std::size_t first) = 0;
    [[nodiscard]] virtual std::size_t get(QDTIFF_ValueInputStorage& storage,
                                          std::span<std::uint16_t> into, std::size_t first) = 0;
    [[nodiscard]] virtual std::size_t get(QDTIFF_ValueInputStorage& storage,
                                          std::span<std::uint32_t> into, std::size_t first) = 0;
    [[nodiscard]] virtual std::size_t get(QDTIFF_ValueInputStorage& storage,
                                          std::span<QDTIFF_Rational_T<std::uint32_t>> into,
                                          std::size_t first) = 0;
    [[nodiscard]] virtual std::size_t get(QDTIFF_ValueInputStorage& storage,
                                          std::span<QDTIFF_Rational_T<std::int32_t>> into,
                                          std::size_t first) = 0;

protected:
    static constexpr std::uint32_t inline_bytes = 4;

    QDTIFF_Tag(std::uint16_t tag, std::uint16_t type) noexcept : tag_(tag), type_(type) {}

    // The storage to an element of the value.
    [[nodiscard]] bool seek_element(QDTIFF_ValueInputStorage& storage, std::size_t index) const;

private:
    std::uint16_t tag_;
    std::uint16_t type_;
    QDTIFF_Status status_;
    std::uint32_t count_ = 0;
    std::uint32_t offset_ = 0; // of a value that stands elsewhere
    std::uint32_t entry_position_ = 0;
};

// Reads elements of a value, a piece at a time.
template <class T>
class QDTIFF_TagValueReader_T {
public:
    // Begins where the storage stands.
    explicit QDTIFF_TagValueReader_T(QDTIFF_ValueInputStorage& storage) noexcept : storage_(storage)
    {}
    // The next elements, `most` or as many as a piece holds. Empty when the storage fails.
    [[nodiscard]] std::span<const T> next(std::size_t most);

private:
    QDTIFF_ValueInputStorage& storage_;
    std::array<T, 4096 / sizeof(T)> piece_;
};

// Elements of one type: unsigned numbers of 8, 16 and 32 bits, which stand for signed ones and for
// bytes of other meaning too; rationals; doubles.
template <class T>
class QDTIFF_Tag_T final : public QDTIFF_Tag {
public:
    QDTIFF_Tag_T(std::uint16_t tag, std::uint16_t type) noexcept : QDTIFF_Tag(tag, type) {}

    [[nodiscard]] std::uint32_t element_size() const noexcept override { return sizeof(T); }
    [[nodiscard]] std::size_t get(QDTIFF_ValueInputStorage& storage, std::span<std::uint8_t> into,
                                  std::size_t first) override;
    [[nodiscard]] std::size_t get(QDTIFF_ValueInputStorage& storage, std::span<std::uint16_t> into,
                                  std::size_t first) override;
    [[nodiscard]] std::size_t get(QDTIFF_ValueInputStorage& storage, std::span<std::uint32_t> into,
                                  std::size_t first) override;
    [[nodiscard]] std::size_t get(QDTIFF_ValueInputStorage& storage,
                                  std::span<QDTIFF_Rational_T<std::uint32_t>> into,
                                  std::size_t first) override;
    [[nodiscard]] std::size_t get(QDTIFF_ValueInputStorage& storage,
                                  std::span<QDTIFF_Rational_T<std::int32_t>> into,
                                  std::size_t first) override;

private:
    template <class To>
    [[nodiscard]] std::size_t convert(QDTIFF_ValueInputStorage& storage, std::span<To> into,
                                      std::size_t first);
};

// Makes the tag for a field type.
class QDTIFF_TagFactory {
public:
    static constexpr std::uint16_t highest_type = 13; // IFD

    // Null when there is no memory. `type` is 0 to highest_type.
    [[nodiscard]] static QDTIFF_Tag* create(QDTIFF_Allocator& allocator, std::uint16_t tag,
                                            std::uint16_t type);
    static void destroy(QDTIFF_Allocator& allocator, QDTIFF_Tag* tag);
};

} // namespace nuv
