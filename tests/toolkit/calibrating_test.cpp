// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/failure.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <functional>

using namespace vision::toolkit;
using testing::HasSubstr;

namespace {

const std::string imageFolder = STEREOVISION_IMAGE_DIR;

Board makeBoard(const cv::Size& size = {9, 6})
{
    Board board;
    board.size = size;
    board.spacing = 0.025;
    return board;
}

/// Pairs that are in memory, as if they were files.
class Pairs : public PairSequence
{
public:
    void add(const cv::Mat& left, const cv::Mat& right) { _pairs.push_back({left, right}); }
    void add(int left, int right) { add(read("left", left), read("right", right)); }

    static cv::Mat read(const char* side, int number)
    {
        return cv::imread(cv::format("%s/%s%02d.jpg", imageFolder.c_str(), side, number),
                          cv::IMREAD_GRAYSCALE);
    }

    std::size_t size() const override { return _pairs.size(); }
    std::string name(std::size_t pair) const override { return std::to_string(pair); }
    PairNames images(std::size_t pair) const override { return {"l" + name(pair), "r" + name(pair)}; }
    Read take(std::size_t pair) override
    {
        return [raw = _pairs[pair]] { return raw; };
    }

private:
    std::vector<RawPair> _pairs;
};

BoardSearch search(Pairs& pairs, const Board& board)
{
    return findBoards(pairs, board, 2, [](std::size_t, std::size_t) {});
}

/// The 13 real pairs; numbers 0 to 12.
const BoardSearch& realPairs()
{
    static const BoardSearch found = [] {
        Pairs pairs;
        for (const int number : {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14}) {
            pairs.add(number, number);
        }
        return search(pairs, makeBoard());
    }();
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
    std::function<void(std::vector<PairDetection>&)> take; ///< from the sightings of the real pairs
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
     9},
    {"SwappedSides",
     [](auto& pairs) {
         for (PairDetection& pair : pairs) {
             std::swap(pair.view.left, pair.view.right);
         }
     },
     Verdict::Refused,
     "swapped-cameras",
     13},
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
    Pairs turned;
    for (const int number : {1, 2, 3, 4, 5, 6}) {
        cv::Mat right = Pairs::read("right", number);
        if (number == 4) {
            cv::rotate(right, right, cv::ROTATE_180);
        }
        turned.add(Pairs::read("left", number), right);
    }
    const CalibrationReport report = calibrate(search(turned, makeBoard()), {});
    EXPECT_EQ(report.countUsed(), 6U);
    EXPECT_THAT(report.pairs[3].repair, HasSubstr("r3: turned by 180 degrees"));
    EXPECT_TRUE(report.pairs[3].isRightTurned);
    EXPECT_LT(report.result->fit.rms, 0.2);
}

} // namespace
