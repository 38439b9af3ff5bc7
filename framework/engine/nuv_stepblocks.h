#pragma once

#include "framework/buffer/nuv_dstbuffer.h"
#include "framework/buffer/nuv_srcbuffer.h"

#include <cstdint>

namespace nuv {

// A step of an engine takes a block of its source and room for one of its own, and gives both back:
// these do so on every way out. What an engine needs to know it asks for by release() and commit();
// their order is the engine's, which releases first a source that may hold the engine's block as
// its own.

// A block of a source; false when there is none.
class NUV_InputBlock {
public:
    // Copied to `into`, or in place where that is null. Without a count only a whole block: see
    // NUV_SrcBuffer::get().
    explicit NUV_InputBlock(NUV_SrcBuffer& source, void* into = nullptr,
                            std::uint32_t* count = nullptr)
        : source_(&source),
          data_(get(source, into, count))
    {}
    ~NUV_InputBlock()
    {
        if (data_)
            static_cast<void>(source_->release());
    }
    NUV_InputBlock(const NUV_InputBlock&) = delete;
    NUV_InputBlock& operator=(const NUV_InputBlock&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return data_ != nullptr; }
    [[nodiscard]] const void* data() const noexcept { return data_; }
    template <class T>
    [[nodiscard]] const T* as() const noexcept
    {
        return static_cast<const T*>(data_);
    }
    // To be called once, on a block that is there.
    [[nodiscard]] bool release()
    {
        data_ = nullptr;
        return source_->release();
    }

private:
    [[nodiscard]] static const void* get(NUV_SrcBuffer& source, void* into, std::uint32_t* count)
    {
        if (!into)
            return source.get(count);
        return source.get(into, count) ? into : nullptr;
    }

    NUV_SrcBuffer* source_;
    const void* data_;
};

// Some blocks of a source in place; false when there is none.
class NUV_InputBlocks {
public:
    // See NUV_SrcBuffer::get_blocks().
    NUV_InputBlocks(NUV_SrcBuffer& source, std::uint32_t most)
        : source_(&source),
          data_(source.get_blocks(most, &count_))
    {}
    ~NUV_InputBlocks()
    {
        if (data_)
            static_cast<void>(source_->release_blocks(count_));
    }
    NUV_InputBlocks(const NUV_InputBlocks&) = delete;
    NUV_InputBlocks& operator=(const NUV_InputBlocks&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return data_ != nullptr; }
    [[nodiscard]] std::uint32_t count() const noexcept { return count_; }
    template <class T>
    [[nodiscard]] const T* as() const noexcept
    {
        return static_cast<const T*>(data_);
    }
    // To be called once, on blocks that are there: so many of them are done with.
    [[nodiscard]] bool release(std::uint32_t blocks)
    {
        data_ = nullptr;
        return source_->release_blocks(blocks);
    }

private:
    NUV_SrcBuffer* source_;
    std::uint32_t count_ = 0;
    const void* data_;
};

// Room for a block of the engine's own; false when there is none. Nothing of it is delivered unless
// it is committed.
class NUV_OutputBlock {
public:
    explicit NUV_OutputBlock(NUV_DstBuffer& destination)
        : destination_(&destination),
          data_(destination.get())
    {}
    // Of up to `most` blocks, see NUV_DstBuffer::get_blocks().
    NUV_OutputBlock(NUV_DstBuffer& destination, std::uint32_t most)
        : destination_(&destination),
          data_(destination.get_blocks(most, &count_))
    {}
    ~NUV_OutputBlock()
    {
        if (data_)
            static_cast<void>(destination_->release(0));
    }
    NUV_OutputBlock(const NUV_OutputBlock&) = delete;
    NUV_OutputBlock& operator=(const NUV_OutputBlock&) = delete;

    [[nodiscard]] explicit operator bool() const noexcept { return data_ != nullptr; }
    [[nodiscard]] void* data() const noexcept { return data_; }
    template <class T>
    [[nodiscard]] T* as() const noexcept
    {
        return static_cast<T*>(data_);
    }
    [[nodiscard]] std::uint32_t count() const noexcept { return count_; }
    // To be called once, on a block that is there: so many of its bytes are written.
    [[nodiscard]] bool commit(std::uint32_t bytes)
    {
        data_ = nullptr;
        return destination_->release(bytes);
    }

private:
    NUV_DstBuffer* destination_;
    std::uint32_t count_ = 1;
    void* data_;
};

} // namespace nuv
