// Runs a fuzz target in place of libFuzzer, with any compiler: over files, so that what was once
// found stays found, and over copies of them with bytes changed, left out and put in, as many of
// each as an argument that is a number says.

#include <algorithm>
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

using Bytes = std::vector<std::uint8_t>;

// Just as many bytes as there are, so that a sanitizer sees a read beyond the last one.
void run(const Bytes& bytes)
{
    const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
}

void change(Bytes& bytes, std::mt19937& random)
{
    for (auto changes = 1 + random() % 4; changes > 0 && !bytes.empty(); --changes) {
        const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(random() % bytes.size());
        const auto value = static_cast<std::uint8_t>(random() >> (random() % 2 == 0 ? 24 : 28));
        const auto kind = random() % 4;
        if (kind == 0)
            bytes.erase(at);
        else if (kind == 1)
            bytes.insert(at, value);
        else
            *at = value;
    }
}

void replay(const fs::path& path, int copies)
{
    std::printf("%s\n", path.c_str());
    std::fflush(stdout); // the last line names the file that ends the program
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes{std::istreambuf_iterator<char>{file}, {}};
    run(bytes);
    for (int seed = 0; seed < copies; ++seed) {
        std::mt19937 random(static_cast<unsigned>(seed));
        Bytes changed = bytes;
        change(changed, random);
        run(changed);
    }
}

} // namespace

int main(int count, char** arguments)
{
    try {
        int copies = 0;
        for (const std::string argument : std::vector(arguments + 1, arguments + count)) {
            if (!fs::is_directory(argument)) {
                copies = std::stoi(argument);
                continue;
            }
            for (const fs::directory_entry& entry : fs::recursive_directory_iterator{argument}) {
                if (entry.is_regular_file())
                    replay(entry.path(), copies);
            }
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
