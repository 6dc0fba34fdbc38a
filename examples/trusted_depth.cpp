// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/depth_pipeline.h>

#include <opencv2/imgcodecs.hpp>

#include <iostream>

int main(int, char** argv) // left.yml right.yml left.png right.png
{
    using namespace vision::toolkit;
    DepthPipeline pipeline(makeRig(loadCalibrations(argv[1], argv[2])), DepthSettings{});
    const DepthResult depth =
        pipeline.compute(cv::imread(argv[3]), cv::imread(argv[4])); // finds the range itself
    std::cout << format(depth.summary) << '\n';
    for (const Note& note : depth.notes) {
        std::cout << nameOf(note.severity) << ": " << toText(note) << '\n';
    }
}
