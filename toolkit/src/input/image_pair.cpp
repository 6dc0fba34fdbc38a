// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/images.h>

#include "base/text.h"
#include "input/bit_depth.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <filesystem>

namespace vision::toolkit {

namespace {

void requireUsable(const cv::Mat& image, const std::string& name)
{
    if (image.depth() != CV_8U && image.depth() != CV_16U) {
        throw Failure("image-bits", name, "has neither 8 nor 16 bits per channel; convert it to such a PNG");
    }
    if (image.channels() != 1 && image.channels() != 3 && image.channels() != 4) {
        throw Failure("image-channels", name, "is neither grey nor colour; convert it to a grey PNG");
    }
    constexpr int largest = 32767; // OpenCV's filter of speckles keeps coordinates in 16 bits
    if (std::max(image.cols, image.rows) > largest) {
        throw Failure("image-too-long",
                      name,
                      fmt::format("is {}, and images can have at most {} px in either direction; cut it",
                                  formatSize(image.size()),
                                  largest));
    }
}

cv::Mat dropAlpha(const cv::Mat& image, Notes& notes)
{
    if (image.channels() != 4) {
        return image;
    }
    cv::Mat colour;
    cv::cvtColor(image, colour, cv::COLOR_BGRA2BGR);
    append(notes, {{"alpha-ignored", Severity::Info, "the alpha channel of images is ignored"}});
    return colour;
}

/// Two cameras of the same make differ by their exposure, but hardly by more than this factor.
void compareRanges(double left, double right, bool isSameDepth, Notes& notes)
{
    constexpr double mostBetweenExposures = 3;
    constexpr double dark = 30; // of 255: below it, noise decides
    const auto [darker, brighter] = std::minmax(left, right);
    if (!isSameDepth || (brighter > dark && brighter > mostBetweenExposures * darker)) {
        notes.push_back({"bit-range-differs",
                         "the brightest pixel is " + fmt::format("{:.0f}", left) + " on the left and " +
                             fmt::format("{:.0f}", right) +
                             " on the right: take both images with the same pixel format and "
                             "exposure"});
    }
}

void scaleToEightBits(RawPair& pair, double brightest, Notes& notes)
{
    if (pair.left.depth() != CV_16U && pair.right.depth() != CV_16U) {
        return;
    }
    const int bits = pair.bits != 0 ? pair.bits : findBitDepth(brightest);
    const int white = (1 << bits) - 1;
    for (cv::Mat* image : {&pair.left, &pair.right}) {
        if (image->depth() == CV_16U) {
            image->convertTo(*image, CV_8U, 255.0 / white);
        }
    }
    append(notes,
           {{"scaled-to-8-bits",
             Severity::Info,
             fmt::format("16-bit images are scaled to 8 bits, as those of a camera with {} bits", bits)}});
    if (brightest > white) {
        notes.push_back({"beyond-bit-depth",
                         fmt::format("the brightest pixel is {:.0f}, beyond the {} bits that the sequence is "
                                     "taken to have: what is beyond became white",
                                     brightest,
                                     bits)});
    }
}

InputImage toGrey(const cv::Mat& image, Notes& notes)
{
    InputImage input{image, image};
    if (image.channels() == 3) {
        cv::cvtColor(image, input.grey, cv::COLOR_BGR2GRAY);
        append(notes,
               {{"converted-to-grey", Severity::Info, "colour images are converted to grey for matching"}});
    }
    return input;
}

} // namespace

std::vector<PairNames> pairUp(const std::vector<std::string>& left, const std::vector<std::string>& right)
{
    if (left.size() != right.size()) {
        throw Failure("numbers-of-images-differ",
                      "",
                      fmt::format("there are {} images of the left camera and {} of the right one: each left "
                                  "image needs a right one, in the same order",
                                  left.size(),
                                  right.size()));
    }
    std::vector<PairNames> pairs;
    for (std::size_t i = 0; i < left.size(); ++i) {
        pairs.push_back({left[i], right[i]});
    }
    return pairs;
}

void requireUsable(const RawPair& pair, const PairNames& names)
{
    requireUsable(pair.left, names.left);
    requireUsable(pair.right, names.right);
    if (pair.left.size() != pair.right.size()) {
        throw Failure("image-sizes-differ",
                      names.left + " and " + names.right,
                      "are " + formatSize(pair.left.size()) + " and " + formatSize(pair.right.size()) +
                          ": both images of a pair must have the same size");
    }
}

RawPair readRawPair(const PairNames& files, const ImageLimits& limits)
{
    std::error_code ignored;
    if (std::filesystem::equivalent(files.left, files.right, ignored)) {
        throw Failure("same-image-twice",
                      files.left,
                      "is given as left and as right image; name the other camera's image");
    }
    RawPair pair{readImage(files.left, limits), readImage(files.right, limits)};
    requireUsable(pair, files);
    return pair;
}

ImagePair toEightBits(const RawPair& raw)
{
    ImagePair pair;
    RawPair opaque{dropAlpha(raw.left, pair.notes), dropAlpha(raw.right, pair.notes), raw.bits};
    const double left = findBrightest(opaque.left);
    const double right = findBrightest(opaque.right);
    compareRanges(left, right, opaque.left.depth() == opaque.right.depth(), pair.notes);
    scaleToEightBits(opaque, std::max(left, right), pair.notes);
    pair.left = toGrey(opaque.left, pair.notes);
    pair.right = toGrey(opaque.right, pair.notes);
    return pair;
}

ImagePair readImagePair(const PairNames& files, const ImageLimits& limits)
{
    return toEightBits(readRawPair(files, limits));
}

} // namespace vision::toolkit
