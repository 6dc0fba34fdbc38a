// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the colours of all pictures mean, and the painting with them. Colours are BGR.
#ifndef VISION_TOOLKIT_SRC_OUTPUT_COLOURS_H
#define VISION_TOOLKIT_SRC_OUTPUT_COLOURS_H

#include <vision/toolkit/output/pictures.h>

#include <opencv2/core/mat.hpp>

#include <array>

namespace vision::toolkit {

const cv::Vec3b noValueColour(0, 0, 0);
const cv::Vec3b unsearchedColour(80, 80, 80);
const cv::Vec3b nearerColour(255, 0, 255);
const cv::Vec3b fartherColour(200, 200, 200);

/// From far to near.
using ColourMap = std::array<cv::Vec3b, 256>;

/// The map "Turbo" without its outermost colours, which are nearly black and would look like no value.
const ColourMap& getColourMap();

/// The disparities or depths at the ends of the colour map.
struct ColourEnds
{
    double farthest;
    double nearest;
};

/// Paints values; those that are not finite are left out.
/// @param values `CV_32FC1`
/// @param unsearched `CV_8UC1`, not 0 where there cannot be a value; may be empty
/// @return `CV_8UC3`
cv::Mat paint(const cv::Mat& values, const cv::Mat& unsearched, const ColourEnds& ends);

} // namespace vision::toolkit

#endif
