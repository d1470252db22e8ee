// Runs one fuzz target over each file of a folder, once, where there is no libFuzzer to do so.
//
//     TARGET FOLDER
//
// A target that finds something ends the program; so does a folder without files, with 2.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
    if (count != 2) return 2;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        files.push_back(entry.path());
    }
    if (files.empty()) return 2;
    std::ranges::sort(files);
    for (const auto& file : files) {
        std::ifstream stream(file, std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(stream), {}};
        std::printf("%s\n", file.c_str());
        std::fflush(stdout); // The last line of a target that ends the program names the file.
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    }
    return 0;
}
