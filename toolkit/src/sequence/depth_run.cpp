// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/sequence/depth_run.h>

#include "base/sampling.h"
#include "parallel/pool.h"
#include "parallel/run.h"
#include "sequence/distinct_names.h"

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/output/pair_output.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

namespace vision::toolkit {

namespace {

/// The pairs whose images tell the range of a sequence.
constexpr std::size_t mostRangeSamples = 9;

/// Finds what occurs in the whole sequence. Pairs that cannot be read say so when their turn comes.
std::optional<DisparityRange> findDisparityRange(PairSequence& pairs, const DepthRun& run,
                                                 Pool<DepthPipeline>& pipelines)
{
    std::vector<DisparityRange> spans;
    runInOrder(sampleEvenly(pairs.size(), mostRangeSamples), run.jobs, [&](std::size_t pair) -> Work {
        return [&, read = pairs.take(pair)]() -> Deliver {
            std::optional<DisparityRange> span;
            try {
                const RawPair raw = resize(read(), run.resize);
                span =
                    pipelines.with([&](DepthPipeline& pipeline) { return pipeline.findDisparityRange(raw); });
            } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
            }
            return [&spans, span] {
                if (span) {
                    spans.push_back(*span);
                }
            };
        };
    });
    return join(spans);
}

/// One scale for the pictures of all pairs, so that they can be compared; a single pair scales its own.
PictureScale makeScale(const DepthRun& run, const cv::Size& size, const std::optional<DisparityRange>& span,
                       bool isSequence)
{
    PictureScale scale;
    const auto depthScale = findDepthScale(run.rig, size.width);
    if (depthScale) {
        scale.depthAt = [depthScale = *depthScale](double disparity) {
            return depthScale.depthAt(disparity);
        };
    }
    const auto inPixelsOf = [&size](double disparity, int width) { return disparity * size.width / width; };
    if (run.colours) {
        const int width = run.rig.size.width;
        scale.disparity = {inPixelsOf(run.colours->low, width), inPixelsOf(run.colours->high, width)};
    } else if (isSequence && span && span->highest > span->lowest) {
        scale.disparity = {inPixelsOf(span->lowest, span->width), inPixelsOf(span->highest, span->width)};
    }
    if (scale.disparity && depthScale) {
        const double nearest = depthScale->depthAt(scale.disparity->high);
        const double farthest = depthScale->depthAt(scale.disparity->low);
        constexpr double far = 10; // times the nearest depth, when the span reaches infinity
        if (nearest > 0) {
            scale.depth = {nearest, nearest < farthest && std::isfinite(farthest) ? farthest : far * nearest};
        }
    }
    return scale;
}

PairResults gatherResults(const PairReport& report, const DepthResult& depth, const DepthPipeline& pipeline,
                          const RawPair& raw, const OutputSet& products)
{
    PairResults results;
    results.name = report.name;
    results.left = depth.left;
    results.right = depth.right;
    if (products.has(Product::Rectified)) {
        const RawPair rectified = pipeline.rectify(raw);
        results.rectifiedLeft = rectified.left;
        results.rectifiedRight = rectified.right;
    }
    results.disparity = depth.disparity;
    results.unsearched = depth.unsearched;
    results.confidence = depth.confidence;
    results.levels = depth.levels;
    results.points = depth.points;
    return results;
}

class PairProcessor
{
public:
    PairProcessor(const DepthRun& run, const OutputFolder& folder, Pool<DepthPipeline>& pipelines,
                  std::optional<DisparityRange> span, bool isSequence)
        : _run(run), _folder(folder), _pipelines(pipelines), _range(span), _isSequence(isSequence)
    {
    }

    /// Fills in what the pair gave, or its error.
    void process(const PairSequence::Read& read, PairReport& report) const
    {
        try {
            _run.products.requireFree(report.name, _folder);
            const RawPair raw = resize(read(), _run.resize);
            _pipelines.with([&](DepthPipeline& pipeline) { compute(pipeline, raw, report); });
        } catch (const std::exception& error) {
            report.error = describe(error);
        }
    }

private:
    void compute(DepthPipeline& pipeline, const RawPair& raw, PairReport& report) const
    {
        pipeline.setDisparityRange(_range);
        DepthResult depth;
        try {
            depth = pipeline.compute(raw);
        } catch (const std::exception& error) {
            throw Failure(about(report.images.left, describe(error)));
        }
        report.size = depth.disparity.size();
        report.range = depth.range;
        report.hasDepth = !depth.points.empty();
        report.summary = depth.summary;
        report.rows = depth.rows;
        report.notes = depth.notes;

        const PictureScale scale = makeScale(_run, report.size, _range, _isSequence);
        const PairOutput output = writePairOutput(
            gatherResults(report, depth, pipeline, raw, _run.products), scale, _run.products, _folder);
        report.files = output.files;
        append(report.notes, output.notes);
    }

    const DepthRun& _run;
    const OutputFolder& _folder;
    Pool<DepthPipeline>& _pipelines;
    const std::optional<DisparityRange> _range;
    const bool _isSequence;
};

/// How many pairs are really processed at the same time; the other cores serve the matching of one pair.
unsigned countWorkers(unsigned jobs, std::size_t pairs)
{
    return static_cast<unsigned>(std::clamp<std::size_t>(pairs, 1, std::max(jobs, 1U)));
}

bool areThere(const std::vector<std::string>& files, const OutputFolder& folder)
{
    return std::all_of(
        files.begin(), files.end(), [&folder](const std::string& file) { return folder.has(file); });
}

} // namespace

void runDepth(PairSequence& pairs, const DepthRun& run, const OutputFolder& folder,
              const std::function<void(const PairReport&)>& tell)
{
    requireDistinctNames(pairs);
    const auto items = selectShard(pairs.size(), run.shard);
    DepthSettings settings = run.settings;
    settings.threads =
        std::max(std::thread::hardware_concurrency() / countWorkers(run.jobs, items.size()), 1U);
    Pool<DepthPipeline> pipelines([&] { return std::make_unique<DepthPipeline>(run.rig, settings); });
    std::optional<DisparityRange> span;
    if (pipelines.with([](const DepthPipeline& pipeline) { return pipeline.needsDisparityRange(); })) {
        span = findDisparityRange(pairs, run, pipelines);
    }
    const PairProcessor processor(run, folder, pipelines, span, pairs.size() > 1);
    runInOrder(items, run.jobs, [&](std::size_t pair) -> Work {
        PairReport report;
        report.name = pairs.name(pair);
        report.images = pairs.images(pair);
        report.isSkipped = run.skipExisting && areThere(run.products.listFiles(report.name), folder);
        if (report.isSkipped) {
            return [&tell, report]() -> Deliver { return [&tell, report] { tell(report); }; };
        }
        return [&, report, read = pairs.take(pair)]() mutable -> Deliver {
            processor.process(read, report);
            return [&tell, report] { tell(report); };
        };
    });
}

} // namespace vision::toolkit
