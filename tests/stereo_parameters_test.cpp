#include "support/calibrations.h"
#include "support/log_records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <type_traits>

using support::OpenStereo;
using vision::Stereo;

static_assert(!std::is_copy_constructible_v<Stereo> && !std::is_move_constructible_v<Stereo>);
static_assert(!std::is_copy_assignable_v<Stereo> && !std::is_move_assignable_v<Stereo>);
static_assert(std::has_virtual_destructor_v<Stereo>);

namespace {

/// The rule of one parameter: values on both sides of each bound, and what a refusal says.
struct Rule
{
    std::string name;
    void (Stereo::*set)(int);
    int (Stereo::*get)() const;
    int defaultValue;
    std::vector<int> accepted;
    std::vector<int> refused;
    std::string thrown;
    std::string loggedBefore;
    std::string loggedAfter = ").";
};

std::ostream& operator<<(std::ostream& out, const Rule& rule)
{
    return out << rule.name;
}

const std::vector<int> odd{5, 7, 253, 255};
const std::vector<int> notOdd{INT_MIN, -5, 0, 3, 4, 6, 254, 256, 257, INT_MAX};

const std::vector<Rule> rules{
    {"WindowSize", &Stereo::setWindowSize, &Stereo::getWindowSize, 21, odd, notOdd, "Invalid window size.",
     "Invalid window size ("},
    // with a calibration 640 px wide
    {"MinDisparity",
     &Stereo::setMinDisparity,
     &Stereo::getMinDisparity,
     1,
     {-640, -1, 0, 640},
     {INT_MIN, -641, 641, INT_MAX},
     "Invalid min disparity.",
     "Invalid min disparity ("},
    {"DisparityNumber",
     &Stereo::setDisparityNumber,
     &Stereo::getDisparityNumber,
     80,
     {16, 32, 256, INT_MAX - 15},
     {INT_MIN, -16, 0, 8, 15, 17, 20, INT_MAX},
     "Invalid disparity number.",
     "Invalid disparity number (",
     "), must be multiple of 16 and strictly positive."},
    {"PreFilterCap",
     &Stereo::setPreFilterCap,
     &Stereo::getPreFilterCap,
     31,
     {1, 63},
     {-1, 0, 64},
     "Invalid prefilter cap.",
     "Invalid Prefilter cap ("},
    {"PreFilterSize", &Stereo::setPreFilterSize, &Stereo::getPreFilterSize, 25, odd, notOdd,
     "Invalid prefilter size.", "Invalid Prefilter size ("},
    {"SpeckleRange",
     &Stereo::setSpeckleRange,
     &Stereo::getSpeckleRange,
     10,
     {0, 31},
     {-1, 32},
     "Invalid speckle range.",
     "Invalid Speckle range ("},
    {"SpeckleWindowSize",
     &Stereo::setSpeckleWindowSize,
     &Stereo::getSpeckleWindowSize,
     400,
     {0, 1000},
     {-1, 1001},
     "Invalid speckle window size.",
     "Invalid Speckle window size ("},
    {"TextureThreshold",
     &Stereo::setTextureThreshold,
     &Stereo::getTextureThreshold,
     1,
     {0, 10000},
     {-1, 10001},
     "Invalid texture threshold.",
     "Invalid Texture threshold ("},
    {"UniquenessRatio",
     &Stereo::setUniquenessRatio,
     &Stereo::getUniquenessRatio,
     2,
     {0, 100},
     {-1, 101},
     "Invalid uniqueness ratio.",
     "Invalid Uniqueness ratio ("},
    {"P1",
     &Stereo::setP1,
     &Stereo::getP1,
     3528,
     {0, 20000, INT_MAX},
     {-1, INT_MIN},
     "Invalid P1.",
     "Invalid value for P1 ("},
    {"P2",
     &Stereo::setP2,
     &Stereo::getP2,
     14112,
     {0, INT_MAX},
     {-1, INT_MIN},
     "Invalid P2.",
     "Invalid value for P2 ("},
    {"Disp12MaxDiff",
     &Stereo::setDisp12MaxDiff,
     &Stereo::getDisp12MaxDiff,
     0,
     {-5, 1, INT_MIN, INT_MAX},
     {},
     "",
     ""},
};

/// The table's parameters in its order, then the three that are no int.
std::vector<double> allValues(const Stereo& stereo)
{
    std::vector<double> values;
    for (const Rule& rule : rules) {
        values.push_back((stereo.*rule.get)());
    }
    values.insert(values.end(), {stereo.getMaxDepth(), static_cast<double>(stereo.getStereoAlgorithm()),
                                 static_cast<double>(stereo.getFullDP())});
    return values;
}

std::vector<double> defaultValues()
{
    std::vector<double> values;
    for (const Rule& rule : rules) {
        values.push_back(rule.defaultValue);
    }
    values.insert(values.end(), {5.0, 0, 0});
    return values;
}

class StereoParameter : public testing::TestWithParam<Rule>
{
};

TEST_P(StereoParameter, IsStoredOrRefusedAndNothingElseChanges)
{
    const Rule& rule = GetParam();
    const auto isTested = [&](const Rule& other) { return other.name == rule.name; };
    const auto index = std::find_if(rules.begin(), rules.end(), isTested) - rules.begin();
    OpenStereo stereo(support::makeCalibrations());
    (void)stereo.rectifyImageLeft(cv::Mat::zeros(48, 64, CV_8UC1));
    const auto* const maps = stereo._imageTransforms.begin()->second.leftMapX.data;
    auto expected = allValues(stereo);

    for (const int value : rule.accepted) {
        (stereo.*rule.set)(value);
        expected.at(static_cast<std::size_t>(index)) = value;
        EXPECT_EQ(allValues(stereo), expected) << value;
    }
    for (const int value : rule.refused) {
        support::expectRefusal<std::range_error>(
            [&] { (stereo.*rule.set)(value); }, rule.thrown,
            {support::stereoError("set" + rule.name,
                                  rule.loggedBefore + std::to_string(value) + rule.loggedAfter)});
        EXPECT_EQ(allValues(stereo), expected) << value;
    }
    ASSERT_EQ(stereo._imageTransforms.size(), 1U);
    EXPECT_EQ(stereo._imageTransforms.begin()->second.leftMapX.data, maps);
}

INSTANTIATE_TEST_SUITE_P(Int, StereoParameter, testing::ValuesIn(rules));

TEST(StereoParameters, HaveTheirDefaults)
{
    EXPECT_EQ(allValues(Stereo()), defaultValues());
    EXPECT_EQ(static_cast<int>(Stereo::BM), 0);
    EXPECT_EQ(static_cast<int>(Stereo::SGBM), 1);
    EXPECT_EQ(static_cast<int>(Stereo::LEFT), 0);
    EXPECT_EQ(static_cast<int>(Stereo::RIGHT), 1);
}

TEST(StereoParameters, MaxDepthIsAnythingAboveZeroAndNan)
{
    Stereo stereo;
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float depth : {std::numeric_limits<float>::denorm_min(), 7.5f, infinity}) {
        stereo.setMaxDepth(depth);
        EXPECT_EQ(stereo.getMaxDepth(), depth);
    }
    for (const float depth : {0.0f, -0.0f, -std::numeric_limits<float>::denorm_min(), -1.0f, -infinity}) {
        support::expectRefusal<std::range_error>(
            [&] { stereo.setMaxDepth(depth); }, "Invalid distance.",
            {support::stereoError("setMaxDepth", "Distance must be positive.")});
        EXPECT_EQ(stereo.getMaxDepth(), infinity);
    }
    stereo.setMaxDepth(std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(stereo.getMaxDepth()));
    EXPECT_EQ(stereo.getMinDisparity(), 1);
}

TEST(StereoParameters, AlgorithmAndFullDpTakeAnyValue)
{
    Stereo stereo;
    for (const int algorithm : {1, 0, 2, -1}) {
        stereo.setStereoAlgorithm(static_cast<Stereo::StereoAlgorithm>(algorithm));
        EXPECT_EQ(static_cast<int>(stereo.getStereoAlgorithm()), algorithm);
    }
    stereo.setFullDP(true);
    EXPECT_TRUE(stereo.getFullDP());
}

TEST(StereoParameters, MinDisparityMustBeZeroWithoutCalibrations)
{
    Stereo stereo;
    for (const int value : {-1, 1}) {
        support::expectRefusal<std::range_error>(
            [&] { stereo.setMinDisparity(value); }, "Invalid min disparity.",
            {support::stereoError("setMinDisparity",
                                  "Invalid min disparity (" + std::to_string(value) + ").")});
        EXPECT_EQ(stereo.getMinDisparity(), 1);
    }
    stereo.setMinDisparity(0);
    EXPECT_EQ(stereo.getMinDisparity(), 0);
}

void setAllDifferently(Stereo& stereo)
{
    for (const Rule& rule : rules) {
        (stereo.*rule.set)(rule.accepted.front());
    }
    stereo.setFullDP(true);
    stereo.setMaxDepth(3);
    stereo.setStereoAlgorithm(Stereo::SGBM);
}

TEST(StereoParameters, ResetBringsBackAllDefaultsButDepthAndAlgorithm)
{
    OpenStereo stereo(support::makeCalibrations());
    setAllDifferently(stereo);
    stereo.resetAllParameters();
    auto expected = defaultValues();
    expected[rules.size()] = 3;
    expected[rules.size() + 1] = Stereo::SGBM;
    EXPECT_EQ(allValues(stereo), expected);
}

TEST(StereoParameters, ResetStopsAtTheMinDisparityWithoutCalibrations)
{
    OpenStereo stereo(support::makeCalibrations());
    setAllDifferently(stereo);
    stereo._leftCalibration.width = 0;
    auto expected = allValues(stereo);
    expected[0] = 21;
    support::expectRefusal<std::range_error>(
        [&] { stereo.resetAllParameters(); }, "Invalid min disparity.",
        {support::stereoError("setMinDisparity", "Invalid min disparity (1).")});
    EXPECT_EQ(allValues(stereo), expected);
}

} // namespace
