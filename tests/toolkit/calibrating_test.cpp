// SPDX-License-Identifier: Apache-2.0
#include "board/point_order.h"

#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/pair_sequence.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <functional>

using namespace vision::toolkit;

namespace {

const std::string imageFolder = STEREOVISION_IMAGE_DIR;

Board makeBoard(const cv::Size& size = {9, 6})
{
    Board board;
    board.size = size;
    board.spacing = 0.025;
    return board;
}

cv::Mat read(const char* side, int number)
{
    return cv::imread(cv::format("%s/%s%02d.jpg", imageFolder.c_str(), side, number), cv::IMREAD_GRAYSCALE);
}

std::vector<RawPair> readPairs(const std::vector<int>& numbers)
{
    std::vector<RawPair> pairs;
    for (const int number : numbers) {
        pairs.push_back({read("left", number), read("right", number)});
    }
    return pairs;
}

/// The 13 real pairs; numbers 0 to 12.
const BoardSearch& realPairs()
{
    static const BoardSearch found =
        findBoards(*makePairs(readPairs({1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14})), makeBoard());
    return found;
}

std::vector<std::string> codesOf(const CalibrationReport& report)
{
    std::vector<std::string> codes;
    for (const Reason& reason : report.reasons) {
        codes.push_back(reason.note.code);
    }
    return codes;
}

double focalLengthOf(const CalibrationReport& report)
{
    return report.result->fit.left.matrix.at<double>(0, 0);
}

TEST(Calibrating, TrustsTheRealPairs)
{
    const CalibrationReport report = calibrate(realPairs(), {});
    EXPECT_EQ(report.verdict, Verdict::Good) << testing::PrintToString(codesOf(report));
    EXPECT_EQ(report.countUsed(), 13U);
    const CalibrationResult& result = *report.result;
    for (const double rms : {result.fit.left.rms, result.fit.right.rms, result.fit.rms}) {
        EXPECT_LT(rms, 0.2);
    }
    EXPECT_LT(result.rowError, 0.16);
    EXPECT_NEAR(result.squareMean, 1, 0.002);
    EXPECT_LT(result.squareDeviation, 0.01);
    EXPECT_NEAR(focalLengthOf(report), 532.9, 0.6); // px, OpenCV's own estimate
    EXPECT_NEAR(result.uncertainty.cameras.left.focalLengthX, 0.6, 0.1);
    EXPECT_NEAR(cv::norm(result.fit.translation), 0.0832, 0.0005);
}

/// What can be wrong with the images that somebody took.
struct Session
{
    const char* name;
    std::function<void(std::vector<PairDetection>&)> take; ///< from the detections of the real pairs
    Verdict verdict;
    const char* code; ///< of the reason that must be named, or none
    std::size_t used;
};

void repeatFirst(std::vector<PairDetection>& pairs, double noise)
{
    pairs.assign(12, pairs.front());
    cv::RNG random(1);
    for (PairDetection& pair : pairs) {
        for (Corners* corners : {&pair.view.left, &pair.view.right}) {
            for (cv::Point2f& corner : *corners) {
                corner += cv::Point2f(static_cast<float>(random.gaussian(noise)),
                                      static_cast<float>(random.gaussian(noise)));
            }
        }
    }
}

/// The corners as they would be had all right images been stored so.
void changeRight(std::vector<PairDetection>& pairs, ImageChange change)
{
    for (PairDetection& pair : pairs) {
        pair.view.right = undo(change, pair.view.right, pair.size, makeBoard().size.width);
        agreeOnOrder(makeBoard(), pair.view);
    }
}

/// Each pair so often.
void repeatAll(std::vector<PairDetection>& pairs, std::size_t times)
{
    const std::vector<PairDetection> once = pairs;
    for (std::size_t i = 1; i < times; ++i) {
        pairs.insert(pairs.end(), once.begin(), once.end());
    }
}

const Session sessions[] = {
    {"TwelveCopies", [](auto& pairs) { repeatFirst(pairs, 0); }, Verdict::Refused, "too-few-poses", 12},
    {"TwelveNoisyCopies",
     [](auto& pairs) { repeatFirst(pairs, 0.1); },
     Verdict::Refused,
     "too-few-poses",
     12},
    {"FirstFour", [](auto& pairs) { pairs.resize(4); }, Verdict::Usable, "too-few-poses", 4},
    {"TwoPairs", [](auto& pairs) { pairs.resize(2); }, Verdict::Refused, "too-few-pairs", 2},
    {"NoPair", [](auto& pairs) { pairs.clear(); }, Verdict::Refused, "too-few-pairs", 0},
    {"WrongPartners",
     [](auto& pairs) {
         std::swap(pairs[4].view.right, pairs[5].view.right);
         pairs[7].view.right = pairs[8].view.right;
     },
     Verdict::Good,
     nullptr,
     10},
    {"ShiftedOrder",
     [](auto& pairs) {
         for (std::size_t i = 1; i < pairs.size(); ++i) {
             pairs[i - 1].view.right = pairs[i].view.right;
         }
     },
     Verdict::Refused,
     "pairs-do-not-fit",
     13},
    {"SwappedSides",
     [](auto& pairs) {
         for (PairDetection& pair : pairs) {
             std::swap(pair.view.left, pair.view.right);
         }
     },
     Verdict::Refused,
     "swapped-cameras",
     13},
    {"FiveOfThemSwapped",
     [](auto& pairs) {
         for (std::size_t i = 0; i < 5; ++i) {
             std::swap(pairs[2 * i].view.left, pairs[2 * i].view.right);
         }
     },
     Verdict::Usable,
     "pairs-swapped",
     8},
    {"AllRightTurned",
     [](auto& pairs) { changeRight(pairs, ImageChange::Turned); },
     Verdict::Refused,
     "camera-turned-180",
     0},
    {"AllRightOnTheirSide",
     [](auto& pairs) { changeRight(pairs, ImageChange::TurnedLeft); },
     Verdict::Refused,
     "camera-turned-90",
     0},
    {"AllRightMirrored",
     [](auto& pairs) { changeRight(pairs, ImageChange::Mirrored); },
     Verdict::Refused,
     "camera-mirrored",
     0},
    {"SameImageTwice",
     [](auto& pairs) {
         for (PairDetection& pair : pairs) {
             pair.view.right = pair.view.left;
         }
     },
     Verdict::Refused,
     "identical-images",
     0},
    {"Many", [](auto& pairs) { repeatAll(pairs, 3); }, Verdict::Good, nullptr, 39},
};

TEST(Calibrating, JudgesWhatPeopleTake)
{
    for (const Session& session : sessions) {
        SCOPED_TRACE(session.name);
        BoardSearch found = realPairs();
        session.take(found.pairs);
        const CalibrationReport report = calibrate(found, {});
        EXPECT_EQ(report.verdict, session.verdict) << testing::PrintToString(codesOf(report));
        EXPECT_EQ(report.countUsed(), session.used);
        if (session.code != nullptr) {
            EXPECT_THAT(codesOf(report), testing::Contains(session.code));
        }
        if (report.verdict <= Verdict::Usable) {
            EXPECT_NEAR(cv::norm(report.result->fit.translation), 0.0832, 0.0005);
        }
    }
}

TEST(Calibrating, IsLessCertainOfFourPairs)
{
    BoardSearch few = realPairs();
    few.pairs.resize(4);
    const auto all = calibrate(realPairs(), {}).result->uncertainty;
    const auto four = calibrate(few, {}).result->uncertainty;
    for (const double ratio :
         {four.cameras.left.focalLengthX / all.cameras.left.focalLengthX, four.baseline / all.baseline}) {
        EXPECT_NEAR(ratio, 2.2, 0.7); // about twice
    }
    EXPECT_GT(four.depths[1].fromCalibration, 2 * all.depths[1].fromCalibration);
}

TEST(Calibrating, RepairsAnImageTurnedBy180Degrees)
{
    std::vector<RawPair> pairs = readPairs({1, 2, 3, 4, 5, 6});
    cv::rotate(pairs[3].right, pairs[3].right, cv::ROTATE_180);
    const CalibrationReport report = calibrate(pairs, makeBoard());
    EXPECT_EQ(report.countUsed(), 6U);
    EXPECT_EQ(report.pairs[3].repair.value().subject, "right image 3");
    EXPECT_TRUE(report.pairs[3].isRightTurned);
    EXPECT_LT(report.result->fit.rms, 0.2);
}

TEST(Calibrating, StopsWhenToldTo)
{
    std::size_t calls = 0;
    const Progress progress = [&calls](std::size_t done, std::size_t total) {
        EXPECT_EQ(total, 6U);
        ++calls;
        return done < 2;
    };
    try {
        calibrate(readPairs({1, 2, 3, 4, 5, 6}), makeBoard(), {}, progress);
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.note().code, "cancelled");
    }
    EXPECT_EQ(calls, 3U); // none of 6, one and two
}

} // namespace
