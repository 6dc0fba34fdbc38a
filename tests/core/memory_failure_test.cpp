// SPDX-License-Identifier: Apache-2.0
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

/// OpenCV loses a matrix's buffer when the allocation of what describes it fails; LeakSanitizer would count
/// that.
extern "C" const char* __lsan_default_suppressions() // NOLINT(bugprone-reserved-identifier)
{
    return "leak:cv::fastMalloc\n";
}

/// Fails once when the calling thread has used up its allocations. OpenCV makes one for every matrix buffer.
void* operator new(std::size_t size)
{
    const bool fails = allocationsLeft != unlimited && allocationsLeft-- == 0;
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    return memory ? memory : throw std::bad_alloc();
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

/// Makes the call again and again, each time with one more allocation that succeeds, until none fails.
/// After every failure `check` looks at what is left.
template <typename Call, typename Check>
int failEachAllocation(const Call& call, const Check& check)
{
    for (int failures = 0;; ++failures) {
        allocationsLeft = failures;
        try {
            call();
            allocationsLeft = unlimited;
            EXPECT_GE(failures, 4);
            return failures;
        } catch (const std::bad_alloc&) {
            allocationsLeft = unlimited;
            check();
        }
    }
}

TEST(MemoryFailure, IsReportedBySaveAndLeavesAPartOfAnAssignmentOrLoad)
{
    support::RecordedLog log(tarn::LogLevel::Error);
    const support::ScratchFolder folder;
    const std::string file = folder.path() + "/calibration.yml";
    const auto fresh = support::makeCalibration(640, 480, 0);
    const auto old = support::makeCalibration(320, 240, 1);
    auto target = old;
    const auto expectNewThenOld = [&] { // the fields are set in the order of declaration
        bool isNew = target.width == fresh.width;
        for (const auto field : support::matrixFields) {
            isNew = isNew && areBitEqual(target.*field, fresh.*field);
            EXPECT_TRUE(isNew || areBitEqual(target.*field, old.*field));
        }
        target = old;
    };
    failEachAllocation([&] { target = fresh; }, expectNewThenOld);
    EXPECT_EQ(target, fresh);

    std::size_t records = 0;
    const int failures = failEachAllocation([&] { fresh.save(file); }, [&] { records += log.take().size(); });
    EXPECT_EQ(records, static_cast<std::size_t>(failures));
    target = old;
    failEachAllocation([&] { target.load(file); }, expectNewThenOld);
    EXPECT_EQ(target, fresh);
}

} // namespace
