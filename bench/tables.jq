# SPDX-License-Identifier: Apache-2.0
# Tables of the operations: medians in ms with allocations and peak heap of one call.
def median: sort | .[(length - 1) / 2 | floor];
def digits: if . >= 100 then round elif . >= 1 then . * 100 | round / 100 else . * 1000 | round / 1000 end;
def cell: "\(map(.real_time) | median | digits) ms, \(.[0].allocations), \(.[0].peakBytes / 1e6 | digits) MB";
def table($title; $pattern):
    map(select(.run_type == "iteration") | . + (.name | capture("^(?<operation>[a-z-]+)(/(?<case>.*))?/real_time$")))
    | map(select(.case // "one call" | test($pattern)))
    | (map(.case // "one call") | reduce .[] as $case ([]; if index([$case]) then . else . + [$case] end)) as $cases
    | "\n\($title) (median time, allocations, peak heap)\n",
      "| | \($cases | join(" | ")) |", "|---|\($cases | map("---:|") | join(""))",
      (group_by(.operation)[] | . as $all
       | "| \(.[0].operation) | \($cases | map(. as $case | $all | map(select((.case // "one call") == $case)) | cell) | join(" | ")) |");
.benchmarks
| table("By image size"; "x"),
  table("By cores, 1280x960"; "cores"),
  table("By disparities, 640x480"; "disparities"),
  table("Calibration files"; "one call")
