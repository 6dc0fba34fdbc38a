// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/check/check_report.h>

#include "base/json.h"

#include <fmt/format.h>

namespace vision::toolkit {

namespace {

struct NamedTerm
{
    const char* name;
    Estimate CameraDrift::*estimate;
};

constexpr NamedTerm terms[] = {{"pitch", &CameraDrift::pitch},
                               {"yaw", &CameraDrift::yaw},
                               {"roll", &CameraDrift::roll},
                               {"zoom", &CameraDrift::zoom}};

Json listDrift(const CameraDrift& drift)
{
    Json json;
    for (const auto& [name, estimate] : terms) {
        json[name] = (drift.*estimate).value;
        json[std::string(name) + "Uncertainty"] = (drift.*estimate).uncertainty;
    }
    return json;
}

Json listBoard(const BoardSummary& board)
{
    const auto known = [](const std::optional<double>& figure) {
        return figure ? Json(*figure) : Json(nullptr);
    };
    return {{"boards", board.boards},
            {"squareMean", board.squareMean},
            {"squareDeviation", board.squareDeviation},
            {"squareUncertainty", board.squareUncertainty},
            {"planeRms", known(board.planeRms)},
            {"absoluteError", known(board.absoluteError)},
            {"fillRate", board.fillRate}};
}

} // namespace

std::string nameOf(CheckVerdict verdict)
{
    switch (verdict) {
    case CheckVerdict::Holds:
        return "holds";
    case CheckVerdict::Drifted:
        return "drifted";
    case CheckVerdict::Foreign:
        return "foreign";
    case CheckVerdict::Unsynchronised:
        return "unsynchronised";
    case CheckVerdict::CannotTell:
        break;
    }
    return "cannot-tell";
}

std::string describeDrift(const CameraDrift& drift)
{
    return fmt::format("pitch {:.3f} +- {:.3f}, yaw {:.3f} +- {:.3f}, roll {:.3f} +- {:.3f} degrees, zoom "
                       "{:.2f} +- {:.2f} %",
                       drift.pitch.value,
                       drift.pitch.uncertainty,
                       drift.yaw.value,
                       drift.yaw.uncertainty,
                       drift.roll.value,
                       drift.roll.uncertainty,
                       drift.zoom.value,
                       drift.zoom.uncertainty);
}

std::string toJson(const std::vector<PairCheck>& pairs, const CalibrationCheck& check)
{
    Json json;
    json["verdict"] = nameOf(check.verdict);
    json["reasons"] = listNotes(check.reasons);
    json["rowOffsetMedian"] = numberOrNull(check.rows.median);
    json["rowOffsetSpread"] = numberOrNull(check.rows.spread);
    json["rowOffsetRms"] = numberOrNull(check.rms);
    json["trend"] = numberOrNull(check.trend);
    json["regions"] = Json::array();
    for (const RegionOffset& region : check.regions) {
        json["regions"].push_back(numberOrNull(region.median));
    }
    json["drift"] = check.drift ? listDrift(*check.drift) : Json(nullptr);
    json["board"] = check.board ? listBoard(*check.board) : Json(nullptr);
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
