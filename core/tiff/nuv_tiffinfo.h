#pragma once

#include "core/include/nuv_formatinfo.h"
#include "core/tiff/nuv_tiffattributes.h"

#include <cstdint>

namespace nuv {

// One image of a TIFF file: what its directory says, with what it leaves out filled in, and what it
// says wrongly put right or refused.
class NUV_TIFFInfo : public NUV_FormatInfo, public NUV_TIFFAttributes {
public:
    explicit NUV_TIFFInfo(NUV_Manager& manager) noexcept
        : NUV_FormatInfo(manager),
          NUV_TIFFAttributes(manager)
    {}

    [[nodiscard]] const char* format_name() const noexcept override { return "tiff"; }

    // The image on a page of the file that begins where the storage stands; false in silence when
    // it does not begin with a byte order. NUV_ERR_INVALID_DATA for a directory that tells of no
    // image that there can be, NUV_ERR_BROKEN_DATA and NUV_ERR_UNSUPPORTED for one that cannot be
    // read, NUV_ERR_ARGUMENT for a page that is not there and for a null or closed storage;
    // warnings for what was put right.
    [[nodiscard]] virtual bool load(NUV_InputStorage* storage, std::uint32_t page);
    // The image `page` steps behind the directory at `offset`, for directories inside other data.
    [[nodiscard]] virtual bool load(NUV_InputStorage* storage, std::uint32_t offset,
                                    NUV_TIFFByteOrder order, std::uint32_t page);
    // The first one.
    [[nodiscard]] bool load(NUV_InputStorage* storage) { return load(storage, 0); }
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    [[nodiscard]] NUV_TIFFByteOrder byte_order() const noexcept { return byte_order_; }
    [[nodiscard]] std::uint32_t next_ifd_offset() const noexcept { return next_ifd_offset_; }
    // Strips that the lines of a plane take; 1 and more behind a load().
    [[nodiscard]] std::uint32_t strips_per_plane() const noexcept
    {
        return 1 + (image_length - 1) / rows_per_strip;
    }
    // That of the photometric interpretation, without regard to extra samples.
    [[nodiscard]] const NUV_ColorType* photometric_color() const noexcept;

    // Finds the directory.
    class IFDLoader {
    public:
        virtual ~IFDLoader() = default;
        [[nodiscard]] virtual bool load(NUV_InputStorage* storage,
                                        NUV_TIFFImageFileDirectory& directory) = 0;
    };

protected:
    // Checks what stands in the attributes and puts right what can be. False after
    // NUV_ERR_INVALID_DATA or NUV_ERR_MEMORY.
    [[nodiscard]] virtual bool validate();

private:
    [[nodiscard]] bool load_from(NUV_InputStorage* storage, IFDLoader& loader);
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage, IFDLoader& loader);
    [[nodiscard]] bool load_attributes(NUV_TIFFImageFileDirectory& directory);
    [[nodiscard]] bool set_default();
    [[nodiscard]] bool to_header();
    [[nodiscard]] bool set_palette();
    void set_resolution();

    // The groups of validate().
    [[nodiscard]] bool validate_presence();
    [[nodiscard]] bool validate_color_map();
    [[nodiscard]] bool validate_samples();
    [[nodiscard]] bool validate_planes();
    [[nodiscard]] bool validate_strips();
    [[nodiscard]] bool validate_subsampling();
    [[nodiscard]] bool validate_jpeg();

    // Colours that a sample can tell apart.
    [[nodiscard]] std::uint32_t most_colors() const noexcept;
    [[nodiscard]] const NUV_EncodeType* coding() const noexcept;

    std::uint32_t next_ifd_offset_ = 0;
    NUV_TIFFByteOrder byte_order_ = NUV_TIFFByteOrder::little_endian;
};

} // namespace nuv
