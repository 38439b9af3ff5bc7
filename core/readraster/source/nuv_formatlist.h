#pragma once

#include "core/include/nuv_formatinfo.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>
#include <span>
#include <type_traits>

namespace nuv {

// What a probe together with its reader answers.
struct NUV_ReadAttempt {
    bool accepted = false;
    NUV_Engine* engine = nullptr; // null too when the reader failed
};

// One stored format. `known` is the header that all kinds of JPEG files have in common, for the
// other probes of the search; empty before the first of them.
struct NUV_FormatRow {
    NUV_ReadAttempt (*read)(NUV_Manager& manager, NUV_InputStorage* storage,
                            NUV_JPEGReadHeader& known);
    // Null when the data is not of this format.
    NUV_FormatInfo* (*load_info)(NUV_Manager& manager, NUV_InputStorage* storage,
                                 NUV_JPEGReadHeader& known);
};

// A header that was not read in silence is read again by each probe, for what it raises.
template <class Info>
[[nodiscard]] bool load_known(Info& info, NUV_InputStorage* storage, NUV_JPEGReadHeader& known)
{
    if constexpr (std::is_base_of_v<NUV_JPEGInfo, Info>) {
        info.known_header(known);
        const bool loaded = info.load(storage);
        if (info.manager().status().code == NUV_STATUS_OK)
            known = info.read_header();
        return loaded;
    } else if constexpr (requires { Info::can_load(info.manager(), storage); }) {
        return Info::can_load(info.manager(), storage) && info.load(storage);
    } else {
        return info.load(storage);
    }
}

// The row of a format whose description is Info and whose reader is Reader. `arguments` are what
// the reader wants besides the storage and the description.
template <class Info, class Reader, auto... arguments>
[[nodiscard]] constexpr NUV_FormatRow format_row() noexcept
{
    return {
        [](NUV_Manager& manager, NUV_InputStorage* storage,
           NUV_JPEGReadHeader& known) -> NUV_ReadAttempt {
            Info info(manager);
            if (!load_known(info, storage, known))
                return {};
            return {true, Reader(manager).engine(storage, &info, arguments...)};
        },
        [](NUV_Manager& manager, NUV_InputStorage* storage,
           NUV_JPEGReadHeader& known) -> NUV_FormatInfo* {
            NUV_Held<Info> info = make_object<Info>(manager);
            return info && load_known(*info, storage, known) ? info.release() : nullptr;
        },
    };
}

// All formats that hold a single image, in the order in which they are tried.
[[nodiscard]] std::span<const NUV_FormatRow> single_image_formats() noexcept;

} // namespace nuv
