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

double smallestSpacing(const Corners& corners)
{
    double smallest = 1e9;
    for (std::size_t i = 1; i < corners.size(); ++i) {
        smallest = std::min(smallest, cv::norm(corners[i] - corners[i - 1]));
    }
    return smallest;
}

cv::Mat readImage(const std::string& name)
{
    return cv::imread(STEREOVISION_IMAGE_DIR "/" + name + ".jpg", cv::IMREAD_GRAYSCALE);
}

Corners findCorners(const cv::Mat& image)
{
    Corners corners;
    if (cv::findChessboardCorners(image, board, corners)) {
        // A wider window would reach into the next squares.
        const int window = std::max(2, static_cast<int>(smallestSpacing(corners) / 3));
        cv::cornerSubPix(image, corners, {window, window}, {-1, -1},
                         {cv::TermCriteria::EPS + cv::TermCriteria::COUNT, 30, 0.01});
    }
    return corners;
}

cv::Mat toFloat(const cv::Mat& matrix)
{
    return cv::Mat_<float>(matrix);
}

void calibrate(const std::vector<std::string>& views, vision::Stereo& stereo)
{
    std::vector<cv::Point3f> boardPoints;
    for (int i = 0; i < board.area(); ++i) {
        boardPoints.emplace_back(square * static_cast<float>(i % board.width),
                                 square * static_cast<float>(i / board.width), 0.0f);
    }
    std::vector<Corners> left, right;
    cv::Size size;
    for (const std::string& view : views) {
        left.push_back(findCorners(readImage("left" + view)));
        right.push_back(findCorners(readImage("right" + view)));
        size = readImage("left" + view).size();
    }
    const std::vector<std::vector<cv::Point3f>> object(views.size(), boardPoints);
    cv::Mat kLeft, kRight, dLeft, dRight, r, t, rLeft, rRight, pLeft, pRight, q;
    cv::calibrateCamera(object, left, size, kLeft, dLeft, {}, {});
    cv::calibrateCamera(object, right, size, kRight, dRight, {}, {});
    cv::stereoCalibrate(object, left, right, kLeft, dLeft, kRight, dRight, size, r, t, {}, {});
    cv::stereoRectify(kLeft, dLeft, kRight, dRight, size, r, t, rLeft, rRight, pLeft, pRight, q,
                      cv::CALIB_ZERO_DISPARITY, 0);
    vision::Calibration leftCamera, rightCamera;
    leftCamera.width = rightCamera.width = size.width;
    leftCamera.height = rightCamera.height = size.height;
    leftCamera.cameraMatrix = toFloat(kLeft);
    leftCamera.distortion = toFloat(dLeft);
    leftCamera.rectificationMatrix = toFloat(rLeft);
    leftCamera.projectionMatrix = toFloat(pLeft);
    rightCamera.cameraMatrix = toFloat(kRight);
    rightCamera.distortion = toFloat(dRight);
    rightCamera.rectificationMatrix = toFloat(rRight);
    rightCamera.projectionMatrix = toFloat(pRight);
    stereo.setCalibrations(leftCamera, rightCamera);
}

using RealChessboard = testing::TestWithParam<vision::Stereo::StereoAlgorithm>;

TEST_P(RealChessboard, HasSquaresOfTheRightSizeInTheDepthImage)
{
    vision::Stereo stereo;
    calibrate({"01", "02", "03", "04", "05", "06"}, stereo);
    stereo.setStereoAlgorithm(GetParam());
    stereo.setDisparityNumber(160); // the board is near
    const auto [left, right] = stereo.rectifyImages(readImage("left01"), readImage("right01"));
    const cv::Mat depth = stereo.computeDepth(stereo.computeDisparity(left, right));

    std::vector<double> lengths; // of the edges along the rows of the board
    const Corners corners = findCorners(left);
    for (std::size_t i = 1; i < corners.size(); ++i) {
        const auto from = depth.at<cv::Vec3f>(corners[i - 1]);
        const auto to = depth.at<cv::Vec3f>(corners[i]);
        if (i % 9 != 0 && from[2] > 0 && to[2] > 0) {
            lengths.push_back(cv::norm(to - from));
        }
    }
    ASSERT_GT(lengths.size(), 36U) << "of 48";
    // The median: where the board's pattern repeats itself, single corners are matched to the wrong one.
    const auto median = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
    std::nth_element(lengths.begin(), median, lengths.end());
    EXPECT_NEAR(*median, square, maxRelativeError * square);
}

INSTANTIATE_TEST_SUITE_P(Matchers, RealChessboard, testing::Values(vision::Stereo::BM, vision::Stereo::SGBM));

} // namespace
