// SPDX-License-Identifier: Apache-2.0
#include "test_pairs.h"

#include <vision/toolkit/input/images.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <limits>

namespace accuracy {

namespace {

/// A photograph on a plane: the disparity at (x, y) of the left image is d0 + dx x + dy y.
struct Layer
{
    const char* photo;
    double zoom;
    double d0;
    double dx;
    double dy;
    cv::Rect2d region; ///< in parts of the image
    bool isEllipse = false;

    double disparity(double x, double y) const { return d0 + dx * x + dy * y; }

    /// Where the left image shows what the right one shows at (x, y).
    double findLeftColumn(double x, double y) const { return (x + d0 + dy * y) / (1 - dx); }

    bool covers(double x, double y, const cv::Size& size) const
    {
        const double u = (x / size.width - region.x) / region.width;
        const double v = (y / size.height - region.y) / region.height;
        return isEllipse ? std::hypot(u - 0.5, v - 0.5) <= 0.5 : 0 <= u && u < 1 && 0 <= v && v < 1;
    }
};

/// How the right camera differs, and the noise of both.
struct Cameras
{
    double gain;
    double offset;
    double blur;
    double noise;
};

struct Scene
{
    cv::Size size;
    Cameras cameras;
    std::vector<Layer> layers; ///< the farthest first
};

const cv::Rect2d everywhere(-4, 0, 9, 1); // also what only the right image shows

const Scene scenes[] = {
    {{800, 600},
     {1, 0, 0, 2},
     {{"building.jpg", 1, 20, 0.02, 0, everywhere},
      {"fruits.jpg", 1, 60, -0.05, 0.04, {0.2, 0.25, 0.3, 0.5}, true},
      {"baboon.jpg", 1.2, 90, 0.02, -0.03, {0.55, 0.2, 0.25, 0.5}}}},
    {{800, 600},
     {0.85, 8, 0.6, 3},
     {{"home.jpg", 1, 30, 0, 0.05, everywhere},
      {"messi5.jpg", 1, 75, 0.03, 0, {0.4, 0.2, 0.4, 0.6}, true},
      {"stuff.jpg", 1, 100, 0, 0, {0.1, 0.3, 0.06, 0.6}}}},
    {{1200, 900},
     {1.1, -5, 0.4, 2},
     {{"aero1.jpg", 0.8, 80, -0.02, 0.05, everywhere},
      {"apple.jpg", 1.5, 220, 0, -0.1, {0.52, 0.3, 0.36, 0.6}, true},
      {"fruits.jpg", 1.5, 190, 0.05, 0, {0.18, 0.2, 0.24, 0.4}, true},
      {"board.jpg", 1, 260, 0, 0, {0.48, 0.1, 0.03, 0.8}}}},
    {{320, 240},
     {0.95, 0, 0.3, 3},
     {{"building.jpg", 0.4, 8, 0.01, 0.02, everywhere},
      {"baboon.jpg", 0.5, 25, 0, 0.05, {0.3, 0.2, 0.4, 0.6}, true}}},
    {{640, 480},
     {1, 0, 0.5, 2},
     {{"home.jpg", 1.2, 4, 0.005, 0.01, everywhere}, {"board.jpg", 0.6, 12, 0, 0.02, {0.3, 0.4, 0.3, 0.4}}}},
    {{900, 750},
     {0.92, 6, 0.5, 4},
     {{"building.jpg", 1, 2, 0, 0, everywhere},
      {"stuff.jpg", 2, -30, 0, 0.15, {-4, 0.45, 9, 0.55}},
      {"left.jpg", 1, 28, 0, 0, {0.6, 0.35, 0.2, 0.2}},
      {"licenseplate_motion.jpg", 1, 50, 0, 0, {0.3, 0.4, 0.1, 0.3}}}},
};

/// Draws a layer over an image.
/// @param leftColumnAt the column of the left image that a pixel (x, y) shows
template <typename Function>
void draw(const Layer& layer, const cv::Mat& photo, const Function& leftColumnAt, cv::Mat& image)
{
    cv::Mat columns(image.size(), CV_32FC1);
    cv::Mat rows(image.size(), CV_32FC1);
    cv::Mat covered(image.size(), CV_8UC1);
    for (int y = 0; y < image.rows; ++y) {
        for (int x = 0; x < image.cols; ++x) {
            const double column = leftColumnAt(x, y);
            covered.at<unsigned char>(y, x) = layer.covers(column, y, image.size()) ? 255 : 0;
            columns.at<float>(y, x) = static_cast<float>((column + image.cols) / layer.zoom);
            rows.at<float>(y, x) = static_cast<float>(y / layer.zoom);
        }
    }
    cv::Mat drawn;
    cv::remap(photo, drawn, columns, rows, cv::INTER_CUBIC, cv::BORDER_REFLECT);
    drawn.copyTo(image, covered);
}

cv::Mat addNoise(const cv::Mat& image, double deviation, cv::RNG& random)
{
    cv::Mat noise(image.size(), CV_32FC1);
    random.fill(noise, cv::RNG::NORMAL, 0, deviation);
    cv::Mat result;
    cv::Mat(image + noise).convertTo(result, CV_8U);
    return result;
}

TestPair render(const Scene& scene, const std::string& folder, cv::RNG& random)
{
    cv::Mat left(scene.size, CV_32FC1, cv::Scalar(0));
    cv::Mat right = left.clone();
    TestPair pair;
    pair.truth = left.clone();
    for (const Layer& layer : scene.layers) {
        cv::Mat photo = vision::toolkit::readImage(folder + "/" + layer.photo);
        if (photo.channels() == 3) {
            cv::cvtColor(photo, photo, cv::COLOR_BGR2GRAY);
        }
        photo.convertTo(photo, CV_32F);
        draw(
            layer, photo, [](int x, int) { return x; }, left);
        draw(
            layer, photo, [&layer](int x, int y) { return layer.findLeftColumn(x, y); }, right);
        pair.truth.forEach<float>([&](float& disparity, const int* at) {
            if (layer.covers(at[1], at[0], scene.size)) {
                disparity = static_cast<float>(layer.disparity(at[1], at[0]));
            }
        });
    }
    if (scene.cameras.blur > 0) {
        cv::GaussianBlur(right, right, {}, scene.cameras.blur);
    }
    right = right * scene.cameras.gain + scene.cameras.offset;
    pair.images.left = addNoise(left, scene.cameras.noise, random);
    pair.images.right = addNoise(right, scene.cameras.noise, random);
    return pair;
}

} // namespace

TestSet computeScenes(const std::string& folder)
{
    cv::RNG random(1);
    TestSet set{{}, false};
    for (const Scene& scene : scenes) {
        set.pairs.push_back(render(scene, folder, random));
    }
    return set;
}

} // namespace accuracy
