#include "support/calibrations.h"
#include "support/log_records.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using vision::Calibration;

namespace {

/// A key with the field that it holds; with neither field it is one that holds the number 7.
struct Entry
{
    std::string key;
    int Calibration::*number = nullptr;
    cv::Mat Calibration::*matrix = nullptr;
};

using Entries = std::vector<Entry>;

const Entries allEntries{
    Entry{"width", &Calibration::width, nullptr},
    Entry{"height", &Calibration::height, nullptr},
    Entry{"cameraMatrix", nullptr, &Calibration::cameraMatrix},
    Entry{"distortion", nullptr, &Calibration::distortion},
    Entry{"rectificationMatrix", nullptr, &Calibration::rectificationMatrix},
    Entry{"projectionMatrix", nullptr, &Calibration::projectionMatrix},
};

class CalibrationFile : public testing::Test
{
protected:
    void write(const Entries& entries) const
    {
        cv::FileStorage storage(_file, cv::FileStorage::WRITE);
        for (const auto& [key, number, matrix] : entries) {
            storage << key;
            matrix ? storage << _stored.*matrix : storage << (number ? _stored.*number : 7);
        }
    }

    /// The record with the fields of these entries replaced by the stored ones.
    Calibration replaced(Calibration record, const Entries& entries) const
    {
        for (const auto& [key, number, matrix] : entries) {
            if (matrix) {
                record.*matrix = _stored.*matrix;
            } else if (number) {
                record.*number = _stored.*number;
            }
        }
        return record;
    }

    /// Loads over another record and expects a refusal after these entries were taken.
    void expectLoadRefused(const Entries& taken) const
    {
        Calibration loaded(_other);
        const auto load = [&] { loaded.load(_file); };
        const std::string text = support::textThrownBy<cv::Exception>(load);
        support::expectRefusal<cv::Exception>(
            load, text,
            {support::calibrationError("load", "Cannot read calibration file \"" + _file + "\": " + text)});
        EXPECT_TRUE(loaded == replaced(_other, taken));
    }

    const Calibration _stored = support::makeCalibration(640, 480, 0);
    const Calibration _other = support::makeCalibration(320, 240, 1);
    const support::ScratchFolder _folder;
    const std::string _file = _folder.path() + "/camera.yml";
};

std::string verbose(const std::string& function, const std::string& text)
{
    return support::logEntry(tarn::LogLevel::Verbose, "vision.stereo.calibration", function, text);
}

TEST_F(CalibrationFile, RoundTripIsExactInEveryFormatAndIsLogged)
{
    Calibration stored(_stored);
    stored.distortion = cv::Mat(); // an empty one comes back empty
    for (const std::string extension : {".yml", ".yaml", ".xml", ".json", ".yml.gz"}) {
        const std::string file = _folder.path() + "/camera" + extension;
        Calibration loaded(_other);
        support::RecordedLog log;
        stored.save(file);
        support::LogEntries expected;
        for (const std::string part : {"calibration width", "calibration height", "camera matrix",
                                       "distortion matrix", "rectification matrix", "projection matrix"}) {
            expected.push_back(verbose("save", "Write " + part + "."));
        }
        EXPECT_EQ(log.take(), expected);
        loaded.load(file);
        EXPECT_TRUE(loaded == stored);
        std::ostringstream text;
        text << "Load calibration file: \"" << file
             << "\"\nWidth: 640\nHeight: 480\nCamera matrix: " << stored.cameraMatrix
             << "\nDistortion: " << stored.distortion
             << "\nRectification matrix: " << stored.rectificationMatrix
             << "\nProjection matrix: " << stored.projectionMatrix;
        EXPECT_EQ(log.take(), support::LogEntries{verbose("load", text.str())});
    }
}

TEST_F(CalibrationFile, HoldsTheSixKeysInOrder)
{
    _stored.save(_file);
    const cv::FileStorage storage(_file, cv::FileStorage::READ);
    std::vector<std::string> expected;
    for (const Entry& entry : allEntries) {
        expected.push_back(entry.key);
    }
    EXPECT_EQ(storage.root().keys(), expected);
}

TEST_F(CalibrationFile, LoadsByNameAndTakesMissingEntriesAsEmpty)
{
    std::vector<Entries> files{{}, {allEntries.rbegin(), allEntries.rend()}};
    files.back().insert(files.back().begin() + 2, Entry{"unknown"});
    for (std::ptrdiff_t missing = 0; missing < 6; ++missing) {
        files.push_back(allEntries);
        files.back().erase(files.back().begin() + missing);
    }
    for (const Entries& entries : files) {
        write(entries);
        Calibration loaded(_other);
        support::RecordedLog log(tarn::LogLevel::Info);
        loaded.load(_file);
        EXPECT_TRUE(loaded == replaced({}, entries));
        EXPECT_EQ(log.take(), support::LogEntries());
    }
}

TEST_F(CalibrationFile, KeepsTheFieldsReadBeforeAnEntryThatIsNoMatrix)
{
    for (std::ptrdiff_t bad = 2; bad < 6; ++bad) {
        Entries entries = allEntries;
        entries.at(static_cast<std::size_t>(bad)).matrix = nullptr;
        write(entries);
        expectLoadRefused({allEntries.begin(), allEntries.begin() + bad});
    }
}

TEST_F(CalibrationFile, IsUntouchedByADocumentThatOpenCvCannotParse)
{
    for (const std::string document :
         {"", "no calibration\n", "%YAML:1.0\n---\nwidth: [640\n", "{ \"width\": "}) {
        std::ofstream(_file) << document;
        expectLoadRefused({});
    }
}

TEST_F(CalibrationFile, NamesTheFileThatCannotBeOpened)
{
    Calibration calibration(_stored);
    const std::string text = "Failed to open file: \"" + _file + "\".";
    support::expectRefusal<std::invalid_argument>(
        [&] { calibration.load(_file); }, text,
        {support::calibrationError("load", "Cannot read calibration file \"" + _file + "\": " + text)});
    EXPECT_TRUE(calibration == _stored);
}

TEST_F(CalibrationFile, RefusesAnEmptyName)
{
    Calibration calibration(_stored);
    const std::string loadText = "Invalid calibration file: \"\".";
    support::expectRefusal<std::invalid_argument>([&] { calibration.load(""); }, loadText,
                                                  {support::calibrationError("load", loadText)});
    const std::string saveText = "Invalid calibration save file: ";
    support::expectRefusal<std::invalid_argument>([&] { calibration.save(""); }, saveText,
                                                  {support::calibrationError("save", saveText)});
    EXPECT_TRUE(calibration == _stored);
}

TEST_F(CalibrationFile, IsSilentlyNotWrittenToAMissingFolder)
{
    support::RecordedLog log;
    _stored.save(_folder.path() + "/missing/camera.yml");
    EXPECT_EQ(log.take().size(), 6U);
    EXPECT_TRUE(std::filesystem::is_empty(_folder.path()));
}

} // namespace
