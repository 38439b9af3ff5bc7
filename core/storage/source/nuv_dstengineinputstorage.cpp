#include "core/storage/nuv_dstengineinputstorage.h"

#include "core/storage/nuv_writestorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "framework/io/nuv_streamposition.h"

#include <utility>

namespace nuv {

bool NUV_DstEngineInputStorage::initiate(NUV_Engine* engine)
{
    constexpr std::int32_t memory_block_bytes = 8192;

    if (!engine)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_DstEngineInputStorage::initiate()");
    close();
    output_ = make_initiated<NUV_MemoryOutputStorage>(manager(), memory_block_bytes).release();
    if (!output_)
        return false;
    // The relation holds the writer, as it does every engine. This storage holds it too, so that
    // each of the two may go first.
    NUV_Engine* writer = NUV_WriteStorage(manager()).engine(engine, output_, 0, 0, 0, 1);
    if (!writer || !manager().depend(this, writer))
        return false;
    writer_ = writer;
    input_ = output_->create_input_storage();
    finished_ = input_ == nullptr;
    return !finished_;
}

bool NUV_DstEngineInputStorage::close()
{
    NUV_InputStorage* input = std::exchange(input_, nullptr);
    NUV_OutputStorage* output = std::exchange(output_, nullptr);
    const bool input_ended = input ? input->end() : true;
    const bool output_ended = output ? output->end() : true;
    finished_ = true;
    return input_ended && output_ended;
}

void NUV_DstEngineInputStorage::step() const
{
    if (writer_->execute())
        return;
    finished_ = true;
    // Only while the relation still holds it is there anything left to let go of; its clearing
    // may have come first.
    if (manager().remove(writer_))
        static_cast<void>(writer_->NUV_Object::end());
}

void NUV_DstEngineInputStorage::produce_size(std::int64_t bytes) const
{
    while (!finished_ && input_->size() < bytes)
        step();
}

void NUV_DstEngineInputStorage::produce_ahead(std::int32_t bytes) const
{
    if (input_)
        produce_size(std::int64_t{input_->position()} + bytes);
}

void NUV_DstEngineInputStorage::produce_all() const
{
    while (!finished_)
        step();
}

std::int32_t NUV_DstEngineInputStorage::get()
{
    produce_ahead(1);
    return input_ ? input_->get() : -1;
}

std::int32_t NUV_DstEngineInputStorage::read(void* into, std::int32_t bytes)
{
    produce_ahead(bytes);
    return input_ ? input_->read(into, bytes) : 0;
}

std::int32_t NUV_DstEngineInputStorage::position() const
{
    return input_ ? input_->position() : 0;
}

std::int32_t NUV_DstEngineInputStorage::move(std::int32_t bytes)
{
    produce_ahead(bytes);
    return input_ ? input_->move(bytes) : 0;
}

bool NUV_DstEngineInputStorage::is_end()
{
    produce_ahead(1);
    return !input_ || input_->is_end();
}

bool NUV_DstEngineInputStorage::to(std::int32_t offset)
{
    if (!input_ || offset < 0)
        return false;
    produce_size(offset);
    return input_->to(offset);
}

bool NUV_DstEngineInputStorage::to_from_end(std::int32_t bytes)
{
    produce_all();
    return input_ && input_->to_from_end(bytes);
}

std::int32_t NUV_DstEngineInputStorage::size() const
{
    produce_all();
    return input_ ? input_->size() : 0;
}

bool NUV_DstEngineInputStorage::to_begin()
{
    return input_ && input_->to_begin();
}

bool NUV_DstEngineInputStorage::to_end()
{
    produce_all();
    return input_ && input_->to_end();
}

} // namespace nuv
