#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>
#include <span>

namespace nuv {

// What a probe together with its reader answers.
struct NUV_ReadAttempt {
    bool accepted = false;
    NUV_Engine* engine = nullptr; // null too when the reader failed
};

// One stored format.
struct NUV_FormatRow {
    NUV_ReadAttempt (*read)(NUV_Manager& manager, NUV_InputStorage* storage);
    // Null when the data is not of this format.
    NUV_FormatInfo* (*load_info)(NUV_Manager& manager, NUV_InputStorage* storage);
};

// The row of a format whose description is Info and whose reader is Reader. `arguments` are what
// the reader wants besides the storage and the description.
template <class Info, class Reader, auto... arguments>
[[nodiscard]] constexpr NUV_FormatRow format_row() noexcept
{
    return {
        [](NUV_Manager& manager, NUV_InputStorage* storage) -> NUV_ReadAttempt {
            Info info(manager);
            if (!info.load(storage))
                return {};
            return {true, Reader(manager).engine(storage, &info, arguments...)};
        },
        [](NUV_Manager& manager, NUV_InputStorage* storage) -> NUV_FormatInfo* {
            NUV_Held<Info> info = make_object<Info>(manager);
            return info && info->load(storage) ? info.release() : nullptr;
        },
    };
}

// All formats that hold a single image, in the order in which they are tried.
[[nodiscard]] std::span<const NUV_FormatRow> single_image_formats() noexcept;

} // namespace nuv
