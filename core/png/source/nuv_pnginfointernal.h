#pragma once

#include "core/png/nuv_pnginfo.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_header.h"
#include "framework/base/nuv_object.h"
#include "framework/containers/nuv_vector.h"
#include "framework/io/nuv_inputstorage.h"

#include <png.h>

#include <cstddef>
#include <cstdint>

namespace nuv {

// How much of what was asked for is there.
enum class NUV_PNGDecoded {
    complete,
    ended, // all of it, but nothing can be read behind it; a status was raised
    lost   // nothing of it, and nothing can be read behind it; a status was raised
};

// libpng's state: from the signature to the first pixel data for the info, from there on for the
// engine. Its memory is the manager's.
//
// libpng ends a call that fails by a jump back over its own frames. Each sequence of calls is
// therefore a small noexcept function that sets the place to return to first, and in which nothing
// needs a destructor; after a jump libpng is asked for nothing but how far it was, and then to go.
class NUV_PNGInfoInternal final : public NUV_Object {
public:
    explicit NUV_PNGInfoInternal(NUV_Manager& manager) noexcept
        : NUV_Object(manager),
          header_(manager),
          texts_(manager)
    {}

    bool cleanup() override;
    // Gives back all that libpng holds.
    void finish() noexcept;
    // Reads up to the pixels. False without a status when the signature is not there.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage);

    // The image that comes out.
    [[nodiscard]] const NUV_Header& header() const noexcept { return header_; }
    [[nodiscard]] const NUV_PNGTypes::Fields& fields() const noexcept { return fields_; }
    // Of the image as it is filtered, before it is compressed.
    [[nodiscard]] std::uint64_t stored_bytes() const noexcept;
    // Of the storage, behind what was read.
    [[nodiscard]] std::uint64_t remaining_bytes() const;

    // The one engine that reads the pixels takes them from here on. False when there is one.
    [[nodiscard]] bool begin(NUV_InputStorage& storage) noexcept;
    // A line, with zeros behind its last pixel. To be called for row after row.
    [[nodiscard]] NUV_PNGDecoded decode_process(std::uint8_t* line, std::uint32_t row);
    // All lines, one behind the other.
    [[nodiscard]] NUV_PNGDecoded decode_process_interlace(std::uint8_t* image);
    // What stands behind the pixels, for its status.
    void decode_end();

private:
    // The sequences of libpng calls. False after a jump; the reason is then in message_.
    [[nodiscard]] bool create() noexcept;
    [[nodiscard]] bool read_info() noexcept;
    [[nodiscard]] bool get_fields() noexcept;
    [[nodiscard]] bool read_row(std::uint8_t* line) noexcept;
    [[nodiscard]] bool read_passes(std::uint8_t* image) noexcept;
    [[nodiscard]] bool read_end() noexcept;

    // Parts of those.
    void get_header_fields() noexcept;
    void get_color_fields() noexcept;
    void get_layout_fields() noexcept;
    void set_transforms() noexcept;

    // libpng's calls to us.
    static void read_callback(png_structp png, png_bytep into, std::size_t bytes);
    [[noreturn]] static void error_callback(png_structp png, png_const_charp text);
    static void warning_callback(png_structp, png_const_charp) {}
    static void* allocate_callback(png_structp png, png_alloc_size_t bytes);
    static void free_callback(png_structp png, void* memory);

    [[nodiscard]] bool read_storage(void* into, std::uint32_t bytes) noexcept;
    // For each piece of four bytes, of whatever.
    void note_gamma(const std::uint8_t* four_bytes) noexcept;
    [[nodiscard]] void* allocate(std::size_t bytes) noexcept;
    void deallocate(void* memory) noexcept;

    [[nodiscard]] bool has_signature();
    [[nodiscard]] bool copy_fields();
    [[nodiscard]] bool copy_palette();
    [[nodiscard]] bool copy_texts();
    [[nodiscard]] bool get_png_info();
    // Where reading has come to.
    [[nodiscard]] NUV_Diagnosis here() const noexcept;
    [[nodiscard]] NUV_Diagnosis why_no_header() const noexcept;
    [[nodiscard]] NUV_PNGDecoded stop(bool is_complete, const char* method,
                                      const NUV_Diagnosis& why);

    NUV_InputStorage* storage_ = nullptr;
    std::int32_t position_ = 0; // of what is read next; others may move the storage
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    char message_[256] = {}; // of libpng's last error

    NUV_Header header_;
    NUV_PNGTypes::Fields fields_;
    NUV_Vector<NUV_PNGTypes::Text> texts_;
    std::uint8_t depth_ = 0; // as stored
    std::uint8_t stored_channels_ = 0;
    // libpng's own, until they are copied:
    png_colorp colors_ = nullptr;
    int color_count_ = 0;
    png_textp text_chunks_ = nullptr;
    int text_count_ = 0;

    std::uint32_t gamma_ = 0;          // of the gAMA chunk as it is stored, 0 without one
    std::uint8_t gamma_chunk_[8] = {}; // its name and its data
    bool is_behind_palette_ = false;   // the chunk at hand, or that itself
    std::size_t held_bytes_ = 0;       // by libpng
    bool limits_memory_ = true;        // while what it takes depends on texts and profiles
    bool has_passed_limit_ = false;
    bool was_refused_memory_ = false;
    bool begun_ = false;
    bool stopped_ = false; // libpng has jumped, or has read all
};

} // namespace nuv
