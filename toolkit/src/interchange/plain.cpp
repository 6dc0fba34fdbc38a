// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/interchange/calibrations.h>

#include "base/json.h"

#include <opencv2/core.hpp>

namespace vision::toolkit {

namespace {

Json listRows(const cv::Mat& matrix)
{
    const cv::Mat_<double> numbers(matrix);
    Json rows = Json::array();
    for (int row = 0; row < numbers.rows; ++row) {
        Json list = Json::array();
        for (int column = 0; column < numbers.cols; ++column) {
            list.push_back(numbers(row, column));
        }
        rows.push_back(list);
    }
    return rows;
}

cv::Mat_<double> orIdentity(const cv::Mat& rotation)
{
    return rotation.empty() ? cv::Mat_<double>(cv::Mat::eye(3, 3, CV_64F)) : cv::Mat_<double>(rotation);
}

Json describe(const Calibration& camera)
{
    Json json;
    json["cameraMatrix"] = listRows(camera.cameraMatrix);
    json["distortion"] =
        camera.distortion.empty() ? Json::array() : listRows(camera.distortion.reshape(1, 1))[0];
    json["rectificationMatrix"] = listRows(orIdentity(camera.rectificationMatrix));
    json["projectionMatrix"] = listRows(camera.projectionMatrix);
    return json;
}

} // namespace

std::string encodePlain(const CalibrationPair& pair)
{
    // Rectified frames differ by the baseline along x: R2 x_right = R1 x_left + (Tx / f, 0, 0).
    const cv::Mat_<double> left = orIdentity(pair.left.rectificationMatrix);
    const cv::Mat_<double> right = orIdentity(pair.right.rectificationMatrix);
    const cv::Mat& projection = pair.right.projectionMatrix;
    const double shift = double{projection.at<float>(0, 3)} / double{projection.at<float>(0, 0)};
    Json json;
    json["imageSize"] = {pair.left.width, pair.left.height};
    json["left"] = describe(pair.left);
    json["right"] = describe(pair.right);
    json["R"] = listRows(right.t() * left);
    json["T"] = listRows((right.t() * (cv::Mat_<double>(3, 1) << shift, 0, 0)).t())[0];
    return json.dump(2) + '\n';
}

} // namespace vision::toolkit
