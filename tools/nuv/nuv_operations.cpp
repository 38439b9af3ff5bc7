#include "tools/nuv/nuv_operations.h"

#include "tools/nuv/nuv_numbers.h"
#include "tools/nuv/nuv_pixelwords.h"
#include "tools/nuv/nuv_sizes.h"
#include "tools/nuv/nuv_text.h"
#include "tools/nuv/nuv_words.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace nuv_tool {

namespace {

using Append = std::function<Problem(nuv_job*)>;

// A call that leaves its failure in the job.
template <class Call>
Append appending(Call call)
{
    return [call](nuv_job* job) -> Problem {
        call(job);
        return {};
    };
}

template <nuv_status (*call)(nuv_job*)>
Append parse_plain(std::string_view)
{
    return appending(call);
}

template <nuv_flip_axis axis>
Append parse_mirror(std::string_view)
{
    return appending([](nuv_job* job) { nuv_flip(job, axis); });
}

Append parse_rotate(std::string_view argument)
{
    const std::optional<int> angle = number_of<int>(argument);
    if (!angle || *angle % 90 != 0)
        throw UsageError("rotate takes a multiple of 90 degrees, not " + quoted(argument));
    return appending([angle = *angle](nuv_job* job) { nuv_rotate(job, angle); });
}

// The `parse` of a scaling word.
template <nuv_scaling how>
Append parse_scale(std::string_view argument)
{
    const std::optional<Size> size = size_of(argument);
    if (!size)
        throw UsageError(quoted(argument) +
                         " is not a size such as 800x600, 800x, x600, 50%, 256 or 800x600^");
    return [size = *size](nuv_job* job) -> Problem {
        if (how != NUV_NEAREST)
            make_scalable(job);
        const nuv_picture is = look(job);
        if (is.width == 0)
            return {}; // the job has failed
        const auto to = scaled({is.width, is.height}, size);
        if (!to)
            return "the picture would become too large";
        nuv_scale(job, how, to->width, to->height);
        return {};
    };
}

// The `parse` of a word for a box.
template <unsigned flags>
Append parse_box(std::string_view argument)
{
    const std::optional<Extent> box = box_of(argument);
    if (!box)
        throw UsageError(quoted(argument) + " is not a box such as 800x600, or 256 for 256x256");
    return appending([box = *box](nuv_job* job) {
        make_scalable(job);
        nuv_fit(job, NUV_FINE, box.width, box.height, flags);
    });
}

Append parse_max(std::string_view argument)
{
    if (!number_of<std::uint32_t>(argument))
        throw UsageError("max takes a number of pixels, not " + quoted(argument));
    return parse_box<0>(argument);
}

// A place along one side: pixels from its near or from its far end.
struct Place {
    std::uint32_t distance = 0;
    bool is_from_far = false;
};

std::optional<Place> place_of(std::string_view text)
{
    Place place{.is_from_far = text.starts_with('-')};
    if (place.is_from_far)
        text.remove_prefix(1);
    const auto distance = number_of<std::uint32_t>(text);
    if (!distance)
        return std::nullopt;
    place.distance = *distance;
    return place;
}

// Nothing for a place that no pixel of a side of `length` has.
std::optional<std::uint32_t> pixel_at(const Place& place, std::uint32_t length)
{
    if (place.is_from_far ? place.distance == 0 || place.distance > length
                          : place.distance >= length)
        return std::nullopt;
    return place.is_from_far ? length - place.distance : place.distance;
}

Append parse_crop(std::string_view argument)
{
    const auto first = argument.find(',');
    const auto second = first == std::string_view::npos ? first : argument.find(',', first + 1);
    if (second == std::string_view::npos)
        throw UsageError(quoted(argument) + " is not of the form X,Y,WxH");
    const auto x = place_of(argument.substr(0, first));
    const auto y = place_of(argument.substr(first + 1, second - first - 1));
    const auto box = box_of(argument.substr(second + 1));
    if (!x || !y || !box)
        throw UsageError(quoted(argument) + " is not of the form X,Y,WxH");
    return [x = *x, y = *y, box = *box](nuv_job* job) -> Problem {
        const nuv_picture is = look(job);
        if (is.width == 0)
            return {}; // the job has failed
        const auto left = pixel_at(x, is.width);
        const auto top = pixel_at(y, is.height);
        if (!left || !top)
            return "begins outside the picture, which has " + std::to_string(is.width) + "x" +
                   std::to_string(is.height) + " pixels";
        nuv_crop(job, *left, *top, box.width, box.height);
        return {};
    };
}

struct WordParser {
    std::string_view name;
    // Turns the text behind "=" into what the word does. Throws UsageError.
    Append (*parse)(std::string_view argument);
};

constexpr std::array parsers{
    WordParser{"auto-orient", parse_plain<nuv_upright>},
    WordParser{"crop", parse_crop},
    WordParser{"mirror-x", parse_mirror<NUV_LEFT_TO_RIGHT>},
    WordParser{"mirror-y", parse_mirror<NUV_TOP_TO_BOTTOM>},
    WordParser{"rotate", parse_rotate},
    WordParser{"fit", parse_box<0>},
    WordParser{"fill", parse_box<NUV_FILL>},
    WordParser{"max", parse_max},
    WordParser{"nearest", parse_scale<NUV_NEAREST>},
    WordParser{"linear", parse_scale<NUV_LINEAR>},
    WordParser{"cubic", parse_scale<NUV_CUBIC>},
    WordParser{"area", parse_scale<NUV_AREA>},
    WordParser{"fine", parse_scale<NUV_FINE>},
    WordParser{"invert", parse_invert},
    WordParser{"channel", parse_channel},
    WordParser{"color", parse_color},
    WordParser{"lut", parse_lut},
    WordParser{"convert", parse_convert},
};

Operation parse_operation(const std::string& text)
{
    const std::string_view whole = text;
    const std::string_view name = whole.substr(0, whole.find('='));
    const Word* const word = find_word(name);
    const auto parser = std::ranges::find(parsers, name, &WordParser::name);
    if (!word || parser == parsers.end())
        throw UsageError(unknown_operation(text));
    const bool has_argument = name.size() < whole.size();
    if (has_argument == word->argument.empty())
        throw UsageError(quoted(text) + " is not of the form " + usage_of(*word));
    return {text, parser->parse(has_argument ? whole.substr(name.size() + 1) : std::string_view{})};
}

} // namespace

std::vector<Operation> parse_operations(const std::vector<std::string>& words)
{
    std::vector<Operation> operations;
    operations.reserve(words.size());
    for (const std::string& word : words)
        operations.push_back(parse_operation(word));
    return operations;
}

nuv_picture look(nuv_job* job)
{
    nuv_picture is{};
    is.size = sizeof(is);
    nuv_look(job, &is);
    return is;
}

void make_scalable(nuv_job* job)
{
    constexpr int white = 255;

    nuv_picture is = look(job);
    if (is.palette_entries != 0) {
        nuv_recolor(job, static_cast<nuv_color>(is.color));
        is = look(job);
    }
    if (is.bits == 1)
        nuv_expand_bits(job, 8, 0, white);
}

} // namespace nuv_tool
