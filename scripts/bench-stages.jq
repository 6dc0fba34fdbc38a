# The stages of a block matcher's frame for the figure, as multiples of the hand-written frame of the same size.
def time($table; $row; $who): .[] | select(.table == $table and .row == $row)
    | .contenders[] | select(.name == $who) | .milliseconds.median;
. as $all
| ([.[].table | select(startswith("Stages"))] | unique)[] as $table
| ($all | time($table; "frame, BM"; "by hand")) as $unit
| ($all[] | select(.table == $table and .row == "frame, BM") | .contenders[].name) as $who
| [($table | capture("at (?<size>[0-9x]+)").size) + "\\n" + $who]
  + (["rectify", "disparity, BM", "depth"] | map(. as $row | $all | time($table; $row; $who) / $unit))
| "\"\(.[0])\" \(.[1:] | join(" "))"
