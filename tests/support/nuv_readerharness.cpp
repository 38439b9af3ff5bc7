#include "tests/support/nuv_readerharness.h"

#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/io/nuv_memoryoutputstorage.h"
#include "framework/utility/nuv_endian.h"

namespace nuv {
namespace {

struct Outcome {
    Bytes samples;
    Bytes palette;
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string method;
    std::optional<NUV_TestImage> image; // when a chain stood
};

void expect_image(const NUV_TestImage& got, const NUV_TestImage& wanted)
{
    const auto all = [](const NUV_TestImage& i) {
        return std::tuple(i.width, i.height, i.channels, i.bits, i.data_type, i.color_type,
                          i.palette);
    };
    EXPECT_EQ(all(got), all(wanted));
}

// A probe that accepts says nothing; one that refuses leaves the storage where it was.
[[nodiscard]] bool is_accepted(const NUV_ReaderRow& row, NUV_Manager& manager,
                               const NUV_TestStored& stored)
{
    const auto info = row.probe(manager);
    const bool accepted = info->load(stored.storage());
    EXPECT_EQ(info->loaded(), accepted);
    EXPECT_TRUE(!accepted || manager.status().code == NUV_STATUS_OK);
    EXPECT_TRUE(!accepted || std::string(info->format_name()) == row.format_name);
    EXPECT_TRUE(accepted || stored.position() == 0) << "a probe that refuses goes back";
    EXPECT_TRUE(stored.to_begin());
    return accepted;
}

[[nodiscard]] Outcome read(const NUV_ReaderRow& row, const Bytes& stored)
{
    NUV_TestChain chain;
    const NUV_TestStored source(chain.manager(), stored, row.begin);
    const bool accepted = is_accepted(row, chain.manager(), source);
    const NUV_StatusCode refusal = chain.status().code;
    chain.manager().reset();

    Outcome outcome;
    chain.last(row.read(chain.manager(), source.storage()));
    if (chain.last()) {
        EXPECT_TRUE(accepted);
        const NUV_Header& header = chain.header();
        outcome.image = image_of(header);
        if (outcome.image->palette) {
            const std::uint8_t* value = header.palette().value();
            outcome.palette = {value, value + std::size_t{3} * header.palette().entries};
        }
    } else {
        EXPECT_TRUE(chain.status().has_error()) << "refused without a word";
        EXPECT_TRUE(accepted || refusal == NUV_STATUS_OK || refusal == chain.status().code);
    }
    outcome.samples = chain.run_bytes();
    outcome.code = chain.status().code;
    outcome.method = chain.status().method;
    EXPECT_LE(chain.manager().memory().largest(), row.work_memory + 4 * stored.size());
    return outcome;
}

// The samples with the colours of their palette, where there is one.
[[nodiscard]] Bytes colored(const Outcome& outcome, std::size_t channels)
{
    if (outcome.palette.empty())
        return outcome.samples;
    Bytes colors;
    for (const std::uint8_t index : outcome.samples) {
        for (std::size_t c = 0; c < channels; ++c)
            colors.push_back(outcome.palette.at(std::size_t{3} * index + c));
    }
    return colors;
}

[[nodiscard]] std::size_t line_bytes(const NUV_TestImage& image)
{
    return (std::size_t{image.channels} * image.bits * image.width + 7) / 8;
}

void check_samples(const NUV_ReaderRow& row, const NUV_ReaderFixture& fixture)
{
    const Outcome outcome = read(row, test_data(fixture.file));
    EXPECT_EQ(outcome.code, NUV_STATUS_OK) << outcome.method;
    ASSERT_TRUE(outcome.image);
    expect_image(*outcome.image, fixture.image);
    const std::size_t judged = test_data(fixture.judge)[1] == '6' ? 3 : 1; // channels of the judge
    const Bytes colors = colored(outcome, judged);
    EXPECT_EQ(colors, anymap_samples(fixture.judge, colors.size(), fixture.image.bits));
    EXPECT_EQ(outcome.samples.size(), line_bytes(fixture.image) * fixture.image.height);
}

// From memory in blocks of a few bytes, a byte a read, and moved by others while the chain stands.
void check_other_storage(const NUV_ReaderRow& row, const NUV_ReaderFixture& fixture)
{
    const Bytes stored = test_data(fixture.file);
    NUV_TestChain chain;
    auto memory = make_initiated<NUV_MemoryOutputStorage>(chain.manager(), 7);
    EXPECT_EQ(memory->write("front", row.begin), row.begin);
    const auto bytes = static_cast<std::int32_t>(stored.size());
    EXPECT_EQ(memory->write(stored.data(), bytes), bytes);
    const NUV_Held<NUV_InputStorage> inner(memory->create_input_storage());
    const auto storage = make_object<NUV_MeanStorage>(chain.manager(), NUV_FailingMemory::never);
    ASSERT_TRUE(storage->initiate(inner.get()));
    EXPECT_TRUE(storage->to(row.begin));
    chain.last(row.read(chain.manager(), storage.get()));
    EXPECT_TRUE(storage->to_end());
    EXPECT_EQ(chain.run_bytes(), read(row, stored).samples);
    EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
}

// Two readers of one storage, in turns of a line, or of what else a step is.
void check_turns(const NUV_ReaderRow& row, const NUV_ReaderFixture& fixture)
{
    const Bytes stored = test_data(fixture.file);
    NUV_TestChain chain;
    const NUV_TestStored source(chain.manager(), stored, row.begin);
    Bytes got[2];
    NUV_Held<NUV_SrcBuffer> lines[2];
    for (const int i : {0, 1}) {
        EXPECT_TRUE(source.to_begin());
        NUV_Engine* const reader = row.read(chain.manager(), source.storage());
        ASSERT_TRUE(reader);
        lines[i] = NUV_Held<NUV_SrcBuffer>(reader->src_buffer());
    }
    for (bool goes_on = true; goes_on;) {
        goes_on = false;
        for (const int i : {0, 1}) {
            std::uint32_t bytes = 0;
            const auto* const line = static_cast<const std::uint8_t*>(lines[i]->get(&bytes));
            if (!line)
                continue;
            got[i].insert(got[i].end(), line, line + bytes);
            goes_on = lines[i]->release();
        }
    }
    for (const Bytes& samples : got)
        EXPECT_EQ(samples, read(row, stored).samples);
}

// Nothing comes any more from some read on: what is not whole has a status, but for a last number
// of text that may have ended there.
void check_failing_reads(const NUV_ReaderRow& row, const NUV_ReaderFixture& fixture)
{
    const Bytes stored = test_data(fixture.file);
    const Bytes whole = read(row, stored).samples;
    const auto last = std::max<std::ptrdiff_t>(fixture.image.bits / 8, 1);
    NUV_StatusCode code = NUV_ERR_IO;
    for (std::size_t k = 0; code != NUV_STATUS_OK; ++k) {
        SCOPED_TRACE("read " + std::to_string(k));
        NUV_TestChain chain;
        const NUV_TestStored source(chain.manager(), stored, row.begin);
        const auto storage = make_object<NUV_MeanStorage>(chain.manager(), k);
        ASSERT_TRUE(storage->initiate(source.storage()));
        chain.last(row.read(chain.manager(), storage.get()));
        const Bytes got = chain.run_bytes();
        code = chain.status().code;
        EXPECT_LE(got.size(), whole.size());
        if (code == NUV_STATUS_OK) {
            ASSERT_EQ(got.size(), whole.size());
            EXPECT_TRUE(std::equal(got.begin(), got.end() - last, whole.begin()));
        }
        ASSERT_LE(k, 9 * stored.size());
    }
}

// What can be said of any bytes that once were a file of the format.
void expect_whole_lines(const NUV_ReaderRow& row, const Outcome& outcome)
{
    if (!outcome.image) {
        EXPECT_TRUE(outcome.samples.empty());
        return;
    }
    const std::size_t line = line_bytes(*outcome.image);
    EXPECT_EQ(outcome.samples.size() % line, 0u);
    const std::size_t lines = outcome.samples.size() / line;
    EXPECT_LE(lines, outcome.image->height);
    EXPECT_TRUE(lines < outcome.image->height ? row.tells_end || outcome.code != NUV_STATUS_OK
                                              : row.reads_end || outcome.code == NUV_STATUS_OK);
}

// Lines before the cut stand. Where lines have no place, a number that the cut ends may be a part
// of the true one, so the last sample may differ.
void check_cuts(const NUV_ReaderRow& row, const NUV_ReaderFixture& fixture)
{
    const Bytes stored = test_data(fixture.file);
    const Bytes whole = read(row, stored).samples;
    const std::size_t line = line_bytes(fixture.image);
    const std::size_t last = std::max<std::size_t>(fixture.image.bits / 8, 1);
    for (std::size_t n = 0; n < stored.size(); ++n) {
        SCOPED_TRACE("cut at " + std::to_string(n));
        const Outcome outcome =
            read(row, {stored.begin(), stored.begin() + static_cast<std::ptrdiff_t>(n)});
        expect_whole_lines(row, outcome);
        const Bytes& got = outcome.samples;
        std::size_t sure = got.size();
        if (fixture.stored_line_bytes > 0) {
            const std::size_t lines =
                n < fixture.first_line ? 0 : (n - fixture.first_line) / fixture.stored_line_bytes;
            EXPECT_EQ(got.size(), lines * line);
        } else {
            sure -= std::min(sure, last);
        }
        ASSERT_LE(got.size(), whole.size());
        EXPECT_TRUE(std::equal(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(sure),
                               whole.begin()));
        EXPECT_EQ(outcome.code,
                  got.size() < whole.size() || row.reads_end ? NUV_ERR_BROKEN_DATA : NUV_STATUS_OK);
    }
}

void check_flips(const NUV_ReaderRow& row, const NUV_ReaderFixture& fixture)
{
    Bytes stored = test_data(fixture.file);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        SCOPED_TRACE("changed at " + std::to_string(i));
        const std::uint8_t original = stored[i];
        for (const int changed : {original ^ 1, original ^ 0x10, original ^ 0x80, 0x00, 0xFF}) {
            stored[i] = static_cast<std::uint8_t>(changed);
            expect_whole_lines(row, read(row, stored));
        }
        stored[i] = original;
    }
}

void check_refusals(const NUV_ReaderRow& row)
{
    NUV_TestChain chain;
    const auto expect_refusal = [&](bool answer, NUV_StatusCode code, const char* method) {
        EXPECT_FALSE(answer);
        expect_status(chain.manager(), code, method);
    };
    const auto is_read = [&](const NUV_TestStored& stored, const NUV_FormatInfo* info) {
        return row.read_as(chain.manager(), stored.storage(), info) != nullptr;
    };
    const auto info = row.probe(chain.manager());
    expect_refusal(info->load(nullptr), NUV_ERR_ARGUMENT, "NUV_FormatInfo::load()");
    expect_refusal(info->load_internal(nullptr), NUV_ERR_ARGUMENT, row.probe_method);
    const NUV_TestStored closed(chain.manager(), test_data(row.fixtures.front().file));
    closed.storage()->close();
    expect_refusal(info->load(closed.storage()), NUV_ERR_ARGUMENT, "NUV_FormatInfo::load()");

    const NUV_TestStored good(chain.manager(), test_data(row.fixtures.front().file));
    expect_refusal(is_read(good, nullptr), NUV_ERR_ARGUMENT, row.reader_method);
    expect_refusal(is_read(good, info.get()), NUV_ERR_ARGUMENT, row.reader_method); // not loaded
    ASSERT_TRUE(info->load(good.storage()));
    info->width(0);
    expect_refusal(is_read(good, info.get()), NUV_ERR_ARGUMENT, row.reader_method);

    // Another format: the probe is silent, the reader is not, and what was loaded is gone.
    const NUV_TestStored other(chain.manager(), bytes_of("no signature, and long enough for any"));
    expect_refusal(is_accepted(row, chain.manager(), other), NUV_STATUS_OK, "");
    EXPECT_FALSE(info->load(other.storage()) || info->loaded());
    expect_refusal(row.read(chain.manager(), other.storage()) != nullptr, NUV_ERR_FORMAT,
                   row.reader_method);
}

} // namespace

Bytes anymap_samples(const char* file, std::size_t bytes, std::uint16_t bits)
{
    const Bytes stored = test_data(file);
    Bytes samples(stored.end() - static_cast<std::ptrdiff_t>(std::min(bytes, stored.size())),
                  stored.end());
    for (std::size_t i = 0; bits == 16 && i + 1 < samples.size(); i += 2) {
        const std::uint16_t sample = load_be16(&samples[i]); // the high byte comes first in a file
        std::memcpy(&samples[i], &sample, sizeof(sample));
    }
    return samples;
}

void check_reader(const NUV_ReaderRow& row)
{
    SCOPED_TRACE(row.format_name);
    check_refusals(row);
    for (const NUV_ReaderFixture& fixture : row.fixtures) {
        SCOPED_TRACE(fixture.file);
        check_samples(row, fixture);
        check_other_storage(row, fixture);
        check_turns(row, fixture);
        check_failing_reads(row, fixture);
        if (!row.is_damaged_elsewhere) {
            check_cuts(row, fixture);
            check_flips(row, fixture);
        }
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const NUV_TestStored stored(chain.manager(), test_data(fixture.file));
            if (stored.storage())
                chain.last(row.read(chain.manager(), stored.storage()));
            static_cast<void>(chain.run_bytes());
        });
    }
}

void check_reader_cases(const NUV_ReaderRow& row, const std::vector<NUV_ReaderCase>& cases)
{
    for (const NUV_ReaderCase& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome outcome = read(row, c.stored);
        EXPECT_EQ(outcome.samples, c.samples);
        EXPECT_EQ(outcome.code, c.code);
        EXPECT_EQ(outcome.method, c.method);
        if (c.image) {
            ASSERT_TRUE(outcome.image);
            expect_image(*outcome.image, *c.image);
        }
    }
}

} // namespace nuv
