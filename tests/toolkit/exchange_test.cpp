// SPDX-License-Identifier: Apache-2.0
#include "support/calibrations.h"
#include "support/process.h"
#include "support/scratch_folder.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/interchange/calibrations.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using namespace vision::toolkit;
using testing::HasSubstr;

namespace {

class Exchange : public testing::Test
{
protected:
    std::string write(const std::string& name, const std::string& text) const
    {
        const std::string file = folder.path() + "/" + name;
        std::ofstream(file) << text;
        return file;
    }

    static CalibrationPair makePair()
    {
        auto [left, right] = support::makeCalibrations();
        left.projectionMatrix.at<float>(1, 1) = right.projectionMatrix.at<float>(1, 1) = 500;
        return {left, right};
    }

    static std::string complaintOf(const std::vector<std::string>& files, const ForeignDetails& details = {})
    {
        try {
            (void)readForeign(files, details);
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "no complaint";
    }

    const std::string kalibr =
        "cam0:\n  camera_model: pinhole\n  intrinsics: [500, 505, 320, 240]\n"
        "  distortion_model: radtan\n  distortion_coeffs: [-0.1, 0.02, 0.001, 0.0005]\n"
        "  resolution: [640, 480]\ncam1:\n  camera_model: pinhole\n"
        "  intrinsics: [510, 507, 322, 238]\n  distortion_model: radtan\n"
        "  distortion_coeffs: [-0.11, 0.02, 0, 0]\n  resolution: [640, 480]\n  T_cn_cnm1:\n"
        "  - [0.9998, -0.01, 0.0173205, -0.12]\n  - [0.0101, 0.99993, -0.006, 0.002]\n"
        "  - [-0.01726, 0.00617, 0.99983, 0.001]\n  - [0, 0, 0, 1]\n";
    const std::string middlebury = "cam0=[3979.911 0 1244.772; 0 3979.911 1019.507; 0 0 1]\n"
                                   "cam1=[3979.911 0 1369.115; 0 3979.911 1019.507; 0 0 1]\n"
                                   "doffs=124.343\nbaseline=193.001\nwidth=2964\nheight=1988\nndisp=270\n";
    const std::string kitti = "P0: 718.856 0 607.1928 0 0 718.856 185.2157 0 0 0 1 0\n"
                              "P1: 718.856 0 607.1928 -386.1448 0 718.856 185.2157 0 0 0 1 0\n";
    const support::ScratchFolder folder;
};

TEST_F(Exchange, RosRoundTripIsExact)
{
    for (const int coefficients : {0, 4, 5, 8}) {
        CalibrationPair pair = makePair();
        for (vision::Calibration* const camera : {&pair.left, &pair.right}) {
            camera->distortion = cv::Mat(1, coefficients, CV_32F);
            if (coefficients > 0) {
                cv::randu(camera->distortion, -0.3, 0.3);
            }
        }
        const std::string left = write("l.yaml", encodeCameraInfo(pair.left, "left"));
        const std::string right = write("r.yaml", encodeCameraInfo(pair.right, "right"));
        EXPECT_EQ(identify(left), CalibrationFormat::RosCameraInfo);
        const CalibrationPair back = readForeign({left, right}, {});
        for (const auto& [read, written] :
             {std::pair(&back.left, &pair.left), std::pair(&back.right, &pair.right)}) {
            EXPECT_EQ(cv::norm(read->cameraMatrix, written->cameraMatrix), 0);
            EXPECT_EQ(cv::norm(read->projectionMatrix, written->projectionMatrix), 0);
            EXPECT_EQ(cv::norm(read->rectificationMatrix, written->rectificationMatrix), 0);
            const int columns = std::max(5, coefficients); // 4 are written as 5
            ASSERT_EQ(read->distortion.cols, columns);
            const cv::Mat rest = read->distortion.colRange(coefficients, columns);
            EXPECT_EQ(rest.empty() ? 0 : cv::norm(rest), 0);
            EXPECT_TRUE(coefficients == 0 ||
                        cv::norm(read->distortion.colRange(0, coefficients), written->distortion) == 0);
        }
    }
    CalibrationPair pair = makePair();
    pair.left.distortion = cv::Mat::zeros(1, 14, CV_32F);
    EXPECT_THROW((void)encodeCameraInfo(pair.left, "left"), Failure);
}

TEST_F(Exchange, KalibrChainIsRectifiedAndItsPoseComesBack)
{
    const std::string chain = write("camchain.yaml", kalibr);
    EXPECT_EQ(identify(chain), CalibrationFormat::KalibrChain);
    const CalibrationPair pair = readForeign({chain}, {});
    EXPECT_EQ(pair.left.cameraMatrix.at<float>(1, 1), 505);
    EXPECT_EQ(pair.right.distortion.at<float>(0), -0.11f);
    const auto projection = [](const vision::Calibration& c, int x) {
        return double{c.projectionMatrix.at<float>(0, x)};
    };
    const double baseline = -projection(pair.right, 3) / projection(pair.right, 0);
    EXPECT_NEAR(baseline, std::sqrt(0.12 * 0.12 + 0.002 * 0.002 + 0.001 * 0.001), 1e-6);
    const std::string plain = encodePlain(pair);
    const cv::FileStorage json(
        plain, cv::FileStorage::READ | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_JSON);
    std::vector<double> translation, firstRow;
    json["T"] >> translation;
    json["R"][0] >> firstRow;
    const double tolerance = 1e-5; // of single precision
    EXPECT_NEAR(translation[0], -0.12, tolerance);
    EXPECT_NEAR(translation[1], 0.002, tolerance);
    EXPECT_NEAR(firstRow[2], 0.0173205, 3e-4); // the given matrix is a rotation to four digits

    std::string swapped = kalibr; // the same rig with the cameras named the other way round
    swapped.replace(swapped.find("-0.12]"), 6, "0.12]");
    EXPECT_GT(readForeign({write("swapped.yaml", swapped)}, {}).left.cameraMatrix.at<float>(0, 0), 505);
}

TEST_F(Exchange, RectifiedDataSetsKeepTheirGeometry)
{
    const CalibrationPair pair = readForeign({write("calib.txt", middlebury)}, {});
    EXPECT_EQ(cv::Size(pair.left.width, pair.left.height), cv::Size(2964, 1988));
    EXPECT_FLOAT_EQ(pair.right.projectionMatrix.at<float>(0, 2), 1369.115f);
    EXPECT_NEAR(-pair.right.projectionMatrix.at<float>(0, 3) / 3979.911, 0.193001, 1e-6);
    const CalibrationPair road = readForeign({write("kitti.txt", kitti)}, {cv::Size(1241, 376), {}, {}});
    EXPECT_FLOAT_EQ(road.right.projectionMatrix.at<float>(0, 3), -386.1448f);

    // The pair with colour has a baseline of its own, and its centres lie off the first camera's plane.
    const std::string four = write("four.txt",
                                   kitti + "P2: 700 0 600 45.4 0 700 185 -0.1 0 0 1 0.004\r\n"
                                           "P3: 700 0 600 -328.8 0 700 185 2.2 0 0 1 0.003\n\n");
    ForeignDetails details{cv::Size(1241, 376), {}, KittiCameras::Colour};
    const CalibrationPair colour = readForeign({four}, details);
    EXPECT_NEAR(colour.right.projectionMatrix.at<float>(0, 3), -330.6 - 43.0, 1e-3);
    details.kittiCameras = KittiCameras::Grey;
    EXPECT_FLOAT_EQ(readForeign({four}, details).right.projectionMatrix.at<float>(0, 3), -386.1448f);
    details.kittiCameras.reset();
    EXPECT_THAT(complaintOf({four}, details), HasSubstr("two pairs of cameras"));
}

TEST_F(Exchange, OpenCvSampleTakesItsUnit)
{
    const CalibrationPair pair = makePair();
    const std::string intrinsics = folder.path() + "/intrinsics.yml",
                      extrinsics = folder.path() + "/extrinsics.yml";
    const auto store = [](const std::string& file,
                          const std::vector<std::pair<const char*, cv::Mat>>& entries) {
        cv::FileStorage storage(file, cv::FileStorage::WRITE);
        for (const auto& [key, matrix] : entries) {
            storage << key << matrix;
        }
    };
    store(intrinsics,
          {{"M1", cv::Mat_<double>(pair.left.cameraMatrix)},
           {"D1", pair.left.distortion},
           {"M2", pair.right.cameraMatrix},
           {"D2", pair.right.distortion}});
    store(extrinsics,
          {{"R1", pair.left.rectificationMatrix},
           {"R2", pair.right.rectificationMatrix},
           {"P1", pair.left.projectionMatrix},
           {"P2", pair.right.projectionMatrix}});
    EXPECT_EQ(identify(intrinsics), CalibrationFormat::OpenCvStereo);
    EXPECT_EQ(identify(extrinsics), CalibrationFormat::OpenCvStereo);
    const CalibrationPair read = readForeign({intrinsics, extrinsics}, {cv::Size(640, 480), 0.025, {}});
    EXPECT_EQ(cv::norm(read.left.cameraMatrix, pair.left.cameraMatrix), 0);
    EXPECT_FLOAT_EQ(read.right.projectionMatrix.at<float>(0, 3), -500 * support::baseline * 0.025f);
    EXPECT_THAT(complaintOf({intrinsics, extrinsics}), HasSubstr("size of the images"));
    EXPECT_THAT(complaintOf({write("1.txt", middlebury)}, {{}, 1, {}}), HasSubstr("unit that is known"));
    EXPECT_THAT(complaintOf({write("1.txt", middlebury)}, {cv::Size(2, 1), {}, {}}),
                HasSubstr("holds the size"));
    EXPECT_THAT(complaintOf({write("1.txt", middlebury)}, {{}, {}, KittiCameras::Grey}),
                HasSubstr("one pair of cameras"));
    EXPECT_THAT(complaintOf({intrinsics, extrinsics}, {cv::Size(640, 480), {}, {}}),
                HasSubstr("in what its lengths are"));
    EXPECT_THAT(complaintOf({intrinsics, intrinsics}, {cv::Size(640, 480), 1, {}}),
                HasSubstr("lacks a usable matrix R1"));

    const std::string deep = write("deep.yml", "%YAML:1.0\nR1: " + std::string(200'000, '[') + '\n');
    const std::string typed =
        write("typed.yml",
              "%YAML:1.0\nR1: { rows: 3, cols: 3, dt: \"" + std::string(200, 'f') + "\", data: [1] }\n");
    const std::string bomb = folder.path() + "/bomb.yml.gz";
    support::runShell(folder.path(), "(echo %YAML:1.0; head -c 50M /dev/zero) | gzip >bomb.yml.gz");
    const std::pair<std::string, const char*> rows[] = {
        {deep, "nested too deeply"},
        {typed, "dt is no element type"},
        {bomb, "larger than 1 MiB"},
        {write("torn.yml", "%YAML:1.0\nR1: [1\n"), "no document that OpenCV can read"},
        {write("list.yml", "%YAML:1.0\n- 1\n"), "its M1 cannot be read"},
        {folder.path() + "/none.yml", "cannot be read"},
        {folder.path(), "it is a folder"},
    };
    for (const auto& [file, complaint] : rows) {
        EXPECT_THAT(complaintOf({intrinsics, file}, {cv::Size(640, 480), 1, {}}),
                    testing::AllOf(HasSubstr(file), HasSubstr(complaint)));
    }
}

TEST_F(Exchange, RefusesByNameWhatTheRecordCannotHold)
{
    const auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    };
    const std::string info = encodeCameraInfo(makePair().left, "left");
    const std::pair<std::string, const char*> rows[] = {
        {replaced(kalibr, "radtan", "equidistant"), "\"equidistant\""},
        {replaced(kalibr, "pinhole", "omni"), "\"omni\""},
        {kalibr.substr(0, kalibr.find("cam1:")), "one camera only"},
        {replaced(kalibr, "[640, 480]", "[640]"), "resolution must be a list of 2 numbers"},
        {replaced(kalibr, "[500, 505", "[.nan, 505"), "intrinsics"},
        {replaced(kalibr, "-0.12]\n", "0.0001]\n"), "side by side"},
        {"cam0: [", "no readable YAML"},
        {replaced(middlebury, "baseline=193.001", "baseline=x"), "baseline must hold 1 numbers"},
        {replaced(middlebury, "[3979.911", "[-3979.911"), "same f twice"},
        {replaced(kalibr, "[640, 480]", "[640, 480.5]"), "resolution is 480.5"},
        {replaced(kalibr, "[640, 480]", "[640, 40000]"), "1 to 32767"},
        {replaced(kalibr, "0.9998,", "0.8998,"), "no rotation"},
        {replaced(kalibr, "0.99983,", "-0.99983,"), "no rotation"},
        {replaced(kalibr, "[0, 0, 0, 1]", "[0, 0, 0, 2]"), "last row"},
        {replaced(kalibr, "[500, 505", "[0x1F4, 505"), "intrinsics"},
        {replaced(kalibr, "[500, 505", "[500 px, 505"), "intrinsics"},
        {replaced(kalibr, "[500, 505", "[-500, 505"), "focal lengths must be positive"},
        {replaced(kalibr, "[-0.1,", "[[0, 0], *a, *a, "), "no readable YAML (line 5"},
        {"cam0: 1\ncam1: 2\n", "is not built as a camera chain"},
        {"cam0: " + std::string(60'000, '['), "no readable YAML"},
        {kalibr + std::string(70'000, '\n'), "more than 65536 bytes"},
        {replaced(middlebury, "0 3979.911 1019", "0 3979 1019"), "same f twice and no skew"},
        {replaced(middlebury, "3979.911 0 1369", "3979.911 1 1369"), "cam1 is no camera of rectified"},
        {replaced(middlebury, "193.001", "193.001mm"), "baseline must hold 1 numbers"},
        {replaced(middlebury, "ndisp=270", "rubbish"), "\"rubbish\" is none"},
        {middlebury + "width=5\n", "comes twice"},
        {replaced(middlebury, "width=2964", "width=1e9"), "width is 1000000000"},
        {kitti, "size of the images"},
        {info, "give two files"},
        {replaced(info, "plumb_bob", "equidistant"), "give two files"},
        {"no calibration", "no known calibration"},
    };
    for (const auto& [text, complaint] : rows) {
        EXPECT_THAT(complaintOf({write("file.txt", text)}), HasSubstr(complaint));
    }
    const std::string fisheye = write("fisheye.yaml", replaced(info, "plumb_bob", "equidistant"));
    EXPECT_THAT(complaintOf({fisheye, fisheye}), HasSubstr("\"equidistant\""));
    EXPECT_THAT(complaintOf({folder.path()}), HasSubstr(folder.path()));

    // A list that its aliases would make a hundred million numbers long.
    std::string wild = "a: &a [[1, 1, 1, 1, 1, 1, 1, 1, 1, 1]";
    const auto repeat = [&wild](const std::string& alias) {
        for (int i = 0; i < 7000; ++i) {
            wild += alias;
        }
        wild += "]\n";
    };
    repeat(", 1");
    wild += "b: &b [*a";
    repeat(", *a");
    EXPECT_THAT(
        complaintOf({write("aliases.yaml", wild + replaced(kalibr, "[-0.1, 0.02, 0.001, 0.0005]", "*b"))}),
        HasSubstr("distortion_coeffs must be a list of 4 numbers"));

    const CalibrationPair own = makePair();
    own.left.save(folder.path() + "/own-left.yml.gz");
    own.right.save(folder.path() + "/own-right.yml.gz");
    EXPECT_EQ(complaintOf({folder.path() + "/own-left.yml.gz", folder.path() + "/own-right.yml.gz"}),
              "no complaint");
    try {
        (void)loadCalibration(write("camchain.yaml", kalibr));
        ADD_FAILURE() << "a foreign file was loaded";
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("is a camera chain of Kalibr"));
    }
}

} // namespace
