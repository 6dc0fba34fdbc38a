// SPDX-License-Identifier: Apache-2.0
#include "tool/tool_fixture.h"

#include <opencv2/videoio.hpp>

#include <cstring>

using namespace support;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string outputs = "l-disparity.pfm\nl-disparity.png\nl-points.ply\nl-rectified.png\n";

/// What is told of a pair that is not what it should be.
struct Trouble
{
    std::string command; ///< of `depth`, behind the name of the program
    int code;
    std::string told;
};

using Depth = Tool;

TEST_F(Depth, FindsThePlaneWithoutANumber)
{
    for (const auto& [name, image] : {std::pair("l", left), std::pair("r", right)}) {
        cv::Mat deep;
        image.convertTo(deep, CV_16U, 4095 / 255.0);
        cv::imwrite(path(std::string("deep-") + name + ".png"), deep);
    }
    cv::Mat both, alpha;
    cv::hconcat(left, right, both);
    cv::imwrite(path("both.png"), both);
    cv::cvtColor(left, alpha, cv::COLOR_GRAY2BGRA);
    cv::imwrite(path("alpha.png"), alpha);
    const std::string camera = "tool depth --rectified --output out --focal 300 ";
    const std::pair<std::string, const char*> rows[] = {
        {"plane", ""},
        {"plane --algorithm bm", ""},
        {"plane --algorithm sgbm --dense", ""},
        {"plane --plain --algorithm bm --window 9 --disparities 48", ""},
        {"plane --near 1m --far 3", ""},
        {"plane --resize 0.5 --disparities 48", ""},
        {camera + "--left l.png --right r.png --baseline 10cm", ""},
        {camera + "--left both.png --side-by-side --baseline 0.1", ""},
        {camera + "--left l.png --right r.png --doffs -10 --baseline 50mm",
         ""}, // 300 px 0.05 m / (20 - 10) px
        {"depth --left alpha.png --right r.png", "alpha"},
        {"depth --left deep-l.png --right deep-r.png", "16-bit"},
    };
    for (const auto& [command, note] : rows) {
        const bool isPlain = *note == '\0';
        const std::string out = run(command + " --force",
                                    0,
                                    isPlain ? testing::Matcher<std::string>("") : HasSubstr(note),
                                    AllOf(HasSubstr("depth median 1.500 m"), HasSubstr("-points.ply")));
        EXPECT_GT(valueOf("matched ", out), 70) << command;
    }
}

TEST_F(Depth, WritesTheSameDepthToAllFiles)
{
    cv::Mat colour;
    cv::merge(std::vector<cv::Mat>{left / 2, left / 3, left}, colour);
    cv::imwrite(path("l.png"), colour);
    const std::string out = run("plane", 0, HasSubstr("colour"));
    EXPECT_EQ(listOutput(), outputs);

    EXPECT_THAT(readFile(path("out/l-disparity.pfm")),
                testing::StartsWith("Pf\n320 240\n-1")); // little endian
    const cv::Mat disparity = cv::imread(path("out/l-disparity.pfm"), cv::IMREAD_UNCHANGED);
    EXPECT_EQ(disparity.at<float>(120, 200), sceneDisparity);
    EXPECT_EQ(disparity.at<float>(120, 10), INFINITY); // has no partner in the right image
    const cv::Mat matched = disparity < INFINITY;
    const double percent = 100.0 * cv::countNonZero(matched) / static_cast<double>(matched.total());
    EXPECT_NEAR(valueOf("matched ", out), percent, 0.05); // what is printed has one digit

    constexpr std::size_t stride = 15;
    const std::string ply = readFile(path("out/l-points.ply"));
    std::size_t at = ply.find("end_header\n") + 11;
    EXPECT_EQ((ply.size() - at) / stride, static_cast<std::size_t>(cv::countNonZero(matched)));
    for (; at + stride <= ply.size(); at += stride) {
        cv::Vec3f point;
        cv::Vec3b rgb;
        std::memcpy(point.val, &ply[at], sizeof point);
        std::memcpy(rgb.val, &ply[at + sizeof point], sizeof rgb);
        const cv::Point pixel(cvRound(focalLength * point[0] / point[2] + 160),
                              cvRound(focalLength * point[1] / point[2] + 120));
        ASSERT_NEAR(disparity.at<float>(pixel), focalLength * baseline / point[2], 1e-3) << pixel;
        const auto& bgr = colour.at<cv::Vec3b>(pixel); // these calibrations leave images as they are
        ASSERT_EQ(rgb, cv::Vec3b(bgr[2], bgr[1], bgr[0])) << pixel;
    }
    EXPECT_EQ(at, ply.size());

    run("plane --force --write rectified,depth-png16,level-picture --dense; ls out | tr '\\n' ' '",
        0,
        HasSubstr("colour"),
        HasSubstr(
            "l-depth16.png l-disparity.pfm l-disparity.png l-level.png l-points.ply l-rectified-left.png "
            "l-rectified-right.png l-rectified.png"));
    EXPECT_EQ(cv::norm(cv::imread(path("out/l-rectified-left.png")), colour, cv::NORM_INF), 0);
    EXPECT_EQ(cv::imread(path("out/l-depth16.png"), cv::IMREAD_UNCHANGED).at<ushort>(120, 200), 1500);
    for (const bool isNear : {true, false}) { // in the range of colours, where near is red
        run(std::string("plane --force --write disparity-png --range ") + (isNear ? "10,20" : "20,30"),
            0,
            AllOf(HasSubstr("is called disparity-picture now"), HasSubstr("is called --colour-range now")));
        const auto bgr = cv::imread(path("out/l-disparity.png")).at<cv::Vec3b>(120, 200);
        EXPECT_EQ(bgr[2] > bgr[0], isNear);
    }
    // The principal point is in the middle unless it is given.
    run("camera() { tool depth --rectified --left l.png --right r.png --focal 300 --baseline 0.1 --quiet "
        "--output $@; };"
        "camera middle; camera cx --cx 159.5; camera cy --cy 119.5; camera other --cx 160 --cy 120;"
        "cp other/l-points.ply out; for i in cx cy other; do cmp middle/l-points.ply $i/l-points.ply; done",
        1,
        "",
        testing::StartsWith("middle/l-points.ply other/l-points.ply differ"));
    EXPECT_EQ(readFile(path("out/l-points.ply")), ply);
}

TEST_F(Depth, TellsOfEveryKindOfTrouble)
{
    cv::Mat soft; // blurred as by a lens, so that it has features
    cv::GaussianBlur(right, soft, {0, 0}, 2);
    cv::normalize(soft, soft, 0, 255, cv::NORM_MINMAX);
    const auto write = [&](const char* name, const cv::Point& shift) {
        cv::Mat moved;
        cv::warpAffine(soft, moved, cv::Matx23d(1, 0, shift.x, 0, 1, shift.y), soft.size());
        cv::imwrite(path(name), moved);
    };
    write("l.png", {sceneDisparity, 0});
    write("r.png", {0, 0});
    write("lowered.png", {0, 3});
    cv::imwrite(path("dark.png"), soft / 8);
    cv::flip(soft, soft, -1);
    write("foreign.png", {0, 0});
    cv::imwrite(path("white.png"), cv::Mat(sceneSize, CV_8UC1, cv::Scalar(255)));
    const std::string right01 = "images/right01.jpg", left01 = "images/left01.jpg";
    run("calibrate --left images/left??.jpg --right images/right??.jpg; cp -r out cal; rm -r out;"
        "sed 's/^height: .*/height: 239/' right.yml >low.yml",
        0,
        testing::_);
    const std::string real = "LEFT=cal/left.yml RIGHT=cal/right.yml depth ";
    const Trouble rows[] = {
        {"depth --quiet --left r.png --right l.png", 1, "seem to be swapped"},
        {real + "--left images/right01.jpg --right images/left01.jpg", 1, "seem to be swapped"},
        {"LEFT=right.yml RIGHT=left.yml plane", 2, "swapped"},
        {"RIGHT=left.yml plane", 2, "given twice"},
        {"RIGHT=cal/right.yml plane", 2, "320 x 240"},
        {"RIGHT=low.yml plane", 2, "320 x 239"},
        {"tool depth --rectified --output out --left images/left01.jpg --right images/right01.jpg",
         0,
         "apart in rows"},
        {"depth --left l.png --right lowered.png", 0, "apart in rows"},
        {"depth --left l.png --right foreign.png", 1, "hardly anything is found in both images"},
        {"depth --left l.png --right dark.png", 0, "brightest pixel"},
        {"depth --left white.png --right white.png", 2, "as left and as right"},
        {"plane --near 30m", 0, "smaller --near"},
        {"plane --near 3m --far 30m", 0, "smaller --near"},
        {"plane --far 1m", 0, "larger --far"},
        {"plane --max-depth 1m", 0, "farther than the largest depth"},
        {"plane --plain --algorithm bm --disparities 16 --max-depth 30", 0, "more --disparities"},
    };
    for (const auto& [command, code, told] : rows) {
        run(command + " --force", code, HasSubstr(told));
    }
    run(real + "--left '" + left01 + "' --right '" + right01 + "' --force",
        0,
        ""); // nothing is told of a good pair
    run("tool depth --rectified --output out --left r.png --right l.png --min-disparity -30 --force", 0, "");
}

TEST_F(Depth, PrintsJsonAndKeepsParameters)
{
    run("plane --json --write disparity-pfm --save-params p.json --algorithm bm --window 9 --near 1m",
        0,
        "",
        AllOf(HasSubstr(R"({"name":"l","matched":0.)"),
              HasSubstr(R"("median":1.5,)"),
              HasSubstr(R"("notes":[],"files":["out/l-disparity.pfm"]})")));
    run("cat p.json", 0, "", AllOf(HasSubstr(R"("window": 9)"), HasSubstr(R"("algorithm": "bm")")));
    run("plane --force --params p.json; cat out/l-disparity.pfm | md5sum >one", 0, "");
    run("plane --force --algorithm bm --window 9 --near 1 --write disparity-pfm --quiet; md5sum "
        "<out/l-disparity.pfm | "
        "diff - one",
        0,
        "",
        "");
    run("echo '{\"window\": 255, \"dense\": false, \"algorithm\": \"bm\", \"near\": 1}' >p.json; plane "
        "--force "
        "--params p.json --window 9 --dense --save-params q.json; md5sum <out/l-disparity.pfm | diff - one; "
        "cat q.json",
        0,
        "",
        AllOf(HasSubstr(R"("window": 9,)"), HasSubstr(R"("dense": true)"), Not(HasSubstr("null"))));
    const std::pair<const char*, const char*> rows[] = {
        {R"({"window": "x"})", "window"},
        {R"({"window": true})", "--window must be a number or a text"},
        {R"({"window": [9]})", "--window must be a number or a text"},
        {R"({"window": null})", "--window must be a number or a text"},
        {R"({"dense": 1})", "--dense must be true or false"},
        {R"({"left": "x"})", R"(is called "left")"},
        {"[]", "no JSON object"},
    };
    for (const auto& [json, complaint] : rows) {
        run(std::string("echo '") + json + "' >p.json; plane --params p.json", 2, HasSubstr(complaint));
    }
    run("plane --params none.json", 2, HasSubstr("none.json: cannot open"));
    run("plane --quiet --force; cp l.png kept; ln -s kept link; ln -s p.json linked.json", 0, "");
    for (const std::string file : {"kept", "link --force", "/dev/full --force"}) {
        run("plane --skip-existing --save-params " + file + "; cmp kept l.png && exit 2",
            2,
            AllOf(HasSubstr("stereovision: error: "), Not(HasSubstr("wrote"))),
            "");
    }
    run("plane --skip-existing --algorithm bm --window 9 --force --save-params p.json; cat p.json",
        0,
        "",
        HasSubstr("\"window\": 9"));
}

TEST_F(Depth, DependsNeitherOnJobsNorOnShards)
{
    cv::VideoWriter video(path("both.avi"), cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10, {640, 240});
    for (int i = 0; i < 7; ++i) {
        cv::Mat frame;
        cv::hconcat(left + 10 * i, right + 10 * i, frame);
        cv::cvtColor(frame, frame, cv::COLOR_GRAY2BGR);
        video.write(frame);
    }
    video.release();
    const std::string sequence = "depth --left both.avi --side-by-side --disparities 48 ";
    const std::string names = "both-000000-disparity.pfm";
    const std::string first =
        run("OUTPUT=a " + sequence + "--jobs 1 | sed s,a/,,; (cd a; md5sum *) >a.md5", 0, testing::_);
    EXPECT_THAT(first, AllOf(HasSubstr("both-000000: "), HasSubstr("both-000006: ")));
    EXPECT_EQ(
        run("OUTPUT=b " + sequence + "--jobs 3 | sed s,b/,,; (cd b; md5sum *) | diff - a.md5", 0, testing::_),
        first);
    run("OUTPUT=c " + sequence +
            "--shard 2/3; ls c | grep -c ply; rm c/both-000004-points.ply; echo >c/both-000001-points.ply;"
            "OUTPUT=c " +
            sequence +
            "--skip-existing; wc -c <c/both-000001-points.ply; rm c/both-000001-points.ply;"
            "OUTPUT=c " +
            sequence +
            "--skip-existing --quiet; rm c/both-000001-points.ply; echo foreign >c/both-000001-disparity.pfm;"
            ": >c/both-000001-rectified.png; OUTPUT=c " +
            sequence +
            "--skip-existing --quiet; cat c/both-000001-disparity.pfm; cp a/both-000001-disparity.pfm c;"
            "(cd c; md5sum *) | diff - a.md5 && OUTPUT=d " +
            sequence + "--quiet --shard 1/1; (cd d; md5sum *) | diff - a.md5",
        0,
        testing::_,
        AllOf(HasSubstr("\n2\n"),
              HasSubstr("\n1\n"),
              HasSubstr("both-000001: is there already"),
              testing::EndsWith("foreign\n")));
}

TEST_F(Depth, GoesOnAfterAnImageThatFails)
{
    cv::imwrite(path("wide.png"), cv::Mat::zeros(sceneSize * 2, CV_8U));
    cv::imwrite(path("high.png"), cv::Mat::zeros(300, 320, CV_8U));
    const std::string prepare = "cp wide.png wide2.png; touch empty.png; head -c 20000 l.png >cut.png; head "
                                "-c 9000 images/left01.jpg >cut-off.jpg; "
                                "depth ";
    const std::string names = "--left missing.png empty.png cut.png cut-off.jpg wide.png high.png ";
    const std::string partners = "--right r.png r.png r.png images/right01.jpg wide2.png r.png ";
    const auto complains = AllOf(HasSubstr("missing.png: "),
                                 HasSubstr("empty.png: is empty"),
                                 HasSubstr("cut.png: the image is damaged"),
                                 HasSubstr("cut-off.jpg: is 640 x 480, larger"),
                                 HasSubstr("wide.png: is 640 x 480, larger"),
                                 HasSubstr("high.png: is 320 x 300"));
    run(prepare + names + partners, 2, complains);
    EXPECT_EQ(listOutput(), "");
    run(prepare + names + "l.png " + partners + "r.png", 1, complains);
    EXPECT_EQ(listOutput(), outputs);
}

TEST_F(Depth, KeepsExistingFilesUnlessForced)
{
    run("mkdir out; echo precious >out/l-points.ply; plane",
        2,
        AllOf(HasSubstr("out/l-points.ply"), HasSubstr("--force")));
    EXPECT_EQ(listOutput(), "l-points.ply\n");
    run("cat out/l-points.ply", 0, "", "precious\n");
    run("plane --force; head -n 1 out/l-points.ply", 0, "", HasSubstr("ply\n"));
}

TEST_F(Depth, SaysWhatToChangeAndWritesNothing)
{
    const std::pair<std::string, std::string> rows[] = {
        {"tool depth", "required"},
        {"plane --plain --algorithm bm --disparities 320", "see --disparities"},
        {"plane --plain --algorithm bm --resize 0.5 --window 5", "larger one; see --window"},
        {"plane --plain --algorithm bm --window 255", "smaller one; see --window"},
        {"plane --plain --algorithm bm --resize 0.3", "sgbm"},
        {"plane --plain", "bm and sgbm"},
        {"plane --resize 0.33", "--resize"},
        {"plane --max-depth 5ft", "5ft"},
        {"plane --near 2m --far 1m", "near"},
        {"plane --algorithm census", "census"},
        {"plane --write disparity-gif", "disparity-gif"},
        {"plane --colour-range 5", "--colour-range"},
        {"plane --colour-range 20,20", "--colour-range"},
        {"plane --colour-range 0,inf", "--colour-range"},
        {"plane --shard 3/2", "--shard"},
        {"plane --shard 0/2", "--shard"},
        {"plane --shard 1/2/3", "--shard"},
        {"plane --shard 5/18446744073709551615", "--shard"},
        {"plane --jobs 0", "--jobs"},
        {"plane --window 0x15", "--window"},
        {"plane --resize nan", "--resize"},
        {"plane --near 1e999m", "--near"},
        {"tool depth --rectified --left l.png --right r.png --output out --focal 1e300 --baseline 1e-300",
         "--focal"},
        {"tool depth --rectified --left l.png --right r.png --output out --focal 300 --baseline 0.1 --doffs "
         "320",
         "--doffs"},
        {"depth --left l.png", "--right"},
        {"tool depth --left l.png --right r.png --output out", "--left-calibration"},
        {"tool depth --rectified --left l.png --right r.png --output out --focal 300", "--baseline"},
        {"tool depth --rectified --left l.png --right r.png --output out --write points-ply", "--focal"},
        {"tool depth --rectified --left l.png --right r.png", "--output"},
        {"tool depth --rectified --left text.yml --right r.png --output out", "text.yml: "},
        {"depth --left l.png l.png --right r.png r.png", "would both write"},
        {"depth --left 'none*.png' --right r.png", "none*.png: no file matches"},
        {"OUTPUT=r.png plane", "r.png: "},
        {"OUTPUT=/proc/self plane", "cannot write into the folder"}, // not even by root
        {"ln -s gone/gone link; OUTPUT=link plane", "cannot make the folder"},
        {"LEFT=none.yml plane", "none.yml: "},
        {"LEFT=text.yml plane", "text.yml: "},
        {"LEFT=. plane", "folder"},
        {"RIGHT=partial.yml plane", "partial.yml: "},
        {"plane --window x", "--window"},
        {"plane --max-depth 0", "--max-depth"},
        {"plane --max-depth m", "--max-depth"},
        {"plane --max-depth nan", "nan"},
        {"plane --algorithm bm --trust high", "belongs to sgm"},
        {"plane --window 9", "belongs to bm and sgbm"},
        {"plane --algorithm bm --window 4", "window: 4"},
        {"plane --disparities 20", "multiple of 16"},
        {"plane --min-disparity -321", "smallest disparity"},
        {"plane --algorithm bm --prefilter-cap 64", "prefilter cap: 64"},
        {"plane --algorithm sgbm --speckle-range 32", "speckle range: 32"},
        {"plane --speckle-window 1001", "speckle window: 1001"},
        {"plane --algorithm bm --uniqueness 101", "uniqueness: 101"},
        {"plane --confidence 1.1", "--confidence"},
        {"plane --colour", "--colour"},
        {"depth --left text.avi --side-by-side", "text.avi: cannot open the video"},
    };
    run("echo no calibration >text.yml; cp text.yml text.avi; sed /projectionMatrix/,\\$d right.yml "
        ">partial.yml",
        0,
        "");
    for (const auto& [command, complaint] : rows) {
        run(command, 2, AllOf(testing::StartsWith("stereovision: error: "), HasSubstr(complaint)), "");
        EXPECT_EQ(listOutput(), "") << command;
    }
}

} // namespace
