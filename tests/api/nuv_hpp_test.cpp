// The interface for C++, over the shared library.

#include <gtest/gtest.h>
#include <nuv/nuv.hpp>

#include <algorithm>
#include <cerrno>
#include <ranges>

namespace {

const std::vector<std::uint8_t> samples = [] {
    std::vector<std::uint8_t> bytes(std::size_t{3} * 20 * 10);
    std::ranges::generate(bytes, [n = 0]() mutable { return static_cast<std::uint8_t>(n += 7); });
    return bytes;
}();

nuv::Job open()
{
    nuv::Picture is{};
    is.width = 20;
    is.height = 10;
    is.channels = 3;
    is.bits = 8;
    is.color = NUV_RGB;
    return nuv::Job::samples(samples.data(), is);
}

TEST(Hpp, RunsChainsAndOwnsTheirResults)
{
    static_assert(std::ranges::input_range<nuv::Bands>);
    static_assert(!std::is_copy_constructible_v<nuv::Job> &&
                  std::is_move_constructible_v<nuv::Job>);
    auto jpeg = open().fit(nuv::Scaling::area, 5, 5).jpeg({.quality = 90}).to_memory();
    ASSERT_TRUE(jpeg) << jpeg.error().message;
    nuv::Job again = nuv::Job::open(jpeg->span());
    EXPECT_EQ(again.picture().width, 5u);
    EXPECT_EQ(again.picture().height, 3u);
    EXPECT_STREQ(again.source().kind, "jpeg");
    EXPECT_EQ(jpeg->first_damaged_line(), -1);

    const auto failed = open().crop({30, 0, 1, 1}).anymap().to_memory();
    ASSERT_FALSE(failed);
    EXPECT_THROW(static_cast<void>(failed.value()), nuv::BadResultAccess);
    EXPECT_EQ(jpeg.value().size(), jpeg->size());
    EXPECT_EQ(failed.error().status, NUV_BAD_CALL);
    EXPECT_NE(failed.error().message.find("nuv_crop()"), std::string::npos);
    const auto nowhere = nuv::Job::open("no such file").raw().to_file("no such folder/x");
    EXPECT_EQ(nowhere.error().status, NUV_IO);
    EXPECT_EQ(nuv::Job::samples_file("no such file", open().picture()).why().system_error, ENOENT);
    const auto told = open().raw().to_memory([](auto, auto) -> bool { throw 1; });
    EXPECT_EQ(told.error().status, NUV_CANCELLED);
    const auto size = open().raw().to_memory().and_then(
        [](nuv::Bytes&& bytes) -> nuv::Result<std::size_t> { return bytes.size(); });
    EXPECT_EQ(*size, samples.size());
}

TEST(Hpp, LinesComeInBands)
{
    nuv::Job job = open();
    std::vector<std::uint8_t> lines;
    std::uint32_t next = 0;
    for (const nuv::Band& band : job.lines(4)) {
        EXPECT_EQ(band.first_line, next);
        EXPECT_EQ(band.lines, next == 8 ? 2u : 4u);
        next += band.lines;
        for (std::uint32_t i = 0; i < band.lines; ++i)
            std::ranges::transform(band.line(i), std::back_inserter(lines),
                                   [](std::byte b) { return static_cast<std::uint8_t>(b); });
    }
    EXPECT_EQ(lines, samples);
    EXPECT_TRUE(job) << job.error().message;
}

} // namespace
