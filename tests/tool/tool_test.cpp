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
        run(std::string("trap '' XFSZ; ulimit -f 1; ") + command, 2, HasSubstr("cannot write"));
        EXPECT_FALSE(std::filesystem::exists(path("out")));
    }
    run("plane >/dev/full", 1, HasSubstr("full"));
}

TEST_F(Tool, ExplainsItself)
{
    for (const std::string command :
         {"tool", "tool calibrate", "tool depth", "tool evaluate", "tool rectify"}) {
        run(command + " --help",
            0,
            "",
            AllOf(HasSubstr("Usage: stereovision"), HasSubstr("Example: stereovision")));
    }
    run("tool --version", 0, "", "stereovision " STEREOVISION_VERSION "\n");
    run("plane --verbose", 0, AllOf(HasSubstr("Load calibration file"), HasSubstr("Compute transforms")));
    for (const std::string command : {"tool", "tool measure"}) {
        run(command, 2, HasSubstr("stereovision: error: "), "");
    }
}

TEST_F(Tool, ReadsAndScalesCalibrations)
{
    run("tool info left.yml right.yml",
        0,
        "",
        AllOf(HasSubstr("left.yml:\n  image size: 320 x 240 px\n  focal length: 300.00, 300.00 px\n"),
              HasSubstr("  distortion: none\n"),
              HasSubstr("  baseline: 0.10000 m\n"),
              HasSubstr("  depth at disparity 32 px: 0.938 m\n"), // 300 px 0.1 m / 32 px
              HasSubstr("  depth error at 2 m for a quarter pixel: 33.3 mm\n")));
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
    run("tool scale left.yml --size 160 --output odd", 2, HasSubstr("--size"));
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
    run("LEFT=ros/left.yaml plane", 2, AllOf(HasSubstr("camera_info"), HasSubstr("stereovision convert")));
    run("tool convert left.yml --output lone", 2, HasSubstr("give two files"));
    run("tool convert left.yml right.yml --to xml --output lone", 2, HasSubstr("--to"));
}

} // namespace
