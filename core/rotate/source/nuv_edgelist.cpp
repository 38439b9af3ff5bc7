#include "core/rotate/source/nuv_edgelist.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace nuv {

bool NUV_EdgeList::cleanup()
{
    sections_.clear();
    return true;
}

bool NUV_EdgeList::initiate(const NUV_Turn& turn)
{
    constexpr std::size_t usual = 128; // changes of a column
    turn_ = turn;
    if (!changes_.resize(usual))
        return fail(manager(), NUV_ERR_MEMORY, "NUV_EdgeList::initiate()");
    return true;
}

bool NUV_EdgeList::take(std::uint32_t row, const NUV_QDRLELines& lines)
{
    // Corners take two to three times that, and yet less time where a column has few of them.
    constexpr std::size_t bytes_for_run = std::size_t{2} * NUV_QDRLERun::bytes;
    constexpr std::size_t least_runs = NUV_BitBand::bytes_per_column / bytes_for_run;
    std::size_t runs = 0;
    for (std::size_t i = 0; i < lines.ends.size(); ++i)
        runs += lines[i].size() * lines.rows(i);
    if (runs / least_runs > turn_.width)
        return add_bits(row, lines);
    return add_corners(row, lines);
}

bool NUV_EdgeList::add_bits(std::uint32_t row, const NUV_QDRLELines& lines)
{
    const std::uint32_t end = std::accumulate(lines.repeats.begin(), lines.repeats.end(),
                                              row + static_cast<std::uint32_t>(lines.ends.size()));
    auto band = make_initiated<NUV_BitBand>(manager(), turn_, row, end);
    if (!band || !end_corners())
        return false;
    std::uint32_t first = row;
    for (std::size_t i = 0; i < lines.ends.size(); ++i) {
        band->take(first, first + lines.rows(i), lines[i]);
        first += lines.rows(i);
    }
    return sections_.push_back(Section{{}, std::move(band), row, end});
}

bool NUV_EdgeList::add_corners(std::uint32_t row, const NUV_QDRLELines& lines)
{
    if (sections_.empty() || !sections_.back().corners) {
        auto list = make_initiated<NUV_CornerList>(manager(), turn_);
        if (!list || !sections_.push_back(Section{std::move(list), {}, row, row}))
            return false;
    }
    Section& section = sections_.back();
    for (std::size_t i = 0; i < lines.ends.size(); ++i) {
        if (!section.corners->take(row, lines[i]))
            return false;
        row += lines.rows(i);
    }
    section.end_row = row;
    return true;
}

bool NUV_EdgeList::end_corners()
{
    if (sections_.empty() || !sections_.back().corners)
        return true;
    const Section& section = sections_.back();
    return section.corners->take(section.end_row, {}) && section.corners->finish();
}

bool NUV_EdgeList::finish()
{
    if (!end_corners())
        return false;
    if (turn_.is_clockwise)
        std::ranges::reverse(sections_.items());
    return true;
}

bool NUV_EdgeList::next_column()
{
    bool is_new = false;
    for (const Section& section : sections_.items()) {
        if (section.bits)
            is_new = section.bits->next_column() || is_new;
        else if (!section.corners->next_column(is_new))
            return false;
    }
    return !is_new || gather_changes();
}

// A section takes what is above it and below it for white. Where it is black, the changes there are
// none.
bool NUV_EdgeList::gather_changes()
{
    std::size_t room = 2 + NUV_BitBand::slack;
    for (const Section& section : sections_.items())
        room += section.bits ? NUV_BitBand::most_rows : section.corners->changes().size() + 1;
    if (changes_.size() < room && !changes_.resize(2 * room))
        return false;
    std::uint32_t* const begin = changes_.data();
    std::uint32_t* out = begin;
    bool is_black = false; // from the last change on
    for (const Section& section : sections_.items()) {
        const std::uint32_t place =
            turn_.place_of(turn_.is_clockwise ? section.end_row : section.first_row);
        if (!is_black && out != begin && out[-1] == place) {
            --out;
            is_black = true;
        }
        if (section.bits) {
            out = section.bits->append_changes(out, is_black);
            continue;
        }
        auto changes = section.corners->changes();
        if (is_black && !changes.empty() && changes.front() == place)
            changes = changes.subspan(1);
        else if (is_black)
            *out++ = place;
        is_black = false;
        out = std::ranges::copy(changes, out).out;
    }
    if (is_black)
        *out++ = turn_.height;
    return make_runs(static_cast<std::size_t>(out - begin));
}

// White above the image and below it: changes come in pairs.
bool NUV_EdgeList::make_runs(std::size_t change_count)
{
    if (!column_.resize(change_count / 2))
        return false;
    const std::uint32_t* changes = changes_.data();
    for (NUV_QDRLERun& run : column_.items()) {
        run = {changes[0], changes[1] - 1};
        changes += 2;
    }
    return true;
}

} // namespace nuv
