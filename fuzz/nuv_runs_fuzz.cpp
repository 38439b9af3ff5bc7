// Run data of any kind through chains of the operations on it. What comes out has to be a whole
// image or an error, and the same image that the operations give on packed bits.
//
// The input: width (2 bytes), height, block size and three operations of five bytes, then records.

#include "core/crop/nuv_crop.h"
#include "core/operation/nuv_not.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/qdrle/nuv_qdrlerun.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalenn.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_generateengine.h"
#include "framework/engine/nuv_writeengine.h"
#include "framework/manager/nuv_createmanager.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What the numbers are taken from; zeros behind the end.
class Numbers {
public:
    Numbers(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

    [[nodiscard]] bool empty() const { return left_.empty(); }
    std::uint32_t byte()
    {
        if (left_.empty())
            return 0;
        const std::uint32_t value = left_.front();
        left_ = left_.subspan(1);
        return value;
    }
    std::uint32_t word() { return byte() | byte() << 8; }

private:
    std::span<const std::uint8_t> left_;
};

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

    explicit Job(Numbers numbers)
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
            append_record(numbers);
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
    void put(std::uint32_t start, std::uint32_t end)
    {
        records.resize(records.size() + NUV_QDRLERun::bytes);
        store_run(records.data() + records.size() - NUV_QDRLERun::bytes, {start, end});
    }
    // Mostly a run a little behind the last one and in some lines before it, in two bytes.
    void append_record(Numbers& numbers)
    {
        const std::uint32_t first = numbers.byte();
        if (first == 0xFF) {
            put(NUV_QDRLERun::terminator, NUV_QDRLERun::terminator);
            next_ = 0;
            return;
        }
        if (first == 0xFE) {
            const std::uint32_t start = numbers.word() | numbers.word() << 16;
            put(start, numbers.word() | numbers.word() << 16);
            return;
        }
        if (first == 0xFD) {
            records.push_back(static_cast<std::uint8_t>(numbers.byte()));
            return;
        }
        next_ += first < 0xF0 ? first : first - 0x100;
        const std::uint32_t length = numbers.byte();
        put(next_, next_ + (length < 0xF0 ? length : length - 0x100));
        next_ += length;
    }

    std::uint32_t next_ = 0;
};

class SourceEngine final : public NUV_GenerateEngine {
public:
    using NUV_GenerateEngine::NUV_GenerateEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                std::span<const std::uint8_t> bytes, std::uint32_t block_bytes)
    {
        left_ = bytes;
        return NUV_GenerateEngine::initiate(header, dst) && dst->block_bytes(block_bytes);
    }
    [[nodiscard]] bool execute() override
    {
        const std::size_t count = std::min<std::size_t>(left_.size(), dst_buffer_->block_bytes());
        void* out = count > 0 ? dst_buffer_->get() : nullptr;
        if (!out)
            return false;
        std::memcpy(out, left_.data(), count);
        left_ = left_.subspan(count);
        return dst_buffer_->release(static_cast<std::uint32_t>(count));
    }

private:
    std::span<const std::uint8_t> left_;
};

class SinkEngine final : public NUV_NoOutputEngine, public NUV_BufferInputEngine {
public:
    explicit SinkEngine(NUV_Manager& manager)
        : NUV_NoOutputEngine(manager),
          NUV_BufferInputEngine(manager)
    {}
    bool cleanup() override { return NUV_BufferInputEngine::cleanup(initiated()); }
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_OutputStorage*,
                                Bytes* bytes)
    {
        bytes_ = bytes;
        return NUV_NoOutputEngine::initiate() && NUV_BufferInputEngine::initiate(header, src);
    }
    [[nodiscard]] bool execute() override
    {
        std::uint32_t count = 0;
        const auto* block = static_cast<const std::uint8_t*>(src_buffer_->get(&count));
        if (!block)
            return false;
        bytes_->insert(bytes_->end(), block, block + count);
        return src_buffer_->release();
    }

private:
    Bytes* bytes_ = nullptr;
};

class Chain final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // The image as packed bits, after the operations on runs or, when `bits_first`, on bits.
    // Nothing after an error, and where runs as they came would be decoded: their order then
    // counts.
    [[nodiscard]] std::optional<Bytes> run(const Job& job, bool bits_first)
    {
        NUV_Header header(manager());
        header.width(job.width);
        header.height(job.height);
        header.channels(1);
        header.bits(1);
        header.encode_type(NUV_EncodeType::qd_rle);
        NUV_Engine* last = append_generator<SourceEngine>(
            &header, std::span<const std::uint8_t>(job.records), job.block_bytes);
        const NUV_Engine* const source = last;
        if (bits_first) { // inverting puts runs of any kind in order, decoding does not
            last = NUV_Not(manager()).engine(NUV_Not(manager()).engine(last));
            last = NUV_DecodeQDRLE(manager()).engine(last);
        }
        for (const Operation& operation : job.operations)
            last = append_operation(last, operation);
        const bool is_ordered = last != source;
        last = NUV_DecodeQDRLE(manager()).engine(last);
        Bytes bytes;
        NUV_Engine* sink = last ? append_writer<SinkEngine>(*last, nullptr, &bytes) : nullptr;
        if (!sink)
            return std::nullopt;
        NUV_Header result(manager());
        if (!result.copy(*last->header()))
            return std::nullopt;
        while (sink->execute()) {
        }
        sink->end();
        if (manager().status().has_error())
            return std::nullopt;
        bytes = finished(result, std::move(bytes));
        return is_ordered ? std::optional(bytes) : std::nullopt;
    }

private:
    [[nodiscard]] NUV_Engine* append_operation(NUV_Engine* last, const Operation& operation)
    {
        const auto& numbers = operation.numbers;
        switch (operation.kind) {
        case 0:
            return NUV_Rotate90(manager()).engine(last, static_cast<int>(numbers[0] % 8) * 90);
        case 1:
            return NUV_Crop(manager()).engine(last, numbers[0], numbers[1], numbers[2] * 2,
                                              numbers[3]);
        case 2:
            return NUV_Not(manager()).engine(last);
        case 3:
            return NUV_ScaleNN(manager()).engine(last, numbers[0] | (numbers[2] & 3) << 8,
                                                 numbers[1]);
        default:
            return last;
        }
    }

    // Without an error there is a whole image. What stands behind the width counts as zero.
    [[nodiscard]] static Bytes finished(const NUV_Header& header, Bytes bytes)
    {
        const std::size_t line_bytes = header.line_bytes();
        if (bytes.size() != line_bytes * header.height()) {
            std::fprintf(stderr, "%zu bytes of an image of %ux%u\n", bytes.size(), header.width(),
                         header.height());
            std::abort();
        }
        const unsigned pad = static_cast<unsigned>(line_bytes * 8 - header.width());
        for (std::size_t i = line_bytes; i <= bytes.size(); i += line_bytes)
            bytes[i - 1] = static_cast<std::uint8_t>(bytes[i - 1] & 0xFFU << pad);
        return bytes;
    }
};

[[nodiscard]] std::optional<Bytes> run(const Job& job, bool bits_first)
{
    NUV_Manager* manager = create_manager(0);
    std::optional<Bytes> bytes;
    if (manager)
        bytes = Chain(*manager).run(job, bits_first);
    destroy_manager(manager);
    return bytes;
}

} // namespace
} // namespace nuv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const nuv::Job job(nuv::Numbers(data, size));
    const auto from_runs = nuv::run(job, false);
    const bool scales = std::ranges::any_of(
        job.operations, [](const nuv::Operation& operation) { return operation.kind == 3; });
    if (!from_runs || scales || !job.is_read_by_all_alike()) // scaling runs has a rule of its own
        return 0;
    const auto from_bits = nuv::run(job, true); // may see damage behind what the runs were read for
    if (from_bits && *from_bits != *from_runs) {
        std::fputs("bits and runs differ\n", stderr);
        std::abort();
    }
    return 0;
}
