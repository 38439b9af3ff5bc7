#pragma once

#include <cstdint>

namespace nuv {

// Tags say what samples, bytes and channels mean. Each is one immutable object that lives as long
// as the library, so two tags are the same exactly when their addresses are.

class NUV_DataType {
public:
    virtual constexpr ~NUV_DataType() = default;
    // True when samples of this type can have that many bits.
    [[nodiscard]] virtual bool valid_bits(std::uint32_t bits) const noexcept = 0;
    [[nodiscard]] virtual const char* key() const noexcept = 0;
    [[nodiscard]] virtual std::int32_t id() const noexcept = 0;

    // The member with that id, or `unknown`.
    [[nodiscard]] static const NUV_DataType* by_id(std::int32_t id) noexcept;

    static const NUV_DataType* const u_integer;
    static const NUV_DataType* const s_integer;
    static const NUV_DataType* const floating;
    static const NUV_DataType* const unknown;

protected:
    constexpr NUV_DataType() = default;
};

// How the byte stream is coded. `raw` is the one that has lines.
class NUV_EncodeType {
public:
    virtual constexpr ~NUV_EncodeType() = default;
    [[nodiscard]] virtual const char* key() const noexcept = 0;
    [[nodiscard]] virtual std::int32_t id() const noexcept = 0;

    // The member with that id, or `unknown`.
    [[nodiscard]] static const NUV_EncodeType* by_id(std::int32_t id) noexcept;

    static const NUV_EncodeType* const raw;
    static const NUV_EncodeType* const mh;
    static const NUV_EncodeType* const mr;
    static const NUV_EncodeType* const mmr;
    static const NUV_EncodeType* const pack_bits;
    static const NUV_EncodeType* const byte_encode;
    static const NUV_EncodeType* const win_rle8;
    static const NUV_EncodeType* const win_rle4;
    static const NUV_EncodeType* const qd_rle;
    static const NUV_EncodeType* const qd_rle_be;
    static const NUV_EncodeType* const qd_rlc;
    static const NUV_EncodeType* const qd_rlc_be;
    static const NUV_EncodeType* const qd_rlen;
    static const NUV_EncodeType* const qd_rlen_be;
    static const NUV_EncodeType* const lzw;
    static const NUV_EncodeType* const flate;
    static const NUV_EncodeType* const jbig;
    static const NUV_EncodeType* const jbig2;
    static const NUV_EncodeType* const jbigcolor;
    static const NUV_EncodeType* const jpeg;
    static const NUV_EncodeType* const jpeg2000;
    static const NUV_EncodeType* const qd_mrcs;
    static const NUV_EncodeType* const qd_mrct;
    static const NUV_EncodeType* const ascii85;
    static const NUV_EncodeType* const asciihex;
    static const NUV_EncodeType* const base64;
    static const NUV_EncodeType* const unknown;

protected:
    constexpr NUV_EncodeType() = default;
};

// What the channels of a pixel mean. Of an image with a palette: the channels of its entries.
class NUV_ColorType {
public:
    virtual constexpr ~NUV_ColorType() = default;
    // How many channels the colour has; 0 where any count goes.
    [[nodiscard]] virtual std::uint32_t channels() const noexcept = 0;
    [[nodiscard]] virtual bool valid_channels(std::uint32_t count) const noexcept = 0;
    [[nodiscard]] virtual const char* key() const noexcept = 0;
    [[nodiscard]] virtual std::int32_t id() const noexcept = 0;

    // The member with that id, or `unknown`.
    [[nodiscard]] static const NUV_ColorType* by_id(std::int32_t id) noexcept;

    static const NUV_ColorType* const none;
    static const NUV_ColorType* const gray;
    static const NUV_ColorType* const gray_reverse; // 0 is white
    static const NUV_ColorType* const lstar;
    static const NUV_ColorType* const s_rgb;
    static const NUV_ColorType* const adobe_rgb;
    static const NUV_ColorType* const ycbcr;
    static const NUV_ColorType* const hsl;
    static const NUV_ColorType* const icc_lab;
    static const NUV_ColorType* const itu_lab;
    static const NUV_ColorType* const cmy;
    static const NUV_ColorType* const xyz;
    static const NUV_ColorType* const cmyk;
    static const NUV_ColorType* const unknown;

protected:
    constexpr NUV_ColorType() = default;
};

} // namespace nuv
