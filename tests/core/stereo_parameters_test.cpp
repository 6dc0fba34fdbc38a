// SPDX-License-Identifier: Apache-2.0
#include "support/calibrations.h"
#include "support/log_records.h"

#include <climits>
#include <type_traits>

using namespace support;
using vision::Stereo;

static_assert(!std::is_copy_constructible_v<Stereo> && !std::is_move_constructible_v<Stereo>);
static_assert(!std::is_copy_assignable_v<Stereo> && !std::is_move_assignable_v<Stereo>);
static_assert(std::has_virtual_destructor_v<Stereo>);
static_assert(Stereo::BM == 0 && Stereo::SGBM == 1 && Stereo::LEFT == 0 && Stereo::RIGHT == 1);

namespace {

/// The rule of one parameter. The texts of a refusal follow "Invalid ", with a # where the value stands.
struct Rule
{
    std::string name;
    void (Stereo::*set)(int);
    int (Stereo::*get)() const;
    int standard, lowest, highest, step;
    std::string thrown, logged;
};

#define ACCESSORS(NAME) #NAME, &Stereo::set##NAME, &Stereo::get##NAME

/// With a calibration 640 px wide.
const std::vector<Rule> rules{
    {ACCESSORS(WindowSize), 21, 5, 255, 2, "window size.", "window size (#)."},
    {ACCESSORS(MinDisparity), 1, -640, 640, 1, "min disparity.", "min disparity (#)."},
    {ACCESSORS(DisparityNumber),
     80,
     16,
     INT_MAX - 15,
     16,
     "disparity number.",
     "disparity number (#), must be multiple of 16 and strictly positive."},
    {ACCESSORS(PreFilterCap), 31, 1, 63, 1, "prefilter cap.", "Prefilter cap (#)."},
    {ACCESSORS(PreFilterSize), 25, 5, 255, 2, "prefilter size.", "Prefilter size (#)."},
    {ACCESSORS(SpeckleRange), 10, 0, 31, 1, "speckle range.", "Speckle range (#)."},
    {ACCESSORS(SpeckleWindowSize), 400, 0, 1000, 1, "speckle window size.", "Speckle window size (#)."},
    {ACCESSORS(TextureThreshold), 1, 0, 10000, 1, "texture threshold.", "Texture threshold (#)."},
    {ACCESSORS(UniquenessRatio), 2, 0, 100, 1, "uniqueness ratio.", "Uniqueness ratio (#)."},
    {ACCESSORS(P1), 3528, 0, INT_MAX, 1, "P1.", "value for P1 (#)."},
    {ACCESSORS(P2), 14112, 0, INT_MAX, 1, "P2.", "value for P2 (#)."},
    {ACCESSORS(Disp12MaxDiff), 0, INT_MIN, INT_MAX, 1, "", ""},
};

using Values = std::map<std::string, double>;

Values valuesOf(const Stereo& stereo)
{
    Values values{{"MaxDepth", stereo.getMaxDepth()},
                  {"StereoAlgorithm", stereo.getStereoAlgorithm()},
                  {"FullDP", stereo.getFullDP()}};
    for (const Rule& rule : rules) {
        values[rule.name] = (stereo.*rule.get)();
    }
    return values;
}

Values defaults(float maxDepth, int algorithm)
{
    Values values{{"MaxDepth", maxDepth}, {"StereoAlgorithm", algorithm}, {"FullDP", 0}};
    for (const Rule& rule : rules) {
        values[rule.name] = rule.standard;
    }
    return values;
}

TEST(StereoParameters, AreStoredOrRefusedAndNothingElseChanges)
{
    for (const Rule& rule : rules) {
        OpenStereo stereo(makeCalibrations());
        (void)stereo.rectifyImageLeft(cv::Mat::zeros(48, 64, CV_8UC1));
        auto expected = valuesOf(stereo);
        for (const int value : {rule.lowest, rule.highest}) {
            (stereo.*rule.set)(value);
            expected[rule.name] = value;
            EXPECT_EQ(valuesOf(stereo), expected);
        }
        const std::int64_t lowest = rule.lowest, highest = rule.highest, step = rule.step;
        for (const auto refused :
             {lowest - 1, lowest - step, lowest + step / 2, highest + 1, highest + step}) {
            const int value = static_cast<int>(refused);
            if (value == refused && value != rule.lowest) { // fits an int and lies beside the accepted ones
                std::string logged = "Invalid " + rule.logged;
                logged.replace(logged.find('#'), 1, std::to_string(value));
                expectRefusal<std::range_error>([&] { (stereo.*rule.set)(value); },
                                                "Invalid " + rule.thrown,
                                                {stereoError("set" + rule.name, logged)});
                EXPECT_EQ(valuesOf(stereo), expected);
            }
        }
        EXPECT_EQ(stereo._imageTransforms.size(), 1U);
    }
}

TEST(StereoParameters, MaxDepthIsAnythingAboveZeroAndNan)
{
    Stereo stereo;
    EXPECT_EQ(valuesOf(stereo), defaults(5, Stereo::BM));
    constexpr float tiny = std::numeric_limits<float>::denorm_min();
    stereo.setMaxDepth(tiny);
    for (const float depth : {0.0f, -tiny}) {
        expectRefusal<std::range_error>([&] { stereo.setMaxDepth(depth); },
                                        "Invalid distance.",
                                        {stereoError("setMaxDepth", "Distance must be positive.")});
        EXPECT_EQ(stereo.getMaxDepth(), tiny);
    }
    stereo.setMaxDepth(NAN);
    EXPECT_TRUE(std::isnan(stereo.getMaxDepth()));
}

TEST(StereoParameters, ResetBringsBackAllDefaultsButDepthAndAlgorithm)
{
    OpenStereo stereo(makeCalibrations());
    for (const Rule& rule : rules) {
        (stereo.*rule.set)(rule.lowest);
    }
    stereo.setFullDP(true);
    stereo.setMaxDepth(3);
    stereo.setStereoAlgorithm(static_cast<Stereo::StereoAlgorithm>(7)); // any value is taken
    Values expected = valuesOf(stereo);
    EXPECT_EQ(expected["FullDP"], 1);

    // Without calibrations only a minimum disparity of 0 would be taken: the reset stops there.
    stereo._leftCalibration.width = 0;
    expected["WindowSize"] = 21;
    expectRefusal<std::range_error>([&] { stereo.resetAllParameters(); },
                                    "Invalid min disparity.",
                                    {stereoError("setMinDisparity", "Invalid min disparity (1).")});
    EXPECT_EQ(valuesOf(stereo), expected);

    stereo._leftCalibration.width = 1;
    stereo.resetAllParameters();
    EXPECT_EQ(valuesOf(stereo), defaults(3, 7));
}

} // namespace
