#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_header.h"
#include "framework/base/nuv_resolutioninfo.h"
#include "framework/io/nuv_inputstorage.h"

namespace nuv {

// What a stored image is and how it was stored. A probe is a class that derives from this one; a
// reader takes only an info that is loaded().
class NUV_FormatInfo : public NUV_Header {
public:
    using NUV_Header::NUV_Header;

    // A constant lower-case name, as "pnm".
    [[nodiscard]] virtual const char* format_name() const noexcept = 0;
    // This object, seen as the description of the pixels alone.
    [[nodiscard]] virtual const NUV_Header* header() const noexcept { return this; }
    [[nodiscard]] virtual const NUV_ResolutionInfo& resolution() const noexcept
    {
        return resolution_;
    }
    // The format's own parser, for load() to call. False without a status when the signature of the
    // format is not there; data errors are raised only behind it.
    [[nodiscard]] virtual bool load_internal(NUV_InputStorage* storage) = 0;

    // Reads the description at the storage's position. On success the storage stands where the
    // parser stopped, on failure where it stood before. NUV_ERR_ARGUMENT for a null or closed one.
    [[nodiscard]] bool load(NUV_InputStorage* storage)
    {
        return load_by(storage, [this](NUV_InputStorage* open) { return load_internal(open); });
    }

    // Why a reader refuses an info: what it says of a picture that there cannot be. Nothing for one
    // that was not loaded.
    [[nodiscard]] static NUV_Diagnosis why_refused(const NUV_FormatInfo* info);

    // True after a load() that worked.
    [[nodiscard]] bool loaded() const noexcept { return loaded_; }

protected:
    // For a derived load() that refuses under words of its own.
    void unload() noexcept { loaded_ = false; }

    // load() with another parser, `bool parse(NUV_InputStorage*)`: for a format that is told more
    // than where its data begins.
    template <class Parse>
    [[nodiscard]] bool load_by(NUV_InputStorage* storage, Parse parse)
    {
        loaded_ = false;
        if (!storage || storage->is_closed())
            return refuse();
        const std::int32_t start = storage->position();
        loaded_ = parse(storage);
        return loaded_ || go_back(*storage, start);
    }

    NUV_ResolutionInfo resolution_;

private:
    // Both are always false: NUV_ERR_ARGUMENT, and what is left of a load that did not work.
    [[nodiscard]] bool refuse();
    [[nodiscard]] static bool go_back(NUV_InputStorage& storage, std::int32_t start);

    bool loaded_ = false;
};

} // namespace nuv
