#include "core/colormatrix/nuv_colormatrix.h"

#include "core/colormatrix/source/nuv_colorplanes_kernels.h"
#include "core/include/nuv_planarlines.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

#include <cmath>
#include <utility>

namespace nuv {
namespace {

// A matrix in one kind of number, and the loop for it.
template <class T, class Sum>
class NUV_MatrixRunner {
public:
    [[nodiscard]] bool allocate(NUV_Manager& manager, std::size_t rows, std::size_t columns)
    {
        view_.rows = rows;
        view_.columns = columns;
        return factors_.allocate(manager, rows * columns) && offsets_.allocate(manager, rows);
    }

    // `convert` turns a real number into a Sum.
    template <class Convert>
    void fill(const NUV_Cpu& cpu, const NUV_Matrix& matrix, std::span<const double> offsets,
              Convert&& convert)
    {
        std::transform(matrix.numbers().begin(), matrix.numbers().end(), factors_.data(), convert);
        std::fill(offsets_.items().begin(), offsets_.items().end(), Sum{0});
        std::transform(offsets.begin(), offsets.end(), offsets_.data(), convert);
        view_.factors = factors_.data();
        view_.offsets = offsets_.data();
        row_ = choose_matrix_row<T, Sum>(cpu, view_);
    }

    [[nodiscard]] bool is_ready() const noexcept { return row_ != nullptr; }
    void run(const T* in, T* out, std::size_t pixels) const { row_(in, out, pixels, view_); }
    [[nodiscard]] const NUV_MatrixView<Sum>& view() const noexcept { return view_; }

private:
    NUV_Scratch<Sum> factors_;
    NUV_Scratch<Sum> offsets_;
    NUV_MatrixView<Sum> view_;
    MatrixRow<T, Sum> row_ = nullptr;
};

// True when no sum over samples of T leaves 32 bits, rounding included.
template <class T>
[[nodiscard]] bool sums_fit_32_bits(const NUV_Matrix& matrix, std::span<const double> offsets)
{
    constexpr std::int64_t limit = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t maximum = std::numeric_limits<T>::max();
    for (std::size_t j = 0; j < matrix.rows(); ++j) {
        std::int64_t most = NUV_FixedReal::half;
        if (!offsets.empty())
            most += std::abs(std::int64_t{NUV_FixedReal(offsets[j]).units()});
        for (std::size_t k = 0; k < matrix.columns(); ++k) {
            const double factor = matrix.numbers()[j * matrix.columns() + k];
            most += maximum * std::abs(std::int64_t{NUV_FixedReal(factor).units()});
        }
        if (most > limit)
            return false;
    }
    return true;
}

// The loops of 32-bit sums are the fast ones; those of 64 bits serve matrices of large factors.
template <RealNumber R, class T>
class NUV_ColorMatrixEngineBase : public NUV_ProcessLineToLineEngine {
public:
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    // Lines that grow, too: they are asked for in advance.
    [[nodiscard]] bool delivers_what_it_writes() const final { return true; }

protected:
    // `method` is the concrete class's, for what it refuses.
    [[nodiscard]] bool initiate(const char* method, const NUV_Header* header, NUV_SrcBuffer* src,
                                NUV_DstBuffer* dst, const NUV_Matrix* matrix,
                                std::span<const double> offsets, const NUV_ColorType* target);
    // Of an engine that has planes these are taken, where there is a form for them. False after a
    // status.
    [[nodiscard]] bool take_planes_of(NUV_Engine& previous);

private:
    [[nodiscard]] bool prepare(const NUV_Matrix& matrix, std::span<const double> offsets);
    [[nodiscard]] bool process_line(const void* in, void* out) override;

    static constexpr bool is_fixed = std::same_as<R, NUV_FixedReal>;
    using Narrow = std::conditional_t<is_fixed, std::int32_t, double>;
    using Wide = std::conditional_t<is_fixed, std::int64_t, double>;
    static constexpr bool knows_planes = is_fixed && sizeof(T) == 1;

    NUV_MatrixRunner<T, Narrow> narrow_;
    NUV_MatrixRunner<T, Wide> wide_;    // in use when narrow_ is not ready
    std::size_t width_ = 0;             // pixels
    NUV_PlanarLines* planar_ = nullptr; // whose lines may come in planes
    MatrixPlanes planes_row_ = nullptr; // for these
};

template <RealNumber R, class T>
bool NUV_ColorMatrixEngineBase<R, T>::initiate(const char* method, const NUV_Header* header,
                                               NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                               const NUV_Matrix* matrix,
                                               std::span<const double> offsets,
                                               const NUV_ColorType* target)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (!std::in_range<std::uint16_t>(matrix->rows()) ||
        (!offsets.empty() && offsets.size() != matrix->rows()))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (target)
        header_.color_type(target);
    if (!header_.color_type()->valid_channels(matrix->rows()))
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    header_.channels(static_cast<std::uint16_t>(matrix->rows()));
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (!prepare(*matrix, offsets))
        return false;
    width_ = header->width();
    return dst->block_bytes(header_.line_bytes());
}

template <RealNumber R, class T>
bool NUV_ColorMatrixEngineBase<R, T>::prepare(const NUV_Matrix& matrix,
                                              std::span<const double> offsets)
{
    const auto convert = [](double x) {
        if constexpr (is_fixed)
            return NUV_FixedReal(x).units();
        else
            return x;
    };
    if (!is_fixed || sums_fit_32_bits<T>(matrix, offsets)) {
        if (!narrow_.allocate(manager(), matrix.rows(), matrix.columns()))
            return false;
        narrow_.fill(manager().cpu(), matrix, offsets, convert);
        return true;
    }
    if (!wide_.allocate(manager(), matrix.rows(), matrix.columns()))
        return false;
    wide_.fill(manager().cpu(), matrix, offsets, convert);
    return true;
}

template <RealNumber R, class T>
bool NUV_ColorMatrixEngineBase<R, T>::take_planes_of(NUV_Engine& previous)
{
    if constexpr (knows_planes) {
        auto* const planar = dynamic_cast<NUV_PlanarLines*>(&previous);
        if (!planar || !narrow_.is_ready())
            return true;
        planes_row_ = choose_matrix_planes(manager().cpu(), narrow_.view());
        if (planes_row_ == matrix_planes_portable)
            return true;
        // It is asked about its last line, too, with which it may have ended.
        if (!manager().depend(this, &previous))
            return false;
        planar->allow_planes();
        planar_ = planar;
    }
    return true;
}

template <RealNumber R, class T>
bool NUV_ColorMatrixEngineBase<R, T>::process_line(const void* in, void* out)
{
    const auto* from = static_cast<const T*>(in);
    auto* to = static_cast<T*>(out);
    if constexpr (knows_planes) {
        if (planar_ && planar_->is_in_planes()) {
            planes_row_(from, to, width_, narrow_.view());
            return true;
        }
    }
    if (narrow_.is_ready())
        narrow_.run(from, to, width_);
    else
        wide_.run(from, to, width_);
    return true;
}

template <RealNumber R, class T>
class NUV_ColorMatrix8xNbitsEngine final : public NUV_ColorMatrixEngineBase<R, T> {
public:
    static constexpr auto initiate_method = "NUV_ColorMatrix8xNbitsEngine::initiate()";
    using Base = NUV_ColorMatrixEngineBase<R, T>;
    using Base::Base;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_Matrix* matrix, std::span<const double> offsets,
                                const NUV_ColorType* target)
    {
        return Base::initiate(initiate_method, header, src, dst, matrix, offsets, target);
    }
};

template <RealNumber R, class T>
class NUV_ColorMatrix3x3_8xNbitsEngine final : public NUV_ColorMatrixEngineBase<R, T> {
public:
    static constexpr auto initiate_method = "NUV_ColorMatrix3x3_8xNbitsEngine::initiate()";
    using Base = NUV_ColorMatrixEngineBase<R, T>;
    using Base::Base;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_Matrix* matrix, std::span<const double> offsets,
                                const NUV_ColorType* target, NUV_Engine* previous)
    {
        return Base::initiate(initiate_method, header, src, dst, matrix, offsets, target) &&
               Base::take_planes_of(*previous);
    }
};

[[nodiscard]] bool matches(const NUV_Engine* previous, const NUV_Matrix* matrix)
{
    return has_image(previous) && matrix && !matrix->is_empty() &&
           matrix->columns() == previous->header()->channels();
}

// Calls append.operator()<R, T>(), or otherwise() for samples without a member.
template <class Append, class Otherwise>
NUV_Engine* visit_member(const NUV_Header& header, bool use_fixed_real, Append&& append,
                         Otherwise&& otherwise)
{
    return visit_sample_type(
        unsigned_samples, header,
        [&]<class T>() -> NUV_Engine* {
            return use_fixed_real ? append.template operator()<NUV_FixedReal, T>()
                                  : append.template operator()<double, T>();
        },
        otherwise);
}

} // namespace

NUV_Engine* NUV_ColorMatrix8xNbits::engine(NUV_Engine* previous, const NUV_Matrix* matrix,
                                           std::span<const double> offsets,
                                           const NUV_ColorType* target, bool use_fixed_real)
{
    constexpr auto method = "NUV_ColorMatrix8xNbits::engine()";

    if (!matches(previous, matrix))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_member(
        *previous->header(), use_fixed_real,
        [&]<class R, class T>() -> NUV_Engine* {
            return append_new<NUV_ColorMatrix8xNbitsEngine<R, T>>(*previous, matrix, offsets,
                                                                  target);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ColorMatrix3x3_8xNbits::engine(NUV_Engine* previous, const NUV_Matrix* matrix,
                                               std::span<const double> offsets,
                                               const NUV_ColorType* target, bool use_fixed_real)
{
    constexpr auto method = "NUV_ColorMatrix3x3_8xNbits::engine()";

    if (!matches(previous, matrix) || matrix->rows() != 3 || matrix->columns() != 3)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_member(
        *previous->header(), use_fixed_real,
        [&]<class R, class T>() -> NUV_Engine* {
            return append_new<NUV_ColorMatrix3x3_8xNbitsEngine<R, T>>(*previous, matrix, offsets,
                                                                      target, previous);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ColorMatrix::engine(NUV_Engine* previous, const NUV_Matrix* matrix,
                                    std::span<const double> offsets, const NUV_ColorType* target,
                                    bool use_fixed_real)
{
    if (!matches(previous, matrix))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ColorMatrix::engine()");
    const bool keeps_color = !target || target == previous->header()->color_type();
    if (offsets.empty() && keeps_color && matrix->is_identity())
        return previous;
    if (matrix->rows() == 3 && matrix->columns() == 3) {
        return NUV_ColorMatrix3x3_8xNbits(manager()).engine(previous, matrix, offsets, target,
                                                            use_fixed_real);
    }
    return NUV_ColorMatrix8xNbits(manager()).engine(previous, matrix, offsets, target,
                                                    use_fixed_real);
}

} // namespace nuv
