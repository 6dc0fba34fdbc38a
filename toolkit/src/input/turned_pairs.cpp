// SPDX-License-Identifier: Apache-2.0
#include "input/turned_pairs.h"

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <utility>

namespace vision::toolkit {

namespace {

void turn(cv::Mat& image, int degrees)
{
    if (degrees != 0) {
        cv::Mat turned;
        cv::rotate(image,
                   turned,
                   degrees == 90    ? cv::ROTATE_90_CLOCKWISE
                   : degrees == 180 ? cv::ROTATE_180
                                    : cv::ROTATE_90_COUNTERCLOCKWISE);
        image = turned;
    }
}

class TurnedPairs : public PairSequence
{
public:
    TurnedPairs(std::unique_ptr<PairSequence> pairs, int left, int right)
        : _pairs(std::move(pairs)), _left(left), _right(right)
    {
    }

    std::size_t size() const override { return _pairs->size(); }
    std::string name(std::size_t pair) const override { return _pairs->name(pair); }
    PairNames images(std::size_t pair) const override { return _pairs->images(pair); }
    Notes notes() const override { return _pairs->notes(); }
    void limitSize(const cv::Size& size) override
    {
        const int longest = std::max(size.width, size.height); // images may lie on their side
        _pairs->limitSize({longest, longest});
    }
    Read take(std::size_t pair) override
    {
        return [read = _pairs->take(pair), names = images(pair), left = _left, right = _right] {
            RawPair images = read();
            turn(images.left, left);
            turn(images.right, right);
            requireUsable(images, names);
            return images;
        };
    }

private:
    std::unique_ptr<PairSequence> _pairs;
    int _left;
    int _right;
};

} // namespace

std::unique_ptr<PairSequence> turn(std::unique_ptr<PairSequence> pairs, int left, int right)
{
    for (const int degrees : {left, right}) {
        if (degrees % 90 != 0 || degrees < 0 || degrees > 270) {
            throw Failure("rotation", "", "images are turned by 0, 90, 180 or 270 degrees");
        }
    }
    return std::make_unique<TurnedPairs>(std::move(pairs), left, right);
}

} // namespace vision::toolkit
