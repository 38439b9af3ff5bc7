#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tiffio.h>
#include <vector>

namespace nuv {

// A file in memory for libtiff.
class NUV_TIFFMemory {
public:
    std::vector<std::uint8_t> bytes;

    // `mode` as for TIFFOpen: "wl", "wb", "r".
    [[nodiscard]] TIFF* open(const char* mode)
    {
        position_ = 0;
        TIFFSetWarningHandler(nullptr);
        TIFFSetErrorHandler(nullptr);
        return TIFFClientOpen("memory", mode, this, read, write, seek, close, size, nullptr,
                              nullptr);
    }

private:
    static NUV_TIFFMemory& self(thandle_t handle) { return *static_cast<NUV_TIFFMemory*>(handle); }
    static tmsize_t read(thandle_t handle, void* into, tmsize_t count)
    {
        auto& file = self(handle);
        const std::size_t there = file.bytes.size() - std::min(file.position_, file.bytes.size());
        const std::size_t now = std::min(static_cast<std::size_t>(count), there);
        std::memcpy(into, file.bytes.data() + file.position_, now);
        file.position_ += now;
        return static_cast<tmsize_t>(now);
    }
    static tmsize_t write(thandle_t handle, void* from, tmsize_t count)
    {
        auto& file = self(handle);
        const auto now = static_cast<std::size_t>(count);
        file.bytes.resize(std::max(file.bytes.size(), file.position_ + now));
        std::memcpy(file.bytes.data() + file.position_, from, now);
        file.position_ += now;
        return count;
    }
    static toff_t seek(thandle_t handle, toff_t offset, int whence)
    {
        auto& file = self(handle);
        const std::size_t from = whence == SEEK_END   ? file.bytes.size()
                                 : whence == SEEK_CUR ? file.position_
                                                      : 0;
        return file.position_ = from + offset;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) { return self(handle).bytes.size(); }

    std::size_t position_ = 0;
};

} // namespace nuv
