/// The pipeline on real pictures: a chessboard whose squares measure 25 mm.
#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const cv::Size board(9, 6);      // inner corners
constexpr float square = 0.025f; // m
constexpr double maxRelativeError = 0.03;

using Corners = std::vector<cv::Point2f>;

cv::Mat readImage(const char* side, int view)
{
    return cv::imread(cv::format(STEREOVISION_IMAGE_DIR "/%s%02d.jpg", side, view), cv::IMREAD_GRAYSCALE);
}

Corners findCorners(const cv::Mat& image)
{
    Corners corners;
    cv::findChessboardCorners(image, board, corners);
    cv::cornerSubPix(image, corners, {5, 5}, {-1, -1}, {cv::TermCriteria::EPS, 0, 0.01});
    return corners;
}

void calibrate(int views, vision::Stereo& stereo)
{
    std::vector<cv::Point3f> points;
    for (int i = 0; i < board.area(); ++i) {
        points.push_back(cv::Point3f(cv::Point3i(i % board.width, i / board.width, 0)) * square);
    }
    const std::vector<std::vector<cv::Point3f>> object(static_cast<std::size_t>(views), points);
    std::vector<Corners> left;
    std::vector<Corners> right;
    for (int view = 1; view <= views; ++view) {
        left.push_back(findCorners(readImage("left", view)));
        right.push_back(findCorners(readImage("right", view)));
    }
    const cv::Size size = readImage("left", 1).size();
    cv::Mat k[2], d[2], r[2], p[2], rotation, translation, q;
    cv::calibrateCamera(object, left, size, k[0], d[0], {}, {});
    cv::calibrateCamera(object, right, size, k[1], d[1], {}, {});
    cv::stereoCalibrate(object, left, right, k[0], d[0], k[1], d[1], size, rotation, translation, {}, {});
    cv::stereoRectify(k[0], d[0], k[1], d[1], size, rotation, translation, r[0], r[1], p[0], p[1], q,
                      cv::CALIB_ZERO_DISPARITY, 0);
    const auto record = [&](int side) {
        vision::Calibration calibration;
        calibration.width = size.width;
        calibration.height = size.height;
        calibration.cameraMatrix = cv::Mat_<float>(k[side]);
        calibration.distortion = cv::Mat_<float>(d[side]);
        calibration.rectificationMatrix = cv::Mat_<float>(r[side]);
        calibration.projectionMatrix = cv::Mat_<float>(p[side]);
        return calibration;
    };
    stereo.setCalibrations(record(0), record(1));
}

TEST(RealChessboard, HasSquaresOfTheRightSizeInTheDepthImage)
{
    vision::Stereo stereo;
    calibrate(6, stereo);
    stereo.setDisparityNumber(160); // the board is near
    const auto [left, right] = stereo.rectifyImages(readImage("left", 1), readImage("right", 1));
    const Corners corners = findCorners(left);
    for (const auto algorithm : {vision::Stereo::BM, vision::Stereo::SGBM}) {
        stereo.setStereoAlgorithm(algorithm);
        const cv::Mat depth = stereo.computeDepth(stereo.computeDisparity(left, right));
        std::vector<double> lengths; // of the edges along the rows of the board
        for (std::size_t i = 1; i < corners.size(); ++i) {
            const auto from = depth.at<cv::Vec3f>(corners[i - 1]);
            const auto to = depth.at<cv::Vec3f>(corners[i]);
            if (i % 9 != 0 && from[2] > 0 && to[2] > 0) {
                lengths.push_back(cv::norm(to - from));
            }
        }
        ASSERT_GT(lengths.size(), 36U) << "of 48";
        // The median: where the board's pattern repeats itself, single corners are matched to the wrong one.
        std::sort(lengths.begin(), lengths.end());
        EXPECT_NEAR(lengths[lengths.size() / 2], square, maxRelativeError * square) << algorithm;
    }
}

} // namespace
