// SPDX-License-Identifier: Apache-2.0
#include "calibration/poses.h"

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

/// The farthest that a point is from where it is in the other view, px; infinite when the views share no
/// point.
double measureMotion(const BoardView& view, const BoardView& other)
{
    double farthest = -1;
    std::size_t j = 0;
    for (std::size_t i = 0; i < view.ids.size(); ++i) {
        while (j < other.ids.size() && other.ids[j] < view.ids[i]) {
            ++j;
        }
        if (j < other.ids.size() && other.ids[j] == view.ids[i]) {
            farthest = std::max(
                {farthest, cv::norm(view.left[i] - other.left[j]), cv::norm(view.right[i] - other.right[j])});
        }
    }
    return farthest < 0 ? INFINITY : farthest;
}

} // namespace

std::vector<const BoardView*> selectPoses(const std::vector<const BoardView*>& views,
                                          const cv::Size& imageSize)
{
    // Of the diagonal. Noise moves corners by a thousandth; a hand cannot hold a board as still as this.
    constexpr double still = 0.01;
    const double limit = still * std::hypot(imageSize.width, imageSize.height);
    std::vector<const BoardView*> poses;
    for (const BoardView* view : views) {
        if (std::none_of(poses.begin(), poses.end(), [&](const BoardView* pose) {
                return measureMotion(*view, *pose) < limit;
            })) {
            poses.push_back(view);
        }
    }
    return poses;
}

std::vector<const BoardView*> spread(const std::vector<const BoardView*>& views, std::size_t most)
{
    std::vector<const BoardView*> some;
    const std::size_t count = std::min(most, views.size());
    for (std::size_t i = 0; i < count; ++i) {
        some.push_back(views[i * views.size() / count]);
    }
    return some;
}

} // namespace vision::toolkit
