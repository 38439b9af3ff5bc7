#pragma once

#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"
#include "tests/support/nuv_testchain.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

// Storages of every kind beside a vector that says what they should answer.
namespace nuv {

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
    void expect_status(NUV_StatusCode code, const char* method)
    {
        nuv::expect_status(manager_, code, method);
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

// What a storage holds and where it stands, for random calls on both.
struct StorageModel {
    [[nodiscard]] std::int32_t any(int low, int high)
    {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random);
    }
    [[nodiscard]] std::int64_t size() const { return static_cast<std::int64_t>(content.size()); }
    std::int64_t go(std::int64_t target)
    {
        const std::int64_t before = position;
        position = std::clamp<std::int64_t>(target, 0, size());
        return position - before;
    }
    void expect_at(bool is_right, std::int64_t target)
    {
        EXPECT_TRUE(is_right);
        go(target);
    }
    void overwrite(const Bytes& bytes)
    {
        content.resize(std::max(content.size(), static_cast<std::size_t>(position) + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), content.begin() + position);
        position += static_cast<std::int64_t>(bytes.size());
    }

    Bytes content;
    std::int64_t position = 0;
    std::mt19937 random;
};

// `from_end_clamps`: to_from_end() with a positive distance is true. `passes_over`: it can.
inline void expect_like_model(NUV_InputStorage& storage, const Bytes& content, int steps,
                              bool from_end_clamps = true, bool passes_over = true)
{
    StorageModel model{content, storage.position(), std::mt19937(1)};
    const std::int64_t size = model.size();
    const auto read = [&](std::int32_t n) {
        Bytes into(static_cast<std::size_t>(std::max(n, 0)) + 1, 0xEE);
        const std::int64_t expected = std::clamp<std::int64_t>(n, 0, size - model.position);
        EXPECT_EQ(storage.read(into.data(), n), expected);
        EXPECT_TRUE(
            std::equal(into.begin(), into.begin() + expected, content.begin() + model.position));
        EXPECT_EQ(into[static_cast<std::size_t>(expected)], 0xEE);
        model.position += expected;
    };
    for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        // Mostly near the stream, sometimes as far as numbers go.
        constexpr std::int32_t far[] = {std::numeric_limits<std::int32_t>::min(),
                                        std::numeric_limits<std::int32_t>::max()};
        const auto reach = static_cast<std::int32_t>(size + 5);
        const std::int32_t n =
            model.any(0, 15) == 0 ? far[model.any(0, 1)] : model.any(-reach, reach);
        const std::int64_t at = model.position;
        const auto get = [&] {
            if (at < size)
                model.expect_at(storage.get() == content[static_cast<std::size_t>(at)], at + 1);
        };
        const auto pass_over = [&] {
            const bool passes = passes_over && n >= 0 && n <= size - at;
            EXPECT_EQ(storage.pass_over(n), passes);
            model.go(passes ? at + n : at);
        };
        // clang-format off
        const std::function<void()> calls[] = {
            get, pass_over,
            [&] { read(std::min(n, reach)); },
            [&] { read(std::min(n, reach)); },
            [&] { EXPECT_EQ(storage.move(n), model.go(at + n)); },
            [&] { EXPECT_EQ(storage.ignore(n), model.go(at + n)); },
            [&] { model.expect_at(storage.to(n) == (n >= 0), n >= 0 ? n : at); },
            [&] { model.expect_at(storage.to_from_end(n) == (n <= 0 || from_end_clamps), size + n); },
            [&] { model.expect_at(n < 0 ? storage.to_begin() : storage.to_end(), n < 0 ? 0 : size); },
        };
        // clang-format on
        calls[model.any(0, 8)]();
        EXPECT_EQ(storage.position(), model.position);
        EXPECT_EQ(storage.is_end(), model.position == size);
        EXPECT_EQ(storage.size(), size);
    }
}

// The same for an output, with what was written in the end. Some outputs zero the last of the bytes
// that fill() passes, others keep all; fresh ones are zeros everywhere.
[[nodiscard]] inline Bytes written_like_model(
    NUV_OutputStorage& storage, unsigned seed, bool fill_zeroes_last,
    std::int64_t capacity = std::numeric_limits<std::int32_t>::max())
{
    StorageModel model{{}, 0, std::mt19937(seed)};
    for (int i = 0; i < 100 && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const std::int32_t n = model.any(-30, 30);
        const std::int64_t at = model.position;
        const std::int64_t fits = std::clamp<std::int64_t>(n, 0, capacity - at);
        const auto write = [&] {
            Bytes bytes(static_cast<std::size_t>(std::max(n, 0)));
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(model.any(1, 255));
            EXPECT_EQ(storage.write(bytes.data(), n), fits);
            bytes.resize(static_cast<std::size_t>(fits));
            model.overwrite(bytes);
        };
        const auto fill = [&] {
            EXPECT_EQ(storage.fill(n), fits);
            model.position += fits;
            model.content.resize(static_cast<std::size_t>(std::max(model.position, model.size())));
            if (fits > 0 && fill_zeroes_last)
                model.content[static_cast<std::size_t>(model.position - 1)] = 0;
        };
        const auto put = [&] {
            if (at == capacity)
                return;
            EXPECT_EQ(storage.put(0x5A), 0x5A);
            model.overwrite({0x5A});
        };
        // clang-format off
        const std::function<void()> calls[] = {
            put, write, write, write, fill,
            [&] { EXPECT_EQ(storage.move(n), model.go(at + n)); },
            [&] { model.expect_at(storage.to(n) == (n < 1 || model.size() > 0), n); },
            [&] { model.expect_at(storage.to_from_end(n) == (n >= 0 || model.size() > 0), model.size() + n); },
        };
        // clang-format on
        calls[model.any(0, 7)]();
        EXPECT_EQ(storage.position(), model.position);
        if (model.any(0, 3) == 0) {
            EXPECT_EQ(storage.size(), model.size());
            EXPECT_EQ(storage.position(), model.position);
        }
    }
    return model.content;
}

} // namespace nuv
