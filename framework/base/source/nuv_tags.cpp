#include "framework/base/nuv_tags.h"

#include <cstddef>
#include <string_view>

namespace nuv {
namespace {

// The objects are constant-initialised, and each exists in this file alone, so that an address says
// which tag it is, in every part of the process and at any time.

template <class Family>
class Tag : public Family {
public:
    constexpr Tag(const char* key, std::int32_t id) : key_(key), id_(id) {}
    constexpr ~Tag() override {} // g++ 12 defines a defaulted one too late for a constant
    constexpr const char* key() const noexcept override { return key_; }
    std::int32_t id() const noexcept override { return id_; }

private:
    const char* key_;
    std::int32_t id_;
};

class DataTag final : public Tag<NUV_DataType> {
public:
    using Accepts = bool (*)(std::uint32_t bits);

    constexpr DataTag(const char* key, std::int32_t id, Accepts accepts)
        : Tag(key, id),
          accepts_(accepts)
    {}
    constexpr ~DataTag() override {}
    bool valid_bits(std::uint32_t bits) const noexcept override { return accepts_(bits); }

private:
    Accepts accepts_;
};

using EncodeTag = Tag<NUV_EncodeType>;

class ColorTag final : public Tag<NUV_ColorType> {
public:
    // `channels` 0: the colour says nothing about their number.
    constexpr ColorTag(const char* key, std::int32_t id, std::uint32_t channels)
        : Tag(key, id),
          channels_(channels)
    {}
    constexpr ~ColorTag() override {}
    std::uint32_t channels() const noexcept override { return channels_; }
    bool valid_channels(std::uint32_t count) const noexcept override
    {
        return channels_ != 0 ? count == channels_ : count != 0;
    }

private:
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

// The tag with that key. A key that none has runs past the end, and doesn't compile.
template <class Tag>
consteval const Tag* tag(const Tag* first, std::string_view key)
{
    while (first->key() != key)
        ++first;
    return first;
}

constexpr DataTag data_types[] = {
    {"u_integer", 0, [](std::uint32_t bits) { return is_power_of_two_to_32(bits); }},
    {"s_integer", 1, [](std::uint32_t bits) { return bits >= 8 && is_power_of_two_to_32(bits); }},
    {"floating", 2, [](std::uint32_t bits) { return bits == 32 || bits == 64; }},
    {"unknown", -1, [](std::uint32_t bits) { return bits != 0; }},
};

// clang-format off
constexpr EncodeTag encodings[] = {
    {"raw", 0}, {"mh", 100}, {"mr", 120}, {"mmr", 140},
    {"pack_bits", 200}, {"byte_encode", 220}, {"win_rle8", 300}, {"win_rle4", 310},
    {"qd_rle", 320}, {"qd_rle_be", 322}, {"qd_rlc", 330}, {"qd_rlc_be", 332},
    {"qd_rlen", 340}, {"qd_rlen_be", 342}, {"lzw", 400}, {"flate", 420},
    {"jbig", 1000}, {"jbig2", 1020}, {"jbigcolor", 1040}, {"jpeg", 2000},
    {"jpeg2000", 2020}, {"qd_mrcs", 8000}, {"qd_mrct", 8020}, {"ascii85", 10000},
    {"asciihex", 10020}, {"base64", 10040}, {"unknown", -1},
};

constexpr ColorTag colors[] = {
    {"none", 0, 0}, {"gray", 100, 1}, {"gray_reverse", 102, 1},
    {"lstar", 110, 1}, {"s_rgb", 220, 3}, {"adobe_rgb", 240, 3},
    {"ycbcr", 300, 3}, {"hsl", 400, 3}, {"icc_lab", 520, 3},
    {"itu_lab", 540, 3}, {"xyz", 1000, 3}, {"cmy", 600, 3},
    {"cmyk", 2000, 4}, {"unknown", -1, 0},
};
// clang-format on

} // namespace

// clang-format off
constinit const NUV_DataType* const NUV_DataType::u_integer = tag(data_types, "u_integer");
constinit const NUV_DataType* const NUV_DataType::s_integer = tag(data_types, "s_integer");
constinit const NUV_DataType* const NUV_DataType::floating = tag(data_types, "floating");
constinit const NUV_DataType* const NUV_DataType::unknown = tag(data_types, "unknown");

constinit const NUV_EncodeType* const NUV_EncodeType::raw = tag(encodings, "raw");
constinit const NUV_EncodeType* const NUV_EncodeType::mh = tag(encodings, "mh");
constinit const NUV_EncodeType* const NUV_EncodeType::mr = tag(encodings, "mr");
constinit const NUV_EncodeType* const NUV_EncodeType::mmr = tag(encodings, "mmr");
constinit const NUV_EncodeType* const NUV_EncodeType::pack_bits = tag(encodings, "pack_bits");
constinit const NUV_EncodeType* const NUV_EncodeType::byte_encode = tag(encodings, "byte_encode");
constinit const NUV_EncodeType* const NUV_EncodeType::win_rle8 = tag(encodings, "win_rle8");
constinit const NUV_EncodeType* const NUV_EncodeType::win_rle4 = tag(encodings, "win_rle4");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rle = tag(encodings, "qd_rle");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rle_be = tag(encodings, "qd_rle_be");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlc = tag(encodings, "qd_rlc");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlc_be = tag(encodings, "qd_rlc_be");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlen = tag(encodings, "qd_rlen");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_rlen_be = tag(encodings, "qd_rlen_be");
constinit const NUV_EncodeType* const NUV_EncodeType::lzw = tag(encodings, "lzw");
constinit const NUV_EncodeType* const NUV_EncodeType::flate = tag(encodings, "flate");
constinit const NUV_EncodeType* const NUV_EncodeType::jbig = tag(encodings, "jbig");
constinit const NUV_EncodeType* const NUV_EncodeType::jbig2 = tag(encodings, "jbig2");
constinit const NUV_EncodeType* const NUV_EncodeType::jbigcolor = tag(encodings, "jbigcolor");
constinit const NUV_EncodeType* const NUV_EncodeType::jpeg = tag(encodings, "jpeg");
constinit const NUV_EncodeType* const NUV_EncodeType::jpeg2000 = tag(encodings, "jpeg2000");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_mrcs = tag(encodings, "qd_mrcs");
constinit const NUV_EncodeType* const NUV_EncodeType::qd_mrct = tag(encodings, "qd_mrct");
constinit const NUV_EncodeType* const NUV_EncodeType::ascii85 = tag(encodings, "ascii85");
constinit const NUV_EncodeType* const NUV_EncodeType::asciihex = tag(encodings, "asciihex");
constinit const NUV_EncodeType* const NUV_EncodeType::base64 = tag(encodings, "base64");
constinit const NUV_EncodeType* const NUV_EncodeType::unknown = tag(encodings, "unknown");

constinit const NUV_ColorType* const NUV_ColorType::none = tag(colors, "none");
constinit const NUV_ColorType* const NUV_ColorType::gray = tag(colors, "gray");
constinit const NUV_ColorType* const NUV_ColorType::gray_reverse = tag(colors, "gray_reverse");
constinit const NUV_ColorType* const NUV_ColorType::lstar = tag(colors, "lstar");
constinit const NUV_ColorType* const NUV_ColorType::s_rgb = tag(colors, "s_rgb");
constinit const NUV_ColorType* const NUV_ColorType::adobe_rgb = tag(colors, "adobe_rgb");
constinit const NUV_ColorType* const NUV_ColorType::ycbcr = tag(colors, "ycbcr");
constinit const NUV_ColorType* const NUV_ColorType::hsl = tag(colors, "hsl");
constinit const NUV_ColorType* const NUV_ColorType::icc_lab = tag(colors, "icc_lab");
constinit const NUV_ColorType* const NUV_ColorType::itu_lab = tag(colors, "itu_lab");
constinit const NUV_ColorType* const NUV_ColorType::xyz = tag(colors, "xyz");
constinit const NUV_ColorType* const NUV_ColorType::cmy = tag(colors, "cmy");
constinit const NUV_ColorType* const NUV_ColorType::cmyk = tag(colors, "cmyk");
constinit const NUV_ColorType* const NUV_ColorType::unknown = tag(colors, "unknown");
// clang-format on

const NUV_DataType* NUV_DataType::by_id(std::int32_t id) noexcept
{
    return find_id<NUV_DataType>(data_types, id);
}

const NUV_EncodeType* NUV_EncodeType::by_id(std::int32_t id) noexcept
{
    return find_id<NUV_EncodeType>(encodings, id);
}

const NUV_ColorType* NUV_ColorType::by_id(std::int32_t id) noexcept
{
    return find_id<NUV_ColorType>(colors, id);
}

} // namespace nuv
