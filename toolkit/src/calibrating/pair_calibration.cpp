#include <vision/toolkit/calibrating/pair_calibration.h>

#include <vision/toolkit/failure.h>

#include <opencv2/calib3d.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vision::toolkit {

namespace {

/// Solving the normal equations by LU instead of a singular value decomposition gives the same to six digits, three
/// times faster for a dozen views and twelve times for two hundred.
constexpr int solver = cv::CALIB_USE_LU;

/// What OpenCV estimates, in double precision.
struct Camera
{
    cv::Mat matrix;
    cv::Mat distortion;
    double rms = 0;
};

struct Fit
{
    Camera left;
    Camera right;
    cv::Mat rotation;
    cv::Mat translation;
    double rms = 0;
    std::vector<double> viewErrors; ///< px, the larger one of both cameras
};

std::vector<Corners> collect(const std::vector<BoardView>& views, const std::vector<std::size_t>& used,
                             Corners BoardView::*side)
{
    std::vector<Corners> corners;
    corners.reserve(used.size());
    for (const std::size_t view : used) {
        corners.push_back(views[view].*side);
    }
    return corners;
}

Camera calibrateCamera(const std::vector<std::vector<cv::Point3f>>& boards,
                       const std::vector<Corners>& corners, const cv::Size& imageSize)
{
    Camera camera;
    std::vector<cv::Mat> rotations;
    std::vector<cv::Mat> translations;
    camera.rms = cv::calibrateCamera(
        boards, corners, imageSize, camera.matrix, camera.distortion, rotations, translations, solver);
    return camera;
}

Fit fit(const std::vector<BoardView>& views, const std::vector<std::size_t>& used, const cv::Size& imageSize,
        const std::vector<cv::Point3f>& boardPoints)
{
    const std::vector<std::vector<cv::Point3f>> boards(used.size(), boardPoints);
    const auto left = collect(views, used, &BoardView::left);
    const auto right = collect(views, used, &BoardView::right);

    Fit result;
    result.left = calibrateCamera(boards, left, imageSize);
    result.right = calibrateCamera(boards, right, imageSize);
    cv::Mat essential;
    cv::Mat fundamental;
    cv::Mat errors;
    // Each camera alone is determined better than together with the position of the other.
    result.rms = cv::stereoCalibrate(boards,
                                     left,
                                     right,
                                     result.left.matrix,
                                     result.left.distortion,
                                     result.right.matrix,
                                     result.right.distortion,
                                     imageSize,
                                     result.rotation,
                                     result.translation,
                                     essential,
                                     fundamental,
                                     errors,
                                     cv::CALIB_FIX_INTRINSIC | solver);
    for (int view = 0; view < errors.rows; ++view) {
        result.viewErrors.push_back(std::max(errors.at<double>(view, 0), errors.at<double>(view, 1)));
    }
    return result;
}

/// The place of the worst view if it does not fit, otherwise the number of views.
std::size_t findOutlier(const Fit& fit, const cv::Size& imageSize)
{
    constexpr double harmless = 1.0;    // px; a view below it never is an outlier
    constexpr double conspicuous = 2.0; // times the median
    constexpr double hopeless = 0.005;  // of the image's width, for all views together

    std::vector<double> sorted = fit.viewErrors;
    std::sort(sorted.begin(), sorted.end());
    const double limit = std::max(harmless, conspicuous * sorted[sorted.size() / 2]);
    if (sorted.back() <= limit && fit.rms <= hopeless * imageSize.width) {
        return sorted.size();
    }
    const auto worst = std::max_element(fit.viewErrors.begin(), fit.viewErrors.end());
    return static_cast<std::size_t>(worst - fit.viewErrors.begin());
}

void requireEnough(const PairCalibration& calibration, std::size_t views)
{
    if (calibration.used.size() < fewestViews) {
        throw Failure("too few pairs show the whole board in both images: " +
                      std::to_string(calibration.used.size()) + ", at least " + std::to_string(fewestViews) +
                      " are needed, 10 or more are good; check --board and take more pairs");
    }
    if (2 * calibration.outliers.size() > views) {
        throw Failure(
            "most pairs do not fit each other: check that --left and --right name the images in the same "
            "order and that the cameras did not move between them");
    }
}

cv::Mat toFloat(const cv::Mat& matrix)
{
    cv::Mat converted;
    matrix.convertTo(converted, CV_32F);
    return converted;
}

void rectify(const Fit& fit, const cv::Size& imageSize, PairCalibration& calibration)
{
    constexpr double onlyValidPixels = 0; // alpha
    cv::Mat leftRotation;
    cv::Mat rightRotation;
    cv::Mat leftProjection;
    cv::Mat rightProjection;
    cv::Mat reprojection;
    cv::stereoRectify(fit.left.matrix,
                      fit.left.distortion,
                      fit.right.matrix,
                      fit.right.distortion,
                      imageSize,
                      fit.rotation,
                      fit.translation,
                      leftRotation,
                      rightRotation,
                      leftProjection,
                      rightProjection,
                      reprojection,
                      cv::CALIB_ZERO_DISPARITY,
                      onlyValidPixels,
                      imageSize);
    if (rightProjection.at<double>(0, 3) >= 0) {
        throw Failure(rightProjection.at<double>(1, 3) != 0
                          ? "the cameras stand above each other: only cameras side by side can be used"
                          : "the left camera stands to the right of the right one: swap --left and --right");
    }
    const auto makeRecord =
        [&imageSize](const Camera& camera, const cv::Mat& rotation, const cv::Mat& projection) {
            vision::Calibration record;
            record.width = imageSize.width;
            record.height = imageSize.height;
            record.cameraMatrix = toFloat(camera.matrix);
            record.distortion = toFloat(camera.distortion);
            record.rectificationMatrix = toFloat(rotation);
            record.projectionMatrix = toFloat(projection);
            return record;
        };
    calibration.left = makeRecord(fit.left, leftRotation, leftProjection);
    calibration.right = makeRecord(fit.right, rightRotation, rightProjection);
}

} // namespace

PairCalibration calibratePair(const std::vector<BoardView>& views, const cv::Size& imageSize,
                              const cv::Size& board, double square)
{
    const auto boardPoints = makeBoardPoints(board, square);
    PairCalibration calibration;
    calibration.used.resize(views.size());
    std::iota(calibration.used.begin(), calibration.used.end(), std::size_t{0});

    Fit best;
    for (;;) {
        requireEnough(calibration, views.size());
        best = fit(views, calibration.used, imageSize, boardPoints);
        const std::size_t outlier = findOutlier(best, imageSize);
        if (outlier == best.viewErrors.size()) {
            break;
        }
        calibration.outliers.push_back({calibration.used[outlier], best.viewErrors[outlier]});
        calibration.used.erase(calibration.used.begin() + static_cast<std::ptrdiff_t>(outlier));
    }
    calibration.rmsLeft = best.left.rms;
    calibration.rmsRight = best.right.rms;
    calibration.rmsStereo = best.rms;
    calibration.baseline = cv::norm(best.translation);
    rectify(best, imageSize, calibration);
    return calibration;
}

} // namespace vision::toolkit
