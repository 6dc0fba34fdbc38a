// SPDX-License-Identifier: Apache-2.0
#include "stereo/reprojection_row.h"

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <cstring>

// GCC compiles a function with this mark for wider vectors as well, and the loader picks the version that
// suits the processor. All give the same bits. (ThreadSanitizer cannot start a program that picks this way.)
#if defined(__x86_64__) && defined(__GLIBC__) && __GNUC__ >= 12 && !defined(__SANITIZE_THREAD__)
#define VISION_WIDE_VECTORS __attribute__((target_clones("default", "avx2", "arch=x86-64-v4")))
#else
#define VISION_WIDE_VECTORS
#endif

namespace vision::detail {

namespace {

/// Gives the value if all bits of the mask are set, and 0 if none is. A branch would be mispredicted too
/// often where trusted and blanked pixels mix.
float masked(float value, std::uint32_t mask)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits &= mask;
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}

// Double arithmetic in OpenCV's order. The products with the zeros of its matrix are left out: 0 * d changes
// nothing as long as d is finite, and makes the whole point NaN when it is not. (With the mark, GCC exports
// every function that other files can call, so this one stays in its file.)
VISION_WIDE_VECTORS void reprojectWide(const float* disparity, int columns, const HomogeneousRow& homogeneous,
                                       const DepthLimits& limits, cv::Vec3f* points)
{
    float d[pixelsPerBlock] = {}; // at the end of the last block remain values of the one before
    float pointX[pixelsPerBlock], pointY[pixelsPerBlock], pointZ[pixelsPerBlock];
    std::uint32_t kept[pixelsPerBlock];

    for (int first = 0; first < columns; first += pixelsPerBlock) {
        const int count = std::min(pixelsPerBlock, columns - first);
        std::copy_n(disparity + first, count, d);
        for (int i = 0; i < pixelsPerBlock; ++i) {
            const double wide = d[i];
            const double zeroOrNaN = wide - wide;
            const double w = zeroOrNaN + homogeneous.wPerDisparity * wide + homogeneous.wAtZero;
            const double reciprocal = 1.0 / w;
            pointX[i] = static_cast<float>(homogeneous.x[first + i] * reciprocal);
            pointY[i] = static_cast<float>(homogeneous.y * reciprocal);
            pointZ[i] = static_cast<float>(homogeneous.z * reciprocal);
        }
        for (int i = 0; i < pixelsPerBlock; ++i) {
            pointZ[i] = d[i] == FLT_MAX ? 10000.0f : pointZ[i]; // OpenCV's mark of a missing disparity
        }
        for (int i = 0; i < pixelsPerBlock; ++i) { // comparisons that NaN passes, as it must stay
            kept[i] = (pointZ[i] < 0.0f ? 0 : ~0u) & (pointZ[i] > limits.maxDepth ? 0 : ~0u) &
                      (d[i] <= limits.invalidDisparity ? 0 : ~0u);
        }
        for (int i = 0; i < count; ++i) {
            points[first + i] = {
                masked(pointX[i], kept[i]), masked(pointY[i], kept[i]), masked(pointZ[i], kept[i])};
        }
    }
}

} // namespace

void reprojectRow(const float* disparity, int columns, const HomogeneousRow& homogeneous,
                  const DepthLimits& limits, cv::Vec3f* points)
{
    reprojectWide(disparity, columns, homogeneous, limits, points);
}

} // namespace vision::detail
