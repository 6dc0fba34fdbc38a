// SPDX-License-Identifier: Apache-2.0
#include "support/printed_board.h"

#include <vision/toolkit/calibration/calibration_report.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

using namespace support;
using namespace vision::toolkit;

namespace {

const cv::Size imageSize(640, 480);
constexpr double focalLength = 500;
constexpr double baseline = 0.1; // m

/// Where a point of the left camera's frame is seen by a camera that stands there; Y down, Z forward.
using Lens = std::function<cv::Point2d(const cv::Vec3d&)>;

cv::Point2d seeByPinhole(const cv::Vec3d& point)
{
    return {focalLength * point[0] / point[2] + 318, focalLength * point[1] / point[2] + 243};
}

/// A lens of 150 degrees that gives the angle from its axis.
cv::Point2d seeByFisheye(const cv::Vec3d& point)
{
    constexpr double perRadian = 240;
    const double radius = std::hypot(point[0], point[1]);
    const double angle = std::atan2(radius, point[2]);
    return {perRadian * angle * point[0] / radius + 318, perRadian * angle * point[1] / radius + 243};
}

/// What both cameras see of the board, with the noise of a detector.
BoardSearch look(const Board& board, const std::vector<Pose>& poses, const Lens& lens,
                 const cv::Vec3d& rightCamera)
{
    cv::RNG random(3);
    BoardSearch search;
    search.board = board;
    search.imageSize = imageSize;
    for (const Pose& pose : poses) {
        PairDetection pair;
        pair.size = imageSize;
        for (const cv::Point3f& point : makeBoardPoints(board)) {
            const cv::Vec3d place = pose.place(point);
            pair.view.ids.push_back(static_cast<int>(pair.view.ids.size()));
            for (auto* corners : {&pair.view.left, &pair.view.right}) {
                const bool isLeft = corners == &pair.view.left;
                const cv::Point2d noise(random.gaussian(0.1), random.gaussian(0.1));
                corners->emplace_back(lens(isLeft ? place : place - rightCamera) + noise);
            }
        }
        search.pairs.push_back(pair);
    }
    return search;
}

TEST(CalibratingRig, IsRefusedByName)
{
    const Board board = makeBoard(Pattern::Chessboard, {9, 6});
    const auto common = makePoses(board, 12, 0.5, 0.6, 0.3);
    const cv::Vec3d beside(baseline, 0, 0);
    const std::tuple<BoardSearch, Verdict, const char*> rows[] = {
        {look(board, common, seeByPinhole, beside), Verdict::Good, nullptr},
        {look(board, common, seeByPinhole, {0, baseline, 0}), Verdict::Refused, "vertical-rig"},
        {look(board, makePoses(board, 12, 0.02, 0.6, 0.3), seeByPinhole, beside),
         Verdict::Refused,
         "no-tilt"},
        {look(board, makePoses(board, 12, 0.5, 0.6, 0.05), seeByPinhole, beside),
         Verdict::Usable,
         "uncovered-corners"},
        {look(board, makePoses(board, 12, 0.5, 0.12, 0.6), seeByFisheye, beside / 5),
         Verdict::Refused,
         "fisheye-lens"},
    };
    for (const auto& [search, verdict, code] : rows) {
        const CalibrationReport report = calibrate(search, {});
        std::vector<std::string> codes;
        for (const Reason& reason : report.reasons) {
            codes.push_back(reason.note.code);
        }
        EXPECT_EQ(report.verdict, verdict) << testing::PrintToString(codes);
        if (code != nullptr) {
            EXPECT_THAT(codes, testing::Contains(code));
        }
    }
}

TEST(CalibratingRig, KnowsHowTheBoardIsBent)
{
    Board bowed = makeBoard(Pattern::Chessboard, {9, 6});
    const auto poses = makePoses(bowed, 12, 0.5, 0.4, 0.3);
    for (const double bow : {0.0, 0.001, -0.005}) {
        bowed.bend = {bow, 0, 0};
        BoardSearch search = look(bowed, poses, seeByPinhole, {baseline, 0, 0});
        search.board.bend = {};
        const CalibrationReport report = calibrate(search);
        EXPECT_EQ(report.verdict, Verdict::Good);
        EXPECT_NEAR(report.board.bend[0], bow, 0.0003);
        EXPECT_EQ(report.board.bend == cv::Vec3d(), bow == 0);
        EXPECT_EQ(report.notes.size(), bow == 0 ? 0U : 1U);
        const CalibrationResult& result = *report.result;
        const double deviation = result.uncertainty.cameras.left.focalLengthX;
        EXPECT_NEAR(result.fit.left.matrix.at<double>(0, 0), focalLength, 3 * deviation) << bow;
        EXPECT_LT(deviation, 2);                                 // px
        EXPECT_NEAR(result.fit.rms, 0.1 * std::sqrt(2.0), 0.02); // noise in x and y
    }
}

/// Images of a printed board, as the cameras take them.
std::vector<RawPair> takePhotographs(const Board& board)
{
    const Print printed = print(board);
    const cv::Matx33d camera(focalLength, 0, 318, 0, focalLength, 243, 0, 0, 1);
    const cv::Mat wall(imageSize, CV_8U, cv::Scalar(255));
    std::vector<RawPair> pairs;
    for (const Pose& pose : makePoses(board, 12, 0.45, 0.45, 0.2)) {
        pairs.push_back({photograph(printed, pose, camera, {}, wall),
                         photograph(printed, pose, camera, {baseline, 0, 0}, wall)});
    }
    return pairs;
}

TEST(CalibratingRig, IsFoundFromEveryKindOfBoard)
{
    std::vector<Board> boards{makeBoard(Pattern::Chessboard, {7, 7}),
                              makeBoard(Pattern::Circles, {8, 5}),
                              makeBoard(Pattern::AsymmetricCircles, {4, 9})};
#ifdef HAS_ARUCO
    boards.push_back(makeBoard(Pattern::Charuco, {8, 5}));
#endif
    for (const Board& board : boards) {
        SCOPED_TRACE(static_cast<int>(board.pattern));
        const CalibrationReport report = calibrate(takePhotographs(board), board);
        ASSERT_LE(report.verdict, Verdict::Usable) << report.reasons.front().note.text;
        EXPECT_GE(report.countUsed(), 10U);
        const CalibrationResult& result = *report.result;
        constexpr double likely = 4; // standard deviations
        EXPECT_NEAR(result.fit.left.matrix.at<double>(0, 0),
                    focalLength,
                    likely * result.uncertainty.cameras.left.focalLengthX);
        EXPECT_LT(result.uncertainty.cameras.left.focalLengthX, 0.01 * focalLength);
        EXPECT_NEAR(cv::norm(result.fit.translation), baseline, likely * result.uncertainty.baseline);
        EXPECT_LT(result.uncertainty.baseline, 0.01 * baseline);
        EXPECT_NEAR(result.squareMean, 1, 0.005);
    }
}

} // namespace
