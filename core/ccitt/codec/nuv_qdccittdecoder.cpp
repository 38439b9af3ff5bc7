#include "core/ccitt/codec/nuv_qdccittdecoder.h"

#include "core/qdrle/nuv_qdrlerun.h"

#include <algorithm>

namespace nuv {

QDCCITTDecoder::QDCCITTDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                               const QDCCITTOption& option, QDCCITTAllocator* allocator,
                               ReportHandler* handler)
    : width_(width),
      bits_(stream),
      height_(height),
      allocator_(allocator),
      handler_(handler),
      own_runs_(allocator, width),
      reference_(allocator, width)
{
    if (!stream || !allocator || width == 0 || height == 0 || !checked_run_line_bytes(width))
        static_cast<void>(refuse(Code::bad_argument));
    else if (option.uncompressed_mode)
        static_cast<void>(refuse(Code::unsupported));
}

bool QDCCITTDecoder::refuse(Code code)
{
    status_.set(code);
    return report();
}

bool QDCCITTDecoder::report()
{
    if (status_.is_good())
        return true;
    status_.report(row_);
    const bool goes_on = !handler_ || handler_->report(status_);
    return goes_on && !is_fatal(status_.code());
}

bool QDCCITTDecoder::decode(QDRLELine& line)
{
    const bool is_usable = decode(Line{.runs = line, .own = nullptr});
    free_behind_last_line();
    return is_usable;
}

bool QDCCITTDecoder::decode(unsigned char* line)
{
    if (is_fatal(status_.code()) || row_ >= height_)
        return refuse(Code::out_of_turn);
    if (!line)
        return refuse(Code::bad_argument);
    constexpr std::uint32_t one_run = 4; // and the terminator, in words
    if (!own_runs_.reserve(one_run))
        return refuse(Code::no_memory);
    own_line_.runs(own_runs_.words());
    own_line_.clear();
    if (!decode(Line{.runs = own_line_, .own = &own_runs_}))
        return false;
    const std::span<const std::uint32_t> words(own_line_.runs(), own_line_.count());
    const bool is_drawn = draw_runs(words.first(words.size() - 2), width_, line);
    free_behind_last_line();
    return is_drawn;
}

bool QDCCITTDecoder::decode(const Line& line)
{
    if (is_fatal(status_.code()) || row_ >= height_) {
        status_.set(Code::out_of_turn);
        return finish(line);
    }
    ++row_;
    line.runs.clear();
    if (status_.code() == Code::page_over) {
        line.runs.append_terminator();
        return true;
    }
    if (bits_.available(1) == 0) { // no coding makes anything of that
        status_.set(Code::data_ended, 0);
        return finish(line);
    }
    if (path_ == Path::fast && bits_.is_near_end() && !join_blocks()) {
        status_.set(Code::no_memory, 0);
        return finish(line);
    }
    return decode_line(line);
}

bool QDCCITTDecoder::join_blocks()
{
    constexpr std::size_t bytes = QDCCITTBitReader::seam_bytes;
    if (seam_.size() == 0 && !seam_.allocate({allocator_}, bytes))
        return false;
    bits_.join(seam_.items());
    return true;
}

// A page under way has memory for two lines; one that waits for its turn, or is done, has none.
void QDCCITTDecoder::free_behind_last_line() noexcept
{
    if (row_ < height_)
        return;
    own_runs_.free();
    reference_.free();
    reference_count_ = 0;
}

void QDCCITTDecoder::rewind_line() noexcept
{
    if (is_fatal(status_.code()))
        return;
    row_ -= row_ > 0 ? 1 : 0;
    status_ = {};
    bits_.rewind();
    if (reference_.words())
        reference_count(0);
}

std::uint32_t QDCCITTDecoder::capacity(const Line& line) const noexcept
{
    if (line.own)
        return line.own->capacity();
    return checked_run_line_bytes(width_).value_or(0) / std::uint32_t{sizeof(std::uint32_t)};
}

bool QDCCITTDecoder::decode_fast(const Line& line, QDCCITTLineBegin begin,
                                 QDCCITTLineCoding coding) noexcept
{
    if (path_ != Path::fast)
        return false;
    // Only memory of our own has words to spare behind the terminator.
    constexpr std::uint32_t terminator = 2;
    static_assert(QDCCITTFastLine::spare_words <= QDCCITTRunArray::spare_words);
    const std::uint32_t spare = line.own ? terminator : QDCCITTFastLine::spare_words;
    const std::uint32_t room = capacity(line);
    QDCCITTFastLine fast = {.words = line.runs.runs(), .most = room > spare ? room - spare : 0};
    if (!decode_fast_line(bits_, begin, coding, {reference_.words(), reference_count_}, width_,
                          fast))
        return false;
    line.runs.count(fast.count);
    line.runs.append_terminator();
    status_ = {};
    status_.set(Code::good, fast.position);
    return true;
}

void QDCCITTDecoder::detect_two_eols()
{
    if (bits_.take_if(ccitt_eol, ccitt_eol_bits) && bits_.take_if(ccitt_eol, ccitt_eol_bits))
        status_.set(Code::page_over);
}

bool QDCCITTDecoder::has_reference()
{
    if (reference_.words())
        return true;
    constexpr std::uint32_t one_run = 4;
    if (!reference_.reserve(one_run))
        return false;
    reference_count(0);
    return true;
}

bool QDCCITTDecoder::keep_as_reference(const Line& line)
{
    constexpr std::uint32_t terminator = 2;
    if (line.own)
        line.own->swap(reference_);
    else if (reference_.reserve(line.runs.count()))
        std::copy_n(line.runs.runs(), line.runs.count(), reference_.words());
    else
        return refuse(Code::no_memory);
    reference_count(line.runs.count() - terminator);
    return true;
}

void QDCCITTDecoder::reference_count(std::uint32_t words) noexcept
{
    static_assert(QDCCITTFastReference::end_words <= QDCCITTRunArray::spare_words);
    reference_count_ = words;
    QDCCITTFastReference::end_line(reference_.words() + words, width_);
}

QDMHDecoder::QDMHDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                         const QDMHOption* option, QDCCITTAllocator* allocator,
                         ReportHandler* handler)
    : QDCCITTDecoder(stream, width, height, option ? *option : QDMHOption(), allocator, handler),
      option_(option ? *option : QDMHOption()),
      line_decoder_(bits_, width)
{}

bool QDMHDecoder::decode_line(const Line& line)
{
    using Begin = QDCCITTLineBegin;
    Begin begin = option_.byte_align ? Begin::on_byte : Begin::here;
    if (option_.eol_present)
        begin = is_before_eol() ? Begin::behind_eol : Begin::here;
    if (decode_fast(line, begin, QDCCITTLineCoding::one_dimensional))
        return true;
    line_decoder_.clear_status();
    if (!option_.eol_present) {
        if (option_.byte_align)
            bits_.align();
    } else if (is_before_eol() &&
               !line_decoder_.check_eol(QDCCITT1DLineDecoder::WithoutEol::stay)) {
        status_.set(Code::bad_code, line_decoder_.status().position());
        line_decoder_.clear_status();
        if (!report())
            return false;
    }
    QDCCITTRunWriter runs = writer(line);
    line_decoder_.decode(runs);
    status_ = line_decoder_.status();
    if (!status_.is_good() && !is_fatal(status_.code()) && !recover())
        return false;
    return finish(line);
}

// Goes behind a bad line. False when the handler wants no more.
bool QDMHDecoder::recover()
{
    if (option_.eol_present) {
        status_.finalise();
        if (!line_decoder_.find_eol(line_decoder_.last_code())) {
            const bool goes_on = report();
            status_.set(Code::data_ended);
            return goes_on;
        }
    }
    if (option_.detect_end)
        detect_two_eols();
    return true;
}

QDMRDecoder::QDMRDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                         const QDMROption* option, QDCCITTAllocator* allocator,
                         ReportHandler* handler)
    : QDCCITTDecoder(stream, width, height, option ? *option : QDMROption(), allocator, handler),
      detect_end_(option ? option->detect_end : QDMROption().detect_end),
      line_decoder_(bits_, width),
      line_decoder_2d_(bits_, width)
{}

bool QDMRDecoder::decode_line(const Line& line)
{
    // T.4, 4.2.5: RTC, from the tag behind its first EOL up to the tag behind its third.
    constexpr std::uint32_t rtc = 1U << 26 | 3U << 13 | 3U;
    constexpr std::uint32_t rtc_bits = 1 + 13 + 13;

    if (!has_reference()) {
        status_.set(Code::no_memory, 0);
        return finish(line);
    }
    const auto begin = is_before_eol() ? QDCCITTLineBegin::behind_eol : QDCCITTLineBegin::here;
    if (decode_fast(line, begin, QDCCITTLineCoding::tagged))
        return keep_as_reference(line);
    line_decoder_.clear_status();
    if (is_before_eol() && !line_decoder_.check_eol(QDCCITT1DLineDecoder::WithoutEol::search)) {
        status_ = line_decoder_.status();
        return finish(line);
    }
    const QDHuffmanLastCode culprit = decode_tagged(line);
    if (is_fatal(status_.code()))
        return finish(line);
    if (!status_.is_good()) {
        if (!line_decoder_.find_eol(culprit)) {
            if (!report())
                return false;
            status_.set(Code::data_ended);
            return finish(line);
        }
        status_.finalise();
        if (detect_end_ && bits_.take_if(rtc, rtc_bits))
            status_.set(Code::page_over);
    }
    line.runs.append_terminator();
    return keep_as_reference(line) && report();
}

// Decodes a line by its tag (T.4, 4.2.2). Answers the code at which it has failed.
QDHuffmanLastCode QDMRDecoder::decode_tagged(const Line& line)
{
    const bool is_1d = bits_.sees(1, 1);
    static_cast<void>(bits_.skip(1));
    QDCCITTRunWriter runs = writer(line);
    if (is_1d) {
        line_decoder_.decode(runs);
        status_ = line_decoder_.status();
        return line_decoder_.last_code();
    }
    QDCCITTCPList changes = reference();
    line_decoder_2d_.decode(runs, changes);
    status_ = line_decoder_2d_.status();
    return line_decoder_2d_.last_code();
}

QDMMRDecoder::QDMMRDecoder(DataInStream* stream, std::uint32_t width, std::uint32_t height,
                           const QDMMROption* option, QDCCITTAllocator* allocator,
                           ReportHandler* handler)
    : QDCCITTDecoder(stream, width, height, option ? *option : QDMMROption(), allocator, handler),
      option_(option ? *option : QDMMROption()),
      line_decoder_(bits_, width)
{}

bool QDMMRDecoder::decode_line(const Line& line)
{
    if (!has_reference()) {
        status_.set(Code::no_memory, 0);
        return finish(line);
    }
    const auto begin = option_.byte_align ? QDCCITTLineBegin::on_byte : QDCCITTLineBegin::here;
    if (decode_fast(line, begin, QDCCITTLineCoding::two_dimensional))
        return keep_as_reference(line);
    if (option_.byte_align)
        bits_.align();
    QDCCITTRunWriter runs = writer(line);
    QDCCITTCPList changes = reference();
    line_decoder_.decode(runs, changes);
    status_ = line_decoder_.status();
    if (status_.is_good()) {
        line.runs.append_terminator();
        return keep_as_reference(line);
    }
    if (option_.detect_end && status_.code() != Code::no_memory)
        detect_two_eols();
    return finish(line);
}

} // namespace nuv
