#include "support/calibrations.h"
#include "support/matrices.h"

#include <tarn/log.h>

#include <opencv2/core.hpp>

#include <gtest/gtest.h>

#include <thread>

namespace {

/// Runs the same work in several threads at once.
template <typename Work>
void runInThreads(const Work& work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Threads, ReadOneCalibrationAtOnce)
{
    const vision::Calibration shared = support::makeCalibration(640, 480, 0);
    const vision::Calibration half = shared.scaleTo(320, 240);
    runInThreads([&] {
        for (int i = 0; i < 50; ++i) {
            const vision::Calibration copy(shared);
            EXPECT_TRUE(copy == shared);
            EXPECT_TRUE(shared.scaleTo(320, 240) == half);
        }
    });
}

TEST(Threads, UseAPipelineEachWhileLoggingChanges)
{
    cv::Mat image(240, 320, CV_8UC1);
    cv::randu(image, 0, 256);
    const auto calibrations = support::makeCalibrations();
    const auto process = [&] {
        const support::OpenStereo stereo(calibrations);
        const auto [left, right] = stereo.rectifyImages(image, image);
        return stereo.computeDepth(stereo.computeDisparity(left, right));
    };
    const cv::Mat expected = process();

    runInThreads([&] {
        for (int i = 0; i < 5; ++i) {
            tarn::log::setLevel("vision.stereo", i % 2 == 0 ? tarn::LogLevel::Verbose : tarn::LogLevel::None);
            tarn::log::setSink([](const tarn::log::Record&) {});
            EXPECT_TRUE(support::areBitEqual(process(), expected));
        }
    });
    tarn::log::setSink({});
    tarn::log::setLevel("vision.stereo", tarn::LogLevel::Error);
}

} // namespace
