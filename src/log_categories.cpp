// SPDX-License-Identifier: Apache-2.0
#include "log_categories.h"

namespace vision::detail {

LogCategory* const calibrationCategory = tarn::log::addCategory("vision.stereo.calibration");
LogCategory* const stereoCategory = tarn::log::addCategory("vision.stereo");

} // namespace vision::detail
