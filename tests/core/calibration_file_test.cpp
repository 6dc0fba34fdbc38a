#include "support/calibrations.h"
#include "support/log_records.h"
#include "support/scratch_folder.h"

#include <fstream>

using namespace support;
using vision::Calibration;

namespace {

using Lines = std::vector<std::string>;

/// One text for each field, in the order of declaration, matrices with all digits.
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
    CalibrationFile()
    {
        _stored.save(_file);
        std::ifstream stream(_file);
        for (std::string line; std::getline(stream, line);) {
            if (line[0] == ' ') {
                _entries.back() += '\n' + line;
            } else if (line[0] != '%' && line[0] != '-') {
                _entries.push_back(line);
            }
        }
    }

    void write(const Lines& entries) const
    {
        std::ofstream stream(_file);
        stream << "%YAML:1.0\n---\n";
        for (const std::string& entry : entries) {
            stream << entry << '\n';
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
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(fieldsOf(loaded)[i], fieldsOf(i < fieldsRead ? _stored : _other)[i]);
        }
    }

    const Calibration _stored = makeCalibration(640, 480, 0);
    const Calibration _other = makeCalibration(320, 240, 1);
    const ScratchFolder _folder;
    const std::string _file = _folder.path() + "/camera.yml";
    Lines _entries; ///< of the saved file, each with the lines that belong to it
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
        stored.save(_file + extension);
        EXPECT_EQ(log.take(), saving);
        Calibration loaded(_other);
        loaded.load(_file + extension);
        EXPECT_TRUE(loaded == stored);
        const Lines fields = fieldsOf(stored);
        EXPECT_EQ(log.take(),
                  LogEntries{calibrationVerbose(
                      "load",
                      "Load calibration file: \"" + _file + extension + "\"\nWidth: 640\nHeight: 480" +
                          "\nCamera matrix: " + fields[2] + "\nDistortion: " + fields[3] +
                          "\nRectification matrix: " + fields[4] + "\nProjection matrix: " + fields[5])});
    }
}

TEST_F(CalibrationFile, HoldsSixEntriesThatAreFoundByNameAndMayBeMissing)
{
    const Lines keys{
        "width", "height", "cameraMatrix", "distortion", "rectificationMatrix", "projectionMatrix"};
    ASSERT_EQ(_entries.size(), keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(_entries[i].substr(0, _entries[i].find(':')), keys[i]);
        Lines others(_entries.rbegin(), _entries.rend());
        others[keys.size() - 1 - i] = "unknown: 7";
        write(others);
        Calibration loaded(_other);
        loaded.load(_file);
        Lines expected = fieldsOf(_stored);
        expected[i] = fieldsOf(Calibration())[i];
        EXPECT_EQ(fieldsOf(loaded), expected);
    }
}

TEST_F(CalibrationFile, KeepsTheFieldsReadBeforeWhatCannotBeRead)
{
    for (std::size_t bad = 2; bad < _entries.size(); ++bad) {
        Lines damaged = _entries;
        damaged[bad] = damaged[bad].substr(0, damaged[bad].find(':')) + ": 7"; // no matrix
        write(damaged);
        expectLoadRefused(bad);
    }
    write({"width: [640"});
    expectLoadRefused(0);
    std::ofstream(_file) << "no calibration\n";
    expectLoadRefused(0);
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
