#include <vision/toolkit/calibrating/calibration_report.h>
#include <vision/toolkit/failure.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <functional>
#include <numeric>

#ifdef HAS_ARUCO
#include <opencv2/aruco/charuco.hpp>
#endif

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

/// A position of the board: from its points to the left camera's frame.
struct Pose
{
    cv::Matx33d rotation;
    cv::Vec3d translation;

    cv::Vec3d place(const cv::Point3f& point) const
    {
        return rotation * cv::Vec3d(point.x, point.y, point.z) + translation;
    }
};

/// Positions all over the image, tilted to all sides.
std::vector<Pose> makePoses(const Board& board, double tilt, double distance, double spread)
{
    const auto points = makeBoardPoints(board);
    const cv::Point3f middle = (points.front() + points.back()) / 2;
    std::vector<Pose> poses;
    for (int i = 0; i < 12; ++i) {
        const double angle = 2.4 * i; // the golden angle: no two alike
        const double reach = spread * std::sqrt(i / 11.0);
        Pose pose;
        cv::Matx33d roll;
        cv::Rodrigues(cv::Vec3d(tilt * std::cos(angle), tilt * std::sin(angle), 0), pose.rotation);
        cv::Rodrigues(cv::Vec3d(0, 0, 0.1 * (i % 5 - 2)), roll);
        pose.rotation = pose.rotation * roll;
        const cv::Vec3d centre(1.3 * reach * std::sin(angle) + baseline / 2, reach * std::cos(angle), 1);
        pose.translation =
            distance * (1 + 0.1 * (i % 3)) * centre - pose.rotation * cv::Vec3d(middle.x, middle.y, 0);
        poses.push_back(pose);
    }
    return poses;
}

Board makeBoard(Pattern pattern, const cv::Size& size)
{
    Board board;
    board.pattern = pattern;
    board.size = size;
    board.spacing = pattern == Pattern::AsymmetricCircles ? 0.015 : 0.025;
    board.markerSize = 0.018;
    board.dictionary = "DICT_4X4_50";
    return board;
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
        PairSighting pair;
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
    const auto common = makePoses(board, 0.5, 0.6, 0.3);
    const cv::Vec3d beside(baseline, 0, 0);
    const std::tuple<BoardSearch, Verdict, const char*> rows[] = {
        {look(board, common, seeByPinhole, beside), Verdict::Good, nullptr},
        {look(board, common, seeByPinhole, {0, baseline, 0}), Verdict::Refused, "vertical-rig"},
        {look(board, makePoses(board, 0.02, 0.6, 0.3), seeByPinhole, beside), Verdict::Refused, "no-tilt"},
        {look(board, makePoses(board, 0.5, 0.6, 0.05), seeByPinhole, beside),
         Verdict::Usable,
         "uncovered-corners"},
        {look(board, makePoses(board, 0.5, 0.12, 0.6), seeByFisheye, beside / 5),
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

/// One printed board: its picture, and how many px of it are a metre. The first point lies at the given
/// place.
struct Print
{
    cv::Mat picture;
    double scale;
    cv::Point2d first; ///< px
};

Print print(const Board& board)
{
    constexpr double scale = 4000; // px per m
    const double spacing = board.spacing * scale;
    const auto points = makeBoardPoints(board);
    const cv::Point2d first(2 * spacing, 2 * spacing);
    const cv::Size size(cvRound(points.back().x * scale + 5 * spacing),
                        cvRound(points.back().y * scale + 4 * spacing));
    Print made{cv::Mat(size, CV_8U, cv::Scalar(255)), scale, first};
    if (board.pattern == Pattern::Chessboard) {
        for (int row = 0; row <= board.size.height; ++row) {
            for (int column = row % 2; column <= board.size.width; column += 2) {
                const cv::Point corner(cvRound(first.x + (column - 1) * spacing),
                                       cvRound(first.y + (row - 1) * spacing));
                made.picture(cv::Rect(corner, cv::Size(cvRound(spacing), cvRound(spacing)))) = 0;
            }
        }
    } else {
        for (const cv::Point3f& point : points) {
            cv::circle(made.picture,
                       cv::Point(cvRound(first.x + point.x * scale), cvRound(first.y + point.y * scale)),
                       cvRound(board.pattern == Pattern::Circles ? 0.3 * spacing : 0.5 * spacing),
                       0,
                       cv::FILLED,
                       cv::LINE_AA);
        }
    }
#ifdef HAS_ARUCO
    if (board.pattern == Pattern::Charuco) {
        const auto drawn = cv::aruco::CharucoBoard::create(board.size.width + 1,
                                                           board.size.height + 1,
                                                           static_cast<float>(board.spacing),
                                                           static_cast<float>(board.markerSize),
                                                           cv::aruco::getPredefinedDictionary(0));
        made.picture = 255;
        const cv::Rect area(cvRound(spacing),
                            cvRound(spacing),
                            cvRound((board.size.width + 1) * spacing),
                            cvRound((board.size.height + 1) * spacing));
        cv::Mat part = made.picture(area);
        drawn->draw(area.size(), part);
    }
#endif
    return made;
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
        return [this, pair] {
            return RawPair{photograph(_poses[pair], 0), photograph(_poses[pair], baseline)};
        };
    }

private:
    cv::Mat photograph(const Pose& pose, double x) const
    {
        std::vector<cv::Point2f> from;
        std::vector<cv::Point2f> to;
        for (const cv::Point3f& corner :
             {cv::Point3f(0, 0, 0), {0.2F, 0, 0}, {0, 0.2F, 0}, {0.2F, 0.2F, 0}}) {
            from.emplace_back(static_cast<float>(_print.first.x + corner.x * _print.scale),
                              static_cast<float>(_print.first.y + corner.y * _print.scale));
            to.emplace_back(seeByPinhole(pose.place(corner) - cv::Vec3d(x, 0, 0)));
        }
        cv::Mat image;
        cv::warpPerspective(_print.picture,
                            image,
                            cv::getPerspectiveTransform(from, to),
                            imageSize,
                            cv::INTER_AREA,
                            cv::BORDER_CONSTANT,
                            255);
        cv::GaussianBlur(image, image, {}, 0.8);
        return image;
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
        Photographs pairs(board, makePoses(board, 0.45, 0.45, 0.2));
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
