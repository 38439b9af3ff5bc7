#include "core/jpeg/nuv_encodejpeg.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "tests/support/nuv_checksum.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

// What the tests of JPEG compare with other programs, held by sums: the same with every compiler,
// at every optimisation, at every level of processors.

namespace nuv {
namespace {

using Color = NUV_ColorType;

constexpr std::int32_t as_stored = 0; // one of the scales

void add_decoded(NUV_Checksum& sum, const Bytes& stream, const NUV_Cpu& cpu, std::int32_t scale)
{
    NUV_TestChain chain(cpu);
    const NUV_TestStored stored(chain.manager(), stream);
    chain.last(scale == as_stored ? NUV_ReadRasterEx(chain.manager()).engine(stored.storage(), 0)
                                  : NUV_ReadJPEG(chain.manager()).engine(stored.storage(), scale));
    sum.add(chain.run_bytes());
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK) << chain.status().method;
}

template <class Writer, class Option>
Bytes encoded(const NUV_TestImage& image, const Bytes& samples, Option option, const NUV_Cpu& cpu)
{
    NUV_TestChain chain(cpu);
    const auto stored = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 10000);
    chain.source_bytes(image, samples);
    EXPECT_TRUE(chain.append<Writer>(stored.get(), &option)) << chain.status().method;
    chain.run_writer();
    const NUV_Held<NUV_InputStorage> written(stored->create_input_storage());
    Bytes stream(static_cast<std::size_t>(written->size()));
    EXPECT_EQ(written->read(stream.data(), written->size()), written->size());
    return stream;
}

struct Coded {
    std::uint32_t sampling; // none for lossless
    NUV_TestImage image;
    std::uint64_t sum;
};

// The stream of ramps with grain, and what is read of it.
void add_coded(NUV_Checksum& sum, const Coded& row, const NUV_Cpu& cpu)
{
    NUV_TestImage image = row.image;
    image.width = 301;
    image.height = 45;
    const std::size_t bytes = std::size_t{image.channels} * image.bits / 8; // of a pixel
    Bytes samples = random_samples<std::uint8_t>(bytes * image.width * image.height, 5);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] =
            static_cast<std::uint8_t>(samples[i] % 16 + i / bytes % image.width * (i % bytes + 1));
    for (const bool is_fine : {false, true}) {
        const Bytes stream =
            row.sampling == 0
                ? encoded<NUV_WriteLosslessJPEG>(image, samples,
                                                 NUV_WriteLosslessJPEGOption(is_fine, 0), cpu)
                : encoded<NUV_WriteJPEG>(
                      image, samples, NUV_WriteJPEGOption(is_fine ? 95 : 60, row.sampling, 0), cpu);
        sum.add(stream);
        add_decoded(sum, stream, cpu, as_stored);
        for (std::int32_t scale = 128; scale >= 32 && row.sampling != 0; scale /= 2)
            add_decoded(sum, stream, cpu, scale);
    }
}

// The sum of what `add` adds at each level.
void expect_sum(std::uint64_t wanted, const std::string& name,
                const std::function<void(NUV_Checksum&, const NUV_Cpu&)>& add)
{
    for (const NUV_TestLevel& level : test_levels) {
        if (!level.runs_here())
            continue;
        NUV_Checksum sum;
        add(sum, level.cpu);
        EXPECT_EQ(sum.value(), wanted) << name << ", " << level.name;
    }
}

TEST(CodecSums, OfFiles)
{
    // clang-format off
    const std::pair<std::string, std::uint64_t> files[] = {
        {"gray", 0xD17342B519A93621}, {"444", 0x35CC3C14775FB8D5}, {"420_odd", 0x52E79BEB47E1FDDE},
        {"422_restarts", 0x5C8577DBB6259FA4}, {"411", 0x5C7FDC24FD6174A8}, {"adobe_cmyk", 0x232BC29D23FAE19C},
        {"progressive_restarts", 0x71CDA2326FCB856E}, {"progressive_intervals", 0xBB606CBEA6AD71E9}, {"lossless_8_4", 0x146A8D7D4C2B09DC},
        {"lossless_12_6", 0x5588A9D92ECA85ED}, {"lossless_16_7", 0x074D6FFF43B041CD}, {"lossless_rgb", 0x21288095F45B138F},
    };
    // clang-format on
    for (const auto& [name, sum] : files)
        expect_sum(sum, name, [&name = name](NUV_Checksum& to, const NUV_Cpu& cpu) {
            add_decoded(to, test_data("jpeg/" + name + ".jpg"), cpu, as_stored);
        });
}

TEST(CodecSums, OfWhatIsWritten)
{
    // clang-format off
    const Coded rows[] = {
        {0x111111, {.color_type = Color::gray}, 0x3418EA351C8F9633},
        {0x111111, {.channels = 3, .color_type = Color::s_rgb}, 0x16110BA705716245},
        {0x211111, {.channels = 3, .color_type = Color::s_rgb}, 0x80623041145F1027},
        {0x221111, {.channels = 3, .color_type = Color::s_rgb}, 0x3CBA6B63D72F4BD1},
        {0x221111, {.channels = 3, .color_type = Color::ycbcr}, 0xC15935BCA73A867A},
        {0x411111, {.channels = 3, .color_type = Color::s_rgb}, 0xD651D7ECFE18A129},
        {0, {.color_type = Color::gray}, 0x5CEC66BBB21F29F4},
        {0, {.bits = 16, .color_type = Color::gray}, 0xFE0A938A7735CF3F},
        {0, {.channels = 3, .color_type = Color::s_rgb}, 0x69D07B2FE40539D0},
        {0, {.channels = 3, .bits = 16, .color_type = Color::s_rgb}, 0x4C9C4A78E2C25F1B},
    };
    // clang-format on
    for (std::size_t i = 0; i < std::size(rows); ++i)
        expect_sum(rows[i].sum, std::to_string(i),
                   [&](NUV_Checksum& sum, const NUV_Cpu& cpu) { add_coded(sum, rows[i], cpu); });
}

} // namespace
} // namespace nuv
