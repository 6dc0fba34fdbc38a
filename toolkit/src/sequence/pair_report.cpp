// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/sequence/depth_run.h>

#include "base/json.h"

namespace vision::toolkit {

namespace {

Json describeResult(const PairReport& report)
{
    const DepthSummary& summary = report.summary;
    const bool hasPoints = report.hasDepth && summary.points > 0;
    Json json;
    json["name"] = report.name;
    json["matched"] = summary.matched;
    json["nearest"] = numberOrNull(summary.nearest, hasPoints);
    json["median"] = numberOrNull(summary.median, hasPoints);
    json["farthest"] = numberOrNull(summary.farthest, hasPoints);
    json["beyond"] = numberOrNull(summary.beyond, report.hasDepth);
    json["minDisparity"] = report.range.minDisparity;
    json["disparities"] = report.range.disparities;
    json["rowOffsetMedian"] = numberOrNull(report.rows.median);
    json["rowOffsetSpread"] = numberOrNull(report.rows.spread);
    json["notes"] = listNotes(report.notes);
    json["files"] = Json::array();
    for (const auto& file : report.files) {
        json["files"].push_back(file.string());
    }
    return json;
}

} // namespace

std::string toJson(const PairReport& report)
{
    Json json{{"name", report.name}};
    if (report.error) {
        json["error"] = toText(*report.error);
        json["code"] = report.error->code;
    } else if (report.isSkipped) {
        json["skipped"] = true;
    } else {
        json = describeResult(report);
    }
    return printLine(json);
}

} // namespace vision::toolkit
