#include "stereo/log_category.h"

namespace vision::detail {

LogCategory* const stereoCategory = tarn::log::addCategory("vision.stereo");

} // namespace vision::detail
