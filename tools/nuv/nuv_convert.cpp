#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_rawpicture.h"
#include "tools/nuv/nuv_text.h"
#include "tools/nuv/nuv_words.h"

#include <filesystem>
#include <system_error>

namespace nuv_tool {

namespace {

bool is_there(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

// A file that would lose something when it is written over.
bool is_filled_file(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) &&
           std::filesystem::file_size(path, error) != 0;
}

bool begins_with_a_word(const std::string& text)
{
    return find_word(std::string_view{text}.substr(0, text.find('='))) != nullptr;
}

// Parts what stands on the command line into pictures and words.
void sort_out(const ConvertRequest& request, std::vector<std::string>& sources,
              std::vector<std::string>& words)
{
    for (const std::string& text : request.arguments) {
        if (begins_with_a_word(text)) {
            words.push_back(text);
            continue;
        }
        const bool is_one_result = request.writing.output.find('%') == std::string::npos;
        if (!is_there(text) && text != "-" && (is_one_result || !meant_word(text).empty()))
            throw UsageError(unknown_operation(text) + " And there is no such file.");
        sources.push_back(text);
    }
    if (sources.empty())
        throw UsageError("SRC is required");
}

// SRC DST WORD...: exactly one picture. What follows are words.
std::vector<Errand> plan_one(const ConvertRequest& request, std::vector<std::string>& words)
{
    const auto& arguments = request.arguments;
    if (arguments.size() < 2)
        throw UsageError(arguments.empty() ? "SRC is required" : "DST is required, or -o");
    words.assign(arguments.begin() + 2, arguments.end());
    for (const std::string& word : words) {
        if (!begins_with_a_word(word) && is_there(word))
            throw UsageError(word + ": several pictures need -o, as -o 'out/%s.jpg'");
    }
    WritingRequest writing = request.writing;
    writing.output = arguments[1];
    const bool is_stream = writing.output == "-";
    for (std::size_t i = 0; !is_stream && i < writing.output.size(); ++i) {
        if (writing.output[i] == '%') // which is nothing but itself here
            writing.output.insert(i++, 1, '%');
    }
    std::vector<Errand> errands = plan({arguments[0]}, writing);
    if (!is_stream && !writing.force && is_filled_file(arguments[1]))
        throw UsageError(arguments[1] + ": is a " +
                         (is_stored_picture(arguments[1]) ? "picture" : "file") +
                         " already; to replace it name it by -o, or add --force");
    return errands;
}

std::vector<Errand> plan_all(const ConvertRequest& request, std::vector<std::string>& words)
{
    if (request.writing.output.empty())
        return plan_one(request, words);
    std::vector<std::string> sources;
    sort_out(request, sources, words);
    return plan(sources, request.writing);
}

void check_raw(const ConvertRequest& request, const std::vector<Errand>& errands)
{
    if (request.input_raw.empty() && request.planar_input)
        throw UsageError("--planar-input needs --input-raw");
    if (request.input_raw.empty() || request.writing.force)
        return;
    for (const Errand& errand : errands) {
        if (is_stored_picture(errand.source))
            throw UsageError(errand.source + ": is a stored picture, not the samples that "
                                             "--input-raw describes; --force reads it as such");
    }
}

} // namespace

void add_convert(Command& program, ConvertRequest& request)
{
    Command command = program.add_command("convert", "Convert pictures", R"(Examples:
  nuv convert scan.ppm scan.jpg
  nuv convert photo.jpg small.jpg auto-orient max=1600 --quality 85
  nuv convert photos/*.jpg -o '%s_gray.pgm' color=gray -j 4
  nuv convert - - --write jpeg crop=-16,-16,16x16 <photo.jpg >corner.jpg
  nuv convert samples.bin samples.jpg --input-raw 13x5x3x8:rgb
)");
    command.add_arguments(
        "SRC", request.arguments, /*is_required=*/false,
        "The picture to read, and DST, the file to write; or, with -o, all pictures to "
        "read. WORDs tell what to do to them, in this order. - is a standard stream",
        "[DST] [WORD...]");
    command.add_option(
        "--input-raw", request.input_raw, "WxHxCxBITS[:COLOR]",
        "SRC holds raw samples: lines start on bytes, samples of 16 bits are in host order");
    command.add_flag("--planar-input", request.planar_input,
                     "The raw samples stand plane by plane");
    add_writing(command, request.writing);
}

int run_convert(const ConvertRequest& request)
{
    std::vector<std::string> words;
    const std::vector<Errand> errands = plan_all(request, words);
    check_raw(request, errands);
    Recipe recipe = recipe_of(request.writing);
    if (!request.input_raw.empty())
        recipe.raw = parse_raw_picture(request.input_raw);
    recipe.planar_input = request.planar_input;
    recipe.operations = parse_operations(words);
    return run_errands(recipe, errands, request.writing);
}

} // namespace nuv_tool
