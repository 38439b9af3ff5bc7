/* nuv from C: C99, and C++11 or later.
 *
 * A job reads one picture, does operations with it in the order in which they are called, and
 * writes it. Until it runs no pixel moves; a job holds some lines of the picture at a time, but for
 * operations that say otherwise. Each call checks at once whether the picture as it then is can be
 * served.
 *
 *     nuv_job* job = nuv_new(NULL);
 *     nuv_open_file(job, "scan.tif");
 *     nuv_fit(job, NUV_FINE, 256, 256, 0);
 *     nuv_as_jpeg(job, 85, NUV_SAMPLING_DEFAULT);
 *     if (nuv_run_to_file(job, "thumb.jpg", NULL, NULL) != NUV_OK)
 *         fprintf(stderr, "%s\n", nuv_message(job));
 *     nuv_free(job);
 *
 * Calls answer NUV_OK or what went wrong. The first failure stays: every later call on that job
 * does nothing and answers it too, so that it is enough to look at the last one. nuv_message()
 * tells it in a sentence. A null where something must be is NUV_BAD_CALL, and a null job answers
 * that to every call.
 *
 * Nothing here throws, prints, ends the program, or is global. Jobs are independent; one job
 * belongs to one thread at a time. Functions that the caller gives must not throw, nor use the job
 * they are called from.
 *
 * Sizes are in pixels and lines; positions count from the upper left corner, from 0. Samples of 16
 * bits and more are in the order of the machine's bytes. Records begin with their own size in bytes
 * as the caller knows it: set it to sizeof the record before the call.
 */
#ifndef NUV_H
#define NUV_H

#include <stddef.h>
#include <stdint.h>

/* Of this header: major, minor and patch number, a byte each. */
#define NUV_VERSION 0x010402

#if defined(__GNUC__)
#    define NUV_API __attribute__((visibility("default")))
#else
#    define NUV_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct nuv_job nuv_job;

typedef enum nuv_status {
    NUV_OK = 0,
    NUV_CANCELLED = 1,    /* a function of the caller wanted no more */
    NUV_BAD_CALL = 2,     /* an argument, a record, or a call out of turn */
    NUV_NO_MEMORY = 3,    /* the system had none left */
    NUV_LIMIT = 4,        /* of nuv_limits, or of what the library can count */
    NUV_IO = 5,           /* the system, or a function of the caller, refused to read or write */
    NUV_UNKNOWN_KIND = 6, /* the data is no picture of a kind that is known */
    NUV_UNSUPPORTED = 7,  /* known, and not served */
    NUV_INVALID = 8,      /* the source holds values that its kind forbids */
    NUV_DAMAGED = 9       /* the source ends early, or its data means nothing */
} nuv_status;

/* What the channels of a pixel mean. All values run from 0 to the largest sample. */
typedef enum nuv_color {
    NUV_COLOR_OTHER = 0,     /* not one of those below */
    NUV_GRAY = 0x10,         /* 0 is black */
    NUV_GRAY_REVERSE = 0x11, /* 0 is white */
    NUV_LSTAR = 0x12,        /* lightness of CIE L*a*b* */
    NUV_RGB = 0x100,         /* sRGB */
    NUV_ADOBE_RGB = 0x101,
    NUV_HSL = 0x102,
    NUV_CMY = 0x103,
    NUV_XYZ = 0x104,     /* white is D50 */
    NUV_ICC_LAB = 0x105, /* CIE L*a*b* as ICC profiles store it */
    NUV_ITU_LAB = 0x106, /* as T.42 does */
    NUV_YCBCR = 0x1000,
    NUV_CMYK = 0x2000
} nuv_color;

typedef enum nuv_sample_type { NUV_UNSIGNED = 0, NUV_SIGNED = 1, NUV_REAL = 2 } nuv_sample_type;

/* From the fastest to the finest. */
typedef enum nuv_scaling {
    NUV_NEAREST = 0, /* the nearest pixel; any samples */
    NUV_LINEAR = 1,
    NUV_CUBIC = 2,
    NUV_AREA = 3, /* the mean of the covered area */
    NUV_FINE = 4  /* what the ratio asks for: cubic, a mask, or the area and a mask */
} nuv_scaling;

typedef enum nuv_flip_axis { NUV_LEFT_TO_RIGHT = 0, NUV_TOP_TO_BOTTOM = 1 } nuv_flip_axis;

/* How a JPEG stores colour beside luminance. */
typedef enum nuv_sampling {
    NUV_SAMPLING_DEFAULT = 0, /* 4:2:2 */
    NUV_SAMPLING_444 = 0x1001,
    NUV_SAMPLING_422 = 0x1010,
    NUV_SAMPLING_420 = 0x1011,
    NUV_SAMPLING_411 = 0x1100,
    NUV_SAMPLING_OTHER = 0x1111 /* told of a source, never asked for */
} nuv_sampling;

/* For nuv_fit(), added up. */
enum {
    NUV_ENLARGE = 1, /* a picture that is smaller than the box grows into it */
    NUV_FILL = 2,    /* the picture covers the box, and what stands over is cut off on both sides,
                        of an odd number one more where right or below is when it is upright */
    NUV_FAST = 4     /* a JPEG may be decoded at 1/2, 1/4 or 1/8; the result is another one */
};

/* A picture in the chain. */
typedef struct nuv_picture {
    size_t size;              /* of this record */
    uint32_t width;           /* pixels */
    uint32_t height;          /* lines */
    uint16_t channels;        /* samples of a pixel, interleaved */
    uint16_t bits;            /* of a sample; 1-bit ones from the top bit of a byte down */
    int32_t color;            /* a nuv_color */
    int32_t type;             /* a nuv_sample_type */
    uint32_t palette_entries; /* 0, or the samples are indices; see nuv_recolor() */
} nuv_picture;

/* What a stored picture is. */
typedef struct nuv_source {
    size_t size;         /* of this record */
    uint32_t width;      /* pixels, as it is stored */
    uint32_t height;     /* lines */
    uint16_t channels;   /* samples of a pixel */
    uint16_t bits;       /* of a stored sample */
    int32_t color;       /* a nuv_color */
    char kind[16];       /* "jpeg", "jfif", "tiff", "pnm" ...; "samples" for those of the caller */
    char coding[16];     /* "raw", "sequential", "progressive", "lossless", "pack_bits" ... */
    double x_resolution; /* pixels a unit; 0 when the source does not tell */
    double y_resolution;
    int32_t resolution_unit; /* 0 none, 1 inch, 3 centimetre, 4 metre */
    int32_t orientation;     /* 1 to 8 as in TIFF 6.0; 0 when the source does not tell */
    int32_t sampling;        /* of a JPEG in YCbCr a nuv_sampling; else 0 */
    int32_t quality;         /* of a JPEG with losses an estimate, 0 to 100; else -1 */
} nuv_source;

/* What a job may be asked for. 0 stands for no limit. */
typedef struct nuv_limits {
    size_t size;           /* of this record */
    uint32_t width;        /* pixels of any picture in the chain; 2^20 by default */
    uint32_t height;       /* lines of any picture in the chain; 2^20 by default */
    uint64_t pixels;       /* of any picture in the chain; 2^28 by default */
    uint64_t memory_bytes; /* that the job takes at once; 2^30 by default */
    int32_t strict;        /* not 0: a damaged source fails instead of being mended */
} nuv_limits;

/* Of nuv_failure. */
typedef enum nuv_passed_limit {
    NUV_PASSED_NONE = 0,
    NUV_PASSED_SIDE = 1,   /* width or height of nuv_limits */
    NUV_PASSED_PIXELS = 2, /* pixels of nuv_limits */
    NUV_PASSED_MEMORY = 3, /* memory_bytes of nuv_limits */
    NUV_PASSED_COUNT = 4   /* what the library can count: 2 GiB of a source or a result */
} nuv_passed_limit;

/* What nuv_message() puts into words. */
typedef struct nuv_failure {
    size_t size;            /* of this record */
    int32_t status;         /* as nuv_state() */
    int32_t limit;          /* of NUV_LIMIT a nuv_passed_limit; else 0 */
    int32_t in_destination; /* not 0: it is about the result, and not about the source */
    int32_t system_error;   /* errno of a failure of the system; else 0 */
    int64_t byte;           /* of the source or the result, from 0; -1 where it is not known */
    int64_t line;           /* of the source as it is stored, from 0; -1 where it is not known */
} nuv_failure;

/* After each band of lines, and at the end: lines done, and lines in all. Not 0 cancels. */
typedef int (*nuv_progress)(void* user, uint32_t lines_done, uint32_t lines);
/* Whether a call on the job is to end before its time. Not 0 cancels. */
typedef int (*nuv_wants_end)(void* user);
/* Up to `bytes` bytes of the source; how many came, 0 at the end, less for a failure. */
typedef ptrdiff_t (*nuv_read)(void* user, void* into, size_t bytes);
/* Line `line` of the samples, from 0 on, each once and in this order: all its bytes, without a gap
   between its pixels. Not 0 for a failure. */
typedef int (*nuv_give_line)(void* user, uint32_t line, void* into);
/* The next bytes of the result, all of them. Not 0 for a failure. */
typedef int (*nuv_write)(void* user, const void* from, size_t bytes);

/* ---- the library ---- */

/* Of the library that runs, in the form of NUV_VERSION. */
NUV_API uint32_t nuv_version(void);
/* Compiler, forms of the processor in use, versions of the libraries beneath; one line of text. */
NUV_API const char* nuv_build_info(void);

/* ---- a job ---- */

/* The limits of nuv_new(NULL). NUV_BAD_CALL for a null or a size that no version of the record has.
 */
NUV_API nuv_status nuv_default_limits(nuv_limits* limits);
/* Null when there is no memory, or for a record of a wrong size. Null limits: the defaults. */
NUV_API nuv_job* nuv_new(const nuv_limits* limits);
/* Null is allowed. Ends a job wherever it is; a file that is not whole goes. */
NUV_API void nuv_free(nuv_job* job);
/* Has `wants_end` asked while calls on the job work: some fifty times a second, between two lines
   of any stage and between two pieces of the source, also while a source is opened and before the
   first line of a result is there. One that cancels ends the call with NUV_CANCELLED. Null for
   nobody, as in a new job. */
NUV_API nuv_status nuv_cancel_when(nuv_job* job, nuv_wants_end wants_end, void* user);
/* The first failure, or NUV_OK. */
NUV_API nuv_status nuv_state(const nuv_job* job);
/* A sentence about the first failure, or about damage that was mended; else "". Never null, and
   valid until the next call on the job. */
NUV_API const char* nuv_message(const nuv_job* job);
/* The first failure, for programs. NUV_BAD_CALL, and the job stays as it is, for a null or a size
   that no version of the record has; else NUV_OK. */
NUV_API nuv_status nuv_why(const nuv_job* job, nuv_failure* out);
/* The first line of the source that was mended, counted as it is stored; 0 where the source cannot
   tell the line, -1 when nothing was mended so far. */
NUV_API int64_t nuv_first_damaged_line(const nuv_job* job);
/* The most bytes that the job has held at once, beside the caller's own. */
NUV_API uint64_t nuv_memory_peak(const nuv_job* job);

/* ---- the source: one of these, once ---- */

/* Of a file with several pictures the one to open, from 0. To be called before nuv_open_...();
   that answers NUV_BAD_CALL for one that is not there. */
NUV_API nuv_status nuv_page(nuv_job* job, uint32_t page);
/* A regular file of less than 2 GiB. Its kind is found out by its content. */
NUV_API nuv_status nuv_open_file(nuv_job* job, const char* path);
/* A stored picture in memory, which stays the caller's and has to stay, as it is, until a run has
   ended well, or as long as the job. */
NUV_API nuv_status nuv_open_memory(nuv_job* job, const void* data, size_t bytes);
/* A stored picture, read to its end before this returns and kept; the limit of memory counts. */
NUV_API nuv_status nuv_open_stream(nuv_job* job, nuv_read read, void* user);
/* Samples in memory, which stay the caller's and have to stay as those of nuv_open_memory():
   unsigned, of 1, 8, 16 or 32 bits. `stride` is the distance of two lines in bytes, 0 for lines
   without a gap. */
NUV_API nuv_status nuv_open_samples(nuv_job* job, const void* data, size_t stride,
                                    const nuv_picture* is);
/* The same with each channel in a plane of its own: is->channels pointers. */
NUV_API nuv_status nuv_open_planes(nuv_job* job, const void* const* planes, size_t stride,
                                   const nuv_picture* is);
/* The same line by line, as they are wanted: for samples that lie apart, or are not there yet. The
   function has to last as the memory of nuv_open_samples() does. */
NUV_API nuv_status nuv_open_lines(nuv_job* job, nuv_give_line give, void* user,
                                  const nuv_picture* is);
/* Samples in a file, which has nothing before them and no gaps: lines that start on bytes, or, with
   `planar` not 0, one channel of such lines behind the other. What follows them is ignored; of a
   file that is too short NUV_DAMAGED. */
NUV_API nuv_status nuv_open_samples_file(nuv_job* job, const char* path, const nuv_picture* is,
                                         int planar);

/* What leaves the chain as it stands, or, behind a run, what has left it: the result stays. */
NUV_API nuv_status nuv_look(nuv_job* job, nuv_picture* out);
/* What the source is. Told behind a failure, too, which is then the answer, where the source is of
   a kind that is known: so it is of a picture that is not served or passes a limit. */
NUV_API nuv_status nuv_source_info(nuv_job* job, nuv_source* out);

/* ---- operations, in the order in which they are done ----

   NUV_UNSUPPORTED when the picture cannot be served: its samples, its channels, its palette. */

/* A rectangle. What reaches over the right or the lower edge is cut off; NUV_BAD_CALL for one that
   begins outside the picture or is empty. */
NUV_API nuv_status nuv_crop(nuv_job* job, uint32_t x, uint32_t y, uint32_t width, uint32_t height);
/* Clockwise by a multiple of 90 degrees, negative ones the other way. Holds the whole result. */
NUV_API nuv_status nuv_rotate(nuv_job* job, int degrees);
/* NUV_LEFT_TO_RIGHT exchanges left and right; NUV_TOP_TO_BOTTOM above and below, and holds the
   whole picture. */
NUV_API nuv_status nuv_flip(nuv_job* job, nuv_flip_axis axis);
/* As the source says that it is to be seen: turned and mirrored by its orientation, if it has one
   (see nuv_source). What nuv_rotate() and nuv_flip() hold is held. */
NUV_API nuv_status nuv_upright(nuv_job* job);
/* To exactly this size, neither being 0. */
NUV_API nuv_status nuv_scale(nuv_job* job, nuv_scaling how, uint32_t width, uint32_t height);
/* To the largest size of the same shape that fits into the box. `flags`: NUV_ENLARGE, NUV_FILL,
   NUV_FAST. A picture that needs no change stays as it is. */
NUV_API nuv_status nuv_fit(nuv_job* job, nuv_scaling how, uint32_t width, uint32_t height,
                           unsigned flags);
/* How the last of these two is done, step by step, as "decoded at 1/4, area, mask"; "" where there
   was nothing to do. Never null, and valid until the next call on the job. */
NUV_API const char* nuv_scaling_steps(const nuv_job* job);
/* Every bit of every sample turned over. */
NUV_API nuv_status nuv_invert(nuv_job* job);
/* `count` channels of each pixel, in any order, also more than once, from 0. `color` is what the
   result then is, and must allow that many channels. */
NUV_API nuv_status nuv_pick_channels(nuv_job* job, const uint16_t* channels, uint16_t count,
                                     nuv_color color);
/* The channels of each pixel in the opposite order, under the same colour. */
NUV_API nuv_status nuv_reverse_channels(nuv_job* job);
/* Each sample becomes the entry of its value, or 0 behind the last one: `entries` (up to 256 or
   65536) for each of `channels` tables, which are 1 for all or as many as the picture has channels,
   one behind the other, of `bits` (8, 16 or 32) bits each. For pictures of unsigned samples of 8 or
   16 bits. */
NUV_API nuv_status nuv_table(nuv_job* job, const void* table, uint32_t entries, uint16_t channels,
                             uint16_t bits);
/* Each pixel becomes what a table says over all its channels at once, interpolated between the
   points of a grid of `points` on each axis: `outputs` samples of the picture's bits for each, the
   last channel running fastest. For 1 to 4 channels of 8 or 16 bits. */
NUV_API nuv_status nuv_color_table(nuv_job* job, const void* table, uint32_t points,
                                   uint16_t outputs, nuv_color color);
/* Each pixel multiplied by a matrix of `rows` rows, one for each new channel, and as many columns
   as there are channels, row by row; then `offsets`, null or one for each row in units of the
   sample, are added. Rounded and limited. */
NUV_API nuv_status nuv_matrix(nuv_job* job, const double* matrix, uint16_t rows,
                              const double* offsets, nuv_color color);
/* To another colour, by calculation. A picture with a palette is first turned into the colours that
   its indices stand for. */
NUV_API nuv_status nuv_recolor(nuv_job* job, nuv_color color);
/* Samples of another type and width, as sample x slope + offset, rounded and limited. 1, 8, 16 and
   32 bits of integers, 32 and 64 of reals. To 1 bit, `offset` is a threshold: 1 where
   sample x slope reaches it. */
NUV_API nuv_status nuv_convert(nuv_job* job, nuv_sample_type type, uint16_t bits, double slope,
                               double offset);
/* Samples of another type and width, as sample x 2^shift with shift from -31 to 31, limited; halves
   are rounded up. */
NUV_API nuv_status nuv_shift(nuv_job* job, nuv_sample_type type, uint16_t bits, int shift);
/* Samples below the minimum raised to it, and those above the maximum lowered. */
NUV_API nuv_status nuv_clamp(nuv_job* job, int64_t minimum, int64_t maximum);
/* A 1-bit picture to unsigned samples of 8 or 16 bits: `zero` for a 0, `one` for a 1. */
NUV_API nuv_status nuv_expand_bits(nuv_job* job, uint16_t bits, int32_t zero, int32_t one);

/* ---- the form of the result: one of these, behind the operations ----

   They convert what the form cannot say into what it can: nuv_look() then tells. */

/* A baseline JPEG: quality 0 to 100, or -1 for 75. Colours become RGB or stay YCbCr, whatever is
   gray becomes gray, and 1 bit becomes 8. NUV_UNSUPPORTED for other widths of samples. */
NUV_API nuv_status nuv_as_jpeg(nuv_job* job, int quality, nuv_sampling sampling);
/* A lossless JPEG of 8 or 16 bits. Colours become RGB, whatever is gray becomes gray, and 1 bit
   becomes 8: without a loss where the picture is gray or RGB already. `optimise`: not 0 for a
   smaller file, made from the picture as a whole, which is then held. */
NUV_API nuv_status nuv_as_lossless_jpeg(nuv_job* job, int optimise);
/* A binary anymap: P4, P5 or P6. Other colours become gray or RGB. */
NUV_API nuv_status nuv_as_anymap(nuv_job* job);
/* The samples without any header. `planar`: not 0 for one channel behind the other, which holds the
   whole picture. */
NUV_API nuv_status nuv_as_samples(nuv_job* job, int planar);

/* ---- the run: one of these, once. `progress` may be null ---- */

/* In the place of the destination only when it is whole and the system has it on the disk; without
   a name until then, or beside the destination where the system has no such files. A file that
   stood there keeps its rights; a failure leaves it as it was. */
NUV_API nuv_status nuv_run_to_file(nuv_job* job, const char* path, nuv_progress progress,
                                   void* user);
/* Into memory of the job: see nuv_result(). */
NUV_API nuv_status nuv_run_to_memory(nuv_job* job, nuv_progress progress, void* user);
/* Handed over as it comes, from the first byte to the last; `user` is for both functions. Of a run
   that fails the caller has got the beginning. */
NUV_API nuv_status nuv_run_to_stream(nuv_job* job, nuv_write write, nuv_progress progress,
                                     void* user);
/* What nuv_run_to_memory() made, the job's until nuv_free(). Null, and 0 bytes, before and after a
   failure. `bytes` may be null. */
NUV_API const void* nuv_result(const nuv_job* job, size_t* bytes);

/* Instead of a form and a run: the next `lines` lines of the chain as samples, `stride` bytes from
   one to the next (0 for none between), into memory for that many. `got` tells how many came, 0
   behind the last one. No other call but this one may follow. All lines at once may go over the
   samples of nuv_open_samples() that they are made of. */
NUV_API nuv_status nuv_read_lines(nuv_job* job, void* into, size_t stride, uint32_t lines,
                                  uint32_t* got);

#ifdef __cplusplus
}
#endif

#endif
