// SPDX-License-Identifier: Apache-2.0
/// Every operation of the library by image size, with its allocations and peak memory, and how the cost of
/// the stages grows with the number of disparities and of cores.
#include "frame.h"
#include "heap.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/utility.hpp>

#include <filesystem>
#include <functional>
#include <map>
#include <unistd.h>

namespace {

using bench::Frame;
using vision::Stereo;

/// Made at first use and kept: photographs take longer than most operations.
Frame& frameOf(const cv::Size& size)
{
    static std::map<int, Frame> frames;
    return frames.try_emplace(size.width, size).first->second;
}

struct Operation
{
    std::string name;
    std::function<cv::Mat(const Frame&)> run;
    Stereo::StereoAlgorithm algorithm = Stereo::BM;
};

const Operation bmDisparity{"disparity-bm", &Frame::computeDisparity};
const Operation sgbmDisparity{"disparity-sgbm", &Frame::computeDisparity, Stereo::SGBM};

/// @param cores -1 leaves their number to OpenCV
void add(const Operation& operation, const std::string& suffix, const cv::Size& size, int disparities = 80,
         int cores = -1)
{
    const auto run = [=](benchmark::State& state) {
        Frame& frame = frameOf(size);
        frame.stereo.setStereoAlgorithm(operation.algorithm);
        frame.stereo.setDisparityNumber(disparities);
        cv::setNumThreads(cores);
        operation.run(frame); // fills caches
        heap::startCounting();
        operation.run(frame);
        const heap::Usage usage = heap::stopCounting();
        state.counters["allocations"] = static_cast<double>(usage.allocations);
        state.counters["peakBytes"] = static_cast<double>(usage.peakBytes);
        for (auto _ : state) {
            benchmark::DoNotOptimize(operation.run(frame));
        }
    };
    benchmark::RegisterBenchmark((operation.name + suffix).c_str(), run)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void addAll(const std::string& file)
{
    const Operation operations[] = {
        {"transforms", [](const Frame& f) { return f.stereo.computeImageTransforms(f.size).leftMapX; }},
        {"rectify", [](const Frame& f) { return f.stereo.rectifyImages(f.raw.first, f.raw.second).first; }},
        bmDisparity,
        sgbmDisparity,
        {"depth", [](const Frame& f) { return f.stereo.computeDepth(f.disparity); }},
        {"frame-bm", &Frame::run},
        {"frame-sgbm", &Frame::run, Stereo::SGBM},
    };
    for (const Operation& operation : operations) {
        for (const cv::Size& size : bench::sizes) {
            add(operation, "/" + bench::nameOf(size), size);
        }
        for (const int cores : {1, 2}) {
            add(operation, "/cores:" + std::to_string(cores), {1280, 960}, 80, cores);
        }
    }
    for (const int disparities : {16, 32, 64, 128, 256}) {
        const std::string suffix = "/disparities:" + std::to_string(disparities);
        add(bmDisparity, suffix, {640, 480}, disparities);
        add(sgbmDisparity, suffix, {640, 480}, disparities);
    }
    const auto save = [file](const Frame& frame) {
        frame.calibrations.left.save(file);
        return cv::Mat();
    };
    const auto load = [file](const Frame&) {
        vision::Calibration calibration;
        calibration.load(file);
        return calibration.cameraMatrix;
    };
    add({"calibration-save", save}, "", {640, 480});
    add({"calibration-load", load}, "", {640, 480});
}

} // namespace

int main(int argc, char** argv)
{
    const auto file =
        std::filesystem::temp_directory_path() / ("calibration-" + std::to_string(getpid()) + ".yml");
    addAll(file.string());
    support::makeCalibrations().left.save(file.string());
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove(file);
    return EXIT_SUCCESS;
}
