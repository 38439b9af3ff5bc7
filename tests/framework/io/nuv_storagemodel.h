#pragma once

#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace nuv {

using Bytes = std::vector<std::uint8_t>;

[[nodiscard]] inline Bytes counted_bytes(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    return bytes;
}

// All that lies between the position and the end.
[[nodiscard]] inline Bytes read_rest(NUV_InputStorage& storage)
{
    Bytes bytes;
    std::uint8_t piece[17];
    for (;;) {
        const std::int32_t got = storage.read(piece, sizeof piece);
        if (got < 1)
            return bytes;
        bytes.insert(bytes.end(), piece, piece + got);
    }
}

// A manager of its own, which at the end must have got everything back, and a file name.
class StorageTest : public ::testing::Test {
protected:
    ~StorageTest() noexcept override {} // the manager's own might throw
    void TearDown() override
    {
        manager_.clear();
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
        EXPECT_EQ(manager_.memory().live(), live_at_start_) << "something was left behind";
    }

    template <class T, class... Args>
    [[nodiscard]] NUV_Held<T> make(Args&&... args)
    {
        return make_initiated<T>(manager_, std::forward<Args>(args)...);
    }
    // What is wrong is told, and forgotten.
    void expect_status(NUV_StatusCode code, const char* method)
    {
        EXPECT_EQ(manager_.status().code, code) << manager_.status().method;
        EXPECT_STREQ(manager_.status().method, method);
        manager_.reset();
    }
    [[nodiscard]] const char* path() const { return path_.c_str(); }
    void write_file(const Bytes& bytes) const
    {
        std::FILE* file = std::fopen(path(), "wb");
        ASSERT_TRUE(file);
        EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
        std::fclose(file);
    }

    NUV_TestManager manager_;

private:
    std::size_t live_at_start_ = manager_.memory().live();
    std::string path_ =
        (std::filesystem::temp_directory_path() / ("nuv_io_test_" + std::to_string(getpid())))
            .string();
};

// Drives an input by a random script beside a model of it. `from_end_clamps`: to_from_end() with a
// positive distance is true.
class InputScript {
public:
    InputScript(NUV_InputStorage& storage, const Bytes& content, bool from_end_clamps)
        : storage_(storage),
          content_(content),
          from_end_clamps_(from_end_clamps)
    {}

    void run(int steps, unsigned seed)
    {
        random_.seed(seed);
        position_ = storage_.position();
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(i);
            step();
            EXPECT_EQ(storage_.position(), position_);
            EXPECT_EQ(storage_.is_end(), position_ == size());
            EXPECT_EQ(storage_.size(), size());
        }
    }

private:
    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(content_.size()); }
    [[nodiscard]] std::int32_t any(int low, int high)
    {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random_);
    }
    // Mostly near the stream, sometimes as far as numbers go.
    [[nodiscard]] std::int32_t any_distance()
    {
        constexpr std::int32_t far[] = {std::numeric_limits<std::int32_t>::min(),
                                        std::numeric_limits<std::int32_t>::max()};
        const auto reach = static_cast<std::int32_t>(size() + 5);
        return any(0, 15) == 0 ? far[any(0, 1)] : any(-reach, reach);
    }

    void step()
    {
        const std::int32_t n = any_distance();
        switch (any(0, 7)) {
        case 0:
            if (position_ < size()) {
                EXPECT_EQ(storage_.get(), content_[static_cast<std::size_t>(position_++)]);
            }
            break;
        case 1:
        case 2:
            read(std::min<std::int32_t>(n, static_cast<std::int32_t>(size()) + 5));
            break;
        case 3:
        case 4:
            move(n);
            break;
        case 5:
            EXPECT_EQ(storage_.to(n), n >= 0);
            if (n >= 0)
                position_ = std::min<std::int64_t>(n, size());
            break;
        case 6:
            EXPECT_EQ(storage_.to_from_end(n), n <= 0 || from_end_clamps_);
            position_ = std::clamp<std::int64_t>(size() + n, 0, size());
            break;
        default:
            EXPECT_TRUE(n < 0 ? storage_.to_begin() : storage_.to_end());
            position_ = n < 0 ? 0 : size();
        }
    }
    void read(std::int32_t n)
    {
        Bytes into(static_cast<std::size_t>(std::max(n, 0)) + 1, 0xEE);
        const std::int64_t expected = std::clamp<std::int64_t>(n, 0, size() - position_);
        EXPECT_EQ(storage_.read(into.data(), n), expected);
        EXPECT_TRUE(
            std::equal(into.begin(), into.begin() + expected, content_.begin() + position_));
        EXPECT_EQ(into[static_cast<std::size_t>(expected)], 0xEE);
        position_ += expected;
    }
    void move(std::int32_t n)
    {
        const std::int64_t target = std::clamp<std::int64_t>(position_ + n, 0, size());
        EXPECT_EQ(any(0, 1) ? storage_.move(n) : storage_.ignore(n), target - position_);
        position_ = target;
    }

    NUV_InputStorage& storage_;
    const Bytes& content_;
    bool from_end_clamps_;
    std::int64_t position_ = 0;
    std::mt19937 random_;
};

// What fill() does to the bytes that it passes.
enum class Filling { keeps_all, zeroes_the_last };

// The same for an output.
class OutputScript {
public:
    OutputScript(NUV_OutputStorage& storage, Filling filling,
                 std::int64_t capacity = std::numeric_limits<std::int32_t>::max())
        : storage_(storage),
          filling_(filling),
          capacity_(capacity)
    {}

    // What was written in the end.
    [[nodiscard]] Bytes run(int steps, unsigned seed)
    {
        random_.seed(seed);
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(i);
            step();
            EXPECT_EQ(storage_.position(), position_);
            if (any(0, 3) == 0) {
                EXPECT_EQ(storage_.size(), size());
            }
            EXPECT_EQ(storage_.position(), position_);
        }
        return content_;
    }

private:
    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(content_.size()); }
    [[nodiscard]] std::int32_t any(int low, int high)
    {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random_);
    }

    void step()
    {
        const std::int32_t n = any(-30, 30);
        switch (any(0, 7)) {
        case 0:
            if (position_ < capacity_) {
                EXPECT_EQ(storage_.put(0x5A), 0x5A);
                overwrite({0x5A});
            }
            break;
        case 1:
        case 2:
        case 3:
            write(n);
            break;
        case 4:
            fill(n);
            break;
        case 5:
            EXPECT_EQ(storage_.move(n), go(position_ + n));
            break;
        case 6: {
            const bool expected = n < 1 || size() > 0;
            EXPECT_EQ(storage_.to(n), expected);
            go(n);
            break;
        }
        default: {
            const bool expected = n >= 0 || size() > 0;
            EXPECT_EQ(storage_.to_from_end(n), expected);
            go(size() + n);
        }
        }
    }
    std::int64_t go(std::int64_t target)
    {
        const std::int64_t before = position_;
        position_ = std::clamp<std::int64_t>(target, 0, size());
        return position_ - before;
    }
    void overwrite(const Bytes& bytes)
    {
        const auto at = static_cast<std::size_t>(position_);
        content_.resize(std::max(content_.size(), at + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), content_.begin() + position_);
        position_ += static_cast<std::int64_t>(bytes.size());
    }
    void write(std::int32_t n)
    {
        Bytes bytes(static_cast<std::size_t>(std::max(n, 0)));
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(any(1, 255));
        const std::int64_t fits = std::clamp<std::int64_t>(n, 0, capacity_ - position_);
        EXPECT_EQ(storage_.write(bytes.data(), n), fits);
        bytes.resize(static_cast<std::size_t>(fits));
        overwrite(bytes);
    }
    // Fresh bytes are zeros everywhere: the caller's memory is, too, at the beginning.
    void fill(std::int32_t n)
    {
        const std::int64_t fits = std::clamp<std::int64_t>(n, 0, capacity_ - position_);
        EXPECT_EQ(storage_.fill(n), fits);
        position_ += fits;
        if (position_ > size())
            content_.resize(static_cast<std::size_t>(position_));
        if (fits > 0 && filling_ == Filling::zeroes_the_last)
            content_[static_cast<std::size_t>(position_ - 1)] = 0;
    }

    NUV_OutputStorage& storage_;
    Filling filling_;
    std::int64_t capacity_;
    std::int64_t position_ = 0;
    Bytes content_;
    std::mt19937 random_;
};

} // namespace nuv
