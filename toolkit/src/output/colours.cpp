// SPDX-License-Identifier: Apache-2.0
#include "output/colours.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

ColourMap makeColourMap()
{
    constexpr int first = 20;
    constexpr int last = 240;
    ColourMap map;
    cv::Mat levels(1, static_cast<int>(map.size()), CV_8UC1);
    for (int i = 0; i < levels.cols; ++i) {
        levels.at<unsigned char>(i) = cv::saturate_cast<unsigned char>(first + (last - first) * i / 255.0);
    }
    cv::Mat colours(levels.size(), CV_8UC3, map.data());
    cv::applyColorMap(levels, colours, cv::COLORMAP_TURBO);
    return map;
}

} // namespace

const ColourMap& getColourMap()
{
    static const ColourMap map = makeColourMap();
    return map;
}

cv::Mat paint(const cv::Mat& values, const cv::Mat& unsearched, const ColourEnds& ends)
{
    CV_Assert(values.type() == CV_32FC1);
    CV_Assert(unsearched.empty() || (unsearched.type() == CV_8UC1 && unsearched.size() == values.size()));
    const ColourMap& map = getColourMap();
    const auto factor = static_cast<float>(1 / (ends.nearest - ends.farthest));
    const auto farthest = static_cast<float>(ends.farthest);
    cv::Mat picture(values.size(), CV_8UC3);
    for (int row = 0; row < values.rows; ++row) {
        const auto* from = values.ptr<float>(row);
        const auto* mask = unsearched.empty() ? nullptr : unsearched.ptr<unsigned char>(row);
        auto* to = picture.ptr<cv::Vec3b>(row);
        for (int column = 0; column < values.cols; ++column) {
            const float share = (from[column] - farthest) * factor;
            if (!std::isfinite(share)) {
                to[column] = mask != nullptr && mask[column] != 0 ? unsearchedColour : noValueColour;
            } else if (share < 0) {
                to[column] = fartherColour;
            } else {
                to[column] = share > 1 ? nearerColour : map[static_cast<std::size_t>(cvRound(share * 255))];
            }
        }
    }
    return picture;
}

} // namespace vision::toolkit
