#include "core/ccitt/codec/nuv_qdccittrunwriter.h"

#include "core/qdrle/nuv_qdrlerun.h"

#include <algorithm>
#include <utility>

namespace nuv {

using Code = QDCCITTBase::Code;

namespace {

// Words of the longest line of `width` pixels, which is one that the run form can have.
[[nodiscard]] std::uint32_t words_of_line(std::uint32_t width) noexcept
{
    return checked_run_line_bytes(width).value_or(0) / std::uint32_t{sizeof(std::uint32_t)};
}

} // namespace

QDCCITTRunArray::QDCCITTRunArray(QDCCITTAllocator* allocator, std::uint32_t width) noexcept
    : allocator_(allocator),
      first_capacity_(words_of_line(std::min(width, 65536U))),
      most_words_(words_of_line(width))
{}

bool QDCCITTRunArray::reserve(std::uint32_t words)
{
    if (words_ && words <= capacity_)
        return true;
    std::uint64_t capacity = words_ ? capacity_ : first_capacity_;
    while (capacity < words)
        capacity *= 2;
    capacity = std::min(capacity, std::uint64_t{most_words_});
    const std::size_t all = front_words + static_cast<std::size_t>(capacity) + spare_words;
    auto* const memory =
        static_cast<std::uint32_t*>(allocator_->allocate(all * sizeof(std::uint32_t)));
    if (!memory)
        return false;
    std::fill_n(memory, front_words, before_first);
    if (words_)
        std::copy_n(words_, capacity_, memory + front_words);
    free();
    words_ = memory + front_words;
    capacity_ = static_cast<std::uint32_t>(capacity);
    return true;
}

void QDCCITTRunArray::free() noexcept
{
    if (words_)
        allocator_->free(words_ - front_words);
    words_ = nullptr;
    capacity_ = 0;
}

void QDCCITTRunArray::swap(QDCCITTRunArray& other) noexcept
{
    std::swap(words_, other.words_);
    std::swap(capacity_, other.capacity_);
}

Code QDCCITTRunWriter::append(std::int64_t start, std::int64_t end)
{
    if (start > end)
        return Code::good;
    const bool is_cut = end >= width_;
    const auto last = static_cast<std::uint32_t>(is_cut ? width_ - 1 : end);
    const Code code = is_cut ? Code::found_bad_code : Code::good;
    const std::uint32_t count = line_.count();
    const std::int64_t behind = count == 0 ? 0 : std::int64_t{line_.runs()[count - 1]} + 1;
    if (start < behind || start >= width_)
        return Code::found_bad_code;
    if (start == behind && count != 0) {
        line_.runs()[count - 1] = last;
        return code;
    }
    constexpr std::uint32_t words = 4; // of a run and the terminator
    if (capacity_ - count < words) {
        if (!own_)
            return Code::found_bad_code;
        if (!own_->reserve(count + words))
            return Code::no_memory;
        line_.runs(own_->words());
        capacity_ = own_->capacity();
    }
    line_.append(static_cast<std::uint32_t>(start), last);
    return code;
}

} // namespace nuv
