// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibration/report_pictures.h>

#include "board/point_order.h"
#include "output/image_bytes.h"
#include "parallel/run.h"

#include <vision/stereo.h>
#include <vision/toolkit/output/pictures.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <thread>

namespace vision::toolkit {

namespace {

const cv::Scalar white(255, 255, 255);
const cv::Scalar green(0, 200, 0);
const cv::Scalar red(0, 0, 255);
const cv::Scalar orange(0, 165, 255);
constexpr float veryFar = 1e6F;     // m; rectification does not depend on it
constexpr double largestSide = 640; // px, of one image at most
constexpr int captionHeight = 24;
constexpr int gap = 8;
constexpr int shift = 4; // bits of a pixel's fraction in drawing

unsigned countCores()
{
    return std::max(1U, std::thread::hardware_concurrency());
}

cv::Point toFixed(const cv::Point2d& point)
{
    return {cvRound(point.x * (1 << shift)), cvRound(point.y * (1 << shift))};
}

void write(cv::Mat& picture, const std::string& text, const cv::Point& at)
{
    cv::putText(picture, text, at, cv::FONT_HERSHEY_SIMPLEX, 0.4, white, 1, cv::LINE_AA);
}

/// Two pictures of the same size beside each other, over a line of text.
cv::Mat layOut(const cv::Mat& left, const cv::Mat& right, const std::string& caption)
{
    cv::Mat picture = cv::Mat::zeros(left.rows + captionHeight, left.cols + gap + right.cols, CV_8UC3);
    left.copyTo(picture(cv::Rect({0, 0}, left.size())));
    right.copyTo(picture(cv::Rect({left.cols + gap, 0}, right.size())));
    write(picture, caption, {4, picture.rows - 8});
    return picture;
}

double findLargestResidual(const Corners& seen, const Corners& expected)
{
    double largest = 0;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        largest = std::max(largest, cv::norm(seen[i] - expected[i]));
    }
    return largest;
}

/// The largest round factor by which the arrows of a picture stay short.
int chooseArrowFactor(double largestResidual)
{
    constexpr double longest = 40; // px of the picture
    for (const int factor : {500, 200, 100, 50, 20, 10, 5, 2}) {
        if (factor * largestResidual <= longest) {
            return factor;
        }
    }
    return 1;
}

/// One image of a view with its points.
cv::Mat drawPoints(const cv::Mat& preview, const Corners& seen, const Corners& expected, double size,
                   double arrows, const cv::Scalar& colour)
{
    cv::Mat picture;
    cv::cvtColor(preview, picture, cv::COLOR_GRAY2BGR);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const cv::Point2d at = cv::Point2d(seen[i]) * size;
        const cv::Point2d tip = at + cv::Point2d(seen[i] - expected[i]) * (size * arrows);
        cv::circle(picture, toFixed(at), (i == 0 ? 7 : 3) << shift, colour, 1, cv::LINE_AA, shift);
        cv::arrowedLine(picture, toFixed(at), toFixed(tip), orange, 1, cv::LINE_AA, shift, 0.2);
    }
    return picture;
}

cv::Mat shrink(const cv::Mat& image, double factor)
{
    cv::Mat shrunk;
    cv::resize(image, shrunk, {}, factor, factor, cv::INTER_AREA);
    return shrunk;
}

cv::Mat turn(const cv::Mat& preview, bool isTurned)
{
    cv::Mat turned = preview;
    if (isTurned) {
        cv::rotate(preview, turned, cv::ROTATE_180);
    }
    return turned;
}

struct CameraImage
{
    const char* name;
    const CameraQuality& quality;
    Corners CalibratedPair::*expected;
    Corners BoardView::*seen;
};

/// Where the points of all pairs used were in the images of one camera.
cv::Mat drawCoverage(const CalibrationReport& report, const CameraImage& camera, double size, double largest)
{
    const cv::Size pictureSize(cvRound(report.imageSize.width * size),
                               cvRound(report.imageSize.height * size));
    cv::Mat picture(pictureSize, CV_8UC3, cv::Scalar::all(40));
    for (const CalibratedPair& pair : report.pairs) {
        const Corners& seen = pair.view.*camera.seen;
        const Corners& expected = pair.*camera.expected;
        for (std::size_t i = 0; pair.isUsed && i < seen.size(); ++i) {
            const double share = std::min(cv::norm(seen[i] - expected[i]) / largest, 1.0);
            cv::Mat colour;
            cv::applyColorMap(cv::Mat(1, 1, CV_8U, cv::Scalar(255 * share)), colour, cv::COLORMAP_TURBO);
            const cv::Point2d at = cv::Point2d(seen[i]) * size;
            cv::circle(picture,
                       toFixed(at),
                       3 << shift,
                       cv::Scalar(colour.at<cv::Vec3b>(0, 0)),
                       cv::FILLED,
                       cv::LINE_AA,
                       shift);
        }
    }
    const int right = picture.cols - 40;
    const int bottom = picture.rows - 8;
    const std::array<cv::Point, 4> places{{{4, 16}, {right, 16}, {4, bottom}, {right, bottom}}};
    for (std::size_t i = 0; i < places.size(); ++i) {
        write(picture, fmt::format("{:.0f}", 100 * camera.quality.reach[i]) + " %", places[i]);
    }
    write(picture, camera.name, {picture.cols / 2 - 16, 16});
    return picture;
}

cv::Mat rectifyRows(const ImagePair& images, const CalibrationPair& records)
{
    vision::Stereo stereo;
    stereo.setMaxDepth(veryFar);
    stereo.setCalibrations(records.left, records.right);
    const auto [left, right] = stereo.rectifyImages(images.left.grey, images.right.grey);
    return drawRectifiedRows(left, right);
}

struct Picture
{
    std::string name;
    Bytes bytes;
};

/// All pictures of one pair. Cameras that cannot be rectified give no rectified one, and images that can no
/// longer be read give none: the report says what is wrong.
std::vector<Picture> drawPair(const CalibrationReport& report, const CalibratedPair& pair,
                              const PairSequence::Read& read, bool isRectified)
{
    std::vector<Picture> pictures;
    try {
        const ImagePair images = toEightBits(read());
        pictures.push_back({pair.picture, encodeImage(".jpg", drawView(pair, images))}); // photographs
        if (isRectified) {
            pictures.insert(pictures.begin(),
                            {"rectified.png", encodePng(rectifyRows(images, report.result->records))});
        }
    } catch (const std::runtime_error&) {
        return pictures;
    }
    return pictures;
}

} // namespace

cv::Mat drawView(const CalibratedPair& pair, const ImagePair& images)
{
    const cv::Mat& full = images.left.grey;
    const double size = std::min(1.0, largestSide / std::max(full.cols, full.rows));
    const double largest = std::max(findLargestResidual(pair.view.left, pair.expectedLeft),
                                    findLargestResidual(pair.view.right, pair.expectedRight));
    const int arrows = chooseArrowFactor(largest * size);
    const cv::Scalar colour = pair.isUsed ? green : red;
    const cv::Mat left = drawPoints(turn(shrink(images.left.grey, size), pair.isLeftTurned),
                                    pair.view.left,
                                    pair.expectedLeft,
                                    size,
                                    arrows,
                                    colour);
    const cv::Mat right = drawPoints(turn(shrink(images.right.grey, size), pair.isRightTurned),
                                     pair.view.right,
                                     pair.expectedRight,
                                     size,
                                     arrows,
                                     colour);
    return layOut(left,
                  right,
                  pair.name + ": rms " + fmt::format("{:.2f}", pair.rmsLeft) + " px left, " +
                      fmt::format("{:.2f}", pair.rmsRight) + " px right; residuals are drawn " +
                      std::to_string(arrows) + " times as long; " + (pair.isUsed ? "used" : "not used"));
}

cv::Mat drawCoverage(const CalibrationReport& report)
{
    const CalibrationResult& result = *report.result;
    const double size =
        std::min(1.0, largestSide / std::max(report.imageSize.width, report.imageSize.height));
    const double largest = 3 * result.fit.rms;
    const CameraImage left{"left", result.left, &CalibratedPair::expectedLeft, &BoardView::left};
    const CameraImage right{"right", result.right, &CalibratedPair::expectedRight, &BoardView::right};
    return layOut(drawCoverage(report, left, size, largest),
                  drawCoverage(report, right, size, largest),
                  "all points of the pairs used; residuals from blue (0 px) to red (" +
                      fmt::format("{:.2f}", largest) +
                      " px); in the corners: how far the points reach there");
}

void drawReport(const CalibrationReport& report, PairSequence& pairs, const WritePicture& write,
                unsigned workers)
{
    if (!report.result) {
        return;
    }
    write("coverage.png", encodePng(drawCoverage(report)));
    std::vector<std::size_t> views;
    for (std::size_t pair = 0; pair < report.pairs.size(); ++pair) {
        if (!report.pairs[pair].picture.empty()) {
            views.push_back(pair);
        }
    }
    const auto first = std::find_if(views.begin(), views.end(), [&report](std::size_t pair) {
        return report.pairs[pair].isUsed && !report.pairs[pair].repair;
    });
    const std::size_t shown = first == views.end() ? report.pairs.size() : *first;
    runInOrder(views, workers > 0 ? workers : countCores(), [&](std::size_t view) -> Work {
        return [&, view, read = pairs.take(view)]() -> Deliver {
            const auto drawn = drawPair(report, report.pairs[view], read, view == shown);
            return [&write, drawn] {
                for (const Picture& picture : drawn) {
                    write(picture.name, picture.bytes);
                }
            };
        };
    });
}

} // namespace vision::toolkit
