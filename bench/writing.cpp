// SPDX-License-Identifier: Apache-2.0
/// What it costs that the files of a pair are complete or absent and on the disk: the toolkit against plain
/// streams.
#include "measuring.h"

#include <vision/toolkit/files/output_files.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

using namespace vision::toolkit;

namespace {

constexpr int pairs = 13;

/// About as large as the default files of a pair of 640x480.
const std::vector<std::pair<std::string, Bytes>>& files()
{
    static const std::vector<std::pair<std::string, Bytes>> all{{"rectified.png", Bytes(350'000, 1)},
                                                                {"disparity.png", Bytes(150'000, 2)},
                                                                {"disparity.pfm", Bytes(1'228'815, 3)},
                                                                {"points.ply", Bytes(2'400'000, 4)}};
    return all;
}

void writePlain(const std::filesystem::path& folder)
{
    std::filesystem::create_directory(folder);
    for (int pair = 0; pair < pairs; ++pair) {
        for (const auto& [name, bytes] : files()) {
            std::ofstream stream(folder / (std::to_string(pair) + name), std::ios::binary);
            stream.write(reinterpret_cast<const char*>(bytes.data()),
                         static_cast<std::streamsize>(bytes.size()));
        }
    }
}

void writeSafely(const std::filesystem::path& folder)
{
    const OutputFolder output(folder, ExistingFile::Replace);
    for (int pair = 0; pair < pairs; ++pair) {
        OutputFiles together(output);
        for (const auto& [name, bytes] : files()) {
            together.write(std::to_string(pair) + name, bytes);
        }
        together.commit();
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: writing FOLDER ROUNDS\n");
        return 2;
    }
    const std::filesystem::path folder = std::filesystem::path(argv[1]) / "writing";
    const auto results =
        measuring::compare({{"plain streams", [&] { writePlain(folder); }},
                            {"complete or absent, on the disk", [&] { writeSafely(folder); }}},
                           std::stoi(argv[2]),
                           [&] { std::filesystem::remove_all(folder); });
    std::filesystem::remove_all(folder);
    std::puts("\nWriting: four files of a pair, 4.1 MB\n| way | ms a pair | ratio |\n|---|---:|---:|");
    for (const auto& result : results) {
        std::printf("| %s | %.1f | %.2f |\n",
                    result.name.c_str(),
                    result.milliseconds.median / pairs,
                    result.ratio.median);
    }
}
