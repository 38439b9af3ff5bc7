#include "core/pnm/nuv_pnminfo.h"

#include "core/pnm/source/nuv_bytereader.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"

#include <limits>

namespace nuv {
namespace {

// The place of the byte that was taken last.
[[nodiscard]] NUV_Diagnosis at_last_byte(const NUV_ByteReader& stream)
{
    return NUV_Diagnosis().at_byte(stream.position() - 1);
}

[[nodiscard]] NUV_Diagnosis header_ends(const NUV_ByteReader& stream)
{
    return NUV_Diagnosis().at_byte(stream.position()).says("the header ends early");
}

[[nodiscard]] NUV_Diagnosis no_number(const NUV_ByteReader& stream, int character)
{
    return at_last_byte(stream).says("the byte %02x where the header has a number",
                                     static_cast<unsigned>(character));
}

} // namespace

bool NUV_PNMInfo::load_internal(NUV_InputStorage* storage)
{
    constexpr auto method = "NUV_PNMInfo::load()";

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const std::int32_t start = storage->position();
    std::uint8_t signature[2];
    if (read_up_to(*storage, signature, sizeof(signature)) != sizeof(signature)) {
        static_cast<void>(storage->to(start));
        return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    NUV_Diagnosis().because(NUV_Cause::unknown_kind).says("it is too short"));
    }
    if (signature[0] != 'P' || signature[1] < '1' || signature[1] > '6') {
        static_cast<void>(storage->to(start));
        return false;
    }

    magic_ = signature[1];
    NUV_ByteReader stream(*storage);
    if (read_size(stream) && describe(stream) && stream.settle())
        return true;
    static_cast<void>(storage->to(start));
    return false;
}

bool NUV_PNMInfo::read_size(NUV_ByteReader& stream)
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    separated_ = false;
    maximum_ = 1;
    if (!read_value(stream, width) || !read_value(stream, height))
        return false;
    const bool has_maximum = magic_ != '1' && magic_ != '4';
    if (has_maximum && !read_value(stream, maximum_))
        return false;
    // A comment right behind the last number would leave it open where the pixels begin.
    if (!separated_)
        return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_PNMInfo::load()",
                    at_last_byte(stream).says("a comment right behind the header"));
    NUV_Header::width(width);
    NUV_Header::height(height);
    return true;
}

bool NUV_PNMInfo::describe(const NUV_ByteReader& stream)
{
    const bool is_bitmap = magic_ == '1' || magic_ == '4';
    const bool is_color = magic_ == '3' || magic_ == '6';
    const bool is_ascii = magic_ < '4';
    const std::uint32_t largest = is_ascii || serves_deep_ ? 65535 : 255;
    if (maximum_ > largest) {
        NUV_Diagnosis why = at_last_byte(stream);
        why.says("P%c with samples up to %u, served is %u", magic_, maximum_, largest);
        if (maximum_ <= 65535) // what the form allows
            why.because(NUV_Cause::unsupported);
        return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_PNMInfo::load()", why);
    }

    data_type(NUV_DataType::u_integer);
    encode_type(NUV_EncodeType::raw);
    if (is_bitmap) {
        bits(1);
        channels(1);
        color_type(NUV_ColorType::gray_reverse);
        return true;
    }
    bits(maximum_ > 255 ? 16 : 8);
    channels(is_color ? 3 : 1);
    color_type(is_color ? NUV_ColorType::s_rgb : NUV_ColorType::gray);
    return true;
}

bool NUV_PNMInfo::skip_whitespace(NUV_ByteReader& stream)
{
    constexpr auto method = "NUV_PNMInfo::skip_whitespace()";

    for (;;) {
        const int character = stream.next();
        if (character == NUV_ByteReader::at_end)
            return fail(manager(), NUV_ERR_BROKEN_DATA, method, header_ends(stream));
        if (is_digit(character)) {
            stream.put_back();
            return true;
        }
        if (character == '#') {
            if (!skip_comment(stream))
                return fail(manager(), NUV_ERR_BROKEN_DATA, method, header_ends(stream));
        } else if (!is_whitespace(character)) {
            return fail(manager(), NUV_ERR_INVALID_DATA, method, no_number(stream, character));
        }
        separated_ = true;
    }
}

// To the end of the line, which is LF, CR or CR LF.
bool NUV_PNMInfo::skip_comment(NUV_ByteReader& stream)
{
    int character = 0;
    do {
        character = stream.next();
        if (character == NUV_ByteReader::at_end)
            return false;
    } while (character != '\n' && character != '\r');
    if (character == '\n')
        return true;
    const int behind = stream.next();
    if (behind != '\n' && behind != NUV_ByteReader::at_end)
        stream.put_back();
    return behind != NUV_ByteReader::at_end;
}

bool NUV_PNMInfo::get_value(NUV_ByteReader& stream, char (&digits)[most_digits + 1])
{
    constexpr auto method = "NUV_PNMInfo::get_value()";

    if (!separated_)
        return fail(manager(), NUV_ERR_INVALID_DATA, method,
                    at_last_byte(stream).says("no space before a number of the header"));
    std::size_t count = 0;
    int character = stream.next();
    for (; is_digit(character); character = stream.next()) {
        if (character == '0' && count == 0)
            continue;
        if (count == most_digits)
            return fail(manager(), NUV_ERR_INVALID_DATA, method,
                        at_last_byte(stream).says("a number of too many digits in the header"));
        digits[count++] = static_cast<char>(character);
    }
    digits[count] = '\0';
    if (character == NUV_ByteReader::at_end)
        return fail(manager(), NUV_ERR_BROKEN_DATA, method, header_ends(stream));
    if (count == 0)
        return fail(manager(), NUV_ERR_INVALID_DATA, method,
                    at_last_byte(stream).says("a 0 in the header"));
    const bool is_comment = character == '#';
    if (!(is_comment || is_whitespace(character)))
        return fail(manager(), NUV_ERR_INVALID_DATA, method, no_number(stream, character));
    if (is_comment) {
        stream.put_back();
        separated_ = false;
    }
    return true;
}

bool NUV_PNMInfo::read_value(NUV_ByteReader& stream, std::uint32_t& value)
{
    char digits[most_digits + 1];
    if (!skip_whitespace(stream) || !get_value(stream, digits))
        return false;
    std::uint64_t number = 0;
    for (const char* digit = digits; *digit != '\0'; ++digit) {
        number = number * 10 + static_cast<unsigned>(*digit - '0');
        if (number > std::numeric_limits<std::uint32_t>::max())
            return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_PNMInfo::read_value()",
                        at_last_byte(stream).says("the number %s in the header", digits));
    }
    value = static_cast<std::uint32_t>(number);
    return true;
}

} // namespace nuv
