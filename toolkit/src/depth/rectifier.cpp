#include <vision/toolkit/depth/rectifier.h>

#include "depth/steps.h"

namespace vision::toolkit {

Rectifier::Rectifier(const CalibrationPair& calibrations)
    : _size(calibrations.left.width, calibrations.left.height)
{
    configureTransforms(_stereo, makeRig(calibrations));
}

RawPair Rectifier::rectify(const RawPair& pair) const
{
    requireFittingSize(pair.left.size(), _size);
    return {_stereo.rectifyImageLeft(pair.left), _stereo.rectifyImageRight(pair.right)};
}

} // namespace vision::toolkit
