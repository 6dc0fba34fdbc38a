// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibrating/report_formats.h>

#include <vision/toolkit/text.h>

#include <opencv2/core.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

using Lines = std::vector<std::string>;

std::string plusMinus(double value, double deviation, int digits)
{
    return formatFixed(value, digits) + " +- " +
           (std::isnan(deviation) ? "unknown" : formatFixed(deviation, digits));
}

std::string percent(double share, int digits)
{
    return formatFixed(100 * share, digits) + " %";
}

std::string millimetres(double metres)
{
    return std::isnan(metres) ? "unknown" : formatFixed(1000 * metres, 1) + " mm";
}

void addPair(const CalibratedPair& pair, Lines& lines)
{
    if (!pair.repair.empty()) {
        lines.push_back("repaired: " + pair.repair);
    }
    if (!pair.reason.empty() && !pair.isFailed) {
        lines.push_back("skipped: " + pair.images.left + " and " + pair.images.right + ": " + pair.reason);
    }
    if (pair.isUsed) {
        lines.push_back(pair.name + ": rms " + formatFixed(pair.rmsLeft, 3) + " px left, " +
                        formatFixed(pair.rmsRight, 3) + " px right, row error " +
                        formatFixed(pair.rowError, 3) + " px, " + formatFixed(pair.distance, 2) +
                        " m away, tilted by " + formatFixed(pair.tilt, 0) + " degrees");
    }
}

void addCamera(const char* side, const CameraFit& camera, const CameraDeviation& deviation, Lines& lines)
{
    const cv::Mat_<double> matrix = camera.matrix;
    lines.push_back(std::string("focal length ") + side + ": " +
                    plusMinus(matrix(0, 0), deviation.focalLengthX, 2) + " px (" +
                    percent(deviation.focalLengthX / matrix(0, 0), 2) + ")");
    lines.push_back(std::string("principal point ") + side + ": " +
                    plusMinus(matrix(0, 2), deviation.principalPointX, 1) + " px, " +
                    plusMinus(matrix(1, 2), deviation.principalPointY, 1) + " px");
}

void addErrors(const CalibrationResult& result, Lines& lines)
{
    const auto rms = [&lines](const char* what, double value) {
        lines.push_back(std::string("rms ") + what + ": " + formatFixed(value, 3) + " px");
    };
    rms("left", result.fit.left.rms);
    rms("right", result.fit.right.rms);
    rms("stereo", result.fit.rms);
    const double unseen = result.uncertainty.unseenRowError;
    lines.push_back("row error: " + formatFixed(result.rowError, 3) + " px rms, " +
                    formatFixed(result.worstRowError, 3) + " px worst" +
                    (std::isnan(unseen)
                         ? std::string()
                         : ", " + formatFixed(unseen, 3) + " px rms in views that a fit did not see"));
    lines.push_back("square: " + plusMinus(result.squareMean, result.squareDeviation, 4) +
                    " of the given one, triangulated");
}

void addDepths(const PairUncertainty& uncertainty, Lines& lines)
{
    for (const DepthError& error : uncertainty.depths) {
        lines.push_back("depth error at " + formatFixed(error.depth, 1) +
                        " m: " + millimetres(error.fromCalibration) + " from calibration, " +
                        millimetres(error.fromMatching) + " from a quarter pixel of matching");
    }
}

void addResult(const CalibrationResult& result, Lines& lines)
{
    lines.push_back("different positions of the board: " + std::to_string(result.poses) + ", tilts within " +
                    formatFixed(result.tiltRange, 0) + " degrees");
    addErrors(result, lines);
    const PairUncertainty& uncertainty = result.uncertainty;
    addCamera("left", result.fit.left, uncertainty.cameras.left, lines);
    addCamera("right", result.fit.right, uncertainty.cameras.right, lines);
    lines.push_back(
        "baseline: " + plusMinus(1000 * cv::norm(result.fit.translation), 1000 * uncertainty.baseline, 2) +
        " mm");
    lines.push_back("rectified focal length: " +
                    formatFixed(result.records.left.projectionMatrix.at<float>(0, 0), 2) + " px");
    lines.push_back("covered area: " + percent(result.left.coveredArea, 0) + " left, " +
                    percent(result.right.coveredArea, 0) + " right");
    lines.push_back("valid area: " + percent(result.left.validArea, 0) + " left, " +
                    percent(result.right.validArea, 0) + " right");
    addDepths(uncertainty, lines);
}

} // namespace

std::vector<std::string> formatReport(const CalibrationReport& report)
{
    Lines lines;
    for (const CalibratedPair& pair : report.pairs) {
        addPair(pair, lines);
    }
    const std::size_t used = report.countUsed();
    lines.push_back("pairs used: " + std::to_string(used) + " of " + std::to_string(report.pairs.size()));
    lines.push_back("pairs skipped: " + std::to_string(report.pairs.size() - used));
    if (report.result) {
        addResult(*report.result, lines);
    }
    lines.push_back(std::string("verdict: ") + nameOf(report.verdict));
    return lines;
}

} // namespace vision::toolkit
