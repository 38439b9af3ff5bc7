#include "core/jpeg/decode/nuv_jpegsequential.h"

#include "core/jpeg/decode/nuv_jpegfusedcolor.h"
#include "core/jpeg/kernels/nuv_jpegcoefficients.h"

#include <algorithm>

namespace nuv {

NUV_JPEGCode NUV_JPEGSequential::open(const NUV_JPEGAllocator& allocator,
                                      const NUV_JPEGHeader& header,
                                      const NUV_JPEGGeometry& geometry, NUV_JPEGInput& input,
                                      NUV_JPEGBand& band, NUV_JPEGScanTables* shared, Color color,
                                      std::uint32_t restart_rows, bool mends,
                                      const NUV_Cpu& cpu) noexcept
{
    geometry_ = geometry;
    band_ = &band;
    color_ = color;
    primitives_ = &jpeg_primitives(cpu);
    NUV_JPEGScanTables& tables = shared ? *shared : own_tables_;
    NUV_JPEGCode code = tables.open(allocator);
    if (is_good(code))
        code = tables.build(header.tables(), header.scan(), NUV_JPEGScanTables::Kinds::both);
    if (is_good(code))
        code = factors_.take(header, header.scan());
    if (!is_good(code))
        return code;
    tables.join(header.scan(), std::uint64_t{geometry_.mcus_across} * geometry_.mcus_down);

    row_ = 0;
    // An interval without a marker behind it that breaks off is left where it was read ahead to.
    is_wide_ = !mends || restart_rows == 0 || header.frame().restart_interval != 0;
    scan_.emplace(input, mends);
    scan_->begin(header.frame(), geometry_.mcus_across, geometry_.unit_rows_of(restart_rows, 1));
    return lay_out_slots(allocator, header.scan(), tables);
}

void NUV_JPEGSequential::close() noexcept
{
    own_tables_.close();
    blocks_.free();
}

// T.81, A.2.3: the blocks of an MCU come in the order of the scan header.
NUV_JPEGCode NUV_JPEGSequential::lay_out_slots(const NUV_JPEGAllocator& allocator,
                                               const NUV_JPEGScanHeader& scan,
                                               const NUV_JPEGScanTables& tables) noexcept
{
    constexpr std::size_t alignment = 32; // bytes

    slot_count_ = 0;
    for (std::size_t i = 0; i < scan.components; ++i) {
        const NUV_JPEGScanHeader::Component& component = scan.component[i];
        const NUV_JPEGPlane& plane = geometry_.planes[component.index];
        for (std::uint32_t down = 0; down < plane.vertical; ++down) {
            for (std::uint32_t across = 0; across < plane.horizontal; ++across) {
                slots_[slot_count_++] = {
                    .dc_table = &tables.dc(component.dc_table),
                    .ac_table = &tables.ac(component.ac_table),
                    .previous_dc = &scan_->previous_dc()[component.index],
                    .component = component.index,
                    .across = across,
                    .down = down,
                    .mcu_blocks_across = plane.horizontal,
                };
            }
        }
    }
    if (!blocks_.allocate(allocator, slot_count_ * jpeg_block_size + alignment / 2))
        return NUV_JPEGCode::no_memory;
    const std::size_t misalignment = reinterpret_cast<std::uintptr_t>(blocks_.data()) % alignment;
    std::int16_t* block = blocks_.data() + (alignment - misalignment) % alignment / 2;
    for (std::size_t i = 0; i < slot_count_; ++i, block += jpeg_block_size)
        slots_[i].block = block;
    return NUV_JPEGCode::good;
}

template <bool is_wide>
NUV_JPEGResult NUV_JPEGSequential::decode_mcu(NUV_JPEGBitReader& bits) noexcept
{
    NUV_JPEGBitReader local = bits; // in registers
    NUV_JPEGResult result = NUV_JPEGResult::good;
    for (std::size_t i = 0; i < slot_count_ && is_good(result); ++i) {
        Slot& slot = slots_[i];
        const auto decode = [&](const auto& ac_table) {
            return decode_coefficients(local, slot.block, *slot.previous_dc, *slot.dc_table,
                                       ac_table, slot.reached);
        };
        if constexpr (is_wide)
            result = decode(*slot.ac_table);
        else
            result = decode(slot.ac_table->plain);
    }
    bits = local;
    return result;
}

NUV_JPEGCode NUV_JPEGSequential::decode_row() noexcept
{
    const auto margin = static_cast<std::int32_t>(slot_count_) * jpeg_most_bytes_of_block;
    const auto decode = [&](std::uint32_t first, std::uint32_t units, std::uint32_t& done) {
        return decode_run(*scan_, units, margin, done,
                          [&](NUV_JPEGBitReader& bits, std::uint32_t& i) {
                              const NUV_JPEGResult result =
                                  is_wide_ ? decode_mcu<true>(bits) : decode_mcu<false>(bits);
                              if (!is_good(result))
                                  return result;
                              put_mcu(first + i);
                              ++i;
                              return NUV_JPEGResult::good;
                          });
    };
    const auto lost = [&](NUV_JPEGScanReader::Mode mode, std::uint32_t first, std::uint32_t units) {
        for (std::uint32_t i = 0; mode == NUV_JPEGScanReader::Mode::blank && i < units; ++i)
            put_blank_mcu(first + i);
    };
    const NUV_JPEGCode code = walk_units(*scan_, geometry_.mcus_across, decode, lost);
    if (++row_ == geometry_.mcus_down)
        scan_->end();
    return code;
}

std::optional<std::uint32_t> NUV_JPEGSequential::take_left_over() noexcept
{
    const auto mcu = scan_->take_left_over();
    if (!mcu)
        return std::nullopt;
    return static_cast<std::uint32_t>(*mcu / geometry_.mcus_across);
}

void NUV_JPEGSequential::put_mcu(std::size_t mcu) noexcept
{
    if (color_ == Color::rgb_from_ycc) {
        put_rgb_mcu(mcu);
        return;
    }
    for (std::size_t i = 0; i < slot_count_; ++i) {
        const Slot& slot = slots_[i];
        if (band_->delivers(slot.component))
            band_->put_block(slot.component, mcu * slot.mcu_blocks_across + slot.across, slot.down,
                             slot.block, factors_.of(slot.component), slot.reached);
    }
}

void NUV_JPEGSequential::put_blank_mcu(std::size_t mcu) noexcept
{
    for (std::size_t i = 0; i < slot_count_; ++i) {
        std::fill_n(slots_[i].block, jpeg_block_size, std::int16_t{0});
        slots_[i].reached = 1;
    }
    put_mcu(mcu);
}

void NUV_JPEGSequential::put_rgb_mcu(std::size_t mcu) noexcept
{
    std::array<const std::int16_t*, 3> first_blocks{};
    for (std::size_t i = slot_count_; i-- > 0;)
        first_blocks[slots_[i].component] = slots_[i].block;
    const NUV_JPEGRGBBlocks blocks = {
        .luma = first_blocks[0],
        .blue_difference = first_blocks[1],
        .red_difference = first_blocks[2],
        .across = geometry_.planes[0].horizontal,
        .down = geometry_.planes[0].vertical,
    };
    put_rgb_blocks(blocks, {&factors_.of(0), &factors_.of(1), &factors_.of(2)}, mcu, *primitives_,
                   *band_);
}

} // namespace nuv
