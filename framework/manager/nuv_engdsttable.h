#pragma once

#include "framework/buffer/nuv_dstbuffer.h"
#include "framework/containers/nuv_list.h"
#include "framework/containers/nuv_map.h"
#include "framework/engine/nuv_engine.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Which engine feeds which buffer.
class NUV_EngDstTable {
public:
    explicit NUV_EngDstTable(NUV_Manager& manager) noexcept
        : ends_(manager),
          feeds_(manager),
          entries_(manager)
    {}
    virtual ~NUV_EngDstTable() = default;
    NUV_EngDstTable(const NUV_EngDstTable&) = delete;
    NUV_EngDstTable& operator=(const NUV_EngDstTable&) = delete;

    // Null `dst`: the engine ends a chain. False for a null engine, for one that is here already,
    // for a buffer that has its engine, and without memory.
    [[nodiscard]] bool add(NUV_Engine* engine, const NUV_DstBuffer* dst);
    // False when it is not here.
    bool remove(NUV_Engine* engine);
    [[nodiscard]] NUV_Engine* find(const NUV_DstBuffer* dst) const noexcept
    {
        const Known& known = known_[place_of(dst)];
        return dst && known.dst == dst ? known.engine : look_up(dst);
    }
    // Ends all engines: those that end chains, last first, then the others in the order of their
    // buffers.
    void clear();
    [[nodiscard]] bool is_empty() const noexcept { return ends_.empty() && feeds_.empty(); }

private:
    using Ends = NUV_List<NUV_Engine*>;
    struct Entry {
        const NUV_DstBuffer* dst = nullptr;
        Ends::iterator end; // meant where dst is null
    };

    struct Known {
        const NUV_DstBuffer* dst = nullptr;
        NUV_Engine* engine = nullptr;
    };
    using KnownFeeds = std::array<Known, 64>; // a power of two: see place_of()

    // The buffers of a chain lie at like distances, so the address is scattered.
    [[nodiscard]] static std::size_t place_of(const NUV_DstBuffer* dst) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(dst) * std::uint64_t{0x9e3779b97f4a7c15} >> 58;
    }
    [[nodiscard]] NUV_Engine* look_up(const NUV_DstBuffer* dst) const noexcept;
    void end_and_forget(NUV_Engine* engine);

    Ends ends_;
    NUV_Map<const NUV_DstBuffer*, NUV_Engine*> feeds_;
    NUV_Map<NUV_Engine*, Entry> entries_; // where an engine stands, so that nobody searches
    // What was found, for the next pull, until an engine goes.
    mutable KnownFeeds known_;
};

} // namespace nuv
