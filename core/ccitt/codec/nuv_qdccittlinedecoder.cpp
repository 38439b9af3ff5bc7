#include "core/ccitt/codec/nuv_qdccittlinedecoder.h"

#include <algorithm>

namespace nuv {

QDCCITTCPList::Changes QDCCITTCPList::b1_white(std::int64_t a0) noexcept
{
    while (index_ < count_ && start(index_) <= a0)
        index_ += 2;
    return {start(index_), behind_end(index_)};
}

QDCCITTCPList::Changes QDCCITTCPList::b1_black(std::int64_t a0) noexcept
{
    while (index_ > 0 && behind_end(index_ - 2) > a0)
        index_ -= 2;
    while (index_ < count_ && behind_end(index_) <= a0)
        index_ += 2;
    return {behind_end(index_), start(index_ + 2)};
}

void QDCCITT1DLineDecoder::decode(QDCCITTRunWriter& line)
{
    std::int64_t position = 0;
    const Code code = decode_runs(line, position);
    status_.set(code, static_cast<std::uint32_t>(position));
}

QDCCITTBase::Code QDCCITT1DLineDecoder::decode_runs(QDCCITTRunWriter& line, std::int64_t& position)
{
    while (position < width_) {
        const std::int32_t white = white_.decode_run();
        if (white < 0)
            return failure_of_run(white, white_.last_code());
        const std::int64_t a = position + white;
        if (a == width_)
            break;
        last_code_ = white_.last_code();
        if (a > width_)
            return Code::found_bad_code;

        const std::int32_t black = black_.decode_run();
        if (black < 0)
            return failure_of_run(black, black_.last_code());
        const std::int64_t e = a + black;
        last_code_ = black_.last_code();
        if (e > width_)
            return Code::found_bad_code;
        const Code code = line.append(a, e - 1);
        if (code != Code::good)
            return code;
        position = e;
    }
    return Code::good;
}

QDCCITTBase::Code QDCCITT1DLineDecoder::failure_of_run(std::int32_t run,
                                                       const QDHuffmanLastCode& culprit)
{
    last_code_ = culprit;
    if (run == WhiteRuns::end_value)
        return Code::data_ended;
    const bool heads_eol = culprit.bits == 0 || culprit.bits == ccitt_eol;
    return heads_eol ? Code::found_eol : Code::found_bad_code;
}

bool QDCCITT1DLineDecoder::check_eol(WithoutEol without)
{
    if (bits_.available(ccitt_eol_bits) < ccitt_eol_bits) {
        status_.set(Code::data_ended);
        return false;
    }
    if (bits_.take_if(ccitt_eol, ccitt_eol_bits))
        return true;
    // Fill: whatever tag is behind its EOL, the line is the next one.
    if (bits_.sees(0, ccitt_eol_bits))
        return QDCCITT1DLineDecoder::find_eol({});
    status_.set(Code::found_bad_code);
    if (without == WithoutEol::search && find_eol({}))
        status_.set(Code::bad_code, static_cast<std::uint32_t>(width_));
    return false;
}

bool QDCCITT1DLineDecoder::find_eol(QDHuffmanLastCode culprit)
{
    constexpr std::uint32_t zeros = ccitt_eol_bits - 1;
    if (culprit.bits == ccitt_eol && culprit.length == ccitt_eol_bits)
        return true;
    // A code of that length may have had the zeros in it.
    const bool passed_zeros = culprit.length >= zeros;
    if ((passed_zeros || bits_.skip(zeros)) && bits_.skip_through_one())
        return true;
    status_.set(Code::data_ended);
    return false;
}

bool QDCCITT1DLineDecoderMR::find_eol(QDHuffmanLastCode culprit)
{
    for (; QDCCITT1DLineDecoder::find_eol(culprit); culprit = {}) {
        if (bits_.sees(1, 1))
            return true;
        if (!bits_.skip(1)) {
            status_.set(Code::data_ended);
            return false;
        }
    }
    return false;
}

void QDCCITT2DLineDecoder::decode(QDCCITTRunWriter& runs, QDCCITTCPList& reference)
{
    Line line{.runs = runs, .reference = reference};
    Code code = Code::good;
    do
        code = decode_mode(line);
    while (code == Code::good && line.a0 < width_);
    status_.set(code, static_cast<std::uint32_t>(std::max<std::int64_t>(line.a0, 0)));
}

QDCCITTBase::Code QDCCITT2DLineDecoder::decode_mode(Line& line)
{
    const std::int32_t mode = modes_.decode();
    last_code_ = modes_.last_code();
    switch (mode) {
    case QDMRModeTable::horizontal:
        return horizontal(line);
    case QDMRModeTable::pass:
        line.a0 = line.changes().b2;
        return Code::good;
    default:
        return mode < QDMRModeTable::most_left ? failure_of_mode(mode) : vertical(line, mode);
    }
}

QDCCITTBase::Code QDCCITT2DLineDecoder::failure_of_mode(std::int32_t mode) noexcept
{
    if (mode == no_mode)
        return Code::data_ended;
    return last_code_.bits == 0 ? Code::found_eol : Code::found_bad_code;
}

QDCCITTBase::Code QDCCITT2DLineDecoder::vertical(Line& line, std::int32_t offset)
{
    const std::int64_t a1 = line.changes().b1 + offset;
    if (a1 < 0 || a1 < line.a0 || a1 > width_)
        return Code::found_bad_code;
    const Code code = line.is_black ? line.runs.append(line.run_start, a1 - 1) : Code::good;
    line.run_start = a1;
    line.is_black = !line.is_black;
    line.a0 = a1;
    return code;
}

QDCCITTBase::Code QDCCITT2DLineDecoder::horizontal(Line& line)
{
    line.a0 = std::max<std::int64_t>(line.a0, 0);
    return line.is_black ? horizontal_black(line) : horizontal_white(line);
}

// A line that ends white has an empty black run behind it, so both runs are read before the first
// is looked at.
QDCCITTBase::Code QDCCITT2DLineDecoder::horizontal_white(Line& line)
{
    const std::int32_t white = white_.decode_run();
    const std::int32_t black = black_.decode_run();
    const std::int64_t a1 = line.a0 + white;
    if (white < 0 || a1 >= width_) {
        line.a0 = width_;
        return Code::good;
    }
    if (black < 0) {
        last_code_ = black_.last_code();
        return Code::found_bad_code;
    }
    line.a0 = a1 + black;
    return line.runs.append(a1, line.a0 - 1);
}

QDCCITTBase::Code QDCCITT2DLineDecoder::horizontal_black(Line& line)
{
    const std::int32_t black = black_.decode_run();
    const std::int32_t white = white_.decode_run();
    if (black < 0 || white < 0) {
        last_code_ = black < 0 ? black_.last_code() : white_.last_code();
        return Code::found_bad_code;
    }
    const std::int64_t a1 = line.a0 + black;
    const Code code = line.runs.append(line.run_start, a1 - 1);
    line.run_start = a1 + white;
    line.a0 = line.run_start;
    return code == Code::good && line.a0 > width_ ? Code::found_bad_code : code;
}

} // namespace nuv
