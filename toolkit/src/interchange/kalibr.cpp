// SPDX-License-Identifier: Apache-2.0
#include "interchange/numbers.h"
#include "interchange/source.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

namespace vision::toolkit {

namespace {

struct Camera
{
    cv::Size size;
    cv::Mat matrix;
    cv::Mat distortion;
};

void requireModel(const YAML::Node& node, const std::string& file, const char* key, const std::string& wanted)
{
    const auto model = node[key].as<std::string>("");
    if (model != wanted) {
        throw Failure(
            "lens-model",
            file,
            fmt::format("has the {} \"{}\", which the record cannot hold (it takes {})", key, model, wanted));
    }
}

Camera readCamera(const YAML::Node& node, const std::string& file)
{
    requireModel(node, file, "camera_model", "pinhole");
    requireModel(node, file, "distortion_model", "radtan");
    const auto k = takeNumbers(node, file, "intrinsics", 4);
    const auto size = takeNumbers(node, file, "resolution", 2);
    Camera camera;
    camera.size = {toSide(size[0], file, "resolution"), toSide(size[1], file, "resolution")};
    camera.matrix = makeMatrix({k[0], 0, k[2], 0, k[1], k[3], 0, 0, 1}, 3, CV_64F);
    camera.distortion = makeMatrix(takeNumbers(node, file, "distortion_coeffs", 4), 1, CV_64F);
    return camera;
}

} // namespace

CalibrationPair readKalibr(const std::string& file)
{
    const YAML::Node chain = parseYaml(file);
    if (!chain["cam1"]) {
        throw Failure("one-camera", file, "holds one camera only; a chain of two (cam0 and cam1) is needed");
    }
    const Camera first = readCamera(chain["cam0"], file);
    const Camera second = readCamera(chain["cam1"], file);
    if (first.size != second.size) {
        throw Failure("sizes-differ",
                      file,
                      "the cameras have images of different sizes, which cannot be rectified together");
    }
    // From the frame of cam0 to that of cam1, in metres.
    const cv::Mat pose = makeMatrix(takeNumbers(chain["cam1"], file, "T_cn_cnm1", 16), 4, CV_64F);
    if (cv::norm(pose.row(3), cv::Mat_<double>({1, 4}, {0, 0, 0, 1}), cv::NORM_INF) > 0) {
        throw Failure("calibration-entry", file, "the last row of T_cn_cnm1 must be 0 0 0 1");
    }
    return rectifyRig({first.size,
                       first.matrix,
                       first.distortion,
                       second.matrix,
                       second.distortion,
                       pose(cv::Rect(0, 0, 3, 3)).clone(),
                       pose(cv::Rect(3, 0, 1, 3)).clone()},
                      file);
}

} // namespace vision::toolkit
