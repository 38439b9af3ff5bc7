#include "framework/base/nuv_header.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <cstring>

namespace nuv {

NUV_Header::NUV_Palette::~NUV_Palette()
{
    if (value_)
        manager().deallocate(value_);
}

std::uint64_t NUV_Header::NUV_Palette::wanted_bytes() const noexcept
{
    const std::uint64_t entry_bits = std::uint64_t{channels} * bits; // below 2^32
    return (entry_bits * entries) >> 3;
}

void NUV_Header::NUV_Palette::clear() noexcept
{
    if (value_)
        manager().deallocate(value_);
    value_ = nullptr;
    stored_bytes_ = 0;
    bits = 0;
    channels = 0;
    entries = 0;
}

bool NUV_Header::NUV_Palette::value(const std::uint8_t* data, std::uint32_t bytes)
{
    constexpr auto method = "NUV_Header::NUV_Palette::value()";

    if ((data == nullptr) != (bytes == 0))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const auto wanted = fits_32(wanted_bytes());
    if (!wanted || bytes != *wanted)
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    std::uint8_t* copy = nullptr;
    if (bytes > 0) {
        copy = static_cast<std::uint8_t*>(manager().allocate(bytes));
        if (!copy)
            return false;
        std::memcpy(copy, data, bytes);
    }
    if (value_)
        manager().deallocate(value_);
    value_ = copy;
    stored_bytes_ = bytes;
    return true;
}

bool NUV_Header::NUV_Palette::copy(const NUV_Palette& other)
{
    if (this == &other)
        return true;
    bits = other.bits;
    channels = other.channels;
    entries = other.entries;
    if (value(other.value_, other.stored_bytes_))
        return true;
    clear();
    return false;
}

bool NUV_Header::NUV_Palette::equal(const NUV_Palette& other) const noexcept
{
    if (this == &other)
        return true;
    if (bits != other.bits || channels != other.channels || entries != other.entries)
        return false;
    if (!value_ || !other.value_)
        return value_ == other.value_;
    return stored_bytes_ == other.stored_bytes_ &&
           std::memcmp(value_, other.value_, stored_bytes_) == 0;
}

bool NUV_Header::NUV_Palette::is_empty() const noexcept
{
    return bits == 0 && channels == 0 && entries == 0 && !value_;
}

bool NUV_Header::NUV_Palette::is_valid() const noexcept
{
    if (is_empty())
        return true;
    return (bits == 8 || bits == 16) && channels != 0 && entries >= 1 && entries <= 65536 && value_;
}

void NUV_Header::data_type(const NUV_DataType* tag)
{
    if (tag)
        data_type_ = tag;
    else
        fail(manager(), NUV_ERR_ARGUMENT, "NUV_Header::data_type()");
}

void NUV_Header::encode_type(const NUV_EncodeType* tag)
{
    if (tag)
        encode_type_ = tag;
    else
        fail(manager(), NUV_ERR_ARGUMENT, "NUV_Header::encode_type()");
}

void NUV_Header::color_type(const NUV_ColorType* tag)
{
    if (tag)
        color_type_ = tag;
    else
        fail(manager(), NUV_ERR_ARGUMENT, "NUV_Header::color_type()");
}

bool NUV_Header::copy(const NUV_Header& other)
{
    if (this == &other)
        return true;
    if (!palette_.copy(other.palette_))
        return false;
    width_ = other.width_;
    height_ = other.height_;
    bits_ = other.bits_;
    channels_ = other.channels_;
    data_type_ = other.data_type_;
    encode_type_ = other.encode_type_;
    color_type_ = other.color_type_;
    return true;
}

bool NUV_Header::is_valid() const noexcept
{
    if (width_ == 0 || height_ == 0 || !palette_.is_valid())
        return false;
    if (palette_.is_empty())
        return data_type_->valid_bits(bits_) && color_type_->valid_channels(channels_);

    const bool indexable = bits_ == 1 || bits_ == 2 || bits_ == 4 || bits_ == 8 || bits_ == 16;
    return data_type_ == NUV_DataType::u_integer && channels_ == 1 &&
           color_type_->valid_channels(palette_.channels) && indexable &&
           palette_.entries <= std::uint32_t{1} << bits_;
}

std::optional<std::uint32_t> NUV_Header::checked_plane_bytes() const noexcept
{
    const auto line = checked_line_bytes();
    return line ? checked_product(*line, height_) : std::nullopt;
}

} // namespace nuv
