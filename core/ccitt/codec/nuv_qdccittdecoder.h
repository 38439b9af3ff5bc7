#pragma once

#include "core/ccitt/codec/nuv_qdccittallocator.h"
#include "core/ccitt/codec/nuv_qdccittbase.h"
#include "core/ccitt/codec/nuv_qdccittbitreader.h"
#include "core/ccitt/codec/nuv_qdccittfastdecoder.h"
#include "core/ccitt/codec/nuv_qdccittlinedecoder.h"
#include "core/ccitt/codec/nuv_qdccittoption.h"
#include "core/ccitt/codec/nuv_qdccittrunwriter.h"
#include "core/qdrle/nuv_qdrlecodec.h"
#include "framework/base/nuv_memory.h"

#include <cstdint>

namespace nuv {

// Decodes the lines of a page, as runs or as packed bits, 1 for black. Damage ends neither: a line
// comes out as far as it was understood, and the status tells.
class QDCCITTDecoder : public QDCCITTBase {
public:
    using DataInStream = QDCCITTDataInStream;

    // Is told of each line that is not good.
    class ReportHandler {
    public:
        virtual ~ReportHandler() = default;
        // True to go on, where the status allows it.
        [[nodiscard]] virtual bool report(const Status& status) = 0;

    protected:
        ReportHandler() = default;
        ReportHandler(const ReportHandler&) = default;
        ReportHandler& operator=(const ReportHandler&) = default;
    };

    virtual ~QDCCITTDecoder() = default;
    QDCCITTDecoder(const QDCCITTDecoder&) = delete;
    QDCCITTDecoder& operator=(const QDCCITTDecoder&) = delete;

    // The next line as runs with their terminator, canonical, into a cleared line whose memory has
    // room for checked_run_line_bytes(width) bytes. True when it can be used; its status may then
    // still be above good.
    [[nodiscard]] bool decode(QDRLELine& line);
    // The same as (width + 7) / 8 bytes, drawn when the answer is true.
    [[nodiscard]] bool decode(unsigned char* line);

    // The last line counts as not read, and a new strip begins: good status, a white reference
    // line, at a byte. Nothing behind a fatal status.
    void rewind_line() noexcept;

    // Lines done so far.
    [[nodiscard]] std::uint32_t row() const noexcept { return row_; }
    // See QDCCITTBitReader::consumed_bits().
    [[nodiscard]] std::uint64_t consumed_bits() const noexcept { return bits_.consumed_bits(); }

    // Lines of good codes are decoded on a fast path, all others on a careful one, with the same
    // result. To compare the two.
    enum class Path { fast, careful };
    void path(Path path) noexcept { path_ = path; }

protected:
    // Status bad_argument for a null, but for the handler, and for sizes that no page has;
    // unsupported for an uncompressed mode.
    QDCCITTDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                   const QDCCITTOption& option, QDCCITTAllocator* allocator,
                   ReportHandler* handler);

    // A line under way: where its runs go, and with `own` memory that may grow.
    struct Line {
        QDRLELine& runs;
        QDCCITTRunArray* own;
    };

    // One line of the coding, with its terminator, and what report() says of it.
    [[nodiscard]] virtual bool decode_line(const Line& line) = 0;

    [[nodiscard]] std::uint32_t capacity(const Line& line) const noexcept;
    [[nodiscard]] QDCCITTRunWriter writer(const Line& line) const noexcept
    {
        return {line.runs, capacity(line), line.own, width_};
    }
    // The line by the fast path, in good status; false where it is one for the line decoders.
    [[nodiscard]] bool decode_fast(const Line& line, QDCCITTLineBegin begin,
                                   QDCCITTLineCoding coding) noexcept;

    // Tells of a status that is not good. False when the page cannot go on.
    [[nodiscard]] bool report();
    // Ends the line and reports.
    [[nodiscard]] bool finish(const Line& line)
    {
        line.runs.append_terminator();
        return report();
    }
    // No EOL was consumed behind the line before.
    [[nodiscard]] bool is_before_eol() const noexcept { return status_.is_good(); }
    // Two EOLs, taken as far as they are there, and status page_over for both.
    void detect_two_eols();

    // The finished line is the reference of the next one. False after no_memory.
    [[nodiscard]] bool keep_as_reference(const Line& line);
    // The reference line; it is white before the first one. False when there was no memory for it.
    [[nodiscard]] bool has_reference();
    [[nodiscard]] QDCCITTCPList reference() const noexcept
    {
        return {reference_.words(), reference_count_, width_};
    }

    std::uint32_t width_;
    QDCCITTBitReader bits_;

private:
    [[nodiscard]] bool decode(const Line& line);
    [[nodiscard]] bool refuse(Code code);
    void reference_count(std::uint32_t words) noexcept;
    void free_behind_last_line() noexcept;

    [[nodiscard]] bool join_blocks();

    std::uint32_t height_;
    QDCCITTAllocator* allocator_;
    ReportHandler* handler_;
    std::uint32_t row_ = 0;
    std::uint32_t reference_count_ = 0; // words
    QDRLELine own_line_;
    QDCCITTRunArray own_runs_;
    QDCCITTRunArray reference_;
    NUV_Memory<std::uint8_t, QDCCITTMemorySource> seam_; // from the first line on that needs it
    Path path_ = Path::fast;
};

// T.4, one-dimensional. Each takes a null for the options that are usual.
class QDMHDecoder final : public QDCCITTDecoder {
public:
    using Option = QDMHOption;

    QDMHDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                const QDMHOption* option, QDCCITTAllocator* allocator, ReportHandler* handler);

private:
    [[nodiscard]] bool decode_line(const Line& line) override;
    [[nodiscard]] bool recover();

    QDMHOption option_;
    QDCCITT1DLineDecoderMH line_decoder_;
};

// T.4, two-dimensional.
class QDMRDecoder final : public QDCCITTDecoder {
public:
    using Option = QDMROption;

    QDMRDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                const QDMROption* option, QDCCITTAllocator* allocator, ReportHandler* handler);

private:
    [[nodiscard]] bool decode_line(const Line& line) override;
    [[nodiscard]] QDHuffmanLastCode decode_tagged(const Line& line);

    bool detect_end_;
    QDCCITT1DLineDecoderMR line_decoder_;
    QDCCITT2DLineDecoder line_decoder_2d_;
};

// T.6.
class QDMMRDecoder final : public QDCCITTDecoder {
public:
    using Option = QDMMROption;

    QDMMRDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                 const QDMMROption* option, QDCCITTAllocator* allocator, ReportHandler* handler);

private:
    [[nodiscard]] bool decode_line(const Line& line) override;

    QDMMROption option_;
    QDCCITT2DLineDecoder line_decoder_;
};

} // namespace nuv
