#include "core/dlut/nuv_dlut.h"

#include "core/dlut/source/nuv_dlut_kernels.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nuv {
namespace {

// What all ways to interpolate need: the table, and the place of every sample value on its axes.
template <class T>
class NUV_DLutEngine : public NUV_ProcessLineToLineEngine {
public:
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

protected:
    // `method` is the concrete class's, for what it refuses.
    [[nodiscard]] bool initiate(const char* method, const NUV_Header* header, NUV_SrcBuffer* src,
                                NUV_DstBuffer* dst, const NUV_DLutData* table,
                                const NUV_ColorType* target);

    NUV_DLutGrid<T> grid_;
    std::size_t width_ = 0; // pixels

private:
    [[nodiscard]] bool copy(const NUV_DLutData& table);
    [[nodiscard]] bool place_samples(std::uint32_t grid_points);

    NUV_Scratch<T> samples_;
    NUV_Scratch<std::uint32_t> places_;
};

template <class T>
bool NUV_DLutEngine<T>::initiate(const char* method, const NUV_Header* header, NUV_SrcBuffer* src,
                                 NUV_DstBuffer* dst, const NUV_DLutData* table,
                                 const NUV_ColorType* target)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (!table || table->is_empty() || table->bits() != header->bits() ||
        table->inputs() != header->channels())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!target || !target->valid_channels(table->outputs()))
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    header_.channels(table->outputs());
    header_.color_type(target);
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (!copy(*table) || !place_samples(table->grid_points()))
        return false;
    width_ = header->width();
    return dst->block_bytes(header_.line_bytes());
}

// Pads the samples of each point to whole groups of four.
template <class T>
bool NUV_DLutEngine<T>::copy(const NUV_DLutData& table)
{
    const std::size_t outputs = table.outputs();
    const std::size_t padded = (outputs + 3) / 4 * 4;
    const auto from = table.samples<T>();
    const std::size_t points = from.size() / outputs;
    if (!samples_.allocate(manager(), points * padded))
        return false;
    std::fill(samples_.items().begin(), samples_.items().end(), T{0});
    for (std::size_t i = 0; i < points; ++i)
        std::copy_n(from.data() + i * outputs, outputs, samples_.data() + i * padded);

    grid_.samples = samples_.data();
    grid_.outputs = outputs;
    std::size_t stride = padded;
    for (std::size_t axis = table.inputs(); axis-- > 0; stride *= table.grid_points())
        grid_.strides[axis] = stride;
    return true;
}

// The largest sample lies at the far end of the last cell, so that no corner of its cell lies
// outside the grid. A spare place behind it is the same.
template <class T>
bool NUV_DLutEngine<T>::place_samples(std::uint32_t grid_points)
{
    constexpr std::uint32_t maximum = std::numeric_limits<T>::max();
    if (!places_.allocate(manager(), std::size_t{maximum} + 2))
        return false;
    const double step = (grid_points - 1.0) / maximum;
    for (std::uint32_t v = 0; v <= maximum; ++v) {
        const double t = v * step;
        const std::uint32_t point =
            std::min(static_cast<std::uint32_t>(std::floor(t)), grid_points - 2);
        const double fraction = (t - point) * dlut_one + 0.5;
        places_[v] = point << dlut_fraction_bits | static_cast<std::uint32_t>(fraction);
    }
    places_[maximum + 1] = (grid_points - 2) << dlut_fraction_bits | dlut_one;
    grid_.places = places_.data();
    return true;
}

template <class T>
class NUV_DLutTetrahedronEngine final : public NUV_DLutEngine<T> {
public:
    static constexpr auto initiate_method = "NUV_DLutTetrahedronEngine::initiate()";
    using Base = NUV_DLutEngine<T>;
    using Base::Base;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_DLutData* table, const NUV_ColorType* target)
    {
        if (!Base::initiate(initiate_method, header, src, dst, table, target))
            return false;
        const std::size_t points = table->samples<T>().size() / table->outputs();
        row_ = choose_dlut_row<T>(this->manager().cpu(), table->inputs(), table->outputs(), points);
        return true;
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        row_(static_cast<const T*>(in), static_cast<T*>(out), this->width_, this->grid_);
        return true;
    }

    DLutRow<T> row_ = nullptr;
};

} // namespace

NUV_Engine* NUV_DLutTetrahedron::engine(NUV_Engine* previous, const NUV_DLutData* table,
                                        const NUV_ColorType* target)
{
    constexpr auto method = "NUV_DLutTetrahedron::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    return visit_sample_type(
        unsigned_samples, *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_DLutTetrahedronEngine<T>>(*previous, table, target);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
