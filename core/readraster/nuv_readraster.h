#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_failure.h"
#include "framework/engine/nuv_enginecreator.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// Finds out by content what a stored image is, and hands it to the reader of its format. Formats
// are probed in a fixed order, and the first that recognises the data ends the search.
//
// A probe that refuses leaves no trace, unless nothing accepts the data: then the first error that
// a probe raised stands, or NUV_ERR_UNSUPPORTED.
class NUV_ReadRaster final : public NUV_EngineCreator {
public:
    explicit NUV_ReadRaster(NUV_Manager& manager) noexcept;

    // The last engine of a chain that reads the image at the storage's position. Pages other than 0
    // are for formats that hold several images. Null after a status.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::uint32_t page);

    // The description of the image, for the caller to end(). Null after a status.
    [[nodiscard]] NUV_FormatInfo* format_info(NUV_InputStorage* storage, std::uint32_t page);

private:
    [[nodiscard]] NUV_Engine* engine_single_image(NUV_InputStorage* storage);
    [[nodiscard]] NUV_Engine* engine_tiff(NUV_InputStorage* storage, std::uint32_t page);
    [[nodiscard]] NUV_FormatInfo* format_info_single_image(NUV_InputStorage* storage);
    [[nodiscard]] NUV_FormatInfo* format_info_tiff(NUV_InputStorage* storage, std::uint32_t page);

    void begin_search(NUV_InputStorage* storage);
    void begin_probe();
    void keep_refusal();
    void keep_reader_failure();
    void end_search(const char* method);
    [[nodiscard]] NUV_Diagnosis nothing_seen() const;

    NUV_InputStorage* storage_ = nullptr;
    std::int32_t start_ = 0;
    bool is_over_ = false; // the format is known, and its reader has failed
    NUV_Report entry_;     // what stood before the search
    NUV_Report kept_;      // that, and what refusing probes have raised
};

} // namespace nuv
