#include "core/channel/nuv_mergechannel.h"
#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/exif/nuv_exifattributes.h"
#include "core/exifjpeg/nuv_exifjpeginfo.h"
#include "core/jfif/nuv_jfifinfo.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/pnm/nuv_pnminfo.h"
#include "core/pnm/nuv_readpnm.h"
#include "core/storage/nuv_readstorage.h"
#include "core/tiff/nuv_tiffinfo.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "framework/base/nuv_failure.h"
#include "framework/containers/nuv_vector.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_fileinputstorage.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"
#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

#include "api/source/nuv_codes.h"
#include "api/source/nuv_inputs.h"
#include "api/source/nuv_job.h"
#include "api/source/nuv_records.h"
#include "api/source/nuv_widening.h"

namespace {

using nuv::NUV_Header;
using nuv::NUV_Manager;

template <std::size_t Size>
void put_text(char (&to)[Size], std::string_view text) noexcept
{
    const std::size_t bytes = std::min(text.size(), Size - 1);
    std::copy_n(text.data(), bytes, to);
    to[bytes] = '\0';
}

void tell_jpeg(nuv_source& told, const nuv::NUV_JPEGInfo& jpeg)
{
    if (jpeg.is_lossless())
        put_text(told.coding, "lossless");
    else
        put_text(told.coding, jpeg.is_progressive() ? "progressive" : "sequential");
    told.quality = jpeg.quality_estimate();
    if (jpeg.color_type() == nuv::NUV_ColorType::ycbcr)
        told.sampling = nuv::sampling_code_of(jpeg.sampling());
}

// What the densities of a JFIF segment count (JFIF 1.02): its byte behind the version is 1 for the
// inch and 2 for the centimetre. Nothing where they tell no more than the shape of a pixel.
[[nodiscard]] std::optional<std::uint32_t> jfif_unit(const nuv::NUV_JPEGInfo& jpeg)
{
    constexpr std::string_view identifier("JFIF\0", 5);
    constexpr std::size_t unit = 7; // offset
    constexpr std::uint8_t app0 = 0xE0;

    for (std::size_t i = 0; i < jpeg.segment_count(); ++i) {
        const nuv::NUV_JPEGSegment segment = jpeg.segment(i);
        const auto payload = segment.payload;
        if (segment.marker != app0 || payload.size() <= unit ||
            !std::equal(identifier.begin(), identifier.end(), payload.begin()))
            continue;
        if (payload[unit] == 1)
            return nuv::NUV_ResolutionInfo::per_inch;
        if (payload[unit] == 2)
            return nuv::NUV_ResolutionInfo::per_centimetre;
        break;
    }
    return std::nullopt;
}

void tell_resolution(nuv_source& told, const nuv::NUV_FormatInfo& info)
{
    const nuv::NUV_ResolutionInfo& resolution = info.resolution();
    const auto* jfif = dynamic_cast<const nuv::NUV_JFIFInfo*>(&info);
    const auto unit = jfif ? jfif_unit(*jfif) : std::optional(resolution.unit);
    if (!unit || resolution.x <= 0 || resolution.y <= 0)
        return;
    told.x_resolution = resolution.x;
    told.y_resolution = resolution.y;
    told.resolution_unit = static_cast<std::int32_t>(*unit);
}

// Of a file that has Exif attributes beside those that its kind tells.
[[nodiscard]] std::uint32_t hidden_orientation(const nuv_job& job)
{
    const auto* jpeg = dynamic_cast<const nuv::NUV_JPEGInfo*>(job.info.get());
    if (!jpeg || !jpeg->is_exif())
        return 0;
    const nuv::NUV_Report before(*job.manager);
    nuv::NUV_ExifJPEGTagInfo exif(*job.manager);
    job.source->to_begin();
    const bool loaded = exif.load(job.source.get());
    job.manager->reset(); // what the attributes suffer from is not the picture's
    before.raise_again(*job.manager);
    return loaded ? exif.ifd0.orientation.value : 0;
}

// 1 to 8, or 0.
[[nodiscard]] std::int32_t orientation_of(const nuv_job& job)
{
    std::uint32_t told = 0;
    if (const auto* exif = dynamic_cast<const nuv::NUV_ExifAttributes*>(job.info.get()))
        told = exif->ifd0.orientation.value;
    else if (const auto* tiff = dynamic_cast<const nuv::NUV_TIFFInfo*>(job.info.get()))
        told = static_cast<std::uint32_t>(tiff->orientation);
    else
        told = hidden_orientation(job);
    return told >= 1 && told <= 8 ? static_cast<std::int32_t>(told) : 0;
}

[[nodiscard]] nuv_source source_of(const nuv_job& job)
{
    nuv_source told{};
    told.quality = -1;
    const NUV_Header& header = job.info ? *job.info : job.header();
    told.width = header.width();
    told.height = header.height();
    told.channels = header.channels();
    told.bits = header.bits();
    told.color = nuv::color_code_of(header.color_type());
    put_text(told.kind, job.info ? job.info->format_name() : "samples");
    put_text(told.coding, header.encode_type()->key());
    if (!job.info)
        return told;
    tell_resolution(told, *job.info);
    if (const auto* jpeg = dynamic_cast<const nuv::NUV_JPEGInfo*>(job.info.get()))
        tell_jpeg(told, *jpeg);
    told.orientation = orientation_of(job);
    return told;
}

// Behind a search in vain: a binary anymap of 16 bits, which is not among what is searched for.
// Where its pixels begin, or nothing; then the failure stands as it did.
[[nodiscard]] std::optional<std::int32_t> find_deep_anymap(nuv_job& job)
{
    if (job.manager->diagnosis().cause != nuv::NUV_Cause::unsupported)
        return std::nullopt;
    const nuv::NUV_Report before(*job.manager);
    auto anymap = nuv::make_object<nuv::NUV_PNMInfo>(*job.manager);
    if (anymap) {
        job.manager->reset();
        job.source->to_begin();
        anymap->serve_deep(true);
    }
    if (anymap && anymap->load(job.source.get())) {
        job.info = std::move(anymap);
        return job.source->position();
    }
    job.manager->reset();
    before.raise_again(*job.manager);
    return std::nullopt;
}

// Behind a search in vain: whether it is the page alone that is missing. Then of a TIFF file that
// was raised as a wrong argument, and any other kind is known for its only page; what is wrong with
// that one is else what counts.
[[nodiscard]] bool lacks_page(nuv_job& job)
{
    if (job.page == 0)
        return false;
    const nuv::NUV_Cause cause = job.manager->diagnosis().cause;
    if (cause != nuv::NUV_Cause::unknown_kind)
        return cause == nuv::NUV_Cause::bad_call;
    job.manager->reset();
    job.source->to_begin();
    const nuv::NUV_Held<nuv::NUV_FormatInfo> first(
        nuv::NUV_ReadRasterEx(*job.manager).format_info(job.source.get(), 0));
    return first || find_deep_anymap(job);
}

// "II" or "MM" and 43 where a TIFF file has 42: another format, though one that begins alike.
[[nodiscard]] bool is_bigtiff(nuv::NUV_InputStorage& source)
{
    std::uint8_t first[4] = {};
    if (!source.to_begin() || source.read(first, sizeof(first)) != std::int32_t{sizeof(first)})
        return false;
    const std::string_view is(reinterpret_cast<const char*>(first), sizeof(first));
    return is == std::string_view("II\x2B\0", 4) || is == std::string_view("MM\0\x2B", 4);
}

// Finds out what the source of the job is, and puts its reader at the head of the chain.
void read_source(nuv_job& job)
{
    NUV_Manager& manager = *job.manager;
    if (job.source)
        job.source = nuv::make_initiated<nuv::NUV_InterruptedInputStorage>(
            *job.manager, job.source.get(), job.interruption);
    if (!job.source) {
        job.take_failure();
        return;
    }
    // Before any reader takes memory on the word of a header.
    job.info.reset(nuv::NUV_ReadRasterEx(manager).format_info(job.source.get(), job.page));
    const auto deep_pixels =
        !job.info && job.page == 0 ? find_deep_anymap(job) : std::optional<std::int32_t>();
    if (!job.info) {
        if (is_bigtiff(*job.source))
            job.refuse(NUV_UNSUPPORTED, "The source is of a kind that is not served: BigTIFF.");
        else if (lacks_page(job))
            job.refuse(NUV_BAD_CALL, "There is no page %u in the source.", job.page);
        else
            job.take_failure();
        return;
    }
    job.source_lines = job.info->height();
    job.facts = source_of(job);
    if (!job.allows_size(job.info->width(), job.info->height()))
        return;
    nuv::NUV_Engine* reader = nullptr;
    if (deep_pixels && job.source->to(*deep_pixels)) {
        const auto* anymap = dynamic_cast<const nuv::NUV_PNMInfo*>(job.info.get());
        reader = nuv::NUV_ReadPNM(manager).engine(job.source.get(), anymap);
    } else if (job.source->to_begin()) {
        reader = nuv::NUV_ReadRasterEx(manager).engine(job.source.get(), job.page);
    }
    if (reader)
        reader = nuv::NUV_DecodeToRaw(manager).engine(reader);
    const std::uint32_t largest = nuv::largest_stored_sample(*job.info);
    if (reader && largest != 0)
        reader = nuv::widen_samples(manager, reader, largest);
    if (!reader) {
        job.take_failure();
        return;
    }
    job.last = reader;
    job.is_source_alone = true;
    job.stage = JobStage::opened;
    const std::uint32_t lines = job.header().height();
    static_cast<void>(job.allows_size(job.header().width(), lines));
    // The streams of a TIFF file tell their own heights, which may add up to less than its.
    if (lines < job.source_lines) {
        job.missing_lines = job.source_lines - lines;
        manager.note_damage(nuv::NUV_Diagnosis().on_line(lines));
    }
}

// Of more bytes than positions can tell.
void refuse_count(nuv_job& job, const char* what, std::uint64_t bytes) noexcept
{
    job.note_limit(NUV_PASSED_COUNT);
    job.refuse(NUV_LIMIT, "%s has %llu bytes, which is more than can be counted.", what,
               static_cast<unsigned long long>(bytes));
}

[[nodiscard]] bool is_countable(nuv_job& job, std::size_t bytes)
{
    if (bytes == 0)
        job.refuse(NUV_UNKNOWN_KIND, "The source is empty.");
    else if (bytes > static_cast<std::size_t>(nuv::last_stream_position))
        refuse_count(job, "The source", bytes);
    return job.status == NUV_OK;
}

void open_bytes(nuv_job& job, const std::uint8_t* data, std::size_t bytes)
{
    if (!is_countable(job, bytes))
        return;
    job.source = nuv::make_initiated<nuv::NUV_ByteArrayInputStorage>(
        *job.manager, data, static_cast<std::int32_t>(bytes));
    read_source(job);
}

// All that the function gives. False after a failure.
[[nodiscard]] bool read_to_end(nuv_job& job, nuv_read read, void* user, std::size_t& filled)
{
    constexpr std::size_t first_bytes = 65536;

    while (filled <= static_cast<std::size_t>(nuv::last_stream_position)) {
        if (filled == job.stream.size()) {
            nuv::NUV_Scratch<std::uint8_t> larger;
            if (!larger.allocate(*job.manager, std::max(first_bytes, filled + filled / 2))) {
                job.take_failure();
                return false;
            }
            std::copy_n(job.stream.data(), filled, larger.data());
            job.stream.swap(larger);
        }
        if (job.interruption.wants_end()) {
            job.take_interruption();
            return false;
        }
        const std::size_t room = job.stream.size() - filled;
        const std::ptrdiff_t got = read(user, job.stream.data() + filled, room);
        if (got == 0)
            return true;
        if (got < 0 || static_cast<std::size_t>(got) > room) {
            job.refuse(NUV_IO, "The source cannot be read: the function that gives it failed.");
            return false;
        }
        filled += static_cast<std::size_t>(got);
    }
    return true;
}

// What the caller's samples are; nothing for what no picture of samples can be.
[[nodiscard]] bool describe(nuv_job& job, const nuv_picture* is, NUV_Header& header,
                            const char* name)
{
    const nuv::NUV_ColorType* const color =
        nuv::is_record(is) ? nuv::color_tag_of(is->color) : nullptr;
    const bool known = color && is->type == NUV_UNSIGNED && is->palette_entries == 0 &&
                       (is->bits == 1 || is->bits == 8 || is->bits == 16 || is->bits == 32);
    if (known) {
        header.width(is->width);
        header.height(is->height);
        header.channels(is->channels);
        header.bits(is->bits);
        header.color_type(color);
    }
    if (!known || !header.is_valid()) {
        job.refuse(NUV_BAD_CALL, "%s(): the record describes no samples that can be read.", name);
        return false;
    }
    job.source_lines = is->height;
    if (!job.allows_size(is->width, is->height))
        return false;
    if (header.checked_plane_bytes())
        return true;
    job.note_limit(NUV_PASSED_COUNT);
    job.refuse(NUV_LIMIT, "%s(): the picture has more bytes than can be counted.", name);
    return false;
}

// One picture, or one plane of it, from the caller's memory. Null after a failure.
[[nodiscard]] nuv::NUV_Engine* read_samples(nuv_job& job, const void* data, std::size_t stride,
                                            const NUV_Header& header, const char* name)
{
    const std::size_t line = header.line_bytes();
    const std::size_t step = stride == 0 ? line : stride;
    if (step < line) {
        job.refuse(NUV_BAD_CALL, "%s(): lines of %zu bytes do not go into a stride of %zu.", name,
                   line, stride);
        return nullptr;
    }
    constexpr auto most = static_cast<std::size_t>(nuv::last_stream_position);
    const std::size_t gaps = header.height() - 1;
    if (gaps != 0 && step > (most - line) / gaps) {
        job.note_limit(NUV_PASSED_COUNT);
        job.refuse(NUV_LIMIT, "%s(): the picture has more bytes than can be counted.", name);
        return nullptr;
    }
    // Our hold on the storage ends here; the engine has its own.
    const auto storage = nuv::make_initiated<nuv::NUV_ByteArrayInputStorage>(
        *job.manager, static_cast<const std::uint8_t*>(data),
        static_cast<std::int32_t>(gaps * step + line));
    constexpr std::int32_t host_order = 1;
    nuv::NUV_Engine* reader = storage
                                  ? nuv::NUV_ReadStorage(*job.manager)
                                        .engine(storage.get(), &header, 0,
                                                static_cast<std::int32_t>(step - line), host_order)
                                  : nullptr;
    if (!reader)
        job.take_failure();
    return reader;
}

// One picture, line by line from the caller. Null after a failure.
[[nodiscard]] nuv::NUV_Engine* read_lines(nuv_job& job, nuv_give_line give, void* user,
                                          const NUV_Header& header)
{
    constexpr std::int32_t host_order = 1;

    const std::uint64_t bytes = std::uint64_t{header.line_bytes()} * header.height();
    if (bytes > static_cast<std::uint64_t>(nuv::last_stream_position)) {
        refuse_count(job, "The picture", bytes);
        return nullptr;
    }
    const auto lines = nuv::make_initiated<nuv::NUV_LineInputStorage>(
        *job.manager, give, user, header.line_bytes(), header.height());
    nuv::NUV_Engine* reader =
        lines ? nuv::NUV_ReadStorage(*job.manager).engine(lines.get(), &header, 0, 0, host_order)
              : nullptr;
    if (!reader)
        job.take_failure();
    return reader;
}

// One picture, or one channel of it, that lies as such in a file from `offset` on. Null after a
// failure.
[[nodiscard]] nuv::NUV_Engine* read_file(nuv_job& job, const NUV_Header& header,
                                         std::uint32_t offset)
{
    constexpr std::int32_t host_order = 1;

    const auto part =
        nuv::make_initiated<nuv::NUV_MoveInMoveOutInputStorage>(*job.manager, job.source.get());
    nuv::NUV_Engine* reader =
        part ? nuv::NUV_ReadStorage(*job.manager)
                   .engine(part.get(), &header, static_cast<std::int32_t>(offset), 0, host_order)
             : nullptr;
    if (!reader)
        job.take_failure();
    return reader;
}

// False after a failure: the file does not have all that the samples take.
[[nodiscard]] bool has_all(nuv_job& job, std::uint64_t bytes)
{
    if (!job.source) {
        job.take_failure();
        return false;
    }
    const std::int32_t is = job.source->size();
    if (is >= 0 && static_cast<std::uint64_t>(is) >= bytes)
        return true;
    job.refuse(NUV_DAMAGED, "The source is damaged: it has %d of the %llu bytes of its samples.",
               int{is}, static_cast<unsigned long long>(bytes));
    return false;
}

// The channels as one picture; `of(i)` reads one of them. Null after a failure.
template <class Read>
[[nodiscard]] nuv::NUV_Engine* merge(nuv_job& job, const nuv_picture& is, const char* name, Read of)
{
    nuv::NUV_Vector<nuv::NUV_Engine*> readers(*job.manager);
    for (std::uint16_t i = 0; i < is.channels; ++i) {
        nuv::NUV_Engine* reader = of(i);
        if (!reader)
            return nullptr;
        if (!readers.push_back(reader)) {
            job.take_failure();
            return nullptr;
        }
    }
    job.last = readers[0]; // which a refusal describes
    const bool merged = job.append(
        name,
        nuv::NUV_MergeChannel(*job.manager).engine(readers.items(), nuv::color_tag_of(is.color)));
    return merged ? job.last : nullptr;
}

// One channel of what `header` describes.
void describe_plane(NUV_Header& header)
{
    header.channels(1);
    header.color_type(nuv::NUV_ColorType::unknown);
}

void begin_with(nuv_job& job, nuv::NUV_Engine* reader)
{
    if (!reader)
        return;
    job.last = reader;
    job.facts = source_of(job);
    job.stage = JobStage::opened;
}

} // namespace

nuv_status nuv_page(nuv_job* job, uint32_t page)
{
    return nuv::guarded(job, [page](nuv_job& it) {
        if (it.must_be(JobStage::fresh, "nuv_page"))
            it.page = page;
    });
}

nuv_status nuv_open_file(nuv_job* job, const char* path)
{
    return nuv::guarded(job, [path](nuv_job& it) {
        if (!it.must_be(JobStage::fresh, "nuv_open_file"))
            return;
        if (!path) {
            it.refuse(NUV_BAD_CALL, "nuv_open_file(): there is no path.");
            return;
        }
        it.source = nuv::make_initiated<nuv::NUV_FileInputStorage>(*it.manager, path);
        read_source(it);
    });
}

nuv_status nuv_open_memory(nuv_job* job, const void* data, size_t bytes)
{
    return nuv::guarded(job, [data, bytes](nuv_job& it) {
        if (!it.must_be(JobStage::fresh, "nuv_open_memory"))
            return;
        if (!data)
            it.refuse(NUV_BAD_CALL, "nuv_open_memory(): there is no data.");
        else
            open_bytes(it, static_cast<const std::uint8_t*>(data), bytes);
    });
}

nuv_status nuv_open_stream(nuv_job* job, nuv_read read, void* user)
{
    return nuv::guarded(job, [read, user](nuv_job& it) {
        if (!it.must_be(JobStage::fresh, "nuv_open_stream"))
            return;
        std::size_t bytes = 0;
        if (!read)
            it.refuse(NUV_BAD_CALL, "nuv_open_stream(): there is no function.");
        else if (read_to_end(it, read, user, bytes))
            open_bytes(it, it.stream.data(), bytes);
    });
}

nuv_status nuv_open_samples(nuv_job* job, const void* data, size_t stride, const nuv_picture* is)
{
    constexpr auto name = "nuv_open_samples";

    return nuv::guarded(job, [=](nuv_job& it) {
        NUV_Header header(*it.manager);
        if (!it.must_be(JobStage::fresh, name) || !describe(it, is, header, name))
            return;
        if (!data)
            it.refuse(NUV_BAD_CALL, "%s(): there is no data.", name);
        else
            begin_with(it, read_samples(it, data, stride, header, name));
    });
}

nuv_status nuv_open_planes(nuv_job* job, const void* const* planes, size_t stride,
                           const nuv_picture* is)
{
    constexpr auto name = "nuv_open_planes";

    return nuv::guarded(job, [=](nuv_job& it) {
        NUV_Header header(*it.manager);
        if (!it.must_be(JobStage::fresh, name) || !describe(it, is, header, name))
            return;
        if (!planes || std::find(planes, planes + is->channels, nullptr) != planes + is->channels) {
            it.refuse(NUV_BAD_CALL, "%s(): a plane is missing.", name);
            return;
        }
        describe_plane(header);
        begin_with(it, merge(it, *is, name, [&](std::uint16_t i) {
                       return read_samples(it, planes[i], stride, header, name);
                   }));
    });
}

nuv_status nuv_open_lines(nuv_job* job, nuv_give_line give, void* user, const nuv_picture* is)
{
    constexpr auto name = "nuv_open_lines";

    return nuv::guarded(job, [=](nuv_job& it) {
        NUV_Header header(*it.manager);
        if (!it.must_be(JobStage::fresh, name) || !describe(it, is, header, name))
            return;
        if (!give)
            it.refuse(NUV_BAD_CALL, "%s(): there is no function.", name);
        else
            begin_with(it, read_lines(it, give, user, header));
    });
}

nuv_status nuv_open_samples_file(nuv_job* job, const char* path, const nuv_picture* is, int planar)
{
    constexpr auto name = "nuv_open_samples_file";

    return nuv::guarded(job, [=](nuv_job& it) {
        NUV_Header header(*it.manager);
        if (!it.must_be(JobStage::fresh, name) || !describe(it, is, header, name))
            return;
        if (!path) {
            it.refuse(NUV_BAD_CALL, "%s(): there is no path.", name);
            return;
        }
        const bool is_parted = planar != 0 && is->channels > 1;
        if (is_parted)
            describe_plane(header);
        const std::uint64_t part_bytes = std::uint64_t{header.line_bytes()} * is->height;
        const std::uint64_t bytes = part_bytes * (is_parted ? is->channels : 1U);
        if (bytes > static_cast<std::uint64_t>(nuv::last_stream_position)) {
            refuse_count(it, "The picture", bytes);
            return;
        }
        it.source = nuv::make_initiated<nuv::NUV_FileInputStorage>(*it.manager, path);
        if (!has_all(it, bytes))
            return;
        if (!is_parted) {
            begin_with(it, read_file(it, header, 0));
            return;
        }
        begin_with(it, merge(it, *is, name, [&](std::uint16_t i) {
                       return read_file(it, header, static_cast<std::uint32_t>(part_bytes * i));
                   }));
    });
}

nuv_status nuv_look(nuv_job* job, nuv_picture* out)
{
    // Whatever is wrong with the record is no reason to take the result away.
    if (job && job->status == NUV_OK && job->stage == JobStage::done)
        return nuv::hand_out(job->left, out) ? NUV_OK : NUV_BAD_CALL;
    return nuv::guarded(job, [out](nuv_job& it) {
        if (it.stage != JobStage::formed && !it.must_be(JobStage::opened, "nuv_look"))
            return;
        if (!nuv::hand_out(nuv::picture_of(it.header()), out))
            it.refuse(NUV_BAD_CALL, "nuv_look(): the record has no size that one can have.");
    });
}

nuv_status nuv_source_info(nuv_job* job, nuv_source* out)
{
    if (job && job->status != NUV_OK && job->facts.kind[0] != '\0')
        static_cast<void>(nuv::hand_out(job->facts, out));
    return nuv::guarded(job, [out](nuv_job& it) {
        if (it.stage == JobStage::fresh)
            static_cast<void>(it.must_be(JobStage::opened, "nuv_source_info"));
        else if (!nuv::hand_out(it.facts, out))
            it.refuse(NUV_BAD_CALL, "nuv_source_info(): the record has no size that one can have.");
    });
}
