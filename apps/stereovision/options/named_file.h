// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_NAMED_FILE_H
#define TOOL_OPTIONS_NAMED_FILE_H

#include <vision/toolkit/files/output_files.h>

#include <filesystem>
#include <string>

namespace tool {

/// A result in a file that an option names.
class NamedFile
{
public:
    /// @throws Failure as OutputFolder::requireFree(): before the work, not after it
    NamedFile(const std::filesystem::path& file, vision::toolkit::ExistingFile existing)
        : _name(file.filename().string()),
          _folder(file.has_parent_path() ? file.parent_path() : ".", existing)
    {
        _folder.requireFree(_name);
    }

    template <typename Contents>
    void write(const Contents& contents) const
    {
        vision::toolkit::OutputFiles output(_folder);
        output.write(_name, contents);
        output.commit();
    }

    const vision::toolkit::Notes& notes() const { return _folder.notes(); }

private:
    std::string _name;
    vision::toolkit::OutputFolder _folder;
};

} // namespace tool

#endif
