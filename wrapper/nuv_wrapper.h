#ifndef NUV_WRAPPER_H
#define NUV_WRAPPER_H

// The interface of nuv, a streaming raster image-processing library. Needs C++17.
//
//     NuvWrapperClass job;
//     job.SetSrcFile("scan.ppm");
//     job.SetDstFile("scan.jpg");
//     job.ReadRaster();
//     job.MirrorX();
//     job.WriteJPEG(nullptr);
//     job.Execute();
//
// A wrapper carries one pipeline. Name a source and a destination, then one read, any number of
// operations, and one write; each of these calls only builds, and no pixel moves before Execute().
// Use one wrapper for each image. A wrapper belongs to one thread at a time; separate wrappers are
// independent of each other.
//
// Unless a member says otherwise it returns 0 in every case, and a failure shows in the later
// calls: behind a failed read or operation every further one fails too, and Execute() returns -1.
// The first error stays for the life of the wrapper (only ReadStorage() sets one aside that its
// search for a known format has raised), so make a new wrapper after a failure.

#include <cstdint>

#if defined(_WIN32)
#    define NUV_EXPORT
#else
#    define NUV_EXPORT __attribute__((visibility("default")))
#endif

namespace nuv {
class NUV_Engine;
class NUV_InputStorage;
class NUV_LutData;
class NUV_Manager;
class NUV_OutputStorage;
template <class T>
class NUV_Vector;
} // namespace nuv

// Codes of ImageParam::format. Holds no data.
class Format {
public:
    enum eFormat : std::int32_t {
        eRaw = 0,             // raw samples
        eJPEG = 1,            // sequential JPEG
        eLosslessJPEG = 2,    // lossless JPEG (SOF3)
        eJPEG2000 = 3,        // JPEG 2000
        eProgressiveJPEG = 5, // progressive JPEG (SOF2)
        eOther = 6,           // any other compressed data
    };
};

// Codes of ImageParam::color. Holds no data.
class ColorType {
public:
    enum eColorType : std::int32_t {
        eUnknown = 0,
        eGray = 0x10,        // 0 is black
        eGrayReverse = 0x11, // 0 is white
        eRGB = 0x100,
        eYCbCr = 0x1000,
    };
};

// Sample types have no codes: samples are unsigned integers. Holds no data.
class DataType {};

// What an image is: reported by GetSrcImgInfo() and GetImgInfo(), stated by the caller for
// ReadRaster(param), ReadStorage() and ReadStoragePlanar().
// The description of a stored picture is that of its samples as they are stored: samples of a TIFF
// picture of 4 bits come out as 8, and its extra samples, which are counted here, do not come out.
struct ImageParam {
    std::uint32_t width;     // pixels
    std::uint32_t height;    // lines
    std::uint16_t bits;      // of a sample
    std::uint16_t precision; // JPEG sample precision, 2 to 16; 0 for other formats
    std::uint16_t channels;  // samples of a pixel
    std::int32_t format;     // a Format code
    std::int32_t color;      // a ColorType code; 0 for colours that have none
    std::int32_t sampling;   // a WriteJPEGOption::eSampling code; 0 where it does not apply
    bool is_jfif;            // a JPEG file of the JFIF form
};
static_assert(sizeof(ImageParam) == 32, "part of the binary interface");

// Settings of WriteJPEG().
struct WriteJPEGOption {
    enum eSampling : std::int32_t {
        eSampling444 = 0x1001,
        eSampling422 = 0x1010,
        eSampling420 = 0x1011,
        eSampling411 = 0x1100,
        eSamplingOther = 0x1111, // reported of files, never written
    };

    std::int32_t quality;  // 0 to 100; anything else counts as 100
    std::int32_t sampling; // an eSampling code; one that cannot be written means 4:2:2
};
static_assert(sizeof(WriteJPEGOption) == 8, "part of the binary interface");

// Settings of WriteLosslessJPEG().
struct WriteLosslessJPEGOption {
    // Not 0: the Huffman table is made for the image, which is then held whole in memory.
    std::uint8_t optimise;
};
static_assert(sizeof(WriteLosslessJPEGOption) == 1, "part of the binary interface");

// A table for LUT().
struct LutParam {
    const unsigned char* table; // the entries, 16 and 32-bit ones in host order
    std::uint32_t entries;      // of each channel; fewer than the samples' range are zeros beyond
    std::uint16_t bits;         // of an entry, and of the samples that come out: 8, 16 or 32
    std::uint32_t reserved;     // not looked at
};
static_assert(sizeof(LutParam) == (sizeof(void*) == 8 ? 24 : 16), "part of the binary interface");

// A conversion for ConvertDataType(): out = in * slope + offset.
struct ConvertDataParam {
    double slope;
    double offset;
    std::uint16_t bits; // of the samples that come out: 1, 8, 16 or 32
};
static_assert(sizeof(ConvertDataParam) == (sizeof(void*) == 8 ? 24 : sizeof(ConvertDataParam)),
              "part of the binary interface");

// Settings of WriteStorage() and WriteStoragePlanar(): none. Holds no data, and is not looked at.
class WriteStorageOption {};

// One image job. Everything it needs is taken at construction or when a call needs it, and given
// back by the destructor. Copying a wrapper makes an alias of the same job: exactly one of the
// copies may be destroyed, and the others must not be used afterwards.
class NUV_EXPORT NuvWrapperClass {
public:
    NuvWrapperClass();
    ~NuvWrapperClass();
    NuvWrapperClass(const NuvWrapperClass&) = default;
    NuvWrapperClass& operator=(const NuvWrapperClass&) = default;

    // --- Source and destination. Each replaces what was named before. Positions and sizes are
    // limited to 2^31 - 1 bytes.

    // A file to read. When it cannot be opened there is no source.
    int SetSrcFile(const char* path);
    // A file to write, created or emptied at once. When it cannot be opened there is no
    // destination.
    int SetDstFile(const char* path);
    // `bytes` bytes to read, above 0. They stay the caller's, and must stay there, unchanged, until
    // the wrapper is destroyed.
    int SetSrcMemory(const unsigned char* data, int bytes);
    // Room for `bytes` bytes, above 0. It stays the caller's, and must stay there until the wrapper
    // is destroyed. A result that does not fit is cut off: GetWrittenSize() then tells fewer bytes
    // than the image needs.
    int SetDstMemory(unsigned char* data, int bytes);
    // Bytes in the destination so far. -1, and *bytes 0, without a destination; -1 for null.
    int GetWrittenSize(int* bytes);

    // --- Looking at the source.

    // Fills `param` without reading the pixels. 0, or -1 for null, no source, and data of no known
    // format (`param` is then unchanged). A chain that stands is not disturbed by data of a known
    // format; other data leaves an error behind, which stops the chain.
    int GetSrcImgInfo(ImageParam* param);

    // --- Reading: the beginning of a chain. What a wrapper had built before is dropped.

    // A stored image, whose format is recognised by its content. 0, or a negative status code when
    // it cannot be read: 0x80400000 damaged, 0x80200000 illegal, 0x81000000 of no known or
    // supported kind, 0x80020000 not readable, 0x80010000 no memory (and others alike). 0 also
    // without a source; Execute() then returns -1.
    int ReadRaster();
    // The same, with another meaning given to its channels: param->color 0x10 or 0x11 for one
    // channel, 0x100 or 0x1000 for three; other codes leave the image as its file has it. Of a JFIF
    // file the colour is not changed, and param->color becomes 0x1000. A palette stays with its
    // image: what follows refuses the picture when the new meaning cannot have one.
    int ReadRaster(ImageParam* param);
    // A stored image if it is recognised, and otherwise raw bytes that `param` describes by width,
    // height, bits, channels, color and format (0 raw; 1 and 2 a JPEG stream). Raw lines start on
    // bytes, samples are interleaved, samples of 16 bits are in host order.
    int ReadStorage(ImageParam* param);
    // Raw planes, one after the other, never a recognised file: one for color 0x10 and 0x11, else
    // three. Width, height and bits are taken from `param`; a plane is bits * width * height / 8
    // bytes.
    int ReadStoragePlanar(ImageParam* param);

    // --- Operations. Each is added behind what stands.

    // Every line end for end. Samples of 1 bit (one channel), 8 and 16 bits.
    int MirrorX();
    // Clockwise by `angle` degrees, a multiple of 90; negative angles turn the other way. Samples
    // of 1 bit (one channel), 8 and 16 bits. The turned image is held whole in memory.
    int Rotate90(int angle);

    // To `width` x `height` pixels, none of them 0. Pixel centres are kept in place: pixel k comes
    // from (k + 0.5) * source / size - 0.5.

    // The nearest pixel: no new values. Samples of 1 bit (one channel), 8 and 16 bits.
    int ScaleNN(unsigned width, unsigned height);
    // Linear between the neighbours. Samples of 8 and 16 bits, as below.
    int ScaleLI(unsigned width, unsigned height);
    // Cubic convolution over four neighbours on each axis.
    int ScaleCC(unsigned width, unsigned height);
    // The mean over the area that a pixel covers.
    int ScalePP(unsigned width, unsigned height);
    // By convolution with masks that follow the ratio, and whichever of the above serves the size
    // better: the finest, for photographs.
    int ScaleI2VAREx(unsigned width, unsigned height);

    // Every sample becomes the table's entry of that number. Samples of 8 and 16 bits. The table of
    // an image of several channels has entries for each channel, one channel after the other. It is
    // copied.
    int LUT(LutParam* param);
    // Samples of another width, limited to what it can hold: 1 to 32 bits.
    int ConvertDataType(ConvertDataParam* param);
    // Gray, gray with 0 for white, RGB or YCbCr. Samples of 8 and 16 bits.
    int ColorSpace(ColorType::eColorType color);

    // --- Writing: the end of a chain. The destination is rewound first.

    // A baseline JPEG of an image of 1 or 3 channels of 8 bits, at most 65535 pixels wide and high.
    // RGB is converted to YCbCr. Null means quality 75 and sampling 4:2:2.
    int WriteJPEG(WriteJPEGOption* option);
    // A lossless JPEG of an image of 1 or 3 channels of 8 or 16 bits, at most 65535 pixels wide and
    // high; no colour is converted. Null means a fixed Huffman table.
    int WriteLosslessJPEG(WriteLosslessJPEGOption* option);
    // The bytes of the image as they are, line after line.
    int WriteStorage(WriteStorageOption* option);
    // The channels one after the other, each as a plane of its own.
    int WriteStoragePlanar(WriteStorageOption* option);

    // --- Running.

    // Runs what has been built. 0 when it ran, whether or not it reached the end: a source that
    // breaks off, a destination that is full, or memory that runs out, ends the run early with 0,
    // so compare GetWrittenSize() with what the image needs. -1 when there is nothing to run:
    // nothing was built, a call failed, or it has been run already.
    int Execute();

private:
    // In this order part of the binary interface.
    nuv::NUV_Manager* manager;
    nuv::NUV_Engine* last_engine;
    nuv::NUV_Vector<nuv::NUV_Engine*>* branches;
    nuv::NUV_InputStorage* src_storage;
    nuv::NUV_OutputStorage* dst_storage;
    nuv::NUV_Vector<nuv::NUV_LutData*>* lut_objects;
};

// What GetSrcImgInfo() tells of the file at `path`. The result is 0 whether or not the file could
// be read; on failure `param` is unchanged, so clear it first and look at its width.
extern "C" NUV_EXPORT int GetImgInfo(const char* path, ImageParam* param);

// The same names inside the library's namespace.
namespace nuv {
using ::ColorType;
using ::ConvertDataParam;
using ::DataType;
using ::Format;
using ::GetImgInfo;
using ::ImageParam;
using ::LutParam;
using ::NuvWrapperClass;
using ::WriteJPEGOption;
using ::WriteLosslessJPEGOption;
using ::WriteStorageOption;
} // namespace nuv

#endif // NUV_WRAPPER_H
