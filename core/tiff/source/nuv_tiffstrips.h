#pragma once

#include "core/tiff/nuv_tiffinfo.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_inputstorage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// A strip: where it is stored, and the pixels that it holds.
struct NUV_TIFFStrip {
    std::uint32_t offset = 0;
    std::uint32_t bytes = 0; // 0: to the end of the storage
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// The strips of an image, those of one plane behind those of the other. An image of old-style JPEG
// is one strip, the stream.
class NUV_TIFFStrips {
public:
    // The info is loaded and lives as long.
    explicit NUV_TIFFStrips(const NUV_TIFFInfo& info) noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return planes_ * per_plane_; }
    [[nodiscard]] std::size_t per_plane() const noexcept { return per_plane_; }
    [[nodiscard]] NUV_TIFFStrip operator[](std::size_t index) const noexcept;
    // Bytes of a raw strip of the first plane that is not its last.
    [[nodiscard]] std::uint32_t usual_raw_bytes() const noexcept { return usual_raw_bytes_; }

    // False after NUV_ERR_UNSUPPORTED for more strips than engines are made for.
    [[nodiscard]] bool check_count(NUV_Manager& manager) const;
    // False after NUV_ERR_IO for a strip that begins behind the end of the storage.
    [[nodiscard]] bool check_begin(NUV_Manager& manager, const NUV_InputStorage& storage,
                                   std::size_t index) const;

private:
    [[nodiscard]] NUV_TIFFStrip jpeg_stream() const noexcept;
    // Bytes of the pixels of a raw strip.
    [[nodiscard]] std::uint32_t raw_bytes(const NUV_TIFFStrip& strip) const noexcept;

    const NUV_TIFFInfo& info_;
    bool is_raw_;
    bool is_one_stream_;
    bool has_small_planes_; // of subsampled chroma
    std::size_t planes_;
    std::size_t per_plane_;
    std::uint32_t usual_raw_bytes_ = 0;
};

// A stored strip begins with the marker of a JPEG stream. Leaves the storage at its begin.
[[nodiscard]] bool begins_as_jpeg(NUV_InputStorage& strip);

// NUV_TIFFStrips::check_begin() for strip `index` of so many.
[[nodiscard]] bool check_tiff_begin(NUV_Manager& manager, const NUV_InputStorage& storage,
                                    std::uint32_t offset, std::size_t index, std::size_t all);

// The bytes of a strip that begins in the storage. One that the storage does not hold whole is as
// long as it can be: its lines are read until they end.
struct NUV_TIFFRange {
    std::int32_t begin;
    std::int32_t end;
};
[[nodiscard]] NUV_TIFFRange tiff_range(const NUV_InputStorage& storage,
                                       const NUV_TIFFStrip& strip) noexcept;

// The bytes of a strip as a storage of their own, over a storage that others read from, too.
// Empty after what check_begin() says.
[[nodiscard]] NUV_Held<NUV_InputStorage> open_tiff_strip(NUV_Manager& manager,
                                                         NUV_InputStorage* storage,
                                                         const NUV_TIFFStrips& strips,
                                                         std::size_t index);

// Strips one behind the other.
class NUV_TIFFStripStream {
public:
    NUV_TIFFStripStream(NUV_Manager& manager, const NUV_InputStorage& storage) noexcept;

    // That an offset and a count take, as NUV_PackedNumbers has them.
    struct Bytes {
        std::uint32_t offset = 4;
        std::uint32_t count = 4;
    };
    // Room for `strips` of the `all` that the image has, behind the first `before` of them; there
    // are none yet. False without memory.
    [[nodiscard]] bool make_room(std::size_t strips, std::size_t before, std::size_t all,
                                 const Bytes& bytes);
    // Behind the strips so far, for which there is room.
    void add(std::uint32_t offset, std::uint32_t bytes)
    {
        offsets_.push_back(offset);
        byte_counts_.push_back(bytes);
        ++count_;
    }
    // The same for a strip whose bytes are pixels: behind one that the storage does not hold whole
    // comes nothing any more, for it would move up. Strips that lie in a row are one, so that in
    // most files little of the room is touched.
    void add_raw(std::uint32_t offset, std::uint32_t bytes)
    {
        if (!is_whole_)
            return;
        const bool is_reached = offset <= storage_bytes_;
        const std::uint32_t there = is_reached ? std::min(bytes, storage_bytes_ - offset) : bytes;
        is_whole_ = is_reached && there == bytes;
        missing_ = bytes - there;
        last_offset_ = offset;
        const std::size_t last = offsets_.size() - 1;
        if (count_ == 0 || std::uint64_t{offsets_[last]} + byte_counts_[last] != offset) {
            add(offset, there);
        } else {
            byte_counts_.set(last, byte_counts_[last] + there);
            ++count_;
        }
    }
    // What to say where raw strips end early.
    [[nodiscard]] NUV_Diagnosis early_end() const noexcept;
    // The strips as one stream, to which they are handed on. Nobody else may move the storage
    // meanwhile.
    [[nodiscard]] NUV_Held<NUV_InputStorage> open(NUV_InputStorage* storage);
    // Hands on where the strips are.
    void hand_on(NUV_PackedNumbers& offsets, NUV_PackedNumbers& byte_counts);

private:
    NUV_Manager& manager_;
    NUV_PackedNumbers offsets_;
    NUV_PackedNumbers byte_counts_;
    std::size_t count_ = 0;
    std::size_t before_ = 0;
    std::size_t all_ = 0;
    std::uint32_t storage_bytes_;
    bool is_whole_ = true;
    std::uint32_t last_offset_ = 0; // of a raw strip
    std::uint32_t missing_ = 0;     // of that
};

// `bytes` with their bits in the order of the library, over it where that is needed: then
// `mirrored` holds what is answered. `bytes` stands at its begin, and stays there. Null after a
// status.
[[nodiscard]] NUV_InputStorage* turn_tiff_bits(NUV_Manager& manager, NUV_InputStorage* bytes,
                                               const NUV_TIFFInfo& info,
                                               NUV_Held<NUV_InputStorage>& mirrored);

// The bytes of strips with `header`, for the stages behind: their bits in the order of the library,
// samples of 16 bits in that of the host. `early_end` as NUV_ReadStorage has it. Null after a
// status.
[[nodiscard]] NUV_Engine* read_tiff_bytes(NUV_Manager& manager, NUV_InputStorage* bytes,
                                          const NUV_Header& header, const NUV_TIFFInfo& info,
                                          const NUV_Diagnosis& early_end = {});

// What all strips of an image have in common, but for their sizes: one channel of no colour for a
// plane, `unknown` for the coding of raw units of luma and chroma. Without its palette an image of
// indices has no colour either.
[[nodiscard]] bool describe_tiff_strip(NUV_Header& header, const NUV_TIFFInfo& info,
                                       bool keeps_palette);

// What the two creators look at alike, under their own names: a plane-order without planes and
// child images, each with a warning, and tiles, which are not read.
[[nodiscard]] bool check_tiff_layout(NUV_Manager& manager, const NUV_TIFFInfo& info,
                                     const char* no_planes, const char* child_images);

// Ends engines, and empties the vector.
void end_engines(NUV_Vector<NUV_Engine*>& engines);

} // namespace nuv
