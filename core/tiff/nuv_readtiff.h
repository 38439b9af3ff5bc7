#pragma once

#include "core/tiff/nuv_tiffinfo.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

class NUV_TIFFStripStream;

// Reads a TIFF image as raw lines: strips raw, in PackBits or JPEG, the samples of a pixel together
// or in planes. Samples of 4 bits are widened to 8; subsampled chroma is repeated; the a and b of
// CIE L*a*b* go from signed to the numbers that `icc_lab` has; the colours are those that the file
// names, without any conversion.
class NUV_ReadTIFF : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `extras` receives an engine for each extra sample, a channel of colour `unknown`; with null
    // they are dropped. `to_qdrle` asks for runs where the coding can give them. Null after
    // NUV_ERR_ARGUMENT for an info that is not loaded or not valid and for a null or closed
    // storage; NUV_ERR_UNSUPPORTED for a coding, a depth, a colour or a layout that is not read,
    // and for strips that do not fit each other; NUV_ERR_INVALID_DATA for a JPEG strip that
    // contradicts the directory, and what its reader says of it; NUV_ERR_IO for a strip that the
    // storage cannot have.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_TIFFInfo* info,
                                     NUV_Vector<NUV_Engine*>* extras, bool to_qdrle);
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_TIFFInfo* info,
                                     bool to_qdrle)
    {
        return engine(storage, info, nullptr, to_qdrle);
    }
    // Load the info of a page themselves; NUV_ERR_FORMAT when that fails.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::uint32_t page,
                                     NUV_Vector<NUV_Engine*>* extras, bool to_qdrle);
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::uint32_t page, bool to_qdrle)
    {
        return engine(storage, page, nullptr, to_qdrle);
    }

protected:
    [[nodiscard]] virtual bool is_compression_supported(const NUV_TIFFInfo& info) const;
    // For decoders of more codings: what decodes the strip. Here it gives `engine` back.
    [[nodiscard]] virtual NUV_Engine* decode_other(NUV_Engine* engine, const NUV_TIFFInfo& info);

private:
    [[nodiscard]] bool check(NUV_InputStorage* storage, const NUV_TIFFInfo* info);
    [[nodiscard]] bool check_src_condition(const NUV_TIFFInfo& info);
    // What of an image is not read, in words; none where all is.
    [[nodiscard]] NUV_Diagnosis not_served(const NUV_TIFFInfo& info) const;
    [[nodiscard]] bool read(NUV_InputStorage* storage, const NUV_TIFFInfo& info,
                            NUV_Vector<NUV_Engine*>& engines, bool to_qdrle);
    [[nodiscard]] NUV_Engine* read_combined(NUV_InputStorage* storage, const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Engine* read_packbits(NUV_InputStorage* storage, const NUV_Header& header,
                                            NUV_TIFFStripStream& strips, const NUV_TIFFInfo& info,
                                            std::uint32_t rows);
    [[nodiscard]] bool read_planes(NUV_InputStorage* storage, const NUV_TIFFInfo& info,
                                   NUV_Vector<NUV_Engine*>& engines, bool to_qdrle);
    [[nodiscard]] NUV_Engine* read_plane(NUV_InputStorage* storage, const NUV_Header& header,
                                         NUV_TIFFStripStream& strips, const NUV_TIFFInfo& info,
                                         bool to_qdrle);
    [[nodiscard]] NUV_Engine* decode(NUV_Engine* engine, const NUV_TIFFInfo& info, bool to_qdrle);
    [[nodiscard]] NUV_Engine* join(std::span<NUV_Engine*> strips, const NUV_TIFFInfo& info,
                                   std::size_t plane);
    [[nodiscard]] NUV_Engine* restore_palette(NUV_Engine* engine, const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Engine* widen_bits(NUV_Engine* engine, const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Engine* upsample(NUV_Engine* engine, const NUV_TIFFInfo& info,
                                       std::size_t plane);
    [[nodiscard]] NUV_Engine* correct_lab(NUV_Engine* engine, const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Engine* align(std::span<NUV_Engine* const> engines);
    [[nodiscard]] NUV_Engine* arrange(NUV_Vector<NUV_Engine*>& engines, const NUV_TIFFInfo& info,
                                      NUV_Vector<NUV_Engine*>* extras);
    [[nodiscard]] NUV_Engine* arrange_planes(NUV_Vector<NUV_Engine*>& engines,
                                             const NUV_TIFFInfo& info,
                                             NUV_Vector<NUV_Engine*>* extras);
    [[nodiscard]] NUV_Engine* part_extras(NUV_Engine* engine, const NUV_TIFFInfo& info,
                                          NUV_Vector<NUV_Engine*>* extras);
    [[nodiscard]] NUV_Engine* recolor(NUV_Engine* engine, const NUV_ColorType* color);
};

} // namespace nuv
