#include "core/align/nuv_aligny.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/tiff/nuv_convertbits4to8.h"
#include "core/tiff/nuv_readtiff.h"
#include "core/tiff/nuv_readtiffcode.h"
#include "core/tiff/nuv_upsamplechroma.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/support/nuv_model_tiff.h"
#include "tests/support/nuv_refusals.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"
#include "tests/support/nuv_tiffcompare.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Names below the data, of files that begin so.
std::vector<std::string> files(const std::string& folder, const std::string& begin = "")
{
    std::vector<std::string> names;
    for (const auto& entry :
         std::filesystem::directory_iterator(test_data_folder() + "/" + folder)) {
        if (entry.path().filename().string().starts_with(begin))
            names.push_back(folder + "/" + entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

NUV_Held<NUV_ByteArrayInputStorage> storage_of(NUV_Manager& manager, const Bytes& bytes)
{
    return make_initiated<NUV_ByteArrayInputStorage>(manager, bytes.data(),
                                                     static_cast<std::int32_t>(bytes.size()));
}

// Cut at a byte, and with it changed.
void expect_agreement(const Bytes& file, std::size_t at)
{
    EXPECT_EQ(tiff_difference({file.data(), std::max<std::size_t>(at, 1)}), "");
    for (const int value : {0, 0xFF, file[at] + 1, file[at] - 1}) {
        Bytes changed = file;
        changed[at] = static_cast<std::uint8_t>(value);
        ASSERT_EQ(tiff_difference(changed), "") << at << " is " << value;
    }
}

TEST(TIFF, IsTakenAsThePlainReaderTakesItWhole)
{
    std::set<std::string> texts;
    for (const std::string folder : {"tiff", "tiff_crafted"}) {
        for (const std::string& name : files(folder)) {
            SCOPED_TRACE(name);
            Bytes file = test_data(name);
            for (std::size_t at = file.size() % 7; at < file.size(); at += folder == "tiff" ? 1 : 7)
                expect_agreement(file, at);
            for (const std::uint32_t page : {0U, 1U, 2U, 65535U, 65536U})
                EXPECT_EQ(tiff_difference(file, page), "") << page;
            for (const int zeros : {0, 140000}) { // which some of their values claim
                file.resize(file.size() + std::size_t(zeros));
                EXPECT_EQ(tiff_difference(file), "") << zeros;
                const model::TIFFFile loaded = model::load_tiff(file);
                texts.insert(
                    (loaded.loaded ? model::read_tiff(loaded).status : loaded.status).text);
            }
        }
    }
    EXPECT_EQ(texts.size(), 30U); // all that there are
}

TEST(TIFF, FindsDirectoriesAnywhere)
{
    Bytes file = test_data("tiff_crafted/two_pages_in_a_circle.tif");
    for (std::uint32_t at = 0; at < file.size(); ++at) {
        for (const std::uint32_t page : {0U, 1U, 3U})
            EXPECT_EQ(tiff_directory_difference(file, at, page == 3, page), "") << at;
    }
    file.resize(20000);
    for (const int entries : {0, 1, 1024, 1025}) {
        file[72] = static_cast<std::uint8_t>(entries);
        file[73] = static_cast<std::uint8_t>(entries >> 8);
        EXPECT_EQ(tiff_difference(file), "") << entries;
        EXPECT_EQ(tiff_directory_difference(file, 72, true, 0), "") << entries;
    }
    file = test_data("tiff_crafted/claims.tif");
    file.resize(file.size() + 140000);
    EXPECT_EQ(tiff_directory_difference(file, 72, file[0] == 'I', 0), "");
}

// Each tag with any type and count, its value inside the file, at its end and behind it.
TEST(TIFF, HasTagsOfAnyTypeCountAndPlace)
{
    const Bytes file = test_data("tiff_crafted/private_tag.tif");
    const model::TIFFFile base = model::load_tiff(file);
    const auto put = [&](Bytes& bytes, std::size_t at, std::uint64_t value, unsigned size) {
        for (unsigned i = 0; i < size; ++i)
            bytes[at + (base.little ? i : size - 1 - i)] =
                static_cast<std::uint8_t>(value >> 8 * i);
    };
    std::size_t entry = 74; // of the tag, or of the private one
    constexpr unsigned sizes[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 1};
    for (const auto& [tag, values] : base.attributes) {
        for (entry = 74; base.number(entry, 2) != tag && base.number(entry, 2) != 0x9999;)
            entry += 12;
        for (unsigned type = 0; type < 15; ++type) {
            for (const std::uint32_t count : {0U, 1U, 2U, 3U, 5U, 65535U, 1U << 30}) {
                const std::size_t end = file.size() - std::size_t{count} * sizes[type];
                for (const std::size_t offset :
                     {std::size_t{8}, end, end + 1, std::size_t{1}, std::size_t{1} << 31}) {
                    Bytes changed = file;
                    put(changed, entry, tag, 2);
                    put(changed, entry + 2, type, 2);
                    put(changed, entry + 4, count, 4);
                    put(changed, entry + 8, offset, 4);
                    ASSERT_EQ(tiff_difference(changed), "")
                        << "tag " << tag << ", type " << type << ", " << count << " at " << offset;
                }
            }
        }
    }
}

// The plain reader has the strips that libtiff has.
TEST(TIFF, HasTheStripsOfLibtiff)
{
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(nullptr);
    int judged = 0;
    for (const std::string& name : files("tiff_crafted", "form_")) {
        SCOPED_TRACE(name);
        const Bytes file = test_data(name);
        const model::TIFFFile loaded = model::load_tiff(file);
        const model::TIFFPicture picture = model::read_tiff(loaded);
        const int descriptor = memfd_create("tiff", 0);
        ASSERT_EQ(write(descriptor, file.data(), file.size()), ssize_t(file.size()));
        lseek(descriptor, 0, SEEK_SET);
        TIFF* tiff = TIFFFdOpen(descriptor, "tiff", "r");
        ASSERT_TRUE(picture.built);
        if (!tiff) // no extra samples with YCbCr
            continue;
        Bytes joined;
        const bool is_one = picture.strips.size() == 1;
        for (std::uint32_t i = 0; i < TIFFNumberOfStrips(tiff); ++i) {
            Bytes strip(std::size_t(TIFFStripSize(tiff)));
            const tmsize_t size = TIFFReadEncodedStrip(tiff, i, strip.data(), TIFFStripSize(tiff));
            strip.resize(std::size_t(std::max<tmsize_t>(size, 0)));
            for (std::size_t k = 0; !loaded.little && loaded.bits == 16 && k + 1 < strip.size();
                 k += 2)
                std::swap(strip[k], strip[k + 1]);
            joined.insert(joined.end(), strip.begin(), strip.end());
            const Bytes& plain = picture.strips[is_one ? 0 : i];
            const std::size_t end = is_one ? joined.size() : strip.size();
            ASSERT_LE(end, plain.size());
            EXPECT_TRUE(std::equal(strip.begin(), strip.end(),
                                   plain.begin() + std::ptrdiff_t(end - strip.size())));
            judged += size > 0 ? 1 : 0;
        }
        TIFFClose(tiff);
    }
    EXPECT_GT(judged, 200);
}

// What a creator makes of stored bytes, and the status.
struct Read {
    Bytes bytes;
    NUV_StatusCode code;
    std::string text;
};
template <class Engine>
Read read(const Bytes& file, Engine engine, std::size_t fail_at = NUV_FailingMemory::never)
{
    NUV_TestChain chain(fail_at);
    const auto storage = storage_of(chain.manager(), file);
    if (storage)
        chain.last(engine(chain.manager(), storage.get()));
    return {chain.run_bytes(), chain.status().code, chain.status().method};
}
NUV_Engine* read_tiff(NUV_Manager& manager, NUV_InputStorage* storage)
{
    return NUV_ReadTIFF(manager).engine(storage, 0U, true);
}

TEST(TIFF, HasTheLinesOfItsJPEGStreams)
{
    struct Case {
        const char* file;
        std::vector<const char*> streams; // the first that come out
        NUV_StatusCode code = NUV_STATUS_OK;
        const char* text = "";
    };
    constexpr auto bad = NUV_ERR_INVALID_DATA;
    // clang-format off
    const Case cases[] = {
        {"streams", {"444", "420"}}, {"tables_apart", {"444", "444"}}, {"tables_in_both_places", {"444", "420"}},
        {"turned", {"420", "444"}}, {"turned_by_the_tag_alone", {"444", "420"}}, {"gray", {"gray", "gray"}},
        {"padded_tables", {"444"}}, {"old_style", {"420"}}, {"old_style_rows", {"444_row_restarts"}, NUV_WARN_INVALID_DATA, nullptr},
        {"cut_strip", {"444"}, NUV_WARN_BROKEN_DATA, "NUV_DecodeJPEGEngine::execute()"},
        {"refused_gray_strip", {}, bad, "NUV_ReadTIFF::engine()"},
        {"refused_no_tables", {}, bad, "NUV_JPEGInfoInternal::initiate()"},
        {"refused_old_style_by_tables", {}, NUV_ERR_UNSUPPORTED, "NUV_ReadTIFF::check()"},
    };
    // clang-format on
    const auto read_jpeg = [](NUV_Manager& manager, NUV_InputStorage* storage) {
        return NUV_ReadJPEG(manager).engine(storage, NUV_JPEGInfo::full_scale);
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.file);
        Bytes wanted;
        for (const std::string stream : one.streams) {
            const Bytes lines = read(test_data("jpeg/" + stream + ".jpg"), read_jpeg).bytes;
            wanted.insert(wanted.end(), lines.begin(), lines.end());
        }
        Read got =
            read(test_data(std::string("tiff_crafted/jpeg_") + one.file + ".tif"), read_tiff);
        EXPECT_EQ(got.code, one.code);
        EXPECT_TRUE(!one.text || got.text == one.text) << got.text;
        if (one.code != NUV_STATUS_OK && got.bytes.size() > wanted.size())
            got.bytes.resize(wanted.size());
        EXPECT_TRUE(got.bytes == wanted);
    }
}

// A strip is looked at when the chain is built and read when its lines are wanted.
TEST(TIFF, EndsAtAJPEGStripThatHasGrownSince)
{
    Bytes file = test_data("tiff_crafted/jpeg_streams.tif");
    const Read got = read(file, [&file](NUV_Manager& manager, NUV_InputStorage* storage) {
        NUV_Engine* engine = read_tiff(manager, storage);
        constexpr std::uint8_t frame[] = {0xFF, 0xC0, 0x00, 0x11, 0x08, 0x00, 0x11, 0x00, 0x21};
        const auto second =
            std::find_end(file.begin(), file.end(), std::begin(frame), std::end(frame));
        second[7] = 0x0F; // of the width, which becomes 4000 pixels
        return engine;
    });
    EXPECT_EQ(got.bytes.size(), 33U * 3 * 17);
    EXPECT_EQ(got.code, NUV_ERR_BROKEN_DATA);
}

TEST(TIFF, ComesOutOfAnyStorageAndStandsOneThatFails)
{
    std::vector<std::string> names = files("tiff");
    for (const char* begin : {"form_01", "jpeg_"}) {
        const auto more = files("tiff_crafted", begin);
        names.insert(names.end(), more.begin(), more.end());
    }
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const Bytes file = test_data(name);
        const Read whole = read(file, read_tiff);
        bool is_whole = false;
        for (std::size_t fail_at = 0; !is_whole; ++fail_at) {
            const Read mean = read(file, [&](NUV_Manager& manager, NUV_InputStorage* bytes) {
                const auto storage = make_object<NUV_MeanStorage>(manager, fail_at);
                EXPECT_TRUE(storage->initiate(bytes));
                return read_tiff(manager, storage.get());
            });
            is_whole = mean.bytes == whole.bytes && mean.text == whole.text;
            ASSERT_TRUE(is_whole || mean.code != NUV_STATUS_OK) << fail_at;
            ASSERT_LE(fail_at, 4 * file.size());
        }
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const auto storage = storage_of(chain.manager(), file);
            if (storage)
                chain.last(read_tiff(chain.manager(), storage.get()));
            static_cast<void>(chain.run_bytes());
        });
    }
}

TEST(TIFFStages, RefuseWhatTheyDoNotServe)
{
    const NUV_TestImage gray{.width = 4, .height = 4};
    const NUV_TestImage flat{.width = 4, .height = 4, .bits = 1};
    NUV_TestImage wide = gray, units = gray, deep = gray, runs = flat, tall = flat;
    wide.width = 5;
    deep.bits = 16;
    tall.height = 0xFFFFFFFF;
    runs.encode_type = NUV_EncodeType::qd_rle;
    units.channels = 3;
    units.encode_type = NUV_EncodeType::unknown;
    const auto none = [](NUV_TestChain& chain) { chain.last(nullptr); };
    NUV_Engine* first = nullptr;
    const auto both = [&first](const NUV_TestImage& one, const NUV_TestImage& other) {
        return [&first, one, other](NUV_TestChain& chain) {
            chain.source_bytes(one, {});
            first = chain.last();
            chain.source_bytes(other, {});
        };
    };
    const auto lines = [&first](NUV_TestChain& chain) {
        NUV_Engine* engines[] = {first, chain.last()};
        return NUV_AlignY(chain.manager()).engine(engines) != nullptr;
    };
    const auto in_runs = [&first](NUV_TestChain& chain) {
        NUV_Engine* engines[] = {first, chain.last()};
        return NUV_AlignYQDRLE(chain.manager()).engine(engines) != nullptr;
    };
    const auto code = [](NUV_TestChain& chain) {
        return !NUV_ReadTIFFCode(chain.manager()).engine(nullptr, 0U).empty();
    };
    const auto image = [](NUV_TestChain& chain) {
        return NUV_ReadTIFF(chain.manager()).engine(nullptr, nullptr, false) != nullptr;
    };
    const auto widen = appending<NUV_ConvertBits4To8>();
    constexpr auto no = NUV_ERR_UNSUPPORTED;
    constexpr auto wrong = NUV_ERR_ARGUMENT;
    // clang-format off
    expect_refusals({
        {"no engine", {none}, widen, wrong, "NUV_ConvertBits4To8::engine()"},
        {"8 bits", gray, widen, no, "NUV_ConvertBits4To8Engine::initiate()"},
        {"no engine", {none}, appending<NUV_UpsampleChroma>(1U), wrong, "NUV_UpsampleChroma::engine()"},
        {"other units", units, appending<NUV_UpsampleChroma>(4U), no, "NUV_UpsampleChroma::create_engine()"},
        {"pixels", gray, appending<NUV_UpsampleChroma>(1U), no, "NUV_UpsampleChromaEngine::initiate()"},
        {"no image", {both(gray, gray)}, [](NUV_TestChain& c) { return NUV_AlignY(c.manager()).engine({}) != nullptr; }, wrong, "NUV_AlignY::engine()"},
        {"widths", {both(gray, wide)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"depths", {both(gray, deep)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"coded", {both(units, units)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"too many lines", {both(flat, tall)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"lines", {both(gray, gray)}, in_runs, no, "NUV_AlignYQDRLEEngine::initiate()"},
        {"runs and lines", {both(runs, flat)}, in_runs, no, "NUV_AlignYQDRLEEngine::initiate()"},
        {"no strips", {none}, code, wrong, "NUV_TIFFInfo::load_internal()"},
        {"no file", {none}, image, wrong, "NUV_ReadTIFF::check()"},
    });
    // clang-format on
    expect_nothing_appended(units, {appending<NUV_UpsampleChroma>(0U)});
}

} // namespace
} // namespace nuv
