// Runs a fuzz target over files, in place of libFuzzer: what was once found stays found, with any
// compiler.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>{file}, {}};
    // Just as many bytes as there are, so that a sanitizer sees a read beyond the last one.
    const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        exact[i] = static_cast<std::uint8_t>(bytes[i]);
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
}

int replay_all(const std::vector<fs::path>& folders)
{
    int files = 0;
    for (const fs::path& folder : folders) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator{folder}) {
            if (!entry.is_regular_file())
                continue;
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout); // the last line names the file that ends the program
            replay(entry.path());
            ++files;
        }
    }
    std::printf("%d files\n", files);
    return files > 0 ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    try {
        return replay_all({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
