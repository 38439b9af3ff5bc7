#include "framework/io/nuv_decorator.h"

namespace nuv {

bool NUV_InputStorageDecorator::initiate(NUV_InputStorage* inner)
{
    return attach_input(inner);
}

std::int32_t NUV_InputStorageDecorator::get()
{
    return inner_ ? inner_->get() : -1;
}

std::int32_t NUV_InputStorageDecorator::read(void* into, std::int32_t bytes)
{
    return inner_ ? inner_->read(into, bytes) : 0;
}

std::int32_t NUV_InputStorageDecorator::ignore(std::int32_t bytes)
{
    return inner_ ? inner_->ignore(bytes) : 0;
}

std::int32_t NUV_InputStorageDecorator::position() const
{
    return inner_ ? inner_->position() : 0;
}

std::int32_t NUV_InputStorageDecorator::move(std::int32_t bytes)
{
    return inner_ ? inner_->move(bytes) : 0;
}

bool NUV_InputStorageDecorator::is_end()
{
    return !inner_ || inner_->is_end();
}

bool NUV_InputStorageDecorator::pass_over(std::int32_t bytes)
{
    return inner_ && inner_->pass_over(bytes);
}

bool NUV_InputStorageDecorator::to(std::int32_t offset)
{
    return inner_ && inner_->to(offset);
}

bool NUV_InputStorageDecorator::to_from_end(std::int32_t bytes)
{
    return inner_ && inner_->to_from_end(bytes);
}

std::int32_t NUV_InputStorageDecorator::size() const
{
    return inner_ ? inner_->size() : 0;
}

bool NUV_InputStorageDecorator::to_begin()
{
    return inner_ && inner_->to_begin();
}

bool NUV_InputStorageDecorator::to_end()
{
    return inner_ && inner_->to_end();
}

bool NUV_OutputStorageDecorator::initiate(NUV_OutputStorage* inner)
{
    if (!inner || inner->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_OutputStorageDecorator::initiate()");
    return attach(inner);
}

std::int32_t NUV_OutputStorageDecorator::put(std::uint8_t byte)
{
    return inner_ ? inner_->put(byte) : -1;
}

std::int32_t NUV_OutputStorageDecorator::write(const void* from, std::int32_t bytes)
{
    return inner_ ? inner_->write(from, bytes) : 0;
}

std::int32_t NUV_OutputStorageDecorator::fill(std::int32_t bytes)
{
    return inner_ ? inner_->fill(bytes) : 0;
}

NUV_InputStorage* NUV_OutputStorageDecorator::create_input_storage()
{
    return inner_ ? inner_->create_input_storage() : nullptr;
}

std::int32_t NUV_OutputStorageDecorator::move(std::int32_t bytes)
{
    return inner_ ? inner_->move(bytes) : 0;
}

bool NUV_OutputStorageDecorator::to(std::int32_t offset)
{
    return inner_ && inner_->to(offset);
}

bool NUV_OutputStorageDecorator::to_from_end(std::int32_t bytes)
{
    return inner_ && inner_->to_from_end(bytes);
}

std::int32_t NUV_OutputStorageDecorator::position() const
{
    return inner_ ? inner_->position() : 0;
}

std::int32_t NUV_OutputStorageDecorator::size()
{
    return inner_ ? inner_->size() : 0;
}

bool NUV_OutputStorageDecorator::to_begin()
{
    return inner_ && inner_->to_begin();
}

bool NUV_OutputStorageDecorator::to_end()
{
    return inner_ && inner_->to_end();
}

} // namespace nuv
