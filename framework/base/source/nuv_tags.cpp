#include "framework/base/nuv_tags.h"

#include <cstddef>

namespace nuv {
namespace {

// The objects are constant-initialised, and each exists in this file alone, so that an address says
// which tag it is, in every part of the process and at any time.

class DataTag final : public NUV_DataType {
public:
    using Accepts = bool (*)(std::uint32_t bits);

    constexpr DataTag(const char* key, std::int32_t id, Accepts accepts)
        : key_(key),
          id_(id),
          accepts_(accepts)
    {}
    bool valid_bits(std::uint32_t bits) const noexcept override { return accepts_(bits); }
    const char* key() const noexcept override { return key_; }
    std::int32_t id() const noexcept override { return id_; }

private:
    const char* key_;
    std::int32_t id_;
    Accepts accepts_;
};

class EncodeTag final : public NUV_EncodeType {
public:
    constexpr EncodeTag(const char* key, std::int32_t id) : key_(key), id_(id) {}
    const char* key() const noexcept override { return key_; }
    std::int32_t id() const noexcept override { return id_; }

private:
    const char* key_;
    std::int32_t id_;
};

class ColorTag final : public NUV_ColorType {
public:
    // `channels` 0: the colour says nothing about their number.
    constexpr ColorTag(const char* key, std::int32_t id, std::uint32_t channels)
        : key_(key),
          id_(id),
          channels_(channels)
    {}
    std::uint32_t channels() const noexcept override { return channels_; }
    bool valid_channels(std::uint32_t count) const noexcept override
    {
        return channels_ != 0 ? count == channels_ : count != 0;
    }
    const char* key() const noexcept override { return key_; }
    std::int32_t id() const noexcept override { return id_; }

private:
    const char* key_;
    std::int32_t id_;
    std::uint32_t channels_;
};

constexpr bool is_power_of_two_to_32(std::uint32_t bits)
{
    return bits <= 32 && bits != 0 && (bits & (bits - 1)) == 0;
}

// A family is its tags in the order in which an id is looked up, `unknown` last.
template <class Family, class Tag, std::size_t Count>
const Family* find_id(const Tag (&family)[Count], std::int32_t id) noexcept
{
    for (const Tag& tag : family) {
        if (tag.id() == id)
            return &tag;
    }
    return &family[Count - 1];
}

constinit const DataTag data_types[] = {
    {"u_integer", 0, [](std::uint32_t bits) { return is_power_of_two_to_32(bits); }},
    {"s_integer", 1, [](std::uint32_t bits) { return bits >= 8 && is_power_of_two_to_32(bits); }},
    {"floating", 2, [](std::uint32_t bits) { return bits == 32 || bits == 64; }},
    {"unknown", -1, [](std::uint32_t bits) { return bits != 0; }},
};

// clang-format off
constinit const EncodeTag encode_types[] = {
    {"raw", 0}, {"mh", 100}, {"mr", 120}, {"mmr", 140},
    {"pack_bits", 200}, {"byte_encode", 220}, {"win_rle8", 300}, {"win_rle4", 310},
    {"qd_rle", 320}, {"qd_rle_be", 322}, {"qd_rlc", 330}, {"qd_rlc_be", 332},
    {"qd_rlen", 340}, {"qd_rlen_be", 342}, {"lzw", 400}, {"flate", 420},
    {"jbig", 1000}, {"jbig2", 1020}, {"jbigcolor", 1040}, {"jpeg", 2000},
    {"jpeg2000", 2020}, {"qd_mrcs", 8000}, {"qd_mrct", 8020}, {"ascii85", 10000},
    {"asciihex", 10020}, {"base64", 10040}, {"unknown", -1},
};

constinit const ColorTag color_types[] = {
    {"none", 0, 0}, {"gray", 100, 1}, {"gray_reverse", 102, 1},
    {"lstar", 110, 1}, {"s_rgb", 220, 3}, {"adobe_rgb", 240, 3},
    {"ycbcr", 300, 3}, {"hsl", 400, 3}, {"icc_lab", 520, 3},
    {"itu_lab", 540, 3}, {"xyz", 1000, 3}, {"cmy", 600, 3},
    {"cmyk", 2000, 4}, {"unknown", -1, 0},
};
// clang-format on

} // namespace

// clang-format off
constinit const NUV_DataType* const NUV_DataType::u_integer = &data_types[0];
constinit const NUV_DataType* const NUV_DataType::s_integer = &data_types[1];
constinit const NUV_DataType* const NUV_DataType::floating = &data_types[2];
constinit const NUV_DataType* const NUV_DataType::unknown = &data_types[3];

constinit const NUV_EncodeType* const NUV_EncodeType::raw = &encode_types[0];
constinit const NUV_EncodeType* const NUV_EncodeType::mh = &encode_types[1];
constinit const NUV_EncodeType* const NUV_EncodeType::mr = &encode_types[2];
constinit const NUV_EncodeType* const NUV_EncodeType::mmr = &encode_types[3];
constinit const NUV_EncodeType* const NUV_EncodeType::pack_bits = &encode_types[4];
constinit const NUV_EncodeType* const NUV_EncodeType::byte_encode = &encode_types[5];
constinit const NUV_EncodeType* const NUV_EncodeType::win_rle8 = &encode_types[6];
constinit const NUV_EncodeType* const NUV_EncodeType::win_rle4 = &encode_types[7];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rle = &encode_types[8];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rle_be = &encode_types[9];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlc = &encode_types[10];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlc_be = &encode_types[11];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlen = &encode_types[12];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlen_be = &encode_types[13];
constinit const NUV_EncodeType* const NUV_EncodeType::lzw = &encode_types[14];
constinit const NUV_EncodeType* const NUV_EncodeType::flate = &encode_types[15];
constinit const NUV_EncodeType* const NUV_EncodeType::jbig = &encode_types[16];
constinit const NUV_EncodeType* const NUV_EncodeType::jbig2 = &encode_types[17];
constinit const NUV_EncodeType* const NUV_EncodeType::jbigcolor = &encode_types[18];
constinit const NUV_EncodeType* const NUV_EncodeType::jpeg = &encode_types[19];
constinit const NUV_EncodeType* const NUV_EncodeType::jpeg2000 = &encode_types[20];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_mrcs = &encode_types[21];
constinit const NUV_EncodeType* const NUV_EncodeType::qd_mrct = &encode_types[22];
constinit const NUV_EncodeType* const NUV_EncodeType::ascii85 = &encode_types[23];
constinit const NUV_EncodeType* const NUV_EncodeType::asciihex = &encode_types[24];
constinit const NUV_EncodeType* const NUV_EncodeType::base64 = &encode_types[25];
constinit const NUV_EncodeType* const NUV_EncodeType::unknown = &encode_types[26];

constinit const NUV_ColorType* const NUV_ColorType::none = &color_types[0];
constinit const NUV_ColorType* const NUV_ColorType::gray = &color_types[1];
constinit const NUV_ColorType* const NUV_ColorType::gray_reverse = &color_types[2];
constinit const NUV_ColorType* const NUV_ColorType::lstar = &color_types[3];
constinit const NUV_ColorType* const NUV_ColorType::s_rgb = &color_types[4];
constinit const NUV_ColorType* const NUV_ColorType::adobe_rgb = &color_types[5];
constinit const NUV_ColorType* const NUV_ColorType::ycbcr = &color_types[6];
constinit const NUV_ColorType* const NUV_ColorType::hsl = &color_types[7];
constinit const NUV_ColorType* const NUV_ColorType::icc_lab = &color_types[8];
constinit const NUV_ColorType* const NUV_ColorType::itu_lab = &color_types[9];
constinit const NUV_ColorType* const NUV_ColorType::xyz = &color_types[10];
constinit const NUV_ColorType* const NUV_ColorType::cmy = &color_types[11];
constinit const NUV_ColorType* const NUV_ColorType::cmyk = &color_types[12];
constinit const NUV_ColorType* const NUV_ColorType::unknown = &color_types[13];
// clang-format on

const NUV_DataType* NUV_DataType::by_id(std::int32_t id) noexcept
{
    return find_id<NUV_DataType>(data_types, id);
}

const NUV_EncodeType* NUV_EncodeType::by_id(std::int32_t id) noexcept
{
    return find_id<NUV_EncodeType>(encode_types, id);
}

const NUV_ColorType* NUV_ColorType::by_id(std::int32_t id) noexcept
{
    return find_id<NUV_ColorType>(color_types, id);
}

} // namespace nuv
