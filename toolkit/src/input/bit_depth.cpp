// SPDX-License-Identifier: Apache-2.0
#include "input/bit_depth.h"

#include "base/sampling.h"
#include "files/regular_file.h"
#include "input/image_header.h"
#include "input/image_limits.h"

#include <opencv2/core.hpp>

#include <algorithm>

namespace vision::toolkit {

namespace {

/// Images with 8 bits, nearly all there are, need not be decoded to be told.
double findBrightestOf(const std::string& file, const ImageLimits& limits)
{
    try {
        const auto header = readImageHeader(readWhole(file, mostImageBytes(limits)));
        if (!header || header->bits <= 8) {
            return 0;
        }
        const cv::Mat image = readImage(file, limits);
        return image.depth() == CV_16U ? findBrightest(image) : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

} // namespace

double findBrightest(const cv::Mat& image)
{
    double brightest = 0;
    for (int channel = 0; channel < std::min(image.channels(), 3); ++channel) {
        cv::Mat values;
        cv::extractChannel(image, values, channel);
        double most = 0;
        cv::minMaxLoc(values, nullptr, &most);
        brightest = std::max(brightest, most);
    }
    return brightest;
}

int findBitDepth(double brightest)
{
    int bits = 8;
    while (bits < 16 && brightest >= (1 << bits)) {
        bits += 2;
    }
    return bits;
}

int findBitDepth(const std::vector<PairNames>& pairs, const ImageLimits& limits)
{
    constexpr std::size_t enough = 9;
    double brightest = 0;
    for (const std::size_t pair : sampleEvenly(pairs.size(), enough)) {
        for (const std::string& file : {pairs[pair].left, pairs[pair].right}) {
            brightest = std::max(brightest, findBrightestOf(file, limits));
        }
    }
    return brightest > 0 ? findBitDepth(brightest) : 0;
}

} // namespace vision::toolkit
