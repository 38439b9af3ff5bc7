#include "tests/core/jpeg/nuv_jpegstreams.h"

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

namespace nuv {
namespace {

struct Errors {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
};

void leave(j_common_ptr common)
{
    std::longjmp(reinterpret_cast<Errors*>(common->err)->jump, 1);
}

std::vector<jpeg_scan_info> parse_scans(const std::string& text)
{
    std::vector<jpeg_scan_info> scans;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line, ';');) {
        jpeg_scan_info scan{};
        scan.Se = 63;
        const std::size_t colon = line.find(':');
        std::istringstream components(line.substr(0, colon));
        while (scan.comps_in_scan < 4 && components >> scan.component_index[scan.comps_in_scan])
            ++scan.comps_in_scan;
        if (colon != std::string::npos)
            std::istringstream(line.substr(colon + 1)) >> scan.Ss >> scan.Se >> scan.Ah >> scan.Al;
        scans.push_back(scan);
    }
    return scans;
}

void set_up(jpeg_compress_struct& coder, const JPEGTestPicture& picture,
            const JPEGReferenceSettings& settings, const std::vector<jpeg_scan_info>& scans)
{
    coder.image_width = picture.width;
    coder.image_height = picture.height;
    coder.input_components = static_cast<int>(picture.channels);
    constexpr std::array<J_COLOR_SPACE, 5> spaces = {JCS_UNKNOWN, JCS_GRAYSCALE, JCS_UNKNOWN,
                                                     JCS_YCbCr, JCS_CMYK};
    coder.in_color_space = spaces.at(picture.channels);
    jpeg_set_defaults(&coder);
    jpeg_set_colorspace(&coder, coder.in_color_space);
    jpeg_set_quality(&coder, settings.quality, TRUE);
    coder.write_JFIF_header = FALSE;
    coder.write_Adobe_marker = FALSE;
    coder.optimize_coding = settings.optimises ? TRUE : FALSE;
    coder.dct_method = JDCT_ISLOW;
    coder.restart_interval = static_cast<unsigned>(settings.restart_interval);
    coder.restart_in_rows = settings.restart_rows;
    for (std::uint32_t i = 0; i < picture.channels; ++i) {
        const std::uint32_t factors = settings.key >> 8 * (picture.channels - 1 - i) & 0xFFU;
        coder.comp_info[i].h_samp_factor = static_cast<int>(factors >> 4);
        coder.comp_info[i].v_samp_factor = static_cast<int>(factors & 15U);
    }
    if (settings.is_progressive)
        jpeg_simple_progression(&coder);
    if (!scans.empty()) {
        coder.scan_info = scans.data();
        coder.num_scans = static_cast<int>(scans.size());
    }
}

// Calls `work` with a decoder behind the header. False when there was anything to complain of.
template <class Work>
bool with_decoder(const Bytes& stream, const Work& work)
{
    jpeg_decompress_struct coder{};
    Errors errors{};
    coder.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = leave;
    errors.manager.output_message = [](j_common_ptr) {};
    if (setjmp(errors.jump) != 0) {
        jpeg_destroy_decompress(&coder);
        return false;
    }
    jpeg_create_decompress(&coder);
    jpeg_mem_src(&coder, stream.data(), static_cast<unsigned long>(stream.size()));
    jpeg_read_header(&coder, TRUE);
    work(coder);
    const bool is_clean = errors.manager.num_warnings == 0;
    jpeg_destroy_decompress(&coder);
    return is_clean;
}

} // namespace

Bytes encode_by_reference(const JPEGTestPicture& picture, const JPEGReferenceSettings& settings)
{
    const std::vector<jpeg_scan_info> scans = parse_scans(settings.scans);
    jpeg_compress_struct coder{};
    jpeg_error_mgr errors{};
    unsigned char* memory = nullptr;
    unsigned long bytes = 0;
    coder.err = jpeg_std_error(&errors); // which says what it cannot encode, and exits
    jpeg_create_compress(&coder);
    jpeg_mem_dest(&coder, &memory, &bytes);
    set_up(coder, picture, settings, scans);
    jpeg_start_compress(&coder, TRUE);
    if (settings.adobe_transform >= 0) {
        std::array<JOCTET, 12> adobe = {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0};
        adobe[11] = static_cast<JOCTET>(settings.adobe_transform);
        jpeg_write_marker(&coder, JPEG_APP0 + 14, adobe.data(), adobe.size());
    }
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        auto* line = const_cast<JSAMPLE*>(&picture.samples[y * picture.line_bytes()]);
        jpeg_write_scanlines(&coder, &line, 1);
    }
    jpeg_finish_compress(&coder);
    Bytes stream(memory, memory + bytes);
    jpeg_destroy_compress(&coder);
    std::free(memory);
    return stream;
}

std::optional<JPEGTestPicture> decode_by_reference(const Bytes& stream)
{
    JPEGTestPicture picture;
    const bool is_clean = with_decoder(stream, [&](jpeg_decompress_struct& coder) {
        coder.out_color_space = coder.jpeg_color_space;
        coder.do_fancy_upsampling = FALSE;
        coder.do_block_smoothing = FALSE;
        coder.dct_method = JDCT_ISLOW;
        jpeg_start_decompress(&coder);
        picture.width = coder.output_width;
        picture.height = coder.output_height;
        picture.channels = static_cast<std::uint32_t>(coder.output_components);
        picture.samples.resize(picture.line_bytes() * picture.height);
        while (coder.output_scanline < coder.output_height) {
            JSAMPLE* line = picture.samples.data() + picture.line_bytes() * coder.output_scanline;
            jpeg_read_scanlines(&coder, &line, 1);
        }
    });
    return is_clean ? std::optional(picture) : std::nullopt;
}

std::vector<JPEGReferencePlane> coefficients_by_reference(const Bytes& stream)
{
    std::vector<JPEGReferencePlane> planes;
    const bool is_clean = with_decoder(stream, [&](jpeg_decompress_struct& coder) {
        jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&coder);
        for (int c = 0; c < coder.num_components; ++c) {
            const jpeg_component_info& component = coder.comp_info[c];
            JPEGReferencePlane& plane = planes.emplace_back();
            plane.blocks_across = component.width_in_blocks;
            std::copy_n(component.quant_table->quantval, 64, plane.quantisers.begin());
            for (JDIMENSION y = 0; y < component.height_in_blocks; ++y) {
                JBLOCKROW row = coder.mem->access_virt_barray(
                    reinterpret_cast<j_common_ptr>(&coder), arrays[c], y, 1, FALSE)[0];
                for (JDIMENSION x = 0; x < component.width_in_blocks; ++x) {
                    auto& block = plane.blocks.emplace_back();
                    for (std::size_t i = 0; i < block.size(); ++i)
                        block[i] = row[x][i] * plane.quantisers[i];
                }
            }
        }
        jpeg_finish_decompress(&coder);
    });
    return is_clean ? planes : std::vector<JPEGReferencePlane>();
}

} // namespace nuv
