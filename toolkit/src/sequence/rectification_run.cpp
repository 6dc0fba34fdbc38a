// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/sequence/rectification_run.h>

#include "parallel/pool.h"
#include "parallel/run.h"
#include "sequence/distinct_names.h"

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/pair_output.h>

namespace vision::toolkit {

namespace {

using Pipelines = Pool<DepthPipeline>;

RawPair rectify(const RawPair& raw, const PairNames& images, Pipelines& pipelines)
{
    try {
        return pipelines.with([&raw](const DepthPipeline& pipeline) { return pipeline.rectify(raw); });
    } catch (const std::exception& error) {
        throw Failure(about(images.left, describe(error)));
    }
}

RectificationReport process(const PairSequence::Read& read, const std::string& name, const PairNames& images,
                            Pipelines& pipelines, const OutputFolder& folder)
{
    const OutputSet set({Product::Rectified});
    PairResults results;
    results.name = name;
    try {
        set.requireFree(name, folder);
        const RawPair rectified = rectify(read(), images, pipelines);
        results.rectifiedLeft = rectified.left;
        results.rectifiedRight = rectified.right;
        return {writePairOutput(results, {}, set, folder).files, {}};
    } catch (const std::exception& error) {
        return {{}, describe(error)};
    }
}

} // namespace

void runRectification(PairSequence& pairs, const RectificationRun& run, const OutputFolder& folder,
                      const std::function<void(const RectificationReport&)>& tell)
{
    requireDistinctNames(pairs);
    Pipelines pipelines(
        [&run] { return std::make_unique<DepthPipeline>(makeRig(run.calibrations), DepthSettings{}); });
    runInOrder(selectShard(pairs.size(), run.shard), run.jobs, [&](std::size_t pair) -> Work {
        return
            [&, name = pairs.name(pair), images = pairs.images(pair), read = pairs.take(pair)]() -> Deliver {
                return [&tell, report = process(read, name, images, pipelines, folder)] { tell(report); };
            };
    });
}

} // namespace vision::toolkit
