// SPDX-License-Identifier: Apache-2.0
/// @file
/// How results are kept until they have their names, so that whatever kills a run, the next one knows what to
/// do with what it finds in the folder of results:
/// - `.unfinished-ID/`: not complete, to be removed;
/// - `.finishing-ID/` and `.replacing-ID/`: complete. Every file in it is to be moved out, of the latter over
///   what is there;
/// - `.previous-ID/`: what was replaced. It comes back if the rest is unfinished.
///
/// IDs are random rather than the number of the process, since containers and machines share folders.
#ifndef VISION_TOOLKIT_SRC_FILES_STAGING_H
#define VISION_TOOLKIT_SRC_FILES_STAGING_H

#include "files/system.h"

#include <vision/toolkit/note.h>

#include <filesystem>
#include <string>

namespace vision::toolkit {

/// The folders of one result. They are locked as long as this process lives.
class StagingFolder
{
public:
    /// @throws Failure "write-failed"
    explicit StagingFolder(const std::filesystem::path& results);
    ~StagingFolder(); ///< removes what is left
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    std::filesystem::path file(const std::string& name) const { return _path / name; }
    std::filesystem::path previous(const std::string& name) const { return _previous / name; }

    /// Says that all files are complete; from here on, they appear even if the process is killed.
    /// @return false with errno
    bool finish(bool mayReplace);

    /// The opposite.
    void giveUp();

    /// Makes the folder for what is replaced.
    void makePrevious() const;

    /// Leaves everything to the next run.
    void abandon() { _isAbandoned = true; }

private:
    std::filesystem::path _results;
    std::string _id;
    std::filesystem::path _path;
    std::filesystem::path _previous;
    Descriptor _lock;
    bool _isAbandoned = false;
};

/// Puts right what runs that were killed have left in a folder of results.
/// @return what was found
Notes tidyUp(const std::filesystem::path& results);

} // namespace vision::toolkit

#endif
