#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Where the container layer takes its memory from.
class QDTIFF_Allocator {
public:
    [[nodiscard]] virtual void* allocate(std::size_t bytes) = 0; // null when there is none
    virtual void free(void* memory) = 0;                         // null is allowed

protected:
    QDTIFF_Allocator() = default;
    QDTIFF_Allocator(const QDTIFF_Allocator&) = default;
    QDTIFF_Allocator& operator=(const QDTIFF_Allocator&) = default;
    ~QDTIFF_Allocator() = default;
};

// What the container layer reads from. Positions count from the beginning of the storage.
class QDTIFF_InputStorage {
public:
    [[nodiscard]] virtual bool good() const = 0;
    // The position that was reached: another one than was asked for when that is not there.
    virtual std::uint32_t seek(std::uint32_t position) = 0;
    [[nodiscard]] virtual std::uint32_t tell() const = 0;
    [[nodiscard]] virtual std::uint32_t size() const = 0;
    // All bytes of `into`, or false.
    [[nodiscard]] virtual bool read(std::span<std::uint8_t> into) = 0;

protected:
    QDTIFF_InputStorage() = default;
    QDTIFF_InputStorage(const QDTIFF_InputStorage&) = default;
    QDTIFF_InputStorage& operator=(const QDTIFF_InputStorage&) = default;
    ~QDTIFF_InputStorage() = default;
};

template <class T>
struct QDTIFF_Rational_T {
    T numerator = 0;
    T denominator = 1;

    // By the numbers, not by the value.
    [[nodiscard]] bool operator==(const QDTIFF_Rational_T&) const = default;
};

// Numbers from a storage, in the byte order of the file. The storage is the holder's.
class QDTIFF_ValueInputStorage {
public:
    QDTIFF_ValueInputStorage(const QDTIFF_ValueInputStorage&) = delete;
    QDTIFF_ValueInputStorage& operator=(const QDTIFF_ValueInputStorage&) = delete;

    [[nodiscard]] QDTIFF_InputStorage& storage() const noexcept { return storage_; }

    // `count` numbers of `unit_bytes` bytes each, turned to the order of the host.
    [[nodiscard]] bool read_array(void* into, std::size_t count, std::size_t unit_bytes);
    [[nodiscard]] bool read_u16(std::uint16_t& value) { return read_array(&value, 1, 2); }
    [[nodiscard]] bool read_u32(std::uint32_t& value) { return read_array(&value, 1, 4); }

    // Numbers that have been read already, in place.
    void to_host_order(void* values, std::size_t count, std::size_t unit_bytes) const noexcept;

protected:
    QDTIFF_ValueInputStorage(QDTIFF_InputStorage& storage, bool swaps) noexcept
        : storage_(storage),
          swaps_(swaps)
    {}
    ~QDTIFF_ValueInputStorage() = default;

private:
    QDTIFF_InputStorage& storage_;
    bool swaps_;
};

class QDTIFF_LittleEndianValueInputStorage final : public QDTIFF_ValueInputStorage {
public:
    explicit QDTIFF_LittleEndianValueInputStorage(QDTIFF_InputStorage& storage) noexcept;
};

class QDTIFF_BigEndianValueInputStorage final : public QDTIFF_ValueInputStorage {
public:
    explicit QDTIFF_BigEndianValueInputStorage(QDTIFF_InputStorage& storage) noexcept;
};

} // namespace nuv
