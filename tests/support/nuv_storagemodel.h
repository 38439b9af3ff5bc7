#pragma once

#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

// Storages of every kind beside a vector that says what they should answer.
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

[[nodiscard]] inline Bytes content_of(NUV_OutputStorage& storage)
{
    const NUV_Held<NUV_InputStorage> input(storage.create_input_storage());
    return input ? read_rest(*input) : Bytes();
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
    // Whether a storage stands that is made of these.
    template <class T, class... Args>
    [[nodiscard]] std::function<bool()> making(Args... args)
    {
        return [=, this] { return make<T>(args...) != nullptr; };
    }
    struct Refusal {
        NUV_StatusCode code;
        const char* method;
        std::function<bool()> stands;
    };
    void expect_refusals(const std::vector<Refusal>& refusals)
    {
        for (std::size_t i = 0; i < refusals.size(); ++i) {
            SCOPED_TRACE("refusal " + std::to_string(i));
            EXPECT_FALSE(refusals[i].stands());
            expect_status(refusals[i].code, refusals[i].method);
        }
    }
    [[nodiscard]] const char* path() const { return path_.c_str(); }
    void write_file(const Bytes& bytes) const
    {
        std::ofstream file(path_, std::ios::binary);
        file << std::string(bytes.begin(), bytes.end());
        ASSERT_TRUE(file.good());
    }

    NUV_TestManager manager_;

private:
    std::size_t live_at_start_ = manager_.memory().live();
    std::string path_ =
        (std::filesystem::temp_directory_path() / ("nuv_io_test_" + std::to_string(getpid())))
            .string();
};

// Draws, and what both models need.
class StorageScript {
public:
    explicit StorageScript(unsigned seed) : random_(seed) {}

protected:
    [[nodiscard]] std::int32_t any(int low, int high)
    {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random_);
    }
    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(content_.size()); }
    std::int64_t go(std::int64_t target)
    {
        const std::int64_t before = position_;
        position_ = std::clamp<std::int64_t>(target, 0, size());
        return position_ - before;
    }

    Bytes content_;
    std::int64_t position_ = 0;

private:
    std::mt19937 random_;
};

// Drives an input by random calls. `from_end_clamps`: to_from_end() with a positive distance is
// true.
class InputScript : public StorageScript {
public:
    InputScript(NUV_InputStorage& storage, Bytes content, bool from_end_clamps = true)
        : StorageScript(1),
          storage_(storage),
          from_end_clamps_(from_end_clamps)
    {
        content_ = std::move(content);
        position_ = storage.position();
    }

    void run(int steps)
    {
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(i);
            step();
            EXPECT_EQ(storage_.position(), position_);
            EXPECT_EQ(storage_.is_end(), position_ == size());
            EXPECT_EQ(storage_.size(), size());
        }
    }

private:
    void step()
    {
        // Mostly near the stream, sometimes as far as numbers go.
        constexpr std::int32_t far[] = {std::numeric_limits<std::int32_t>::min(),
                                        std::numeric_limits<std::int32_t>::max()};
        const auto reach = static_cast<std::int32_t>(size() + 5);
        const std::int32_t n = any(0, 15) == 0 ? far[any(0, 1)] : any(-reach, reach);
        switch (any(0, 7)) {
        case 0:
            if (position_ < size()) {
                EXPECT_EQ(storage_.get(), content_[static_cast<std::size_t>(position_++)]);
            }
            break;
        case 1:
        case 2:
            read(std::min(n, reach));
            break;
        case 3:
            EXPECT_EQ(storage_.move(n), go(position_ + n));
            break;
        case 4:
            EXPECT_EQ(storage_.ignore(n), go(position_ + n));
            break;
        case 5:
            EXPECT_EQ(storage_.to(n), n >= 0);
            go(n >= 0 ? n : position_);
            break;
        case 6:
            EXPECT_EQ(storage_.to_from_end(n), n <= 0 || from_end_clamps_);
            go(size() + n);
            break;
        default:
            EXPECT_TRUE(n < 0 ? storage_.to_begin() : storage_.to_end());
            go(n < 0 ? 0 : size());
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

    NUV_InputStorage& storage_;
    bool from_end_clamps_;
};

// The same for an output. Some zero the last of the bytes that fill() passes, others keep all.
class OutputScript : public StorageScript {
public:
    OutputScript(NUV_OutputStorage& storage, unsigned seed, bool fill_zeroes_last,
                 std::int64_t capacity = std::numeric_limits<std::int32_t>::max())
        : StorageScript(seed),
          storage_(storage),
          fill_zeroes_last_(fill_zeroes_last),
          capacity_(capacity)
    {}

    // What was written in the end.
    [[nodiscard]] Bytes run(int steps)
    {
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
        case 3: {
            Bytes bytes(static_cast<std::size_t>(std::max(n, 0)));
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(any(1, 255));
            EXPECT_EQ(storage_.write(bytes.data(), n), fitting(n));
            bytes.resize(static_cast<std::size_t>(fitting(n)));
            overwrite(bytes);
            break;
        }
        case 4:
            fill(n);
            break;
        case 5:
            EXPECT_EQ(storage_.move(n), go(position_ + n));
            break;
        case 6:
            EXPECT_EQ(storage_.to(n), n < 1 || size() > 0);
            go(n);
            break;
        default:
            EXPECT_EQ(storage_.to_from_end(n), n >= 0 || size() > 0);
            go(size() + n);
        }
    }
    [[nodiscard]] std::int64_t fitting(std::int32_t n) const
    {
        return std::clamp<std::int64_t>(n, 0, capacity_ - position_);
    }
    void overwrite(const Bytes& bytes)
    {
        const auto at = static_cast<std::size_t>(position_);
        content_.resize(std::max(content_.size(), at + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), content_.begin() + position_);
        position_ += static_cast<std::int64_t>(bytes.size());
    }
    // Fresh bytes are zeros everywhere: the caller's memory is, too, at the beginning.
    void fill(std::int32_t n)
    {
        const std::int64_t fits = fitting(n);
        EXPECT_EQ(storage_.fill(n), fits);
        position_ += fits;
        if (position_ > size())
            content_.resize(static_cast<std::size_t>(position_));
        if (fits > 0 && fill_zeroes_last_)
            content_[static_cast<std::size_t>(position_ - 1)] = 0;
    }

    NUV_OutputStorage& storage_;
    bool fill_zeroes_last_;
    std::int64_t capacity_;
};

} // namespace nuv
