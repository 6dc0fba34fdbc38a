// SPDX-License-Identifier: Apache-2.0
#include "tool/tool_fixture.h"

using namespace support;
using testing::AllOf;
using testing::HasSubstr;

namespace {

TEST_F(Tool, LeavesNothingBehindWhenADiskIsFull)
{
    for (const char* command :
         {"plane", "calibrate --left images/left0[1-4].jpg --right images/right0[1-4].jpg"}) {
        // files end after 512 bytes
        run(std::string("ulimit -f 1; ") + command, 2, HasSubstr("cannot write"));
        EXPECT_FALSE(std::filesystem::exists(path("out")));
    }
    run("plane >/dev/full", 1, HasSubstr("full"));
}

TEST_F(Tool, ShowsNamesAsTheyAreAndKeepsMessagesOutOfFiles)
{
    // What the number of standard error stands for while the program runs.
    run("'" STEREOVISION_TOOL
        "' depth --left-calibration left.yml --right-calibration right.yml --left l.png "
        "--right r.png --output out --quiet 2>&- & p=$!; while [ -e /proc/$p/exe ]; do f=$(readlink "
        "/proc/$p/fd/2) && last=$f; done; wait $p && echo $last",
        0,
        testing::_,
        "/dev/null\n");
    run("evaluate() { tool evaluate out/l-disparity.pfm out/l-disparity.pfm; }; evaluate >&-",
        1,
        HasSubstr("standard output"));
    run("depth --left \"$(printf 'a\\033c\\nb\\377\\302\\205\\303\\244')\" --right r.png",
        2,
        HasSubstr("a\\x1bc\\nb\\xff\\xc2\\x85\xc3\xa4"));
    run("n=$(head -c 230 /dev/zero | tr '\\0' n); cp l.png $n.png; depth --left $n.png --right r.png", 0, "");
}

TEST_F(Tool, ExplainsItself)
{
    run("for i in '' calibrate check convert depth evaluate info rectify scale; do tool $i --help >help && "
        "grep -q "
        "'Usage: stereovision' help && grep -q 'Example: stereovision' help || exit; done",
        0,
        "");
    run("tool --version", 0, "", "stereovision " STEREOVISION_VERSION "\n");
    run("plane --verbose", 0, AllOf(HasSubstr("Load calibration file"), HasSubstr("Compute transforms")));
    const std::pair<const char*, const char*> rows[] = {
        {"tool", "check, convert"},
        {"tool measure", "check, convert"},
        {"plane --window x", "odd, 5 to 255"},
        {"tool evaluate a b --scale x", "from 1e-06 to 1000000"}};
    for (const auto& [command, allowed] : rows) {
        run(command, 2, AllOf(testing::StartsWith("stereovision: error: "), HasSubstr(allowed)), "");
    }
}

TEST_F(Tool, DrawsItsProgressOnATerminal)
{
    const std::string begun = "rectifying 0/2\r\033\\[K";
    const std::string half = "rectifying 1/2, [0-9.]+/s, [0-9]{1,2} s left\r\033\\[K";
    run("script -qec \"'" STEREOVISION_TOOL
        "' rectify --left-calibration left.yml --right-calibration right.yml "
        "--left l.png none.png --right r.png none.png --output out\" /dev/null </dev/null",
        1,
        "",
        testing::MatchesRegex(begun + "wrote out/l-rectified-left.png\r\n" + begun +
                              "wrote out/l-rectified-right.png\r\n" + begun + half +
                              "stereovision: error: none.png: [^\n]*\n" + half));
}

TEST_F(Tool, ReadsAndScalesCalibrations)
{
    run("tool info left.yml right.yml | tail -n +7", 0, "", R"(right.yml:
  image size: 320 x 240 px
  focal length: 300.00, 300.00 px
  principal point: 160.00, 120.00 px
  field of view: 56.1, 43.6 degrees
  distortion: none
both cameras (lengths in the unit of the calibration; metres if this program made it):
  baseline: 0.10000 m
  rectified focal length: 300.00 px
  principal point difference: 0.00 px
  depth at disparity 8 px: 3.750 m
  depth at disparity 16 px: 1.875 m
  depth at disparity 32 px: 0.938 m
  depth at disparity 64 px: 0.469 m
  depth at disparity 128 px: 0.234 m
  depth error at 1 m for a quarter pixel: 8.3 mm
  depth error at 2 m for a quarter pixel: 33.3 mm
  depth error at 5 m for a quarter pixel: 208.3 mm
  depth error at 10 m for a quarter pixel: 833.3 mm
  nearest depth with 64 disparities: 0.469 m
  nearest depth with 128 disparities: 0.234 m
  nearest depth with 256 disparities: 0.117 m
)");
    run("sed '/projectionMatrix/,$d' right.yml >partial.yml; tool info partial.yml left.yml",
        1,
        AllOf(HasSubstr("partial.yml: projectionMatrix must be"), HasSubstr("'stereovision calibrate'")),
        HasSubstr("left.yml:\n"));
    run("tool info right.yml left.yml", 1, HasSubstr("are swapped"));
    run("tool info none.yml", 2, HasSubstr("none.yml: cannot open"));

    run("tool scale left.yml right.yml --size 160x120 --output half; tool info half/left.yml half/right.yml",
        0,
        "",
        AllOf(HasSubstr("focal length: 150.00, 150.00 px"), HasSubstr("baseline: 0.10000 m")));
    run("tool scale left.yml --size 160x121 --output odd; ls odd", 2, HasSubstr("aspect ratio"));
}

TEST_F(Tool, ConvertsCalibrations)
{
    run("tool convert left.yml right.yml --to ros --output ros; tool convert ros/left.yaml ros/right.yaml "
        "--output own;"
        "tool info own/left.yml own/right.yml",
        0,
        "",
        AllOf(HasSubstr("wrote ros/right.yaml"), HasSubstr("baseline: 0.10000 m")));
    run("tool convert left.yml right.yml --to json --output plain; cat plain/calibration.json",
        0,
        "",
        HasSubstr("\"T\""));
    run("printf 'P0: 300 0 160 0 0 300 120 0 0 0 1 0\\nP1: 300 0 160 -30 0 300 120 0 0 0 1 0\\n' >road.txt;"
        "tool convert road.txt --size 320x240 --output road; tool info road/left.yml road/right.yml",
        0,
        "",
        AllOf(HasSubstr("image size: 320 x 240 px"), HasSubstr("baseline: 0.10000 m")));
    for (const std::string size : {"320", "0x240", "320x0", "0x140x240", "320x240x", "32768x240"}) {
        run("tool convert road.txt --output lone --size " + size, 2, HasSubstr("--size"), "");
        run("tool scale left.yml --output lone --size " + size, 2, HasSubstr("--size"), "");
    }
    run("tool convert left.yml right.yml --size 320x240 --output lone", 2, HasSubstr("leave out --size"));
    run("sed 's/-30/-30000/' road.txt >long.txt; tool convert long.txt --size 320x240 --output long &&"
        "tool info long/left.yml long/right.yml",
        0,
        HasSubstr("long/left.yml and long/right.yml: the cameras are 100 m apart"));
    run("LEFT=ros/left.yaml plane", 2, AllOf(HasSubstr("camera_info"), HasSubstr("stereovision convert")));
    run("tool convert left.yml --output lone", 2, HasSubstr("give two files"));
    run("tool convert left.yml right.yml --to xml --output lone", 2, HasSubstr("--to"));
}

} // namespace
