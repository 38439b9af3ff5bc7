#include "framework/buffer/nuv_stblockdstbuffer.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/buffer/nuv_srcbuffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace nuv {
namespace {

constexpr std::size_t slab_bytes = std::size_t{4} << 20;
constexpr std::size_t most_slab_block_bytes = slab_bytes / 16;

} // namespace

NUV_STBlockDstBuffer::NUV_STBlockDstBuffer(NUV_Manager& manager) noexcept
    : NUV_DstBufferBase(manager),
      cache_(manager),
      blocks_(manager),
      readers_(manager)
{}

bool NUV_STBlockDstBuffer::cleanup()
{
    free_memory();
    return true;
}

void NUV_STBlockDstBuffer::free_memory() noexcept
{
    manager().deallocate(bounce_);
    bounce_ = nullptr;
    for (std::size_t i = 0; i < held_blocks(); ++i)
        give_back(manager(), block(i));
    NUV_Vector<Block>(manager()).swap(blocks_);
    first_ = 0;
    cache_.put({});
    drop_use(manager(), std::exchange(slab_, nullptr));
}

std::uint32_t NUV_STBlockDstBuffer::decide_mem_block_bytes()
{
    constexpr auto method = "NUV_STBlockDstBuffer::mem_block_bytes()";

    if (block_bytes_ == 0 || src_block_bytes_ == 0) {
        fail(manager(), NUV_ERR_UNSUPPORTED, method);
        return 0;
    }
    // The next multiple of the reader's block above the writer's: one more than needed where the
    // writer's block is a multiple itself.
    std::uint64_t mem = src_block_bytes_;
    if (block_bytes_ > src_block_bytes_)
        mem += block_bytes_ - block_bytes_ % src_block_bytes_;
    const auto narrow = fits_32(mem);
    if (!narrow) {
        fail(manager(), NUV_ERR_UNSUPPORTED, method);
        return 0;
    }
    mem_block_bytes_ = *narrow;
    return mem_block_bytes_;
}

// Has the writer write as far as is needed, and lets it know how far it may go at once.
inline void NUV_STBlockDstBuffer::pull_to(std::uint64_t needed, std::uint64_t wanted)
{
    wanted_ = wanted;
    while (written_ < needed) {
        if (!manager().pull(owner_))
            break;
    }
    // A writer that has written all it may learns that in one more step, and ends.
    if (limit_bytes_ <= written_)
        manager().pull(owner_);
}

void* NUV_STBlockDstBuffer::get()
{
    constexpr auto method = "NUV_STBlockDstBuffer::get()";

    if (state_ != State::idle || written_ > limit_bytes_)
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    const std::uint32_t mem = mem_block_bytes();
    if (mem == 0)
        return nullptr;
    if (written_ < base_)
        return fail(manager(), NUV_ERR_SEQUENCE, method);

    const auto [index, offset] = place_of(written_);
    const std::size_t held = held_blocks();
    if (index > held || (index == held && offset != 0))
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (index == held && !add_block())
        return nullptr;

    given_blocks_ = 1;
    std::uint8_t* data = block(index).data;
    if (!data || block(index).standing) // lent by a reader that has gone on, or not to be written
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (mem - offset >= block_bytes_) {
        state_ = State::in_block;
        return data + offset;
    }
    if (!bounce_)
        bounce_ = static_cast<std::uint8_t*>(manager().allocate(block_bytes_));
    if (!bounce_)
        return nullptr;
    state_ = State::in_bounce;
    return bounce_;
}

std::uint32_t NUV_STBlockDstBuffer::wanted_blocks() const
{
    const std::uint64_t wanted = wanted_ > written_ ? wanted_ - written_ : 0;
    return wanted <= block_bytes_ ? 1 : static_cast<std::uint32_t>(wanted / block_bytes_);
}

// Memory blocks from that one on that stand one behind the other, `most` at most.
std::uint32_t NUV_STBlockDstBuffer::count_adjoining(std::uint64_t index,
                                                    std::uint32_t most) noexcept
{
    const Block& first = block(index);
    const std::uint64_t held = std::min<std::uint64_t>(most, held_blocks() - index);
    std::uint32_t count = 1;
    for (const std::uint8_t* next = first.data; count < held; ++count) {
        next += mem_block_bytes_;
        if (block(index + count).data != next || block(index + count).standing != first.standing)
            break;
    }
    return count;
}

void* NUV_STBlockDstBuffer::get_blocks(std::uint32_t most, std::uint32_t* count)
{
    void* const data = get();
    *count = data ? 1 : 0;
    if (data && most > 1 && state_ == State::in_block && block_bytes_ == mem_block_bytes_)
        *count = given_blocks_ = count_adjoining(place_of(written_).index, most);
    return data;
}

bool NUV_STBlockDstBuffer::release(std::uint32_t bytes)
{
    constexpr auto method = "NUV_STBlockDstBuffer::release()";

    if (state_ != State::in_block && state_ != State::in_bounce)
        return fail(manager(), NUV_ERR_SEQUENCE, method);
    if (bytes > std::uint64_t{block_bytes_} * given_blocks_)
        return fail(manager(), NUV_ERR_ARGUMENT, method);

    if (state_ == State::in_bounce && bytes > 0) {
        const std::uint32_t mem = mem_block_bytes_;
        const auto [index, offset] = place_of(written_);
        if (index >= held_blocks() || !block(index).data)
            return fail(manager(), NUV_ERR_SEQUENCE, method);
        const std::uint64_t tail = std::min<std::uint64_t>(mem - offset, bytes);
        std::memcpy(block(index).data + offset, bounce_, tail);
        if (bytes > tail) {
            // After a failure the state stays as it is, and the release may be tried again.
            if (index + 1 == held_blocks() && !add_block())
                return false;
            std::memcpy(block(index + 1).data, bounce_ + tail, bytes - tail);
        }
    }
    written_ += bytes;
    state_ = State::idle;
    return true;
}

bool NUV_STBlockDstBuffer::deliver_standing(const void* data, std::uint32_t blocks)
{
    // Memory of a whole number of the writer's blocks alone has none that straddles two of it.
    const std::uint32_t mem = mem_block_bytes();
    if (mem == 0 || mem % block_bytes_ != 0 || state_ != State::idle || written_ > limit_bytes_ ||
        written_ < base_)
        return NUV_DstBufferBase::deliver_standing(data, blocks);
    auto [index, offset] = place_of(written_);
    // Everybody who gets a block to write to is kept away from these.
    auto* stands = static_cast<std::uint8_t*>(const_cast<void*>(data));
    for (; blocks > 0; --blocks) {
        if (index == held_blocks() && offset == 0) {
            if (!blocks_.push_back({.data = stands, .standing = true}))
                return false;
        } else if (index >= held_blocks() || !block(index).standing ||
                   block(index).data + offset != stands) {
            return NUV_DstBufferBase::deliver_standing(stands, blocks);
        }
        written_ += block_bytes_;
        stands += block_bytes_;
        offset += block_bytes_;
        if (offset == mem) {
            offset = 0;
            ++index;
        }
    }
    return true;
}

bool NUV_STBlockDstBuffer::add_block()
{
    Block fresh = cache_.take();
    if (!fresh.data)
        fresh = new_block();
    if (!fresh.data)
        return false;
    if (blocks_.push_back(fresh))
        return true;
    give_back(manager(), fresh);
    return false;
}

// Where a branch has to wait, most of the picture is held for it, line by line: that is touched
// faster on huge pages, which the memory of a slab is large enough for.
bool NUV_STBlockDstBuffer::has_many_blocks() const noexcept
{
    constexpr std::size_t many_bytes = std::size_t{1} << 20;
    return readers_.size() > 1 && held_blocks() * mem_block_bytes_ >= many_bytes &&
           mem_block_bytes_ <= most_slab_block_bytes;
}

NUV_STBlockDstBuffer::Block NUV_STBlockDstBuffer::new_block()
{
    if (slab_ || has_many_blocks())
        return take_of_slab();
    auto* const data = static_cast<std::uint8_t*>(manager().allocate(mem_block_bytes_));
    return {.data = data, .owned = data != nullptr};
}

// The last one is no larger than what can still come.
NUV_STBlockDstBuffer::Block NUV_STBlockDstBuffer::take_of_slab()
{
    const std::size_t each = (mem_block_bytes_ + sizeof(Slab) - 1) / sizeof(Slab) * sizeof(Slab);
    if (!slab_) {
        const std::uint64_t end = base_ + std::uint64_t{held_blocks()} * mem_block_bytes_;
        const std::uint64_t to_come = limit_bytes_ > end ? limit_bytes_ - end : 1;
        const std::uint64_t wanted = (to_come - 1) / mem_block_bytes_ + 1;
        slab_blocks_ = static_cast<std::size_t>(
            std::min<std::uint64_t>(wanted, (slab_bytes - sizeof(Slab)) / each));
        void* const memory = manager().allocate(sizeof(Slab) + each * slab_blocks_);
        if (!memory)
            return {};
        slab_ = ::new (memory) Slab{1};
        slab_taken_ = 0;
    }
    Slab* const slab = slab_;
    auto* const data = reinterpret_cast<std::uint8_t*>(slab + 1) + each * slab_taken_;
    ++slab->uses;
    ++slab_taken_;
    if (slab_taken_ == slab_blocks_)
        drop_use(manager(), std::exchange(slab_, nullptr));
    return {.data = data, .owned = true, .slab = slab};
}

void NUV_STBlockDstBuffer::give_back(NUV_Manager& manager, const Block& block) noexcept
{
    if (block.slab)
        drop_use(manager, block.slab);
    else if (block.owned)
        manager.deallocate(block.data);
}

void NUV_STBlockDstBuffer::drop_use(NUV_Manager& manager, Slab* slab) noexcept
{
    if (slab && --slab->uses == 0)
        manager.deallocate(slab);
}

void NUV_STBlockDstBuffer::drop_block() noexcept
{
    Block& oldest = block(0);
    // A chain in steady state goes on in the one block that it has.
    if (held_blocks() == 1 && oldest.owned && base_ + mem_block_bytes_ <= written_) {
        base_ += mem_block_bytes_;
        return;
    }
    if (oldest.owned)
        cache_.put(oldest);
    oldest = {};
    ++first_;
    base_ += mem_block_bytes_;
    // Room of dropped blocks is given up in large pieces, so that dropping stays constant in time.
    constexpr std::size_t piece = 32;
    if (first_ == blocks_.size()) {
        blocks_.clear();
        first_ = 0;
    } else if (first_ >= piece && first_ >= blocks_.size() / 2) {
        blocks_.drop_front(first_);
        first_ = 0;
    }
}

const void* NUV_STBlockDstBuffer::peek_blocks(std::uint32_t most, std::uint64_t position,
                                              std::uint32_t* count)
{
    *count = 0;
    const std::uint32_t mem = mem_block_bytes();
    if (mem == 0)
        return nullptr;
    pull_to(position + src_block_bytes_, position + std::uint64_t{most} * src_block_bytes_);
    if (written_ <= position)
        return nullptr;

    const auto [index, offset] = place_of(position);
    if (position < base_ || index >= held_blocks())
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_STBlockDstBuffer::peek()");
    const std::uint8_t* data = block(index).data;
    if (!data)
        return nullptr;
    taken_ = true;
    // A reader whose last block came short stands off its grid, and could reach past the memory.
    const std::uint64_t there = written_ - position;
    if (most > 1 && mem == src_block_bytes_ && offset == 0 && there > mem) {
        const std::uint64_t adjoining = std::uint64_t{count_adjoining(index, most)} * mem;
        *count = static_cast<std::uint32_t>(std::min(there, adjoining));
        return data;
    }
    const std::uint64_t block_bytes = std::min<std::uint64_t>(there, src_block_bytes_);
    *count = static_cast<std::uint32_t>(std::min<std::uint64_t>(block_bytes, mem - offset));
    return data + offset;
}

// Where others may still look at the block, or it is none of the writer's own, it is made.
std::uint32_t NUV_STBlockDstBuffer::pass_over(std::uint64_t position)
{
    if (mem_block_bytes() == 0)
        return 0;
    const bool is_one_block = readers_.size() == 1 && block_bytes_ == src_block_bytes_;
    NUV_DstBuffer& known = owner_ ? *owner_ : *this;
    known.is_passed_over(is_one_block && written_ == position && state_ == State::idle);
    pull_to(position + src_block_bytes_, position + src_block_bytes_);
    known.is_passed_over(false);
    if (written_ <= position)
        return 0;
    taken_ = true;
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(written_ - position, src_block_bytes_));
}

// Without memory, unless there is some already.
bool NUV_STBlockDstBuffer::deliver_unseen()
{
    const bool is_expected = (owner_ ? *owner_ : *this).is_passed_over();
    if (!is_expected || state_ != State::idle || written_ > limit_bytes_ || written_ < base_)
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_STBlockDstBuffer::deliver_unseen()");
    const std::uint64_t index = place_of(written_).index;
    if (index >= held_blocks() && !blocks_.push_back({}))
        return false;
    written_ += block_bytes_;
    return true;
}

bool NUV_STBlockDstBuffer::copy_blocks(void* into, std::uint32_t most, std::uint64_t position,
                                       std::uint32_t* count)
{
    *count = 0;
    if (mem_block_bytes() == 0)
        return false;
    if (can_lend(position))
        return lend(static_cast<std::uint8_t*>(into), most, position, count);
    const void* from = peek(position, count);
    if (!from)
        return false;
    std::memcpy(into, from, *count);
    return true;
}

// True when the only reader's memory can stand in for the memory block that it asks for.
bool NUV_STBlockDstBuffer::can_lend(std::uint64_t position) noexcept
{
    const std::uint32_t mem = mem_block_bytes_;
    if (readers_.size() > 1 || mem != src_block_bytes_ || state_ != State::idle)
        return false;
    if (position + src_block_bytes_ <= written_ || position < base_)
        return false;
    const auto [index, offset] = place_of(position);
    if (offset != 0 || index > held_blocks())
        return false;
    return index == held_blocks() ? position >= written_ : block(index).data != nullptr;
}

bool NUV_STBlockDstBuffer::lend(std::uint8_t* into, std::uint32_t most, std::uint64_t position,
                                std::uint32_t* count)
{
    const std::uint64_t index = place_of(position).index;
    has_lent_ = true;
    if (index == held_blocks()) {
        for (std::uint32_t i = 0; i < most; ++i) {
            if (!blocks_.push_back({.data = into + std::size_t{i} * mem_block_bytes_})) {
                forget_lent_blocks();
                return false;
            }
        }
    } else {
        most = 1;
        Block& standing = block(index);
        if (position < written_)
            std::memmove(into, standing.data, written_ - position);
        if (standing.owned)
            cache_.put(standing);
        standing = {.data = into};
    }
    const std::uint64_t bytes = std::uint64_t{most} * mem_block_bytes_;
    pull_to(position + bytes, position + bytes);
    const bool arrived = peek_blocks(most, position, count) == into;
    // The reader is past an incomplete block, and nobody may write into its memory any more.
    if (!arrived || *count < bytes)
        forget_lent_blocks();
    return arrived;
}

// Nothing to look for is the usual case, and the one that many readers end in one by one.
void NUV_STBlockDstBuffer::forget_lent_blocks() noexcept
{
    if (!has_lent_)
        return;
    has_lent_ = false;
    for (std::size_t i = 0; i < held_blocks(); ++i) {
        if (!block(i).owned && !block(i).standing)
            block(i).data = nullptr;
    }
}

// Where the block size is not decided yet, every reader stands at offset 0.
bool NUV_STBlockDstBuffer::is_in_first_block(const Reader& reader) const noexcept
{
    return reader.position < base_ + mem_block_bytes_ || reader.position == 0;
}

NUV_STBlockDstBuffer::Reader* NUV_STBlockDstBuffer::find_reader(
    const NUV_SrcBuffer* reader) noexcept
{
    const std::size_t place = reader ? reader->place() : 0;
    const bool is_known = place < readers_.size() && readers_[place].buffer == reader;
    return is_known ? &readers_[place] : nullptr;
}

// Only the reader that leaves the first block last sets it free, and only then are the others
// looked at: their number costs a step nothing.
bool NUV_STBlockDstBuffer::advance(const NUV_SrcBuffer* reader, std::uint64_t position)
{
    Reader* known = find_reader(reader);
    if (!known || mem_block_bytes() == 0)
        return false;
    const bool was_in_first_block = is_in_first_block(*known);
    known->position = position;
    if (was_in_first_block && !is_in_first_block(*known))
        --in_first_block_;
    if (in_first_block_ == 0)
        drop_passed_blocks();
    return true;
}

void NUV_STBlockDstBuffer::drop_passed_blocks() noexcept
{
    std::uint64_t slowest = std::numeric_limits<std::uint64_t>::max();
    for (const Reader& each : readers_.items())
        slowest = std::min(slowest, each.position);
    while (held_blocks() > 0 && base_ + mem_block_bytes_ <= slowest)
        drop_block();
    for (const Reader& each : readers_.items())
        in_first_block_ += is_in_first_block(each) ? 1 : 0;
}

// The last reader takes the place of the one that goes. With the last of all goes the memory: the
// writer may live on, but nobody asks it for more.
bool NUV_STBlockDstBuffer::src_end(const NUV_SrcBuffer* reader)
{
    forget_lent_blocks();
    Reader* gone = find_reader(reader);
    if (!gone)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_STBlockDstBuffer::src_end()");
    if (is_in_first_block(*gone))
        --in_first_block_;
    *gone = readers_.back();
    gone->buffer->place(reader->place());
    readers_.pop_back();
    if (!readers_.empty())
        return true;
    NUV_Vector<Reader>(manager()).swap(readers_);
    if (state_ != State::in_block && state_ != State::in_bounce)
        free_memory();
    return true;
}

bool NUV_STBlockDstBuffer::add_reader(NUV_SrcBuffer* reader)
{
    const std::size_t place = readers_.size();
    if (!readers_.push_back({reader, 0}))
        return false;
    reader->place(place);
    ++in_first_block_;
    return true;
}

// A new reader starts at offset 0, which must still be there and in nobody else's memory.
bool NUV_STBlockDstBuffer::is_untouched() const noexcept
{
    return base_ == 0 && !taken_;
}

NUV_SrcBuffer* NUV_STBlockDstBuffer::create_src_buffer(NUV_DstBuffer* owner)
{
    if (!is_untouched())
        return fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferImpl::create_src_buffer()");
    NUV_SrcBuffer* reader = NUV_DstBufferImpl::create_src_buffer(owner);
    if (!reader || add_reader(reader))
        return reader;
    reader->end();
    return nullptr;
}

void NUV_STBlockDstBuffer::create_src_buffer(NUV_Vector<NUV_SrcBuffer*>& result,
                                             NUV_DstBuffer* owner, std::uint32_t count)
{
    if (!is_untouched()) {
        result.clear();
        fail(manager(), NUV_ERR_SEQUENCE, "NUV_DstBufferImpl::create_src_buffer()");
        return;
    }
    NUV_DstBufferImpl::create_src_buffer(result, owner, count);
    std::size_t added = 0;
    for (NUV_SrcBuffer* reader : result.items()) {
        if (!add_reader(reader))
            break;
        ++added;
    }
    if (added == result.size())
        return;
    for (NUV_SrcBuffer* reader : result.items())
        reader->end();
    result.clear();
}

} // namespace nuv
