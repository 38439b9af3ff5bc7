#pragma once

#include <cstddef>
#include <cstdint>

namespace nuv {

class NUV_CallerMemoryList;
struct NUV_Cpu;
struct NUV_Damage;
struct NUV_Diagnosis;
class NUV_DstBuffer;
class NUV_Engine;
class NUV_Object;
class NUV_Status;

// Where the memory of a pipeline comes from.
class NUV_MemoryManager {
public:
    // Memory for any object of `bytes` bytes, or null.
    [[nodiscard]] virtual void* allocate(std::size_t bytes) = 0;
    // Null is allowed.
    virtual void deallocate(void* pointer) = 0;
    virtual ~NUV_MemoryManager() noexcept(false) = default;
};

// Where the failures of a pipeline go.
class NUV_ErrorHandler {
public:
    // The status that stands. Copy it when it has to outlive the next raise() or reset().
    [[nodiscard]] virtual const NUV_Status& status() const = 0;
    // `method` is a text as in "NUV_X::y()"; `file` and `line` tell the place in the source.
    virtual void raise(std::uint32_t code, const char* method, const char* file,
                       std::uint32_t line) = 0;
    // The same without a place.
    virtual void raise_short(std::uint32_t code, const char* method) { raise(code, method, "", 0); }
    // Back to code 0, with nothing known.
    virtual bool reset() = 0;
    virtual ~NUV_ErrorHandler() noexcept(false) = default;

    // raise() with a reason, which is kept when the status is.
    virtual void raise_because(std::uint32_t code, const char* method, const char* file,
                               std::uint32_t line, const NUV_Diagnosis& why) = 0;
    // Of the status that stands.
    [[nodiscard]] virtual const NUV_Diagnosis& diagnosis() const = 0;
    // Of all warnings of broken data, whichever status stands, and of what note_damage() was told.
    [[nodiscard]] virtual const NUV_Damage& damage() const = 0;
    // Counts damage that no status tells of.
    virtual void note_damage(const NUV_Diagnosis& why) = 0;
    // Whether data that means nothing is to be made up for, as data that is missing is, where else
    // it ends the pipeline with an error. It does not, unless asked for; a reset() changes nothing.
    [[nodiscard]] virtual bool mends() const noexcept = 0;
    virtual void mends(bool wanted) noexcept = 0;
};

// Makes what stands between two engines.
class NUV_Workflow {
public:
    // A new proxy for an engine that is about to be made; null while an error is pending.
    [[nodiscard]] virtual NUV_DstBuffer* create_dst_buffer_proxy() = 0;
    // Block size in bytes of coded streams, which have no lines.
    [[nodiscard]] virtual std::uint32_t default_block_bytes() const = 0;
    virtual ~NUV_Workflow() noexcept(false) = default;
};

// Who feeds which buffer, and who depends on whom.
class NUV_Relation {
public:
    // Ends all engines that are still registered.
    virtual bool clear() = 0;
    // For a relation that runs engines on threads; the single-threaded one answers null.
    virtual NUV_Engine* add_thread(NUV_Engine* engine, NUV_DstBuffer* dst) = 0;
    // Registers the engine that feeds `dst`, or, with null, one that ends a chain. Null on failure.
    virtual NUV_Engine* add(NUV_Engine* engine, NUV_DstBuffer* dst) = 0;
    virtual bool remove(NUV_Engine* engine) = 0;
    // The engine that feeds `dst`, or null.
    [[nodiscard]] virtual NUV_Engine* find(const NUV_DstBuffer* dst) const = 0;
    // From now on `on` lives at least as long as `object`.
    [[nodiscard]] virtual bool depend(const NUV_Object* object, const NUV_Object* on) = 0;
    // One holder of `object` lets go; the last one destroys it.
    virtual bool end(NUV_Object* object) = 0;
    virtual ~NUV_Relation() noexcept(false) = default;
};

// The context of one pipeline, and the only one: no object of the library reaches a global.
class NUV_Manager : public NUV_MemoryManager,
                    public NUV_ErrorHandler,
                    public NUV_Workflow,
                    public NUV_Relation {
public:
    NUV_Manager() = default;
    NUV_Manager(const NUV_Manager&) = delete;
    NUV_Manager& operator=(const NUV_Manager&) = delete;

    // What the processor may be taken for: it chooses among forms of equal result.
    [[nodiscard]] virtual const NUV_Cpu& cpu() const noexcept = 0;
    // Where the storages of the pipeline note what of the caller's memory they stand on.
    [[nodiscard]] virtual NUV_CallerMemoryList& caller_memory() noexcept = 0;
    // Ends all engines and takes the status out: the one that stood before, unless ending added an
    // error to a clean status or to a warning. The handler is clean afterwards. True when `out` is
    // no error.
    virtual bool finish(NUV_Status& out) = 0;
    // Steps the engine that feeds `dst` once. False when there is none, or it finished or failed.
    virtual bool pull(const NUV_DstBuffer* dst) = 0;
};

} // namespace nuv
