#include "core/pnm/source/nuv_pnmengines.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/utility/nuv_endian.h"

#include <bit>
#include <limits>

namespace nuv {
namespace {

// Of a line that breaks off at a character that was just taken, or at the end.
NUV_Diagnosis stopped_at(int character, const NUV_ByteReader& stream, NUV_Diagnosis line)
{
    if (character == NUV_ByteReader::at_end)
        return line;
    return line.at_byte(stream.position() - 1)
        .says("the byte %02x where a number should stand", static_cast<unsigned>(character));
}

} // namespace

bool NUV_ReadPNMBinaryEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                       NUV_DstBuffer* dst)
{
    return NUV_ReadLineEngine::initiate(storage, header, dst);
}

bool NUV_ReadPNMBinaryEngine::read_line(std::uint8_t* out)
{
    if (!out || read_up_to(*storage_, out, line_bytes_) != line_bytes_)
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadPNMBinaryEngine::execute()",
                    ends_early());
    if (header_.bits() == 16 && std::endian::native == std::endian::little)
        swap_bytes(out, line_bytes_ / 2, 2);
    return true;
}

bool NUV_ReadPBMAsciiEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                      NUV_DstBuffer* dst)
{
    if (!NUV_ReadLineEngine::initiate(storage, header, dst))
        return false;
    stream_ = NUV_ByteReader(*storage);
    full_bytes_ = header_.width() >> 3;
    rest_bits_ = header_.width() & 7;
    return true;
}

// Each pixel takes a digit, and a whitespace before the next one.
std::uint64_t NUV_ReadPBMAsciiEngine::least_line_bytes() const
{
    return std::uint64_t{header_.width()} * 2 - 1;
}

bool NUV_ReadPBMAsciiEngine::read_line(std::uint8_t* out)
{
    std::uint8_t dropped = 0;
    std::uint8_t* to = out ? out : &dropped;
    const std::size_t step = out ? 1 : 0;
    for (std::uint32_t i = 0; i < full_bytes_; ++i, to += step) {
        if (!read_byte(*to, 8))
            return false;
    }
    return rest_bits_ == 0 || read_byte(*to, rest_bits_);
}

bool NUV_ReadPBMAsciiEngine::read_byte(std::uint8_t& byte, std::uint32_t count)
{
    byte = 0;
    unsigned mask = 0x80;
    for (std::uint32_t i = 0; i < count; ++i, mask >>= 1) {
        if (!read_value(byte, mask))
            return false;
    }
    return true;
}

bool NUV_ReadPBMAsciiEngine::read_value(std::uint8_t& byte, unsigned mask)
{
    bool is_zero = false; // a "0" has been seen, which may still become "01"
    for (;;) {
        const int character = stream_.next();
        if (is_whitespace(character)) {
            if (is_zero)
                return true;
            separated_ = true;
            continue;
        }
        if (!separated_ || !is_digit(character))
            return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadPBMAsciiEngine::read_value()",
                        stopped_at(character, stream_, ends_early()));
        if (character != '0') {
            byte = static_cast<std::uint8_t>(byte | mask);
            separated_ = false;
            return true;
        }
        is_zero = true;
    }
}

bool NUV_ReadPPMAsciiEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                      NUV_DstBuffer* dst)
{
    if (!NUV_ReadLineEngine::initiate(storage, header, dst))
        return false;
    stream_ = NUV_ByteReader(*storage);
    samples_per_line_ = std::uint64_t{header_.width()} * header_.channels();
    sample_bytes_ = (header_.bits() + 7U) >> 3;
    return true;
}

// Each sample takes a digit, and a whitespace before the next one.
std::uint64_t NUV_ReadPPMAsciiEngine::least_line_bytes() const
{
    return samples_per_line_ * 2 - 1;
}

bool NUV_ReadPPMAsciiEngine::read_line(std::uint8_t* out)
{
    return sample_bytes_ == 1 ? read_value(out) : read_value(reinterpret_cast<std::uint16_t*>(out));
}

template <class T>
bool NUV_ReadPPMAsciiEngine::read_value(T* line)
{
    T dropped = 0;
    T* to = line ? line : &dropped;
    const std::size_t step = line ? 1 : 0;
    for (std::uint64_t i = 0; i < samples_per_line_; ++i, to += step) {
        std::uint32_t value = 0;
        if (!get_usual_value(value) && !(skip_whitespace() && get_value(value)))
            return false;
        if (value > std::numeric_limits<T>::max())
            return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadPPMAsciiEngine::read_value()",
                        ends_early()
                            .at_byte(stream_.position() - 1)
                            .says("the sample %u is too large", value));
        *to = static_cast<T>(value);
    }
    return true;
}

// The most usual number, one to three digits with a whitespace behind them and at most one before,
// where it lies ready as a whole. False, with nothing taken, for any other.
bool NUV_ReadPPMAsciiEngine::get_usual_value(std::uint32_t& value)
{
    constexpr std::int32_t most_bytes = 5; // a whitespace, three digits, a whitespace

    if (stream_.ready_bytes() < most_bytes)
        return false;
    const std::uint8_t* at = stream_.ready();
    std::int32_t used = is_whitespace(at[0]) ? 1 : 0;
    if (!is_digit(at[used]))
        return false;
    std::uint32_t number = at[used++] - std::uint32_t{'0'};
    for (int more = 0; more < 2 && is_digit(at[used]); ++more)
        number = number * 10 + at[used++] - std::uint32_t{'0'};
    if (!is_whitespace(at[used]))
        return false;
    stream_.take(used + 1);
    value = number;
    return true;
}

bool NUV_ReadPPMAsciiEngine::skip_whitespace()
{
    int character = stream_.next();
    while (is_whitespace(character))
        character = stream_.next();
    if (!is_digit(character))
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadPPMAsciiEngine::skip_whitespace()",
                    stopped_at(character, stream_, ends_early()));
    stream_.put_back();
    return true;
}

// The end of the storage ends a number too.
bool NUV_ReadPPMAsciiEngine::get_value(std::uint32_t& value)
{
    constexpr auto method = "NUV_ReadPPMAsciiEngine::get_value()";
    constexpr int most_digits = 6; // leading zeros not counted

    int digits = 0;
    int character = stream_.next();
    for (; is_digit(character); character = stream_.next()) {
        if (character == '0' && digits == 0)
            continue;
        if (digits == most_digits)
            return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                        stopped_at(character, stream_, ends_early()).says("a sample is too large"));
        value = value * 10 + static_cast<std::uint32_t>(character - '0');
        ++digits;
    }
    if (!is_whitespace(character) && character != NUV_ByteReader::at_end)
        return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    stopped_at(character, stream_, ends_early()));
    return true;
}

} // namespace nuv
