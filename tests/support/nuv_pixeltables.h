#pragma once

#include "core/colormatrix/nuv_colormatrix.h"
#include "core/dlut/nuv_dlut.h"
#include "core/lut/nuv_lut.h"
#include "tests/support/nuv_testchain.h"

namespace nuv {

// Tables for the operations that want one, made on a chain's manager when they are appended.

[[nodiscard]] inline NUV_Held<NUV_LutData> make_table(NUV_Manager& manager, std::uint16_t bits,
                                                      std::uint16_t channels,
                                                      const NUV_DataType* type, const Bytes& bytes)
{
    NUV_Held<NUV_LutData> table = make_object<NUV_LutData>(manager);
    if (!table)
        return table;
    table->bits = bits;
    table->channels = channels;
    table->entries = static_cast<std::uint32_t>(bytes.size() * 8 / bits / channels);
    table->data_type = type;
    if (!table->value(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
        table.reset();
    return table;
}

// Entries of `bits` bits for each of `channels` channels.
[[nodiscard]] inline NUV_Append appending_table(std::uint16_t bits, std::uint16_t channels,
                                                const NUV_DataType* type, const Bytes& bytes)
{
    return [=](NUV_TestChain& chain) {
        const auto table = make_table(chain.manager(), bits, channels, type, bytes);
        return chain.append<NUV_Lut>(table.get());
    };
}

// A matrix of as many columns as the numbers fill.
template <class Creator = NUV_ColorMatrix>
[[nodiscard]] NUV_Append appending_matrix(std::uint32_t rows, const std::vector<double>& numbers,
                                          const std::vector<double>& offsets, bool use_fixed,
                                          const NUV_ColorType* target = nullptr)
{
    return [=](NUV_TestChain& chain) {
        NUV_Matrix matrix(chain.manager());
        const auto columns = static_cast<std::uint32_t>(numbers.size() / rows);
        static_cast<void>(matrix.value(rows, columns, numbers));
        return chain.append<Creator>(&matrix, offsets, target, use_fixed);
    };
}

// A table of `points` points an axis, whose samples lie in the bytes.
[[nodiscard]] inline NUV_Append appending_grid(std::uint16_t bits, std::uint16_t inputs,
                                               std::uint16_t outputs, std::uint32_t points,
                                               const Bytes& bytes,
                                               const NUV_ColorType* target = NUV_ColorType::none)
{
    return [=](NUV_TestChain& chain) {
        NUV_DLutData table(chain.manager());
        if (table.allocate(bits, inputs, outputs, points))
            std::copy(bytes.begin(), bytes.end(), table.samples<std::uint8_t>().begin());
        return chain.append<NUV_DLutTetrahedron>(&table, target);
    };
}

[[nodiscard]] inline std::size_t power(std::size_t base, std::size_t exponent)
{
    return exponent == 0 ? 1 : base * power(base, exponent - 1);
}

} // namespace nuv
