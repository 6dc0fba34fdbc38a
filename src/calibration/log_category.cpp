#include "calibration/log_category.h"

namespace vision::detail {

LogCategory* const calibrationCategory = tarn::log::addCategory("vision.stereo.calibration");

} // namespace vision::detail
