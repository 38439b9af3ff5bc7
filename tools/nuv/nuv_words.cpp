#include "tools/nuv/nuv_words.h"

#include "tools/nuv/nuv_problem.h"
#include "tools/nuv/nuv_sizes.h"
#include "tools/nuv/nuv_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace nuv_tool {

namespace {

constexpr std::string_view size_text = R"(SIZE is one of
  800x600       exactly so
  800x, x600    one side; the other keeps the proportions
  50%           of both sides
  256           the longer side; the other keeps the proportions
  800x600^      the smallest size of the same proportions that covers so much
)";

constexpr std::string_view scaling_details = R"(SIZE is 800x600, 800x, x600, 50%, 256 for the longer
side, or 800x600^ for what covers so much.
)";

constexpr std::array all_words{
    Word{"auto-orient", "", "as the file says that it is to be seen",
         R"(Turns and mirrors the picture by the orientation that its file tells. Without one the
picture stays as it is.
)"},
    Word{"crop", "X,Y,WxH", "a rectangle",
         R"(W x H pixels, of which the upper left one is at X, Y, counted from 0. -X and -Y count
from the right and from the lower edge. What reaches over an edge is cut off.
)"},
    Word{"mirror-x", "", "every line end for end", "Exchanges left and right.\n"},
    Word{"mirror-y", "", "the last line first",
         "Exchanges above and below. The whole picture is held in memory.\n"},
    Word{"rotate", "DEGREES", "clockwise, by a multiple of 90",
         R"(Negative DEGREES turn the other way. The whole result is held in memory, but for
multiples of 360.
)"},
    Word{"fit", "WxH", "scale down to fit into a box, as fine does",
         R"(The largest size of the same proportions that fits into the box; one number is both of
its sides. A picture that fits already stays as it is.
)"},
    Word{"fill", "WxH", "scale down to cover a box, and crop to it",
         R"(The picture covers the box, and what stands over is cut off on both sides; one number
is both sides of the box. A picture that is smaller is not enlarged.
)"},
    Word{"max", "N", "neither side longer than N pixels",
         "As fit=NxN: a picture that fits already stays as it is.\n"},
    Word{"nearest", "SIZE", "scale, taking the nearest pixel",
         R"(The only scaling that keeps 1 bit and a colour table: others make 8 bits, or colours.
SIZE is 800x600, 800x, x600, 50%, 256 for the longer side, or 800x600^ for what covers so much.
)"},
    Word{"linear", "SIZE", "scale, linear between neighbours", scaling_details},
    Word{"cubic", "SIZE", "scale by cubic convolution: the sharpest", scaling_details},
    Word{"area", "SIZE", "scale to the mean of the covered area", scaling_details},
    Word{"fine", "SIZE", "scale by masks that follow the ratio: the finest", scaling_details},
    Word{"invert", "", "every bit turned over",
         "Black becomes white, and each colour its opposite.\n"},
    Word{"channel", "N", "one channel alone, as gray; the first is 0",
         "The samples of channel N of each pixel, 0 being the first. The result is gray.\n"},
    Word{"color", "COLOR", "another colour space",
         R"(Converts by calculation. A picture with a colour table first becomes the colours that it
stands for. See 'nuv help colors' for the names.
)"},
    Word{"lut", "FILE:BITS", "samples through a table of so many bits",
         R"(Takes every sample through the table in FILE, whose entries have so many bits: 8, 16 or
32, in the byte order of the machine. A picture of several channels needs the entries of each
channel, one channel after the other.
)"},
    Word{"convert", "SLOPE:OFFSET:BITS", "sample * slope + offset, in so many bits",
         R"(Rounded and limited to BITS: 1, 8, 16 or 32. convert=0.00389105:0:8 makes 8 bits of 16.
)"},
};

constexpr auto all_names = [] {
    std::array<std::string_view, all_words.size()> names;
    std::ranges::transform(all_words, names.begin(), &Word::name);
    return names;
}();

// What others call it.
struct OtherName {
    std::string_view name;
    std::string_view word;
};

constexpr std::array other_names{
    OtherName{"resize", "fit"},       OtherName{"scale", "fine"},
    OtherName{"size", "fine"},        OtherName{"gray", "color=gray"},
    OtherName{"grey", "color=gray"},  OtherName{"grayscale", "color=gray"},
    OtherName{"flip", "mirror-y"},    OtherName{"flop", "mirror-x"},
    OtherName{"negate", "invert"},    OtherName{"orient", "auto-orient"},
    OtherName{"colorspace", "color"}, OtherName{"colour", "color"},
};

} // namespace

std::span<const Word> words()
{
    return all_words;
}

const Word* find_word(std::string_view name)
{
    const auto word = std::ranges::find(all_words, name, &Word::name);
    return word != all_words.end() ? &*word : nullptr;
}

std::span<const std::string_view> word_names()
{
    return all_names;
}

std::string meant_word(std::string_view text)
{
    const std::string_view name = text.substr(0, text.find('='));
    const auto other = std::ranges::find(other_names, name, &OtherName::name);
    if (other != other_names.end())
        return std::string{other->word};
    const bool is_size = size_of(text).has_value();
    return is_size ? "fine=" + std::string{text} : std::string{near_word(name, all_names)};
}

std::string unknown_operation(std::string_view text)
{
    std::string told = "unknown word " + quoted(text.substr(0, text.find('=')));
    const std::string meant = meant_word(text);
    if (meant.empty())
        return told.append(". See nuv help convert.");
    return told.append(": did you mean ").append(meant).append("?");
}

std::string usage_of(const Word& word)
{
    std::string text{word.name};
    if (!word.argument.empty())
        text.append("=").append(word.argument);
    return text;
}

std::string_view size_help()
{
    return size_text;
}

std::string words_help()
{
    constexpr std::size_t column = 26;
    std::string text;
    for (const Word& word : all_words) {
        const std::string shown = usage_of(word);
        text.append("  ").append(shown);
        text.append(column - std::min(shown.size(), column - 1), ' ');
        text.append(word.help).append("\n");
    }
    return text.append("\n").append(size_text);
}

} // namespace nuv_tool
