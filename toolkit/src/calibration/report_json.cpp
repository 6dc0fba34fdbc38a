// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibration/calibration_report.h>

#include "base/json.h"

#include <opencv2/calib3d.hpp>

namespace vision::toolkit {

namespace {

const char* nameOfPattern(Pattern pattern)
{
    constexpr std::array names{"chessboard", "circles", "asymmetric-circles", "charuco"};
    return names[static_cast<std::size_t>(pattern)];
}

Json toJson(const cv::Vec3d& vector)
{
    return {vector[0], vector[1], vector[2]};
}

void addCamera(const std::string& side, const CameraFit& camera, const CameraDeviation& deviation,
               const CameraQuality& quality, Json& json)
{
    const cv::Mat_<double> matrix = camera.matrix;
    json["focalLength" + side] = matrix(0, 0);
    json["focalLength" + side + "Uncertainty"] = deviation.focalLengthX;
    json["focalLengthY" + side] = matrix(1, 1);
    json["focalLengthY" + side + "Uncertainty"] = deviation.focalLengthY;
    json["principalPoint" + side] = {matrix(0, 2), matrix(1, 2)};
    json["principalPoint" + side + "Uncertainty"] = {deviation.principalPointX, deviation.principalPointY};
    json["residualGrowth" + side] = quality.residualGrowth;
    json["coveredArea" + side] = quality.coveredArea;
    json["cornerReach" + side] = quality.reach;
    json["validArea" + side] = quality.validArea;
}

void addResult(const CalibrationResult& result, Json& json)
{
    const PairUncertainty& uncertainty = result.uncertainty;
    json["rmsLeft"] = result.fit.left.rms;
    json["rmsRight"] = result.fit.right.rms;
    json["rmsStereo"] = result.fit.rms;
    json["rowError"] = result.rowError;
    json["rowErrorWorst"] = result.worstRowError;
    json["rowErrorUnseen"] = uncertainty.unseenRowError;
    json["baseline"] = cv::norm(result.fit.translation);
    json["baselineUncertainty"] = uncertainty.baseline;
    cv::Vec3d rotation;
    cv::Rodrigues(result.fit.rotation, rotation);
    json["rotationDegrees"] = toJson(rotation * (180 / CV_PI));
    json["rotationUncertaintyDegrees"] = toJson(uncertainty.rotation);
    addCamera("Left", result.fit.left, uncertainty.cameras.left, result.left, json);
    addCamera("Right", result.fit.right, uncertainty.cameras.right, result.right, json);
    json["rectifiedFocalLength"] = result.records.left.projectionMatrix.at<float>(0, 0);
    json["squareMean"] = result.squareMean;
    json["squareDeviation"] = result.squareDeviation;
    json["poses"] = result.poses;
    json["tiltRangeDegrees"] = result.tiltRange;
    json["depthErrors"] = Json::array();
    for (const DepthError& error : uncertainty.depths) {
        json["depthErrors"].push_back({{"depthMetres", error.depth},
                                       {"calibrationMetres", error.fromCalibration},
                                       {"calibration95Metres", error.worstFromCalibration},
                                       {"matchingMetres", error.fromMatching},
                                       {"extrapolated", error.isExtrapolated}});
    }
    json["seenDistancesMetres"] = {uncertainty.nearest, uncertainty.farthest};
    json["relativeDepthError"] = uncertainty.relativeDepthError;
    json["bendUncertaintyMetres"] = toJson(result.bendDeviation);
}

Json toJson(const CalibratedPair& pair)
{
    Json json{{"left", pair.images.left},
              {"right", pair.images.right},
              {"name", pair.name},
              {"used", pair.isUsed},
              {"reason", pair.reason ? toText(*pair.reason) : ""},
              {"reasonCode", pair.reason ? Json(pair.reason->code) : Json(nullptr)},
              {"repair", pair.repair ? toText(*pair.repair) : ""}};
    if (!pair.expectedLeft.empty()) {
        json["picture"] = pair.picture;
        json["rmsLeft"] = pair.rmsLeft;
        json["rmsRight"] = pair.rmsRight;
        json["rowError"] = pair.rowError;
        json["distanceMetres"] = pair.distance;
        json["tiltDegrees"] = pair.tilt;
    }
    return json;
}

} // namespace

std::string formatReportJson(const CalibrationReport& report)
{
    Json json;
    json["verdict"] = nameOf(report.verdict);
    json["reasons"] = Json::array();
    for (const Reason& reason : report.reasons) {
        json["reasons"].push_back(
            {{"code", reason.note.code}, {"text", reason.note.text}, {"verdict", nameOf(reason.verdict)}});
    }
    if (report.result) {
        addResult(*report.result, json);
    }
    json["board"] = {{"pattern", nameOfPattern(report.board.pattern)},
                     {"columns", report.board.size.width},
                     {"rows", report.board.size.height},
                     {"spacingMetres", report.board.spacing},
                     {"bendMetres", toJson(report.board.bend)}};
    json["width"] = report.imageSize.width;
    json["height"] = report.imageSize.height;
    json["rotateLeftDegrees"] = report.rotateLeft;
    json["rotateRightDegrees"] = report.rotateRight;
    json["pairs"] = Json::array();
    for (const CalibratedPair& pair : report.pairs) {
        json["pairs"].push_back(toJson(pair));
    }
    json["notes"] = listNotes(report.notes);
    return json.dump(2, ' ', false, Json::error_handler_t::replace) +
           "\n"; // names of files may hold any bytes
}

} // namespace vision::toolkit
