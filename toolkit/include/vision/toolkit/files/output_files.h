// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_FILES_OUTPUT_FILES_H
#define VISION_TOOLKIT_FILES_OUTPUT_FILES_H

#include <vision/toolkit/export.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vision::toolkit {

/// The folder that results go to. It is made when missing, and removed again when nothing was put into it.
class VISION_TOOLKIT_EXPORT OutputFolder
{
public:
    /// @param option what the user chose the folder with, for messages
    /// @throws Failure when the folder cannot be made or written to
    OutputFolder(const std::filesystem::path& folder, bool mayOverwrite,
                 const std::string& option = "--output");
    ~OutputFolder();
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }
    const std::string& option() const { return _option; }

    /// Tests whether a file of this name may be written.
    /// @throws Failure when there is one that may not be overwritten
    void requireFree(const std::string& name) const;

private:
    std::filesystem::path _path;
    bool _mayOverwrite;
    std::string _option;
    std::vector<std::filesystem::path> _made; ///< outermost first
};

/// The files of one result: either all of them appear, complete, or none, and what they overwrite comes back.
///
/// They are written under temporary names beside their destination and renamed by commit(). What was not
/// committed is removed by the destructor.
class VISION_TOOLKIT_EXPORT OutputFiles
{
public:
    explicit OutputFiles(const OutputFolder& folder) : _folder(folder) {}
    ~OutputFiles();
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    /// Announces a file that the caller writes itself, to the returned temporary name.
    /// @throws Failure when there is one already that may not be overwritten
    std::filesystem::path stage(const std::string& name);

    /// Stages and writes a file.
    /// @throws Failure naming the file, as stage() or when it cannot be written in full
    void write(const std::string& name, const std::string& bytes);

    /// Gives all files their names.
    /// @throws Failure when one cannot get it
    /// @return the files, in the order in which they were staged
    std::vector<std::filesystem::path> commit();

private:
    struct File
    {
        std::filesystem::path temporary;
        std::filesystem::path final;
        std::filesystem::path previous; ///< second name of what commit() overwrites, until all is done
    };

    const OutputFolder& _folder;
    std::vector<File> _files;
};

} // namespace vision::toolkit

#endif
