// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/matcher.h"

#include "matching/semi_global/confidence.h"
#include "matching/semi_global/noise.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit::semi_global {

namespace {

/// @return no rows for an empty image
Plane view(const cv::Mat& image)
{
    return {const_cast<std::uint8_t*>(image.data),
            image.empty() ? 0 : static_cast<std::ptrdiff_t>(image.step)};
}

/// By how much a pixel must be brighter than another to count as brighter: noise must not decide.
int chooseThreshold(int noise)
{
    return std::min((noise + 1) / 3, 3);
}

/// Noise makes the best disparity of neighbouring pixels differ.
int chooseSmallStep(int inCleanImages, int noise)
{
    return inCleanImages + 2 * std::min(noise, 8);
}

void mirror(const cv::Mat& valid, cv::Mat& mirrored)
{
    if (valid.empty()) {
        mirrored.release();
    } else {
        cv::flip(valid, mirrored, 1);
    }
}

} // namespace

void Matcher::preparePair(const Images& images, const Settings& settings)
{
    const cv::Size size = images.left.size();
    const int noiseLeft = estimateNoise(images.left, images.leftValid);
    const int noiseRight = estimateNoise(images.right, images.rightValid);
    _pair.width = size.width;
    _pair.height = size.height;
    _pair.settings = settings;
    _pair.settings.smallStep = chooseSmallStep(settings.smallStep, std::max(noiseLeft, noiseRight));
    _pair.steps = (settings.disparities + searchStep - 1) / searchStep * searchStep;
    _pair.largestContradiction = settings.isMatchedTwice ? 255 : 0; // the second matching is the better check
    _pair.leftThreshold = chooseThreshold(noiseLeft);
    _pair.rightThreshold = chooseThreshold(noiseRight);
    _pair.left = view(images.left);
    _pair.right = view(images.right);
    _pair.leftValid = view(images.leftValid);
    _pair.rightValid = view(images.rightValid);

    const std::ptrdiff_t stride = size.width + 3 * std::ptrdiff_t{planeMargin};
    const std::ptrdiff_t bytes = stride * size.height + 3 * std::ptrdiff_t{planeMargin};
    if (_smooth.size() < static_cast<std::size_t>(2 * bytes)) {
        _smooth.resize(static_cast<std::size_t>(2 * bytes));
    }
    _pair.smoothLeft = {_smooth.data() + planeMargin, stride};
    _pair.smoothRight = {_smooth.data() + bytes + planeMargin, stride};
    _disparity.create(size, CV_16SC1);
    _evidence.create(size, CV_8UC1);
    _medians.create(size, CV_16SC1);
    _pair.disparity = _disparity.ptr<std::int16_t>();
    _pair.evidence = _evidence.ptr<std::uint8_t>();
}

/// The right image is matched as a left one: both mirrored, as the mirrored planes are there.
void Matcher::prepareMirroredPair(const Images& images)
{
    mirror(images.leftValid, _mirroredLeftValid);
    mirror(images.rightValid, _mirroredRightValid);
    _confirmation.create(_disparity.size(), CV_16SC1);
    _unusedEvidence.create(_disparity.size(), CV_8UC1);
    _mirrored = _pair;
    std::swap(_mirrored.leftThreshold, _mirrored.rightThreshold);
    std::swap(_mirrored.smoothLeft, _mirrored.smoothRight);
    _mirrored.leftValid = view(_mirroredRightValid);
    _mirrored.rightValid = view(_mirroredLeftValid);
    _mirrored.disparity = _confirmation.ptr<std::int16_t>();
    _mirrored.evidence = _unusedEvidence.ptr<std::uint8_t>();
}

void Matcher::compute(const Images& images, const Settings& settings, int threads, Result& result)
{
    preparePair(images, settings);
    _crew.prepare(_pair, threads);
    _medianMemory.resize(static_cast<std::size_t>(_crew.stripes()));
    result.disparity.create(images.left.size(), CV_32FC1);
    result.confidence.create(images.left.size(), CV_32FC1);

    _crew.forEachStripe([&](const Rows& rows, int, const Workspace& memory) {
        _implementation->smooth(_pair, rows, memory);
    });
    if (settings.isMatchedTwice) {
        prepareMirroredPair(images);
    }
    _crew.forEachStripe([&](const Rows& rows, int, const Workspace& memory) {
        _implementation->match(_pair, rows, memory);
        if (settings.isMatchedTwice) {
            _implementation->match(_mirrored, rows, memory);
            dropUnconfirmed(_disparity, _confirmation, rows);
        }
    });
    _speckles.start(_crew.stripes(), settings.speckleStep);
    _crew.forEachStripe([&](const Rows& rows, int stripe, const Workspace&) {
        takeMedians(_disparity, rows, _medianMemory[static_cast<std::size_t>(stripe)], _medians);
        _speckles.findRuns(_medians, rows, stripe);
    });
    _speckles.joinStripes(_medians);
    _crew.forEachStripe([&](const Rows& rows, int stripe, const Workspace&) {
        _speckles.drop(_medians, stripe, settings.speckleSize);
        write(rows, result);
    });
}

void Matcher::write(const Rows& rows, Result& result) const
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::array<float, 256>& shares = shareOfRightMatches();
    for (int y = rows.first; y < rows.behindLast; ++y) {
        const auto* const in = _medians.ptr<std::int16_t>(y);
        const auto* const evidence = _evidence.ptr<std::uint8_t>(y);
        auto* const disparity = result.disparity.ptr<float>(y);
        auto* const confidence = result.confidence.ptr<float>(y);
        for (int x = 0; x < _medians.cols; ++x) {
            const bool isMatched = in[x] != noMatch;
            disparity[x] = isMatched ? static_cast<float>(in[x]) * (1.0f / unitsPerPixel) : infinity;
            confidence[x] = isMatched ? shares[evidence[x]] : 0.0f;
        }
    }
}

} // namespace vision::toolkit::semi_global
