#pragma once

// Pictures, the reference coder, and the tools to look at streams.

#include "core/jpeg/decode/nuv_jpegdecoder.h"
#include "core/jpeg/source/nuv_jpegstorageaccess.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <numbers>
#include <ostream>

namespace nuv {

// The first `count` bytes of a stream, which has as many.
inline Bytes first_bytes(const Bytes& bytes, std::size_t count)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

// The stream without the bytes from `from` to `to`.
inline Bytes cut(Bytes stream, std::size_t from, std::size_t to)
{
    stream.erase(stream.begin() + static_cast<std::ptrdiff_t>(from),
                 stream.begin() + static_cast<std::ptrdiff_t>(to));
    return stream;
}

// Where the markers of this kind stand.
inline std::vector<std::size_t> places_of(const Bytes& stream, std::uint8_t marker)
{
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i + 1 < stream.size(); ++i) {
        if (stream[i] == 0xFF && stream[i + 1] == marker)
            places.push_back(i);
    }
    return places;
}

// What this processor can run, from the portable forms up.
inline std::vector<NUV_TestLevel> jpeg_levels()
{
    std::vector<NUV_TestLevel> levels(std::begin(test_levels), std::end(test_levels));
    std::erase_if(levels, [](const NUV_TestLevel& level) { return !level.runs_here(); });
    return levels;
}

// 8-bit samples, those of a pixel together.
struct JPEGTestPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t channels = 0;
    Bytes samples;

    [[nodiscard]] std::size_t line_bytes() const { return std::size_t{width} * channels; }
    [[nodiscard]] std::uint8_t at(std::size_t x, std::size_t y, std::size_t channel) const
    {
        return samples[(y * width + x) * channels + channel];
    }
};

// `sample` gives the one at (x, y) of a channel.
inline JPEGTestPicture make_test_picture(
    std::uint32_t width, std::uint32_t height, std::uint32_t channels,
    const std::function<std::uint32_t(std::uint32_t, std::uint32_t, std::uint32_t)>& sample)
{
    JPEGTestPicture picture{width, height, channels, {}};
    for (std::uint32_t i = 0; i < width * height * channels; ++i)
        picture.samples.push_back(static_cast<std::uint8_t>(
            sample(i / channels % width, i / channels / width, i % channels)));
    return picture;
}

// Something of every frequency, of which no two blocks are equal.
inline JPEGTestPicture busy_picture(std::uint32_t width, std::uint32_t height,
                                    std::uint32_t channels)
{
    return make_test_picture(width, height, channels, [](auto x, auto y, auto channel) {
        return (x * 3 + y * 5 + channel * 40 + ((x * x + y * 7 * (channel + 1)) % 31) * 3) & 0xFFU;
    });
}

// The cosine transform of `side` points, T.81, A.3.3, by its formula.
inline double jpeg_cosine(std::size_t frequency, std::size_t place, std::size_t side = 8)
{
    const double angle = static_cast<double>((2 * place + 1) * frequency) * std::numbers::pi;
    return (frequency == 0 ? std::numbers::sqrt2 / 4 : 0.5) *
           std::cos(angle / static_cast<double>(2 * side));
}

// A stream taken apart: the segments up to SOS, and the markers in what follows.
struct JPEGTestSegments {
    struct Segment {
        std::uint8_t id;
        std::size_t position; // of the payload
        Bytes payload;
    };
    std::vector<Segment> segments;
    std::vector<std::size_t> scan_markers; // where their 0xFF stand
    std::size_t scan_position = 2;

    explicit JPEGTestSegments(const Bytes& stream)
    {
        std::size_t& at = scan_position; // behind SOI
        while (at + 4 <= stream.size() && (segments.empty() || segments.back().id != 0xDA)) {
            const std::size_t end = at + 2 + (std::size_t{stream[at + 2]} << 8 | stream[at + 3]);
            const auto begin = stream.begin();
            segments.push_back({stream[at + 1],
                                at + 4,
                                {begin + static_cast<std::ptrdiff_t>(at) + 4,
                                 begin + static_cast<std::ptrdiff_t>(end)}});
            at = end;
        }
        for (std::size_t i = at; i + 1 < stream.size(); ++i) {
            if (stream[i] == 0xFF && stream[i + 1] != 0)
                scan_markers.push_back(i);
        }
    }

    [[nodiscard]] Bytes ids() const
    {
        Bytes ids;
        for (const Segment& segment : segments)
            ids.push_back(segment.id);
        return ids;
    }
    // Nothing at 0 when there is none.
    [[nodiscard]] Segment find(std::uint8_t id) const
    {
        const auto found = std::ranges::find(segments, id, &Segment::id);
        return found == segments.end() ? Segment{id, 0, {}} : *found;
    }
    [[nodiscard]] Bytes payload(std::uint8_t id) const { return find(id).payload; }
};

struct JPEGDecoded {
    NUV_JPEGCode header = NUV_JPEGCode::good;
    NUV_JPEGCode start = NUV_JPEGCode::good;
    NUV_JPEGCode lines = NUV_JPEGCode::good; // the worst of all: a failure, or a warning
    std::vector<NUV_JPEGCode> codes;         // of each line
    std::vector<std::uint32_t> left_over;    // lines that take_left_over() has told
    JPEGTestPicture picture;                 // 16-bit samples take two of its samples each

    [[nodiscard]] bool is_clean() const
    {
        return is_good(header) && is_good(start) && is_good(lines) && left_over.empty();
    }
    // All lines came, and each with a warning or each without.
    [[nodiscard]] bool is_shown(NUV_JPEGCode code) const
    {
        return codes.size() == picture.height && std::ranges::count(codes, code) == picture.height;
    }
};

inline std::ostream& operator<<(std::ostream& out, NUV_JPEGCode code)
{
    return out << static_cast<int>(code);
}

inline void as_it_is(NUV_JPEGDecoder&) {}

inline constexpr std::int32_t whole = std::numeric_limits<std::int32_t>::max();

// Out of a storage that gives no more than `chunk` bytes in one read.
inline JPEGDecoded decode_stream(const Bytes& stream, std::int32_t chunk = whole,
                                 const std::function<void(NUV_JPEGDecoder&)>& prepare = as_it_is,
                                 const NUV_Cpu& cpu = NUV_Cpu::current())
{
    static std::int32_t most;
    most = chunk;
    NUV_TestChain memory; // which looks for leaks
    const NUV_TestStored stored(memory.manager(), stream);
    NUV_JPEGSource source = jpeg_source_of(stored.storage());
    source.read = [](void* from, std::uint8_t* into, std::int32_t count) {
        return static_cast<NUV_InputStorage*>(from)->read(into, std::min(count, most));
    };
    JPEGDecoded decoded;
    NUV_JPEGDecoder decoder;
    EXPECT_TRUE(is_good(decoder.open(jpeg_allocator_of(memory.manager()), source, cpu)));
    decoded.header = decoder.read_header(nullptr);
    prepare(decoder);
    if (is_good(decoded.header))
        decoded.start = decoder.start_decode();
    if (!decoded.is_clean())
        return decoded;
    JPEGTestPicture& picture = decoded.picture;
    picture.width = decoder.width();
    picture.height = decoder.height();
    picture.channels = static_cast<std::uint32_t>(decoder.components() * decoder.sample_bytes());
    Bytes line(picture.line_bytes());
    for (std::uint32_t y = 0; y < picture.height && !is_failure(decoded.lines); ++y) {
        const NUV_JPEGCode code = decoded.codes.emplace_back(decoder.read_line(line.data()));
        if (!is_good(code))
            decoded.lines = code;
        if (const auto first = decoder.take_left_over())
            decoded.left_over.push_back(*first);
        if (!is_failure(code))
            picture.samples.insert(picture.samples.end(), line.begin(), line.end());
    }
    return decoded;
}

// The reference coder, libjpeg, with everything that is left to a decoder's taste switched off, so
// that its samples are those that T.81 and its own integer transform give.

// How the reference encodes. The samples of the picture are coded as they are, as components.
struct JPEGReferenceSettings {
    int quality = 75;
    std::uint32_t key = 0x111111; // a byte for each component
    bool is_progressive = false;
    int restart_interval = 0; // MCUs
    int restart_rows = 0;     // MCU rows, when the interval is 0
    bool optimises = false;
    // The components of each scan, as "0 1;2", and of a progressive one its band and its bits
    // behind a colon, as "0: 1 63 0 2". Empty for one scan, or the reference's own progression.
    std::string scans = {};
    int adobe_transform = -1; // below 0 for no Adobe segment
};

[[nodiscard]] Bytes encode_by_reference(const JPEGTestPicture& picture,
                                        const JPEGReferenceSettings& settings);

// The decoded components without any change of colour. Nothing when there is anything to complain
// of.
[[nodiscard]] std::optional<JPEGTestPicture> decode_by_reference(const Bytes& stream);

// The dequantised coefficients of one component, block by block and each in natural order.
struct JPEGReferencePlane {
    std::uint32_t blocks_across = 0;
    std::array<std::int32_t, 64> quantisers{};
    std::vector<std::array<std::int32_t, 64>> blocks;
};

// Empty when the reference has anything to complain of.
[[nodiscard]] std::vector<JPEGReferencePlane> coefficients_by_reference(const Bytes& stream);

} // namespace nuv
