#ifndef SUPPORT_SCRATCH_FOLDER_H
#define SUPPORT_SCRATCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <string>

namespace support {

/// A new empty folder of this test's own, removed with everything in it at the end.
class ScratchFolder
{
public:
    ScratchFolder() : _path((std::filesystem::temp_directory_path() / "stereovision-test-XXXXXX").string())
    {
        if (!mkdtemp(_path.data())) {
            throw std::filesystem::filesystem_error(_path, std::error_code(errno, std::generic_category()));
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() { std::filesystem::remove_all(_path); }

    const std::string& path() const { return _path; }

private:
    std::string _path;
};

} // namespace support

#endif
