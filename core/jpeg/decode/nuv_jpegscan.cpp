#include "core/jpeg/decode/nuv_jpegscan.h"

namespace nuv {

namespace {

template <class Places>
[[nodiscard]] bool open_places(Places& places, const NUV_JPEGAllocator& allocator) noexcept
{
    constexpr std::size_t count = NUV_JPEGStoredTables::destinations;
    if (places.size() == count)
        return true;
    if (!places.allocate(allocator, count))
        return false;
    for (std::size_t i = 0; i < count; ++i)
        places[i].source.defined = false;
    return true;
}

[[nodiscard]] NUV_JPEGResult init_table(const NUV_JPEGStoredTables::Huffman& source,
                                        NUV_JPEGDecodeTable& table) noexcept
{
    return jpeg_primitives({}).huffman_decode_spec_init(source.counts.data(), source.symbols.data(),
                                                        &table);
}

[[nodiscard]] NUV_JPEGResult init_table(const NUV_JPEGStoredTables::Huffman& source,
                                        NUV_JPEGWideTable& table) noexcept
{
    return huffman_decode_wide_init(source.counts.data(), source.symbols.data(), &table);
}

template <class Place>
[[nodiscard]] bool build_one(const NUV_JPEGStoredTables::Huffman& source, Place& place) noexcept
{
    if (place.source.defined && place.source == source)
        return true;
    place.source.defined = false;
    if (!source.defined || !is_good(init_table(source, place.table)))
        return false;
    place.source = source;
    place.is_joined = false;
    return true;
}

} // namespace

NUV_JPEGCode NUV_JPEGScanTables::open(const NUV_JPEGAllocator& allocator) noexcept
{
    return open_places(dc_places_, allocator) && open_places(ac_places_, allocator)
               ? NUV_JPEGCode::good
               : NUV_JPEGCode::no_memory;
}

NUV_JPEGCode NUV_JPEGScanTables::build(const NUV_JPEGStoredTables& stored,
                                       const NUV_JPEGScanHeader& scan, Kinds kinds) noexcept
{
    for (std::size_t i = 0; i < scan.components; ++i) {
        const NUV_JPEGScanHeader::Component& component = scan.component[i];
        if (kinds != Kinds::ac &&
            !build_one(stored.dc[component.dc_table], dc_places_[component.dc_table]))
            return NUV_JPEGCode::bad_segment;
        if (kinds != Kinds::dc &&
            !build_one(stored.ac[component.ac_table], ac_places_[component.ac_table]))
            return NUV_JPEGCode::bad_segment;
    }
    return NUV_JPEGCode::good;
}

void NUV_JPEGScanTables::join(const NUV_JPEGScanHeader& scan, std::uint64_t mcus) noexcept
{
    constexpr std::uint64_t enough = 64;
    for (std::size_t i = 0; mcus >= enough && i < scan.components; ++i) {
        auto& place = ac_places_[scan.component[i].ac_table];
        if (!place.is_joined)
            huffman_decode_wide_join(&place.table);
        place.is_joined = true;
    }
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
