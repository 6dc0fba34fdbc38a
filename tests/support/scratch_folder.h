// SPDX-License-Identifier: Apache-2.0
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
    ScratchFolder() {} // clang wants one that is written for const objects
    ScratchFolder(const ScratchFolder&) = delete;
    ~ScratchFolder() { std::filesystem::remove_all(_path); }

    const std::string& path() const { return _path; }

private:
    std::string _template = (std::filesystem::temp_directory_path() / "stereovision-test-XXXXXX").string();
    const std::string _path = mkdtemp(_template.data()); // throws when there is none, as for any null
};

} // namespace support

#endif
