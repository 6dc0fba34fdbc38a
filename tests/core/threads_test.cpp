// SPDX-License-Identifier: Apache-2.0
#include "support/calibrations.h"
#include "support/matrices.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>
#include <tarn/log.h>

#include <thread>

namespace {

/// Runs the same work in several threads at once, more than once in each.
template <typename Work>
void runInThreads(int times, const Work& work)
{
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < times; ++i) {
                work(i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Threads, UseAPipelineEachWhileLoggingChanges)
{
    cv::Mat image(240, 320, CV_8UC1);
    cv::randu(image, 0, 256);
    const auto process = [&image, calibrations = support::makeCalibrations()] {
        const support::OpenStereo stereo(calibrations);
        const auto [left, right] = stereo.rectifyImages(image, image);
        return stereo.computeDepth(stereo.computeDisparity(left, right));
    };
    const cv::Mat expected = process();
    runInThreads(5, [&](int i) {
        tarn::log::setLevel("vision.stereo", i % 2 == 0 ? tarn::LogLevel::Verbose : tarn::LogLevel::None);
        tarn::log::setSink([](const tarn::log::Record&) {});
        EXPECT_TRUE(support::areBitEqual(process(), expected));
    });
}

} // namespace
