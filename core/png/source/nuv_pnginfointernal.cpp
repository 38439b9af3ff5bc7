#include "core/png/source/nuv_pnginfointernal.h"

#include "core/png/source/nuv_pngregiststatus.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/containers/nuv_guard.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/utility/nuv_endian.h"

#include <zlib.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstring>
#include <string_view>

namespace nuv {
namespace {

constexpr auto initiate_method = "NUV_PNGInfoInternal::initiate()";
constexpr auto end_method = "NUV_PNGInfoInternal::decode_end()";

// A block that libpng holds begins with its size, so that its going can be counted.
constexpr std::size_t size_bytes = alignof(std::max_align_t);
static_assert(size_bytes >= sizeof(std::size_t));

// A code of the file, or `limit` for any that is not below it.
std::uint8_t code_below(int code, std::uint8_t limit) noexcept
{
    return code >= 0 && code < limit ? static_cast<std::uint8_t>(code) : limit;
}

} // namespace

bool NUV_PNGInfoInternal::cleanup()
{
    finish();
    return true;
}

void NUV_PNGInfoInternal::finish() noexcept
{
    stopped_ = true;
    texts_.clear();
    png_destroy_read_struct(&png_, &info_, nullptr);
}

bool NUV_PNGInfoInternal::initiate(NUV_InputStorage* storage)
{
    constexpr std::uint32_t signature_bytes = 8;

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (nuv::remaining_bytes(*storage) < signature_bytes)
        return fail(manager(), NUV_ERR_BROKEN_DATA, initiate_method,
                    NUV_Diagnosis().because(NUV_Cause::unknown_kind).says("it is too short"));
    storage_ = storage;
    position_ = storage->position();
    if (!has_signature() || !create())
        return false;
    if (!read_info() || !get_fields()) {
        nuv_pngregiststatus(manager(), message_, initiate_method, why_no_header());
        return false;
    }
    limits_memory_ = false; // lines depend on the width alone
    // libpng goes on without what it had no memory for, but the manager's error stands.
    return !was_refused_memory_ && copy_fields();
}

// PNG second edition, 5.2. Only the first half: if it is there, libpng tells what is wrong with the
// other, which is made to be spoilt by a transfer as text.
bool NUV_PNGInfoInternal::has_signature()
{
    std::uint8_t first[4];
    const std::int32_t start = position_;
    const bool was_read = read_storage(first, sizeof(first));
    position_ = start;
    return was_read && std::equal(std::begin(first), std::end(first), fields_.signature.begin());
}

bool NUV_PNGInfoInternal::copy_fields()
{
    return get_png_info() && copy_palette() && copy_texts();
}

// What reaches the pipeline of each type of colour.
bool NUV_PNGInfoInternal::get_png_info()
{
    const bool is_indexed = fields_.color_type_code == PNG_COLOR_TYPE_PALETTE;
    switch (fields_.color_type_code) {
    case PNG_COLOR_TYPE_GRAY:
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        header_.color_type(NUV_ColorType::gray);
        break;
    case PNG_COLOR_TYPE_RGB:
    case PNG_COLOR_TYPE_PALETTE:
    case PNG_COLOR_TYPE_RGB_ALPHA:
        header_.color_type(NUV_ColorType::s_rgb);
        break;
    default:
        return fail(manager(), NUV_ERR_UNSUPPORTED, "NUV_PNGInfoInternal::get_png_info()");
    }
    const bool is_color = header_.color_type() == NUV_ColorType::s_rgb && !is_indexed;
    header_.channels(is_color ? 3 : 1);
    header_.bits(depth_ == 2 || depth_ == 4 ? 8 : depth_);
    header_.data_type(NUV_DataType::u_integer);
    header_.encode_type(NUV_EncodeType::raw);
    return true;
}

// A file of RGB may suggest a palette, too, which its pixels don't use.
bool NUV_PNGInfoInternal::copy_palette()
{
    if (fields_.color_type_code != PNG_COLOR_TYPE_PALETTE)
        return true;
    NUV_Header::NUV_Palette& palette = header_.palette();
    palette.bits = 8;
    palette.channels = 3;
    palette.entries = static_cast<std::uint32_t>(color_count_);
    static_assert(sizeof(png_color) == 3);
    const void* values = colors_;
    return palette.value(static_cast<const std::uint8_t*>(values), 3 * palette.entries);
}

bool NUV_PNGInfoInternal::copy_texts()
{
    if (!texts_.reserve(static_cast<std::size_t>(text_count_)))
        return false;
    for (int i = 0; i < text_count_; ++i) {
        const png_text& chunk = text_chunks_[i];
        const NUV_PNGTypes::Text text{
            .compression = chunk.compression == PNG_TEXT_COMPRESSION_NONE
                               ? chunk.compression
                               : code_below(chunk.compression, PNG_TEXT_COMPRESSION_LAST),
            .key = chunk.key,
            .text = chunk.text,
            .text_length = chunk.text_length,
            .itxt_length = chunk.itxt_length,
            .language = chunk.lang,
            .translated_key = chunk.lang_key};
        if (!texts_.push_back(text))
            return false;
    }
    fields_.texts = texts_.items();
    return true;
}

std::uint64_t NUV_PNGInfoInternal::stored_bytes() const noexcept
{
    // Below 2^56: libpng lets no side be above a million.
    const std::uint64_t pixel_bits = std::uint64_t{depth_} * stored_channels_;
    return pixel_bits * header_.width() * header_.height() / 8;
}

std::uint64_t NUV_PNGInfoInternal::remaining_bytes() const
{
    return static_cast<std::uint64_t>(std::max(storage_->size() - position_, 0));
}

bool NUV_PNGInfoInternal::begin(NUV_InputStorage& storage) noexcept
{
    if (begun_)
        return false;
    begun_ = true;
    storage_ = &storage;
    return true;
}

NUV_PNGDecoded NUV_PNGInfoInternal::decode_process(std::uint8_t* line, std::uint32_t row)
{
    if (stopped_)
        return NUV_PNGDecoded::lost;
    if (header_.bits() == 1) // libpng leaves the bits behind the last pixel as they are
        line[header_.line_bytes() - 1] = 0;
    if (read_row(line))
        return NUV_PNGDecoded::complete;
    // Behind the last line libpng finishes the stream within the same call: what it finds wrong
    // there leaves the line as it is.
    return stop(png_get_current_row_number(png_) > row, "NUV_PNGInfoInternal::decode_process()",
                here().on_line(row));
}

NUV_PNGDecoded NUV_PNGInfoInternal::decode_process_interlace(std::uint8_t* image)
{
    constexpr png_byte passes = 7; // PNG second edition, 8.2

    if (stopped_)
        return NUV_PNGDecoded::lost;
    std::memset(image, 0, std::size_t{header_.line_bytes()} * header_.height());
    if (read_passes(image))
        return NUV_PNGDecoded::complete;
    return stop(png_get_current_pass_number(png_) == passes,
                "NUV_PNGInfoInternal::decode_process_interlace()", here());
}

NUV_Diagnosis NUV_PNGInfoInternal::here() const noexcept
{
    return NUV_Diagnosis().at_byte(position_);
}

// libpng takes the answer of the limit for a lack of memory, and says so in many ways.
NUV_Diagnosis NUV_PNGInfoInternal::why_no_header() const noexcept
{
    NUV_Diagnosis why = here();
    if (has_passed_limit_ && std::string_view(message_).find("emory") != std::string_view::npos)
        why.because(NUV_Cause::limit).says("more than 32 MiB of texts and profiles");
    return why;
}

NUV_PNGDecoded NUV_PNGInfoInternal::stop(bool is_complete, const char* method,
                                         const NUV_Diagnosis& why)
{
    stopped_ = true;
    nuv_pngregiststatus(manager(), message_, is_complete ? end_method : method, why);
    return is_complete ? NUV_PNGDecoded::ended : NUV_PNGDecoded::lost;
}

void NUV_PNGInfoInternal::decode_end()
{
    if (stopped_)
        return;
    stopped_ = true;
    if (!read_end())
        nuv_pngregiststatus(manager(), message_, end_method, here());
}

// Sequences of libpng calls.

bool NUV_PNGInfoInternal::create() noexcept
{
    // Until it returns, what fails in it returns to itself.
    png_ = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, message_, error_callback,
                                    warning_callback, this, allocate_callback, free_callback);
    info_ = png_ ? png_create_info_struct(png_) : nullptr;
    return info_ != nullptr;
}

bool NUV_PNGInfoInternal::read_info() noexcept
{
    if (setjmp(png_jmpbuf(png_)) != 0)
        return false;
    png_set_read_fn(png_, this, read_callback);
    png_read_info(png_, info_);
    return true;
}

bool NUV_PNGInfoInternal::get_fields() noexcept
{
    if (setjmp(png_jmpbuf(png_)) != 0)
        return false;
    get_header_fields();
    get_color_fields();
    get_layout_fields();
    set_transforms();
    return true;
}

void NUV_PNGInfoInternal::get_header_fields() noexcept
{
    header_.width(png_get_image_width(png_, info_));
    header_.height(png_get_image_height(png_, info_));
    depth_ = png_get_bit_depth(png_, info_);
    stored_channels_ = png_get_channels(png_, info_);
    const png_byte code = png_get_color_type(png_, info_);
    fields_.color_type_code = code == 1 || code == 5 ? 7 : code_below(code, 7);
    fields_.interlaced = png_get_interlace_type(png_, info_) == PNG_INTERLACE_ADAM7;
    fields_.filter_method =
        png_get_filter_type(png_, info_) == PNG_INTRAPIXEL_DIFFERENCING ? 64 : 0;
    std::copy_n(png_get_signature(png_, info_), fields_.signature.size(),
                fields_.signature.begin());
    png_get_PLTE(png_, info_, &colors_, &color_count_);
    png_get_text(png_, info_, &text_chunks_, &text_count_);
    fields_.present[NUV_PNGTypes::text] = text_count_ > 0;
}

void NUV_PNGInfoInternal::get_color_fields() noexcept
{
    auto& present = fields_.present;
    // With an sRGB chunk libpng answers with what that implies, whatever the gAMA chunk says.
    double implied = 0.0;
    present[NUV_PNGTypes::gama] = gamma_ != 0 && png_get_gAMA(png_, info_, &implied) != 0;
    if (present[NUV_PNGTypes::gama])
        fields_.gamma = gamma_ / 100000.0; // PNG second edition, 11.3.3.2
    int intent = 0;
    present[NUV_PNGTypes::srgb] = png_get_sRGB(png_, info_, &intent) != 0;
    if (present[NUV_PNGTypes::srgb])
        fields_.srgb_intent = code_below(intent, 4);

    png_charp name = nullptr;
    png_bytep profile = nullptr;
    present[NUV_PNGTypes::iccp] = png_get_iCCP(png_, info_, &name, &fields_.icc_compression,
                                               &profile, &fields_.icc_profile_length) != 0;
    fields_.icc_name = name;
    fields_.icc_profile = profile;

    png_color_8p bits = nullptr;
    present[NUV_PNGTypes::sbit] = png_get_sBIT(png_, info_, &bits) != 0;
    if (bits)
        fields_.significant_bits = {bits->red, bits->green, bits->blue, bits->gray, bits->alpha};
    png_color_16p color = nullptr;
    present[NUV_PNGTypes::bkgd] = png_get_bKGD(png_, info_, &color) != 0;
    if (color)
        fields_.background = {color->index, color->red, color->green, color->blue, color->gray};
}

void NUV_PNGInfoInternal::get_layout_fields() noexcept
{
    auto& present = fields_.present;
    png_timep time = nullptr;
    present[NUV_PNGTypes::time_chunk] = png_get_tIME(png_, info_, &time) != 0;
    if (time)
        fields_.time = {time->year, time->month, time->day, time->hour, time->minute, time->second};
    int unit = 0;
    present[NUV_PNGTypes::offs] =
        png_get_oFFs(png_, info_, &fields_.offset_x, &fields_.offset_y, &unit) != 0;
    if (present[NUV_PNGTypes::offs])
        fields_.offset_unit = code_below(unit, 2);
    present[NUV_PNGTypes::phys] =
        png_get_pHYs(png_, info_, &fields_.pixels_x, &fields_.pixels_y, &unit) != 0;
    if (present[NUV_PNGTypes::phys])
        fields_.pixels_unit = code_below(unit, 2);
    present[NUV_PNGTypes::scal] =
        png_get_sCAL(png_, info_, &unit, &fields_.scale_width, &fields_.scale_height) != 0;
    if (present[NUV_PNGTypes::scal])
        fields_.scale_unit = code_below(unit, 3);
}

// Samples of 16 bits in host order, none of 2 and 4, and no alpha; nothing else is changed.
void NUV_PNGInfoInternal::set_transforms() noexcept
{
    const bool is_indexed = fields_.color_type_code == PNG_COLOR_TYPE_PALETTE;
    if (depth_ == 16 && std::endian::native == std::endian::little)
        png_set_swap(png_);
    if ((depth_ == 2 || depth_ == 4) && is_indexed)
        png_set_packing(png_);
    else if (depth_ == 2 || depth_ == 4)
        png_set_expand_gray_1_2_4_to_8(png_);
    if ((fields_.color_type_code & PNG_COLOR_MASK_ALPHA) != 0)
        png_set_strip_alpha(png_);
}

bool NUV_PNGInfoInternal::read_row(std::uint8_t* line) noexcept
{
    if (setjmp(png_jmpbuf(png_)) != 0)
        return false;
    png_read_row(png_, line, nullptr);
    return true;
}

bool NUV_PNGInfoInternal::read_passes(std::uint8_t* image) noexcept
{
    if (setjmp(png_jmpbuf(png_)) != 0)
        return false;
    const int passes = png_set_interlace_handling(png_);
    const std::size_t line_bytes = header_.line_bytes();
    for (int pass = 0; pass < passes; ++pass) {
        for (std::size_t row = 0; row < header_.height(); ++row)
            png_read_row(png_, nullptr, image + row * line_bytes);
    }
    return true;
}

// Chunks behind the pixels are passed over.
bool NUV_PNGInfoInternal::read_end() noexcept
{
    if (setjmp(png_jmpbuf(png_)) != 0)
        return false;
    png_read_end(png_, nullptr);
    return true;
}

// Calls of libpng. What they call may throw, which would not get through libpng.

void NUV_PNGInfoInternal::read_callback(png_structp png, png_bytep into, std::size_t bytes)
{
    auto* self = static_cast<NUV_PNGInfoInternal*>(png_get_io_ptr(png));
    // No chunk, and so no request, is longer than 31 bits.
    if (!self->read_storage(into, static_cast<std::uint32_t>(bytes)))
        png_error(png, png_read_error);
    if (bytes == sizeof(self->gamma_))
        self->note_gamma(into);
}

// libpng does not tell whether it has kept a gAMA chunk where an sRGB chunk implies a gamma, too.
// It drops one behind a palette, one with a wrong checksum, a second one, and what can be no gamma.
void NUV_PNGInfoInternal::note_gamma(const std::uint8_t* four_bytes) noexcept
{
    constexpr std::uint8_t gamma_name[] = {'g', 'A', 'M', 'A'};
    constexpr std::uint8_t palette_name[] = {'P', 'L', 'T', 'E'};
    constexpr std::uint32_t least = 16;
    constexpr std::uint32_t most = 625000000;

    const png_uint_32 chunk = png_get_io_chunk_type(png_);
    const png_uint_32 part = png_get_io_state(png_) & PNG_IO_MASK_LOC;
    const std::uint32_t number = load_be32(four_bytes);
    is_behind_palette_ = is_behind_palette_ || chunk == load_be32(palette_name);
    if (chunk != load_be32(gamma_name) || is_behind_palette_ || gamma_ != 0)
        return;
    if (part == PNG_IO_CHUNK_DATA) {
        std::copy_n(gamma_name, sizeof(gamma_name), gamma_chunk_);
        std::copy_n(four_bytes, sizeof(gamma_), gamma_chunk_ + sizeof(gamma_name));
    } else if (part == PNG_IO_CHUNK_CRC && crc32(0, gamma_chunk_, sizeof(gamma_chunk_)) == number) {
        const std::uint32_t stored = load_be32(gamma_chunk_ + sizeof(gamma_name));
        gamma_ = stored >= least && stored <= most ? stored : 0;
    }
}

void NUV_PNGInfoInternal::error_callback(png_structp png, png_const_charp text)
{
    auto* message = static_cast<char*>(png_get_error_ptr(png));
    std::size_t length = 0;
    while (length + 1 < sizeof(message_) && text[length] != '\0')
        ++length;
    std::memcpy(message, text, length);
    message[length] = '\0';
    png_longjmp(png, 1);
}

void* NUV_PNGInfoInternal::allocate_callback(png_structp png, png_alloc_size_t bytes)
{
    return static_cast<NUV_PNGInfoInternal*>(png_get_mem_ptr(png))->allocate(bytes);
}

void NUV_PNGInfoInternal::free_callback(png_structp png, void* memory)
{
    static_cast<NUV_PNGInfoInternal*>(png_get_mem_ptr(png))->deallocate(memory);
}

bool NUV_PNGInfoInternal::read_storage(void* into, std::uint32_t bytes) noexcept
{
    return guarded(manager(), initiate_method, false, [&] {
        if (storage_->position() != position_ && !storage_->to(position_))
            return false;
        const std::uint32_t got = read_up_to(*storage_, into, bytes);
        position_ = storage_->position();
        return got == bytes;
    });
}

void* NUV_PNGInfoInternal::allocate(std::size_t bytes) noexcept
{
    constexpr std::size_t most_bytes = std::size_t{32} << 20; // of texts and profiles

    if (limits_memory_ && (bytes > most_bytes || held_bytes_ > most_bytes - bytes)) {
        has_passed_limit_ = true;
        return nullptr;
    }
    void* const memory = guarded<void*>(manager(), initiate_method, nullptr,
                                        [&] { return manager().allocate(size_bytes + bytes); });
    if (!memory) {
        was_refused_memory_ = true;
        return nullptr;
    }
    std::memcpy(memory, &bytes, sizeof(bytes));
    held_bytes_ += bytes;
    return static_cast<std::uint8_t*>(memory) + size_bytes;
}

void NUV_PNGInfoInternal::deallocate(void* memory) noexcept
{
    if (!memory)
        return;
    void* const block = static_cast<std::uint8_t*>(memory) - size_bytes;
    std::size_t bytes = 0;
    std::memcpy(&bytes, block, sizeof(bytes));
    held_bytes_ -= bytes;
    manager().deallocate(block);
}

} // namespace nuv
