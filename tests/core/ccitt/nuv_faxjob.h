#pragma once

#include "core/ccitt/codec/nuv_qdccittdecoder.h"
#include "core/ccitt/nuv_decodeccitt.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "tests/support/nuv_model_ccitt.h"
#include "tests/support/nuv_testchain.h"

#include <string>

namespace nuv {

// A coded page, and how it is handed to the decoders.
struct NUV_FaxJob {
    Bytes data = {};
    model::FaxCoding coding = model::FaxCoding::mh;
    NUV_CCITTMHOption option = {};
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint32_t rows = 0; // per strip
    std::vector<std::uint32_t> counts = {};
    std::uint32_t block_bytes = 4096;
};

// Hands out a job's data for the codec, and memory.
struct NUV_FaxStream final : QDCCITTDataInStream, QDCCITTAllocator {
    explicit NUV_FaxStream(const NUV_FaxJob& of) : left(of.data), block_bytes(of.block_bytes) {}
    std::span<const std::uint8_t> read() override
    {
        const auto block = left.first(std::min<std::size_t>(left.size(), block_bytes));
        left = left.subspan(block.size());
        return block;
    }
    void* allocate(std::size_t bytes) override { return std::malloc(bytes); }
    void free(void* memory) noexcept override { std::free(memory); }

    std::span<const std::uint8_t> left;
    std::size_t block_bytes;
};

// Whether the codec does what the plain decoder does, line by line, with the data in one piece.
template <class Decoder>
[[nodiscard]] bool is_decoded_alike(const NUV_FaxJob& job, const typename Decoder::Option& option,
                                    QDCCITTDecoder::Path path)
{
    NUV_FaxStream stream(job);
    Decoder decoder(&stream, job.width, job.height, &option, &stream, nullptr);
    decoder.path(path);
    model::FaxModel plain{job.data, {}, job.coding, job.option, job.width};
    std::vector<std::uint32_t> words(std::size_t{job.width} + 4);
    for (std::uint32_t row = 1; row <= job.height; ++row) {
        plain.decode();
        QDRLELine line(words.data());
        const bool is_decoded = decoder.decode(line);
        const auto& status = decoder.status();
        model::FaxRuns runs;
        for (std::size_t i = 0; i + 2 < line.count(); i += 2)
            runs.emplace_back(words[i], words[i + 1]);
        if (!is_decoded || runs != plain.runs || words[line.count() - 1] != 0xFFFFFFFF ||
            decoder.consumed_bits() != plain.at || decoder.row() != row ||
            static_cast<int>(status.code()) != plain.code ||
            (plain.code != 1 && status.position() != plain.position))
            return false;
    }
    return true;
}

// Whether codec and engines do, the latter with the strips; on each path and in each form.
template <class Decoder, class Creator, class RunCreator>
[[nodiscard]] bool is_decoded_alike(const NUV_FaxJob& job)
{
    typename Decoder::Option option;
    typename Creator::Option creator_option;
    option.detect_end = creator_option.detect_end = job.option.detect_end;
    option.byte_align = creator_option.byte_align = job.option.byte_align;
    if constexpr (requires { option.eol_present; })
        option.eol_present = creator_option.eol_present = job.option.eol_present;
    const auto [page, warns, first_bad] = model::fax_page(
        {job.data, job.counts, job.coding, job.option, job.width}, job.height, job.rows);
    bool is_alike = is_decoded_alike<Decoder>(job, option, QDCCITTDecoder::Path::careful) &&
                    is_decoded_alike<Decoder>(job, option, QDCCITTDecoder::Path::fast);
    for (const bool to_runs : {false, true}) {
        NUV_TestChain chain;
        Creator creator(chain.manager(), creator_option);
        RunCreator run_creator(chain.manager(), creator_option);
        const auto* const coding = creator.encode_type();
        chain.source_bytes({job.width, job.height, 1, 1, NUV_DataType::u_integer, coding}, job.data,
                           job.block_bytes);
        NUV_PackedNumbers counts(chain.manager());
        is_alike = counts.reserve(job.counts.size(), 2) && is_alike;
        for (const std::uint32_t count : job.counts)
            counts.push_back(count);
        chain.last(to_runs ? run_creator.engine(chain.last(), job.rows, counts)
                           : creator.engine(chain.last(), job.rows, counts));
        chain.append<NUV_DecodeQDRLE>();
        is_alike = is_alike && chain.run_bytes() == page &&
                   chain.status().code == (warns ? NUV_WARN_BROKEN_DATA : NUV_STATUS_OK);
        const NUV_Diagnosis& why = chain.manager().diagnosis(); // of the first warning
        const std::string place =
            "line " + std::to_string(why.line + 1) + " of " + std::to_string(job.height);
        is_alike = is_alike && chain.manager().damage().first_line == first_bad &&
                   warns == (why.line >= 0) && (!warns || std::string(why.text).ends_with(place));
    }
    return is_alike;
}

[[nodiscard]] inline bool is_decoded_alike(const NUV_FaxJob& job)
{
    if (job.coding == model::FaxCoding::mh)
        return is_decoded_alike<QDMHDecoder, NUV_DecodeMHForTIFF, NUV_DecodeMHToQDRLEForTIFF>(job);
    if (job.coding == model::FaxCoding::mr)
        return is_decoded_alike<QDMRDecoder, NUV_DecodeMRForTIFF, NUV_DecodeMRToQDRLEForTIFF>(job);
    return is_decoded_alike<QDMMRDecoder, NUV_DecodeMMRForTIFF, NUV_DecodeMMRToQDRLEForTIFF>(job);
}

} // namespace nuv
