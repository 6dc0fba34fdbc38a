// SPDX-License-Identifier: Apache-2.0
/// The stages of libstereo-image-proc-dev's StereoProcessor on the same images and settings.
#ifndef BENCH_STEREO_PROCESSOR_H
#define BENCH_STEREO_PROCESSOR_H

#include "frame.h"

#include <functional>
#include <map>

namespace bench {

using Stages = std::map<std::string, std::function<void()>>;

/// "rectify", "disparity", "depth" and "frame"; nothing where the package was not there when this was built.
/// Its depth blanks nothing and is not packed into a message.
Stages stereoProcessorStages(const Frame& frame);

} // namespace bench

#endif
