#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"

#include <algorithm>
#include <cstddef>

namespace nuv {
namespace {

constexpr std::uint32_t longest_code = 16; // bits
constexpr std::uint32_t most_codes = 256;

// The codes of one length. They are numbered through all lengths, in code order.
struct CodeRange {
    std::uint32_t first_code = 0;
    std::uint32_t first_index = 0;
    std::uint32_t count = 0;
};

struct CodeRanges {
    CodeRange of_length[longest_code + 1];
};

// T.81, annex C: figures C.1 and C.2.
[[nodiscard]] NUV_JPEGResult assign_codes(const std::uint8_t* bits, CodeRanges& ranges) noexcept
{
    std::uint32_t code = 0;
    std::uint32_t index = 0;
    for (std::uint32_t length = 1; length <= longest_code; ++length) {
        const std::uint32_t count = bits[length - 1];
        code <<= 1;
        ranges.of_length[length] = {.first_code = code, .first_index = index, .count = count};
        code += count;
        index += count;
        if (index > most_codes || code > 1U << length)
            return NUV_JPEGResult::bad_huffman;
    }
    // A code of 16 ones could not be told from what pads the data, and T.81 forbids it.
    const bool has_16_ones = code > 0xFFFF && ranges.of_length[longest_code].count != 0;
    return has_16_ones ? NUV_JPEGResult::bad_huffman : NUV_JPEGResult::good;
}

NUV_JPEGResult huffman_encode_spec_init(const std::uint8_t* bits, const std::uint8_t* values,
                                        NUV_JPEGEncodeTable* table)
{
    if (bits == nullptr || values == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;
    CodeRanges ranges;
    const NUV_JPEGResult assigned = assign_codes(bits, ranges);
    if (!is_good(assigned))
        return assigned;

    *table = {};
    for (std::uint32_t length = 1; length <= longest_code; ++length) {
        const CodeRange& range = ranges.of_length[length];
        for (std::uint32_t i = 0; i < range.count; ++i)
            table->words[values[range.first_index + i]] = length << 16 | (range.first_code + i);
    }
    return NUV_JPEGResult::good;
}

void fill_first_level(NUV_JPEGDecodeTable& table, const CodeRange& range,
                      std::uint32_t length) noexcept
{
    const std::uint32_t entries = 1U << (8 - length);
    for (std::uint32_t i = 0; i < range.count * entries; ++i) {
        table.first_level[range.first_code * entries + i] = {
            .symbol = table.symbols[range.first_index + i / entries],
            .length = static_cast<std::uint16_t>(length)};
    }
}

NUV_JPEGResult huffman_decode_spec_init(const std::uint8_t* bits, const std::uint8_t* values,
                                        NUV_JPEGDecodeTable* table)
{
    if (bits == nullptr || values == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;
    CodeRanges ranges;
    const NUV_JPEGResult assigned = assign_codes(bits, ranges);
    if (!is_good(assigned))
        return assigned;

    *table = {};
    std::ranges::fill(table->largest, NUV_JPEGDecodeTable::no_codes);
    const CodeRange& last = ranges.of_length[longest_code];
    std::copy_n(values, last.first_index + last.count, table->symbols);
    for (std::uint32_t length = 1; length <= longest_code; ++length) {
        const CodeRange& range = ranges.of_length[length];
        if (range.count == 0)
            continue;
        table->smallest[length] = static_cast<std::uint16_t>(range.first_code);
        table->largest[length] = static_cast<std::uint16_t>(range.first_code + range.count - 1);
        table->first_index[length] = static_cast<std::uint16_t>(range.first_index);
        if (length <= 8)
            fill_first_level(*table, range, length);
    }
    return NUV_JPEGResult::good;
}

[[nodiscard]] NUV_JPEGWideEntry make_wide_entry(std::uint32_t known, std::uint32_t far,
                                                std::uint32_t length, std::uint32_t symbol,
                                                std::int32_t value) noexcept
{
    const std::uint64_t value_bits = static_cast<std::uint16_t>(value);
    return {value_bits << 32 | far << 24 | length << 16 | symbol << 8 | known};
}

// The `count` entries of a wide table for a code of `length` bits.
void fill_wide_entries(NUV_JPEGWideEntry* entries, std::uint32_t count, std::uint32_t length,
                       std::uint32_t symbol) noexcept
{
    const std::uint32_t bits_of_value = symbol & 15U;
    const std::uint32_t zeros = symbol >> 4;
    const std::uint32_t used = length + bits_of_value;
    if (bits_of_value == 0 || used > NUV_JPEGWideTable::index_bits) {
        const bool is_known = symbol == 0 || symbol == 0xF0;
        const std::uint32_t far = symbol == 0 ? NUV_JPEGWideEntry::end_of_block : zeros;
        std::fill_n(entries, count, make_wide_entry(is_known ? length : 0, far, length, symbol, 0));
        return;
    }
    const std::uint32_t values = 1U << bits_of_value;
    for (std::uint32_t low_bits = 0; low_bits < values; ++low_bits) {
        const std::int32_t value = extend_sign(low_bits, bits_of_value);
        entries =
            std::fill_n(entries, count / values, make_wide_entry(used, zeros, used, symbol, value));
    }
}

// What the table of differences holds for a code of `length` bits and what follows it in `index`.
[[nodiscard]] std::uint32_t difference_entry(std::uint32_t index, std::uint32_t length,
                                             std::uint32_t symbol) noexcept
{
    constexpr std::uint32_t index_bits = NUV_JPEGDifferenceTable::index_bits;
    constexpr std::uint32_t last_category = 16; // the difference 32768, without bits behind it
    if (symbol == last_category)
        return 32768U << 16 | length;
    if (symbol == 0)
        return length;
    if (symbol > last_category || length == index_bits)
        return NUV_JPEGDifferenceTable::no_code;
    const std::uint32_t used = length + symbol;
    const std::uint32_t rest = used > index_bits ? used - index_bits : 0;
    const std::uint32_t known = symbol - rest; // bits of the value, its sign among them
    const std::uint32_t high_bits = index >> (index_bits - length - known) & ((1U << known) - 1U);
    const std::int32_t value = extend_sign(high_bits << rest, symbol);
    return static_cast<std::uint32_t>(value) << 16 | rest << 10 | used;
}

void fill_difference_entries(std::uint32_t* entries, std::uint32_t count, std::uint32_t length,
                             std::uint32_t symbol) noexcept
{
    for (std::uint32_t index = 0; index < count; ++index)
        entries[index] = difference_entry(index, length, symbol);
}

// A decoding table with entries by the next bits in front, those of a code by fill(entries, count,
// length, symbol); `none` where no code fits there.
template <auto fill, class Table>
NUV_JPEGResult init_with_entries(const std::uint8_t* bits, const std::uint8_t* values, Table* table,
                                 const auto& none)
{
    if (bits == nullptr || values == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;
    CodeRanges ranges;
    NUV_JPEGResult result = assign_codes(bits, ranges);
    if (is_good(result))
        result = huffman_decode_spec_init(bits, values, &table->plain);
    if (!is_good(result))
        return result;

    constexpr std::uint32_t index_bits = Table::index_bits;
    std::ranges::fill(table->entries, none);
    for (std::uint32_t length = 1; length <= index_bits; ++length) {
        const CodeRange& range = ranges.of_length[length];
        const std::uint32_t entries = 1U << (index_bits - length); // of a code
        std::uint32_t index = range.first_code * entries;
        for (std::uint32_t i = 0; i < range.count; ++i) {
            fill(table->entries + index, entries, length, values[range.first_index + i]);
            index += entries;
        }
    }
    return NUV_JPEGResult::good;
}

NUV_JPEGResult size_in_bytes(std::int32_t* size, std::size_t bytes) noexcept
{
    if (size == nullptr)
        return NUV_JPEGResult::null_pointer;
    *size = static_cast<std::int32_t>(bytes);
    return NUV_JPEGResult::good;
}

// T.81, K.2, figure K.1: lengths of the codes of an optimal tree, found by joining the two rarest
// symbols or groups of symbols over and over. `others` chains a group's symbols.
struct OptimalTree {
    static constexpr std::size_t leaves = most_codes + 1; // the last one reserves a code
    static constexpr std::size_t none = leaves;

    std::uint64_t frequencies[leaves];
    std::size_t others[leaves];
    std::uint32_t lengths[leaves];

    explicit OptimalTree(const std::uint64_t* counted) noexcept
    {
        std::copy_n(counted, most_codes, frequencies);
        frequencies[most_codes] = 1;
        std::fill_n(others, leaves, none);
        std::fill_n(lengths, leaves, 0U);
        for (;;) {
            const std::size_t rarest = find_rarest(none);
            const std::size_t next = find_rarest(rarest);
            if (next == none)
                return;
            frequencies[rarest] += frequencies[next];
            frequencies[next] = 0;
            deepen(rarest, next);
        }
    }

    // The last of the rarest but `excluded`, or none.
    [[nodiscard]] std::size_t find_rarest(std::size_t excluded) const noexcept
    {
        std::size_t found = none;
        for (std::size_t i = 0; i < leaves; ++i) {
            if (frequencies[i] != 0 && i != excluded &&
                (found == none || frequencies[i] <= frequencies[found]))
                found = i;
        }
        return found;
    }

    // Joins two groups: every code in them gets a bit longer.
    void deepen(std::size_t first, std::size_t second) noexcept
    {
        std::size_t i = first;
        for (; ++lengths[i], others[i] != none; i = others[i]) {
        }
        others[i] = second;
        for (i = second; i != none; i = others[i])
            ++lengths[i];
    }
};

// T.81, figure K.3: ADJUST_BITS. Codes above 16 bits are shortened in pairs, at the cost of a
// shorter code; then the reserved code, one of the longest, is given up.
void limit_lengths(std::uint32_t (&counts)[OptimalTree::leaves + 1]) noexcept
{
    for (std::size_t length = OptimalTree::leaves; length > longest_code; --length) {
        while (counts[length] > 0) {
            std::size_t shorter = length - 2;
            while (counts[shorter] == 0)
                --shorter;
            counts[length] -= 2;
            counts[length - 1] += 1;
            counts[shorter + 1] += 2;
            counts[shorter] -= 1;
        }
    }
    std::size_t length = longest_code;
    while (length > 0 && counts[length] == 0)
        --length;
    if (length > 0)
        --counts[length];
}

NUV_JPEGResult huffman_optimal_table(const std::uint64_t* frequencies, std::uint8_t* bits,
                                     std::uint8_t* values)
{
    if (frequencies == nullptr || bits == nullptr || values == nullptr)
        return NUV_JPEGResult::null_pointer;

    const OptimalTree tree(frequencies);
    std::uint32_t counts[OptimalTree::leaves + 1] = {};
    for (const std::uint32_t length : tree.lengths)
        ++counts[length];
    counts[0] = 0;
    limit_lengths(counts);
    for (std::uint32_t length = 1; length <= longest_code; ++length)
        bits[length - 1] = static_cast<std::uint8_t>(counts[length]);
    // Figure K.4: the symbols by length of their code before the limit.
    for (std::uint32_t length = 1; length <= OptimalTree::leaves; ++length) {
        for (std::size_t symbol = 0; symbol < most_codes; ++symbol) {
            if (tree.lengths[symbol] == length)
                *values++ = static_cast<std::uint8_t>(symbol);
        }
    }
    return NUV_JPEGResult::good;
}

} // namespace

NUV_JPEGResult huffman_decode_wide_init(const std::uint8_t* bits, const std::uint8_t* values,
                                        NUV_JPEGWideTable* table)
{
    return init_with_entries<fill_wide_entries>(bits, values, table, NUV_JPEGWideEntry{});
}

void huffman_decode_wide_join(NUV_JPEGWideTable* table) noexcept
{
    constexpr std::uint32_t index_bits = NUV_JPEGWideTable::index_bits;
    constexpr std::uint32_t none = 0xFF000000; // far() and length_of_both()
    for (std::uint32_t index = 0; index < 1U << index_bits; ++index) {
        NUV_JPEGWideEntry& entry = table->entries[index];
        const std::uint32_t used = entry.length_of_both();
        if (used == 0 || used >= index_bits || entry.symbol() == 0)
            continue;
        const NUV_JPEGWideEntry next = table->entries[(index << used) % (1U << index_bits)];
        const std::uint32_t length = used + next.length();
        const bool is_known = next.value() != 0 || next.symbol() == 0 || next.symbol() == 0xF0;
        if (next.length() == 0 || length > index_bits || !is_known)
            continue;
        const std::uint32_t far =
            next.symbol() == 0 ? NUV_JPEGWideEntry::end_of_block : next.zeros();
        const std::uint64_t second_value = static_cast<std::uint16_t>(next.value());
        entry.word &= ~std::uint64_t{none | 0xFFU};
        entry.word |= second_value << 48 | (entry.zeros() + 1 + far) << 24 | length;
    }
}

NUV_JPEGResult huffman_decode_difference_init(const std::uint8_t* bits, const std::uint8_t* values,
                                              NUV_JPEGDifferenceTable* table)
{
    return init_with_entries<fill_difference_entries>(bits, values, table,
                                                      NUV_JPEGDifferenceTable::no_code);
}

void set_portable_huffman_table_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.huffman_encode_spec_size = [](std::int32_t* size) {
        return size_in_bytes(size, sizeof(NUV_JPEGEncodeTable));
    };
    primitives.huffman_encode_spec_init = huffman_encode_spec_init;
    primitives.huffman_decode_spec_size = [](std::int32_t* size) {
        return size_in_bytes(size, sizeof(NUV_JPEGDecodeTable));
    };
    primitives.huffman_decode_spec_init = huffman_decode_spec_init;
    primitives.huffman_state_size = [](std::int32_t* size) {
        return size_in_bytes(size, sizeof(NUV_JPEGDecodeState));
    };
    primitives.huffman_optimal_table = huffman_optimal_table;
    primitives.huffman_size = [](std::int32_t* size) {
        return size_in_bytes(size, OptimalTree::leaves * sizeof(std::uint64_t));
    };
}

} // namespace nuv
