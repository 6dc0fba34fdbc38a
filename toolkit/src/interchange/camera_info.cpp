// SPDX-License-Identifier: Apache-2.0
#include "interchange/numbers.h"
#include "interchange/source.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/interchange/calibrations.h>

#include <fmt/format.h>

namespace vision::toolkit {

namespace {

// The coefficients of the two models.
constexpr std::size_t plumbBob = 5;
constexpr std::size_t rational = 8;

double takeNumber(const YAML::Node& node, const std::string& file, const std::string& key)
{
    const YAML::Node value = node[key];
    const auto number = value.IsDefined() && value.IsScalar() ? parseNumber(value.Scalar()) : std::nullopt;
    if (!number) {
        throw Failure("calibration-entry", file, key + " must be a number");
    }
    return *number;
}

void requireKnownModel(const YAML::Node& node, const std::string& file)
{
    const auto model = node["distortion_model"].as<std::string>("plumb_bob");
    if (model != "plumb_bob" && model != "rational_polynomial") {
        throw Failure("lens-model",
                      file,
                      "has the distortion model \"" + model +
                          "\", which the record cannot hold (it takes plumb_bob and rational_polynomial)");
    }
}

YAML::Node listMatrix(const cv::Mat& matrix)
{
    YAML::Node node;
    node["rows"] = matrix.rows;
    node["cols"] = matrix.cols;
    for (auto value = matrix.begin<float>(); value != matrix.end<float>(); ++value) {
        node["data"].push_back(*value);
    }
    node["data"].SetStyle(YAML::EmitterStyle::Flow);
    return node;
}

cv::Mat orIdentity(const cv::Mat& rotation)
{
    return rotation.empty() ? cv::Mat::eye(3, 3, CV_32F) : cv::Mat(cv::Mat_<float>(rotation));
}

} // namespace

Calibration readCameraInfo(const std::string& file)
{
    const YAML::Node node = parseYaml(file);
    requireKnownModel(node, file);
    Calibration record;
    record.width = toSide(takeNumber(node, file, "image_width"), file, "image_width");
    record.height = toSide(takeNumber(node, file, "image_height"), file, "image_height");
    record.cameraMatrix = makeMatrix(takeNumbers(node, file, "camera_matrix", 9), 3);
    record.distortion = makeMatrix(takeUpTo(node, file, "distortion_coefficients", rational), 1);
    record.rectificationMatrix = makeMatrix(takeNumbers(node, file, "rectification_matrix", 9), 3);
    record.projectionMatrix = makeMatrix(takeNumbers(node, file, "projection_matrix", 12), 3);
    return record;
}

std::string encodeCameraInfo(const Calibration& calibration, const std::string& camera)
{
    const std::size_t coefficients = calibration.distortion.total();
    if (coefficients > rational) {
        throw Failure("too-many-coefficients",
                      camera,
                      fmt::format("has {} distortion coefficients, of which camera_info takes {} at most",
                                  coefficients,
                                  rational));
    }
    cv::Mat distortion =
        cv::Mat::zeros(1, static_cast<int>(coefficients > plumbBob ? rational : plumbBob), CV_32F);
    if (coefficients > 0) {
        cv::Mat_<float>(calibration.distortion.reshape(1, 1))
            .copyTo(distortion.colRange(0, static_cast<int>(coefficients)));
    }
    YAML::Node node;
    node["image_width"] = calibration.width;
    node["image_height"] = calibration.height;
    node["camera_name"] = camera;
    node["camera_matrix"] = listMatrix(calibration.cameraMatrix);
    node["distortion_model"] = coefficients > plumbBob ? "rational_polynomial" : "plumb_bob";
    node["distortion_coefficients"] = listMatrix(distortion);
    node["rectification_matrix"] = listMatrix(orIdentity(calibration.rectificationMatrix));
    node["projection_matrix"] = listMatrix(calibration.projectionMatrix);
    YAML::Emitter emitter;
    emitter.SetFloatPrecision(9); // what a float needs to come back as it was
    emitter << node;
    return std::string(emitter.c_str()) + '\n';
}

} // namespace vision::toolkit
