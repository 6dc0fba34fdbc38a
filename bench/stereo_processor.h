/// The frame of libstereo-image-proc-dev's StereoProcessor on the same images and settings.
#ifndef BENCH_STEREO_PROCESSOR_H
#define BENCH_STEREO_PROCESSOR_H

#include "frame.h"

#include <memory>

namespace bench {

class StereoProcessor
{
public:
    /// Takes over images, calibrations and matcher parameters.
    explicit StereoProcessor(const Frame& frame);
    ~StereoProcessor();

    void rectify();
    void computeDisparity();
    /// Its projection into an image of points; blanks nothing and makes no message of it.
    void computeDepth();
    void run();

    /// The last disparity.
    cv::Mat disparity() const;

private:
    struct State;
    std::unique_ptr<State> _state;
};

} // namespace bench

#endif
