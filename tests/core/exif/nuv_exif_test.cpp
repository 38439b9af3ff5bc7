#include "core/exif/source/nuv_exifvisit.h"
#include "core/exifjpeg/nuv_readexifjpeg.h"
#include "core/exiftiff/nuv_readexiftiff.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "tests/core/jpeg/nuv_jpegcraft.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <set>

namespace nuv {
namespace {

using Numbers = std::vector<std::uint32_t>;
using Lines = std::set<std::string>;

enum Directory { ifd0, exif, interoperability, gps, ifd1 };

// A value as exiftool tells it.
void tell(std::ostream& out, const auto& value)
{
    if constexpr (requires { value.items(); }) {
        for (const auto& element : value.items())
            tell(out << (&element == value.data() ? "" : " "), element);
    } else if constexpr (requires { value.denominator; }) {
        const char* const zero = value.numerator == 0 ? "undef" : "inf";
        value.denominator == 0 ? out << zero : out << 1.0 * value.numerator / value.denominator;
    } else if constexpr (requires { value.c_str(); }) {
        out << std::string(value.c_str(), value.size());
    } else if constexpr (requires { value.value; }) {
        out << static_cast<std::int32_t>(value.value);
    } else {
        out << +value;
    }
}

// "GPS 6 10.5" for each attribute that is set: not 0, -1 or empty.
Lines lines_of(const NUV_ExifAttributes& all)
{
    Lines lines;
    const auto add = [&lines]<class Record>(const char* name, const Record& record) {
        return visit_tags<Record>([&](std::uint16_t number, auto attribute) {
            std::ostringstream value;
            value.precision(10);
            tell(value, record.*attribute);
            if (!value.str().empty() && value.str() != "0" && value.str() != "-1")
                lines.insert(name + (" " + std::to_string(number) + " ") + value.str());
            return true;
        });
    };
    EXPECT_TRUE(add("IFD0", all.ifd0) && add("ExifIFD", all.exif) && add("GPS", all.gps) &&
                add("InteropIFD", all.interoperability) && add("IFD1", all.ifd1));
    return lines;
}

// The structure of a fixture, which is a TIFF file, too. Its tags and directories can be changed.
struct Structure {
    explicit Structure(bool is_big_endian = false) : is_big(is_big_endian)
    {
        const Bytes jpeg = test_data(is_big ? "exif/all_tags_MM.jpg" : "exif/all_tags_II.jpg");
        bytes = {jpeg.begin() + 12, jpeg.begin() + 4 + (jpeg[4] << 8 | jpeg[5])};
    }
    bool is_big;
    Bytes bytes;

    std::uint32_t get(std::uint32_t at, std::uint32_t size) const
    {
        std::uint32_t number = 0;
        for (std::uint32_t i = 0; i < size; ++i)
            number = number << 8 | bytes.at(at + (is_big ? i : size - 1 - i));
        return number;
    }
    void put(std::uint32_t at, std::uint32_t size, std::uint32_t number)
    {
        bytes.resize(std::max<std::size_t>(bytes.size(), at + size));
        for (std::uint32_t i = 0; i < size; ++i, number >>= 8)
            bytes[at + (is_big ? size - 1 - i : i)] = static_cast<std::uint8_t>(number);
    }
    std::uint32_t end() const { return static_cast<std::uint32_t>(bytes.size()); }
    // Where an entry is, and where the offset of a directory.
    std::uint32_t entry(Directory directory, std::uint32_t number) const
    {
        std::uint32_t at = get(place(directory), 4) + 2;
        while (get(at, 2) != number)
            at += 12;
        return at;
    }
    std::uint32_t place(Directory directory) const
    {
        constexpr std::uint32_t pointers[] = {0, 34665, 40965, 34853};
        if (directory == ifd1)
            return get(4, 4) + 2 + 12 * get(get(4, 4), 2);
        const Directory from = directory == interoperability ? exif : ifd0;
        return directory == ifd0 ? 4 : entry(from, pointers[directory]) + 8;
    }
    // Numbers of the size of the type: bytes, texts, 16 and 32 bits, rationals in pairs.
    void set(Directory directory, std::uint32_t number, std::uint32_t type, const Numbers& numbers)
    {
        const std::uint32_t size = type == 3 ? 2 : type == 4 || type == 5 ? 4 : 1;
        const std::uint32_t at = entry(directory, number);
        const auto count = static_cast<std::uint32_t>(numbers.size());
        const std::uint32_t value = count * size > 4 ? end() : at + 8;
        put(at + 2, 2, type);
        put(at + 4, 4, type == 5 ? count / 2 : count);
        put(at + 8, 4, value);
        for (std::uint32_t i = 0; i < count; ++i)
            put(value + i * size, size, numbers[i]);
    }
};

// A JPEG file with the structure in its first segment.
Bytes with_exif(const Bytes& structure, const Bytes& jpeg = flat_stream())
{
    std::string payload("Exif\0\0", 6);
    return with_segment(jpeg, 0xE1, payload.append(structure.begin(), structure.end()));
}

// From the begin of the storage, on which offsets in TIFF files count.
NUV_Held<NUV_ByteArrayInputStorage> stored(NUV_Manager& manager, const Bytes& file)
{
    return make_initiated<NUV_ByteArrayInputStorage>(manager, file.data(), int(file.size()));
}

template <class Info>
struct Loaded {
    explicit Loaded(const Bytes& bytes) : file(bytes), info(chain.manager())
    {
        EXPECT_TRUE(info.load(storage.get()) || storage->position() == 0);
    }
    NUV_TestChain chain;
    Bytes file;
    Info info;
    NUV_Held<NUV_ByteArrayInputStorage> storage = stored(chain.manager(), file);
};

// How many attributes the probe finds, and what it says. The search tells nothing of one that
// refuses.
template <class Info>
std::size_t probed(const Bytes& file, bool is_taken, NUV_StatusCode code = NUV_STATUS_OK,
                   const std::string& words = "")
{
    Loaded<Info> probe(file);
    EXPECT_EQ(probe.info.loaded(), is_taken);
    EXPECT_EQ(probe.chain.status().code, code);
    EXPECT_EQ(probe.chain.status().method, words.empty() ? "" : "NUV_ExifInfoBase::" + words);
    EXPECT_EQ(*probe.chain.manager().diagnosis().text != '\0', !words.empty()) << "a reason";
    probe.chain.manager().reset();
    EXPECT_TRUE(probe.storage->to_begin());
    NUV_ReadRasterEx search(probe.chain.manager());
    const NUV_Held<NUV_FormatInfo> found(search.format_info(probe.storage.get(), 0));
    EXPECT_TRUE(found && is_taken == (dynamic_cast<const Info*>(found.get()) != nullptr));
    EXPECT_EQ(probe.chain.status().code, is_taken ? code : NUV_STATUS_OK);
    return lines_of(probe.info).size();
}

TEST(Exif, GivesEveryTagTheValueThatExiftoolTells)
{
    const Bytes told = test_data("exif/all_tags.txt");
    std::istringstream all(std::string(told.begin(), told.end()));
    Lines wanted;
    for (std::string line; std::getline(all, line);)
        wanted.insert(line);
    for (const bool is_big_endian : {false, true}) {
        Structure structure(is_big_endian);
        EXPECT_EQ(lines_of(Loaded<NUV_ExifTIFFInfo>(structure.bytes).info), wanted);
        Loaded<NUV_ExifJPEGInfo> jpeg(with_exif(structure.bytes));
        EXPECT_EQ(lines_of(jpeg.info), wanted);
        const auto& [x, y, unit] = std::tie(jpeg.info.resolution().x, jpeg.info.resolution().y,
                                            jpeg.info.resolution().unit);
        EXPECT_TRUE(x == 300.0 / 7 && y == 10471.0 / 3 &&
                    unit == NUV_ResolutionInfo::per_centimetre);
        // Nothing is left of it when other files are loaded.
        const NUV_TestStored broken(jpeg.chain.manager(), with_exif({}));
        EXPECT_TRUE(!jpeg.info.load(broken.storage()) && lines_of(jpeg.info).empty());
        structure.set(ifd0, 282, 5, {1, 0});
        structure.set(ifd0, 283, 5, {});
        structure.set(ifd0, 296, 3, {1});
        structure.put(structure.place(exif), 4, 0);
        const NUV_TestStored next(jpeg.chain.manager(), with_exif(structure.bytes));
        EXPECT_TRUE(jpeg.info.load(next.storage()));
        EXPECT_TRUE(x == std::numeric_limits<double>::max() && y == 0.0 && unit == 0);
    }
}

// A directory that lies outside is lost alone. One that is there and cannot be read costs the
// attributes, and never the image.
TEST(Exif, StandsDirectoriesThatAreDamaged)
{
    constexpr const char* names[] = {"0th_ifd", "exif_private", "interoperability", "gps_info",
                                     "1st_ifd"};
    constexpr std::size_t left[] = {0, 91, 148, 119, 120}; // attributes, without it
    // Up to 1025 the number of entries of one that breaks off, then offsets that nothing has.
    for (const std::uint32_t to : {0U, 1024U, 1025U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        for (std::size_t i = 0; i < 2 * std::size(left); ++i) {
            const auto moved = static_cast<Directory>(i / 2);
            SCOPED_TRACE(names[moved] + (" at " + std::to_string(to)));
            Structure structure(i % 2 == 0);
            const bool is_there = to <= 1025;
            if (is_there)
                structure.put(structure.end(), 2, to);
            structure.put(structure.place(moved), 4, is_there ? structure.end() - 2 : to);
            const auto error = to == 1024 ? NUV_ERR_BROKEN_DATA : NUV_ERR_UNSUPPORTED;
            const auto code = is_there ? error : NUV_WARN_INVALID_DATA;
            const bool is_first_lost = moved == ifd0 && !is_there;
            std::string words = is_first_lost ? "load_attributes()" : "load_";
            words += is_first_lost ? "" : names[moved] + std::string("_tags()");
            words += is_there ? "" : " - invalid offset";
            const Bytes jpeg = with_exif(structure.bytes);
            const std::size_t found = probed<NUV_ExifJPEGInfo>(jpeg, !is_there, code, words);
            EXPECT_EQ(found, is_there ? 0 : left[moved]);
            // A TIFF file has no image without the first one, and looks at the next one itself.
            if (moved != ifd0 && to != 0xFFFFFFFF)
                probed<NUV_ExifTIFFInfo>(structure.bytes, !is_there && moved != exif, code, words);
        }
    }
}

// Such a tag stays what it was, with a warning but for one that has no elements.
TEST(Exif, StandsTagsThatAreDamaged)
{
    Structure structure;
    structure.set(exif, 40962, 4, {0xFFFFFFF9});
    structure.set(exif, 40961, 4, {0xFFFFFFF9}); // cut to 16 bits
    structure.set(exif, 37500, 3, {});
    EXPECT_EQ(probed<NUV_ExifTIFFInfo>(structure.bytes, true), 149U);
    structure.set(gps, 2, 1, Numbers(1024, 1));
    structure.set(gps, 4, 1, Numbers(1025, 1)); // of rationals so many are never meant
    structure.set(exif, 41989, 14, {7});
    structure.put(structure.entry(exif, 41990) + 4, 4, 0x40000001);
    structure.put(structure.entry(exif, 42016) + 8, 4, structure.end());
    const Bytes jpeg = with_exif(structure.bytes);
    constexpr auto words = "tag_getter() - invalid tag data";
    EXPECT_EQ(probed<NUV_ExifJPEGInfo>(jpeg, true, NUV_WARN_INVALID_DATA, words), 145U);
    const Loaded<NUV_ExifJPEGInfo> loaded(jpeg);
    EXPECT_EQ(loaded.info.exif.pixel_x_dimension, 0xFFFFFFF9);
    EXPECT_EQ(loaded.info.exif.color_space.value, 0xFFF9U);
    // The colour space that cameras write most, by itself; and without a value.
    structure.put(structure.place(exif), 4, structure.end());
    for (const std::uint32_t half : {1U, 40961U, 3U, 1U, 0U, 0xFFFFU, 0U, 0U, 0U})
        structure.put(structure.end(), 2, half);
    EXPECT_TRUE(Loaded<NUV_ExifTIFFInfo>(structure.bytes).info.loaded());
    structure.set(exif, 40961, 3, {});
    EXPECT_FALSE(Loaded<NUV_ExifTIFFInfo>(structure.bytes).info.loaded());
}

TEST(Exif, TakesTheFormOfThePrimaryImageAlone)
{
    const Bytes structure = Structure().bytes;
    for (const std::string name : {"+444", "+420", "+422_restarts", "-411", "-420_odd",
                                   "-progressive_restarts", "-gray", "-adobe_cmyk"}) {
        const Bytes jpeg = with_exif(structure, test_data("jpeg/" + name.substr(1) + ".jpg"));
        EXPECT_EQ(Loaded<NUV_ExifJPEGInfo>(jpeg).info.loaded(), name[0] == '+') << name;
        EXPECT_TRUE(Loaded<NUV_ExifJPEGTagInfo>(jpeg).info.loaded());
    }
    const Bytes header(structure.begin(), structure.begin() + 8);
    for (const int bytes : {0, 1, 7}) {
        const Bytes jpeg = with_exif({header.begin(), header.begin() + bytes});
        probed<NUV_ExifJPEGInfo>(jpeg, false, NUV_ERR_BROKEN_DATA, "load_attributes()");
    }
    const auto unread = "load_0th_ifd_tags()";
    probed<NUV_ExifJPEGInfo>(with_exif(header), false, NUV_ERR_BROKEN_DATA, unread);
    Structure other;
    other.put(0, 4, 43 << 16 | 'I' << 8 | 'M'); // no byte order and another version
    const auto unordered = "load_attributes() - invalid byte order";
    const Bytes jpeg = with_exif(other.bytes);
    EXPECT_EQ(probed<NUV_ExifJPEGInfo>(jpeg, true, NUV_WARN_INVALID_DATA, unordered), 150U);
    other = Structure(true);
    std::ranges::copy(header, other.bytes.begin()); // numbers the other way round
    probed<NUV_ExifJPEGInfo>(with_exif(other.bytes), false, NUV_ERR_UNSUPPORTED, unread);
}

// 4 x 2 pixels, whose lines are literal runs of PackBits as well.
TEST(Exif, ChangesNoSampleOfATIFFFile)
{
    struct Case {
        bool is_exif;
        std::uint32_t photometric, samples, compression, bytes;
        Numbers factors = {};
    };
    // clang-format off
    for (const Case& c : {Case{true, 2, 3, 1, 24}, Case{false, 2, 3, 1, 24, {1, 1}}, Case{true, 6, 3, 1, 16, {2, 1}}, Case{true, 6, 3, 1, 12, {2, 2}},
                          Case{false, 6, 3, 1, 24, {1, 1}}, Case{false, 3, 1, 1, 8}, Case{false, 2, 3, 32773, 26}}) {
        const std::pair<std::uint32_t, Numbers> tags[] = {
            {256, {4}}, {257, {2}}, {278, {2}}, {258, Numbers(c.samples, 8)}, {259, {c.compression}}, {262, {c.photometric}}, {277, {c.samples}}, {279, {c.bytes}},
            {320, Numbers(768, 0x1234)}, {530, c.factors}};
        // clang-format on
        Structure structure;
        structure.put(structure.entry(ifd0, 301), 2, 320); // a colour map
        for (const auto& [tag, numbers] : tags)
            structure.set(ifd0, tag, 3, numbers);
        structure.set(ifd0, 273, 4, {structure.end()});
        for (std::uint32_t i = 0; i < 26; ++i)
            structure.put(structure.end(), 1, i % 13 == 0 ? 11 : i);
        Bytes samples[2];
        for (Bytes& read : samples) {
            Loaded<NUV_ExifTIFFInfo> file(structure.bytes);
            EXPECT_EQ(file.info.loaded(), &read == samples && c.is_exif);
            NUV_TestChain chain;
            const auto storage = stored(chain.manager(), structure.bytes);
            chain.last(NUV_ReadRasterEx(chain.manager()).engine(storage.get(), 0));
            read = chain.run_bytes();
            structure.put(structure.place(exif), 4, 0); // then GPS is left
        }
        EXPECT_EQ(samples[0].size(), c.samples * 8U);
        EXPECT_EQ(samples[0], samples[1]);
    }
}

TEST(Exif, IsCleanWhateverStorageAndMemoryDo)
{
    Loaded<NUV_ExifTIFFInfo> other(bytes_of("no signature, and long enough for any"));
    NUV_Manager& manager = other.chain.manager();
    EXPECT_FALSE(NUV_ReadExifTIFF(manager).engine(other.storage.get(), &other.info));
    EXPECT_STREQ(manager.status().method, "NUV_ReadExifTIFF::engine()");
    manager.reset();
    EXPECT_FALSE(NUV_ReadExifJPEG(manager).engine(other.storage.get(), NUV_JPEGInfo::full_scale));
    EXPECT_STREQ(manager.status().method, "NUV_ReadExifJPEG::engine()");
    for (const Bytes& file : {Structure().bytes, with_exif(Structure(true).bytes)}) {
        const auto read = [](NUV_TestChain& chain, NUV_InputStorage* storage) {
            chain.last(storage ? NUV_ReadRasterEx(chain.manager()).engine(storage, 0) : nullptr);
            EXPECT_TRUE(!chain.run_bytes().empty() || chain.status().has_error());
        };
        expect_clean_at_every_allocation(
            [&](NUV_TestChain& chain) { read(chain, stored(chain.manager(), file).get()); });
        for (std::size_t reads = 0; reads < 20000; reads += reads / 16 + 1) {
            NUV_TestChain chain;
            const auto storage = stored(chain.manager(), file);
            const auto mean = make_object<NUV_MeanStorage>(chain.manager(), reads);
            ASSERT_TRUE(mean->initiate(storage.get()));
            read(chain, mean.get());
        }
    }
}

} // namespace
} // namespace nuv
