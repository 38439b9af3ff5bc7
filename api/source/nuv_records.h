#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace nuv {

// Records begin with their size as the caller knows it, and grow at their end. Sizes below that of
// the first version are wrong, and so are sizes that nobody can mean.
template <class Record>
[[nodiscard]] bool is_record(const Record* theirs) noexcept
{
    constexpr std::size_t largest = 4096;
    return theirs && theirs->size >= sizeof(Record) && theirs->size <= largest;
}

// Fills the caller's record, and zeros what it has beyond ours.
template <class Record>
[[nodiscard]] bool hand_out(const Record& ours, Record* theirs) noexcept
{
    if (!is_record(theirs))
        return false;
    const std::size_t size = theirs->size;
    std::memset(static_cast<void*>(theirs), 0, size);
    std::memcpy(theirs, &ours, sizeof(Record));
    theirs->size = size;
    return true;
}

} // namespace nuv
