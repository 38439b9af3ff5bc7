#include "core/align/nuv_aligny.h"
#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/flate/nuv_decodeflate.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/packbits/nuv_decodepackbits.h"
#include "core/tiff/nuv_convertbits4to8.h"
#include "core/tiff/nuv_readtiff.h"
#include "core/tiff/nuv_readtiffcode.h"
#include "core/tiff/nuv_upsamplechroma.h"
#include "core/winrle/nuv_decodewinrle.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/support/nuv_model_tiff.h"
#include "tests/support/nuv_refusals.h"
#include "tests/support/nuv_smallcodecs.h"
#include "tests/support/nuv_teststored.h"
#include "tests/support/nuv_tiffcompare.h"

#include <filesystem>
#include <set>
#include <tiffio.h>

namespace nuv {
namespace {

// Files of folders of the data whose names begin so.
std::vector<std::string> files(const std::string& begin, const std::string& or_so)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(test_data_folder())) {
        const std::string name = entry.path().parent_path().filename() / entry.path().filename();
        if (entry.is_regular_file() && (name.starts_with(begin + "/") || name.starts_with(or_so)))
            names.push_back(name);
    }
    return names;
}

NUV_Held<NUV_ByteArrayInputStorage> storage_of(NUV_Manager& manager, const Bytes& bytes)
{
    return make_initiated<NUV_ByteArrayInputStorage>(manager, bytes.data(),
                                                     static_cast<std::int32_t>(bytes.size()));
}

// As they are, of any page, cut at a byte, with a byte changed, and with zeros behind them, which
// some of their values claim.
TEST(TIFF, IsTakenAsThePlainReaderTakesItWhole)
{
    std::set<std::string> texts;
    for (const std::string& name : files("tiff", "tiff_crafted")) {
        SCOPED_TRACE(name);
        Bytes file = test_data(name);
        const std::size_t step = name.starts_with("tiff_crafted") ? 23 : 1;
        for (std::size_t at = file.size() % step; at < file.size(); at += step) {
            EXPECT_EQ(tiff_difference({file.data(), at + 1}), "");
            for (const int value : {0, 0xFF, file[at] + 1, file[at] - 1}) {
                Bytes changed = file;
                changed[at] = static_cast<std::uint8_t>(value);
                ASSERT_EQ(tiff_difference(changed), "") << at << " is " << value;
            }
        }
        for (const std::uint32_t page : {0U, 1U, 2U, 65535U, 65536U})
            EXPECT_EQ(tiff_difference(file, page), "") << page;
        for (const std::size_t zeros : {0U, 140000U}) {
            file.resize(file.size() + zeros);
            EXPECT_EQ(tiff_difference(file), "") << zeros;
            const model::TIFFFile loaded = model::load_tiff(file);
            texts.insert((loaded.loaded ? model::read_tiff(loaded).status : loaded.status).text);
        }
    }
    EXPECT_EQ(texts.size(), 30U); // all that there are
}

TEST(TIFF, FindsDirectoriesAnywhere)
{
    Bytes file = test_data("tiff_crafted/two_pages_in_a_circle.tif");
    for (std::uint32_t at = 0; at <= file.size(); ++at) {
        for (const std::uint32_t page : {0U, 1U, 3U})
            EXPECT_EQ(tiff_difference(file, page, at), "") << at;
    }
    file.resize(20000);
    for (const int entries : {0, 1, 1024, 1025}) {
        file[72] = static_cast<std::uint8_t>(entries);
        file[73] = static_cast<std::uint8_t>(entries >> 8);
        EXPECT_EQ(tiff_difference(file), "") << entries;
    }
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

// A line each, whose places and sizes are the same bytes: all three readers of joined strips stay
// within the memory that these allow.
TEST(TIFF, HasMoreStripsThanItHasRoomForInFourBytesEach)
{
    constexpr std::uint32_t strips = 560000, behind = 8 + 2 + 7 * 12 + 4;
    for (const std::uint32_t coding : {1U, 4U, 32773U}) {
        Bytes file = {'I', 'I', 42, 0, 8, 0, 0, 0, 7, 0};
        const std::uint32_t entries[7][4] = {
            {0x100, 4, 1, 1},          {0x101, 4, 1, strips}, {0x102, 3, 1, coding == 4 ? 1U : 8U},
            {0x103, 3, 1, coding},     {0x106, 3, 1, 1},      {0x111, 1, strips, behind},
            {0x117, 1, strips, behind}};
        for (const auto& [tag, type, count, value] : entries) {
            for (const std::uint32_t half : {tag, type, count, count >> 16, value, value >> 16})
                file.insert(file.end(), {std::uint8_t(half), std::uint8_t(half >> 8)});
        }
        file.insert(file.end(), 4, 0);
        file.resize(behind + strips, 1);
        EXPECT_EQ(tiff_difference(file), "") << coding;
    }
}

// The plain reader has the strips that libtiff has.
TEST(TIFF, HasTheStripsOfLibtiff)
{
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(nullptr);
    int judged = 0;
    for (const std::string& name : files("", "tiff_crafted/form_")) {
        SCOPED_TRACE(name);
        const Bytes file = test_data(name);
        const model::TIFFFile loaded = model::load_tiff(file);
        const std::vector<Bytes> plain = model::read_tiff(loaded).strips;
        TIFF* tiff = TIFFOpen((test_data_folder() + "/" + name).c_str(), "r");
        std::size_t at = 0; // in all of them joined
        for (std::uint32_t i = 0; tiff && i < TIFFNumberOfStrips(tiff); ++i) {
            Bytes strip(std::size_t(TIFFStripSize(tiff)));
            const tmsize_t size = TIFFReadEncodedStrip(tiff, i, strip.data(), TIFFStripSize(tiff));
            strip.resize(std::size_t(std::max<tmsize_t>(size, 0)));
            for (std::size_t k = 0; !loaded.little && loaded.bits == 16 && k < strip.size(); k += 2)
                std::swap(strip[k], strip[k + 1]);
            const Bytes& wanted = plain.at(plain.size() == 1 ? 0 : i);
            at = plain.size() == 1 ? at : 0;
            ASSERT_LE(at + strip.size(), wanted.size());
            EXPECT_EQ(std::memcmp(strip.data(), wanted.data() + at, strip.size()), 0);
            at += strip.size();
            judged += size > 0 ? 1 : 0;
        }
        if (tiff) // which has no extra samples with YCbCr
            TIFFClose(tiff);
    }
    EXPECT_GT(judged, 200);
}

TEST(TIFF, GivesStripsTheirPaletteWhereItIsNotLeftOut)
{
    std::size_t seen = 0;
    for (const std::string& name : files("", "tiff_crafted/form_")) {
        const Bytes file = test_data(name);
        NUV_TestChain chain;
        const auto storage = storage_of(chain.manager(), file);
        NUV_TIFFInfo info(chain.manager());
        if (!info.load(storage.get()) || info.palette().is_empty())
            continue;
        for (const auto palettes :
             {NUV_ReadTIFFCode::Palettes::kept, NUV_ReadTIFFCode::Palettes::left_out}) {
            const bool kept = palettes == NUV_ReadTIFFCode::Palettes::kept;
            auto strips = NUV_ReadTIFFCode(chain.manager()).engine(storage.get(), &info, palettes);
            for (NUV_Engine* strip : strips.items()) {
                EXPECT_EQ(strip->header()->palette().equal(info.palette()), kept);
                EXPECT_EQ(strip->header()->color_type() == NUV_ColorType::s_rgb, kept);
                strip->end();
                ++seen;
            }
        }
    }
    EXPECT_GT(seen, 0U);
}

// What a creator makes of stored bytes, and the status.
struct Read {
    Bytes bytes;
    NUV_StatusCode code;
    std::string text;
    NUV_Diagnosis why;
};
template <class Engine>
Read read(const Bytes& file, Engine engine, std::size_t fail_at = NUV_FailingMemory::never)
{
    NUV_TestChain chain(fail_at);
    const auto storage = storage_of(chain.manager(), file);
    if (storage)
        chain.last(engine(chain.manager(), storage.get()));
    const Bytes bytes = chain.run_bytes();
    return {bytes, chain.status().code, chain.status().method, chain.manager().diagnosis()};
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

TEST(TIFF, IsNotMadeOfOtherData)
{
    const Read other = read(test_data("jpeg/444.jpg"), read_tiff);
    EXPECT_EQ(other.code, NUV_ERR_FORMAT);
    EXPECT_EQ(other.text, "NUV_ReadTIFF::engine()");
}

TEST(TIFF, TellsWhatWasFoundAndWhere)
{
    struct Case {
        const char* file;
        std::size_t at; // a byte that is changed
        std::uint8_t to;
        std::int64_t byte, line;
        const char* text;
    };
    constexpr std::int64_t none = NUV_Diagnosis::unknown;
    // clang-format off
    const Case cases[] = {
        {"tiff/rgb", 5, 1, none, none, "a directory is said to begin at byte 460, where the file has ended"},
        {"tiff/rgb", 4, 192, none, none, "a directory of no entries, or of more than 1024"},
        {"tiff/refused_lzw", 2, 42, none, none, "the coding 'lzw' (compression 5)"},
        {"tiff/refused_tiles", 2, 42, none, none, "tiles"},
        {"tiff_crafted/form_000", 105, 215, 222, 2, "strip 1 of 1 ends 5 bytes early"},
        {"tiff_crafted/form_017", 208, 236, 237, 1, "strip 3 of 3 ends 1 bytes early"},
        {"tiff_crafted/form_016", 109, 213, none, 0, "the coded data ends in line 1 of 2"},
        {"tiff_crafted/planes_cut", 2, 42, none, none, "strip 4 of 6 is said to begin at byte 300, of 292 there are"},
        {"tiff_crafted/strip_outside", 2, 42, none, 2, "strip 2 of 2 is said to begin at byte 100000, of 242 there are"},
        {"tiff_crafted/first_strip_outside", 2, 42, none, none, "strip 1 of 2 is said to begin at byte 100000, of 242 there are"},
        {"tiff_crafted/width_0", 2, 42, none, none, "the directory tells no ImageWidth"},
        {"tiff_crafted/rows_0", 2, 42, none, none, "strips of 0 lines"},
        {"tiff_crafted/no_map", 2, 42, none, none, "a palette image without a ColorMap"},
        {"tiff_crafted/one_offset_for_two", 2, 42, none, none, "1 StripOffsets, the image has 2 strips"},
        {"tiff_crafted/jpeg_refused_gray_strip", 2, 42, none, none, "strip 2 of 2 has 1 x 8 bits, the directory 3 x 8"},
        {"tiff_crafted/jpeg_cut_strip", 2, 42, none, 17, ""},
        {"tiff_crafted/fax_uncompressed", 2, 42, none, none, "facsimile data in uncompressed mode"},
        {"tiff_crafted/packbits_16_bits", 2, 42, none, none, "16 bits a sample in PackBits, the high byte first"},
        {"tiff_crafted/bits_2", 2, 42, none, none, "1 x 2 bits, or samples of different depths"},
        {"tiff_crafted/log", 2, 42, none, none, "the photometric interpretation 32844"},
        {"tiff_crafted/chroma_for_three", 2, 42, none, none, "chroma for 3 x 1 pixels in strips of 16 x 4"},
        {"tiff_crafted/units_in_packbits", 2, 42, none, none, "chroma for 2 x 1 pixels, stored so"},
        {"tiff_crafted/jpeg_16_bits", 2, 42, none, none, "JPEG of 16 bits a sample"},
        {"tiff_crafted/jpeg_planes", 2, 42, none, none, "the coding 'jpeg' in planes"},
        {"tiff_crafted/colour_of_one_sample", 2, 42, none, none, "1 samples a pixel, the colour needs 3"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        Bytes file = test_data(std::string(c.file) + ".tif");
        file[c.at] = c.to;
        const NUV_Diagnosis why = read(file, read_tiff).why;
        EXPECT_STREQ(why.text, c.text);
        EXPECT_EQ(why.byte, c.byte);
        EXPECT_EQ(why.line, c.line);
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
    EXPECT_EQ(read(file, read_tiff).text, "NUV_AlignYEngine::initiate()");
}

TEST(TIFF, ComesOutOfAnyStorageAndStandsOneThatFails)
{
    for (const std::string& name : files("tiff", "tiff_crafted/form_0")) {
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
    NUV_TestImage coded[5];
    for (int i = 0; i < 5; ++i)
        coded[i] = image_of(small_codecs[std::min(i, 3)], 4, 4);
    coded[0].data_type = coded[3].data_type = NUV_DataType::s_integer;
    coded[1].palette = coded[2].palette = false;
    coded[4].bits = 16;

    NUV_Engine* first = nullptr;
    const auto both = [&first](const NUV_TestImage& one, const NUV_TestImage& other) {
        return [&first, one, other](NUV_TestChain& chain) {
            chain.source_bytes(one, {});
            first = chain.last();
            chain.source_bytes(other, {});
        };
    };
    const auto joining = [&first](auto creator) {
        return [&first, creator](NUV_TestChain& chain) {
            NUV_Engine* engines[] = {first, chain.last()};
            return creator(chain.manager()).engine(engines) != nullptr;
        };
    };
    const auto lines = joining([](NUV_Manager& manager) { return NUV_AlignY(manager); });
    const auto in_runs = joining([](NUV_Manager& manager) { return NUV_AlignYQDRLE(manager); });
    const auto none = [](NUV_TestChain& chain) { chain.last(nullptr); };
    const auto code = [](NUV_TestChain& chain) {
        return !NUV_ReadTIFFCode(chain.manager()).engine(nullptr, nullptr).empty();
    };
    const auto image = [](NUV_TestChain& chain) {
        return NUV_ReadTIFF(chain.manager()).engine(nullptr, nullptr, false) != nullptr;
    };
    const auto widen = appending<NUV_ConvertBits4To8>();
    const auto decode = appending<NUV_DecodeToRaw>();
    constexpr auto no = NUV_ERR_UNSUPPORTED;
    constexpr auto wrong = NUV_ERR_ARGUMENT;
    // clang-format off
    expect_refusals({
        {"no engine", {none}, widen, wrong, "NUV_ConvertBits4To8::engine()"},
        {"8 bits", gray, widen, no, "NUV_ConvertBits4To8Engine::initiate()"},
        {"no engine", {none}, appending<NUV_UpsampleChroma>(1U), wrong, "NUV_UpsampleChroma::engine()"},
        {"other units", units, appending<NUV_UpsampleChroma>(4U), no, "NUV_UpsampleChroma::create_engine()"},
        {"pixels", gray, appending<NUV_UpsampleChroma>(1U), no, "NUV_UpsampleChromaEngine::initiate()"},
        {"no image", {none}, lines, wrong, "NUV_AlignY::engine()"},
        {"no image", {none}, in_runs, wrong, "NUV_AlignYQDRLE::engine()"},
        {"widths", {both(gray, wide)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"depths", {both(gray, deep)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"coded", {both(units, units)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"too many lines", {both(flat, tall)}, lines, no, "NUV_AlignYEngine::initiate()"},
        {"lines", {both(gray, gray)}, in_runs, no, "NUV_AlignYQDRLEEngine::initiate()"},
        {"runs and lines", {both(runs, flat)}, in_runs, no, "NUV_AlignYQDRLEEngine::initiate()"},
        {"no strips", {none}, code, wrong, "NUV_ReadTIFFCode::engine()"},
        {"no file", {none}, image, wrong, "NUV_ReadTIFF::check()"},
        {"no engine", {none}, appending<NUV_DecodePackBits>(), wrong, "NUV_DecodePackBits::engine()"},
        {"no engine", {none}, appending<NUV_DecodeWinRLE8>(), wrong, "NUV_DecodeWinRLE::engine()"},
        {"no engine", {none}, appending<NUV_DecodeWinRLE4>(), wrong, "NUV_DecodeWinRLE::engine()"},
        {"no engine", {none}, appending<NUV_DecodeFlate>(), wrong, "NUV_DecodeFlate::engine()"},
        {"signed", coded[0], decode, no, "NUV_DecodePackBitsEngine::initiate()"},
        {"no palette", coded[1], decode, no, "NUV_DecodeWinRLEEngine::initiate()"},
        {"no palette", coded[2], decode, no, "NUV_DecodeWinRLEEngine::initiate()"},
        {"signed", coded[3], decode, no, "NUV_DecodeFlateEngine::initiate()"},
        {"16 bits", coded[4], decode, no, "NUV_DecodeFlateEngine::initiate()"},
    });
    // clang-format on
    expect_nothing_appended(units, {appending<NUV_UpsampleChroma>(0U)});
    for (const NUV_SmallCodec& codec : small_codecs) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(image_of(codec, 8, 4), {0x78, 0x9C, 3, 0, 0, 0, 0, 1}, 4);
            static_cast<void>(chain.append<NUV_DecodeToRaw>());
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
