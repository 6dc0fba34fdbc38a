// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_SETTINGS_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_SETTINGS_H

namespace vision::toolkit::semi_global {

/// What is searched, what a step of the disparity costs and what is kept.
struct Settings
{
    int minDisparity = 0;  ///< px, -2047 to 2047
    int disparities = 128; ///< how many are searched, 1 to 1024; the largest one at most 2047 px

    int smallStep = 12;      ///< penalty of a step of 1 px in clean images; noise raises it
    int largeStep = 120;     ///< penalty of a larger step where the image is flat; at most 159
    int leastLargeStep = 24; ///< the same at strong edges, where surfaces end
    int edgeFactor = 4;      ///< how much that penalty falls by each grey level of an edge: 1, 2 or 4

    bool isMatchedTwice =
        false;             ///< keep only what a matching of the right image confirms; takes twice as long
    int speckleSize = 200; ///< pixels of the largest region that is dropped as a speckle
    int speckleStep = 12;  ///< largest step of the disparity within one region, units of 1/16 px
};

} // namespace vision::toolkit::semi_global

#endif
