#include "support/calibrations.h"
#include "support/log_records.h"
#include "support/matrices.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

constexpr int unlimited = -1;
thread_local int allocationsLeft = unlimited;

} // namespace

/// Fails once when the calling thread has used up its allocations. OpenCV makes one for every matrix buffer.
void* operator new(std::size_t size)
{
    const bool fails = allocationsLeft != unlimited && allocationsLeft-- == 0;
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

using support::areBitEqual;

class MemoryFailure : public testing::Test
{
protected:
    /// Makes the call again and again, each time with one more allocation that succeeds, until none fails.
    /// After every failure `check` looks at what is left.
    template <typename Call, typename Check>
    static int failEachAllocation(const Call& call, const Check& check)
    {
        for (int failures = 0;; ++failures) {
            allocationsLeft = failures;
            try {
                call();
                allocationsLeft = unlimited;
                return failures;
            } catch (const std::bad_alloc&) {
                allocationsLeft = unlimited;
                check();
            }
        }
    }

    /// Expects what an interrupted assignment or load may leave, new values first, old ones after, and goes
    /// back to the old ones.
    void expectNewThenOld()
    {
        bool isNew = _target.width == _fresh.width;
        EXPECT_TRUE(isNew || _target.width == _old.width);
        for (const auto field : support::matrixFields) {
            isNew = isNew && areBitEqual(_target.*field, _fresh.*field);
            EXPECT_TRUE(isNew || areBitEqual(_target.*field, _old.*field));
        }
        _target = _old;
    }

    support::RecordedLog _log{tarn::LogLevel::Error};
    const vision::Calibration _fresh = support::makeCalibration(640, 480, 0);
    const vision::Calibration _old = support::makeCalibration(320, 240, 1);
    vision::Calibration _target = _old;
    const support::ScratchFolder _folder;
    const std::string _file = _folder.path() + "/calibration.yml";
};

TEST_F(MemoryFailure, LeavesNoCopyOrAPartOfAnAssignment)
{
    EXPECT_GE(failEachAllocation([this] { const vision::Calibration copy(_fresh); }, [] {}), 4);
    EXPECT_GE(failEachAllocation([this] { _target = _fresh; }, [this] { expectNewThenOld(); }), 4);
    EXPECT_EQ(_target, _fresh);
}

TEST_F(MemoryFailure, IsReportedBySaveAndLeavesAPartOfALoad)
{
    int records = 0;
    const auto count = [&] { records += static_cast<int>(_log.take().size()); };
    const int failures = failEachAllocation([this] { _fresh.save(_file); }, count);
    EXPECT_GE(failures, 4);
    EXPECT_EQ(records, failures);
    EXPECT_GE(failEachAllocation([this] { _target.load(_file); }, [this] { expectNewThenOld(); }), 4);
    EXPECT_EQ(_target, _fresh);
}

TEST_F(MemoryFailure, LeavesTheCacheOfDepthUsable)
{
    const cv::Mat disparity(240, 320, CV_32FC1, cv::Scalar(20));
    const cv::Mat expected = support::OpenStereo(support::makeCalibrations()).computeDepth(disparity);
    const support::OpenStereo stereo(support::makeCalibrations());
    cv::Mat points;
    const auto checkCache = [&] {
        for (const auto& [size, transform] : stereo._imageTransforms) {
            EXPECT_FALSE(transform.reprojectionMatrix.empty());
        }
    };
    EXPECT_GE(failEachAllocation([&] { points = stereo.computeDepth(disparity); }, checkCache), 4);
    EXPECT_TRUE(areBitEqual(points, expected));
}

} // namespace
