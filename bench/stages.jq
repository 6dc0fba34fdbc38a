# SPDX-License-Identifier: Apache-2.0
# The stages of a block matcher's frame for the figure, as multiples of the hand-written frame of the same size.
def time($who): .contenders[] | select(.name == $who) | .milliseconds.median;
def stages: ["rectify", "disparity", "depth"];
group_by(.table)[] | select(.[0].table | test("^Stages .* BM$"))
| (.[0].table | capture("at (?<width>[0-9]+)(?<height>x[0-9]+)")) as $size
| map(select(.row | IN(stages[]))) as $rows
| ([$rows[] | time("by hand")] | add) as $unit
| $rows[0].contenders[].name as $who
| stages | map(. as $stage | $rows[] | select(.row == $stage) | time($who) / $unit)
| "\($size.width | tonumber) \"\($size.width)\($size.height)\\n\($who)\" \(join(" "))"
