#include "core/lut/nuv_lut.h"

#include "core/lut/source/nuv_lineartable.h"
#include "core/lut/source/nuv_lut_kernels.h"
#include "framework/containers/nuv_vector.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <type_traits>

namespace nuv {
namespace {

// I is what a sample indexes by, O what holds an entry: unsigned integers of their widths.
template <class I, class O>
class NUV_Lut8xNbitsEngine : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_Lut8xNbitsEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

protected:
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_LutData* table, const NUV_ColorType* target);

    // Exchanges the halves of each table, so that the bits of a signed sample index it.
    void put_zero_first() noexcept;

private:
    static constexpr std::size_t range = std::size_t{1} << (8 * sizeof(I));

    [[nodiscard]] bool process_line(const void* in, void* out) override;

    // Where the entries of unsigned samples lie on a line, and are faster calculated.
    void look_for_line(const NUV_Header& header, const NUV_LutData& table);

    LutRow<I, O> lut_row_ = nullptr;
    LinearRow<I, O> linear_row_ = nullptr; // comes before lut_row_
    NUV_LinearTable line_;
    NUV_Scratch<O> tables_;
    std::size_t tables_of_pixel_ = 1; // one for each channel, or one for all
    std::size_t pixels_ = 0;          // of that many samples in a line
};

// True when all channels have the same table: one is then enough, and faster.
template <class O>
[[nodiscard]] bool all_are_equal(const NUV_LutData& table) noexcept
{
    const std::size_t table_bytes = table.entries * sizeof(O);
    for (std::size_t c = 1; c < table.channels; ++c) {
        if (std::memcmp(table.value(), table.value() + c * table_bytes, table_bytes) != 0)
            return false;
    }
    return true;
}

[[nodiscard]] bool entries_are_served(const NUV_LutData& table) noexcept
{
    return table.bits != 64 || table.data_type == NUV_DataType::floating;
}

template <class I, class O>
bool NUV_Lut8xNbitsEngine<I, O>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                          NUV_DstBuffer* dst, const NUV_LutData* table,
                                          const NUV_ColorType* target)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (header->bits() != 8 * sizeof(I) || !header->palette().is_empty())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const std::uint16_t channels = header->channels();
    if (!table || !table->is_valid() || (table->channels != 1 && table->channels != channels) ||
        table->bits != 8 * sizeof(O) || !entries_are_served(*table) || table->entries != range)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (target && !target->valid_channels(channels))
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    header_.bits(table->bits);
    header_.data_type(table->data_type);
    if (target)
        header_.color_type(target);
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    tables_of_pixel_ = all_are_equal<O>(*table) ? 1 : channels;
    pixels_ = std::size_t{header->width()} * (channels / tables_of_pixel_);
    if (!tables_.allocate(manager(), range * tables_of_pixel_))
        return false;
    std::memcpy(tables_.data(), table->value(), tables_.size() * sizeof(O));
    lut_row_ = choose_lut_row<I, O>(manager().cpu(), tables_of_pixel_);
    look_for_line(*header, *table);
    return dst->block_bytes(header_.line_bytes());
}

template <class I, class O>
void NUV_Lut8xNbitsEngine<I, O>::look_for_line(const NUV_Header& header, const NUV_LutData& table)
{
    if (tables_of_pixel_ != 1 || !(table.slope > 0) ||
        header.data_type() != NUV_DataType::u_integer)
        return;
    const auto form = choose_linear_row<I, O>(manager().cpu());
    const auto line =
        form ? find_linear_table<I>(tables_.data(), table.slope, table.offset) : std::nullopt;
    if (!line)
        return;
    line_ = *line;
    linear_row_ = form;
}

template <class I, class O>
void NUV_Lut8xNbitsEngine<I, O>::put_zero_first() noexcept
{
    for (O* table = tables_.data(); table != tables_.data() + tables_.size(); table += range)
        std::swap_ranges(table, table + range / 2, table + range / 2);
}

template <class I, class O>
bool NUV_Lut8xNbitsEngine<I, O>::process_line(const void* in, void* out)
{
    const auto* from = static_cast<const I*>(in);
    auto* to = static_cast<O*>(out);
    if (linear_row_)
        linear_row_(from, to, pixels_, line_);
    else
        lut_row_(from, to, pixels_, tables_of_pixel_, tables_.data());
    return true;
}

template <class I, class O>
class NUV_LutU8xNbitsEngine final : public NUV_Lut8xNbitsEngine<I, O> {
public:
    static constexpr auto initiate_method = "NUV_LutU8xNbitsEngine::initiate()";
    using Base = NUV_Lut8xNbitsEngine<I, O>;
    using Base::Base;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_LutData* table, const NUV_ColorType* target)
    {
        if (!Base::initiate(header, src, dst, table, target))
            return false;
        if (header->data_type() == NUV_DataType::u_integer)
            return true;
        return fail(this->manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    }
};

template <class I, class O>
class NUV_LutS8xNbitsEngine final : public NUV_Lut8xNbitsEngine<I, O> {
public:
    static constexpr auto initiate_method = "NUV_LutS8xNbitsEngine::initiate()";
    using Base = NUV_Lut8xNbitsEngine<I, O>;
    using Base::Base;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_LutData* table, const NUV_ColorType* target)
    {
        if (!Base::initiate(header, src, dst, table, target))
            return false;
        if (header->data_type() != NUV_DataType::s_integer)
            return fail(this->manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        this->put_zero_first();
        return true;
    }
};

// Calls visit.operator()<O>() with what holds an entry. Without a table, or one of odd bits, that
// is some type: initiate() refuses it.
template <class Visit>
NUV_Engine* visit_entry(const NUV_LutData* table, Visit&& visit)
{
    return visit_sample_type(
        NUV_SampleTypes<std::uint8_t, std::uint16_t, std::uint32_t>(), NUV_DataType::u_integer,
        table ? table->bits : 8, visit,
        [&]() -> NUV_Engine* { return visit.template operator()<std::uint64_t>(); });
}

// Calls visit.operator()<I, O>(). Samples of odd bits count as 16: initiate() refuses them.
template <class Visit>
NUV_Engine* visit_sample_and_entry(const NUV_Header& header, const NUV_LutData* table,
                                   Visit&& visit)
{
    return visit_entry(table, [&]<class O>() {
        return header.bits() == 8 ? visit.template operator()<std::uint8_t, O>()
                                  : visit.template operator()<std::uint16_t, O>();
    });
}

} // namespace

NUV_Engine* NUV_LutU8xNbits::engine(NUV_Engine* previous, const NUV_LutData* table,
                                    const NUV_ColorType* target)
{
    if (!accepts_image(previous, "NUV_LutU8xNbits::engine()"))
        return nullptr;
    return visit_sample_and_entry(*previous->header(), table, [&]<class I, class O>() {
        return append_new<NUV_LutU8xNbitsEngine<I, O>>(*previous, table, target);
    });
}

NUV_Engine* NUV_LutS8xNbits::engine(NUV_Engine* previous, const NUV_LutData* table,
                                    const NUV_ColorType* target)
{
    if (!accepts_image(previous, "NUV_LutS8xNbits::engine()"))
        return nullptr;
    return visit_sample_and_entry(*previous->header(), table, [&]<class I, class O>() {
        return append_new<NUV_LutS8xNbitsEngine<I, O>>(*previous, table, target);
    });
}

NUV_Engine* NUV_Lut::engine(NUV_Engine* previous, const NUV_LutData* table,
                            const NUV_ColorType* target)
{
    if (!accepts_image(previous, "NUV_Lut::engine()"))
        return nullptr;
    if (previous->header()->data_type() == NUV_DataType::u_integer)
        return NUV_LutU8xNbits(manager()).engine(previous, table, target);
    return NUV_LutS8xNbits(manager()).engine(previous, table, target);
}

} // namespace nuv
