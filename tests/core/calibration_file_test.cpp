// SPDX-License-Identifier: Apache-2.0
#include "support/calibrations.h"
#include "support/log_records.h"
#include "support/scratch_folder.h"

#include <fstream>

using namespace support;
using vision::Calibration;

namespace {

using Lines = std::vector<std::string>;

/// In the order of declaration.
const Lines keys{"width", "height", "cameraMatrix", "distortion", "rectificationMatrix", "projectionMatrix"};

/// One text for each field, matrices with all digits.
Lines fieldsOf(const Calibration& calibration)
{
    Lines fields{std::to_string(calibration.width), std::to_string(calibration.height)};
    for (const auto field : matrixFields) {
        std::ostringstream text;
        text << calibration.*field;
        fields.push_back(text.str());
    }
    return fields;
}

class CalibrationFile : public testing::Test
{
protected:
    /// Writes the entries of the stored record, last one first, but 7 under this key instead of one of them.
    void writeOdd(std::size_t replaced, const std::string& key) const
    {
        cv::FileStorage storage(_file, cv::FileStorage::WRITE);
        for (std::size_t left = keys.size(); left > 0; --left) {
            const std::size_t i = left - 1;
            if (i == replaced) {
                storage << key << 7;
            } else if (i < 2) {
                storage << keys[i] << (i == 0 ? _stored.width : _stored.height);
            } else {
                storage << keys[i] << _stored.*matrixFields.begin()[i - 2];
            }
        }
    }

    /// Loads over another record and expects a refusal after this number of fields was read.
    void expectLoadRefused(std::size_t fieldsRead) const
    {
        Calibration loaded(_other);
        const auto load = [&] { loaded.load(_file); };
        const std::string text = textThrownBy<cv::Exception>(load);
        const std::string logged = "Cannot read calibration file \"" + _file + "\": " + text;
        expectRefusal<cv::Exception>(load, text, {calibrationError("load", logged)});
        for (std::size_t i = 0; i < keys.size(); ++i) {
            EXPECT_EQ(fieldsOf(loaded)[i], fieldsOf(i < fieldsRead ? _stored : _other)[i]);
        }
    }

    const Calibration _stored = makeCalibration(640, 480, 0);
    const Calibration _other = makeCalibration(320, 240, 1);
    const ScratchFolder _folder;
    const std::string _file = _folder.path() + "/camera.yml";
};

TEST_F(CalibrationFile, RoundTripIsExactInEveryFormatAndIsLogged)
{
    Calibration stored(_stored);
    stored.distortion.release(); // an empty one comes back empty
    LogEntries saving;
    for (const std::string part : {"calibration width",
                                   "calibration height",
                                   "camera matrix",
                                   "distortion matrix",
                                   "rectification matrix",
                                   "projection matrix"}) {
        saving.push_back(calibrationVerbose("save", "Write " + part + "."));
    }
    for (const std::string extension : {".yml", ".xml", ".json", ".yml.gz"}) {
        RecordedLog log;
        const std::string file = _file + extension;
        stored.save(file);
        EXPECT_EQ(log.take(), saving);
        EXPECT_EQ(cv::FileStorage(file, cv::FileStorage::READ).root().keys(), keys);
        Calibration loaded(_other);
        loaded.load(file);
        EXPECT_TRUE(loaded == stored);
        const Lines fields = fieldsOf(stored);
        const std::string text = "Load calibration file: \"" + file + "\"\nWidth: 640\nHeight: 480" +
                                 "\nCamera matrix: " + fields[2] + "\nDistortion: " + fields[3] +
                                 "\nRectification matrix: " + fields[4] + "\nProjection matrix: " + fields[5];
        EXPECT_EQ(log.take(), LogEntries{calibrationVerbose("load", text)});
    }
}

TEST_F(CalibrationFile, TakesMissingEntriesAndKeepsTheFieldsBeforeARefusedOne)
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        SCOPED_TRACE(keys[i]);
        writeOdd(i, "unknown");
        Calibration loaded(_other);
        loaded.load(_file);
        Lines expected = fieldsOf(_stored);
        expected[i] = fieldsOf(Calibration())[i];
        EXPECT_EQ(fieldsOf(loaded), expected);
        if (i >= 2) {
            writeOdd(i, keys[i]); // no matrix
            expectLoadRefused(i);
        }
    }
    for (const char* const document : {"%YAML:1.0\n---\nwidth: [640\n", "no calibration\n"}) {
        std::ofstream(_file) << document;
        expectLoadRefused(0);
    }
}

TEST_F(CalibrationFile, RefusesNamesThatAreEmptyOrCannotBeOpened)
{
    Calibration calibration(_stored);
    const auto expectRefused = [&](const auto& call, const std::string& text, const std::string& logged) {
        expectRefusal<std::invalid_argument>(call, text, {logged});
        EXPECT_TRUE(calibration == _stored);
    };
    const std::string loadText = "Invalid calibration file: \"\".";
    expectRefused([&] { calibration.load(""); }, loadText, calibrationError("load", loadText));
    const std::string saveText = "Invalid calibration save file: ";
    expectRefused([&] { calibration.save(""); }, saveText, calibrationError("save", saveText));
    const std::string missing = _folder.path() + "/missing/camera.yml";
    const std::string openText = "Failed to open file: \"" + missing + "\".";
    const std::string openLog = "Cannot read calibration file \"" + missing + "\": " + openText;
    expectRefused([&] { calibration.load(missing); }, openText, calibrationError("load", openLog));
    RecordedLog log(tarn::LogLevel::Error);
    for (const std::string& lost : {missing, std::string("/proc/camera.yml"), std::string("/dev/full")}) {
        EXPECT_NO_THROW(calibration.save(lost)); // a vanished folder, a read-only one, a full disk
    }
    EXPECT_EQ(log.take(), LogEntries());
}

} // namespace
