#include "core/pnm/nuv_writepnm.h"

#include "core/storage/nuv_writestorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_outputstorage.h"

#include <array>
#include <bit>
#include <cstdio>

namespace nuv {
namespace {

constexpr auto method = "NUV_WritePNM::engine()";

// The digit behind the P, or 0 for what no form can say.
[[nodiscard]] int form_of(const NUV_Header& header) noexcept
{
    if (!header.is_raw() || header.data_type() != NUV_DataType::u_integer ||
        !header.palette().is_empty())
        return 0;
    const NUV_ColorType* const color = header.color_type();
    if (header.bits() == 1)
        return color == NUV_ColorType::gray_reverse ? 4 : 0;
    if (header.bits() != 8 && header.bits() != 16)
        return 0;
    if (color == NUV_ColorType::gray)
        return 5;
    return color == NUV_ColorType::s_rgb ? 6 : 0;
}

// What stands before the pixels; how many bytes that are.
[[nodiscard]] std::int32_t describe(std::array<char, 48>& text, const NUV_Header& header, int form)
{
    const unsigned width = header.width();
    const unsigned height = header.height();
    if (form == 4)
        return std::snprintf(text.data(), text.size(), "P4\n%u %u\n", width, height);
    const unsigned largest = (1U << header.bits()) - 1;
    return std::snprintf(text.data(), text.size(), "P%d\n%u %u\n%u\n", form, width, height,
                         largest);
}

} // namespace

NUV_Engine* NUV_WritePNM::engine(NUV_Engine* previous, NUV_OutputStorage* storage)
{
    constexpr std::int32_t host_order = 1;
    constexpr std::int32_t other_order = 0;
    constexpr std::int32_t high_byte_first =
        std::endian::native == std::endian::big ? host_order : other_order;

    if (!accepts_image(previous, method))
        return nullptr;
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const NUV_Header& header = *previous->header();
    const int form = form_of(header);
    if (form == 0)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method,
                    NUV_Diagnosis().says("%u channels of %u bits, or no color of an anymap",
                                         header.channels(), header.bits()));
    std::array<char, 48> text{};
    const std::int32_t bytes = describe(text, header, form);
    if (storage->write(text.data(), bytes) != bytes)
        return fail(manager(), NUV_ERR_IO, method);
    return NUV_WriteStorage(manager()).engine(previous, storage, storage->position(), 0, 0,
                                              high_byte_first);
}

} // namespace nuv
