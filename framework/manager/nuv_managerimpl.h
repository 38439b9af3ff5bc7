#pragma once

#include "framework/base/nuv_callermemory.h"
#include "framework/base/nuv_cpu.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_status.h"
#include "framework/manager/nuv_watch.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace nuv {

// The manager over its three policies: where memory comes from, how errors are kept, and how
// buffers are made and engines run. The workflow policy also makes the relation.
//
// What the policies need beside their base: ErrorHandler and Workflow a constructor from
// NUV_Manager&; MemoryManager may have a refusal(), which tells why there was none; Workflow
// create_relation(), attach_dst_buffer(engine, dst) and run_step(engine).
template <class MemoryManager, class ErrorHandler, class Workflow>
class NUV_ManagerImpl : public NUV_Manager {
public:
    // The pipeline runs the forms that `cpu` has. `memory` is for the policy of memory.
    template <class... Memory>
    explicit NUV_ManagerImpl(const NUV_Cpu& cpu, Memory&... memory) : cpu_(cpu),
                                                                      memory_(memory...)
    {
        error_handler_ = make<ErrorHandler>();
        workflow_ = make<Workflow>();
        if (workflow_)
            relation_ = workflow_->create_relation();
    }

    ~NUV_ManagerImpl() noexcept(false) override
    {
        destroy(relation_);
        destroy(workflow_);
        destroy(error_handler_);
    }

    // Without all three nothing can be built.
    [[nodiscard]] bool is_complete() const noexcept
    {
        return error_handler_ && workflow_ && relation_;
    }
    // Asked before each step; null for nobody. It outlives the manager.
    void watched_by(NUV_Watch* watch) noexcept { watch_ = watch; }
    [[nodiscard]] MemoryManager& memory() noexcept { return memory_; }
    [[nodiscard]] NUV_Relation* relation() noexcept { return relation_; }

    void* allocate(std::size_t bytes) override
    {
        void* memory = memory_.allocate(bytes);
        if (!memory)
            fail(*this, NUV_ERR_MEMORY, "NUV_ManagerImpl::allocate()", why_no_memory());
        return memory;
    }
    void deallocate(void* pointer) override { memory_.deallocate(pointer); }

    const NUV_Status& status() const override
    {
        if (!error_handler_)
            std::abort(); // there is nothing to answer with
        return error_handler_->status();
    }
    void raise(std::uint32_t code, const char* method, const char* file,
               std::uint32_t line) override
    {
        if (error_handler_)
            error_handler_->raise(code, method, file, line);
    }
    void raise_short(std::uint32_t code, const char* method) override
    {
        if (error_handler_)
            error_handler_->raise_short(code, method);
    }
    bool reset() override { return error_handler_ && error_handler_->reset(); }
    void raise_because(std::uint32_t code, const char* method, const char* file, std::uint32_t line,
                       const NUV_Diagnosis& why) override
    {
        if (error_handler_)
            error_handler_->raise_because(code, method, file, line, why);
    }
    const NUV_Diagnosis& diagnosis() const override
    {
        static constexpr NUV_Diagnosis nothing;
        return error_handler_ ? error_handler_->diagnosis() : nothing;
    }
    const NUV_Damage& damage() const override
    {
        static constexpr NUV_Damage none;
        return error_handler_ ? error_handler_->damage() : none;
    }
    void note_damage(const NUV_Diagnosis& why) override
    {
        if (error_handler_)
            error_handler_->note_damage(why);
    }
    bool mends() const noexcept override { return error_handler_ && error_handler_->mends(); }
    void mends(bool wanted) noexcept override
    {
        if (error_handler_)
            error_handler_->mends(wanted);
    }

    NUV_DstBuffer* create_dst_buffer_proxy() override
    {
        return workflow_ ? workflow_->create_dst_buffer_proxy() : nullptr;
    }
    std::uint32_t default_block_bytes() const override
    {
        return workflow_ ? workflow_->default_block_bytes() : 0;
    }

    // As finish(), with the status thrown away.
    bool clear() override
    {
        NUV_Status ignored(*this);
        return finish(ignored);
    }
    NUV_Engine* add_thread(NUV_Engine* engine, NUV_DstBuffer* dst) override
    {
        return relation_ ? relation_->add_thread(engine, dst) : nullptr;
    }
    // Besides registering: gives a proxy its real buffer, now that the engine's header is final.
    NUV_Engine* add(NUV_Engine* engine, NUV_DstBuffer* dst) override
    {
        if (!workflow_ || !relation_ || !relation_->add(engine, dst))
            return nullptr;
        if (dst && !workflow_->attach_dst_buffer(engine, dst))
            return nullptr;
        return engine;
    }
    bool remove(NUV_Engine* engine) override { return relation_ && relation_->remove(engine); }
    NUV_Engine* find(const NUV_DstBuffer* dst) const override
    {
        return relation_ ? relation_->find(dst) : nullptr;
    }
    bool depend(const NUV_Object* object, const NUV_Object* on) override
    {
        return relation_ && relation_->depend(object, on);
    }
    bool end(NUV_Object* object) override { return relation_ && relation_->end(object); }

    const NUV_Cpu& cpu() const noexcept override { return cpu_; }
    NUV_CallerMemoryList& caller_memory() noexcept override { return caller_memory_; }

    bool finish(NUV_Status& out) override
    {
        if (error_handler_)
            out = error_handler_->status();
        if (relation_)
            relation_->clear();
        if (error_handler_) {
            const NUV_Status& now = error_handler_->status();
            const bool outdone =
                out.code == NUV_STATUS_OK || (is_warning(out.code) && now.has_error());
            if (!out.has_error() && outdone)
                out = now;
            error_handler_->reset();
        }
        return !out.has_error();
    }

    bool pull(const NUV_DstBuffer* dst) override
    {
        // A pull runs inside the pull of the stage behind it. A chain of this many stages is no
        // image job but a mistake, and must not end in a stack overflow.
        constexpr unsigned deepest = 1000;
        constexpr auto method = "NUV_ManagerImpl::pull()";

        NUV_Engine* engine = workflow_ && relation_ ? relation_->find(dst) : nullptr;
        if (!engine)
            return false;
        if (watch_ && watch_->wants_end())
            return fail(*this, NUV_ERR_IO, method, NUV_Diagnosis().because(NUV_Cause::cancelled));
        if (depth_ >= deepest)
            return fail(*this, NUV_ERR_UNSUPPORTED, method,
                        NUV_Diagnosis()
                            .because(NUV_Cause::limit)
                            .says("more than %u operations one behind the other", deepest));
        const Depth held(depth_);
        return workflow_->run_step(engine);
    }

private:
    struct Depth {
        explicit Depth(unsigned& depth) noexcept : depth_(depth) { ++depth_; }
        ~Depth() { --depth_; }
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;
        unsigned& depth_;
    };

    [[nodiscard]] NUV_Diagnosis why_no_memory() const
    {
        if constexpr (requires { memory_.refusal(); })
            return memory_.refusal();
        else
            return {};
    }

    template <class T>
    [[nodiscard]] T* make()
    {
        void* memory = NUV_ManagerImpl::allocate(sizeof(T)); // also called by the constructor
        return memory ? ::new (memory) T(*this) : nullptr;
    }

    template <class T>
    void destroy(T*& object) noexcept(false)
    {
        if (!object)
            return;
        void* memory = dynamic_cast<void*>(object);
        object->~T();
        object = nullptr;
        NUV_ManagerImpl::deallocate(memory); // also called by the destructor
    }

    NUV_Cpu cpu_;
    NUV_Watch* watch_ = nullptr;
    NUV_CallerMemoryList caller_memory_;
    MemoryManager memory_;
    ErrorHandler* error_handler_ = nullptr;
    Workflow* workflow_ = nullptr;
    NUV_Relation* relation_ = nullptr;
    unsigned depth_ = 0;
};

} // namespace nuv
