// SPDX-License-Identifier: Apache-2.0
#include "base/sampling.h"
#include "support/matrices.h"
#include "support/scene.h"

#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/images.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace vision::toolkit;
using support::areBitEqual;

namespace {

const cv::Size fullSize(640, 480);
constexpr double distance = 1.5; // m

/// The cameras, and a plane as they see it.
class DepthOf : public testing::Test
{
protected:
    DepthOf()
        : cameras(support::makeCalibrations(fullSize.width, fullSize.height)),
          rig(makeRig({cameras.left, cameras.right})), raw(photograph({distance, 0.2}))
    {
    }

    RawPair photograph(const support::Plane& plane) const
    {
        return {support::photograph(plane, cameras.left), support::photograph(plane, cameras.right)};
    }

    DepthResult compute(const DepthSettings& settings, double factor = 1) const
    {
        const RawPair images = resize(raw, factor);
        return DepthPipeline(rig, settings).compute(images.left, images.right);
    }

    const support::CalibrationPair cameras;
    const Rig rig;
    const RawPair raw;
};

/// The codes of all notes on a result.
std::vector<std::string> listCodes(const DepthResult& depth)
{
    std::vector<std::string> codes;
    for (const Note& note : depth.notes) {
        codes.push_back(note.code);
    }
    return codes;
}

TEST_F(DepthOf, APlaneIsRightAtAnySizeWithAnyAlgorithmAndRange)
{
    const double focalLength = 500; // of the projection matrices, px
    const RangeSettings automatic, lengths{1.1, 2.5, {}, {}}, farthest{{}, 2.2, {}, {}},
        pixels{{}, {}, 20, 64};
    for (const Algorithm algorithm : {Algorithm::Bm, Algorithm::Sgbm, Algorithm::Sgm}) {
        for (const double factor : {1.0, 0.5, 0.25}) {
            for (const RangeSettings& range : {automatic, lengths, farthest, pixels}) {
                DepthSettings settings;
                settings.matcher.algorithm = algorithm;
                settings.range = range;
                if (algorithm != Algorithm::Sgm && range.disparities) {
                    settings.matcher.window = 21;
                }
                const DepthResult depth = compute(settings, factor);
                SCOPED_TRACE(testing::Message() << static_cast<int>(algorithm) << ", x " << factor
                                                << ", from " << depth.range.minDisparity);
                EXPECT_THAT(listCodes(depth), testing::IsEmpty());
                EXPECT_EQ(depth.disparity.cols, cvRound(fullSize.width * factor));
                int right = 0;
                for (int y = 0; y < depth.points.rows; ++y) {
                    for (int x = 0; x < depth.points.cols; ++x) {
                        const auto& point = depth.points.at<cv::Vec3f>(y, x);
                        const double z = distance + 0.2 * double{point[0]};
                        right += std::abs(double{point[2]} - z) < 0.03 * z ? 1 : 0;
                        EXPECT_TRUE(!isTrusted(point) || std::isfinite(depth.disparity.at<float>(y, x)));
                    }
                }
                EXPECT_LT(depth.summary.beyond, 0.01);
                EXPECT_GT(right, 0.75 * static_cast<double>(depth.points.total()));
            }
            const auto scale = findDepthScale(rig, cvRound(fullSize.width * factor));
            EXPECT_NEAR(scale->focalLength, focalLength * factor, 1e-3);
            const SearchRange searched = compute({{}, lengths, {}, false}, factor).range;
            EXPECT_LE(searched.minDisparity, scale->disparityAt(2.5));
            EXPECT_GE(searched.maxDisparity(), scale->disparityAt(1.1) - 1);
        }
    }
}

TEST_F(DepthOf, PixelsThatAreGivenAreThoseOfTheCalibration)
{
    const MatcherSettings given{Algorithm::Bm, 21, 5, 31, 25, 400, 8, {}};
    const MatcherSettings halved{Algorithm::Bm, 11, 5, 31, 13, 100, 4, {}};
    const RawPair half = resize(raw, 0.5);
    const auto computeHalf = [&](const cv::Size& size, const DepthSettings& settings) {
        return DepthPipeline(makeRectifiedRig(size, {}), settings).compute(half.left, half.right).disparity;
    };
    EXPECT_TRUE(areBitEqual(computeHalf(fullSize, {given, {{}, {}, 20, 64}, {}, false}),
                            computeHalf(fullSize / 2, {halved, {{}, {}, 10, 32}, {}, false})));
}

TEST_F(DepthOf, PlainIsWhatTheMethodsOfStereoGive)
{
    for (const Algorithm algorithm : {Algorithm::Bm, Algorithm::Sgbm}) {
        for (const double factor : {1.0, 0.5}) {
            DepthSettings settings{{}, {{}, {}, {}, 64}, 1.6, true};
            settings.matcher.algorithm = algorithm;
            settings.matcher.window = factor == 1 ? 17 : 19; // bm needs an odd one after scaling
            const DepthResult plain = compute(settings, factor);

            vision::Stereo stereo;
            stereo.setMaxDepth(1.6f);
            stereo.setCalibrations(cameras.left, cameras.right);
            stereo.setStereoAlgorithm(algorithm == Algorithm::Bm ? vision::Stereo::BM : vision::Stereo::SGBM);
            stereo.setWindowSize(*settings.matcher.window);
            stereo.setDisparityNumber(64);
            const RawPair images = resize(raw, factor);
            const auto [left, right] = stereo.rectifyImages(images.left, images.right);
            cv::Mat disparity = stereo.computeDisparity(left, right);
            EXPECT_TRUE(areBitEqual(plain.points, stereo.computeDepth(disparity)));
            const double unmatched = stereo.getMinDisparity() / cvRound(1 / factor) - 2;
            disparity.setTo(INFINITY, disparity == unmatched);
            EXPECT_TRUE(areBitEqual(plain.disparity, disparity));
            EXPECT_GT(cv::countNonZero(disparity < INFINITY), 1000);
            EXPECT_GT(cv::countNonZero(plain.unsearched), 0);
        }
    }
}

TEST_F(DepthOf, TheResultSaysWhereTheRangeIsWrong)
{
    DepthSettings settings;
    settings.maxDepth = 1.4;
    const DepthResult cut = compute(settings);
    EXPECT_THAT(listCodes(cut), testing::ElementsAre("beyond-largest-depth"));
    EXPECT_LE(cut.summary.farthest, 1.4f);
    EXPECT_NEAR(cut.summary.beyond, 0.84, 0.03); // of columns 48 to 640, those right of 131

    settings = {};
    settings.range.disparities = 32;
    settings.range.minDisparity = 16; // the plane has 43 to 55 px
    EXPECT_THAT(listCodes(compute(settings)), testing::ElementsAre("range-ends-too-early"));
    settings.range.minDisparity = 49;
    EXPECT_THAT(listCodes(compute(settings)), testing::ElementsAre("range-starts-too-late"));

    cv::Mat foreign;
    cv::flip(raw.right, foreign, -1);
    EXPECT_THAT(listCodes(DepthPipeline(rig, {}).compute(raw.left, foreign)),
                testing::ElementsAre("range-not-found", "images-do-not-correspond"));
}

TEST_F(DepthOf, ASequenceHasOneRange)
{
    EXPECT_EQ(sampleEvenly(0, 9), std::vector<std::size_t>{});
    EXPECT_EQ(sampleEvenly(1, 9), std::vector<std::size_t>{0});
    EXPECT_EQ(sampleEvenly(4, 9), (std::vector<std::size_t>{0, 1, 2, 3}));
    EXPECT_EQ(sampleEvenly(17, 9), (std::vector<std::size_t>{0, 2, 4, 6, 8, 10, 12, 14, 16}));
    EXPECT_EQ(sampleEvenly(1000000, 9).back(), 999999U);

    const RawPair near = photograph({0.7, 0});
    const double nearest = 8 + 500 * 0.12 / 0.7; // px
    for (const bool isSet : {false, true}) {
        DepthPipeline pipeline(rig, {});
        EXPECT_TRUE(pipeline.needsDisparityRange());
        if (isSet) {
            pipeline.setDisparityRange(
                join({*pipeline.findDisparityRange(raw), *pipeline.findDisparityRange(near)}));
        }
        const SearchRange first = pipeline.compute(raw.left, raw.right).range;
        const SearchRange second = pipeline.compute(near.left, near.right).range;
        const SearchRange third = pipeline.compute(raw.left, raw.right).range;
        EXPECT_EQ(second, third) << "is held";
        EXPECT_GT(second.maxDisparity(), nearest);
        EXPECT_EQ(first.maxDisparity() > nearest, isSet) << "is widened when the images ask for it";
        pipeline.setDisparityRange(std::nullopt);
        EXPECT_LT(pipeline.compute(raw.left, raw.right).range.maxDisparity(), nearest) << "is found anew";
    }
}

TEST_F(DepthOf, EveryNthPairIsJudged)
{
    static_assert(std::is_move_constructible_v<DepthPipeline> && std::is_move_assignable_v<DepthPipeline>);
    for (const unsigned every : {0U, 1U, 3U}) {
        DepthSettings settings;
        settings.judgeEvery = every;
        DepthPipeline made(rig, settings);
        DepthPipeline pipeline(std::move(made));
        for (unsigned pair = 0; pair < 4; ++pair) {
            const DepthResult depth = pipeline.compute(raw.right, raw.left);
            EXPECT_EQ(depth.isJudged, every != 0 && pair % every == 0);
            EXPECT_EQ(depth.severity() == Severity::Wrong, depth.isJudged);
            EXPECT_EQ(depth.rows.features > 0, depth.isJudged);
        }
    }
}

TEST_F(DepthOf, RectifiedPairsNeedNoCalibration)
{
    const auto [left, right, bits] = DepthPipeline(rig, {}).rectify(raw);
    const DepthResult known = compute({});
    const auto shareLike = [&known](const DepthResult& depth) {
        const cv::Mat close = cv::abs(depth.disparity - known.disparity) < 0.5;
        return cv::countNonZero(close) / static_cast<double>(close.total());
    };
    const RectifiedGeometry geometry{500, support::baseline, -8, cv::Point2d(310, 240)};
    const DepthResult metric = DepthPipeline(makeRectifiedRig(fullSize, geometry), {}).compute(left, right);
    EXPECT_GT(shareLike(metric), 0.75);
    EXPECT_NEAR(metric.summary.median, known.summary.median, 0.02);

    DepthSettings settings;
    settings.matcher.algorithm = Algorithm::Bm;
    for (const bool isPlain : {false, true}) {
        settings.plain = isPlain;
        const DepthResult bare =
            DepthPipeline(makeRectifiedRig(fullSize, std::nullopt), settings).compute(left, right);
        EXPECT_GT(shareLike(bare), 0.6);
        EXPECT_TRUE(bare.points.empty());
        EXPECT_FALSE(bare.scale);
        EXPECT_EQ(bare.summary.points, 0U);
        EXPECT_EQ(bare.summary.beyond, 0);
    }
}

TEST_F(DepthOf, BordersThatShowNothingAreLeftOut)
{
    // The left camera's image starts in the middle of the rectified one.
    support::CalibrationPair moved = cameras;
    for (vision::Calibration* const camera : {&moved.left, &moved.right}) {
        camera->projectionMatrix.at<float>(0, 2) += 300;
    }
    const DepthResult depth =
        DepthPipeline(makeRig({moved.left, moved.right}), {}).compute(raw.left, raw.right);
    const cv::Mat outside = depth.unsearched.colRange(0, 260);
    EXPECT_EQ(cv::countNonZero(outside), static_cast<int>(outside.total()));
    EXPECT_GT(cv::countNonZero(depth.disparity < INFINITY),
              0.3 * static_cast<double>(depth.disparity.total()));
}

TEST_F(DepthOf, SettingsThatContradictOneAnotherAreRefused)
{
    using Change = void (*)(DepthSettings&);
    const Change rows[] = {
        [](DepthSettings& s) { s.range.nearest = -1; },
        [](DepthSettings& s) { s.range.nearest = 1, s.range.disparities = 64; },
        [](DepthSettings& s) { s.range.farthest = 1, s.range.minDisparity = 3; },
        [](DepthSettings& s) { s.plain = true, s.matcher.algorithm = Algorithm::Sgm; },
        [](DepthSettings& s) { s.plain = s.matcher.dense = true; },
        [](DepthSettings& s) { s.plain = true, s.range.nearest = 1; },
        [](DepthSettings& s) { s.plain = true, s.maxDepth = 0.01; },
    };
    for (const Change& change : rows) {
        DepthSettings settings;
        settings.matcher.algorithm = Algorithm::Bm; // which plain takes
        change(settings);
        EXPECT_THROW(DepthPipeline(rig, settings), Failure) << &change - rows;
    }
    DepthSettings far, tooNear;
    far.range.farthest = 3;
    EXPECT_THROW(DepthPipeline(makeRectifiedRig(fullSize, std::nullopt), far), Failure);
    tooNear.range = {0.01, 0.02, {}, {}};
    EXPECT_THROW((void)compute(tooNear), Failure);
}

} // namespace
