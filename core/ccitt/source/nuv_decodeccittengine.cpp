#include "core/ccitt/source/nuv_decodeccittengine.h"

#include "core/qdrle/nuv_qdrlerun.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_inputstorage.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace nuv {
namespace {

constexpr auto raw_execute_method = "NUV_DecodeCCITTEngine::execute()";

template <class To>
[[nodiscard]] To copy_common(const NUV_CCITTOption& option) noexcept
{
    To to;
    to.detect_end = option.detect_end;
    to.uncompressed_mode = option.uncompressed_mode;
    to.byte_align = option.byte_align;
    return to;
}

} // namespace

bool NUV_DecodeCCITTBaseEngine::initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                         const NUV_CCITTInput& input, const Methods& methods)
{
    const bool is_initiated = input.storage ? NUV_BufferOutputEngine::initiate(header, dst) &&
                                                  manager().depend(this, input.storage)
                                            : NUV_ProcessEngine::initiate(header, input.src, dst);
    if (!is_initiated)
        return false;
    if (header->bits() != 1 || header->channels() != 1 ||
        header->data_type() != NUV_DataType::u_integer || !checked_run_line_bytes(header->width()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, methods.initiate);
    execute_method_ = methods.execute;
    if (input.storage) {
        own_rows_ = input.rows != 0 ? input.rows : header->height();
        strips_.initiate(*input.storage, *input.offsets, *input.byte_counts);
        return true;
    }
    rows_per_strip_ = input.rows;
    return input.src->block_bytes(manager().default_block_bytes()) &&
           stream_.initiate(input.src, input.byte_counts_in_a_row);
}

bool NUV_DecodeCCITTBaseEngine::execute()
{
    if (row_ >= header_.height())
        return false;
    ++row_;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out || (own_rows_ != 0 && (row_ - 1) % own_rows_ == 0 && !begin_own_strip(row_ - 1)))
        return false;
    if (!decode_line(out.data()))
        return fail(manager(), NUV_ERR_BROKEN_DATA, execute_method_);
    if (is_bad())
        mend_line(out.data());
    return out.commit(decoded_bytes());
}

bool NUV_DecodeCCITTBaseEngine::begin_own_strip(std::uint32_t row)
{
    // Codes that are longer than the pixels are rare; where there are more, they are read, too.
    constexpr std::uint64_t least_piece = 64;
    const std::uint64_t pixels = std::uint64_t{own_rows_} * header_.width();
    return strips_.begin_strip(row / own_rows_, least_piece + pixels / 8) &&
           begin_decoder(std::min(own_rows_, header_.height() - row));
}

bool NUV_DecodeCCITTBaseEngine::is_bad() noexcept
{
    return decoder().status().code() > QDCCITTBase::Code::good;
}

// A bad line where a strip may begin is one of the next strip, or raises a warning. All that is
// bad besides is counted and no more.
void NUV_DecodeCCITTBaseEngine::mend_line(void* block)
{
    const std::uint32_t place = rows_per_strip_ == 0 ? 0 : row_ % rows_per_strip_;
    if (place > 1 || begins_strip(block)) {
        const bool lacks_line = place == 0 && rows_per_strip_ > 1; // the strip before
        if (is_bad() || lacks_line)
            manager().note_damage(NUV_Diagnosis().on_line(std::int64_t{row_} - 1));
        return;
    }
    warn(manager(), NUV_WARN_BROKEN_DATA, raw_execute_method, damage()); // of both forms
}

// The line at hand, and for the first bad one, of which alone it is kept, what was found.
NUV_Diagnosis NUV_DecodeCCITTBaseEngine::damage()
{
    using Code = QDCCITTBase::Code;
    const QDCCITTBase::Status& status = decoder().status();
    auto why = NUV_Diagnosis().on_line(std::int64_t{row_} - 1);
    if (std::exchange(is_damage_told_, true))
        return why;
    if (status.code() == Code::page_over)
        return why.says("the page ends in line %u of %u", row_, header_.height());
    return why.says("%s at pixel %u of line %u of %u",
                    status.code() == Code::unexpected_eol ? "the line ends" : "a bad code",
                    status.position(), row_, header_.height());
}

// The decoder sees no more of a strip's end than that its data ends, so a bad line at such a place
// is taken for the first line of the next strip.
bool NUV_DecodeCCITTBaseEngine::begins_strip(void* block)
{
    if (rows_per_strip_ == 0 || !stream_.has_next_strip())
        return false;
    decoder().rewind_line();
    return stream_.next_strip() && decode_line(block);
}

bool NUV_DecodeCCITTEngine::initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                     const NUV_CCITTInput& input)
{
    if (!NUV_DecodeCCITTBaseEngine::initiate(
            header, dst, input,
            {.initiate = "NUV_DecodeCCITTEngine::initiate()", .execute = raw_execute_method}))
        return false;
    header_.encode_type(NUV_EncodeType::raw);
    line_bytes_ = header_.line_bytes();
    return dst->block_bytes(line_bytes_);
}

bool NUV_DecodeCCITTEngine::decode_line(void* block)
{
    return decoder().decode(static_cast<unsigned char*>(block));
}

bool NUV_DecodeCCITTToQDRLEEngine::initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                            const NUV_CCITTInput& input)
{
    if (!NUV_DecodeCCITTBaseEngine::initiate(
            header, dst, input,
            {.initiate = "NUV_DecodeCCITTToQDRLEEngine::initiate()",
             .execute = "NUV_DecodeCCITTToQDRLEEngine::execute()"}))
        return false;
    header_.encode_type(NUV_EncodeType::qd_rle);
    return dst->block_bytes(checked_run_line_bytes(header_.width()).value_or(0));
}

bool NUV_DecodeCCITTToQDRLEEngine::decode_line(void* block)
{
    line_.runs(static_cast<std::uint32_t*>(block));
    line_.clear();
    if (!decoder().decode(line_))
        return false;
    if constexpr (std::endian::native == std::endian::big)
        swap_bytes(line_.runs(), line_.count(), sizeof(std::uint32_t));
    return true;
}

std::uint32_t NUV_DecodeCCITTToQDRLEEngine::decoded_bytes() const noexcept
{
    const std::uint32_t whole_records = line_.count() & ~1U;
    return whole_records * std::uint32_t{sizeof(std::uint32_t)};
}

QDMHOption NUV_MHCoding::translate(const Option& option) noexcept
{
    auto codec_option = copy_common<QDMHOption>(option);
    codec_option.eol_present = option.eol_present;
    return codec_option;
}

QDMROption NUV_MRCoding::translate(const Option& option) noexcept
{
    auto codec_option = copy_common<QDMROption>(option);
    codec_option.k = option.k;
    return codec_option;
}

QDMMROption NUV_MMRCoding::translate(const Option& option) noexcept
{
    return copy_common<QDMMROption>(option);
}

} // namespace nuv
