#pragma once

#include "core/include/nuv_formatinfo.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

// What every reader of stored images owes, checked once for all of them. A format describes itself
// in a row, whose fixtures other programs have made, and gets check_reader(); its own edges are
// cases.
namespace nuv {

// A file of tests/data, and the binary anymap that another program made of the same picture.
struct NUV_ReaderFixture {
    const char* file;
    const char* judge;
    NUV_TestImage image; // the description that comes out; with a palette, that of the indices
    // Where the first stored line begins, and the bytes from line to line; 0 where lines have no
    // place of their own. Lines before a cut come out in any case.
    std::size_t first_line = 0;
    std::size_t stored_line_bytes = 0;
};

struct NUV_ReaderRow {
    const char* format_name;
    const char* probe_method;  // that refuses to load_internal() without a storage
    const char* reader_method; // that refuses what is not loaded, not valid, or of another format
    std::function<NUV_Held<NUV_FormatInfo>(NUV_Manager&)> probe;
    std::function<NUV_Engine*(NUV_Manager&, NUV_InputStorage*)> read;
    std::function<NUV_Engine*(NUV_Manager&, NUV_InputStorage*, const NUV_FormatInfo*)> read_as;
    std::vector<NUV_ReaderFixture> fixtures;
    // No request for memory is larger, but for four times what is stored: the word of a header is
    // not enough for more.
    std::size_t work_memory = std::size_t{1} << 16;
    // What stands behind the last line is looked at, too, and costs nothing but the status.
    bool reads_end = false;
    // Where images begin in their storages: 0 for a format whose positions count from there.
    std::int32_t begin = NUV_TestStored::start;
    // Damage has a judge of its own, and is not done here.
    bool is_damaged_elsewhere = false;
    // The head tells where the data ends, which may be before the last line, without a word.
    bool tells_end = false;
};

template <class Info, class Reader>
[[nodiscard]] NUV_ReaderRow reader_row(const char* format_name, const char* probe_method,
                                       const char* reader_method,
                                       std::vector<NUV_ReaderFixture> fixtures)
{
    return {format_name,
            probe_method,
            reader_method,
            [](NUV_Manager& m) { return NUV_Held<NUV_FormatInfo>(make_object<Info>(m)); },
            [](NUV_Manager& m, NUV_InputStorage* storage) { return Reader(m).engine(storage); },
            [](NUV_Manager& m, NUV_InputStorage* storage, const NUV_FormatInfo* info) {
                return Reader(m).engine(storage, static_cast<const Info*>(info));
            },
            std::move(fixtures)};
}

// What comes of some stored bytes, whether the fault is met by the probe, by the reader or on the
// way. Without a description, the image is not looked at.
struct NUV_ReaderCase {
    const char* what;
    Bytes stored;
    Bytes samples;
    NUV_StatusCode code = NUV_STATUS_OK;
    const char* method = "";
    std::optional<NUV_TestImage> image = std::nullopt;
};

// Each fixture: the samples of the judge out of any storage, also one that was moved meanwhile; cut
// at every byte; one byte changed at every place; one allocation after the other failing. And what
// is no file of the format, no storage, no description.
void check_reader(const NUV_ReaderRow& row);

void check_reader_cases(const NUV_ReaderRow& row, const std::vector<NUV_ReaderCase>& cases);

// Samples at the end of a binary anymap: `bytes` of them, in host order.
[[nodiscard]] Bytes anymap_samples(const char* file, std::size_t bytes, std::uint16_t bits);

} // namespace nuv
