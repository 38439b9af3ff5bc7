#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/tiff/nuv_readtiff.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/core/ccitt/nuv_faxjob.h"
#include "tests/support/nuv_faxpage.h"
#include "tests/support/nuv_refusals.h"

#include <typeinfo>

namespace nuv {
namespace {

using model::FaxCoding;

Bytes read(NUV_TestChain& chain, const Bytes& file, bool to_runs)
{
    const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
        chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
    if (storage)
        chain.last(NUV_ReadTIFF(chain.manager()).engine(storage.get(), 0U, to_runs));
    chain.append<NUV_DecodeQDRLE>();
    return chain.run_bytes();
}

// Each byte is like the one above, or else goes on with the colour on its left, or else is any: one
// in `calm` and one in `plain` of them are not.
NUV_FaxPage drawn_page(std::uint32_t width, std::size_t calm, std::size_t plain,
                       std::mt19937& random)
{
    const auto height = static_cast<std::uint32_t>(width > 5000 ? 3 : 12 + random() % 32);
    NUV_FaxPage page{width, height, static_cast<std::uint32_t>(1 + random() % height)};
    const std::size_t line_bytes = page.line_bytes();
    for (std::size_t i = 0; i < page.bits.size(); ++i) {
        const unsigned left = i % line_bytes > 0 && (page.bits[i - 1] & 1) != 0 ? 0xFF : 0;
        page.bits[i] = static_cast<std::uint8_t>(random() % plain != 0 ? left : random());
        if (i >= line_bytes && random() % calm != 0)
            page.bits[i] = page.bits[i - line_bytes];
        if ((i + 1) % line_bytes == 0 && width % 8 != 0)
            page.bits[i] &= static_cast<std::uint8_t>(0xFF00 >> width % 8);
    }
    return page;
}

TEST(FaxDecoders, ReadWhatLibtiffWrites)
{
    constexpr std::uint32_t t4 = COMPRESSION_CCITTFAX3;
    constexpr std::uint32_t fill = GROUP3OPT_FILLBITS;
    constexpr std::uint32_t two = GROUP3OPT_2DENCODING;
    const NUV_FaxForm forms[] = {
        {COMPRESSION_CCITTRLE}, {t4},          {t4, fill},      {t4, two},
        {t4, two | fill},       {t4, 0, true}, {t4, two, true}, {COMPRESSION_CCITTFAX4}};
    std::mt19937 random(1);
    std::vector<std::uint32_t> widths = {1728, 2560, 2561, 4960, 65535, 65537, 1000000};
    for (std::uint32_t width = 1; width <= 70; ++width)
        widths.push_back(width);
    for (const std::uint32_t width : widths) {
        for (const NUV_FaxForm& form : forms) {
            const auto page = drawn_page(width, std::size_t{1} << random() % 8,
                                         std::size_t{1} << random() % 8, random);
            const bool is_plane = random() % 2 == 0; // of one sample, with a warning
            const auto file =
                page.file(form, random() % 2 == 0 ? "wl" : "wb", 1 + random() % 2, is_plane);
            for (const bool to_runs : {false, true}) {
                NUV_TestChain chain;
                EXPECT_TRUE(read(chain, file, to_runs) == page.bits)
                    << &form - forms << ", " << width;
                EXPECT_EQ(chain.status().code, is_plane ? NUV_WARN_INVALID_DATA : NUV_STATUS_OK);
                if (width == 65537)
                    expect_clean_at_every_allocation([&](NUV_TestChain& failing) {
                        static_cast<void>(read(failing, file, to_runs));
                    });
            }
        }
    }
}

// Bits as they are written, in words.
Bytes coded(std::string words)
{
    std::erase(words, ' ');
    Bytes bytes((words.size() + 7) / 8);
    for (std::size_t i = 0; i < words.size(); ++i)
        bytes[i / 8] |= static_cast<std::uint8_t>(words[i] == '1' ? 128U >> i % 8 : 0);
    return bytes;
}

#define EOL "000000000001 "

TEST(FaxDecoders, GiveTheseLines)
{
    // clang-format off
    const struct {
        const char* what;
        FaxCoding coding;
        std::uint32_t width;
        const char* words;
        const char* lines; // runs, and the code behind each line
        bool has_eols = true;
    } cases[] = {
        {"runs that touch", FaxCoding::mh, 4, "00110101 010 00110101 010 00110101 010 00110101 010", "0-3 :1 ", false},
        {"black beyond the width", FaxCoding::mh, 3, "0111 11 010", ":12 ", false},
        {"white beyond the width", FaxCoding::mh, 2, "1000", ":12 ", false},
        {"a bad code behind make-up codes", FaxCoding::mh, 300, "00110101 000000011111 000000011111 000000011111 000000011111 0000000000000000", "0-240 :10 :10 ", false},
        {"lines without EOL", FaxCoding::mh, 4, "1011" EOL "1011", ":1 :1 "},
        {"an EOL within a line", FaxCoding::mh, 4, EOL "000111 010" EOL "1011", "1-1 :10 :1 "},
        {"much fill", FaxCoding::mh, 4, "00000000000000000000000000" EOL "1011 00000" EOL "0111 11", ":1 2-3 :1 "},
        {"any 1 behind 11 bits unseen is an EOL", FaxCoding::mh, 4, EOL "000111 010 0000 0000 1111 0000" EOL "0111 11", "1-1 :12 :10 2-3 :1 "},
        {"four EOLs behind a line end the page", FaxCoding::mh, 4, EOL "1011" EOL EOL EOL EOL "1011", ":1 :11 :11 "},
        {"three do not", FaxCoding::mh, 4, EOL "1011" EOL EOL EOL "0111 11", ":1 :10 2-3 :1 "},
        {"fill before both kinds of lines", FaxCoding::mr, 4, "000" EOL "1 0111 11 0000" EOL "0 11", "2-3 :1 2-3 :1 "},
        {"to the next one-dimensional line", FaxCoding::mr, 4, EOL "1 000111 010 0111" EOL "0 0000001" EOL "0 111" EOL "1 0111 11", "1-1 :1 :12 2-3 :1 "},
        {"six EOLs with tags", FaxCoding::mr, 4, EOL "1 1011" EOL "1" EOL "1" EOL "1" EOL "1", ":1 :11 :11 "},
        {"no EOL at first", FaxCoding::mr, 4, "0111 11" EOL "0 1" EOL "1 0111 11", ":12 2-3 :1 "},
        {"left of the first column", FaxCoding::mmr, 4, "001 00110101 11 1  010  1 1 1", "0-1 :1 :12 0-1 :1 "},
        {"white up to the width takes both runs", FaxCoding::mmr, 4, "001 1011 0000110111  001 000111 010 1", ":1 1-1 :1 "},
        {"pass to the width loses the open run", FaxCoding::mmr, 6, "001 000111 010 001 000111 010 1  1 0001 0001  1 1 1 1 1", "1-1 3-3 :1 :1 "},
        {"3 to the left, 3 to the right", FaxCoding::mmr, 8, "001 1000 010 001 1000 010  0000010 0000011 1", "3-3 7-7 :1 0-6 :1 "},
        {"a run that is cut", FaxCoding::mmr, 3, "001 000111 011", "1-2 :12 "},
        {"an end of the page in a row", FaxCoding::mmr, 4, "1  0001" EOL EOL, ":1 "},
        {"the end of a page", FaxCoding::mmr, 4, "1" EOL EOL, ":1 :11 :11 "},
    };
    // clang-format on
    for (const auto& one : cases) {
        NUV_FaxJob job = {coded(one.words), one.coding, {{}, one.has_eols}, one.width, 5};
        model::FaxModel plain{job.data, {}, job.coding, job.option, job.width};
        std::string lines;
        while (lines.size() < std::strlen(one.lines)) {
            plain.decode();
            for (const auto& [start, end] : plain.runs)
                lines += std::to_string(start) + "-" + std::to_string(end) + " ";
            lines += ":" + std::to_string(plain.code) + " ";
        }
        EXPECT_EQ(lines, one.lines) << one.what;
        EXPECT_TRUE(is_decoded_alike(job)) << one.what;
    }
}

TEST(FaxDecoders, TakeNoHarmFromEndlessMakeUpCodes)
{
    NUV_FaxJob job = {coded("00110101"), FaxCoding::mh, {{}, false}, 3000, 2};
    for (int i = 0; i < 250000; ++i)
        job.data.insert(job.data.end(), {0x01, 0xF0, 0x1F}); // two of 2560 pixels
    EXPECT_TRUE(is_decoded_alike(job));
}

// Runs and the reference line outgrow the memory that both begin with.
TEST(FaxDecoders, TakeMoreMemoryForLinesOfManyRuns)
{
    std::string words;
    for (int run = 0; run < 35000; ++run)
        words += "001 000111 010 ";
    const auto data = coded(words + std::string(140000, '1'));
    const Bytes page(26250, 0x55);
    expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
        chain.source_bytes({70000, 3, 1, 1, NUV_DataType::u_integer, NUV_EncodeType::mmr}, data);
        EXPECT_TRUE((chain.append<NUV_DecodeMMR>() && chain.run_bytes() == page) ||
                    chain.status().code == NUV_ERR_MEMORY);
    });
}

// Has what it is told last, and wants no more.
struct NUV_FaxListener final : QDCCITTDecoder::ReportHandler {
    bool report(const QDCCITTBase::Status& status) override
    {
        heard = status.message().data();
        return false;
    }

    std::string heard;
};

TEST(FaxDecoders, TellWhatTheyMeet)
{
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {EOL "1011", ""},
        {EOL "000111 010" EOL, "unexpected EOL or unexpected End of Data(Data Stream Error) around 3th pixel in 1th line."},
        {EOL EOL EOL EOL, "unexpected RTC or EOB around 1th pixel in 1th line."},
        {EOL "1111" EOL, "bad code recoverable by EOL around 1th pixel in 1th line."},
    };
    // clang-format on
    for (const auto& [words, message] : cases) {
        const NUV_FaxJob job{.data = coded(words)};
        NUV_FaxListener listener;
        for (const bool listens : {false, true}) {
            NUV_FaxStream stream(job);
            QDMHDecoder decoder(&stream, 4, 1, nullptr, &stream, listens ? &listener : nullptr);
            unsigned char line = 0xFF;
            EXPECT_EQ(decoder.decode(&line), !listens || *message == 0);
            EXPECT_STREQ(decoder.status().message().data(), message);
            EXPECT_EQ(listener.heard, listens ? message : "");
            EXPECT_FALSE(decoder.decode(&line));
            EXPECT_EQ(decoder.status().code(), QDCCITTBase::Code::out_of_turn);
        }
    }
    QDMHOption option;
    option.uncompressed_mode = true;
    NUV_FaxStream stream({});
    // clang-format off
    EXPECT_EQ(QDMHDecoder(&stream, 1, 1, &option, &stream, nullptr).status().code(), QDCCITTBase::Code::unsupported);
    EXPECT_EQ(QDMHDecoder(nullptr, 1, 1, nullptr, &stream, nullptr).status().code(), QDCCITTBase::Code::bad_argument);
    EXPECT_EQ(QDMRDecoder(&stream, 0, 1, nullptr, &stream, nullptr).status().code(), QDCCITTBase::Code::bad_argument);
    EXPECT_EQ(QDMMRDecoder(&stream, 1, 0, nullptr, &stream, nullptr).status().code(), QDCCITTBase::Code::bad_argument);
    EXPECT_EQ(QDMMRDecoder(&stream, 0x0FFFFFFF, 1, nullptr, &stream, nullptr).status().code(), QDCCITTBase::Code::bad_argument);
    EXPECT_EQ(QDMMRDecoder(&stream, 1, 1, nullptr, nullptr, nullptr).status().code(), QDCCITTBase::Code::bad_argument);
    // clang-format on
}

TEST(FaxDecoders, TakeUpEachStripThatIsDataOfItsOwn)
{
    NUV_TestChain chain;
    const Bytes data = coded("001 000111 010 1 111  00000000");
    const auto storage = make_initiated<NUV_ByteArrayInputStorage>(chain.manager(), data.data(), 3);
    NUV_Header header(chain.manager());
    fill_header(header, {4, 7, 1, 1, NUV_DataType::u_integer, NUV_EncodeType::mmr});
    NUV_PackedNumbers offsets(chain.manager()), counts(chain.manager());
    EXPECT_TRUE(offsets.reserve(4, 1) && counts.reserve(4, 1));
    for (const std::uint32_t offset : {0U, 2U, 9U, 0U}) { // good, bad, none, and the first again
        offsets.push_back(offset);
        counts.push_back(2);
    }
    chain.last(NUV_DecodeMMRForTIFF(chain.manager(), NUV_DecodeMMROption())
                   .engine(storage.get(), header, 2, offsets, counts));
    EXPECT_EQ(chain.run_bytes(), Bytes({0x40, 0x40, 0, 0, 0, 0, 0x40}));
    EXPECT_EQ(chain.manager().damage().count, 4U);
    EXPECT_STREQ(chain.manager().diagnosis().text, "the line ends at pixel 0 of line 3 of 7");
}

// Without an engine, and behind one of another coding: who refuses is called like the creator.
template <class Creator>
void expect_refusals_of(const std::string& name)
{
    const NUV_Append append = [](NUV_TestChain& chain) {
        if constexpr (std::is_constructible_v<Creator, NUV_Manager&>)
            return chain.append<Creator>();
        else
            chain.last(Creator(chain.manager(), typename Creator::Option())
                           .engine(chain.last(), 0, NUV_PackedNumbers(chain.manager())));
        return chain.last() != nullptr;
    };
    const NUV_TestImage image = {.bits = 1, .encode_type = NUV_EncodeType::flate};
    expect_refusals({{name, NUV_RefusalSource([](NUV_TestChain&) {}), append, NUV_ERR_ARGUMENT,
                      name + "::engine()"},
                     {name, image, append, NUV_ERR_UNSUPPORTED,
                      name.substr(0, name.find("ForTIFF")) + "Engine::initiate()"}});
}

TEST(FaxDecoders, RefuseWhatTheyDoNotServe)
{
    // clang-format off
    expect_refusals_of<NUV_DecodeMH>("NUV_DecodeMH");
    expect_refusals_of<NUV_DecodeMR>("NUV_DecodeMR");
    expect_refusals_of<NUV_DecodeMMR>("NUV_DecodeMMR");
    expect_refusals_of<NUV_DecodeMHForTIFF>("NUV_DecodeMHForTIFF");
    expect_refusals_of<NUV_DecodeMRForTIFF>("NUV_DecodeMRForTIFF");
    expect_refusals_of<NUV_DecodeMMRForTIFF>("NUV_DecodeMMRForTIFF");
    expect_refusals_of<NUV_DecodeMHToQDRLE>("NUV_DecodeMHToQDRLE");
    expect_refusals_of<NUV_DecodeMRToQDRLE>("NUV_DecodeMRToQDRLE");
    expect_refusals_of<NUV_DecodeMMRToQDRLE>("NUV_DecodeMMRToQDRLE");
    expect_refusals_of<NUV_DecodeMHToQDRLEForTIFF>("NUV_DecodeMHToQDRLEForTIFF");
    expect_refusals_of<NUV_DecodeMRToQDRLEForTIFF>("NUV_DecodeMRToQDRLEForTIFF");
    expect_refusals_of<NUV_DecodeMMRToQDRLEForTIFF>("NUV_DecodeMMRToQDRLEForTIFF");
    expect_refusals({{"bits", NUV_TestImage{.encode_type = NUV_EncodeType::mh}, appending<NUV_DecodeMH>(), NUV_ERR_UNSUPPORTED, "NUV_DecodeCCITTEngine::initiate()"},
                     {"width", NUV_TestImage{.width = 0x20000001, .bits = 1, .encode_type = NUV_EncodeType::mr}, appending<NUV_DecodeMRToQDRLE>(), NUV_ERR_UNSUPPORTED, "NUV_DecodeCCITTToQDRLEEngine::initiate()"}});
    // clang-format on
}

} // namespace
} // namespace nuv
