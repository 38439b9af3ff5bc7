// Runs a fuzz target in place of libFuzzer, with any compiler: over files, so that what was once
// found stays found, and over as many inputs of chance as an argument that is a number says.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& path)
{
    std::printf("%s\n", path.c_str());
    std::fflush(stdout); // the last line names the file that ends the program
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>{file}, {}};
    // Just as many bytes as there are, so that a sanitizer sees a read beyond the last one.
    const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        exact[i] = static_cast<std::uint8_t>(bytes[i]);
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
}

void run_chances(int count)
{
    for (int seed = 0; seed < count; ++seed) {
        std::printf("input %d\n", seed);
        std::fflush(stdout);
        std::mt19937 random(static_cast<unsigned>(seed));
        std::vector<std::uint8_t> bytes(random() % 100);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random() % (random() % 2 == 0 ? 32 : 256));
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}

void run(const std::string& argument)
{
    if (!fs::is_directory(argument)) {
        run_chances(std::stoi(argument));
        return;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator{argument}) {
        if (entry.is_regular_file())
            replay(entry.path());
    }
}

} // namespace

int main(int count, char** arguments)
{
    try {
        for (int i = 1; i < count; ++i)
            run(arguments[i]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
