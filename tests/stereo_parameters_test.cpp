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

template <typename... Values>
std::vector<int> list(Values... values)
{
    return {values...};
}

/// The rule of one parameter: values on both sides of each bound, and what a refusal says.
struct Rule
{
    std::string name;
    void (Stereo::*set)(int);
    int (Stereo::*get)() const;
    std::vector<int> accepted;
    std::vector<int> refused;
    std::string thrown;
    std::string logged; ///< around the value, which stands where the # is
};

std::ostream& operator<<(std::ostream& out, const Rule& rule)
{
    return out << rule.name;
}

const auto odd = list(5, 7, 253, 255);
const auto notOdd = list(INT_MIN, -5, 0, 3, 4, 6, 254, 256, 257, INT_MAX);

/// With a calibration 640 px wide.
const std::vector<Rule> rules{
    Rule{"WindowSize", &Stereo::setWindowSize, &Stereo::getWindowSize, odd, notOdd, "Invalid window size.",
         "Invalid window size (#)."},
    Rule{"MinDisparity", &Stereo::setMinDisparity, &Stereo::getMinDisparity, list(-640, -1, 0, 640),
         list(INT_MIN, -641, 641, INT_MAX), "Invalid min disparity.", "Invalid min disparity (#)."},
    Rule{"DisparityNumber", &Stereo::setDisparityNumber, &Stereo::getDisparityNumber,
         list(16, 32, 256, INT_MAX - 15), list(INT_MIN, -16, 0, 8, 15, 17, 20, INT_MAX),
         "Invalid disparity number.",
         "Invalid disparity number (#), must be multiple of 16 and strictly positive."},
    Rule{"PreFilterCap", &Stereo::setPreFilterCap, &Stereo::getPreFilterCap, list(1, 63), list(-1, 0, 64),
         "Invalid prefilter cap.", "Invalid Prefilter cap (#)."},
    Rule{"PreFilterSize", &Stereo::setPreFilterSize, &Stereo::getPreFilterSize, odd, notOdd,
         "Invalid prefilter size.", "Invalid Prefilter size (#)."},
    Rule{"SpeckleRange", &Stereo::setSpeckleRange, &Stereo::getSpeckleRange, list(0, 31), list(-1, 32),
         "Invalid speckle range.", "Invalid Speckle range (#)."},
    Rule{"SpeckleWindowSize", &Stereo::setSpeckleWindowSize, &Stereo::getSpeckleWindowSize, list(0, 1000),
         list(-1, 1001), "Invalid speckle window size.", "Invalid Speckle window size (#)."},
    Rule{"TextureThreshold", &Stereo::setTextureThreshold, &Stereo::getTextureThreshold, list(0, 10000),
         list(-1, 10001), "Invalid texture threshold.", "Invalid Texture threshold (#)."},
    Rule{"UniquenessRatio", &Stereo::setUniquenessRatio, &Stereo::getUniquenessRatio, list(0, 100),
         list(-1, 101), "Invalid uniqueness ratio.", "Invalid Uniqueness ratio (#)."},
    Rule{"P1", &Stereo::setP1, &Stereo::getP1, list(0, 20000, INT_MAX), list(-1, INT_MIN), "Invalid P1.",
         "Invalid value for P1 (#)."},
    Rule{"P2", &Stereo::setP2, &Stereo::getP2, list(0, INT_MAX), list(-1, INT_MIN), "Invalid P2.",
         "Invalid value for P2 (#)."},
    Rule{"Disp12MaxDiff", &Stereo::setDisp12MaxDiff, &Stereo::getDisp12MaxDiff, list(-5, INT_MIN, INT_MAX),
         list(), "", ""},
};

using Values = std::map<std::string, double>;

const Values defaults{{"MaxDepth", 5},       {"StereoAlgorithm", 0},  {"WindowSize", 21},
                      {"MinDisparity", 1},   {"DisparityNumber", 80}, {"PreFilterCap", 31},
                      {"PreFilterSize", 25}, {"SpeckleRange", 10},    {"SpeckleWindowSize", 400},
                      {"P1", 3528},          {"TextureThreshold", 1}, {"UniquenessRatio", 2},
                      {"P2", 14112},         {"Disp12MaxDiff", 0},    {"FullDP", 0}};

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

using StereoParameter = testing::TestWithParam<Rule>;

TEST_P(StereoParameter, IsStoredOrRefusedAndNothingElseChanges)
{
    const Rule& rule = GetParam();
    OpenStereo stereo(makeCalibrations());
    (void)stereo.rectifyImageLeft(cv::Mat::zeros(48, 64, CV_8UC1));
    const auto* const map = stereo._imageTransforms.begin()->second.leftMapX.data;
    auto expected = valuesOf(stereo);
    for (const int value : rule.accepted) {
        (stereo.*rule.set)(value);
        expected[rule.name] = value;
        EXPECT_EQ(valuesOf(stereo), expected);
    }
    for (const int value : rule.refused) {
        std::string logged = rule.logged;
        logged.replace(logged.find('#'), 1, std::to_string(value));
        expectRefusal<std::range_error>([&] { (stereo.*rule.set)(value); }, rule.thrown,
                                        {stereoError("set" + rule.name, logged)});
        EXPECT_EQ(valuesOf(stereo), expected);
    }
    ASSERT_EQ(stereo._imageTransforms.size(), 1U);
    EXPECT_EQ(stereo._imageTransforms.begin()->second.leftMapX.data, map);
}

INSTANTIATE_TEST_SUITE_P(Int, StereoParameter, testing::ValuesIn(rules));

TEST(StereoParameters, HaveTheirDefaults)
{
    EXPECT_EQ(valuesOf(Stereo()), defaults);
}

TEST(StereoParameters, MaxDepthIsAnythingAboveZeroAndNan)
{
    Stereo stereo;
    constexpr float tiny = std::numeric_limits<float>::denorm_min();
    for (const float depth : {tiny, 7.5f, INFINITY}) {
        stereo.setMaxDepth(depth);
        EXPECT_EQ(stereo.getMaxDepth(), depth);
    }
    for (const float depth : {0.0f, -tiny, -INFINITY}) {
        expectRefusal<std::range_error>([&] { stereo.setMaxDepth(depth); }, "Invalid distance.",
                                        {stereoError("setMaxDepth", "Distance must be positive.")});
        EXPECT_EQ(stereo.getMaxDepth(), INFINITY);
    }
    stereo.setMaxDepth(NAN);
    EXPECT_TRUE(std::isnan(stereo.getMaxDepth()));
}

TEST(StereoParameters, ResetBringsBackAllDefaultsButDepthAndAlgorithm)
{
    OpenStereo stereo(makeCalibrations());
    for (const Rule& rule : rules) {
        (stereo.*rule.set)(rule.accepted.front());
    }
    stereo.setFullDP(true);
    stereo.setMaxDepth(3);
    stereo.setStereoAlgorithm(static_cast<Stereo::StereoAlgorithm>(7)); // any value is taken
    Values expected = valuesOf(stereo);
    EXPECT_EQ(expected["FullDP"], 1);
    EXPECT_EQ(expected["StereoAlgorithm"], 7);

    // Without calibrations only a minimum disparity of 0 would be taken: the reset stops there.
    stereo._leftCalibration.width = 0;
    expected["WindowSize"] = 21;
    expectRefusal<std::range_error>([&] { stereo.resetAllParameters(); }, "Invalid min disparity.",
                                    {stereoError("setMinDisparity", "Invalid min disparity (1).")});
    EXPECT_EQ(valuesOf(stereo), expected);

    stereo._leftCalibration.width = 1;
    stereo.resetAllParameters();
    expected = defaults;
    expected["MaxDepth"] = 3;
    expected["StereoAlgorithm"] = 7;
    EXPECT_EQ(valuesOf(stereo), expected);
}

} // namespace
