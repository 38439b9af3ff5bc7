#include "core/exif/source/nuv_exifvisit.h"
#include "core/exifjpeg/nuv_readexifjpeg.h"
#include "core/exiftiff/nuv_readexiftiff.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Numbers = std::vector<std::uint32_t>;
using Lines = std::set<std::string>;

enum Directory { ifd0, exif, interoperability, gps, ifd1 };

void tell(std::ostream& out, const auto& value)
{
    if constexpr (requires { value.items(); }) {
        for (const auto& element : value.items())
            tell(out << (&element == value.data() ? "" : " "), element);
    } else if constexpr (requires { value.denominator; }) {
        const char* const zero = value.numerator == 0 ? "undef" : "inf";
        value.denominator == 0 ? out << zero : out << 1.0 * value.numerator / value.denominator;
    } else if constexpr (requires { value.c_str(); }) {
        out << value.c_str();
    } else if constexpr (requires { value.value; }) {
        out << static_cast<std::int32_t>(value.value);
    } else {
        out << +value;
    }
}

// "GPS 6 10.5", as exiftool tells it, for each attribute that is neither empty nor `unset`.
template <class Record>
void add_lines(Lines& lines, const char* name, const Record& record)
{
    const auto add = [&](std::uint16_t number, auto attribute) {
        const bool is_short = std::is_same_v<decltype(attribute), NUV_ExifKind::Short Record::*>;
        std::ostringstream value;
        value.precision(10);
        tell(value, record.*attribute);
        if (!value.str().empty() && value.str() != (is_short ? "-1" : "0"))
            lines.insert(name + (" " + std::to_string(number) + " ") + value.str());
        return true;
    };
    EXPECT_TRUE(visit_tags<Record>(add));
}

Lines lines_of(const NUV_ExifAttributes& all)
{
    Lines lines;
    add_lines(lines, "IFD0", all.ifd0);
    add_lines(lines, "ExifIFD", all.exif);
    add_lines(lines, "InteropIFD", all.interoperability);
    add_lines(lines, "GPS", all.gps);
    add_lines(lines, "IFD1", all.ifd1);
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
        if (directory == ifd0)
            return 4;
        if (directory == ifd1)
            return get(4, 4) + 2 + 12 * get(get(4, 4), 2);
        return entry(directory == interoperability ? exif : ifd0, pointers[directory]) + 8;
    }
    // Numbers of the size of the type; those of rationals and doubles in pairs.
    void set(Directory directory, std::uint32_t number, std::uint32_t type, const Numbers& numbers)
    {
        constexpr std::uint32_t sizes[] = {1, 1, 1, 2, 4, 4, 1, 1, 2, 4, 4, 4, 4, 4, 1};
        const std::uint32_t at = entry(directory, number);
        const auto count = static_cast<std::uint32_t>(numbers.size());
        const std::uint32_t value = count * sizes[type] > 4 ? end() : at + 8;
        put(at + 2, 2, type);
        put(at + 4, 4, count / (type == 5 || type == 10 || type == 12 ? 2 : 1));
        put(at + 8, 4, value);
        for (std::uint32_t i = 0; i < count; ++i)
            put(value + i * sizes[type], sizes[type], numbers[i]);
    }
};

// A JPEG file with a structure, and what else it has behind the first segment.
Bytes with_exif(const Bytes& structure, const char* file = "exif/all_tags_II.jpg")
{
    const Bytes jpeg = test_data(file);
    Bytes out = {0xFF, 0xD8, 0xFF, 0xE1, 0, 0, 'E', 'x', 'i', 'f', 0, 0};
    out.insert(out.end(), structure.begin(), structure.end());
    out[4] = static_cast<std::uint8_t>((out.size() - 4) >> 8);
    out[5] = static_cast<std::uint8_t>(out.size() - 4);
    out.insert(out.end(), jpeg.begin() + 4 + (jpeg[4] << 8 | jpeg[5]), jpeg.end());
    return out;
}

// From the begin of the storage, on which offsets in TIFF files count.
NUV_Held<NUV_ByteArrayInputStorage> stored(NUV_Manager& manager, const Bytes& file)
{
    const auto bytes = static_cast<std::int32_t>(file.size());
    return make_initiated<NUV_ByteArrayInputStorage>(manager, file.data(), bytes);
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

// The attributes, and what the probe says of a file. The search tells nothing of one that refuses.
template <class Info>
Lines probed(const Bytes& file, bool is_taken, NUV_StatusCode code, const std::string& method)
{
    Loaded<Info> probe(file);
    EXPECT_EQ(probe.info.loaded(), is_taken);
    EXPECT_EQ(probe.chain.status().code, code);
    EXPECT_EQ(probe.chain.status().method, method);
    probe.chain.manager().reset();
    EXPECT_TRUE(probe.storage->to_begin());
    NUV_ReadRasterEx search(probe.chain.manager());
    const NUV_Held<NUV_FormatInfo> found(search.format_info(probe.storage.get(), 0));
    EXPECT_TRUE(found && is_taken == (dynamic_cast<const Info*>(found.get()) != nullptr));
    EXPECT_EQ(probe.chain.status().code, is_taken ? code : NUV_STATUS_OK);
    return lines_of(probe.info);
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
        EXPECT_EQ(probed<NUV_ExifTIFFInfo>(structure.bytes, true, NUV_STATUS_OK, ""), wanted);
        Loaded<NUV_ExifJPEGInfo> jpeg(with_exif(structure.bytes));
        EXPECT_EQ(lines_of(jpeg.info), wanted);
        EXPECT_EQ(jpeg.info.resolution().x, 300.0 / 7);
        EXPECT_EQ(jpeg.info.resolution().y, 10471.0 / 3);
        EXPECT_EQ(jpeg.info.resolution().unit, NUV_ResolutionInfo::per_centimetre);
        // Nothing is left of it when the next file is loaded.
        structure.set(ifd0, 282, 5, {1, 0});
        structure.set(ifd0, 283, 5, {});
        structure.set(ifd0, 296, 3, {1});
        structure.put(structure.place(exif), 4, 0);
        const NUV_TestStored next(jpeg.chain.manager(), with_exif(structure.bytes));
        EXPECT_TRUE(jpeg.info.load(next.storage()) && jpeg.info.exif.is_empty());
        EXPECT_EQ(jpeg.info.resolution().x, std::numeric_limits<double>::max());
        EXPECT_EQ(jpeg.info.resolution().y, 0.0);
        EXPECT_EQ(jpeg.info.resolution().unit, NUV_ResolutionInfo::no_unit);
    }
}

// A directory that lies outside is lost alone. One that is there and cannot be read costs the
// attributes, and never the image.
TEST(Exif, StandsDirectoriesThatAreDamaged)
{
    struct Row {
        const char* operation;
        Directory moved;
        std::size_t left; // attributes, without it
    };
    constexpr Row rows[] = {{"0th_ifd_tags()", ifd0, 0},
                            {"exif_private_tags()", exif, 91},
                            {"interoperability_tags()", interoperability, 148},
                            {"gps_info_tags()", gps, 119},
                            {"1st_ifd_tags()", ifd1, 120}};
    // Up to 1025 the number of entries of one that breaks off, then offsets that nothing has.
    for (const std::uint32_t to : {0U, 1024U, 1025U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        for (std::size_t i = 0; i < 2 * std::size(rows); ++i) {
            const Row& row = rows[i / 2];
            SCOPED_TRACE(std::string(row.operation) + " at " + std::to_string(to));
            Structure structure(i % 2 == 0);
            const bool is_there = to <= 1025;
            if (is_there)
                structure.put(structure.end(), 2, to);
            structure.put(structure.place(row.moved), 4, is_there ? structure.end() - 2 : to);
            const auto code = to == 1024 ? NUV_ERR_BROKEN_DATA
                              : is_there ? NUV_ERR_UNSUPPORTED
                                         : NUV_WARN_INVALID_DATA;
            std::string method = "NUV_ExifInfoBase::load_";
            method += row.moved == ifd0 && !is_there ? "attributes()" : row.operation;
            method += is_there ? "" : " - invalid offset";
            const Bytes jpeg = with_exif(structure.bytes);
            EXPECT_EQ(probed<NUV_ExifJPEGInfo>(jpeg, !is_there, code, method).size(),
                      is_there ? 0 : row.left);
            // A TIFF file has no image without the first one, and looks at the next one itself.
            const bool is_exif = !is_there && row.moved != exif;
            if (row.moved != ifd0 && to != 0xFFFFFFFF)
                probed<NUV_ExifTIFFInfo>(structure.bytes, is_exif, code, method);
        }
    }
}

// Such a tag stays what it was, with a warning but for one that has no elements.
TEST(Exif, StandsTagsThatAreDamaged)
{
    Structure structure;
    structure.set(exif, 40962, 4, {0xFFFFFFF9});
    structure.set(exif, 40961, 4, {0xFFFFFFF9});
    structure.set(exif, 37500, 3, {});
    const std::size_t all =
        probed<NUV_ExifTIFFInfo>(structure.bytes, true, NUV_STATUS_OK, "").size();
    EXPECT_EQ(all, 149u);
    structure.set(gps, 2, 1, Numbers(1024, 1));
    structure.set(gps, 4, 1, Numbers(1025, 1)); // of rationals so many are never meant
    structure.set(exif, 41989, 14, {7});
    structure.put(structure.entry(exif, 41990) + 4, 4, 0x40000001);
    structure.put(structure.entry(exif, 42016) + 8, 4, structure.end());
    const Lines lines =
        probed<NUV_ExifJPEGInfo>(with_exif(structure.bytes), true, NUV_WARN_INVALID_DATA,
                                 "NUV_ExifInfoBase::tag_getter() - invalid tag data");
    EXPECT_EQ(lines.size(), all - 4);
    EXPECT_TRUE(lines.contains("ExifIFD 40962 4294967289") &&
                lines.contains("ExifIFD 40961 65529"));
}

TEST(Exif, TakesTheFormOfThePrimaryImageAlone)
{
    const Bytes structure = Structure().bytes;
    for (const std::string name : {"+444", "+420", "+422_restarts", "-411", "-420_odd",
                                   "-progressive_restarts", "-gray", "-adobe_cmyk"}) {
        const Loaded<NUV_ExifJPEGInfo> jpeg(
            with_exif(structure, ("jpeg/" + name.substr(1) + ".jpg").c_str()));
        EXPECT_EQ(jpeg.info.loaded(), name[0] == '+') << name;
        EXPECT_EQ(jpeg.chain.status().code, NUV_STATUS_OK);
    }
    EXPECT_TRUE(Loaded<NUV_ExifJPEGTagInfo>(with_exif(structure, "jpeg/gray.jpg")).info.loaded());
    for (const int bytes : {0, 1, 7, 8})
        probed<NUV_ExifJPEGInfo>(with_exif({structure.begin(), structure.begin() + bytes}), false,
                                 NUV_ERR_BROKEN_DATA,
                                 bytes < 8 ? "NUV_ExifInfoBase::load_attributes()"
                                           : "NUV_ExifInfoBase::load_0th_ifd_tags()");
    Structure other;
    other.put(0, 4, 43 << 16 | 'I' << 8 | 'M'); // no byte order and another version
    EXPECT_EQ(probed<NUV_ExifJPEGInfo>(with_exif(other.bytes), true, NUV_WARN_INVALID_DATA,
                                       "NUV_ExifInfoBase::load_attributes() - invalid byte order")
                  .size(),
              150u);
    other = Structure(true);
    std::copy_n(structure.begin(), 8, other.bytes.begin()); // numbers the other way round
    probed<NUV_ExifJPEGInfo>(with_exif(other.bytes), false, NUV_ERR_UNSUPPORTED,
                             "NUV_ExifInfoBase::load_0th_ifd_tags()");
    Bytes foreign = with_exif(structure);
    foreign[6] = 'X';
    probed<NUV_ExifJPEGInfo>(foreign, false, NUV_STATUS_OK, "");
}

// 4 x 2 pixels of a TIFF file, whose lines are literal runs of PackBits as well.
TEST(Exif, ChangesNoSampleOfATIFFFile)
{
    struct Case {
        bool is_exif;
        std::uint32_t photometric, samples, compression, bytes;
        Numbers factors = {};
    };
    for (const Case& c : {Case{true, 2, 3, 1, 24}, Case{false, 2, 3, 1, 24, {1, 1}},
                          Case{true, 6, 3, 1, 16, {2, 1}}, Case{true, 6, 3, 1, 12, {2, 2}},
                          Case{false, 6, 3, 1, 24, {1, 1}}, Case{false, 3, 1, 1, 8},
                          Case{false, 2, 3, 32773, 26}}) {
        Structure structure;
        structure.put(structure.entry(ifd0, 301), 2, 320); // a colour map
        const std::pair<std::uint32_t, Numbers> tags[] = {{256, {4}},
                                                          {257, {2}},
                                                          {278, {2}},
                                                          {258, Numbers(c.samples, 8)},
                                                          {259, {c.compression}},
                                                          {262, {c.photometric}},
                                                          {277, {c.samples}},
                                                          {279, {c.bytes}},
                                                          {320, Numbers(768, 0x1234)},
                                                          {530, c.factors}};
        for (const auto& [tag, numbers] : tags)
            structure.set(ifd0, tag, 3, numbers);
        structure.set(ifd0, 273, 1, {11, 1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                     11, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25});
        structure.set(ifd0, 273, 4, {structure.end() - 26});
        Bytes samples[2];
        for (Bytes& read : samples) {
            Loaded<NUV_ExifTIFFInfo> file(structure.bytes);
            EXPECT_EQ(file.info.loaded(), &read == samples && c.is_exif);
            EXPECT_TRUE(file.storage->to_begin());
            file.chain.manager().reset();
            file.chain.last(NUV_ReadRasterEx(file.chain.manager()).engine(file.storage.get(), 0));
            read = file.chain.run_bytes();
            structure.put(structure.place(exif), 4, 0); // then GPS is left
        }
        EXPECT_EQ(samples[0].size(), c.samples * 8U);
        EXPECT_EQ(samples[0], samples[1]);
    }
}

// The words for no storage, for an info that is not loaded, and for another format.
template <class Info, class Reader, class... Scale>
std::string refusals(Scale... scale)
{
    Loaded<Info> other(bytes_of("no signature, and long enough for any"));
    Reader reader(other.chain.manager());
    std::string words;
    const auto note = [&](bool answer) {
        words += answer ? "none" : other.chain.status().method + std::string(" ");
        other.chain.manager().reset();
    };
    note(other.info.load_internal(nullptr));
    note(reader.engine(other.storage.get(), &other.info, scale...));
    note(reader.engine(other.storage.get(), scale...));
    return words;
}

TEST(Exif, IsCleanWhateverStorageAndMemoryDo)
{
    EXPECT_EQ((refusals<NUV_ExifJPEGInfo, NUV_ReadExifJPEG>(NUV_JPEGInfo::full_scale)),
              "NUV_ExifJPEGTagInfo::load() NUV_ReadJPEG::engine() NUV_ReadExifJPEG::engine() ");
    EXPECT_EQ((refusals<NUV_ExifTIFFInfo, NUV_ReadExifTIFF>()),
              "NUV_ExifTIFFTagInfo::load() NUV_ReadExifTIFF::engine() NUV_ReadExifTIFF::engine() ");
    for (const Bytes& file : {Structure().bytes, with_exif(Structure(true).bytes)}) {
        const auto read = [](NUV_TestChain& chain, NUV_InputStorage* storage) {
            NUV_ReadRasterEx reader(chain.manager());
            const NUV_Held<NUV_FormatInfo> info(reader.format_info(storage, 0));
            const auto* tags = dynamic_cast<const NUV_ExifAttributes*>(info.get());
            const bool is_good = chain.status().code == NUV_STATUS_OK;
            EXPECT_TRUE(!is_good || (info && (!tags || lines_of(*tags).size() == 150)));
            chain.last(storage->to_begin() ? reader.engine(storage, 0) : nullptr);
            EXPECT_TRUE(!chain.run_bytes().empty() || chain.status().has_error());
        };
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            if (const auto storage = stored(chain.manager(), file))
                read(chain, storage.get());
        });
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
