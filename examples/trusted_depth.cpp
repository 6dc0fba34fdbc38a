// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/depth_pipeline.h>

#include <iostream>

int main(int, char** argv) // left.yml right.yml left.png right.png
{
    using namespace vision::toolkit;
    DepthPipeline pipeline(makeRig(loadCalibrations(argv[1], argv[2])), DepthSettings{});
    const PairDepth depth = pipeline.compute(readImagePair({argv[3], argv[4]})); // finds the range itself
    const DepthSummary summary = summarise(depth);
    std::cout << format(summary) << '\n';
    for (const Note& note : judge(depth, summary)) {
        std::cout << note.code << ": " << note.text << '\n';
    }
}
