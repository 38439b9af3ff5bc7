#pragma once

#include "tests/support/nuv_model_codecs.h"

#include <map>

// A second reader of TIFF, as plain as can be, that shares nothing with the library: what a file is
// taken for, what is said about it, and what comes out of it.
namespace nuv::model {

using Numbers = std::vector<std::uint64_t>;

struct TIFFEntry {
    std::uint64_t tag = 0;
    std::uint64_t type = 0; // 0 for what is no type
    std::uint64_t count = 0;
    std::int32_t status = 1;
    std::uint64_t value = 0; // where its first element lies
    std::uint64_t bytes = 0; // of the elements, when they are there
};

struct TIFFFile {
    std::span<const std::uint8_t> bytes;
    bool little = true;
    std::uint64_t next_directory = 0;
    std::map<std::uint64_t, TIFFEntry> entries; // by tag
    // By tag: numbers, numerator << 32 | denominator, or characters. A rational that is to be one
    // and was not in the file is empty.
    std::map<std::uint64_t, Numbers> attributes;
    bool loaded = false;
    Status status;
    // The description, once loaded; types by their keys.
    std::uint64_t bits = 0;
    std::uint64_t channels = 0;
    std::string encoding;
    std::string color;
    bool has_palette = false;
    Bytes palette;
    double resolution[2] = {};
    std::uint64_t resolution_unit = 0;

    [[nodiscard]] std::uint64_t number(std::uint64_t at, std::uint64_t size) const;
    [[nodiscard]] bool has(std::uint64_t at, std::uint64_t size) const;
    // The first element, which has to be there.
    [[nodiscard]] std::uint64_t operator[](std::uint64_t tag) const
    {
        return attributes.at(tag).at(0);
    }
};

// A page of a file, or of the chain that begins at a directory in data of the file's order.
[[nodiscard]] TIFFFile load_tiff(std::span<const std::uint8_t> bytes, std::uint32_t page = 0,
                                 std::optional<std::uint32_t> directory = {});

// What reading a loaded file gives: of raw and PackBits data all, of others
// the refusals.
struct TIFFPicture {
    bool known = true;  // or nothing is foretold
    bool built = false; // or there is no picture; an empty text stands for any status
    Status status;      // goes on from that of loading
    std::uint64_t channels = 0;
    std::uint64_t bits = 0;
    std::string color;
    std::vector<Bytes> strips; // decoded, or one stream of all of them
    // Of samples, the extra ones among them; 0 for what only they lack.
    std::vector<Numbers> lines;
};
[[nodiscard]] TIFFPicture read_tiff(const TIFFFile& file);

// A sample of 1, 4, 8 or 16 bits.
[[nodiscard]] std::uint64_t sample_at(const std::uint8_t* line, std::uint64_t bits,
                                      std::uint64_t index, bool little);

} // namespace nuv::model
