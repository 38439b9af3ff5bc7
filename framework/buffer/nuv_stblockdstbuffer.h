#pragma once

#include "framework/buffer/nuv_dstbufferbase.h"
#include "framework/containers/nuv_vector.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace nuv {

// The one buffer that holds bytes: a row of memory blocks, each a whole number of readers' blocks,
// so that a reader's block never straddles two of them. For a single thread.
class NUV_STBlockDstBuffer final : public NUV_DstBufferBase {
public:
    explicit NUV_STBlockDstBuffer(NUV_Manager& manager) noexcept;

    using NUV_DstBufferBase::create_src_buffer;

    bool cleanup() override;
    [[nodiscard]] void* get() override;
    [[nodiscard]] bool release(std::uint32_t bytes) override;
    [[nodiscard]] std::uint32_t wanted_blocks() const override;
    [[nodiscard]] void* get_blocks(std::uint32_t most, std::uint32_t* count) override;
    [[nodiscard]] bool deliver_standing(const void* data, std::uint32_t blocks) override;
    [[nodiscard]] bool deliver_unseen() override;
    [[nodiscard]] bool copy_blocks(void* into, std::uint32_t most, std::uint64_t position,
                                   std::uint32_t* count) override;
    [[nodiscard]] const void* peek_blocks(std::uint32_t most, std::uint64_t position,
                                          std::uint32_t* count) override;
    [[nodiscard]] std::uint32_t pass_over(std::uint64_t position) override;
    [[nodiscard]] bool advance(const NUV_SrcBuffer* reader, std::uint64_t position) override;
    bool src_end(const NUV_SrcBuffer* reader) override;
    [[nodiscard]] NUV_SrcBuffer* create_src_buffer(NUV_DstBuffer* owner) override;
    void create_src_buffer(NUV_Vector<NUV_SrcBuffer*>& result, NUV_DstBuffer* owner,
                           std::uint32_t count) override;

    // Bytes of a memory block, decided once, when both sides have said theirs. 0 after a failure.
    [[nodiscard]] std::uint32_t mem_block_bytes()
    {
        return mem_block_bytes_ != 0 ? mem_block_bytes_ : decide_mem_block_bytes();
    }
    // Memory blocks that are held.
    [[nodiscard]] std::size_t held_blocks() const noexcept { return blocks_.size() - first_; }

private:
    // Memory of many blocks, which stand behind it. It goes with its last use.
    struct alignas(std::max_align_t) Slab {
        std::size_t uses = 0;
    };

    // Frees nothing: a block is given back by the buffer or by the cache.
    struct Block {
        std::uint8_t* data = nullptr;
        bool owned = false;    // else it is a reader's memory, lent for the writer to fill,
        bool standing = false; // or what the writer reads itself, which nobody writes to
        Slab* slab = nullptr;  // that an owned one is part of, or null
    };
    static void give_back(NUV_Manager& manager, const Block& block) noexcept;
    static void drop_use(NUV_Manager& manager, Slab* slab) noexcept;

    // At most one spare block, so that a pipeline in steady state allocates nothing.
    class BlockCache final : public NUV_Utility {
    public:
        using NUV_Utility::NUV_Utility;
        ~BlockCache() override { put({}); }
        BlockCache(const BlockCache&) = delete;
        BlockCache& operator=(const BlockCache&) = delete;

        [[nodiscard]] Block take() noexcept { return std::exchange(block_, {}); }
        void put(Block block) noexcept
        {
            give_back(manager(), block_);
            block_ = block;
        }

    private:
        Block block_;
    };

    struct Reader {
        NUV_SrcBuffer* buffer = nullptr;
        std::uint64_t position = 0;
    };

    // Where a byte of the stream at `base_` or behind it lies, once the block size is decided. It
    // is in the first two blocks as good as always: a line must not cost a division.
    struct Place {
        std::uint64_t index;  // of the memory block
        std::uint64_t offset; // in it
    };
    [[nodiscard]] Place place_of(std::uint64_t position) const noexcept
    {
        const std::uint64_t mem = mem_block_bytes_;
        const std::uint64_t ahead = position - base_; // base_ is a multiple of mem
        if (ahead < mem)
            return {0, ahead};
        if (ahead < 2 * mem)
            return {1, ahead - mem};
        return {ahead / mem, ahead % mem};
    }

    [[nodiscard]] std::uint32_t decide_mem_block_bytes();
    [[nodiscard]] Block& block(std::size_t index) noexcept { return blocks_[first_ + index]; }
    void free_memory() noexcept;
    [[nodiscard]] bool add_block();
    [[nodiscard]] Block new_block();
    [[nodiscard]] bool has_many_blocks() const noexcept;
    [[nodiscard]] Block take_of_slab();
    void drop_block() noexcept;
    void drop_passed_blocks() noexcept;
    [[nodiscard]] bool add_reader(NUV_SrcBuffer* reader);
    [[nodiscard]] Reader* find_reader(const NUV_SrcBuffer* reader) noexcept;
    [[nodiscard]] bool is_in_first_block(const Reader& reader) const noexcept;
    [[nodiscard]] bool is_untouched() const noexcept;
    [[nodiscard]] bool can_lend(std::uint64_t position) noexcept;
    [[nodiscard]] bool lend(std::uint8_t* into, std::uint32_t most, std::uint64_t position,
                            std::uint32_t* count);
    [[nodiscard]] std::uint32_t count_adjoining(std::uint64_t index, std::uint32_t most) noexcept;
    void pull_to(std::uint64_t needed, std::uint64_t wanted);
    void forget_lent_blocks() noexcept;

    std::uint64_t base_ = 0;         // stream offset of the first held block
    std::uint8_t* bounce_ = nullptr; // for a writer's block that straddles two memory blocks
    std::uint64_t wanted_ = 0;       // stream offset up to which a reader waits
    std::uint32_t given_blocks_ = 0; // to the writer, by its last get
    bool taken_ = false;             // a reader has had a block
    bool has_lent_ = false;          // some held block may be a reader's memory
    BlockCache cache_;
    Slab* slab_ = nullptr;        // that blocks are being taken of, which is a use
    std::size_t slab_blocks_ = 0; // that it has, and
    std::size_t slab_taken_ = 0;  // of these are taken
    NUV_Vector<Block> blocks_;    // those before first_ have been dropped
    std::size_t first_ = 0;
    NUV_Vector<Reader> readers_;     // each at its place()
    std::size_t in_first_block_ = 0; // so many readers
};

} // namespace nuv
