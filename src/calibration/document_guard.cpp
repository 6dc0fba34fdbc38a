#include "calibration/document_guard.h"

#include "calibration/document_syntax.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

namespace vision::detail {

namespace {

/// A calibration takes some kilobytes; OpenCV needs about ten times the size of the document.
constexpr std::size_t maxDocumentBytes = std::size_t{1} << 20;

/// The name of the file to open, without what OpenCV cuts off or changes.
struct Source
{
    std::string name;
    bool compressed = false;
};

/// A name ends before its last '?'; ".gz", and a digit after it that is not part of the name, select zlib,
/// which reads uncompressed files too.
Source findSource(const std::string& filename)
{
    Source source{filename.c_str()}; // up to a NUL
    source.name.erase(std::min(source.name.rfind('?'), source.name.size()));
    const std::size_t dot = std::min(source.name.rfind('.'), source.name.size());
    const std::string extension = source.name.substr(dot);
    const bool hasLevel = extension.size() == 4 && '0' <= extension[3] && extension[3] <= '9';
    source.compressed = extension.compare(0, 3, ".gz") == 0 && (extension.size() == 3 || hasLevel);
    if (source.compressed) {
        source.name.resize(dot + 3);
    }
    return source;
}

/// Reads one byte more than a document may have at most.
std::string readPlain(const std::string& name)
{
    std::string text(maxDocumentBytes + 1, '\0');
    std::ifstream file(name, std::ios::binary);
    file.read(&text[0], static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

std::string inflate(const std::string& name)
{
    std::string text;
    const std::unique_ptr<gzFile_s, decltype(&gzclose)> file(gzopen(name.c_str(), "rb"), &gzclose);
    if (!file) {
        return text;
    }
    // Byte by byte, because a larger request loses what precedes an error.
    for (int byte = 0; text.size() <= maxDocumentBytes && (byte = gzgetc(file.get())) != -1;) {
        text.push_back(static_cast<char>(byte));
    }
    int error = Z_OK;
    gzerror(file.get(), &error);
    // OpenCV takes what comes before the damage for the whole file, and where it ends depends on its buffers.
    if (error == Z_DATA_ERROR && !text.empty()) {
        throw std::invalid_argument("the compressed file is damaged; compress it anew");
    }
    return text;
}

DocumentFormat findFormat(const std::string& text)
{
    const std::size_t start = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    const auto startsWith = [&](const char* signature) {
        return text.compare(start, std::strlen(signature), signature) == 0;
    };
    return startsWith("%YAML")   ? DocumentFormat::Yaml
           : startsWith("{")     ? DocumentFormat::Json
           : startsWith("<?xml") ? DocumentFormat::Xml
                                 : DocumentFormat::Unknown;
}

void inspectFile(const Source& source)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::file_status status = fs::status(source.name, ignored);
    // Opening a FIFO or a device may block for ever, and what comes out of it may never end.
    if (fs::is_other(status)) {
        throw std::invalid_argument("it is no regular file; copy its contents to one");
    }
    if (!fs::is_regular_file(status)) {
        return; // a directory or a missing file: OpenCV says so
    }
    const std::string text = source.compressed ? inflate(source.name) : readPlain(source.name);
    const DocumentFormat format = findFormat(text);
    if (format == DocumentFormat::Unknown) {
        return; // OpenCV reads no further either
    }
    // Little memory compresses to next to nothing, and the time and memory of the parsing grow with the size.
    if (text.size() > maxDocumentBytes) {
        throw std::invalid_argument("it is larger than 1 MiB uncompressed; keep the calibration in a file of "
                                    "its own");
    }
    // The parsers take a NUL for the end of a line and then for the end of the file, and read on behind it.
    if (text.find('\0') != std::string::npos) {
        throw std::invalid_argument("it holds a NUL byte; write it as text");
    }
    requireSafeSyntax(format, text);
}

/// The number of channels that an element type such as "3f" gives, or -1 when OpenCV cannot count them.
std::int64_t countChannels(const std::string& type)
{
    constexpr std::int64_t limit = std::numeric_limits<int>::max();
    std::int64_t channels = 0;
    std::int64_t count = 0;
    for (const char symbol : type) {
        if ('0' <= symbol && symbol <= '9') {
            count = count * 10 + (symbol - '0');
        } else {
            channels += std::max<std::int64_t>(count, 1);
            count = 0;
        }
        if (count > limit || channels > limit) {
            return -1;
        }
    }
    return channels;
}

/// The sizes that cv::read would give the matrix; empty when it refuses them.
std::vector<int> readSizes(const cv::FileNode& node)
{
    int rows = -1;
    cv::read(node["rows"], rows, -1);
    if (rows >= 0) {
        int cols = -1;
        cv::read(node["cols"], cols, -1);
        return {rows, cols};
    }
    const cv::FileNode list = node["sizes"];
    // OpenCV copies the whole list into an array of 32.
    if (list.size() > 32) {
        throw std::invalid_argument("it has more than 32 dimensions");
    }
    std::vector<int> sizes;
    for (const auto size : list) {
        if (!size.isInt() && !size.isReal()) {
            return {};
        }
        sizes.push_back(static_cast<int>(size));
    }
    return sizes;
}

void inspectMatrix(const cv::FileNode& node)
{
    std::string type;
    cv::read(node["dt"], type, std::string());
    const std::int64_t channels = countChannels(type);
    // OpenCV decodes into an array of 64 pairs of count and symbol, and adds the counts up in an int.
    if (type.size() >= 64 || channels < 0) {
        throw std::invalid_argument(
            "its dt is no element type; write one of u c w s i f d h, with the number of "
            "channels before it");
    }
    // OpenCV allocates before it counts the data, with products that wrap around. An empty matrix that is
    // long in one direction would still be printed row by row.
    std::int64_t elements = channels;
    for (const int size : readSizes(node)) {
        elements *= std::max(size, 1);
        if (elements > static_cast<std::int64_t>(maxDocumentBytes)) {
            throw std::invalid_argument("it is larger than its file can hold");
        }
    }
}

} // namespace

void requireSafeDocument(const std::string& filename)
{
    try {
        inspectFile(findSource(filename));
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument("Refused file: \"" + filename + "\": " + error.what() + ".");
    }
}

void requireSafeMatrix(const char* key, const cv::FileNode& node)
{
    if (!node.isMap()) {
        return; // missing, or refused by OpenCV
    }
    try {
        inspectMatrix(node);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(std::string("Refused matrix: \"") + key + "\": " + error.what() + ".");
    }
}

} // namespace vision::detail
