#pragma once

#include "core/ccitt/nuv_ccittoption.h"
#include "core/ccitt/source/nuv_ccittallocator.h"
#include "core/ccitt/source/nuv_ccittdatainstream.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_processengine.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

namespace nuv {

// What a decoder reads: coded data in a row, which may have strips, or strips that are data of
// their own, wherever they are in a storage. Each has `rows` lines, but for the last.
struct NUV_CCITTInput {
    std::uint32_t rows = 0; // 0: all
    NUV_SrcBuffer* src = nullptr;
    const NUV_PackedNumbers* byte_counts_in_a_row = nullptr; // null: there are no strips
    NUV_InputStorage* storage = nullptr;                     // in place of a source
    NUV_PackedNumbers* offsets = nullptr;                    // these two are taken over
    NUV_PackedNumbers* byte_counts = nullptr;
};

// What the decoders of both forms have in common: coded data in, a line a step out.
class NUV_DecodeCCITTBaseEngine : public NUV_ProcessEngine {
public:
    explicit NUV_DecodeCCITTBaseEngine(NUV_Manager& manager) noexcept
        : NUV_ProcessEngine(manager),
          allocator_(manager),
          stream_(manager),
          strips_(manager)
    {}

    // Damage ends nothing: a bad line is delivered as it is, with NUV_WARN_BROKEN_DATA, or inside a
    // strip with damage that is noted.
    [[nodiscard]] bool execute() override;

protected:
    // The texts of the form.
    struct Methods {
        const char* initiate;
        const char* execute;
    };

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                const NUV_CCITTInput& input, const Methods& methods);

    // A new codec of the leaf, for so many lines. False when it refuses them.
    [[nodiscard]] virtual bool begin_decoder(std::uint32_t lines) = 0;
    // The codec of the leaf.
    [[nodiscard]] virtual QDCCITTDecoder& decoder() noexcept = 0;
    // The next line, into a block.
    [[nodiscard]] virtual bool decode_line(void* block) = 0;
    // Bytes of the block that it has taken.
    [[nodiscard]] virtual std::uint32_t decoded_bytes() const noexcept = 0;

    [[nodiscard]] QDCCITTDecoder::DataInStream* bytes() noexcept
    {
        return own_rows_ != 0 ? static_cast<QDCCITTDecoder::DataInStream*>(&strips_) : &stream_;
    }
    // Of all data, or of the first strip that is data of its own.
    [[nodiscard]] std::uint32_t first_lines() const noexcept
    {
        return own_rows_ != 0 ? std::min(own_rows_, header_.height()) : header_.height();
    }

    NUV_CCITTAllocator allocator_;

private:
    [[nodiscard]] bool begin_own_strip(std::uint32_t row);
    [[nodiscard]] bool is_bad() noexcept; // the line at hand
    void mend_line(void* block);
    [[nodiscard]] bool begins_strip(void* block);
    [[nodiscard]] NUV_Diagnosis damage();

    NUV_CCITTDataInStream stream_; // one of the two
    NUV_CCITTStripsInStream strips_;
    std::uint32_t rows_per_strip_ = 0; // of strips in a row; 0: the data is in one piece
    std::uint32_t own_rows_ = 0;       // of strips that are data of their own, else 0
    std::uint32_t row_ = 0;
    const char* execute_method_ = nullptr;
    bool is_damage_told_ = false;
};

// Delivers packed lines, 1 for black.
class NUV_DecodeCCITTEngine : public NUV_DecodeCCITTBaseEngine {
public:
    using NUV_DecodeCCITTBaseEngine::NUV_DecodeCCITTBaseEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                const NUV_CCITTInput& input);

protected:
    [[nodiscard]] bool decode_line(void* block) override;
    [[nodiscard]] std::uint32_t decoded_bytes() const noexcept override { return line_bytes_; }

private:
    std::uint32_t line_bytes_ = 0;
};

// Delivers runs, which the codec writes straight into the block.
class NUV_DecodeCCITTToQDRLEEngine : public NUV_DecodeCCITTBaseEngine {
public:
    using NUV_DecodeCCITTBaseEngine::NUV_DecodeCCITTBaseEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                const NUV_CCITTInput& input);

protected:
    [[nodiscard]] bool decode_line(void* block) override;
    [[nodiscard]] std::uint32_t decoded_bytes() const noexcept override;

private:
    QDRLELine line_;
};

// A coding: its codec, and what that is told.
struct NUV_MHCoding {
    using Decoder = QDMHDecoder;
    using Option = NUV_CCITTMHOption;

    [[nodiscard]] static const NUV_EncodeType* encode_type() noexcept { return NUV_EncodeType::mh; }
    [[nodiscard]] static QDMHOption translate(const Option& option) noexcept;
};

struct NUV_MRCoding {
    using Decoder = QDMRDecoder;
    using Option = NUV_CCITTMROption;

    [[nodiscard]] static const NUV_EncodeType* encode_type() noexcept { return NUV_EncodeType::mr; }
    [[nodiscard]] static QDMROption translate(const Option& option) noexcept;
};

struct NUV_MMRCoding {
    using Decoder = QDMMRDecoder;
    using Option = NUV_CCITTMMROption;

    [[nodiscard]] static const NUV_EncodeType* encode_type() noexcept
    {
        return NUV_EncodeType::mmr;
    }
    [[nodiscard]] static QDMMROption translate(const Option& option) noexcept;
};

// A coding in a form. `Engine` has the text of its initiate().
template <class Engine, class Form, class Coding>
class NUV_DecodeCCITTLeafEngine : public Form {
public:
    using Form::Form;

    bool cleanup() override
    {
        decoder_.reset();
        return Form::cleanup();
    }

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const typename Coding::Option& option, std::uint32_t rows_per_strip,
                                const NUV_PackedNumbers* strip_byte_counts)
    {
        return initiate_from(
            header, dst, option,
            {.rows = rows_per_strip, .src = src, .byte_counts_in_a_row = strip_byte_counts});
    }
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const typename Coding::Option& option,
                                std::uint32_t rows_per_strip, NUV_PackedNumbers* offsets,
                                NUV_PackedNumbers* byte_counts)
    {
        return initiate_from(header, dst, option,
                             {.rows = rows_per_strip,
                              .storage = storage,
                              .offsets = offsets,
                              .byte_counts = byte_counts});
    }

private:
    [[nodiscard]] bool initiate_from(const NUV_Header* header, NUV_DstBuffer* dst,
                                     const typename Coding::Option& option,
                                     const NUV_CCITTInput& input)
    {
        if (!Form::initiate(header, dst, input))
            return false;
        if (header->encode_type() != Coding::encode_type())
            return fail(this->manager(), NUV_ERR_UNSUPPORTED, Engine::initiate_method);
        codec_option_ = Coding::translate(option);
        // A page that the codec refuses is refused without words.
        return begin_decoder(this->first_lines());
    }
    [[nodiscard]] bool begin_decoder(std::uint32_t lines) final
    {
        decoder_.emplace(this->bytes(), this->header_.width(), lines, &codec_option_,
                         &this->allocator_, nullptr);
        return decoder_->status().is_good();
    }
    [[nodiscard]] QDCCITTDecoder& decoder() noexcept final { return *decoder_; }

    typename Coding::Decoder::Option codec_option_;
    std::optional<typename Coding::Decoder> decoder_;
};

class NUV_DecodeMHEngine final
    : public NUV_DecodeCCITTLeafEngine<NUV_DecodeMHEngine, NUV_DecodeCCITTEngine, NUV_MHCoding> {
public:
    static constexpr auto initiate_method = "NUV_DecodeMHEngine::initiate()";
    using NUV_DecodeCCITTLeafEngine::NUV_DecodeCCITTLeafEngine;
};

class NUV_DecodeMREngine final
    : public NUV_DecodeCCITTLeafEngine<NUV_DecodeMREngine, NUV_DecodeCCITTEngine, NUV_MRCoding> {
public:
    static constexpr auto initiate_method = "NUV_DecodeMREngine::initiate()";
    using NUV_DecodeCCITTLeafEngine::NUV_DecodeCCITTLeafEngine;
};

class NUV_DecodeMMREngine final
    : public NUV_DecodeCCITTLeafEngine<NUV_DecodeMMREngine, NUV_DecodeCCITTEngine, NUV_MMRCoding> {
public:
    static constexpr auto initiate_method = "NUV_DecodeMMREngine::initiate()";
    using NUV_DecodeCCITTLeafEngine::NUV_DecodeCCITTLeafEngine;
};

class NUV_DecodeMHToQDRLEEngine final
    : public NUV_DecodeCCITTLeafEngine<NUV_DecodeMHToQDRLEEngine, NUV_DecodeCCITTToQDRLEEngine,
                                       NUV_MHCoding> {
public:
    static constexpr auto initiate_method = "NUV_DecodeMHToQDRLEEngine::initiate()";
    using NUV_DecodeCCITTLeafEngine::NUV_DecodeCCITTLeafEngine;
};

class NUV_DecodeMRToQDRLEEngine final
    : public NUV_DecodeCCITTLeafEngine<NUV_DecodeMRToQDRLEEngine, NUV_DecodeCCITTToQDRLEEngine,
                                       NUV_MRCoding> {
public:
    static constexpr auto initiate_method = "NUV_DecodeMRToQDRLEEngine::initiate()";
    using NUV_DecodeCCITTLeafEngine::NUV_DecodeCCITTLeafEngine;
};

class NUV_DecodeMMRToQDRLEEngine final
    : public NUV_DecodeCCITTLeafEngine<NUV_DecodeMMRToQDRLEEngine, NUV_DecodeCCITTToQDRLEEngine,
                                       NUV_MMRCoding> {
public:
    static constexpr auto initiate_method = "NUV_DecodeMMRToQDRLEEngine::initiate()";
    using NUV_DecodeCCITTLeafEngine::NUV_DecodeCCITTLeafEngine;
};

} // namespace nuv
