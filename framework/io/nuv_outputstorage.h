#pragma once

#include "framework/base/nuv_object.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// What can be written forward.
class NUV_OutputStream : public NUV_Object, public NUV_Stream {
public:
    using NUV_Object::NUV_Object;

    // Closing a closed stream is true.
    virtual bool close() = 0;
    bool cleanup() override { return close(); }
    [[nodiscard]] virtual bool is_closed() const = 0;

    // The byte, or -1.
    virtual std::int32_t put(std::uint8_t byte) = 0;
    // How many bytes were written, never negative; fewer than asked for besides raises NUV_ERR_IO
    // where the class says so.
    [[nodiscard]] virtual std::int32_t write(const void* from, std::int32_t bytes) = 0;
};

// A seekable output. Positions up to what has been written can be reached; what lies beyond is for
// fill().
class NUV_OutputStorage : public NUV_OutputStream {
public:
    using NUV_OutputStream::NUV_OutputStream;

    // Where a write() of `bytes` bytes from the position would put them: who puts them there itself
    // and then writes them from there, piece by piece, saves the copy. Valid until the storage is
    // changed otherwise. Null where there is no place, or where somebody may look before that.
    [[nodiscard]] virtual std::uint8_t* lend_room(std::int32_t) { return nullptr; }
    // Goes on by `bytes`, extending the storage where it ends; how many bytes that was.
    virtual std::int32_t fill(std::int32_t bytes) = 0;
    // An input over what has been written, for its maker to end; null on failure.
    [[nodiscard]] virtual NUV_InputStorage* create_input_storage() = 0;
    // The distance really moved.
    virtual std::int32_t move(std::int32_t bytes) = 0;
    [[nodiscard]] virtual bool to(std::int32_t offset);
    [[nodiscard]] virtual bool to_from_end(std::int32_t bytes);
    [[nodiscard]] virtual std::int32_t position() const = 0;
    // How many bytes are worth a write of their own: smaller ones cost as much as one of so many.
    // 1 where a call costs nothing beside its bytes.
    [[nodiscard]] virtual std::int32_t worthwhile_bytes() const { return 1; }
    // Bytes written so far, the high-water mark.
    [[nodiscard]] virtual std::int32_t size() = 0;
    virtual bool to_begin() = 0;
    virtual bool to_end() = 0;
};

} // namespace nuv
