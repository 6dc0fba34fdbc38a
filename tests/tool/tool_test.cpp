#include "tool/tool_fixture.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/output/output_files.h>

using namespace support;
using testing::AllOf;
using testing::HasSubstr;

namespace {

TEST_F(Tool, BringsBackWhatIsOverwrittenWhenALaterFileFails)
{
    run("mkdir out; echo precious >out/old", 0, "");
    {
        const vision::toolkit::OutputFolder folder(path("out"), true);
        vision::toolkit::OutputFiles files(folder);
        files.write("old", "replaced");
        files.write("new", "made");
        (void)files.stage("lost"); // never written
        EXPECT_THROW(files.commit(), vision::toolkit::Failure);
    }
    EXPECT_EQ(listOutput(), "old\n");
    run("cat out/old", 0, "", "precious\n");
}

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
    for (const std::string command : {"tool", "tool calibrate", "tool depth"}) {
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

} // namespace
