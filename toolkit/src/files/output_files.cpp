// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/files/output_files.h>

#include <vision/toolkit/failure.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace vision::toolkit {

namespace fs = std::filesystem;

namespace {

/// The folders on the way to this one that do not exist yet, outermost first.
std::vector<fs::path> findMissing(const fs::path& folder)
{
    std::vector<fs::path> missing;
    std::error_code ignored;
    for (fs::path path = folder; !path.empty() && !fs::exists(path, ignored); path = path.parent_path()) {
        missing.insert(missing.begin(), path);
    }
    return missing;
}

/// Gives a file, if there is one, a second name.
void keep(const fs::path& file, const fs::path& secondName)
{
    std::error_code error;
    fs::create_hard_link(file, secondName, error);
    if (error) { // some file systems have no links
        fs::copy_file(file, secondName, error);
    }
}

} // namespace

OutputFolder::OutputFolder(const fs::path& folder, bool mayOverwrite, const std::string& option)
    : _path(folder), _mayOverwrite(mayOverwrite), _option(option), _made(findMissing(folder))
{
    const std::string name = option + " " + folder.string();
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw Failure(name + ": cannot make the folder: " + error.message() + "; choose another one");
    }
    if (!fs::is_directory(folder, error)) {
        throw Failure(name + ": is not a folder; choose another name");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw Failure(name + ": cannot write into the folder: " + std::strerror(errno) +
                      "; choose another one");
    }
}

OutputFolder::~OutputFolder()
{
    for (auto made = _made.rbegin(); made != _made.rend(); ++made) {
        std::error_code ignored; // a folder that holds something stays
        fs::remove(*made, ignored);
    }
}

void OutputFolder::requireFree(const std::string& name) const
{
    const fs::path file = _path / name;
    std::error_code ignored;
    const fs::file_status status = fs::status(file, ignored);
    if (!fs::exists(status)) {
        return;
    }
    if (!_mayOverwrite) {
        throw Failure(file.string() + ": exists already; add --force to overwrite it or choose another " +
                      _option);
    }
    if (!fs::is_regular_file(status)) {
        throw Failure(file.string() + ": is not a file that can be overwritten; choose another " + _option);
    }
}

OutputFiles::~OutputFiles()
{
    for (const File& file : _files) {
        std::error_code ignored;
        fs::remove(file.temporary, ignored);
        fs::remove(file.previous, ignored);
    }
}

fs::path OutputFiles::stage(const std::string& name)
{
    _folder.requireFree(name);
    // The name keeps its end: OpenCV takes the format of a file from it.
    const std::string suffix = std::to_string(getpid()) + "-" + name;
    _files.push_back({_folder.path() / (".unfinished-" + suffix),
                      _folder.path() / name,
                      _folder.path() / (".previous-" + suffix)});
    return _files.back().temporary;
}

void OutputFiles::write(const std::string& name, const std::string& bytes)
{
    const fs::path temporary = stage(name);
    errno = 0;
    std::ofstream stream(temporary, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw Failure(_files.back().final.string() + ": cannot write the file: " + std::strerror(errno) +
                      "; free space or choose another " + _folder.option());
    }
}

std::vector<fs::path> OutputFiles::commit()
{
    std::vector<fs::path> written;
    for (const File& file : _files) {
        std::error_code error;
        keep(file.final, file.previous);
        fs::rename(file.temporary, file.final, error);
        if (error) {
            for (std::size_t i = 0; i < written.size(); ++i) {
                std::error_code isNew;
                fs::rename(_files[i].previous, _files[i].final, isNew);
                if (isNew) {
                    fs::remove(_files[i].final, isNew);
                }
            }
            throw Failure(file.final.string() + ": cannot write the file: " + error.message() +
                          "; choose another " + _folder.option());
        }
        written.push_back(file.final);
    }
    return written;
}

} // namespace vision::toolkit
