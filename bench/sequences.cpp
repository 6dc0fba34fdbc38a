// SPDX-License-Identifier: Apache-2.0
/// How much several workers speed up the depth of a sequence, files included.
///
/// Usage: sequences IMAGES ROUNDS, where IMAGES is the folder of left01.jpg and so on. Prints a table.
#include "measuring.h"

#include <vision/toolkit/sequence/depth_run.h>

#include <opencv2/core/utility.hpp>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace vision::toolkit;

/// Cameras without distortion, about as those that took the images: what is measured does not depend on it.
CalibrationPair makeCalibrations()
{
    CalibrationPair pair;
    for (vision::Calibration* const camera : {&pair.left, &pair.right}) {
        camera->width = 640;
        camera->height = 480;
        camera->cameraMatrix = (cv::Mat_<float>(3, 3) << 520, 0, 320, 0, 520, 240, 0, 0, 1);
        camera->projectionMatrix = (cv::Mat_<float>(3, 4) << 520, 0, 320, 0, 0, 520, 240, 0, 0, 0, 1, 0);
    }
    pair.right.projectionMatrix.at<float>(0, 3) = -520 * 0.083f;
    return pair;
}

DepthRun makeRun(Algorithm algorithm, bool isPlain, unsigned jobs)
{
    DepthSettings settings;
    settings.matcher.algorithm = algorithm;
    settings.plain = isPlain;
    settings.range.minDisparity = isPlain ? std::optional<int>() : 0;
    settings.range.disparities = 160;
    return {makeRig(makeCalibrations()),
            settings,
            1,
            OutputSet::makeDefault(true),
            std::nullopt,
            {},
            jobs,
            false};
}

void process(const std::string& images, const DepthRun& run)
{
    const auto folder = std::filesystem::temp_directory_path() / ("sequences-" + std::to_string(run.jobs));
    cv::setNumThreads(static_cast<int>(run.jobs)); // one for each worker
    const auto pairs = openPairs({{images + "/left??.jpg"}, {images + "/right??.jpg"}, false});
    {
        const OutputFolder output(folder, ExistingFile::Replace);
        runDepth(*pairs, run, output, [](const PairReport& report) {
            if (report.error) {
                std::fprintf(stderr, "%s\n", report.error->text.c_str());
                std::exit(1);
            }
        });
    }
    std::filesystem::remove_all(folder);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: sequences IMAGES ROUNDS\n");
        return 2;
    }
    const std::string images = argv[1];
    const int rounds = std::stoi(argv[2]);
    const auto cores = static_cast<unsigned>(cv::getNumberOfCPUs());
    constexpr double pairs = 13;
    std::printf("\nSequences: 13 pairs, 640x480, 160 disparities, all default files; %u jobs against one\n",
                cores);
    std::puts(
        "| matcher | pairs/s, 1 job | pairs/s | ratio | share of the cores |\n|---|---:|---:|---:|---:|");
    const std::tuple<const char*, Algorithm, bool> rows[] = {{"bm, plain", Algorithm::Bm, true},
                                                             {"sgbm, plain", Algorithm::Sgbm, true},
                                                             {"bm", Algorithm::Bm, false},
                                                             {"sgm", Algorithm::Sgm, false}};
    for (const auto& [name, algorithm, isPlain] : rows) {
        const DepthRun one = makeRun(algorithm, isPlain, 1);
        const DepthRun all = makeRun(algorithm, isPlain, cores);
        const auto results = measuring::compare(
            {{"all", [&] { process(images, all); }}, {"one", [&] { process(images, one); }}}, rounds);
        const double ratio = results[1].ratio.median;
        std::printf("| %s | %.1f | %.1f | %.2f | %.0f %% |\n",
                    name,
                    1000 * pairs / results[1].milliseconds.median,
                    1000 * pairs / results[0].milliseconds.median,
                    ratio,
                    100 * ratio / cores);
    }
}
