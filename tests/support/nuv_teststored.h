#pragma once

#include "framework/base/nuv_held.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_decorator.h"
#include "tests/support/nuv_test.h"

#include <fstream>

namespace nuv {

[[nodiscard]] inline std::string test_data_folder()
{
    const char* folder = std::getenv("NUV_TEST_DATA");
    return folder ? folder : "tests/data";
}

// The bytes of a file of tests/data.
[[nodiscard]] inline Bytes test_data(const std::string& name)
{
    std::ifstream file(test_data_folder() + "/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << name << " cannot be read; NUV_TEST_DATA is the folder of the data";
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

[[nodiscard]] inline Bytes bytes_of(std::string_view text)
{
    return {text.begin(), text.end()};
}

// The last `bytes` bytes of a number, the highest first.
inline void append_be(Bytes& to, std::uint64_t value, int bytes)
{
    for (int shift = 8 * bytes - 8; shift >= 0; shift -= 8)
        to.push_back(static_cast<std::uint8_t>(value >> shift));
}

// A stored image, which may be empty, in a storage that has other bytes before it: nothing may take
// the image's begin for the storage's, but a format whose numbers count from there. Lives longer
// than the chain's run.
class NUV_TestStored {
public:
    static constexpr std::int32_t start = 1;

    NUV_TestStored(NUV_Manager& manager, Bytes bytes, std::int32_t begin = start)
        : bytes_(std::move(bytes)),
          begin_(begin)
    {
        bytes_.insert(bytes_.begin(), static_cast<std::size_t>(begin), 'P');
        storage_ = make_initiated<NUV_ByteArrayInputStorage>(
            manager, bytes_.data(), static_cast<std::int32_t>(bytes_.size()));
        if (storage_) {
            EXPECT_TRUE(storage_->to(begin));
        }
    }

    // Null when there was no memory.
    [[nodiscard]] NUV_InputStorage* storage() const noexcept { return storage_.get(); }
    [[nodiscard]] bool to_begin() const { return storage_->to(begin_); }
    // Of the next byte, counted from the image's begin.
    [[nodiscard]] std::int32_t position() const { return storage_->position() - begin_; }

private:
    Bytes bytes_;
    std::int32_t begin_;
    NUV_Held<NUV_ByteArrayInputStorage> storage_;
};

// A storage that gives one byte a read, and nothing any more from read number `fail_at` on.
class NUV_MeanStorage final : public NUV_InputStorageDecorator {
public:
    NUV_MeanStorage(NUV_Manager& manager, std::size_t fail_at)
        : NUV_InputStorageDecorator(manager),
          reads_left_(fail_at)
    {}

    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override
    {
        if (reads_left_ == 0)
            return 0;
        --reads_left_;
        return NUV_InputStorageDecorator::read(into, std::min(bytes, 1));
    }

private:
    std::size_t reads_left_;
};

} // namespace nuv
