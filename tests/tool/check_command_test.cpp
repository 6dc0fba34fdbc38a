// SPDX-License-Identifier: Apache-2.0
#include "tool/tool_fixture.h"

#include <nlohmann/json.hpp>

using namespace support;
using testing::AllOf;
using testing::HasSubstr;

namespace {

using Check = Tool;

/// As isText() takes it.
const std::string wordsOfSixPairs = R"((left[01][0-9]: row offset N px, spread N px, [0-9]+ of [0-9]+ points
){6}verdict: holds
row offset: median N px, spread N px, rms N px
trend from the first to the last pair: N px
row offset by region: N px, N px, N px
                      N px, N px, N px
                      N px, N px, N px
change of the right camera: pitch N \+- N, yaw N \+- N, roll N \+- N degrees, )"
                                    R"(zoom N \+- N % \(yaw is poorly .*
square: (0.99|1.00)[0-9]{2} \+- 0.00[0-9]{2} of the given one, triangulated, in 6 pairs
plane of the board: rms [12].[0-9]+ mm, absolute error -?[01].[0-9]+ mm, fill rate [56][0-9].[0-9] %
)";

/// From the seven first pairs to the six others, as they are and as if the right camera had moved.
TEST_F(Check, HoldsDriftsOrDoesNotBelongOnRealPairs)
{
    const std::string others = "{08,09,11,12,13,14}";
    run("bash -c 'tool() { \"" STEREOVISION_TOOL
        "\" \"$@\"; }; tool calibrate --board 9x6 --square 25mm --output seven "
        "--left images/left0[1-7].jpg --right images/right0[1-7].jpg; tool calibrate --board 9x6 --square "
        "25mm "
        "--output four --left images/left0[1-4].jpg --right images/right0[1-4].jpg; mkdir l r; "
        "cp images/left" +
            others + ".jpg l; cp images/right" + others + ".jpg r'",
        0,
        testing::_);
    std::filesystem::create_directories(path("lowered"));
    std::filesystem::create_directories(path("turned"));
    for (const auto& file : std::filesystem::directory_iterator(path("r"))) {
        const cv::Mat image = cv::imread(file.path().string(), cv::IMREAD_GRAYSCALE);
        const std::string name = file.path().stem().string() + ".png";
        cv::Mat moved;
        cv::warpAffine(image, moved, cv::Matx23d(1, 0, 0, 0, 1, 1), image.size(), cv::INTER_CUBIC);
        cv::imwrite(path("lowered/" + name), moved);
        const cv::Mat turn = cv::getRotationMatrix2D({319.5f, 239.5f}, 0.2, 1);
        cv::warpAffine(image, moved, turn, image.size(), cv::INTER_CUBIC);
        cv::imwrite(path("turned/" + name), moved);
    }
    const std::string check = "tool check --left l --left-calibration seven/left.yml --right-calibration ";
    const auto json = [&](const std::string& options, int code) {
        return nlohmann::json::parse(run(check + options + " --json", code, testing::_));
    };
    const auto holds = json("seven/right.yml --right r", 0);
    EXPECT_EQ(holds["verdict"], "holds");
    EXPECT_LT(std::abs(holds["rowOffsetMedian"].get<double>()), 0.2);

    const std::string words =
        run(check + "seven/right.yml --right r --board 9x6 --square 25mm", 0, "", isText(wordsOfSixPairs));
    EXPECT_NEAR(valueOf("row offset: median ", words), holds["rowOffsetMedian"].get<double>(), 0.005);

    const auto board = json("seven/right.yml --right r --board 9x6 --square 25mm", 0)["board"];
    EXPECT_EQ(board["boards"], 6);
    EXPECT_NEAR(board["squareMean"].get<double>(), 1, 0.003);
    EXPECT_LT(board["squareDeviation"].get<double>(), 0.01);
    EXPECT_LT(board["planeRms"].get<double>(), 0.003); // the boards are 0.3 m away
    EXPECT_LT(std::abs(board["absoluteError"].get<double>()), 0.002);
    EXPECT_GT(board["fillRate"].get<double>(), 0.5);
    run(check + "seven/right.yml --right r --board 9x6", 2, HasSubstr("--square"));

    constexpr double within = 0.25; // of what was done
    const auto lowered = json("seven/right.yml --right lowered", 1);
    EXPECT_EQ(lowered["verdict"], "drifted");
    EXPECT_NEAR(lowered["rowOffsetMedian"].get<double>(), 1, within);
    const auto turned = json("seven/right.yml --right turned", 1);
    EXPECT_EQ(turned["verdict"], "drifted");
    EXPECT_NEAR(std::abs(turned["drift"]["roll"].get<double>()), 0.2, within * 0.2);
    const std::pair<std::string, const char*> rows[] = {
        {"lowered", "region: (([01].[0-9]+ px[, \n]+){3}){3}"},
        {"turned",
         "region: ((1|0.[5-9])[0-9.]* px, [0-9.]+ px, -?0.[0-5][0-9] px[ \n]+){3}"}, // falls to the right
    };
    for (const auto& [moved, regions] : rows) {
        run(check + "seven/right.yml --right " + moved + " --correct --output fixed --force",
            1,
            testing::_,
            AllOf(testing::ContainsRegex(regions), HasSubstr("wrote fixed/right.yml")));
        const auto fixed = nlohmann::json::parse(
            run("tool check --left l --right " + moved +
                    " --left-calibration fixed/left.yml --right-calibration fixed/right.yml --json",
                0,
                testing::_));
        EXPECT_LT(std::abs(fixed["rowOffsetMedian"].get<double>()), 0.25);
    }
    EXPECT_EQ(json("four/right.yml --right r", 1)["verdict"], "foreign");
    run(check + "seven/right.yml --right r --correct", 2, HasSubstr("--output"));
    run(check + "seven/right.yml --right r --output same", 2, HasSubstr("--correct"));
    run(check + "seven/right.yml --right r --correct --output same", 0, HasSubstr("nothing to correct"));
    EXPECT_FALSE(std::filesystem::exists(path("same/right.yml")));
    run(check + "seven/right.yml --right lowered --correct --output same --distance 1m",
        2,
        HasSubstr("--point"));
    run("tool check --left none.png --right none.png --left-calibration left.yml --right-calibration "
        "right.yml",
        2,
        AllOf(HasSubstr("none.png: "), HasSubstr("no pair could be checked")));
    run(check + "none.yml --right r", 2, HasSubstr("none.yml"));
}

} // namespace
