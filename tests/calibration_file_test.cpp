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
    /// The entries of a saved record, each with the lines that belong to it.
    Lines savedEntries() const
    {
        _stored.save(_file);
        std::ifstream stream(_file);
        Lines entries;
        for (std::string line; std::getline(stream, line);) {
            if (line[0] == ' ') {
                entries.back() += line + '\n';
            } else if (line[0] != '%' && line[0] != '-') {
                entries.push_back(line + '\n');
            }
        }
        return entries;
    }

    void write(const Lines& entries) const
    {
        std::ofstream stream(_file);
        stream << "%YAML:1.0\n---\n";
        for (const std::string& entry : entries) {
            stream << entry;
        }
    }

    /// Loads over another record and expects a refusal after this number of fields was read.
    void expectLoadRefused(std::ptrdiff_t fieldsRead) const
    {
        Calibration loaded(_other);
        const auto load = [&] { loaded.load(_file); };
        const std::string text = textThrownBy<cv::Exception>(load);
        const std::string logged = "Cannot read calibration file \"" + _file + "\": " + text;
        expectRefusal<cv::Exception>(load, text, {calibrationError("load", logged)});
        Lines expected = fieldsOf(_stored);
        const Lines old = fieldsOf(_other);
        std::copy(old.begin() + fieldsRead, old.end(), expected.begin() + fieldsRead);
        EXPECT_EQ(fieldsOf(loaded), expected);
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
    for (const std::string extension : {".yml", ".xml", ".json", ".yml.gz"}) {
        const std::string file = _folder.path() + "/camera" + extension;
        RecordedLog log;
        stored.save(file);
        EXPECT_EQ(log.take(), (LogEntries{calibrationVerbose("save", "Write calibration width."),
                                          calibrationVerbose("save", "Write calibration height."),
                                          calibrationVerbose("save", "Write camera matrix."),
                                          calibrationVerbose("save", "Write distortion matrix."),
                                          calibrationVerbose("save", "Write rectification matrix."),
                                          calibrationVerbose("save", "Write projection matrix.")}));
        Calibration loaded(_other);
        loaded.load(file);
        EXPECT_TRUE(loaded == stored);
        std::ostringstream text;
        text << "Load calibration file: \"" << file
             << "\"\nWidth: 640\nHeight: 480\nCamera matrix: " << stored.cameraMatrix
             << "\nDistortion: " << stored.distortion
             << "\nRectification matrix: " << stored.rectificationMatrix
             << "\nProjection matrix: " << stored.projectionMatrix;
        EXPECT_EQ(log.take(), LogEntries{calibrationVerbose("load", text.str())});
    }
}

TEST_F(CalibrationFile, HoldsSixEntriesThatAreFoundByNameAndMayBeMissing)
{
    const Lines keys{"width",           "height", "cameraMatrix", "distortion", "rectificationMatrix",
                     "projectionMatrix"};
    const Lines entries = savedEntries();
    ASSERT_EQ(entries.size(), keys.size());
    const RecordedLog log;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(entries[i].substr(0, entries[i].find(':')), keys[i]);
        Lines others(entries.rbegin(), entries.rend());
        others[keys.size() - 1 - i] = "unknown: 7\n";
        write(others);
        Calibration loaded(_other);
        loaded.load(_file);
        Lines expected = fieldsOf(_stored);
        expected[i] = fieldsOf(Calibration())[i];
        EXPECT_EQ(fieldsOf(loaded), expected);
    }
    write({});
    Calibration loaded(_other);
    loaded.load(_file);
    EXPECT_TRUE(loaded == Calibration());
}

TEST_F(CalibrationFile, KeepsTheFieldsReadBeforeAnEntryThatIsNoMatrix)
{
    const Lines entries = savedEntries();
    for (std::size_t bad = 2; bad < entries.size(); ++bad) {
        Lines damaged = entries;
        damaged[bad].erase(damaged[bad].find(':'));
        damaged[bad] += ": 7\n";
        write(damaged);
        expectLoadRefused(static_cast<std::ptrdiff_t>(bad));
    }
}

TEST_F(CalibrationFile, LeavesTheRecordWhenADocumentCannotBeParsed)
{
    for (const char* const document : {"", "no calibration\n", "%YAML:1.0\n---\nwidth: [640\n"}) {
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
    const std::string openText = "Failed to open file: \"" + _file + "\".";
    const std::string openLog = "Cannot read calibration file \"" + _file + "\": " + openText;
    expectRefused([&] { calibration.load(_file); }, openText, calibrationError("load", openLog));
}

TEST_F(CalibrationFile, IsSilentlyNotWrittenToAMissingFolder)
{
    RecordedLog log;
    _stored.save(_folder.path() + "/missing/camera.yml");
    EXPECT_EQ(log.take().size(), 6U);
    EXPECT_TRUE(std::filesystem::is_empty(_folder.path()));
}

} // namespace
