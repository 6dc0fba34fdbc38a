// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/pair_sequence.h>

#include <utility>

namespace vision::toolkit {

namespace {

class PairsInMemory : public PairSequence
{
public:
    explicit PairsInMemory(std::vector<RawPair> images) : _images(std::move(images)) {}

    std::size_t size() const override { return _images.size(); }
    std::string name(std::size_t pair) const override { return std::to_string(pair); }
    PairNames images(std::size_t pair) const override
    {
        return {"left image " + name(pair), "right image " + name(pair)};
    }
    Read take(std::size_t pair) override
    {
        return [images = _images[pair], names = this->images(pair)] {
            requireUsable(images, names);
            return images;
        };
    }

private:
    std::vector<RawPair> _images;
};

} // namespace

std::unique_ptr<PairSequence> makePairs(std::vector<RawPair> images)
{
    return std::make_unique<PairsInMemory>(std::move(images));
}

} // namespace vision::toolkit
