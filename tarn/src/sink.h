// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_SINK_H
#define TARN_SINK_H

#include <tarn/log.h>

#include <memory>

namespace tarn::log {

/// The sink in force. Held by the caller while it emits, so that another thread may replace it meanwhile.
std::shared_ptr<const Sink> currentSink();

} // namespace tarn::log

#endif
