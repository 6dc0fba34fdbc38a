#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Stands in for libFuzzer: runs the files of the folders once. Options of libFuzzer mean nothing here.
int main(int argc, char** argv)
{
    int count = 0;
    for (const std::string& folder : std::vector<std::string>(argv + 1, argv + argc)) {
        if (folder[0] == '-') {
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::cout << entry.path() << std::endl; // the last one is the culprit
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++count;
        }
    }
    return count > 0 ? 0 : 1;
}
