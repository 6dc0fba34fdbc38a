#ifndef SUPPORT_SCRATCH_FOLDER_H
#define SUPPORT_SCRATCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace support {

/// A new empty folder of this test's own, removed with everything in it at the end.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "stereovision-test-XXXXXX").string();
        if (!mkdtemp(name.data())) {
            throw std::system_error(errno, std::generic_category(), name);
        }
        _path = name;
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }

    std::string file(const std::string& name) const { return (_path / name).string(); }

    bool isEmpty() const { return std::filesystem::is_empty(_path); }

private:
    std::filesystem::path _path;
};

} // namespace support

#endif
