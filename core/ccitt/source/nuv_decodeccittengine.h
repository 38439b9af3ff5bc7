#pragma once

#include "core/ccitt/nuv_ccittoption.h"
#include "core/ccitt/source/nuv_ccittallocator.h"
#include "core/ccitt/source/nuv_ccittdatainstream.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_processengine.h"

#include <cstdint>
#include <optional>
#include <span>

namespace nuv {

// What the decoders of both forms have in common: coded data in, a line a step out.
class NUV_DecodeCCITTBaseEngine : public NUV_ProcessEngine {
public:
    explicit NUV_DecodeCCITTBaseEngine(NUV_Manager& manager) noexcept
        : NUV_ProcessEngine(manager),
          stream_(manager),
          allocator_(manager)
    {}

    // Damage ends nothing: a bad line is delivered as it is, with NUV_WARN_BROKEN_DATA.
    [[nodiscard]] bool execute() override;

protected:
    // The texts of the form.
    struct Methods {
        const char* initiate;
        const char* execute;
    };

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t rows_per_strip,
                                std::span<const std::uint32_t> strip_byte_counts,
                                const Methods& methods);

    // The codec of the leaf.
    [[nodiscard]] virtual QDCCITTDecoder& decoder() noexcept = 0;
    // The next line, into a block.
    [[nodiscard]] virtual bool decode_line(void* block) = 0;
    // Bytes of the block that it has taken.
    [[nodiscard]] virtual std::uint32_t decoded_bytes() const noexcept = 0;

    NUV_CCITTDataInStream stream_;
    NUV_CCITTAllocator allocator_;

private:
    [[nodiscard]] bool begins_strip(void* block);
    [[nodiscard]] NUV_Diagnosis damage();

    std::uint32_t rows_per_strip_ = 0; // 0: the data is in one piece
    std::uint32_t row_ = 0;
    const char* execute_method_ = nullptr;
    bool is_damage_told_ = false;
};

// Delivers packed lines, 1 for black.
class NUV_DecodeCCITTEngine : public NUV_DecodeCCITTBaseEngine {
public:
    using NUV_DecodeCCITTBaseEngine::NUV_DecodeCCITTBaseEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t rows_per_strip,
                                std::span<const std::uint32_t> strip_byte_counts);

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

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t rows_per_strip,
                                std::span<const std::uint32_t> strip_byte_counts);

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
                                std::span<const std::uint32_t> strip_byte_counts)
    {
        if (!Form::initiate(header, src, dst, rows_per_strip, strip_byte_counts))
            return false;
        if (header->encode_type() != Coding::encode_type())
            return fail(this->manager(), NUV_ERR_UNSUPPORTED, Engine::initiate_method);
        const auto codec_option = Coding::translate(option);
        decoder_.emplace(&this->stream_, header->width(), header->height(), &codec_option,
                         &this->allocator_, nullptr);
        // A page that the codec refuses is refused without words.
        return decoder_->status().is_good();
    }

private:
    [[nodiscard]] QDCCITTDecoder& decoder() noexcept final { return *decoder_; }

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
