#pragma once

#include "framework/base/nuv_held.h"
#include "framework/base/nuv_utility.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

namespace nuv {

// Unsigned numbers of up to 32 bits in as few bytes each as a file has for them: there can be as
// many as it has bytes.
class NUV_PackedNumbers final : public NUV_Utility {
public:
    explicit NUV_PackedNumbers(NUV_Manager& manager) noexcept : NUV_Utility(manager) {}
    NUV_PackedNumbers(NUV_PackedNumbers&& other) noexcept : NUV_Utility(other.manager())
    {
        swap(other);
    }
    NUV_PackedNumbers(const NUV_PackedNumbers&) = delete;
    NUV_PackedNumbers& operator=(const NUV_PackedNumbers&) = delete;
    ~NUV_PackedNumbers() override = default;

    // None, and room for `count` of `bytes` bytes each: 1, 2 or 4. Room that is not used is not
    // touched. False after NUV_ERR_MEMORY, as below.
    [[nodiscard]] bool reserve(std::size_t count, std::uint32_t bytes)
    {
        size_ = 0;
        bytes_each_ = bytes;
        memory_.free();
        return count == 0 || memory_.allocate(manager(), count * bytes);
    }
    // Behind the others, for which there is room; one that needs more bytes loses its high ones.
    void push_back(std::uint32_t number) noexcept { set(size_++, number); }
    // The first `count` numbers, for which there is room, as what they are: T has bytes_each()
    // bytes. What stands in them is the caller's to write.
    template <class T>
    [[nodiscard]] std::span<T> fill(std::size_t count) noexcept
    {
        size_ = count;
        return {reinterpret_cast<T*>(memory_.data()), count};
    }
    void set(std::size_t index, std::uint32_t number) noexcept
    {
        if (bytes_each_ == 1) {
            memory_[index] = static_cast<std::uint8_t>(number);
        } else if (bytes_each_ == 2) {
            const auto low = static_cast<std::uint16_t>(number);
            std::memcpy(memory_.data() + 2 * index, &low, sizeof(low));
        } else {
            std::memcpy(memory_.data() + 4 * index, &number, sizeof(number));
        }
    }
    // Adds zeros, or drops the last ones.
    [[nodiscard]] bool resize(std::size_t count)
    {
        if (count > size_) {
            NUV_Scratch<std::uint8_t> grown;
            if (!grown.allocate(manager(), count * bytes_each_))
                return false;
            const std::size_t used = size_ * bytes_each_;
            if (used != 0)
                std::memcpy(grown.data(), memory_.data(), used);
            std::memset(grown.data() + used, 0, grown.size() - used);
            memory_.swap(grown);
        }
        size_ = count;
        return true;
    }
    [[nodiscard]] bool copy(const NUV_PackedNumbers& other)
    {
        if (!reserve(other.size_, other.bytes_each_))
            return false;
        size_ = other.size_;
        if (size_ != 0)
            std::memcpy(memory_.data(), other.memory_.data(), size_ * bytes_each_);
        return true;
    }
    void clear() noexcept
    {
        memory_.free();
        size_ = 0;
    }
    // Both must have the same manager.
    void swap(NUV_PackedNumbers& other) noexcept
    {
        memory_.swap(other.memory_);
        std::swap(size_, other.size_);
        std::swap(bytes_each_, other.bytes_each_);
    }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] std::uint32_t bytes_each() const noexcept { return bytes_each_; }
    [[nodiscard]] std::uint32_t operator[](std::size_t index) const noexcept
    {
        if (bytes_each_ == 1)
            return memory_[index];
        std::uint32_t number = 0;
        if (bytes_each_ == 2) {
            std::uint16_t low = 0;
            std::memcpy(&low, memory_.data() + 2 * index, sizeof(low));
            number = low;
        } else {
            std::memcpy(&number, memory_.data() + 4 * index, sizeof(number));
        }
        return number;
    }
    [[nodiscard]] bool contains(std::uint32_t number) const noexcept
    {
        std::size_t i = 0;
        while (i < size_ && (*this)[i] != number)
            ++i;
        return i < size_;
    }

private:
    NUV_Scratch<std::uint8_t> memory_;
    std::size_t size_ = 0;
    std::uint32_t bytes_each_ = 1;
};

} // namespace nuv
