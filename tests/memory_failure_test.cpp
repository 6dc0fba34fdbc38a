#include "support/failing_memory.h"
#include "support/scratch_folder.h"
#include "support/support.h"

#include <gtest/gtest.h>

namespace {

using support::areBitEqual;
using support::failEachAllocation;

class MemoryFailure : public ::testing::Test
{
protected:
    /// What an interrupted assignment or load may leave: new values first, old ones after.
    void expectNewThenOld(const vision::Calibration& record) const
    {
        bool isNew = record.width == fresh.width;
        EXPECT_TRUE(isNew || record.width == old.width);
        for (const auto field : support::matrixFields) {
            isNew = isNew && areBitEqual(record.*field, fresh.*field);
            EXPECT_TRUE(isNew || areBitEqual(record.*field, old.*field));
        }
    }

    support::RecordedLog log{tarn::LogLevel::Error};
    const vision::Calibration fresh = support::makeCalibration(640, 480, 0);
    const vision::Calibration old = support::makeCalibration(320, 240, 1);
    const support::ScratchFolder folder;
    const std::string file = folder.path() + "/calibration.yml";
};

TEST_F(MemoryFailure, LeavesNoCopy)
{
    EXPECT_GE(failEachAllocation([this] { const vision::Calibration copy(fresh); }, [] {}), 4);
}

TEST_F(MemoryFailure, LeavesAPartOfAnAssignment)
{
    vision::Calibration target = old;
    const auto check = [&] {
        expectNewThenOld(target);
        target = old;
    };
    EXPECT_GE(failEachAllocation([&] { target = fresh; }, check), 4);
    EXPECT_EQ(target, fresh);
}

TEST_F(MemoryFailure, LeavesAPartOfALoad)
{
    fresh.save(file);
    vision::Calibration target = old;
    const auto check = [&] {
        expectNewThenOld(target);
        target = old;
    };
    EXPECT_GE(failEachAllocation([&] { target.load(file); }, check), 4);
    EXPECT_EQ(target, fresh);
}

TEST_F(MemoryFailure, IsReportedBySave)
{
    std::size_t records = 0;
    const int failures =
        failEachAllocation([this] { fresh.save(file); }, [&] { records += log.take().size(); });
    EXPECT_GE(failures, 4);
    EXPECT_EQ(records, static_cast<std::size_t>(failures));
}

TEST_F(MemoryFailure, LeavesTheCacheOfDepthUsable)
{
    const support::OpenStereo reference(support::makeCalibrations());
    const cv::Mat disparity(240, 320, CV_32FC1, cv::Scalar(20));
    const cv::Mat expected = reference.computeDepth(disparity);

    const support::OpenStereo stereo(support::makeCalibrations());
    const auto check = [&] {
        ASSERT_LE(stereo._imageTransforms.size(), 1u);
        if (!stereo._imageTransforms.empty()) {
            EXPECT_FALSE(stereo._imageTransforms.begin()->second.reprojectionMatrix.empty());
        }
    };
    cv::Mat points;
    EXPECT_GE(failEachAllocation([&] { points = stereo.computeDepth(disparity); }, check), 4);
    EXPECT_TRUE(areBitEqual(points, expected));
}

} // namespace
