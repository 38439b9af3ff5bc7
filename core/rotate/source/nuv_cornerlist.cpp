#include "core/rotate/source/nuv_cornerlist.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace nuv {
namespace {

constexpr std::uint32_t stripe_bits = 16;
constexpr std::uint32_t stripe_columns = std::uint32_t{1} << stripe_bits;
constexpr std::uint32_t row_mark = std::uint32_t{1} << 31;
constexpr std::size_t stride = 4; // changes that are copied together
constexpr std::uint32_t beyond = std::numeric_limits<std::uint32_t>::max(); // of all rows

// A line as the columns at which it changes colour: the start of each run, and the column behind
// its end.
struct Changes {
    std::span<const NUV_QDRLERun> runs;
    std::size_t index = 0; // two for each run

    [[nodiscard]] bool at_end() const noexcept { return index / 2 >= runs.size(); }
    [[nodiscard]] bool is_inside() const noexcept { return index % 2 != 0; }
    [[nodiscard]] std::uint32_t column() const noexcept
    {
        const NUV_QDRLERun& run = runs[index / 2];
        return is_inside() ? run.end + 1 : run.start;
    }
    [[nodiscard]] const NUV_QDRLERun* run() const noexcept { return &runs[index / 2]; }
    // Where the run behind this one starts.
    [[nodiscard]] std::uint32_t next_start() const noexcept
    {
        return index / 2 + 1 < runs.size() ? run()[1].start : beyond;
    }
};

// Writes the changes that only one of the lines has, until neither is inside a run.
[[nodiscard]] std::uint32_t* merge_changes(Changes& a, Changes& b, std::uint32_t* out) noexcept
{
    do {
        const std::uint32_t in_a = a.column();
        const std::uint32_t in_b = b.column();
        *out = std::min(in_a, in_b);
        out += in_a != in_b ? 1 : 0;
        a.index += in_a <= in_b ? 1 : 0;
        b.index += in_b <= in_a ? 1 : 0;
    } while (!a.at_end() && !b.at_end() && (a.is_inside() || b.is_inside()));
    return out;
}

// Writes the columns at which one line changes colour and the other does not, in no certain order;
// there is room for all changes of both lines and two more.
[[nodiscard]] std::uint32_t* find_corners(std::span<const NUV_QDRLERun> above,
                                          std::span<const NUV_QDRLERun> line,
                                          std::uint32_t* out) noexcept
{
    Changes a{above};
    Changes b{line};
    while (!a.at_end() && !b.at_end()) {
        const NUV_QDRLERun in_a = *a.run();
        const NUV_QDRLERun in_b = *b.run();
        // One run that has moved a little, as mostly, needs no branch for how.
        const bool is_pair =
            std::max(in_a.start, in_b.start) <= std::min(in_a.end, in_b.end) &&
            std::max(in_a.end, in_b.end) + 1 < std::min(a.next_start(), b.next_start());
        if (!is_pair) {
            out = merge_changes(a, b, out);
            continue;
        }
        out[0] = in_a.start;
        out[1] = in_b.start;
        out += in_a.start != in_b.start ? 2 : 0;
        out[0] = in_a.end + 1;
        out[1] = in_b.end + 1;
        out += in_a.end != in_b.end ? 2 : 0;
        a.index += 2;
        b.index += 2;
    }
    for (Changes* rest : {&a, &b}) {
        for (; !rest->at_end(); ++rest->index)
            *out++ = rest->column();
    }
    return out;
}

[[nodiscard]] constexpr bool is_row(std::uint32_t mark) noexcept
{
    return (mark & row_mark) != 0;
}

} // namespace

bool NUV_CornerList::cleanup()
{
    marks_.clear();
    rows_.clear();
    changes_.clear();
    next_changes_.clear();
    return true;
}

bool NUV_CornerList::initiate(const NUV_Turn& turn)
{
    constexpr std::size_t usual = 128; // changes of a column
    turn_ = turn;
    if (!changes_.resize(usual) || !next_changes_.resize(usual))
        return fail(manager(), NUV_ERR_MEMORY, "NUV_CornerList::initiate()");
    std::ranges::fill(changes_.items(), beyond);
    return true;
}

bool NUV_CornerList::take(std::uint32_t row, std::span<const NUV_QDRLERun> line)
{
    const std::span<const NUV_QDRLERun> above = above_.items();
    const auto differ = std::ranges::mismatch(above, line);
    const std::span<const NUV_QDRLERun> rest_above(differ.in1, above.end());
    const std::span<const NUV_QDRLERun> rest(differ.in2, line.end());
    const std::size_t room = 2 * (rest_above.size() + rest.size()) + 2;
    if (found_.size() < room && !found_.resize(room))
        return false;
    std::uint32_t* const found = found_.data();
    const auto count = static_cast<std::size_t>(find_corners(rest_above, rest, found) - found);
    if (count == 0)
        return true;
    const std::size_t before = marks_.size();
    if (!marks_.resize(before + 1 + count) || !above_.resize(line.size()))
        return false;
    std::ranges::copy(line, above_.data());
    std::uint32_t* const marks = marks_.data() + before;
    marks[0] = row | row_mark;
    for (std::size_t i = 0; i < count; ++i)
        marks[1 + i] = turn_.line_of(found[i]);
    return true;
}

bool NUV_CornerList::finish()
{
    NUV_Vector<NUV_QDRLERun>(manager()).swap(above_);
    Words(manager()).swap(found_);
    if (!places_.allocate(manager(), std::size_t{std::min(turn_.width + 1, stripe_columns)} + 1) ||
        !starts_.resize((turn_.width >> stripe_bits) + 2))
        return fail(manager(), NUV_ERR_MEMORY, "NUV_CornerList::finish()");
    if (turn_.width >= stripe_columns)
        return split_in_stripes();
    starts_[1] = marks_.size();
    return true;
}

// A wide image would need much memory to count the corners of all columns, so that they are put in
// order for some of them at a time.
bool NUV_CornerList::split_in_stripes()
{
    Words last_rows(manager());
    Words split(manager());
    if (!last_rows.resize(starts_.size()))
        return false;
    const auto for_each = [&](const auto& put) {
        std::ranges::fill(last_rows.items(), std::uint32_t{0});
        std::uint32_t row = 0;
        for (const std::uint32_t mark : marks_.items()) {
            if (is_row(mark)) {
                row = mark;
                continue;
            }
            const std::uint32_t stripe = mark >> stripe_bits;
            if (last_rows[stripe] != row)
                put(stripe, row);
            last_rows[stripe] = row;
            put(stripe, mark & (stripe_columns - 1));
        }
    };
    for_each([&](std::uint32_t stripe, std::uint32_t) { ++starts_[stripe + 1]; });
    for (std::size_t i = 1; i < starts_.size(); ++i)
        starts_[i] += starts_[i - 1];
    if (!split.resize(starts_.back()))
        return false;
    for_each([&](std::uint32_t stripe, std::uint32_t mark) { split[starts_[stripe]++] = mark; });
    for (std::size_t i = starts_.size() - 1; i > 0; --i)
        starts_[i] = starts_[i - 1];
    starts_[0] = 0;
    marks_.swap(split);
    return true;
}

// Counts the corners of each column, and puts each behind those of the columns before it.
bool NUV_CornerList::sort_stripe(std::span<const std::uint32_t> marks)
{
    if (rows_.size() < marks.size() && !rows_.resize(marks.size()))
        return false;
    const auto places = places_.items();
    std::ranges::fill(places, std::size_t{0});
    for (const std::uint32_t mark : marks) {
        if (!is_row(mark))
            ++places[mark + 1];
    }
    for (std::size_t i = 1; i < places.size(); ++i)
        places[i] += places[i - 1];
    std::uint32_t* const rows = rows_.data();
    std::uint32_t row = 0;
    for (const std::uint32_t mark : marks) {
        if (is_row(mark))
            row = mark & ~row_mark;
        else
            rows[places[mark]++] = row;
    }
    return true;
}

bool NUV_CornerList::next_column(bool& is_new)
{
    const std::uint32_t in_stripe = next_ & (stripe_columns - 1);
    if (in_stripe == 0) {
        const std::size_t stripe = next_ >> stripe_bits;
        const auto marks = marks_.items().subspan(starts_[stripe]);
        if (!sort_stripe(marks.first(starts_[stripe + 1] - starts_[stripe])))
            return false;
    }
    ++next_;
    const std::size_t from = in_stripe == 0 ? 0 : places_[in_stripe - 1];
    const auto rows = rows_.items().subspan(from, places_[in_stripe] - from);
    if (rows.empty())
        return true;
    is_new = true;
    return change_at(rows);
}

// Takes those of `rows` in at which the column has not changed colour so far, and the others out.
bool NUV_CornerList::change_at(std::span<const std::uint32_t> rows)
{
    const std::size_t room = change_count_ + rows.size() + 2 * stride;
    if (next_changes_.size() < room && !next_changes_.resize(2 * room))
        return false;
    const std::size_t last = rows.size() - 1;
    const std::uint32_t* from = changes_.data();
    const std::uint32_t* const end = from + change_count_;
    std::uint32_t* to = next_changes_.data();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::uint32_t row = turn_.place_of(rows[turn_.is_clockwise ? last - i : i]);
        std::size_t before = stride;
        while (before == stride) { // what lies behind the last change is behind all rows
            before = 0;
            for (std::size_t k = 0; k < stride; ++k)
                before += from[k] < row ? 1 : 0;
            std::memcpy(to, from, stride * sizeof(row));
            from += before;
            to += before;
        }
        const bool was_there = *from == row;
        *to = row;
        to += was_there ? 0 : 1;
        from += was_there ? 1 : 0;
    }
    to = std::copy(from, end, to);
    std::fill_n(to, stride, beyond);
    change_count_ = static_cast<std::size_t>(to - next_changes_.data());
    changes_.swap(next_changes_);
    return true;
}

} // namespace nuv
