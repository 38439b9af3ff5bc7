#include "tests/support/nuv_model_tiff.h"

#include <bit>
#include <set>

namespace nuv::model {

namespace {

// clang-format off
enum Tag : std::uint64_t {
    image_width = 0x100, image_length = 0x101, bits_per_sample = 0x102, compression = 0x103,
    photometric = 0x106, fill_order = 0x10A, strip_offsets = 0x111, orientation = 0x112,
    samples_per_pixel = 0x115, rows_per_strip = 0x116, strip_byte_counts = 0x117,
    x_resolution = 0x11A, y_resolution = 0x11B, planar_configuration = 0x11C, t4_options = 0x124,
    t6_options = 0x125, resolution_unit = 0x128, predictor = 0x13D, color_map = 0x140,
    tile_width = 0x142, sub_ifds = 0x14A, jpeg_tables = 0x15B, extra_samples = 0x152,
    jpeg_begin = 0x201, jpeg_length = 0x202, ycbcr_subsampling = 0x212, ycbcr_positioning = 0x213,
};
constexpr std::uint64_t absent = 0xFFFFFFFF;
constexpr std::size_t farthest = 0x7FFFFFFF; // position in a storage

// Members of one type and default: one number, one rational, or any number of either.
struct Members {
    std::uint64_t mask; // of a number, 0 for a rational
    bool single;
    std::uint64_t otherwise;
    std::vector<std::uint64_t> tags;
};
const Members all_members[] = {
    {0xFFFF, true, 0, {samples_per_pixel}},
    {absent, true, 0, {image_width, image_length, orientation, fill_order, t4_options, t6_options,
                       tile_width, predictor, jpeg_begin, jpeg_length}},
    {absent, true, 1, {planar_configuration, ycbcr_positioning}},
    {absent, true, absent, {compression, resolution_unit, rows_per_strip, photometric}},
    {0, true, 0, {x_resolution, y_resolution}},
    {0, false, 0, {0x13E, 0x13F, 0x211, 0x214}},
    {0xFF, false, 0, {jpeg_tables, 0x10D, 0x10E, 0x10F, 0x110, 0x11D, 0x131, 0x132, 0x13B, 0x13C,
                      0x8298}},
    {0xFFFF, false, 0, {bits_per_sample, ycbcr_subsampling, extra_samples, color_map, 0x12D}},
    {absent, false, 0, {strip_offsets, strip_byte_counts, sub_ifds}},
};
// clang-format on

constexpr unsigned element_sizes[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};

// The statuses of the structure: -1 is read or sought in vain.
void raise_structure(Status& status, int code, const char* words)
{
    if (code == -1 || code == -20)
        status.raise(NUV_ERR_BROKEN_DATA, words);
    if (code == -10)
        status.raise(NUV_ERR_ARGUMENT, words);
    if (code == -52)
        status.raise(NUV_ERR_UNSUPPORTED, words);
}

int find_value(const TIFFFile& file, std::uint64_t entry_at, TIFFEntry& entry, std::uint64_t& sum)
{
    const unsigned size = element_sizes[entry.type];
    const auto total = static_cast<std::uint32_t>(entry.count * size);
    if (total / size != entry.count)
        return -100;
    if (total > farthest || total > file.bytes.size())
        return -20;
    entry.value = total > 4 ? file.number(entry_at + 8, 4) : entry_at + 8;
    if (entry.value > farthest)
        return -20;
    if (!file.has(entry.value, total))
        return -1;
    if (sum > 2 * file.bytes.size() + 65536)
        return -20;
    sum += entry.bytes = total;
    return 1;
}

// The directory that is `pages` behind the one at `at`.
int read_directory(TIFFFile& file, std::uint64_t at, std::uint32_t pages)
{
    if (pages > 65535)
        return -10;
    std::uint64_t end = 0;
    for (;; --pages, at = file.next_directory) {
        const std::uint64_t count = file.has(at, 2) ? file.number(at, 2) : 1;
        if (count == 0 || count > 1024)
            return -52;
        end = at + 2 + 12 * count;
        if (!file.has(end, 4))
            return -1;
        file.next_directory = file.number(end, 4);
        if (pages == 0)
            break;
        if (file.next_directory == 0)
            return -10;
        if (file.next_directory > std::min(farthest, file.bytes.size()))
            return -1;
    }
    std::uint64_t sum = 0;
    for (at += 2; at < end; at += 12) {
        TIFFEntry entry{
            file.number(at, 2), file.number(at + 2, 2), file.number(at + 4, 4), 1, 0, 0};
        if (entry.type == 0 || entry.type > 13)
            entry = {entry.tag, 0, entry.count, -50, 0, 0};
        if (const int code = find_value(file, at, entry, sum); code < 0)
            entry.status = code;
        file.entries.insert({entry.tag, entry}); // the first of a number
    }
    return 1;
}

// The bits of `mask`, or with none a rational.
std::uint64_t element(const TIFFFile& file, const TIFFEntry& entry, std::uint64_t index,
                      std::uint64_t mask)
{
    const std::uint64_t at = entry.value + index * element_sizes[entry.type];
    const bool rational = entry.type == 5 || entry.type == 10;
    auto above =
        static_cast<std::int64_t>(file.number(at, rational ? 4 : element_sizes[entry.type]));
    auto below = static_cast<std::int64_t>(rational ? file.number(at + 4, 4) : 1);
    if (entry.type == 12) {
        const auto most = static_cast<double>(mask == 0 ? absent : mask);
        const auto value = std::bit_cast<double>(above);
        above = value > 0 ? static_cast<std::int64_t>(std::min(value, most)) : 0;
    }
    if (mask == 0)
        return static_cast<std::uint64_t>(above) << 32 | static_cast<std::uint64_t>(below);
    if (entry.type == 10) {
        above = static_cast<std::int32_t>(above);
        below = static_cast<std::int32_t>(below);
    }
    return below == 0 ? 0 : static_cast<std::uint64_t>(above / below) & mask;
}

void read_attributes(TIFFFile& file)
{
    for (const Members& members : all_members) {
        for (const std::uint64_t tag : members.tags) {
            Numbers& values = file.attributes[tag];
            if (members.single && members.mask > 0)
                values = {members.otherwise};
            const TIFFEntry& entry = file.entries[tag]; // of no elements when there is none
            if (entry.status <= 0)
                file.status.raise(NUV_WARN_INVALID_DATA, "NUV_TIFFTagGetter::get_values()");
            if (entry.status <= 0 || entry.count == 0)
                continue;
            values.resize(members.single ? 1 : entry.count);
            for (std::size_t i = 0; i < values.size(); ++i)
                values[i] = element(file, entry, i, members.mask);
        }
    }
}

std::string color_of(const TIFFFile& file)
{
    const char* gray = any_of(file[compression], 2, 3, 4) ? "gray_reverse" : "gray";
    const char* cmy = file[samples_per_pixel] == 3 ? "cmy" : "cmyk";
    const bool one = file[samples_per_pixel] == 1;
    const char* names[] = {"gray_reverse", gray,      "s_rgb",   "s_rgb",   "gray",   cmy,
                           "ycbcr",        "unknown", "icc_lab", "icc_lab", "itu_lab"};
    const std::uint64_t kind = file[photometric];
    return kind >= std::size(names) ? "unknown" : kind >= 8 && one ? "lstar" : names[kind];
}

std::uint64_t channels_of(const std::string& color)
{
    if (color == "unknown" || color == "cmyk")
        return color == "cmyk" ? 4 : 0;
    return color.starts_with("gray") || color == "lstar" ? 1 : 3;
}

std::string encoding_of(const TIFFFile& file)
{
    const char* group3 = file[t4_options] % 2 == 1 ? "mr" : "mh";
    const char* names[] = {"unknown", "raw",  "mh",      group3, "mmr",      "lzw",
                           "jpeg",    "jpeg", "unknown", "jbig", "jbigcolor"};
    if (file[compression] == 32773)
        return "pack_bits";
    return file[compression] >= std::size(names) ? "unknown" : names[file[compression]];
}

bool is_planar(const TIFFFile& file)
{
    return file[planar_configuration] == 2 && file[samples_per_pixel] > 1;
}

bool is_subsampled(const TIFFFile& file)
{
    const Numbers& factors = file.attributes.at(ycbcr_subsampling);
    return any_of(file[photometric], 6, 9, 10) && factors.size() >= 2 &&
           (factors[0] != 1 || factors[1] != 1);
}

std::uint64_t levels(const TIFFFile& file)
{
    return std::uint64_t{1} << std::min<std::uint64_t>(file[bits_per_sample], 16);
}

void set_defaults(TIFFFile& file)
{
    const auto replace = [&](std::uint64_t tag, std::uint64_t old, std::uint64_t value) {
        if (file[tag] == old)
            file.attributes[tag] = {value};
    };
    replace(samples_per_pixel, 0, 1);
    if (file.attributes[bits_per_sample].empty())
        file.attributes[bits_per_sample].assign(file[samples_per_pixel], 1);
    replace(orientation, 0, 1);
    replace(resolution_unit, absent, 2);
    replace(rows_per_strip, absent, file[image_length]);
}

bool validate(TIFFFile& file)
{
    const auto raise = [&](std::uint32_t code, const char* text) {
        file.status.raise(code, std::string("NUV_TIFFInfo::validate()").append(text));
        return false;
    };
    const auto warn = [&](const char* text) { raise(NUV_WARN_INVALID_DATA, text); };
    const auto fail = [&](const char* text) { return raise(NUV_ERR_INVALID_DATA, text); };
    auto& attributes = file.attributes;

    if (file[image_width] == 0 || file[image_length] == 0 || file[photometric] == absent)
        return fail(" - some MUST tags(ImageWidth, ImageLength, PhotometricInterpretation, etc.) "
                    "don't exist.can't process any more!");
    if (attributes[x_resolution].empty())
        warn(" - no XResolution.");
    if (attributes[y_resolution].empty())
        warn(" - no YResolution.");

    const bool indexed = file[photometric] == 3;
    if (indexed && attributes[color_map].empty())
        return fail(" - not found colormap.");
    if (indexed && attributes[color_map].size() / 3 > levels(file))
        warn(" - too many entries of colormap.");

    const std::uint64_t base = indexed ? 1 : channels_of(color_of(file));
    Numbers& extra = attributes[extra_samples];
    Numbers& bits = attributes[bits_per_sample];
    std::uint64_t& samples = attributes[samples_per_pixel][0];
    if (samples < base)
        return fail(" - invalid SamplesPerPixel.");
    if (samples > base + extra.size()) {
        warn(" - invalid SamplesPerPixel or ExtraSample.");
        samples = bits.size() == base + extra.size() ? bits.size() : samples;
    }
    if (samples != bits.size()) {
        warn(" - invalid BitsPerSample.");
        bits.resize(samples, bits[0]);
    }
    if (samples != base + extra.size()) {
        warn(" - invalid ExtraSamples");
        extra.resize(samples - base, 0);
    }

    const std::uint64_t coding = file[compression];
    if (is_planar(file) && any_of(coding, 2, 3, 4, 6, 7, 9))
        return fail(" - invalid combination of compression and planar-configuration.");

    std::uint64_t& rows = attributes[rows_per_strip][0];
    if (rows > file[image_length]) {
        warn(" - no RowsPerStrip.");
        rows = file[image_length];
    }
    if (rows == 0)
        return fail(" - RowsPerStrip is 0.");
    const std::size_t strips = attributes[strip_offsets].size();
    if (strips < (1 + (file[image_length] - 1) / rows) * (is_planar(file) ? samples : 1))
        return fail(" - not enough # of strips.");
    if (attributes[strip_byte_counts].size() < strips)
        warn(" - no StripByteCounts.");
    attributes[strip_byte_counts].resize(strips, 0);

    Numbers& factors = attributes[ycbcr_subsampling];
    const bool lab = any_of(file[photometric], 9, 10) && samples == 3;
    if (factors.empty() && (file[photometric] == 6 || lab)) {
        factors = {2, 2};
        if (coding == 1 && file[strip_byte_counts] == rows * file[image_width] * 3) {
            factors = {1, 1};
            warn(" - no YCbCrSubSampling.");
        }
    }
    const bool jpeg = any_of(coding, 6, 7);
    if (is_subsampled(file) &&
        (factors[0] == 0 || factors[1] == 0 ||
         (!jpeg && (file[image_width] % factors[0] != 0 || rows % factors[1] != 0))))
        return fail(" - invalid width or height for subsampled image.");

    if (jpeg && !any_of(bits[0], 8, 12))
        return fail(" - invalid BitsPerSample for JPEG.");
    if (coding == 6 && file[jpeg_begin] > file[strip_offsets])
        return fail(" - SOS exists before SOI (JPEG).sorry, now can't read in this case.");
    if (coding == 6 && file[strip_offsets] >= file[jpeg_begin] + file[jpeg_length])
        warn(" - JPEGInterchangeFormatLength's value is not equal to the size of JPEG-Data(marker "
             "+ code). maybe its's equal to size of markers before SOS. but no problem!");
    return true;
}

void describe(TIFFFile& file)
{
    file.bits = file[bits_per_sample];
    file.encoding = encoding_of(file);
    const Numbers& map = file.attributes[color_map];
    file.has_palette = file[photometric] == 3;
    for (std::size_t i = 0; file.has_palette && i < std::min(map.size() / 3, levels(file)); ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            file.palette.push_back(
                static_cast<std::uint8_t>(map[channel * (map.size() / 3) + i] >> 8));
    }
    file.color = file.attributes[extra_samples].empty() ? color_of(file) : "unknown";
    file.channels = file.color == "unknown" ? file[samples_per_pixel]
                    : file.has_palette      ? 1
                                            : channels_of(file.color);
    const std::uint64_t unit = file[resolution_unit];
    file.resolution_unit = unit == 2 ? 1 : unit == 3 ? 3 : 0;
    for (const std::uint64_t tag : {x_resolution, y_resolution}) {
        const Numbers& stored = file.attributes[tag];
        const std::uint64_t rational = stored.empty() ? 1 : stored[0];
        const auto below = static_cast<double>(rational & absent);
        file.resolution[tag - x_resolution] = below == 0
                                                  ? std::numeric_limits<double>::max()
                                                  : static_cast<double>(rational >> 32) / below;
    }
}

void load(TIFFFile& file, std::uint64_t at, std::uint32_t page)
{
    const char* words = "NUV_TIFFImageFileDirectory::load()";
    if (at > std::min(farthest, file.bytes.size()))
        return file.status.raise(NUV_ERR_IO, words);
    const int code = read_directory(file, at, page);
    if (code < 0)
        return raise_structure(file.status, code, words);
    if (file.next_directory > farthest) {
        file.next_directory = 0;
        file.status.raise(NUV_ERR_BROKEN_DATA,
                          "NUV_TIFFImageFileDirectory::next_ifd_offset() - invalid offset");
    }
    read_attributes(file);
    set_defaults(file);
    file.loaded = validate(file);
    if (file.loaded)
        describe(file);
}

void warn_of_reader(const TIFFFile& file, Status& status, const std::string& reader)
{
    if (file[planar_configuration] == 2 && file[samples_per_pixel] == 1)
        status.raise(NUV_WARN_INVALID_DATA,
                     reader + "::check_src_condition()- plane-order but samples-per-pixel == 1.");
    if (!file.attributes.at(sub_ifds).empty())
        status.raise(NUV_WARN_UNSUPPORTED,
                     reader + "::check_src_condition() - SubIFD(child images) is not supported. In "
                              "this cace, you can get only primary image.");
}

bool is_readable(const TIFFFile& file)
{
    const std::uint64_t coding = file[compression];
    const Numbers& bits = file.attributes.at(bits_per_sample);
    const bool jpeg = any_of(coding, 6, 7);
    bool good = any_of(coding, 1, 2, 3, 4, 6, 7, 32773) &&
                any_of(file[photometric], 0, 1, 2, 3, 4, 5, 6, 8, 9, 10) &&
                any_of(bits[0], 1, 4, 8, 16) &&
                std::set<std::uint64_t>(bits.begin(), bits.end()).size() == 1 &&
                file[tile_width] == 0 && (!jpeg || any_of(file.channels, 1, 3, 4));
    good = good && !(coding == 3 && (file[t4_options] & 2) != 0) &&
           !(coding == 4 && (file[t6_options] & 2) != 0) &&
           !(coding == 32773 && !file.little && bits[0] > 8) &&
           !(coding == 6 && file[jpeg_begin] == 0);
    if (!is_subsampled(file))
        return good;
    const Numbers& factors = file.attributes.at(ycbcr_subsampling);
    return good && (coding == 1 || jpeg) && factors[1] <= 2 &&
           any_of(factors[0] * 10 + factors[1], 21, 22, 41) &&
           !(is_planar(file) && file[image_length] % factors[1] != 0);
}

// As much as there is of `size` bytes, or all.
Bytes stored(const TIFFFile& file, std::size_t strip, std::uint64_t size)
{
    const auto rest = file.bytes.subspan(file.attributes.at(strip_offsets)[strip]);
    const auto part = rest.first(std::min<std::uint64_t>(size, rest.size()));
    Bytes bytes(part.begin(), part.end());
    for (std::size_t i = 0; file[fill_order] == 2 && i < bytes.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit)
            bytes[i] = static_cast<std::uint8_t>(bytes[i] << 1 | (part[i] >> bit & 1));
    }
    return bytes;
}

bool is_reached(const TIFFFile& file, std::size_t strip)
{
    return file.attributes.at(strip_offsets)[strip] <= std::min(farthest, file.bytes.size());
}

// The strips one behind the other, as far as there is no gap.
Bytes joined(const TIFFFile& file, std::uint64_t line)
{
    Bytes stream;
    std::uint64_t left = file[image_length];
    const Numbers& counts = file.attributes.at(strip_byte_counts);
    for (std::size_t strip = 0; strip < counts.size() && is_reached(file, strip); ++strip) {
        const std::uint64_t rows = std::min(left, file[rows_per_strip]);
        const std::uint64_t size = file[compression] == 1 ? rows * line : counts[strip];
        const Bytes bytes = stored(file, strip, size);
        stream.insert(stream.end(), bytes.begin(), bytes.end());
        if (bytes.size() < size)
            break;
        left -= rows;
    }
    return stream;
}

} // namespace

std::uint64_t TIFFFile::number(std::uint64_t at, std::uint64_t size) const
{
    std::uint64_t value = 0;
    for (std::uint64_t i = 0; i < size; ++i)
        value = value << 8 | bytes[at + (little ? size - 1 - i : i)];
    return value;
}

bool TIFFFile::has(std::uint64_t at, std::uint64_t size) const
{
    return at + size <= bytes.size();
}

TIFFFile load_tiff(std::span<const std::uint8_t> bytes, std::uint32_t page,
                   std::optional<std::uint32_t> directory)
{
    TIFFFile file;
    file.bytes = bytes;
    const std::uint64_t order = file.has(0, 2) ? file.number(0, 2) : 0;
    file.little = order != 0x4D4D;
    if (directory)
        load(file, *directory, page);
    else if (file.has(0, 2) && order != 0x4949 && order != 0x4D4D)
        return file; // in silence
    else if (!file.has(0, 8))
        raise_structure(file.status, -1, "NUV_TIFFImageFileHeaderload()");
    else if (file.number(4, 4) > farthest)
        file.status.raise(NUV_ERR_BROKEN_DATA, "NUV_TIFFImageFileHeader::load() - invalid offset");
    else
        load(file, file.number(4, 4), page);
    return file;
}

TIFFPicture read_tiff(const TIFFFile& file)
{
    TIFFPicture picture;
    picture.status = file.status;
    const auto refuse = [&](std::uint32_t code, const char* text) {
        picture.status.raise(code, text);
        return picture;
    };
    const auto unknown = [&] {
        picture.known = false;
        return picture;
    };
    if (is_error(file.status.code))
        return picture; // nothing is built on an error
    const bool valid = file.has_palette
                           ? file.channels == 1 && !file.palette.empty() && file.bits < 32
                           : file.channels > 0;
    if (!valid || !any_of(file.bits, 1, 2, 4, 8, 16, 32))
        return refuse(NUV_ERR_ARGUMENT, "NUV_ReadTIFF::check()");
    warn_of_reader(file, picture.status, "NUV_ReadTIFF");
    if (!is_readable(file))
        return refuse(NUV_ERR_UNSUPPORTED, "NUV_ReadTIFF::check()");

    const bool raw = file[compression] == 1;
    const bool planar = is_planar(file);
    const bool subsampled = is_subsampled(file);
    const bool groups = subsampled && !planar; // of luma samples, each with its two of chroma
    const Numbers factors = subsampled ? file.attributes.at(ycbcr_subsampling) : Numbers{1, 1};
    const std::uint64_t width = file[image_width];
    const std::uint64_t height = file[image_length];
    const std::uint64_t luma = factors[0] * factors[1];
    const auto line_bytes = [&](std::uint64_t plane) {
        const std::uint64_t narrow = width / (plane > 0 ? factors[0] : 1);
        return groups ? width / factors[0] * (luma + 2)
                      : ((planar ? 1 : file.channels) * file.bits * narrow + 7) / 8;
    };
    const std::uint64_t line_bits = file.channels * file.bits * width; // sizes have 32 bits
    if ((!raw && file[compression] != 32773) || line_bits > absent - 7 ||
        line_bytes(0) * height > farthest)
        return unknown();

    std::uint64_t rows = file[rows_per_strip];
    const std::uint64_t planes = planar ? file.channels : 1;
    const Numbers& counts = file.attributes.at(strip_byte_counts);
    auto& strips = picture.strips;
    const bool small = width * file.channels * height <= 1 << 22;
    if (file[planar_configuration] != 2 && !subsampled &&
        std::find(counts.begin(), counts.end(), 0U) == counts.end()) {
        if (!is_reached(file, 0))
            return refuse(NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::initiate()");
        if (!small)
            return unknown();
        strips = {joined(file, line_bytes(0))};
        rows = height;
    } else {
        const std::uint64_t needed = planes * (1 + (height - 1) / rows);
        warn_of_reader(file, picture.status, "NUV_ReadTIFFCode");
        if (needed > 131072)
            return refuse(NUV_ERR_UNSUPPORTED, "NUV_ReadTIFFCode::engine()");
        for (std::size_t strip = 0; strip < needed; ++strip) {
            if (!is_reached(file, strip))
                return refuse(NUV_ERR_IO, "NUV_ReadTIFFCode::create_engine()");
        }
        if (groups && (file.bits != 8 || file.channels != 3))
            return refuse(NUV_ERR_UNSUPPORTED, file.bits == 4
                                                   ? "NUV_ProcessLineToLineEngine::initiate()"
                                                   : "NUV_UpsampleChromaEngine::initiate()");
        if (!small)
            return unknown();
        for (std::size_t strip = 0; strip < needed; ++strip)
            strips.push_back(stored(file, strip,
                                    raw                  ? line_bytes(0) * rows
                                    : counts[strip] == 0 ? farthest
                                                         : counts[strip]));
    }

    picture.built = true;
    picture.color = color_of(file);
    picture.channels = file.has_palette ? 1 : channels_of(picture.color);
    picture.bits = file.bits == 4 ? 8 : file.bits;
    const bool lab = file[photometric] == 8 && file.channels == 3 && picture.bits >= 8;
    for (std::size_t strip = 0; !raw && strip < strips.size(); ++strip)
        strips[strip] = pack_bits(strips[strip], static_cast<std::uint32_t>(line_bytes(0)),
                                  static_cast<std::uint32_t>(rows))
                            .bytes;
    for (std::uint64_t y = 0; y < height; ++y) {
        Numbers line;
        for (std::uint64_t x = 0; x < width * file.channels; ++x) {
            const std::uint64_t channel = x % file.channels;
            const std::uint64_t pixel = x / file.channels;
            const std::uint64_t plane = planar ? channel : 0;
            const auto& bytes = strips[plane * (strips.size() / planes) + y / rows];
            const std::uint64_t row = y % rows / (groups || plane > 0 ? factors[1] : 1);
            const bool there = (row + 1) * line_bytes(plane) <= bytes.size();
            if (!there && channel < picture.channels)
                return refuse(NUV_ERR_BROKEN_DATA, groups ? "NUV_UpsampleChromaEngine::execute()"
                                                   : raw  ? "NUV_ReadStorageEngine::execute()"
                                                          : "NUV_DecodePackBitsEngine::execute()");
            const std::uint64_t inside = y % factors[1] * factors[0] + pixel % factors[0];
            const std::uint64_t index = groups ? pixel / factors[0] * (luma + 2) +
                                                     (channel == 0 ? inside : luma - 1 + channel)
                                        : planar ? pixel / (plane > 0 ? factors[0] : 1)
                                                 : x;
            std::uint64_t sample = there ? sample_at(bytes.data() + row * line_bytes(plane),
                                                     file.bits, index, file.little)
                                         : 0;
            sample *= file.bits == 4 && !file.has_palette ? 17 : 1;
            line.push_back(lab && channel > 0 ? sample ^ 1U << (picture.bits - 1) : sample);
        }
        picture.lines.push_back(line);
    }
    return picture;
}

std::uint64_t sample_at(const std::uint8_t* line, std::uint64_t bits, std::uint64_t index,
                        bool little)
{
    const std::uint8_t* byte = line + index * bits / 8;
    if (bits == 16)
        return byte[little ? 0 : 1] | unsigned{byte[little ? 1 : 0]} << 8;
    return byte[0] >> (8 - bits - index * bits % 8) & ((1U << bits) - 1);
}

} // namespace nuv::model
