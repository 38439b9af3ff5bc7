#include "core/scale/kernels/nuv_scalepp_kernels.h"
#include "core/scale/kernels/nuv_splitweights.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/source/nuv_padline.h"
#include "core/scale/source/nuv_scaleppengine.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <span>

namespace nuv {
namespace {

// Walks along the output pixels of an axis that shrinks. Added-up positions can end a hair beyond
// the image; the last output pixel starts before the last source pixel and ends with all of it.
class NUV_AreaWalk : public NUV_PixelWalk {
public:
    // The next pixel, with its offset in pixels.
    [[nodiscard]] NUV_AreaTaps next() noexcept
    {
        --pixels_left_;
        const std::uint32_t i = first_pixel();
        NUV_AreaTaps taps{i, std::max(i + 1.0 - position_, 0.0), 1};
        position_ += ratio_;
        if (pixels_left_ != 0)
            taps.last = position_ - static_cast<std::uint32_t>(position_);
        return taps;
    }

    // Where the pixel behind it begins: the last source pixel behind the last one.
    [[nodiscard]] std::uint32_t end() const noexcept
    {
        if (pixels_left_ == 0)
            return last_;
        return pixels_left_ == 1 ? std::min(whole(), last_ - 1) : whole();
    }

private:
    [[nodiscard]] std::uint32_t whole() const noexcept
    {
        return static_cast<std::uint32_t>(position_);
    }
    [[nodiscard]] std::uint32_t first_pixel() const noexcept
    {
        return pixels_left_ == 0 ? std::min(whole(), last_ - 1) : whole();
    }
};

// True when a Sum holds sums of the samples of T that an output sample covers.
template <IntegerSample T, class Sum = std::int32_t>
bool sums_are_small(double ratio) noexcept
{
    return (ratio + 2) * std::numeric_limits<T>::max() < std::numeric_limits<Sum>::max();
}

// The taps of gray rows of bytes in the layout of ReduceGrayRow.
class NUV_GrayTaps {
public:
    // `taps` has an entry behind those of the pixels, as for ReduceAreaRow. False after
    // NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager, std::span<const NUV_AreaTaps> taps,
                                std::uint32_t source_width, double inverse)
    {
        const std::size_t pixels = taps.size() - 1;
        if (!high_.allocate(manager, pixels) || !low_.allocate(manager, pixels))
            return false;
        constexpr double unit = std::int64_t{1} << 2 * split_bits;
        for (std::size_t k = 0; k < pixels; ++k) {
            const std::size_t last = taps[k + 1].offset - taps[k].offset;
            if (last > 3 || taps[k].offset + reduce_gray_row_reach > source_width)
                break;
            std::array<std::int32_t, 4> high{};
            std::array<std::int32_t, 4> low{};
            for (std::size_t i = 0; i <= last; ++i) {
                const double share = i == 0 ? taps[k].first : i == last ? taps[k].last : 1;
                const NUV_SplitWeight weight = split_units(std::llround(share * inverse * unit));
                high[i] = weight.high;
                low[i] = weight.low;
            }
            high_.set(k, taps[k].offset, high);
            low_.set(k, taps[k].offset, low);
            ++pixels_;
        }
        return true;
    }

    // Those from the left that it serves.
    [[nodiscard]] std::size_t pixels() const noexcept { return pixels_; }
    [[nodiscard]] NUV_SplitAreaTaps taps() const noexcept
    {
        const NUV_PackedTaps high = high_.taps();
        const NUV_PackedTaps low = low_.taps();
        return {high.offsets,
                {high.first_pairs, high.second_pairs},
                {low.first_pairs, low.second_pairs}};
    }

private:
    std::size_t pixels_ = 0;
    NUV_PackedTapTable high_;
    NUV_PackedTapTable low_;
};

template <IntegerSample T>
class NUV_ScaleWidthPPREngine final : public NUV_ScaleWidthPPEngine<T> {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthPPREngine::initiate()";
    using NUV_ScaleWidthPPEngine<T>::NUV_ScaleWidthPPEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        if (!NUV_ScaleWidthPPEngine<T>::initiate(header, src, dst, width, initiate_method))
            return false;
        const std::uint32_t source_width = this->source_width_;
        if (width >= source_width)
            return fail(this->manager(), NUV_ERR_ARGUMENT, initiate_method);

        if (!taps_.allocate(this->manager(), std::size_t{width} + 1))
            return false;
        NUV_AreaWalk walk;
        walk.initiate(source_width, width);
        for (NUV_AreaTaps& taps : taps_.items().first(width)) {
            taps = walk.next();
            taps.offset *= this->channels_;
        }
        taps_[width] = {std::size_t{source_width - 1} * this->channels_, 0, 0};
        reduce_ = choose_reduce_area_row<T>(this->manager().cpu(), this->channels_,
                                            sums_are_small<T>(this->ratio_));
        if constexpr (sizeof(T) == 1) {
            // Above that, pixels cover more than four samples.
            constexpr double most_ratio = 3;
            if (this->channels_ != 1 || this->ratio_ > most_ratio)
                return true;
            reduce_gray_ = choose_reduce_gray_row(this->manager().cpu());
            return gray_.initiate(this->manager(), taps_.items(), source_width, 1.0 / this->ratio_);
        }
        return true;
    }

private:
    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        const double inverse = 1.0 / this->ratio_;
        const std::size_t done = gray_.pixels();
        if (done != 0)
            reduce_gray_(in, taps_.data(), gray_.taps(), out, done, inverse);
        reduce_(reinterpret_cast<const T*>(in), taps_.data() + done,
                reinterpret_cast<T*>(out) + done, this->destination_width_ - done, this->channels_,
                inverse);
    }

    NUV_Scratch<NUV_AreaTaps> taps_; // one more than output pixels
    ReduceAreaRow<T> reduce_ = nullptr;
    ReduceGrayRow reduce_gray_ = nullptr;
    NUV_GrayTaps gray_; // of pixels that the form for them makes
};

template <IntegerSample T, class Sum>
class NUV_ScaleHeightPPREngine final : public NUV_ScaleHeightPPEngine<T> {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightPPREngine::initiate()";
    using NUV_ScaleHeightPPEngine<T>::NUV_ScaleHeightPPEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        if (!NUV_ScaleHeightPPEngine<T>::initiate(header, src, dst, height))
            return false;
        if (height >= this->source_height_)
            return fail(this->manager(), NUV_ERR_ARGUMENT, initiate_method);
        walk_.initiate(this->source_height_, height);
        reduce_ = choose_reduce_area_lines<T, Sum>(this->manager().cpu());
        return first_.allocate(this->manager(), this->samples_per_line_) &&
               sums_.allocate(this->manager(), this->samples_per_line_);
    }

    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] bool execute() override
    {
        if (this->line_ >= this->destination_height_)
            return false;
        const NUV_AreaTaps taps = walk_.next();
        const std::uint32_t end = walk_.end();
        if (lines_read_ <= taps.offset && !read_first())
            return false;
        if (!add_up(end))
            return false;
        std::optional<NUV_InputBlock> last;
        if (lines_read_ <= end) {
            if (!last.emplace(*this->src_buffer_))
                return false;
            ++lines_read_;
        }
        NUV_OutputBlock out(*this->dst_buffer_);
        if (!out)
            return false;
        reduce_(first_.data(), sums_.data(), last ? last->as<T>() : first_.data(), out.as<T>(),
                this->samples_per_line_, taps, 1.0 / this->ratio_);
        ++this->line_;
        // The line that ends this output line begins the next one.
        bool released = true;
        if (last) {
            std::memcpy(first_.data(), last->data(), this->line_bytes_);
            released = last->release();
        }
        const bool committed = out.commit(this->line_bytes_);
        return released && committed;
    }

private:
    [[nodiscard]] bool read_first()
    {
        ++lines_read_;
        NUV_InputBlock in(*this->src_buffer_, first_.data());
        return in && in.release();
    }

    // The lines before line `end` that have not been read, as sums.
    [[nodiscard]] bool add_up(std::uint32_t end)
    {
        Sum* sums = sums_.data();
        const std::size_t samples = this->samples_per_line_;
        if (lines_read_ >= end)
            std::memset(sums, 0, samples * sizeof(Sum));
        for (bool is_first = true; lines_read_ < end; is_first = false) {
            NUV_InputBlock in(*this->src_buffer_);
            if (!in)
                return false;
            ++lines_read_;
            const T* line = in.as<T>();
            if (is_first)
                std::copy(line, line + samples, sums);
            else
                add(line, sums, samples);
            if (!in.release())
                return false;
        }
        return true;
    }

    static void add(const T* __restrict line, Sum* __restrict sums, std::size_t samples) noexcept
    {
        for (std::size_t i = 0; i < samples; ++i)
            sums[i] = static_cast<Sum>(sums[i] + line[i]);
    }

    NUV_AreaWalk walk_;
    std::uint32_t lines_read_ = 0; // of the source
    NUV_Scratch<T> first_;         // the line read last
    NUV_Scratch<Sum> sums_;        // of the lines behind it
    ReduceAreaLines<T, Sum> reduce_ = nullptr;
};

} // namespace

NUV_Engine* NUV_ScaleWidthPPR::engine(NUV_Engine* previous, std::uint32_t width, bool)
{
    return append(previous, width, "NUV_ScaleWidthPPR::engine()");
}

NUV_Engine* NUV_ScaleWidthPPR::append(NUV_Engine* previous, std::uint32_t width, const char* method)
{
    return scale_unsigned(previous, Axis::width, width, method, [&]<class T>() -> NUV_Engine* {
        return append_new<NUV_ScaleWidthPPREngine<T>>(*previous, width);
    });
}

NUV_Engine* NUV_ScaleHeightPPR::engine(NUV_Engine* previous, std::uint32_t height, bool)
{
    return append(previous, height, "NUV_ScaleHeightPPR::engine()");
}

NUV_Engine* NUV_ScaleHeightPPR::append(NUV_Engine* previous, std::uint32_t height,
                                       const char* method)
{
    return scale_unsigned(previous, Axis::height, height, method, [&]<class T>() -> NUV_Engine* {
        const double ratio = scale_ratio(previous->header()->height(), height);
        if constexpr (sizeof(T) == 1) {
            if (sums_are_small<T, std::int16_t>(ratio))
                return append_new<NUV_ScaleHeightPPREngine<T, std::int16_t>>(*previous, height);
        }
        if (sums_are_small<T>(ratio)) {
            return append_new<NUV_ScaleHeightPPREngine<T, std::int32_t>>(*previous, height);
        }
        return append_new<NUV_ScaleHeightPPREngine<T, std::int64_t>>(*previous, height);
    });
}

} // namespace nuv
