// Run data of any kind through chains of the operations on it. Each leaves lines of ordered runs
// within the width; what comes out has to be a whole image or an error, and the same image that the
// operations give on packed bits.
//
// The input: width (2 bytes), height, block size and three operations of five bytes, then records.

#include "core/crop/nuv_crop.h"
#include "core/operation/nuv_not.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/qdrle/nuv_qdrlerun.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalenn.h"
#include "tests/support/nuv_modelimage.h"

#include "fuzz/nuv_numbers.h"
#include "fuzz/nuv_require.h"

namespace nuv {
namespace {

struct Operation {
    std::uint32_t kind;
    std::uint32_t numbers[4];
};

struct Job {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t block_bytes;
    std::array<Operation, 3> operations;
    Bytes records;

    explicit Job(NUV_Numbers numbers)
        : width(1 + numbers.word() % 600),
          height(1 + numbers.byte() % 64),
          block_bytes(1 + numbers.byte())
    {
        for (Operation& operation : operations) {
            operation.kind = numbers.byte() % 5;
            for (std::uint32_t& number : operation.numbers)
                number = numbers.byte();
        }
        while (!numbers.empty())
            put(numbers);
    }

    // Half a terminator ends a line for those who read whole images, and is a run outside the line
    // for those who read line by line.
    [[nodiscard]] bool is_read_by_all_alike() const
    {
        for (std::size_t at = 0; at + NUV_QDRLERun::bytes <= records.size();
             at += NUV_QDRLERun::bytes) {
            const NUV_QDRLERun run = load_run(records.data() + at);
            if (run.start == NUV_QDRLERun::terminator && !run.is_terminator())
                return false;
        }
        return true;
    }

private:
    // Mostly a run a little behind the last one and in some lines before it, in two bytes.
    void put(NUV_Numbers& numbers)
    {
        const auto number = [&] {
            const std::uint32_t low = numbers.word();
            return low | numbers.word() << 16;
        };
        const std::uint32_t first = numbers.byte();
        if (first == 0xFD)
            return records.push_back(static_cast<std::uint8_t>(numbers.byte()));
        if (first == 0xFE) {
            const std::uint32_t start = number();
            return append_record(records, start, number());
        }
        if (first == 0xFF) {
            next_ = 0;
            return append_record(records, NUV_QDRLERun::terminator, NUV_QDRLERun::terminator);
        }
        next_ += first < 0xF0 ? first : first - 0x100;
        const std::uint32_t length = numbers.byte();
        append_record(records, next_, next_ + (length < 0xF0 ? length : length - 0x100));
        next_ += length;
    }

    std::uint32_t next_ = 0;
};

void append_operation(NUV_TestChain& chain, const Operation& operation)
{
    const auto& numbers = operation.numbers;
    if (operation.kind == 0)
        chain.append<NUV_Rotate90>(static_cast<int>(numbers[0] % 8) * 90);
    else if (operation.kind == 1)
        chain.append<NUV_Crop>(numbers[0], numbers[1], numbers[2] * 2, numbers[3]);
    else if (operation.kind == 2)
        chain.append<NUV_Not>();
    else if (operation.kind == 3)
        chain.append<NUV_ScaleNN>(numbers[0] | (numbers[2] & 3) << 8, numbers[1]);
}

// What every reader of the form may rely on, whatever damage stood before.
void check_lines(const Bytes& bytes, std::uint32_t width, std::uint32_t height)
{
    std::uint64_t free_from = 0;
    std::uint32_t lines = 0;
    for (std::size_t at = 0; at < bytes.size(); at += NUV_QDRLERun::bytes) {
        const NUV_QDRLERun run = load_run(bytes.data() + at);
        if (run.is_terminator()) {
            ++lines;
            free_from = 0;
        } else {
            require(free_from <= run.start && run.start <= run.end && run.end < width,
                    "runs out of order");
            free_from = std::uint64_t{run.end} + 2;
        }
    }
    require(bytes.size() % NUV_QDRLERun::bytes == 0 && lines <= height && free_from == 0,
            "no whole lines");
}

// Without an error there is a whole image. What stands behind the width counts as zero.
[[nodiscard]] Bytes finished(std::uint32_t width, std::uint32_t height, Bytes bytes)
{
    const std::size_t line_bytes = (std::size_t{width} + 7) / 8;
    require(bytes.size() == line_bytes * height, "not all bytes");
    for (std::size_t i = line_bytes; i <= bytes.size(); i += line_bytes)
        bytes[i - 1] = static_cast<std::uint8_t>(bytes[i - 1] & 0xFFU << (line_bytes * 8 - width));
    return bytes;
}

// The runs and the operations, on runs or, when `bits_first`, on bits. False where the runs are
// still as they came.
bool build(NUV_TestChain& chain, const Job& job, bool bits_first)
{
    chain.source_bytes(run_description(job.width, job.height), job.records, job.block_bytes);
    const NUV_Engine* const source = chain.last();
    if (bits_first) { // inverting puts runs of any kind in order, decoding does not
        chain.append<NUV_Not>();
        chain.append<NUV_Not>();
        chain.append<NUV_DecodeQDRLE>();
    }
    for (const Operation& operation : job.operations)
        append_operation(chain, operation);
    return chain.last() && chain.last() != source;
}

// The image as packed bits. Nothing after an error, and where runs as they came would be decoded:
// their order then counts.
[[nodiscard]] std::optional<Bytes> run(const Job& job, bool bits_first)
{
    NUV_TestChain chain; // which complains about whatever it leaves
    const bool is_ordered = build(chain, job, bits_first);
    if (!chain.append<NUV_DecodeQDRLE>())
        return std::nullopt;
    const std::uint32_t width = chain.header().width();
    const std::uint32_t height = chain.header().height();
    Bytes bytes = chain.run_bytes();
    if (chain.status().has_error())
        return std::nullopt;
    bytes = finished(width, height, std::move(bytes));
    return is_ordered ? std::optional(bytes) : std::nullopt;
}

void check_runs(const Job& job)
{
    NUV_TestChain chain;
    if (!build(chain, job, false))
        return;
    const std::uint32_t width = chain.header().width();
    const std::uint32_t height = chain.header().height();
    check_lines(chain.run_bytes(), width, height);
}

} // namespace
} // namespace nuv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const nuv::Job job(nuv::NUV_Numbers(data, size));
    nuv::check_runs(job);
    const auto from_runs = nuv::run(job, false);
    const bool scales = std::ranges::any_of(
        job.operations, [](const nuv::Operation& operation) { return operation.kind == 3; });
    if (!from_runs || scales || !job.is_read_by_all_alike()) // scaling runs has a rule of its own
        return 0;
    const auto from_bits = nuv::run(job, true); // may see damage behind what the runs were read for
    nuv::require(!from_bits || *from_bits == *from_runs, "bits and runs differ");
    return 0;
}
