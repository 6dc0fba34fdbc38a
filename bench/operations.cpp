/// Every operation of the library by image size, with its allocations and peak memory, and how the cost of
/// the stages grows with the number of disparities and of cores.
#include "frame.h"
#include "heap.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/utility.hpp>

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>

namespace {

using bench::Frame;
using vision::Stereo;

/// Benchmark reports what it finds as allocs_per_iter and max_bytes_used.
struct HeapManager : benchmark::MemoryManager
{
    void Start() override { heap::startCounting(); }

    void Stop(Result* result) override
    {
        const heap::Usage usage = heap::stopCounting();
        result->num_allocs = usage.allocations;
        result->max_bytes_used = usage.peakBytes;
    }
};

/// Made at first use and kept: photographs take longer than most operations.
Frame& frameOf(const cv::Size& size)
{
    static std::map<int, Frame> frames;
    return frames.try_emplace(size.width, size).first->second;
}

/// What a benchmark runs and how.
struct Setting
{
    Stereo::StereoAlgorithm algorithm = Stereo::BM;
    int disparities = 80;
    int threads = -1; ///< -1 leaves the number to OpenCV
};

template <typename Operation>
void add(const std::string& name, const cv::Size& size, const Setting& setting, Operation operation)
{
    const auto run = [=](benchmark::State& state) {
        Frame& frame = frameOf(size);
        frame.stereo.setStereoAlgorithm(setting.algorithm);
        frame.stereo.setDisparityNumber(setting.disparities);
        cv::setNumThreads(setting.threads);
        for (auto _ : state) {
            benchmark::DoNotOptimize(std::invoke(operation, frame));
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

struct Operation
{
    std::string name;
    std::function<cv::Mat(const Frame&)> run;
    Stereo::StereoAlgorithm algorithm = Stereo::BM;
};

void addBySize()
{
    const Operation operations[] = {
        {"transforms", [](const Frame& f) { return f.stereo.computeImageTransforms(f.size).leftMapX; }},
        {"rectify", [](const Frame& f) { return f.stereo.rectifyImages(f.raw.first, f.raw.second).first; }},
        {"disparity-bm", &Frame::computeDisparity},
        {"disparity-sgbm", &Frame::computeDisparity, Stereo::SGBM},
        {"depth", [](const Frame& f) { return f.stereo.computeDepth(f.disparity); }},
        {"frame-bm", &Frame::run},
        {"frame-sgbm", &Frame::run, Stereo::SGBM},
    };
    for (const Operation& operation : operations) {
        for (const cv::Size& size : bench::sizes) {
            add(operation.name + "/" + bench::nameOf(size), size, {operation.algorithm}, operation.run);
        }
        for (const int threads : {1, 2}) {
            add(operation.name + "/cores:" + std::to_string(threads), {1280, 960},
                {operation.algorithm, 80, threads}, operation.run);
        }
    }
}

void addByDisparities()
{
    for (const int disparities : {16, 32, 64, 128, 256}) {
        const std::string suffix = "/disparities:" + std::to_string(disparities);
        add("disparity-bm" + suffix, {640, 480}, {Stereo::BM, disparities}, &Frame::computeDisparity);
        add("disparity-sgbm" + suffix, {640, 480}, {Stereo::SGBM, disparities}, &Frame::computeDisparity);
    }
}

void addFiles(const std::string& file)
{
    const cv::Size size{640, 480};
    add("calibration-save", size, {}, [file](const Frame& frame) {
        frame.calibrations.left.save(file);
        return true;
    });
    add("calibration-load", size, {}, [file](const Frame&) {
        vision::Calibration calibration;
        calibration.load(file);
        return calibration;
    });
}

} // namespace

int main(int argc, char** argv)
{
    const auto file =
        std::filesystem::temp_directory_path() / ("calibration-" + std::to_string(getpid()) + ".yml");
    addBySize();
    addByDisparities();
    addFiles(file.string());
    support::makeCalibrations().left.save(file.string());
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    HeapManager manager;
    benchmark::RegisterMemoryManager(&manager);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove(file);
    return EXIT_SUCCESS;
}
