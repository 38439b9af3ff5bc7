#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace nuv {

class NUV_SrcBuffer;

// Where a decoder that knows nothing else of the library gets its coded bytes.
class QDCodedInput {
public:
    // The next bytes, valid until the next call. Empty at the end, and after a failure.
    [[nodiscard]] virtual std::span<const std::uint8_t> next() = 0;

protected:
    QDCodedInput() = default;
    QDCodedInput(const QDCodedInput&) = default;
    QDCodedInput& operator=(const QDCodedInput&) = default;
    ~QDCodedInput() = default;
};

// The bytes of a coded input, one after the other.
class QDCodedCursor {
public:
    explicit QDCodedCursor(QDCodedInput& input) noexcept : input_(&input) {}

    // False at the end.
    [[nodiscard]] bool read_byte(std::uint8_t& byte)
    {
        if (left_.empty() && !refill())
            return false;
        byte = left_.front();
        left_ = left_.subspan(1);
        return true;
    }
    // All `count` bytes. False when the input ends before; what there was has then been consumed.
    [[nodiscard]] bool read(std::uint8_t* into, std::size_t count)
    {
        while (count > 0) {
            if (left_.empty() && !refill())
                return false;
            const std::size_t now = std::min(count, left_.size());
            std::memcpy(into, left_.data(), now);
            skip(now);
            into += now;
            count -= now;
        }
        return true;
    }

    // What is left of the block at hand, possibly nothing.
    [[nodiscard]] std::span<const std::uint8_t> left() const noexcept { return left_; }
    // Of those, `count` are done.
    void skip(std::size_t count) noexcept { left_ = left_.subspan(count); }

private:
    [[nodiscard]] bool refill()
    {
        left_ = input_->next();
        return !left_.empty();
    }

    QDCodedInput* input_;
    std::span<const std::uint8_t> left_;
};

// The blocks of a pipeline, in place.
class NUV_CodedInput : public QDCodedInput {
public:
    // The reader stays its holder's. Nothing is taken before the first next().
    void source(NUV_SrcBuffer* source) noexcept { source_ = source; }

    [[nodiscard]] std::span<const std::uint8_t> next() final;

private:
    NUV_SrcBuffer* source_ = nullptr;
    bool holds_block_ = false;
};

} // namespace nuv
