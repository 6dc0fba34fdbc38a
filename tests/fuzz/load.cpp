#include <tarn/log.h>
#include <vision/calibration.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

/// A file of this process in the temporary folder, removed at the end.
class ScratchFile
{
public:
    explicit ScratchFile(const std::string& suffix)
        : _path(std::filesystem::temp_directory_path() /
                ("stereovision-fuzz-" + std::to_string(getpid()) + suffix))
    {
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() { std::filesystem::remove(_path); }

    std::string write(const char* data, std::size_t size) const
    {
        std::ofstream(_path, std::ios::binary).write(data, static_cast<std::streamsize>(size));
        return _path.string();
    }

private:
    std::filesystem::path _path;
};

bool logsEverything()
{
    tarn::log::setLevel("vision.stereo.calibration", tarn::LogLevel::Verbose);
    tarn::log::setSink([](const tarn::log::Record&) {});
    return true;
}

} // namespace

/// Loads the input as a file, which is refused with a standard exception if at all, and uses what came of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool logs = logsEverything();
    static const ScratchFile plain(".yml");
    static const ScratchFile compressed(".yml.gz");
    const bool isCompressed = logs && size > 1 && data[0] == 0x1f && data[1] == 0x8b;
    const ScratchFile& file = isCompressed ? compressed : plain;
    try {
        vision::Calibration calibration;
        calibration.load(file.write(reinterpret_cast<const char*>(data), size));
        const vision::Calibration copy(calibration);
        (void)(copy == calibration);
        (void)calibration.scaleTo(calibration.width, calibration.height);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
    }
    return 0;
}
