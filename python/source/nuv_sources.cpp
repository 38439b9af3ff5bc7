#include "python/source/nuv_sources.h"

#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "python/source/nuv_buffer.h"
#include "python/source/nuv_errors.h"

namespace nuv_python {

namespace {

class File final : public Source {
public:
    explicit File(std::string path) : path_(std::move(path)), place_(path_)
    {
        // A chain may run again when the process works somewhere else.
        std::error_code failed;
        const std::filesystem::path whole = std::filesystem::absolute(path_, failed);
        if (!failed)
            place_ = whole.string();
    }
    void open(nuv_job* job) const override { nuv_open_file(job, place_.c_str()); }
    [[nodiscard]] std::string name() const override { return path_; }

private:
    std::string path_; // as it was given
    std::string place_;
};

class Memory final : public Source {
public:
    explicit Memory(const py::handle& from) : buffer_(from, PyBUF_SIMPLE) {}
    void open(nuv_job* job) const override
    {
        // An empty buffer may have no address, which is no fault of the call.
        static constexpr char nothing = 0;
        const void* const data = buffer_.view().buf ? buffer_.view().buf : &nothing;
        nuv_open_memory(job, data, buffer_.bytes());
    }

private:
    Buffer buffer_;
};

// What a file object has given.
class Stream final : public Source {
public:
    Stream(std::string bytes, std::string name) : bytes_(std::move(bytes)), name_(std::move(name))
    {}
    void open(nuv_job* job) const override { nuv_open_memory(job, bytes_.data(), bytes_.size()); }
    [[nodiscard]] std::string name() const override { return name_; }

private:
    std::string bytes_;
    std::string name_;
};

[[nodiscard]] std::shared_ptr<const Source> read_stream(const py::object& from,
                                                        std::uint64_t most_bytes)
{
    constexpr int piece_bytes = 1 << 20;

    const py::object named = py::getattr(from, "name", py::none());
    const std::string name = py::isinstance<py::str>(named) ? path_of(named) : std::string();
    const py::object read = from.attr("read");
    std::string bytes;
    for (;;) {
        const py::object piece = read(piece_bytes);
        if (!PyObject_CheckBuffer(piece.ptr()))
            throw py::type_error("read() of the source gives no bytes: is it opened as binary?");
        const Buffer buffer(piece, PyBUF_SIMPLE);
        if (buffer.bytes() == 0)
            return std::make_shared<const Stream>(std::move(bytes), name);
        bytes.append(static_cast<const char*>(buffer.view().buf), buffer.bytes());
        if (most_bytes != 0 && bytes.size() > most_bytes)
            raise("LimitError",
                  "A limit of the job is passed: the source has more than " +
                      std::to_string(most_bytes) + " bytes.",
                  name);
    }
}

// Copies `count` samples, which lie `from_step` bytes apart, so that they are `to_step` bytes
// apart.
template <class T>
void gather(const char* from, Py_ssize_t from_step, char* to, Py_ssize_t to_step,
            std::uint32_t count) noexcept
{
    for (std::uint32_t i = 0; i < count; ++i, from += from_step, to += to_step)
        std::memcpy(to, from, sizeof(T));
}

// Samples of a Python object, as they lie there.
class Samples final : public Source {
public:
    Samples(const py::handle& from, const py::object& color)
        : buffer_(from, PyBUF_STRIDED_RO | PyBUF_FORMAT)
    {
        const Py_buffer& view = buffer_.view();
        is_.size = sizeof(is_);
        is_bits_ = buffer_.sample_bits() == 1;
        is_.bits = is_bits_ ? std::uint16_t{8} : buffer_.sample_bits();
        if (is_.bits == 0)
            throw py::value_error("samples are of bool, uint8, uint16 or uint32, in the machine's "
                                  "order of bytes");
        if (view.ndim != 2 && view.ndim != 3)
            throw py::value_error("samples have the shape (lines, columns) or (lines, columns, "
                                  "channels)");
        is_.height = extent(0, 0xFFFFFFFF);
        is_.width = extent(1, 0xFFFFFFFF);
        is_.channels = static_cast<std::uint16_t>(view.ndim == 3 ? extent(2, 0xFFFF) : 1);
        is_.color = color.is_none() ? usual_color() : color.cast<std::int32_t>();
    }

    void open(nuv_job* job) const override
    {
        const Py_buffer& view = buffer_.view();
        if (has_whole_lines())
            nuv_open_samples(job, view.buf, static_cast<std::size_t>(view.strides[0]), &is_);
        else
            nuv_open_lines(job, give, const_cast<Samples*>(this), &is_);
        if (is_bits_) // one in a byte
            nuv_convert(job, NUV_UNSIGNED, 1, 1, 1);
    }

private:
    [[nodiscard]] std::uint32_t extent(int axis, Py_ssize_t most) const
    {
        const Py_ssize_t is = buffer_.view().shape[axis];
        if (is < 1 || is > most)
            throw py::value_error("there are no samples, or too many of them on an axis");
        return static_cast<std::uint32_t>(is);
    }
    [[nodiscard]] std::int32_t usual_color() const noexcept
    {
        if (is_.channels == 1)
            return NUV_GRAY;
        return is_.channels == 3 ? NUV_RGB : NUV_COLOR_OTHER;
    }
    // A single channel may have any stride.
    [[nodiscard]] Py_ssize_t channel_stride() const noexcept
    {
        const Py_buffer& view = buffer_.view();
        return is_.channels == 1 ? view.itemsize : view.strides[2];
    }
    // That the samples of a line lie side by side, and its lines one behind the other, with no more
    // between them than the library counts.
    [[nodiscard]] bool has_whole_lines() const noexcept
    {
        constexpr Py_ssize_t most_bytes = 0x7FFFFFFF;

        const Py_buffer& view = buffer_.view();
        const Py_ssize_t pixel_bytes = view.itemsize * is_.channels;
        return channel_stride() == view.itemsize &&
               (is_.width == 1 || view.strides[1] == pixel_bytes) &&
               view.strides[0] >= pixel_bytes * static_cast<Py_ssize_t>(is_.width) &&
               view.strides[0] <= most_bytes / static_cast<Py_ssize_t>(is_.height);
    }

    static int give(void* user, std::uint32_t line, void* into) noexcept
    {
        const auto& it = *static_cast<const Samples*>(user);
        const Py_buffer& view = it.buffer_.view();
        const char* const from =
            static_cast<const char*>(view.buf) + static_cast<Py_ssize_t>(line) * view.strides[0];
        const auto gather_samples = it.is_.bits == 8    ? gather<std::uint8_t>
                                    : it.is_.bits == 16 ? gather<std::uint16_t>
                                                        : gather<std::uint32_t>;
        for (std::uint16_t i = 0; i < it.is_.channels; ++i) {
            gather_samples(from + i * it.channel_stride(), view.strides[1],
                           static_cast<char*>(into) + i * view.itemsize,
                           view.itemsize * it.is_.channels, it.is_.width);
        }
        return 0;
    }

    Buffer buffer_;
    nuv_picture is_{};
    bool is_bits_ = false;
};

} // namespace

std::string path_of(const py::handle& path)
{
    PyObject* bytes = nullptr;
    if (PyUnicode_FSConverter(path.ptr(), &bytes) == 0)
        throw py::error_already_set();
    return py::reinterpret_steal<py::bytes>(bytes);
}

std::shared_ptr<const Source> stored_picture(const py::object& from, std::uint64_t most_bytes)
{
    if (py::isinstance<py::str>(from) || py::hasattr(from, "__fspath__"))
        return std::make_shared<const File>(path_of(from));
    if (PyObject_CheckBuffer(from.ptr()))
        return std::make_shared<const Memory>(from);
    if (py::hasattr(from, "read"))
        return read_stream(from, most_bytes);
    throw py::type_error("a source is a path, an object with a buffer of bytes, or a file object");
}

std::shared_ptr<const Source> samples(const py::object& from, const py::object& color)
{
    return std::make_shared<const Samples>(from, color);
}

} // namespace nuv_python
