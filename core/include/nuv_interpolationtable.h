#pragma once

#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// A kernel of interpolation, tabulated by distance in units of 1 / 4096 pixel. Made with
// allocate(), then fill().
class NUV_InterpolationTable : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

    static constexpr std::size_t block_bytes = 65536;
    static constexpr std::size_t entries = block_bytes / sizeof(float);
    static constexpr std::size_t steps_per_pixel = 4096;

    bool cleanup() override
    {
        free();
        return true;
    }

    // All entries 0. False after NUV_ERR_MEMORY.
    [[nodiscard]] virtual bool allocate()
    {
        if (!table_.allocate(manager(), entries))
            return false;
        std::fill(table_.items().begin(), table_.items().end(), 0.0F);
        return true;
    }
    virtual void free() noexcept { table_.free(); }
    // Tabulates the kernel with the free parameter `a`. The table must have been allocated.
    virtual void fill(float a) noexcept = 0;

    // How much closer than they are pixels look to the kernel, along the width and along the
    // height: below 1, it reaches over more of them.
    [[nodiscard]] double stretch_x() const noexcept { return stretch_x_; }
    [[nodiscard]] double stretch_y() const noexcept { return stretch_y_; }
    void stretch(double x, double y) noexcept
    {
        stretch_x_ = x;
        stretch_y_ = y;
    }

    // Entry of the distance index / 4096 pixels, below 4 pixels.
    [[nodiscard]] float at(std::size_t index) const noexcept { return table_[index]; }
    [[nodiscard]] const float* data() const noexcept { return table_.data(); }

protected:
    NUV_Scratch<float> table_;

private:
    double stretch_x_ = 1;
    double stretch_y_ = 1;
};

// The two arms of cubic convolution; 0 from a distance of two pixels on.
class NUV_CubicSplineTable final : public NUV_InterpolationTable {
public:
    using NUV_InterpolationTable::NUV_InterpolationTable;

    // Single precision throughout, in the order written: the weights of the scalers derive from
    // these very values.
    void fill(float a) noexcept override
    {
        for (std::size_t i = 0; i < steps_per_pixel; ++i) {
            const float x = static_cast<float>(i) / 4096.0F;
            table_[i] = (a + 2.0F) * x * x * x - (a + 3.0F) * x * x + 1.0F;
            table_[steps_per_pixel + i] = a * x * x * x - 2.0F * a * x * x + a * x;
        }
    }
};

} // namespace nuv
