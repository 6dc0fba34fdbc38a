// SPDX-License-Identifier: Apache-2.0
/// @file
/// The one way in which results become files: complete or not at all, through no link, and never over
/// something that was not meant.
#ifndef VISION_TOOLKIT_FILES_OUTPUT_FILES_H
#define VISION_TOOLKIT_FILES_OUTPUT_FILES_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vision::toolkit {

/// What a file holds.
using Bytes = std::vector<std::uint8_t>;

/// What becomes of a file that has the name of a result already.
enum class ExistingFile
{
    Refuse,  ///< it is a Failure
    Replace, ///< it is replaced; its mode and its owner stay
    Keep,    ///< it counts as the result, unless it is empty
};

/// The folder that results go to. It is made when missing, and removed again when nothing was put into it.
///
/// What runs that were killed have left in it is put right first: results that were complete get their names,
/// the rest is removed. What belongs to another user or to a run that may still go on stays.
/// May be used by several threads, and one folder by several processes.
class VISION_TOOLKIT_EXPORT OutputFolder
{
public:
    /// @throws Failure "folder-unusable" when the folder cannot be made or written to
    explicit OutputFolder(const std::filesystem::path& folder, ExistingFile existing = ExistingFile::Refuse);
    ~OutputFolder();
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }
    ExistingFile existing() const { return _existing; }

    /// What was found of runs that were killed: "left-over".
    const Notes& notes() const { return _notes; }

    /// Whether a file of this name is there: a regular one that is not empty.
    bool has(const std::string& name) const;

    /// Whether a file of this name need not be written since it is there and is kept.
    bool keeps(const std::string& name) const { return _existing == ExistingFile::Keep && has(name); }

    /// Whether what has this name may be replaced, if there is something.
    bool mayReplace(const std::string& name) const;

    /// Tests whether a file of this name may be written.
    /// @throws Failure "file-exists" when there is one that may not be overwritten, "not-a-file" for a
    ///         folder, a link or a device, "name-unusable" when no file can be called so
    void requireFree(const std::string& name) const;

private:
    std::filesystem::path _path;
    ExistingFile _existing;
    std::vector<std::filesystem::path> _made; ///< outermost first
    Notes _notes;
};

/// The files of one result: either all of them appear, complete, or none, and what they overwrite comes back.
///
/// They are written into a folder beside their destination, flushed to the disk and renamed by commit(). What
/// was not committed is removed by the destructor. What a kill in the middle of commit() leaves, the next
/// OutputFolder completes.
class VISION_TOOLKIT_EXPORT OutputFiles
{
public:
    /// @throws Failure "write-failed" when nothing can be written into the folder
    explicit OutputFiles(const OutputFolder& folder);
    ~OutputFiles();
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    /// Where the files will be.
    const OutputFolder& folder() const { return _folder; }

    /// Announces a file that the caller writes itself, to the returned path, which ends in the name.
    /// @throws Failure as OutputFolder::requireFree
    std::filesystem::path stage(const std::string& name);

    /// Stages and writes a file.
    /// @throws Failure naming the file, as stage(), or "write-failed" when it cannot be written in full
    void write(const std::string& name, const Bytes& bytes);
    void write(const std::string& name, const std::string& text);

    /// Gives all files their names.
    /// @throws Failure "write-failed" when one cannot be flushed or get its name
    /// @return the files, in the order in which they were staged
    std::vector<std::filesystem::path> commit();

private:
    class Staging;

    void write(const std::string& name, const void* bytes, std::size_t count);

    const OutputFolder& _folder;
    std::unique_ptr<Staging> _staging;
    std::vector<std::string> _names;
};

} // namespace vision::toolkit

#endif
