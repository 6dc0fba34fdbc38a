#include "calibration/guard/guard.h"
#include "calibration/guard/nesting.h"
#include "calibration/guard/text.h"
#include "calibration/guard/yaml_documents.h"

#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <stdexcept>

namespace vision::detail {

namespace {

/// A calibration takes some kilobytes; OpenCV needs about ten times the size of the document.
constexpr std::size_t maxDocumentBytes = std::size_t{1} << 20;

/// What a document is, by its first characters; OpenCV reads no other ones.
enum class Format
{
    Yaml,
    Xml,
    Json,
    Unknown,
};

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
    Source source{filename.substr(0, filename.find('\0'))};
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

[[noreturn]] void refuseBase64()
{
    // The decoder loops for ever on data that is too short for its header or holds a blank.
    throw std::invalid_argument("it holds base64 data; write the matrices as plain numbers");
}

/// The parser reads a value through null when the file ends, or a stray carriage return cuts it, behind "=".
void requireAttributeValues(const std::string& text)
{
    for (std::size_t i = text.find('='); i != std::string::npos; i = text.find('=', i + 1)) {
        std::size_t value = i;
        do {
            value = text.find_first_not_of(" \t\n", value + 1);
        } while (value != std::string::npos && startsWith(text, value, "\r\n"));
        if (value == std::string::npos || text[value] == '\r') {
            throw std::invalid_argument("it ends behind the '=' of an attribute; copy or download it again");
        }
        if (startsWith(text, value, "\"binary\"") || startsWith(text, value, "'binary'")) {
            refuseBase64(); // a type_id
        }
    }
}

void requireNoneOf(const std::string& text, std::initializer_list<const char*> base64Marks)
{
    for (const char* const mark : base64Marks) {
        if (text.find(mark) != std::string::npos) {
            refuseBase64();
        }
    }
}

Format findFormat(const std::string& text)
{
    return startsWith(text, 0, "%YAML")   ? Format::Yaml
           : startsWith(text, 0, "{")     ? Format::Json
           : startsWith(text, 0, "<?xml") ? Format::Xml
                                          : Format::Unknown;
}

void inspectText(const std::string& text, Format format)
{
    // Little memory compresses to next to nothing, and the time and memory of the parsing grow with the size.
    if (text.size() > maxDocumentBytes) {
        throw std::invalid_argument("it is larger than 1 MiB uncompressed; keep the calibration in a file of "
                                    "its own");
    }
    // The parsers take a NUL for the end of a line and then for the end of the file, and read on behind it.
    if (text.find('\0') != std::string::npos) {
        throw std::invalid_argument("it holds a NUL byte; write it as text");
    }
    if (format == Format::Yaml) {
        requireNoneOf(text, {"!!binary", "!^binary", "!<tag:yaml.org,2002:binary"});
        requireYamlDepth(text);
        requireYamlDocuments(text);
    } else if (format == Format::Json) {
        requireNoneOf(text, {"\"$base64$"});
        requireJsonDepth(text);
    } else {
        requireXmlDepth(text);
        requireAttributeValues(text);
    }
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
    std::string text = source.compressed ? inflate(source.name) : readPlain(source.name);
    if (startsWith(text, 0, "\xEF\xBB\xBF")) {
        text.erase(0, 3); // a byte order mark, which the parsers skip
    }
    const Format format = findFormat(text);
    if (format != Format::Unknown) { // OpenCV reads no further than to its beginning
        inspectText(text, format);
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

} // namespace vision::detail
