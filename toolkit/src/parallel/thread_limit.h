// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_SRC_PARALLEL_THREAD_LIMIT_H
#define VISION_TOOLKIT_SRC_PARALLEL_THREAD_LIMIT_H

#include <tbb/global_control.h>

namespace vision::toolkit {

/// As many of the wanted threads as the system starts: TBB ends the process when one of its own does not
/// start. As long as this object lives, TBB starts no more, nor does OpenCV with it.
class ThreadLimit
{
public:
    /// @param wanted at least 1; the calling thread counts
    explicit ThreadLimit(unsigned wanted);

    [[nodiscard]] unsigned threads() const { return _threads; }

private:
    const unsigned _threads;
    const tbb::global_control _control;
};

} // namespace vision::toolkit

#endif
