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

cv::Mat readImage(const std::string& name)
{
    return cv::imread(STEREOVISION_IMAGE_DIR "/" + name + ".jpg", cv::IMREAD_GRAYSCALE);
}

Corners findCorners(const cv::Mat& image)
{
    Corners corners;
    if (cv::findChessboardCorners(image, board, corners)) {
        double spacing = image.cols;
        for (std::size_t i = 1; i < corners.size(); ++i) {
            spacing = std::min(spacing, cv::norm(corners[i] - corners[i - 1]));
        }
        const int window = static_cast<int>(spacing / 3); // a wider one would reach into the next squares
        cv::cornerSubPix(image, corners, {window, window}, {-1, -1}, {cv::TermCriteria::EPS, 0, 0.01});
    }
    return corners;
}

void calibrate(const std::vector<std::string>& views, vision::Stereo& stereo)
{
    std::vector<cv::Point3f> boardPoints;
    for (int i = 0; i < board.area(); ++i) {
        boardPoints.push_back(cv::Point3f(cv::Point3i(i % board.width, i / board.width, 0)) * square);
    }
    const std::vector<std::vector<cv::Point3f>> object(views.size(), boardPoints);
    const cv::Size size = readImage("left01").size();
    std::vector<Corners> corners[2];
    cv::Mat k[2], d[2], r[2], p[2], rotation, translation, q;
    for (const int side : {0, 1}) {
        for (const std::string& view : views) {
            corners[side].push_back(findCorners(readImage((side == 0 ? "left" : "right") + view)));
        }
        cv::calibrateCamera(object, corners[side], size, k[side], d[side], {}, {});
    }
    cv::stereoCalibrate(object, corners[0], corners[1], k[0], d[0], k[1], d[1], size, rotation, translation,
                        {}, {});
    cv::stereoRectify(k[0], d[0], k[1], d[1], size, rotation, translation, r[0], r[1], p[0], p[1], q,
                      cv::CALIB_ZERO_DISPARITY, 0);
    vision::Calibration calibrations[2];
    for (const int side : {0, 1}) {
        calibrations[side].width = size.width;
        calibrations[side].height = size.height;
        calibrations[side].cameraMatrix = cv::Mat_<float>(k[side]);
        calibrations[side].distortion = cv::Mat_<float>(d[side]);
        calibrations[side].rectificationMatrix = cv::Mat_<float>(r[side]);
        calibrations[side].projectionMatrix = cv::Mat_<float>(p[side]);
    }
    stereo.setCalibrations(calibrations[0], calibrations[1]);
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
