// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/pair_output.h>

#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/encodings.h>
#include <vision/toolkit/output/pictures.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

/// Encodes the products of one pair and notes what they cannot hold.
class Encoder
{
public:
    Encoder(const PairResults& results, const PictureScale& scale)
        : _results(results), _scale(scale),
          _depth(results.points.empty() ? cv::Mat() : extractDepth(results.points))
    {
    }

    /// The files of a product, in the order of their names.
    std::vector<Bytes> encode(Product product);

    const Notes& notes() const { return _notes; }

private:
    /// The bytes of an image; what does not fit is noted.
    Bytes take(EncodedImage image, const char* code, const char* what);
    cv::Mat getLevels() const;

    const PairResults& _results;
    const PictureScale& _scale;
    cv::Mat _depth;
    Notes _notes;
};

std::vector<Bytes> Encoder::encode(Product product)
{
    const PairResults& pair = _results;
    switch (product) {
    case Product::DisparityPicture:
        return {encodePng(drawDisparity(pair.disparity, pair.unsearched, _scale))};
    case Product::DisparityPfm:
        return {encodeDisparityPfm(pair.disparity)};
    case Product::DisparityTiff:
        return {encodeDisparityTiff(pair.disparity)};
    case Product::DisparityPng16:
        return {take(
            encodeDisparityPng16(pair.disparity),
            "disparity-out-of-range",
            " pixels have a disparity that disparity-png16 cannot hold (it takes 0.004 to 255.996 px) and "
            "have none in that file; disparity-tiff and disparity-pfm take all")};
    case Product::DepthPicture:
        return {encodePng(drawDepth(_depth, pair.unsearched, _scale))};
    case Product::DepthPng16:
        return {take(
            encodeDepthPng16(_depth),
            "depth-out-of-range",
            " pixels have a depth that depth-png16 cannot hold (it takes 1 mm to 65.535 m) and have none in "
            "that file; depth-tiff takes all")};
    case Product::DepthTiff:
        return {encodeDepthTiff(_depth)};
    case Product::Points:
        return {encodePly(pair.points, pair.left)};
    case Product::Rectified:
        return {encodePng(pair.rectifiedLeft), encodePng(pair.rectifiedRight)};
    case Product::RectifiedRows:
        return {encodePng(drawRectifiedRows(pair.left, pair.right))};
    case Product::Confidence:
        if (pair.confidence.empty()) {
            throw Failure("no-confidence", {}, "only the semi-global matcher (sgm) gives a confidence");
        }
        return {encodeDisparityTiff(pair.confidence)};
    case Product::LevelPicture:
        return {encodePng(drawLevels(getLevels(), pair.unsearched))};
    }
    throw std::invalid_argument("no such product");
}

Bytes Encoder::take(EncodedImage image, const char* code, const char* what)
{
    if (image.unfit > 0) {
        _notes.push_back({code, std::to_string(image.unfit) + what});
    }
    return std::move(image.bytes);
}

cv::Mat Encoder::getLevels() const
{
    if (!_results.levels.empty()) {
        return _results.levels;
    }
    return (_results.disparity < std::numeric_limits<double>::infinity()) / 255; // 1 where matched
}

} // namespace

PairOutput writePairOutput(const PairResults& results, const PictureScale& scale, const OutputSet& set,
                           const OutputFolder& folder)
{
    if (set.needsDepth() && results.points.empty()) {
        throw Failure("no-depth",
                      results.name,
                      "depth and points need calibrations, or a focal length and a baseline; without them "
                      "choose among the disparity and rectified outputs");
    }
    Encoder encoder(results, scale);
    OutputFiles output(folder);
    for (const Product product : set.products()) {
        const std::vector<std::string> names = OutputSet({product}).listFiles(results.name);
        if (std::all_of(
                names.begin(), names.end(), [&](const std::string& name) { return folder.keeps(name); })) {
            continue;
        }
        const std::vector<Bytes> files = encoder.encode(product);
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (!folder.keeps(names[i])) {
                output.write(names[i], files[i]);
            }
        }
    }
    return {output.commit(), encoder.notes()};
}

} // namespace vision::toolkit
