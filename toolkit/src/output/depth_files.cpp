#include <vision/toolkit/output/depth_files.h>

#include <vision/toolkit/output/pictures.h>
#include <vision/toolkit/output/ply.h>

#include <opencv2/imgcodecs.hpp>

#include <functional>

namespace vision::toolkit {

namespace {

/// @param extension selects the format; ".pfm" gives little endian, bottom row first
std::string encode(const char* extension, const cv::Mat& image)
{
    std::vector<unsigned char> bytes;
    cv::imencode(extension, image, bytes);
    return {bytes.begin(), bytes.end()};
}

/// The depth in m of a disparity in images of this size, see vision::Stereo.
std::function<double(double)> makeDepthOfDisparity(const vision::Stereo& stereo, const cv::Size& size)
{
    const auto [left, right] = stereo.getCalibrations();
    const cv::Mat leftProjection = left.scaleTo(size.width, size.height).projectionMatrix;
    const cv::Mat rightProjection = right.scaleTo(size.width, size.height).projectionMatrix;
    const double atInfinity =
        double{leftProjection.at<float>(0, 2)} - double{rightProjection.at<float>(0, 2)};
    const double focalTimesBaseline = -double{rightProjection.at<float>(0, 3)};
    return [=](double disparity) { return focalTimesBaseline / (disparity - atInfinity); };
}

} // namespace

DepthFileNames::DepthFileNames(const std::string& name)
    : rectified(name + "-rectified.png"), picture(name + "-disparity.png"),
      disparity(name + "-disparity.pfm"), points(name + "-points.ply")
{
}

void requireFree(const DepthFileNames& names, const OutputFolder& folder)
{
    for (const std::string* name : {&names.rectified, &names.picture, &names.disparity, &names.points}) {
        folder.requireFree(*name);
    }
}

std::vector<std::filesystem::path> writeDepthFiles(const PairDepth& depth, const vision::Stereo& stereo,
                                                   const DepthFileNames& names, const OutputFolder& folder)
{
    const auto depthAt = makeDepthOfDisparity(stereo, depth.disparity.size());
    OutputFiles output(folder);
    output.write(names.rectified, encode(".png", drawRectifiedPair(depth.left, depth.right)));
    output.write(names.picture, encode(".png", drawDisparity(depth.disparity, depthAt)));
    output.write(names.disparity, encode(".pfm", depth.disparity));
    output.write(names.points, encodePly(depth.points, depth.left));
    return output.commit();
}

} // namespace vision::toolkit
