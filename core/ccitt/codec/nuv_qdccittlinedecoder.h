#pragma once

#include "core/ccitt/codec/nuv_qdccittbase.h"
#include "core/ccitt/codec/nuv_qdccittbitreader.h"
#include "core/ccitt/codec/nuv_qdccittrunwriter.h"
#include "core/ccitt/codec/nuv_qdccitttables.h"
#include "core/ccitt/codec/nuv_qdhuffmandecoder.h"

#include <cstdint>

namespace nuv {

// T.4, 4.1.2: EOL.
inline constexpr std::uint32_t ccitt_eol = 1;
inline constexpr std::uint32_t ccitt_eol_bits = 12;

// The reference line of two-dimensional coding. Positions are signed: -1 is that in front of the
// first pixel. Where there is no change, it is the width. It is asked with an a0 that never goes
// back, so that a run which has started at a0 or in front of it has done so for good.
class QDCCITTCPList {
public:
    // Over the first `count` words of `runs`, in ascending order.
    QDCCITTCPList(const std::uint32_t* runs, std::uint32_t count, std::int64_t width) noexcept
        : runs_(runs),
          count_(count),
          width_(width)
    {}

    // T.4, 4.2.1.3.1 and T.6, 2.2.1: b1 and b2, the next changes of the line behind a0, the first
    // of them away from the colour.
    struct Changes {
        std::int64_t b1 = 0;
        std::int64_t b2 = 0;
    };
    // Where the colour is white: the first run that starts behind a0, and where it has ended.
    [[nodiscard]] Changes b1_white(std::int64_t a0) noexcept;
    // Where it is black: the end of the first run that goes on to a0 or behind it, and the start of
    // the next one.
    [[nodiscard]] Changes b1_black(std::int64_t a0) noexcept;

private:
    [[nodiscard]] std::int64_t start(std::uint32_t word) const noexcept
    {
        return word < count_ ? std::int64_t{runs_[word]} : width_;
    }
    [[nodiscard]] std::int64_t behind_end(std::uint32_t word) const noexcept
    {
        return word < count_ ? std::int64_t{runs_[word + 1]} + 1 : width_;
    }

    const std::uint32_t* runs_;
    std::uint32_t count_;
    std::int64_t width_;
    std::uint32_t index_ = 0; // of the current run's first word
};

// What line decoders have in common.
class QDCCITTLineDecoder : public QDCCITTBase {
public:
    using WhiteRuns = QDMHRunDecoder<QDMHWhiteTable::bits>;
    using BlackRuns = QDMHRunDecoder<QDMHBlackTable::bits>;

    void clear_status() noexcept { status_ = {}; }
    // The last code of the decoder at which a line has failed.
    [[nodiscard]] const QDHuffmanLastCode& last_code() const noexcept { return last_code_; }

protected:
    QDCCITTLineDecoder(QDCCITTBitReader& bits, std::uint32_t width) noexcept
        : bits_(bits),
          width_(width),
          white_(bits, QDMHWhiteTable::lookup),
          black_(bits, QDMHBlackTable::lookup)
    {}
    ~QDCCITTLineDecoder() = default;

    QDCCITTBitReader& bits_;
    std::int64_t width_;
    WhiteRuns white_;
    BlackRuns black_;
    QDHuffmanLastCode last_code_;
};

// Lines coded one-dimensionally (T.4, 4.1), and the EOLs between lines.
class QDCCITT1DLineDecoder : public QDCCITTLineDecoder {
public:
    QDCCITT1DLineDecoder(QDCCITTBitReader& bits, std::uint32_t width) noexcept
        : QDCCITTLineDecoder(bits, width)
    {}
    virtual ~QDCCITT1DLineDecoder() = default;

    // The next line; what went wrong is in the status.
    void decode(QDCCITTRunWriter& line);

    // What to do where a line does not begin with an EOL.
    enum class WithoutEol { stay, search };
    // Takes the EOL in front of a line, and fill (T.4, 4.1.3) in front of that. False where there
    // is none: data_ended with fewer bits than it has, found_bad_code when the stream stays where
    // it is, bad_code when a search has found one further on.
    [[nodiscard]] bool check_eol(WithoutEol without);

    // Goes behind the next EOL when a line has failed at `culprit`, in such a way that it may have
    // been taken already. Of the zeros that it begins with 11 are passed over unseen, so every 1
    // bit behind them counts. False after data_ended.
    [[nodiscard]] virtual bool find_eol(QDHuffmanLastCode culprit);

private:
    [[nodiscard]] Code decode_runs(QDCCITTRunWriter& line, std::int64_t& position);
    [[nodiscard]] Code failure_of_run(std::int32_t run, const QDHuffmanLastCode& culprit);
};

using QDCCITT1DLineDecoderMH = QDCCITT1DLineDecoder;

// T.4, 4.2.2: behind an EOL a tag bit tells how the line is coded. The search goes on until it is
// 1, for a line coded one-dimensionally, and leaves it in the stream.
class QDCCITT1DLineDecoderMR final : public QDCCITT1DLineDecoder {
public:
    using QDCCITT1DLineDecoder::QDCCITT1DLineDecoder;

    [[nodiscard]] bool find_eol(QDHuffmanLastCode culprit) override;
};

// Lines coded two-dimensionally (T.4, 4.2; T.6, 2.2).
class QDCCITT2DLineDecoder : public QDCCITTLineDecoder {
public:
    QDCCITT2DLineDecoder(QDCCITTBitReader& bits, std::uint32_t width) noexcept
        : QDCCITTLineDecoder(bits, width),
          modes_(bits, QDMRModeTable::lookup, no_mode, huffman_undefined)
    {}

    // The next line; what went wrong is in the status.
    void decode(QDCCITTRunWriter& runs, QDCCITTCPList& reference);

private:
    static constexpr std::int32_t no_mode = -9998; // the data is over

    // A line under way.
    struct Line {
        QDCCITTRunWriter& runs;
        QDCCITTCPList& reference;
        std::int64_t a0 = -1;
        std::int64_t run_start = 0; // where the colour became black
        bool is_black = false;

        [[nodiscard]] QDCCITTCPList::Changes changes() const noexcept
        {
            return is_black ? reference.b1_black(a0) : reference.b1_white(a0);
        }
    };

    [[nodiscard]] Code decode_mode(Line& line);
    [[nodiscard]] Code failure_of_mode(std::int32_t mode) noexcept;
    [[nodiscard]] Code vertical(Line& line, std::int32_t offset);
    [[nodiscard]] Code horizontal(Line& line);
    [[nodiscard]] Code horizontal_white(Line& line);
    [[nodiscard]] Code horizontal_black(Line& line);

    QDHuffmanDecoder<QDMRModeTable::bits> modes_;
};

} // namespace nuv
