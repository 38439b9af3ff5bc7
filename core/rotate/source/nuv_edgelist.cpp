#include "core/rotate/source/nuv_edgelist.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace nuv {
namespace {

constexpr std::uint32_t digit_bits = 16;
constexpr std::uint32_t digits = std::uint32_t{1} << digit_bits;

// The columns at which a line changes colour, from the left: the start of each run, and the column
// behind its end.
class Changes {
public:
    static constexpr std::uint64_t none = std::numeric_limits<std::uint64_t>::max();

    explicit Changes(std::span<const NUV_QDRLERun> runs) noexcept : runs_(runs) {}

    [[nodiscard]] std::uint64_t column() const noexcept
    {
        if (index_ / 2 >= runs_.size())
            return none;
        const NUV_QDRLERun& run = runs_[index_ / 2];
        return index_ % 2 == 0 ? run.start : std::uint64_t{run.end} + 1;
    }
    void next() noexcept { ++index_; }

private:
    std::span<const NUV_QDRLERun> runs_;
    std::size_t index_ = 0; // two for each run
};

} // namespace

bool NUV_EdgeList::cleanup()
{
    edges_.clear();
    crossing_.clear();
    next_crossing_.clear();
    return true;
}

bool NUV_EdgeList::initiate(std::uint32_t width, Order order)
{
    constexpr std::size_t usual = 128; // edges of a column
    width_ = width;
    order_ = order;
    if (!crossing_.reserve(usual) || !next_crossing_.reserve(usual))
        return fail(manager(), NUV_ERR_MEMORY, "NUV_EdgeList::initiate()");
    return true;
}

bool NUV_EdgeList::add_line(std::uint32_t row, std::span<const NUV_QDRLERun> above,
                            std::span<const NUV_QDRLERun> line)
{
    // Where one of the two lines changes colour and the other does not, they begin or cease to
    // differ.
    Changes in_above(above);
    Changes in_line(line);
    std::uint64_t differ_from = Changes::none;
    for (;;) {
        const std::uint64_t a = in_above.column();
        const std::uint64_t b = in_line.column();
        if (a == Changes::none && b == Changes::none)
            return true;
        if (a <= b)
            in_above.next();
        if (b <= a)
            in_line.next();
        if (a == b)
            continue;
        const std::uint64_t column = std::min(a, b);
        if (differ_from == Changes::none) {
            differ_from = column;
            continue;
        }
        if (!add_edge(static_cast<std::uint32_t>(differ_from),
                      static_cast<std::uint32_t>(column - 1), row))
            return false;
        differ_from = Changes::none;
    }
}

bool NUV_EdgeList::add_edge(std::uint32_t first, std::uint32_t last, std::uint32_t row)
{
    if (order_ == Order::from_right)
        return edges_.push_back(Edge{width_ - 1 - last, width_ - 1 - first, row});
    return edges_.push_back(Edge{first, last, row});
}

// Edges come in the order of their lines, which sorting by digits keeps.
bool NUV_EdgeList::finish()
{
    return sort_by_digit(0) && (width_ <= digits || sort_by_digit(digit_bits));
}

// Counts how many edges have each digit, and puts each behind those with a smaller one.
bool NUV_EdgeList::sort_by_digit(std::uint32_t shift)
{
    NUV_Scratch<std::size_t> places;
    EdgeVector sorted(manager());
    if (!places.allocate(manager(), std::size_t{std::min(width_, digits)} + 1) ||
        !sorted.resize(edges_.size()))
        return fail(manager(), NUV_ERR_MEMORY, "NUV_EdgeList::finish()");
    std::ranges::fill(places.items(), std::size_t{0});
    const auto digit_of = [shift](const Edge& edge) { return edge.first >> shift & (digits - 1); };
    for (const Edge& edge : edges_.items())
        ++places[digit_of(edge) + 1];
    std::partial_sum(places.items().begin(), places.items().end(), places.items().begin());
    Edge* const to = sorted.items().data();
    for (const Edge& edge : edges_.items())
        to[places[digit_of(edge)]++] = edge;
    edges_.swap(sorted);
    return true;
}

// Takes the edges that end before the next column out of those that cross, and those that begin
// there in.
bool NUV_EdgeList::step()
{
    const auto edges = edges_.items();
    const std::size_t first = next_edge_;
    while (next_edge_ < edges.size() && edges[next_edge_].first == column_)
        ++next_edge_;
    const auto crossing = crossing_.items();
    if (!next_crossing_.resize(crossing.size() + (next_edge_ - first)))
        return false;
    const Edge* begins = edges.data() + first;
    const Edge* const end_of_begins = edges.data() + next_edge_;
    Edge* out = next_crossing_.items().data();
    for (const Edge& edge : crossing) {
        for (; begins != end_of_begins && begins->row < edge.row; ++begins)
            *out++ = *begins;
        *out = edge; // and written over when it ends here
        out += edge.last >= column_ ? 1 : 0;
    }
    out = std::copy(begins, end_of_begins, out);
    const auto count = static_cast<std::size_t>(out - next_crossing_.items().data());
    if (!next_crossing_.resize(count))
        return false;
    crossing_.swap(next_crossing_);
    ++column_;
    return true;
}

bool NUV_EdgeList::next_column(NUV_QDRLERunVector& column)
{
    if (!step())
        return false;
    // White above the image and below it: the edges of a column come in pairs.
    for (std::size_t i = 0; i + 1 < crossing_.size(); i += 2) {
        if (!column.add(crossing_[i].row, crossing_[i + 1].row - 1))
            return false;
    }
    return true;
}

bool NUV_EdgeList::next_column_upward(NUV_QDRLERunVector& column, std::uint32_t height)
{
    if (!step())
        return false;
    for (std::size_t i = crossing_.size(); i >= 2; i -= 2) {
        if (!column.add(height - crossing_[i - 1].row, height - 1 - crossing_[i - 2].row))
            return false;
    }
    return true;
}

} // namespace nuv
