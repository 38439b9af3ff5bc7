#include "core/jpeg/decode/nuv_jpegscan.h"

namespace nuv {

NUV_JPEGCode NUV_JPEGScanTables::open(const NUV_JPEGAllocator& allocator) noexcept
{
    constexpr std::size_t count = 2 * NUV_JPEGStoredTables::destinations;
    if (places_.size() == count)
        return NUV_JPEGCode::good;
    if (!places_.allocate(allocator, count))
        return NUV_JPEGCode::no_memory;
    for (std::size_t i = 0; i < count; ++i)
        places_[i].source.defined = false;
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGScanTables::build(const NUV_JPEGStoredTables& stored,
                                       const NUV_JPEGScanHeader& scan, Kinds kinds) noexcept
{
    const auto build_one = [&](const NUV_JPEGStoredTables::Huffman& source, std::size_t index) {
        Place& place = places_[index];
        if (place.source.defined && place.source == source)
            return true;
        place.source.defined = false;
        if (!source.defined || huffman_decode_wide_init(source.counts.data(), source.symbols.data(),
                                                        &place.table) != NUV_JPEGResult::good)
            return false;
        place.source = source;
        return true;
    };
    for (std::size_t i = 0; i < scan.components; ++i) {
        const NUV_JPEGScanHeader::Component& component = scan.component[i];
        const std::size_t ac_place = NUV_JPEGStoredTables::destinations + component.ac_table;
        if (kinds != Kinds::ac && !build_one(stored.dc[component.dc_table], component.dc_table))
            return NUV_JPEGCode::bad_segment;
        if (kinds != Kinds::dc && !build_one(stored.ac[component.ac_table], ac_place))
            return NUV_JPEGCode::bad_segment;
    }
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGScanFactors::take(const NUV_JPEGHeader& header,
                                       const NUV_JPEGScanHeader& scan) noexcept
{
    for (std::size_t i = 0; i < scan.components; ++i) {
        const std::size_t component = scan.component[i].index;
        if (taken_[component])
            continue;
        const std::size_t selector = header.frame().component[component].quantiser;
        if (selector >= NUV_JPEGStoredTables::destinations ||
            !header.tables().quantisers[selector].defined)
            return NUV_JPEGCode::bad_segment;
        const auto& values = header.tables().quantisers[selector].values;
        for (std::size_t k = 0; k < values.size(); ++k)
            factors_[component][k] = values[k];
        taken_[component] = true;
    }
    return NUV_JPEGCode::good;
}

} // namespace nuv
