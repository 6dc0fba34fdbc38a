#include <vision/toolkit/calibrating/row_error.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp> // OpenCV 3 declares undistortPoints here

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

Corners rectify(const Corners& corners, const vision::Calibration& calibration)
{
    Corners rectified;
    cv::undistortPoints(corners,
                        rectified,
                        calibration.cameraMatrix,
                        calibration.distortion,
                        calibration.rectificationMatrix,
                        calibration.projectionMatrix);
    return rectified;
}

} // namespace

RowError measureRowError(const PairCalibration& calibration, const std::vector<BoardView>& views)
{
    double squares = 0;
    double worst = 0;
    std::size_t count = 0;
    for (const std::size_t view : calibration.used) {
        const Corners left = rectify(views[view].left, calibration.left);
        const Corners right = rectify(views[view].right, calibration.right);
        for (std::size_t i = 0; i < left.size(); ++i) {
            const double error = std::abs(double{left[i].y} - double{right[i].y});
            squares += error * error;
            worst = std::max(worst, error);
        }
        count += left.size();
    }
    return {std::sqrt(squares / static_cast<double>(count)), worst};
}

} // namespace vision::toolkit
