// Feeds files to a fuzzer's function in an ordinary build: REPLAY PATH..., each a file or a directory of files.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "../support/ScratchDirectory.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int main(int argc, char** argv) {
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            files.push_back(argv[i]);
            continue;
        }
        for (auto const& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (std::string const& file : files) {
        std::printf("%s\n", file.c_str());
        std::fflush(stdout);  // the last line names the file that ended the process
        std::string const content = FileContent(file);
        LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(content.data()), content.size());
    }
    std::printf("%zu files replayed\n", files.size());
    return files.empty() ? 1 : 0;
}
