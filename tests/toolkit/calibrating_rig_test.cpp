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
            pair.view.points.push_back(static_cast<int>(pair.view.points.size()));
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

/// Images of a printed board, as the cameras take them.
class Photographs : public PairSequence
{
public:
    Photographs(const Board& board, std::vector<Pose> poses) : _print(print(board)), _poses(std::move(poses))
    {
    }

    std::size_t size() const override { return _poses.size(); }
    std::string name(std::size_t pair) const override { return std::to_string(pair); }
    PairNames images(std::size_t pair) const override { return {"l" + name(pair), "r" + name(pair)}; }
    Read take(std::size_t pair) override
    {
        return [this, pair] { return RawPair{take(_poses[pair], 0), take(_poses[pair], baseline)}; };
    }

private:
    cv::Mat take(const Pose& pose, double x) const
    {
        const cv::Matx33d camera(focalLength, 0, 318, 0, focalLength, 243, 0, 0, 1);
        return photograph(_print, pose, camera, {x, 0, 0}, cv::Mat(imageSize, CV_8U, cv::Scalar(255)));
    }

    Print _print;
    std::vector<Pose> _poses;
};

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
        Photographs pairs(board, makePoses(board, 12, 0.45, 0.45, 0.2));
        const BoardSearch search = findBoards(pairs, board, 2, [](std::size_t, std::size_t) {});
        const CalibrationReport report = calibrate(search, {});
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
