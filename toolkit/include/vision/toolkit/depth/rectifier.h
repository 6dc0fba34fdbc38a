#ifndef VISION_TOOLKIT_DEPTH_RECTIFIER_H
#define VISION_TOOLKIT_DEPTH_RECTIFIER_H

#include <vision/stereo.h>
#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/input/image_pair.h>

namespace vision::toolkit {

/// Rectifies pairs as they were stored, with their channels and bit depths. One object per thread.
class VISION_TOOLKIT_EXPORT Rectifier
{
public:
    /// @throws Failure when the calibrations cannot be used
    explicit Rectifier(const CalibrationPair& calibrations);

    /// Rectifies both images, so that corresponding points lie on the same row.
    /// @return images of the size and types of the given ones; what lies outside the raw images is 0
    /// @throws Failure when the images do not fit the calibrations
    RawPair rectify(const RawPair& pair) const;

private:
    vision::Stereo _stereo;
    cv::Size _size; ///< of the calibrations
};

} // namespace vision::toolkit

#endif
