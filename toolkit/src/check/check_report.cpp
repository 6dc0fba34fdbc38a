// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/check_report.h>

#include "base/json.h"

#include <fmt/format.h>

namespace vision::toolkit {

namespace {

constexpr const char* axes[] = {"pitch", "yaw", "roll"};

double toDegrees(double radians)
{
    return radians * 180 / CV_PI;
}

Json listRotation(const Rotation& rotation)
{
    Json json;
    for (int axis = 0; axis < 3; ++axis) {
        json[axes[axis]] = toDegrees(rotation.angles[axis]);
        json[std::string(axes[axis]) + "Uncertainty"] = toDegrees(rotation.uncertainty[axis]);
    }
    return json;
}

Json listBoard(const BoardSummary& board)
{
    return {{"boards", board.boards},
            {"squareMean", board.squareMean},
            {"squareDeviation", board.squareDeviation},
            {"planeRms", board.planeRms},
            {"absoluteError", board.absoluteError},
            {"fillRate", board.fillRate}};
}

} // namespace

std::string nameOf(CheckVerdict verdict)
{
    return verdict == CheckVerdict::Holds     ? "holds"
           : verdict == CheckVerdict::Drifted ? "drifted"
                                              : "foreign";
}

std::string describeRotation(const Rotation& rotation)
{
    std::string text;
    for (int axis = 0; axis < 3; ++axis) {
        text += std::string(axis == 0 ? "" : ", ") + axes[axis] + " " +
                fmt::format("{:.3f}", toDegrees(rotation.angles[axis])) + " +- " +
                fmt::format("{:.3f}", toDegrees(rotation.uncertainty[axis]));
    }
    return text;
}

std::string toJson(const std::vector<PairCheck>& pairs, const CalibrationCheck& check,
                   const std::optional<BoardSummary>& board)
{
    Json json;
    json["verdict"] = nameOf(check.verdict);
    json["reasons"] = listNotes(check.reasons);
    json["rowOffsetMedian"] = numberOrNull(check.rows.median);
    json["rowOffsetSpread"] = numberOrNull(check.rows.spread);
    json["rowOffsetRms"] = check.rms;
    json["trend"] = numberOrNull(check.trend);
    json["regions"] = Json::array();
    for (const RegionOffset& region : check.regions) {
        json["regions"].push_back(numberOrNull(region.median));
    }
    json["rotation"] = check.rotation ? listRotation(*check.rotation) : Json(nullptr);
    json["board"] = board ? listBoard(*board) : Json(nullptr);
    json["pairs"] = Json::array();
    for (const PairCheck& pair : pairs) {
        json["pairs"].push_back({{"name", pair.name},
                                 {"rowOffsetMedian", numberOrNull(pair.rows.median)},
                                 {"rowOffsetSpread", numberOrNull(pair.rows.spread)},
                                 {"matched", pair.rows.matched},
                                 {"features", pair.rows.features}});
    }
    return printLine(json);
}

} // namespace vision::toolkit
