// Jobs from their sources to their results, and what they say when they fail.

#include "tests/api/nuv_apijob.h"
#include "tests/support/nuv_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace nuv {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t width = 61;
constexpr std::uint32_t height = 40;
const ApiBytes samples = random_samples<std::uint8_t>(std::size_t{3} * width * height, 1);
const nuv_picture picture = api_picture(width, height, 3, NUV_RGB);

nuv_status open_rgb(nuv_job* job)
{
    return nuv_open_samples(job, samples.data(), 0, &picture);
}

nuv_status nothing(nuv_job*)
{
    return NUV_OK;
}

nuv_status as_jpeg(nuv_job* job)
{
    return nuv_as_jpeg(job, -1, NUV_SAMPLING_DEFAULT);
}

ApiCall open_bytes(const ApiBytes& stored)
{
    return [&stored](nuv_job* job) { return nuv_open_memory(job, stored.data(), stored.size()); };
}

// A folder of its own, gone at the end.
class Folder {
public:
    Folder() : path_(fs::temp_directory_path() / "nuv_api_test_XXXXXX")
    {
        std::string name = path_.string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        path_ = name;
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    [[nodiscard]] std::string file(const char* name) const { return (path_ / name).string(); }
    [[nodiscard]] std::size_t count() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(path_), {}));
    }

private:
    fs::path path_;
};

TEST(ApiJob, TakesEverySourceAndGivesToEveryDestination)
{
    const ApiBytes jpeg = api_read(api_fixture("jpeg/420.jpg"));
    const ApiBytes all = api_made(open_bytes(jpeg), nothing, as_jpeg);
    const Folder folder;
    const std::string path = folder.file("a.jpg");
    std::ofstream(path) << "something else";
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);

    const ApiJob to_file(nuv_new(nullptr));
    nuv_open_file(to_file.get(), api_fixture("jpeg/420.jpg").c_str());
    as_jpeg(to_file.get());
    EXPECT_EQ(nuv_run_to_file(to_file.get(), path.c_str(), nullptr, nullptr), NUV_OK);
    EXPECT_EQ(api_read(path), all);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(folder.count(), 1u);

    ASSERT_EQ(symlink("b.jpg", folder.file("link").c_str()), 0);
    const ApiJob to_link(nuv_new(nullptr));
    open_bytes(jpeg)(to_link.get());
    as_jpeg(to_link.get());
    EXPECT_EQ(nuv_run_to_file(to_link.get(), folder.file("link").c_str(), nullptr, nullptr),
              NUV_OK);
    EXPECT_TRUE(fs::is_symlink(folder.file("link")) && fs::is_regular_file(folder.file("b.jpg")));

    ApiStream stream{jpeg};
    const ApiJob through(nuv_new(nullptr));
    nuv_open_stream(through.get(), ApiStream::read, &stream);
    as_jpeg(through.get());
    EXPECT_EQ(nuv_run_to_stream(through.get(), ApiStream::write, nullptr, &stream), NUV_OK);
    EXPECT_EQ(stream.to, all);
}

int give_line(void*, std::uint32_t line, void* into)
{
    std::copy_n(&samples[std::size_t{line} * 3 * width], 3 * width,
                static_cast<std::uint8_t*>(into));
    return 0;
}

int give_three_lines(void* user, std::uint32_t line, void* into)
{
    return line == 3 ? 1 : give_line(user, line, into);
}

TEST(ApiJob, ReadsSamplesWithStridesAndPlanesAndWritesPlanes)
{
    const std::size_t line = std::size_t{3} * width;
    ApiBytes spread(line * 2 * height);
    for (std::size_t y = 0; y < height; ++y)
        std::copy_n(&samples[y * line], line, &spread[y * line * 2]);
    const auto open = [&](nuv_job* job) {
        return nuv_open_samples(job, spread.data(), line * 2, &picture);
    };
    EXPECT_EQ(api_made(open, nothing), samples);
    EXPECT_EQ(
        api_made([](nuv_job* job) { return nuv_open_lines(job, give_line, nullptr, &picture); },
                 nothing),
        samples);
    const ApiBytes planes =
        api_made(open_rgb, nothing, [](nuv_job* j) { return nuv_as_samples(j, 1); });
    ASSERT_EQ(planes.size(), samples.size());
    const std::size_t plane = samples.size() / 3;
    const void* const parts[] = {&planes[0], &planes[plane], &planes[2 * plane]};
    EXPECT_NE(planes, samples);
    EXPECT_EQ(
        api_made([&](nuv_job* job) { return nuv_open_planes(job, parts, 0, &picture); }, nothing),
        samples);

    const Folder folder;
    const std::string path = folder.file("a");
    for (const int planar : {0, 1}) {
        const ApiBytes& stored = planar != 0 ? planes : samples;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(stored.data()),
                   static_cast<std::streamsize>(stored.size()));
        EXPECT_EQ(api_made(
                      [&](nuv_job* job) {
                          return nuv_open_samples_file(job, path.c_str(), &picture, planar);
                      },
                      nothing),
                  samples);
    }
}

TEST(ApiJob, ReadsLinesOverTheSamplesThatTheyAreMadeOf)
{
    for (const auto turn : {+[](nuv_job* job) { return nuv_rotate(job, 180); },
                            +[](nuv_job* job) { return nuv_flip(job, NUV_TOP_TO_BOTTOM); }}) {
        ApiBytes held = samples;
        const ApiJob job(nuv_new(nullptr));
        std::uint32_t got = 0;
        nuv_open_samples(job.get(), held.data(), 0, &picture);
        turn(job.get());
        ASSERT_EQ(nuv_read_lines(job.get(), held.data(), 0, height, &got), NUV_OK);
        EXPECT_EQ(held, api_made(open_rgb, turn));
    }
}

TEST(ApiJob, FormsTakeWhatTheyCannotSayAsWhatItMeans)
{
    // A white page with one black pixel at its end.
    const ApiBytes page = {0, 0, 0, 1};
    const nuv_picture is = api_picture(8, 4, 1, NUV_GRAY_REVERSE, 1);
    const auto open = [&](nuv_job* job) { return nuv_open_samples(job, page.data(), 0, &is); };
    const ApiBytes stored = api_made(open, nothing, as_jpeg);
    const ApiBytes gray = api_made(open_bytes(stored), nothing);
    ASSERT_EQ(gray.size(), 32u);
    EXPECT_GT(gray[0], 230);
    EXPECT_LT(gray[31], 25);
    EXPECT_EQ(api_made(open, nothing, nuv_as_anymap),
              (ApiBytes{'P', '4', '\n', '8', ' ', '4', '\n', 0, 0, 0, 1}));

    const ApiBytes cmyk(4, 0);
    const nuv_picture ink = api_picture(1, 1, 4, NUV_CMYK);
    const ApiBytes pixel =
        api_made([&](nuv_job* job) { return nuv_open_samples(job, cmyk.data(), 0, &ink); }, nothing,
                 nuv_as_anymap);
    EXPECT_EQ(std::string(pixel.begin(), pixel.begin() + 11), "P6\n1 1\n255\n");
    EXPECT_GT(pixel[12], 250);

    const ApiBytes lossless =
        api_made([&](nuv_job* job) { return nuv_open_samples(job, cmyk.data(), 0, &ink); }, nothing,
                 [](nuv_job* job) { return nuv_as_lossless_jpeg(job, 0); });
    EXPECT_EQ(api_made(open_bytes(lossless), nothing), ApiBytes(pixel.end() - 3, pixel.end()));

    // Indices 0 and 1 of a Windows bitmap with red and blue.
    ApiBytes bitmap = {'B', 'M', 66, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40,
                       0,   0,   0,  2, 0, 0, 0, 1, 0, 0, 0,  1, 0, 1, 0};
    bitmap.resize(54);
    bitmap.insert(bitmap.end(), {0, 0, 255, 0, 255, 0, 0, 0, 0x40, 0, 0, 0});
    EXPECT_EQ(api_made(open_bytes(bitmap), [](nuv_job* j) { return nuv_recolor(j, NUV_RGB); }),
              (ApiBytes{255, 0, 0, 0, 0, 255}));
}

TEST(ApiJob, MendsDamageOrFailsWhenStrict)
{
    const ApiBytes whole = api_made(open_rgb, nothing, as_jpeg);
    const ApiBytes half(whole.begin(),
                        whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2));
    ApiBytes nonsense = whole; // ones, which no code is
    for (std::size_t i = 0; i < 40; ++i)
        nonsense[whole.size() / 2 + i] = i % 2 == 0 ? 0xFF : 0;
    for (const auto& [stored, strict] :
         {std::pair(half, 0), std::pair(half, 1), std::pair(nonsense, 0), std::pair(nonsense, 1)}) {
        nuv_limits limits{};
        limits.size = sizeof(limits);
        EXPECT_EQ(nuv_default_limits(&limits), NUV_OK);
        limits.strict = strict;
        const ApiJob job(nuv_new(&limits));
        nuv_open_memory(job.get(), stored.data(), stored.size());
        EXPECT_EQ(nuv_first_damaged_line(job.get()), -1);
        as_jpeg(job.get());
        EXPECT_EQ(nuv_run_to_memory(job.get(), nullptr, nullptr), strict ? NUV_DAMAGED : NUV_OK);
        nuv_picture left = picture;
        EXPECT_EQ(nuv_look(job.get(), &left), strict ? NUV_DAMAGED : NUV_OK);
        EXPECT_EQ(left.color, strict ? NUV_RGB : NUV_YCBCR);
        EXPECT_GT(nuv_first_damaged_line(job.get()), 0);
        EXPECT_NE(std::string(nuv_message(job.get())).find("damaged from line"), std::string::npos);
        EXPECT_EQ(api_result(job).empty(), strict == 1);
    }
}

TEST(ApiJob, WidensSamplesOfFewerValuesThanTheirBitsHave)
{
    const auto samples_in = [](std::string_view anymap) {
        const ApiBytes stored(anymap.begin(), anymap.end());
        return api_made(open_bytes(stored), nothing);
    };
    EXPECT_EQ(samples_in("P2 4 1 100 0 1 10 100 "), (ApiBytes{0, 3, 26, 255}));
    EXPECT_EQ(samples_in("P6 1 1 200\n\x64\xC8\xC9"), (ApiBytes{128, 255, 255}));
    const ApiBytes made = samples_in("P2 3 1 1000 1000 500 1 ");
    ASSERT_EQ(made.size(), 6u);
    std::uint16_t values[3];
    std::memcpy(values, made.data(), 6);
    EXPECT_TRUE(values[0] == 65535 && values[1] == 32768 && values[2] == 66);

    // 12 bits of each sample are the upper ones of the 16, and tell the rest.
    const ApiBytes jpeg =
        api_made(open_bytes(api_read(api_fixture("jpeg/lossless_12.jpg"))), nothing);
    std::vector<std::uint16_t> wide(jpeg.size() / 2);
    std::memcpy(wide.data(), jpeg.data(), jpeg.size());
    EXPECT_GT(*std::max_element(wide.begin(), wide.end()), 60000);
    EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](std::uint32_t it) {
        return it == ((it >> 4) * 131070 + 4095) / 8190;
    }));
}

TEST(ApiJob, CanBeCancelledAtEveryLine)
{
    const Folder folder;
    const std::string path = folder.file("a.ppm");
    for (const auto form : {nuv_as_anymap, +[](nuv_job* job) { return as_jpeg(job); }}) {
        for (std::uint32_t line = 1; line <= height; ++line) {
            const ApiJob job(nuv_new(nullptr));
            open_rgb(job.get());
            form(job.get());
            const auto stop = [](void* user, uint32_t done, uint32_t lines) {
                EXPECT_EQ(lines, height);
                return static_cast<int>(done == *static_cast<std::uint32_t*>(user));
            };
            ASSERT_EQ(nuv_run_to_file(job.get(), path.c_str(), stop, &line), NUV_CANCELLED);
            ASSERT_EQ(nuv_state(job.get()), NUV_CANCELLED);
            ASSERT_EQ(folder.count(), 0u);
        }
    }
}

TEST(ApiJob, CanBeCancelledBeforeThereIsALine)
{
    const Folder folder;
    const std::string jpeg = api_fixture("jpeg/420.jpg");
    const ApiBytes bytes = api_read(jpeg);
    ApiStream stream{bytes};
    std::uint32_t got = 0;
    ApiBytes band(samples.size());
    const auto turned = [](nuv_job* job) { return open_rgb(job), nuv_rotate(job, 90); };
    const auto written = [&](nuv_job* job) {
        return nuv_run_to_file(job, folder.file("a").c_str(), nullptr, nullptr);
    };
    // clang-format off
    const struct { ApiCall before, cancelled; } cases[] = {
        {nothing, open_bytes(bytes)},
        {nothing, [&](nuv_job* j) { return nuv_open_file(j, jpeg.c_str()); }},
        {nothing, [&](nuv_job* j) { return nuv_open_stream(j, ApiStream::read, &stream); }},
        {[&](nuv_job* j) { return turned(j), as_jpeg(j); }, written},
        {[&](nuv_job* j) { return turned(j), nuv_as_samples(j, 1); }, written},
        {turned, [&](nuv_job* j) { return nuv_read_lines(j, band.data(), 0, height, &got); }},
    };
    // clang-format on
    for (const auto& [before, cancelled] : cases) {
        for (const bool wants_end : {true, false}) {
            int asked = 0;
            const ApiJob job(nuv_new(nullptr));
            const auto always = [](void* user) { return ++*static_cast<int*>(user); };
            before(job.get());
            ASSERT_EQ(nuv_cancel_when(job.get(), wants_end ? +always : nullptr, &asked), NUV_OK);
            EXPECT_EQ(cancelled(job.get()), wants_end ? NUV_CANCELLED : NUV_OK);
            EXPECT_STREQ(nuv_message(job.get()), wants_end ? "The job was cancelled." : "");
            EXPECT_EQ(asked, wants_end ? 1 : 0);
            EXPECT_TRUE(!wants_end || folder.count() == 0);
            fs::remove(folder.file("a"));
        }
    }
    EXPECT_EQ(got, height);
}

TEST(ApiJob, TellsWhatWentWrongAndKeepsTheFirstFailure)
{
    struct Case {
        nuv_status status;
        const char* message; // a part of it
        ApiCall call;
        nuv_passed_limit limit = NUV_PASSED_NONE;
    };
    const ApiBytes text = {'h', 'e', 'l', 'l', 'o', ',', ' ', 'y', 'o', 'u'};
    const ApiBytes tiny = {'P', '5'};
    const ApiBytes bigtiff = {'I', 'I', 43, 0, 8, 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0};
    const ApiBytes wide = {'P', '5', ' ', '2', '0', '0', '0', '0', '0',  '0', '0',
                           '0', '0', ' ', '1', ' ', '2', '5', '5', '\n', 0};
    const ApiBytes short_one = {'P', '5', ' ', '1', ' ', '2', ' ', '2', '5', '5', '\n', 0};
    nuv_picture wrong = picture;
    wrong.size = 8;
    const Folder folder;
    // clang-format off
    const Case cases[] = {
        {NUV_IO, "The source cannot be read: No such file or directory.", [](nuv_job* j) { return nuv_open_file(j, "no such file"); }},
        {NUV_IO, "The source cannot be read: Is a directory.", [](nuv_job* j) { return nuv_open_file(j, "/"); }},
        {NUV_DAMAGED, "has 12 of the 7320 bytes", [&](nuv_job* j) { std::ofstream(folder.file("a")) << "hello, world"; nuv_open_samples_file(j, folder.file("a").c_str(), &picture, 1); fs::remove(folder.file("a")); return nuv_state(j); }},
        {NUV_IO, "The source cannot be read: it is no regular file.", [](nuv_job* j) { return nuv_open_file(j, "/dev/null"); }},
        {NUV_UNKNOWN_KIND, "no picture of a kind that is known: it starts with 68 65 6c 6c", open_bytes(text)},
        {NUV_BAD_CALL, "There is no page 1 in the source.", [](nuv_job* j) { nuv_page(j, 1); return nuv_open_file(j, api_fixture("jpeg/420.jpg").c_str()); }},
        {NUV_BAD_CALL, "There is no page 2 in the source.", [](nuv_job* j) { nuv_page(j, 2); return nuv_open_file(j, api_fixture("tiff/two_pages.tif").c_str()); }},
        {NUV_UNKNOWN_KIND, "it starts with 68 65 6c 6c", [&](nuv_job* j) { nuv_page(j, 1); return open_bytes(text)(j); }},
        {NUV_UNKNOWN_KIND, "The source is empty.", [&](nuv_job* j) { return nuv_open_memory(j, text.data(), 0); }},
        {NUV_LIMIT, "2000000000 x 1 pixels", open_bytes(wide), NUV_PASSED_SIDE},
        {NUV_UNSUPPORTED, "not served: arithmetic coding (DAC), at byte 177.", [](nuv_job* j) { return nuv_open_file(j, api_fixture("jpeg/refused_arithmetic.jpg").c_str()); }},
        {NUV_DAMAGED, "", [](nuv_job* j) { return nuv_open_file(j, api_fixture("tiff_crafted/planes_cut.tif").c_str()); }},
        {NUV_DAMAGED, "stream 1 of 1 is no JPEG", [](nuv_job* j) { return nuv_open_file(j, api_fixture("tiff_crafted/stream_too_short.tif").c_str()); }},
        {NUV_UNSUPPORTED, "not served: 16 x 4 pixels, 3 x 16 bits, ycbcr, raw.", [](nuv_job* j) { return nuv_open_file(j, api_fixture("tiff_crafted/units_of_16_bits.tif").c_str()); }},
        {NUV_UNSUPPORTED, "not served: no word about its coding (Compression).", [](nuv_job* j) { return nuv_open_file(j, api_fixture("tiff_crafted/no_coding.tif").c_str()); }},
        {NUV_UNSUPPORTED, "not served: BigTIFF.", open_bytes(bigtiff)},
        {NUV_DAMAGED, "line 2 of 2 is not there", [&](nuv_job* j) { open_bytes(short_one)(j); nuv_as_anymap(j); return nuv_run_to_memory(j, nullptr, nullptr); }},
        {NUV_BAD_CALL, "nuv_open_samples(): the record", [&](nuv_job* j) { return nuv_open_samples(j, samples.data(), 0, &wrong); }},
        {NUV_IO, "The source cannot be read: the function that gives its lines failed.", [](nuv_job* j) { nuv_open_lines(j, give_three_lines, nullptr, &picture); nuv_as_anymap(j); return nuv_run_to_memory(j, nullptr, nullptr); }},
        {NUV_BAD_CALL, "into a stride of 5", [](nuv_job* j) { return nuv_open_samples(j, samples.data(), 5, &picture); }},
        {NUV_BAD_CALL, "nuv_crop(): nothing is open yet.", [](nuv_job* j) { return nuv_crop(j, 0, 0, 1, 1); }},
        {NUV_BAD_CALL, "nuv_crop(): the arguments do not fit a picture of 61 x 40", [](nuv_job* j) { open_rgb(j); return nuv_crop(j, 61, 0, 1, 1); }},
        {NUV_BAD_CALL, "a source is open already", [](nuv_job* j) { open_rgb(j); return open_rgb(j); }},
        {NUV_BAD_CALL, "no form of the result", [](nuv_job* j) { open_rgb(j); return nuv_run_to_memory(j, nullptr, nullptr); }},
        {NUV_BAD_CALL, "it comes too late", [](nuv_job* j) { open_rgb(j); nuv_as_anymap(j); return nuv_invert(j); }},
        {NUV_BAD_CALL, "", [](nuv_job* j) { open_rgb(j); return nuv_as_jpeg(j, 101, NUV_SAMPLING_444); }},
        {NUV_BAD_CALL, "", [](nuv_job* j) { open_rgb(j); return nuv_fit(j, NUV_FINE, 9, 9, 8); }},
        {NUV_BAD_CALL, "", [&](nuv_job* j) { open_rgb(j); return nuv_look(j, &wrong); }},
        {NUV_BAD_CALL, "", [](nuv_job* j) { open_rgb(j); return nuv_convert(j, NUV_UNSIGNED, 8, 1, NAN); }},
        {NUV_BAD_CALL, "", [](nuv_job* j) { open_rgb(j); const double m[] = {1, 0, INFINITY}; return nuv_matrix(j, m, 1, nullptr, NUV_GRAY); }},
        {NUV_UNSUPPORTED, "nuv_expand_bits() does not serve such a picture: 61 x 40 pixels, 3 x 8 bits", [](nuv_job* j) { open_rgb(j); return nuv_expand_bits(j, 8, 0, 1); }},
        {NUV_LIMIT, "1048577 x 1 pixels", [](nuv_job* j) { open_rgb(j); return nuv_scale(j, NUV_NEAREST, 1048577, 1); }, NUV_PASSED_SIDE},
        {NUV_LIMIT, "268435456 are allowed", [](nuv_job* j) { open_rgb(j); return nuv_scale(j, NUV_NEAREST, 16385, 16384); }, NUV_PASSED_PIXELS},
        {NUV_LIMIT, "bytes of memory beside", [](nuv_job* j) { open_rgb(j); nuv_scale(j, NUV_NEAREST, 16384, 16384); nuv_rotate(j, 90); nuv_as_samples(j, 0); return nuv_run_to_memory(j, nullptr, nullptr); }, NUV_PASSED_MEMORY},
        {NUV_UNKNOWN_KIND, "it is too short", open_bytes(tiny)},
        {NUV_IO, "The result cannot be written: Is a directory.", [&](nuv_job* j) { open_rgb(j); nuv_as_anymap(j); return nuv_run_to_file(j, folder.file("").c_str(), nullptr, nullptr); }},
        {NUV_IO, "The result cannot be written: No such file", [&](nuv_job* j) { open_rgb(j); nuv_as_anymap(j); return nuv_run_to_file(j, folder.file("x/y").c_str(), nullptr, nullptr); }},
        {NUV_IO, "The result cannot be written: the function", [](nuv_job* j) { open_rgb(j); as_jpeg(j); return nuv_run_to_stream(j, [](void*, const void*, size_t) { return 1; }, nullptr, nullptr); }},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        const ApiJob job(nuv_new(nullptr));
        EXPECT_EQ(c.call(job.get()), c.status);
        const std::string message = nuv_message(job.get());
        EXPECT_NE(message.find(c.message), std::string::npos) << message;
        EXPECT_EQ(message.find("::"), std::string::npos) << message;
        nuv_failure why{};
        why.size = sizeof(why);
        EXPECT_EQ(nuv_why(job.get(), &why), NUV_OK);
        EXPECT_EQ(why.status, c.status);
        EXPECT_EQ(why.limit, c.limit);
        EXPECT_EQ(why.in_destination != 0, message.starts_with("The result"));
        EXPECT_EQ(nuv_invert(job.get()), c.status);
        EXPECT_EQ(nuv_page(job.get(), 1), c.status);
        EXPECT_EQ(nuv_state(job.get()), c.status);
        EXPECT_EQ(nuv_message(job.get()), message);
        EXPECT_EQ(nuv_result(job.get(), nullptr), nullptr);
    }
    EXPECT_EQ(folder.count(), 0u);
}

// Lines come several at a time, but the account of them does not grow with their number.
TEST(ApiJob, TakesLittleMemoryForShortLines)
{
    const nuv_picture column = api_picture(1, 100000, 1, NUV_GRAY);
    const ApiBytes source(column.height);
    const ApiJob job(nuv_new(nullptr));
    nuv_open_samples(job.get(), source.data(), 0, &column);
    nuv_invert(job.get());
    nuv_as_samples(job.get(), 0);
    EXPECT_EQ(nuv_run_to_memory(job.get(), nullptr, nullptr), NUV_OK);
    EXPECT_LT(nuv_memory_peak(job.get()), 2 * source.size() + 20000);
}

TEST(ApiJob, RefusesNullsEverywhere)
{
    nuv_limits limits{};
    EXPECT_EQ(nuv_new(&limits), nullptr);
    EXPECT_EQ(nuv_default_limits(&limits), NUV_BAD_CALL);
    EXPECT_EQ(nuv_default_limits(nullptr), NUV_BAD_CALL);
    nuv_free(nullptr);
    EXPECT_NE(nuv_message(nullptr), nullptr);
    EXPECT_EQ(nuv_first_damaged_line(nullptr), -1);
    EXPECT_EQ(nuv_memory_peak(nullptr), 0u);
    EXPECT_EQ(nuv_result(nullptr, nullptr), nullptr);
    EXPECT_EQ(nuv_state(nullptr), NUV_BAD_CALL);
    EXPECT_EQ(nuv_version(), 0x010402u);
    EXPECT_NE(std::string(nuv_build_info()).find("zlib"), std::string::npos);
    const ApiCall before[] = {nothing, open_rgb,
                              [](nuv_job* job) { return open_rgb(job), nuv_as_anymap(job); }};
    // clang-format off
    const std::pair<int, ApiCall> calls[] = {
        {0, [](nuv_job* j) { return nuv_open_file(j, nullptr); }},
        {0, [](nuv_job* j) { return nuv_open_memory(j, nullptr, 1); }},
        {0, [](nuv_job* j) { return nuv_open_stream(j, nullptr, nullptr); }},
        {0, [](nuv_job* j) { return nuv_open_samples(j, nullptr, 0, &picture); }},
        {0, [](nuv_job* j) { return nuv_open_samples(j, samples.data(), 0, nullptr); }},
        {0, [](nuv_job* j) { return nuv_open_planes(j, nullptr, 0, &picture); }},
        {0, [](nuv_job* j) { return nuv_open_lines(j, nullptr, nullptr, &picture); }},
        {0, [](nuv_job* j) { return nuv_open_samples_file(j, nullptr, &picture, 0); }},
        {1, [](nuv_job* j) { return nuv_look(j, nullptr); }},
        {1, [](nuv_job* j) { return nuv_why(j, nullptr); }},
        {1, [](nuv_job* j) { return nuv_source_info(j, nullptr); }},
        {1, [](nuv_job* j) { return nuv_pick_channels(j, nullptr, 1, NUV_GRAY); }},
        {1, [](nuv_job* j) { return nuv_table(j, nullptr, 256, 1, 8); }},
        {1, [](nuv_job* j) { return nuv_color_table(j, nullptr, 3, 3, NUV_RGB); }},
        {1, [](nuv_job* j) { return nuv_matrix(j, nullptr, 3, nullptr, NUV_RGB); }},
        {1, [](nuv_job* j) { return nuv_read_lines(j, nullptr, 0, 1, nullptr); }},
        {2, [](nuv_job* j) { return nuv_run_to_file(j, nullptr, nullptr, nullptr); }},
        {2, [](nuv_job* j) { return nuv_run_to_stream(j, nullptr, nullptr, nullptr); }},
    };
    // clang-format on
    for (const auto& [stage, call] : calls) {
        EXPECT_EQ(call(nullptr), NUV_BAD_CALL);
        const ApiJob job(nuv_new(nullptr));
        EXPECT_EQ(before[stage](job.get()), NUV_OK);
        EXPECT_EQ(call(job.get()), NUV_BAD_CALL);
    }
}

TEST(ApiJob, TellsWhatTheSourceIs)
{
    struct Case {
        const char* file;
        const char *kind, *coding;
        std::int32_t sampling, quality;
        nuv_status status = NUV_OK;
    };
    const Case cases[] = {
        {"jpeg/420.jpg", "jfif", "sequential", NUV_SAMPLING_420, 90},
        {"jpeg/lossless_8.jpg", "jpeg", "lossless", 0, -1},
        {"pnm/gray.pgm", "pnm", "raw", 0, -1},
        {"tiff/refused_lzw.tif", "tiff", "lzw", 0, -1, NUV_UNSUPPORTED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const ApiJob job(nuv_new(nullptr));
        nuv_open_file(job.get(), api_fixture(c.file).c_str());
        nuv_crop(job.get(), 0, 0, 1, 1);
        nuv_source info{};
        info.size = sizeof(info);
        EXPECT_EQ(nuv_source_info(job.get(), &info), c.status) << nuv_message(job.get());
        EXPECT_STREQ(info.kind, c.kind);
        EXPECT_STREQ(info.coding, c.coding);
        EXPECT_EQ(info.sampling, c.sampling);
        EXPECT_EQ(info.quality, c.quality);
        EXPECT_GT(info.width, 1u);
    }
}

TEST(ApiJob, TellsWhatTheDensitiesOfAJfifSegmentCount)
{
    ApiBytes jfif = api_read(api_fixture("jpeg/420.jpg"));
    jfif[15] = jfif[17] = 72;
    for (const auto& [unit, told] : {std::pair(0, 0), {1, 1}, {2, 3}, {3, 0}}) {
        jfif[13] = static_cast<std::uint8_t>(unit);
        const ApiJob job(nuv_new(nullptr));
        open_bytes(jfif)(job.get());
        nuv_source info{};
        info.size = sizeof(info);
        EXPECT_EQ(nuv_source_info(job.get(), &info), NUV_OK);
        EXPECT_EQ(info.resolution_unit, told);
        EXPECT_EQ(info.y_resolution, told != 0 ? 72 : 0);
    }
}

TEST(ApiJob, TurnsUprightWhatTheSourceHasLyingDown)
{
    struct Case {
        std::uint8_t orientation, width, height;
        ApiBytes stored; // of 1 2 / 3 4 / 5 6 (TIFF 6.0, section 8)
    };
    // clang-format off
    const Case cases[] = {
        {1, 2, 3, {1, 2, 3, 4, 5, 6}}, {2, 2, 3, {2, 1, 4, 3, 6, 5}}, {3, 2, 3, {6, 5, 4, 3, 2, 1}},
        {4, 2, 3, {5, 6, 3, 4, 1, 2}}, {5, 3, 2, {1, 3, 5, 2, 4, 6}}, {6, 3, 2, {2, 4, 6, 1, 3, 5}},
        {7, 3, 2, {6, 4, 2, 5, 3, 1}}, {8, 3, 2, {5, 3, 1, 6, 4, 2}}, {9, 2, 3, {1, 2, 3, 4, 5, 6}},
    };
    for (const Case& c : cases) {
        ApiBytes tiff = {'I', 'I', 42, 0, 14, 0, 0, 0};
        tiff.insert(tiff.end(), c.stored.begin(), c.stored.end());
        tiff.insert(tiff.end(), {10, 0});
        const std::uint8_t entries[][2] = {{0, c.width}, {1, c.height}, {2, 8}, {3, 1}, {6, 1}, {17, 8}, {18, c.orientation}, {21, 1}, {22, 3}, {23, 6}};
        for (const auto& [tag, value] : entries)
            tiff.insert(tiff.end(), {tag, 1, 3, 0, 1, 0, 0, 0, value, 0, 0, 0});
        tiff.insert(tiff.end(), 4, 0);
        EXPECT_EQ(api_made(open_bytes(tiff), nuv_upright), cases[0].stored) << int{c.orientation};
        for (const std::uint32_t side : {1U, 2U}) { // across, and 2 or 3 down, without scaling
            const auto fill = [side](nuv_job* job, bool lies) { return lies ? nuv_fit(job, NUV_AREA, 4 - side, side, NUV_FILL) : nuv_fit(job, NUV_AREA, side, 4 - side, NUV_FILL); };
            EXPECT_EQ(api_made(open_bytes(tiff), [&](nuv_job* job) { fill(job, c.width == 3); return nuv_upright(job); }),
                      api_made(open_bytes(tiff), [&](nuv_job* job) { nuv_upright(job); return fill(job, false); })) << int{c.orientation};
        }
    }
    // clang-format on
}

TEST(ApiJob, FitsFasterFromAReducedPicture)
{
    const ApiBytes jpeg = api_made(open_rgb, nothing, as_jpeg);
    const auto fit = [](unsigned flags) {
        return [flags](nuv_job* job) { return nuv_fit(job, NUV_AREA, 10, 10, flags); };
    };
    const ApiBytes exact = api_made(open_bytes(jpeg), fit(0));
    const ApiBytes fast = api_made(open_bytes(jpeg), fit(NUV_FAST));
    EXPECT_EQ(exact.size(), fast.size());
    EXPECT_NE(exact, fast);
}

TEST(ApiThreads, JobsWorkSideBySideAsTheyDoAlone)
{
    const auto work = [](ApiBytes& to) {
        const ApiBytes jpeg = api_made(open_rgb, nothing, as_jpeg);
        to = api_made(open_bytes(jpeg), [](nuv_job* job) {
            nuv_recolor(job, NUV_RGB);
            nuv_build_info();
            return nuv_fit(job, NUV_FINE, 20, 20, 0);
        });
    };
    ApiBytes one;
    ApiBytes other;
    std::thread first([&] { work(one); });
    std::thread second([&] { work(other); });
    first.join();
    second.join();
    EXPECT_FALSE(one.empty());
    EXPECT_EQ(one, other);
}

} // namespace
} // namespace nuv
