// Gives every file below the folders named to the harness once, in the order of their names, and
// ends with 1 where there is none: the kept inputs as a test, with any compiler.

#include "fuzz/support/harness.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

namespace
{
std::vector<std::filesystem::path> filesBelow(const char *folder)
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder, error)) {
        if (entry.is_regular_file(error)) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    // Shown before, so that the last line of a run that breaks names its input.
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
}
} // namespace

int main(int count, char *arguments[])
{
    std::size_t replayed = 0;
    for (int index = 1; index < count; ++index) {
        const std::vector<std::filesystem::path> files = filesBelow(arguments[index]);
        std::for_each(files.begin(), files.end(), replay);
        replayed += files.size();
    }
    std::printf("%zu inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
