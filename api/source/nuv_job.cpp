#include "api/source/nuv_job.h"

#include "framework/base/nuv_cpu.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_version.h"
#include "framework/manager/nuv_createmanager.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "api/source/nuv_codes.h"
#include "api/source/nuv_records.h"

namespace {

using nuv::NUV_Cause;
using nuv::NUV_Diagnosis;

// The last byte of the framework's number counts what users do not see.
static_assert(nuv::api_header_version == nuv::NUV_VERSION >> 8);

constexpr std::uint32_t default_side = 1U << 20;
constexpr std::uint64_t default_pixels = std::uint64_t{1} << 28;
constexpr std::uint64_t default_memory = std::uint64_t{1} << 30;

nuv_limits defaults() noexcept
{
    nuv_limits limits{};
    limits.size = sizeof(limits);
    limits.width = default_side;
    limits.height = default_side;
    limits.pixels = default_pixels;
    limits.memory_bytes = default_memory;
    return limits;
}

nuv_failure no_failure() noexcept
{
    nuv_failure failure{};
    failure.size = sizeof(failure);
    failure.byte = NUV_Diagnosis::unknown;
    failure.line = NUV_Diagnosis::unknown;
    return failure;
}

// Both forms of strerror_r(), as the C library has it.
[[maybe_unused]] const char* told(int /*result*/, const char* text) noexcept
{
    return text;
}
[[maybe_unused]] const char* told(const char* result, const char* /*text*/) noexcept
{
    return result;
}

// The reason behind "- ", where a status has one. Who raised it tells a user nothing.
std::string_view reason_of(const nuv::NUV_Status& status) noexcept
{
    std::string_view text = status.method;
    const auto dash = text.find("- ");
    text.remove_prefix(dash == std::string_view::npos ? text.size() : dash + 2);
    text.remove_suffix(text.ends_with('.') ? 1 : 0);
    return text;
}

const char* beginning_of(const NUV_Diagnosis& why) noexcept
{
    switch (why.cause) {
    case NUV_Cause::cancelled:
        return "The job was cancelled";
    case NUV_Cause::no_memory:
        return "There is not enough memory";
    case NUV_Cause::limit:
        return "A limit of the job is passed";
    case NUV_Cause::io:
        return why.in_destination ? "The result cannot be written" : "The source cannot be read";
    case NUV_Cause::unknown_kind:
        return "The source is no picture of a kind that is known";
    case NUV_Cause::unsupported:
        return "The source is of a kind that is not served";
    case NUV_Cause::damaged:
        return "The source is damaged";
    default:
        return "The source breaks the rules of its kind";
    }
}

} // namespace

nuv_job::nuv_job(const nuv_limits& asked) noexcept : limits(asked), failure(no_failure())
{
    constexpr std::uint64_t most = std::numeric_limits<std::size_t>::max();
    memory.limit = static_cast<std::size_t>(std::min(asked.memory_bytes, most));
}

nuv_job::~nuv_job()
{
    try {
        interruption.ask(nullptr, nullptr); // the caller has what it asks no more
        reader.reset();
        room.reset();
        result.reset();
        info.reset();
        source.reset();
        stream.free();
        if (manager)
            manager->clear();
        nuv::destroy_manager(manager);
    } catch (...) {
        // There is nobody left to tell.
    }
}

void nuv_job::note_limit(nuv_passed_limit limit) noexcept
{
    if (status == NUV_OK)
        failure.limit = limit;
}

void nuv_job::refuse(nuv_status with, const char* format, ...) noexcept
{
    if (status != NUV_OK)
        return;
    status = with;
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message.data(), message.size(), format, arguments);
    va_end(arguments);
}

void nuv_job::take_interruption() noexcept
{
    if (status != NUV_OK)
        return;
    failure = no_failure();
    refuse(NUV_CANCELLED, "The job was cancelled.");
}

void nuv_job::take_failure() noexcept
{
    if (interruption.has_come()) {
        take_interruption();
        return;
    }
    NUV_Diagnosis why = manager->diagnosis();
    if (!manager->status().has_error())
        why = NUV_Diagnosis().because(NUV_Cause::damaged).says("it ends early");
    if (why.cause == NUV_Cause::bad_call)
        why.cause = NUV_Cause::invalid; // what a header says does not fit together
    // A place that the file does not reach, and a part that is not what the whole says it is.
    const bool is_beyond =
        why.cause == NUV_Cause::io && why.system_error == 0 && !why.in_destination;
    const bool is_part = why.cause == NUV_Cause::unknown_kind && info;
    if (why.text[0] == '\0' && (is_beyond || is_part))
        why.cause = NUV_Cause::damaged;
    if (why.cause == NUV_Cause::limit) {
        const bool is_memory = manager->status().code == nuv::NUV_ERR_MEMORY;
        note_limit(is_memory ? NUV_PASSED_MEMORY : NUV_PASSED_COUNT);
    }
    if (status == NUV_OK) {
        failure.in_destination = why.in_destination ? 1 : 0;
        failure.system_error = why.system_error;
        failure.byte = why.byte;
        failure.line = why.line;
    }
    char reason[128] = "";
    if (why.text[0] != '\0') {
        std::snprintf(reason, sizeof(reason), ": %s", why.text);
    } else if (why.system_error != 0) {
        char text[128] = "";
        std::snprintf(reason, sizeof(reason), ": %s",
                      told(strerror_r(why.system_error, text, sizeof(text)), text));
    } else if (why.cause != NUV_Cause::no_memory) {
        const std::string_view text = reason_of(manager->status());
        if (!text.empty())
            std::snprintf(reason, sizeof(reason), ": %.*s", static_cast<int>(text.size()),
                          text.data());
        else if (info && why.cause != NUV_Cause::damaged)
            std::snprintf(reason, sizeof(reason), ": %u x %u pixels, %u x %u bits, %s, %s",
                          info->width(), info->height(), unsigned{info->channels()},
                          unsigned{info->bits()}, nuv::color_name_of(info->color_type()),
                          info->encode_type()->key());
    }
    char place[64] = "";
    if (why.byte >= 0 && why.cause != NUV_Cause::limit && why.cause != NUV_Cause::unknown_kind) {
        std::snprintf(place, sizeof(place), ", at byte %lld", static_cast<long long>(why.byte));
    } else if (why.line >= 0 && source_lines != 0 && why.text[0] == '\0') {
        std::snprintf(place, sizeof(place), ", in line %lld of %u",
                      static_cast<long long>(why.line) + 1, source_lines);
    }
    refuse(nuv::status_of(why.cause), "%s%s%s.", beginning_of(why), reason, place);
}

void nuv_job::take_refusal(const char* name) noexcept
{
    const NUV_Cause cause = manager->diagnosis().cause;
    const bool is_serving = cause == NUV_Cause::unsupported || cause == NUV_Cause::invalid;
    if (!is_serving && cause != NUV_Cause::bad_call) {
        take_failure();
        return;
    }
    const nuv::NUV_Header& is = header();
    refuse(is_serving ? NUV_UNSUPPORTED : NUV_BAD_CALL,
           is_serving ? "%s() does not serve such a picture: %u x %u pixels, %u x %u bits, %s%s."
                      : "%s(): the arguments do not fit a picture of %u x %u pixels, %u x %u bits, "
                        "%s%s.",
           name, is.width(), is.height(), unsigned{is.channels()}, unsigned{is.bits()},
           nuv::color_name_of(is.color_type()), is.palette().is_empty() ? "" : ", with a palette");
}

void nuv_job::take_exception() noexcept
{
    if (manager && manager->status().has_error())
        take_failure();
    else
        refuse(NUV_NO_MEMORY, "There is not enough memory.");
}

void nuv_job::note_damage() noexcept
{
    const nuv::NUV_Damage& damage = manager->damage();
    if (damage.count == 0 || status != NUV_OK)
        return;
    const auto line = static_cast<long long>(std::max<std::int64_t>(damage.first_line, 0) + 1);
    if (limits.strict != 0) {
        failure.line = line - 1;
        refuse(NUV_DAMAGED, "The source is damaged from line %lld of %u on.", line, source_lines);
        return;
    }
    std::snprintf(message.data(), message.size(),
                  "The source is damaged from line %lld of %u on; what is lost %s.", line,
                  source_lines, line + missing_lines > source_lines ? "is missing" : "was made up");
}

bool nuv_job::must_be(JobStage wanted, const char* name) noexcept
{
    if (stage == wanted)
        return true;
    const char* reason = "it comes too late";
    if (stage == JobStage::fresh)
        reason = "nothing is open yet";
    else if (wanted == JobStage::fresh)
        reason = "a source is open already";
    else if (wanted == JobStage::formed && stage == JobStage::opened)
        reason = "no form of the result is chosen";
    refuse(NUV_BAD_CALL, "%s(): %s.", name, reason);
    return false;
}

bool nuv_job::allows_size(std::uint64_t width, std::uint64_t height) noexcept
{
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    if ((limits.width != 0 && width > limits.width) ||
        (limits.height != 0 && height > limits.height)) {
        note_limit(NUV_PASSED_SIDE);
        refuse(NUV_LIMIT, "A limit of the job is passed: %llu x %llu pixels, %u x %u are allowed.",
               number(width), number(height), limits.width, limits.height);
        return false;
    }
    if (limits.pixels != 0 && width != 0 && height > limits.pixels / width) {
        note_limit(NUV_PASSED_PIXELS);
        refuse(NUV_LIMIT, "A limit of the job is passed: %llu x %llu pixels, %llu are allowed.",
               number(width), number(height), number(limits.pixels));
        return false;
    }
    return true;
}

void nuv_job::let_go_of_source() noexcept
{
    info.reset();
    source.reset();
    stream.free();
}

bool nuv_job::append(const char* name, nuv::NUV_Engine* next) noexcept
{
    if (!next || !next->header()) {
        take_refusal(name);
        return false;
    }
    if (next != last)
        is_source_alone = false;
    last = next;
    return allows_size(header().width(), header().height());
}

uint32_t nuv_version(void)
{
    return nuv::api_header_version;
}

const char* nuv_build_info(void)
{
    struct Info {
        Info() noexcept
        {
            const nuv::NUV_Cpu& cpu = nuv::NUV_Cpu::current();
            const char* forms = "portable";
            if (cpu.has_avx512vbmi)
                forms = "AVX-512 VBMI";
            else if (cpu.has_avx2)
                forms = "AVX2";
            else if (cpu.has_sse2)
                forms = "SSE2";
#if defined(__clang__)
            constexpr auto compiler = "clang " __clang_version__;
#else
            constexpr auto compiler = "g++ " __VERSION__;
#endif
            std::snprintf(text.data(), text.size(),
                          "nuv %u.%u.%u, %s; forms: %s; libpng %s, zlib %s",
                          nuv::api_header_version >> 16, nuv::api_header_version >> 8 & 255U,
                          nuv::api_header_version & 255U, compiler, forms,
                          png_get_libpng_ver(nullptr), zlibVersion());
        }
        std::array<char, 256> text{};
    };
    static const Info info;
    return info.text.data();
}

nuv_status nuv_default_limits(nuv_limits* limits)
{
    return nuv::hand_out(defaults(), limits) ? NUV_OK : NUV_BAD_CALL;
}

nuv_job* nuv_new(const nuv_limits* limits)
{
    if (limits && !nuv::is_record(limits))
        return nullptr;
    auto* job = new (std::nothrow) nuv_job(limits ? *limits : defaults());
    if (!job)
        return nullptr;
    try {
        job->manager = nuv::create_manager(job->memory, &job->interruption);
    } catch (...) {
        // As without memory.
    }
    if (job->manager) {
        job->manager->mends(true);
        return job;
    }
    delete job;
    return nullptr;
}

void nuv_free(nuv_job* job)
{
    delete job;
}

nuv_status nuv_state(const nuv_job* job)
{
    return job ? job->status : NUV_BAD_CALL;
}

const char* nuv_message(const nuv_job* job)
{
    return job ? job->message.data() : "There is no job.";
}

nuv_status nuv_cancel_when(nuv_job* job, nuv_wants_end wants_end, void* user)
{
    return nuv::guarded(job, [=](nuv_job& it) { it.interruption.ask(wants_end, user); });
}

nuv_status nuv_why(const nuv_job* job, nuv_failure* out)
{
    if (!job)
        return NUV_BAD_CALL;
    nuv_failure told = job->failure;
    told.status = job->status;
    return nuv::hand_out(told, out) ? NUV_OK : NUV_BAD_CALL;
}

int64_t nuv_first_damaged_line(const nuv_job* job)
{
    if (!job || job->manager->damage().count == 0)
        return -1;
    return std::max<std::int64_t>(job->manager->damage().first_line, 0);
}

uint64_t nuv_memory_peak(const nuv_job* job)
{
    return job ? job->memory.peak : 0;
}
