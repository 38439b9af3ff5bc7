#pragma once

#include "framework/base/nuv_header.h"
#include "framework/base/nuv_object.h"
#include "framework/base/nuv_version.h"
#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/containers/nuv_vector.h"

#include <cstdint>

namespace nuv {

// One stage of a pipeline. Its life: constructor, initiate() of the concrete class (the only place
// for checks and for memory that depends on the image), registration, execute() until it answers
// false, end().
class NUV_Engine : public NUV_Object {
public:
    // What a concrete engine calls itself when its initiate() refuses, and the interface that its
    // module was written against. NUV_EngineCreator asks for both.
    static constexpr auto initiate_method = "NUV_Engine::initiate()";
    static constexpr std::uint32_t module_version = NUV_VERSION;

    using NUV_Object::NUV_Object;

    // Takes the engine out of the relation, if it ever got in, and lets go of it.
    bool end() override;
    bool cleanup() override { return true; }

    // One step, about one block of output. True: call again; the step committed at least a byte or
    // came nearer to the end. False: finished, or failed after a status. What a last step committed
    // before it answered false stands.
    [[nodiscard]] virtual bool execute() = 0;
    // The image that this engine delivers; null, with a status, for one that delivers none.
    [[nodiscard]] virtual const NUV_Header* header() const = 0;
    // Whether all blocks are whole, and those that it has room for and does not deliver are as they
    // were: then the room may be memory that somebody looks at after a failure. False also where
    // memory that stays in the cache is the faster place.
    [[nodiscard]] virtual bool delivers_what_it_writes() const { return false; }
    // A new reader of this engine's output, or null.
    [[nodiscard]] virtual NUV_SrcBuffer* src_buffer() = 0;
    // `count` engines that each deliver this engine's output, or none at all.
    [[nodiscard]] virtual NUV_Vector<NUV_Engine*> branch(std::uint32_t count) = 0;

    // The root of every initiate(): false, silently, while an error is pending.
    [[nodiscard]] bool initiate();
};

// True for an engine that is there and delivers an image.
[[nodiscard]] inline bool has_image(const NUV_Engine* engine)
{
    return engine && engine->header();
}

} // namespace nuv
