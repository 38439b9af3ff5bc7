#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

enum class QDRLEStatus : std::int32_t {
    good = 1,
    bad_argument = -1, // a null, or a width that no line can have
    cut_short = -2,    // the runs end without a terminator
    bad_run = -3,      // a run that the line cannot hold
    failed_before = -10
};

// Root of the plain classes of the run form. They know no manager and allocate nothing.
class QDRLE {
public:
    QDRLE() = default;
    QDRLE(const QDRLE&) = default;
    QDRLE& operator=(const QDRLE&) = default;

    virtual void reset() noexcept { status_ = QDRLEStatus::good; }
    virtual ~QDRLE() = default;

    [[nodiscard]] QDRLEStatus status() const noexcept { return status_; }
    [[nodiscard]] bool is_good() const noexcept { return status_ == QDRLEStatus::good; }

protected:
    // Keeps the status; always false.
    bool refuse(QDRLEStatus status) noexcept
    {
        status_ = status;
        return false;
    }

private:
    QDRLEStatus status_ = QDRLEStatus::good;
};

// A line of runs in the caller's memory, two words for each run: first column, last column. Nothing
// here knows how much memory that is; a line of `width` pixels takes (width + 1) / 2 runs and the
// terminator at most.
class QDRLELine : public QDRLE {
public:
    explicit QDRLELine(std::uint32_t* words = nullptr) noexcept : runs_(words) {}

    // No runs, good status; the memory stays.
    virtual void clear() noexcept;
    ~QDRLELine() override = default;
    // Copies the other line's words to this line's own memory, which must have room for them.
    virtual void assign(const QDRLELine& other) noexcept;

    QDRLELine(const QDRLELine&) = delete;
    QDRLELine& operator=(const QDRLELine&) = delete;

    // Lays the line over other memory. The count stays.
    void runs(std::uint32_t* words) noexcept { runs_ = words; }
    [[nodiscard]] std::uint32_t* runs() noexcept { return runs_; }
    [[nodiscard]] const std::uint32_t* runs() const noexcept { return runs_; }
    // Words in use: 2n + 2 for n runs with their terminator.
    [[nodiscard]] std::uint32_t count() const noexcept { return count_; }
    void count(std::uint32_t words) noexcept { count_ = words; }

    void append(std::uint32_t start, std::uint32_t end) noexcept
    {
        runs_[count_] = start;
        runs_[count_ + 1] = end;
        count_ += 2;
    }
    void append_terminator() noexcept { append(0xFFFFFFFF, 0xFFFFFFFF); }

private:
    std::uint32_t* runs_;
    std::uint32_t reserved_ = 0;
    std::uint32_t count_ = 0;
};

// Expands lines of runs that lie in memory.
class QDRLELineDecoder final : public QDRLE {
public:
    // `runs` are words as QDRLELine writes them, read anew for every line.
    QDRLELineDecoder(const std::uint32_t* runs, std::uint32_t width) noexcept;

    // Writes (width + 7) / 8 bytes, 1 for black, first pixel in the top bit. False, for this and
    // every later line, when the runs are not such a line's; `line` is then half drawn.
    [[nodiscard]] bool decode(unsigned char* line) noexcept;

private:
    const std::uint32_t* runs_;
    std::uint32_t width_;
};

// Draws the runs of a line, as QDRLELine has them in front of the terminator, and clears the rest
// of its (width + 7) / 8 bytes. False when they are not such a line's; it is then half drawn.
[[nodiscard]] bool draw_runs(std::span<const std::uint32_t> words, std::uint32_t width,
                             unsigned char* line) noexcept;

// Expands a stream of lines.
class QDRLEDecoder final : public QDRLE {
public:
    // Where the words come from.
    class DataInStream {
    public:
        DataInStream() = default;
        DataInStream(const DataInStream&) = delete;
        DataInStream& operator=(const DataInStream&) = delete;

        // False at the end of the data.
        [[nodiscard]] virtual bool read(std::uint32_t* word) = 0;
        virtual ~DataInStream() = default;
    };

    QDRLEDecoder(DataInStream* stream, std::uint32_t width) noexcept;

    // The next line, as QDRLELineDecoder::decode() writes it.
    [[nodiscard]] bool decode(unsigned char* line);

private:
    DataInStream* stream_;
    std::uint32_t width_;
    std::size_t line_bytes_ = 0;
};

} // namespace nuv
