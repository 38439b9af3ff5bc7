#pragma once

namespace nuv {

// An engine that has the samples of its lines in planes, and can leave it to its reader to put
// pixels together. A line then takes the block of one of pixels: of its three channels, of 8 bits,
// each begins as many bytes behind the one before as the line has pixels, and a sample of the
// second and of the third is for two pixels.
class NUV_PlanarLines {
public:
    NUV_PlanarLines() = default;
    NUV_PlanarLines(const NUV_PlanarLines&) = delete;
    NUV_PlanarLines& operator=(const NUV_PlanarLines&) = delete;
    virtual ~NUV_PlanarLines() = default;

    // The reader knows planes: to be called before the first line is read, as long as there is no
    // other reader.
    virtual void allow_planes() = 0;
    // Whether the line that was delivered last is in planes: such engines deliver one at a time,
    // when it is asked for.
    [[nodiscard]] virtual bool is_in_planes() const = 0;
};

} // namespace nuv
