// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace vision::toolkit {

namespace {

// Wide enough for what lenses and rectification do; a calibration for images of twice or half the size,
// lengths in mm and focal lengths in mm all lie beyond.
constexpr double mostUnlikeFocalLengths = 0.05;  // of their mean; pixels that are not square are rare
constexpr double mostOffCentre = 0.2;            // of the image's size; lenses have below 0.1
constexpr double narrowest = 1;                  // degrees
constexpr double widest = 150;                   // degrees; beyond, lenses are made to another model
constexpr double leastZoom = 0.3;                // all pixels of a wide-angle lens shown: about 0.5
constexpr double mostZoom = 1.9;                 // only valid pixels of turned cameras: about 1.3
constexpr double leastCovered = 1.0 / 3;         // of the rectified image
constexpr double shortest = 0.001, longest = 10; // m

void doubt(Notes& notes, bool isDoubtful, const char* code, const std::string& text)
{
    if (isDoubtful) {
        notes.push_back({code, Severity::Doubtful, text});
    }
}

/// The length of a ray's image for the distance r from the axis at unit depth; the radial part of OpenCV's
/// model.
double distort(const std::vector<double>& k, double r)
{
    const auto coefficient = [&k](std::size_t index) { return index < k.size() ? k[index] : 0; };
    const double r2 = r * r;
    const double upper = 1 + r2 * (coefficient(0) + r2 * (coefficient(1) + r2 * coefficient(4)));
    const double lower = 1 + r2 * (coefficient(5) + r2 * (coefficient(6) + r2 * coefficient(7)));
    return lower > 0 ? r * upper / lower : -1;
}

/// The largest distance of a pixel from the principal point, at unit depth.
double findCornerDistance(const CameraFacts& facts)
{
    const auto farther = [](double point, int length) { return std::max(point, length - 1 - point); };
    return std::hypot(farther(facts.principalPoint.x, facts.size.width) / facts.focalLength.x,
                      farther(facts.principalPoint.y, facts.size.height) / facts.focalLength.y);
}

/// How far from the axis directions are told apart.
struct Fold
{
    double undistorted; ///< at unit depth; infinite when there is no fold inside the image
    double distorted;
};

Fold findFold(const CameraFacts& facts)
{
    constexpr int steps = 1000;       // to the corner, without distortion
    constexpr int mostStretched = 20; // times
    const double corner = findCornerDistance(facts);
    double last = 0;
    for (int step = 1; step <= mostStretched * steps; ++step) {
        const double r = corner * step / steps;
        const double distorted = distort(facts.distortion, r);
        if (distorted >= corner) {
            constexpr double none = std::numeric_limits<double>::infinity();
            return {none, none};
        }
        if (distorted <= last) {
            return {corner * (step - 1) / steps, last};
        }
        last = distorted;
    }
    return {corner * mostStretched, last};
}

/// The share of the rectified image that shows something of the camera's.
double findCovered(const Calibration& calibration, const Fold& fold)
{
    constexpr int across = 24;
    const cv::Matx33d projection =
        cv::Matx34d(cv::Matx34f(calibration.projectionMatrix)).get_minor<3, 3>(0, 0);
    cv::Matx33d rotation = cv::Matx33d::eye();
    if (!calibration.rectificationMatrix.empty()) {
        cv::Mat_<double>(calibration.rectificationMatrix).copyTo(cv::Mat(3, 3, CV_64F, rotation.val));
    }
    const cv::Matx33d toRay = rotation.t() * projection.inv();
    std::vector<cv::Point3d> rays;
    for (int i = 0; i < across * across; ++i) {
        const cv::Vec3d ray = toRay * cv::Vec3d((i % across + 0.5) * calibration.width / across,
                                                (double(i) / across) * calibration.height / across,
                                                1);
        if (ray[2] > 0 && std::hypot(ray[0], ray[1]) < fold.undistorted * ray[2]) {
            rays.emplace_back(ray[0] / ray[2], ray[1] / ray[2], 1);
        }
    }
    if (rays.empty()) {
        return 0;
    }
    std::vector<cv::Point2d> pixels;
    cv::projectPoints(
        rays, cv::Vec3d(), cv::Vec3d(), calibration.cameraMatrix, calibration.distortion, pixels);
    const auto inside = std::count_if(pixels.begin(), pixels.end(), [&](const cv::Point2d& pixel) {
        return 0 <= pixel.x && pixel.x < calibration.width && 0 <= pixel.y && pixel.y < calibration.height;
    });
    return static_cast<double>(inside) / (across * across);
}

bool isOffCentre(double point, int length)
{
    return std::abs(point - (length - 1) / 2.0) > mostOffCentre * length;
}

void judgeCamera(const CameraFacts& facts, Notes& notes)
{
    const cv::Point2d& f = facts.focalLength;
    doubt(notes,
          std::abs(f.x - f.y) > mostUnlikeFocalLengths * (f.x + f.y) / 2,
          "pixels-not-square",
          fmt::format(
              "the focal lengths along x and y differ, {:.1f} and {:.1f} px, as only of pixels that are "
              "not square: were the images stretched?",
              f.x,
              f.y));
    doubt(
        notes,
        isOffCentre(facts.principalPoint.x, facts.size.width) ||
            isOffCentre(facts.principalPoint.y, facts.size.height),
        "principal-point",
        fmt::format("the principal point, {:.1f}, {:.1f} px, is far from the middle of images of {} x {} px: "
                    "is the calibration for another size, or were the images cut?",
                    facts.principalPoint.x,
                    facts.principalPoint.y,
                    facts.size.width,
                    facts.size.height));
    const auto [least, most] = std::minmax(facts.fieldOfView.x, facts.fieldOfView.y);
    doubt(notes,
          least < narrowest || most > widest,
          "field-of-view",
          fmt::format("the field of view is {:.1f} x {:.1f} degrees: is the focal length, {:.2f} px, in px?",
                      facts.fieldOfView.x,
                      facts.fieldOfView.y,
                      f.x));
}

} // namespace

Notes findDoubts(const Calibration& calibration)
{
    const CameraFacts facts = describeCamera(calibration);
    Notes notes;
    judgeCamera(facts, notes);
    const double rectified = double{calibration.projectionMatrix.at<float>(0, 0)};
    doubt(notes,
          rectified < leastZoom * facts.focalLength.x || rectified > mostZoom * facts.focalLength.x,
          "rectified-focal-length",
          fmt::format(
              "the focal length of the rectified image, {:.1f} px, is unlike that of the camera, {:.1f} "
              "px: are both matrices for this image size?",
              rectified,
              facts.focalLength.x));
    const Fold fold = findFold(facts);
    doubt(notes,
          std::isfinite(fold.distorted),
          "folded-distortion",
          fmt::format("beyond {:.0f} px from the principal point, inside the image, the distortion maps two "
                      "directions to one point: calibrate with boards up to the corners, or with fewer "
                      "coefficients",
                      fold.distorted * facts.focalLength.x));
    const double covered = findCovered(calibration, fold);
    doubt(notes,
          covered < leastCovered,
          "hardly-covered",
          fmt::format("only {:.0f} % of the rectified image show something of the camera's: do the matrices "
                      "belong together, and to this image size?",
                      100 * covered));
    return notes;
}

Notes findPairDoubts(const Calibration& left, const Calibration& right)
{
    const double baseline = findDepthScale(left, right).baseline;
    Notes notes;
    doubt(notes,
          baseline < shortest || baseline > longest,
          "baseline",
          fmt::format(
              "the cameras are {:.6g} m apart: is the length in another unit, such as mm? Depth is in the "
              "same unit",
              baseline));
    return notes;
}

} // namespace vision::toolkit
