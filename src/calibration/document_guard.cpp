#include "calibration/document_guard.h"

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

/// A calibration has four levels; a thousand take at most a megabyte of stack.
constexpr std::size_t maxLevels = 1000;

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

bool startsWith(const std::string& text, std::size_t position, const char* start)
{
    return text.compare(position, std::strlen(start), start) == 0;
}

/// The next place with content in YAML: behind blanks, line ends, comments and what follows a carriage return,
/// which the parser drops.
std::size_t findContent(const std::string& text, std::size_t position)
{
    for (;;) {
        position = std::min(text.find_first_not_of(" \n", position), text.size());
        if (position == text.size() || std::strchr("#\r", text[position]) == nullptr) {
            return position;
        }
        position = std::min(text.find('\n', position), text.size());
    }
}

void requireLevels(std::size_t levels)
{
    if (levels > maxLevels) {
        throw std::invalid_argument("it is nested too deeply; keep the calibration in a file of its own");
    }
}

/// What is certain not to hide a bracket or tag from a parser, as quotes, comments and keys do.
bool isPlain(char symbol)
{
    return ('0' <= symbol && symbol <= '9') || ('a' <= symbol && symbol <= 'z') ||
           ('A' <= symbol && symbol <= 'Z') ||
           (symbol != '\0' && std::strchr("_+-.,> \n", symbol) != nullptr);
}

/// The parsers recurse into every level, with up to a kilobyte of stack each.
///
/// Where a level ends depends on quotes, comments, escapes and keys, which each parser takes in its own way. So
/// only the end of a list or tag with nothing but plain values in it counts as certain; every other level is
/// taken as still open. That bounds the depth from above without parsing, and leaves lists of numbers alone.
void requireDepth(const std::string& text, bool isXml)
{
    std::size_t uncertain = 0;
    std::size_t open = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEnd = isXml ? startsWith(text, i, "</") : text[i] == ']';
        if (isEnd) {
            open -= std::min<std::size_t>(open, 1);
            i += isXml ? 1 : 0;
        } else if (text[i] == (isXml ? '<' : '[')) {
            ++open;
        } else if (!isPlain(text[i]) && !startsWith(text, i, "\r\n")) {
            uncertain += open + (text[i] == '{' ? 1 : 0);
            open = 0;
        }
        requireLevels(uncertain + open);
    }
}

/// Blocks of YAML nest without brackets: every level begins farther to the right than the one around it, so the
/// columns in front of a line and the dashes and colons in it bound their number.
void requireBlockDepth(const std::string& text)
{
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::size_t content = std::min(text.find_first_not_of(' ', begin), end);
        std::size_t levels = content - begin;
        for (std::size_t i = content; i < end; ++i) {
            const char next = i + 1 < end ? text[i + 1] : ' ';
            const bool isSign = next == '.' || ('0' <= next && next <= '9');
            levels += text[i] == ':' || (text[i] == '-' && !isSign);
        }
        requireLevels(levels);
        begin = end + 1;
    }
}

std::size_t columnOf(const std::string& text, std::size_t position)
{
    const std::size_t lineEnd = text.rfind('\n', position);
    return lineEnd == std::string::npos ? position : position - lineEnd - 1;
}

/// Whether the brackets at this place hold nothing that may hide their end, and nothing follows them but the
/// end of the document or of the file.
bool isPlainFlow(const std::string& text, std::size_t position)
{
    std::size_t end = position + 1;
    while (end < text.size() && (isPlain(text[end]) || text[end] == ':')) {
        ++end;
    }
    const std::size_t next = findContent(text, end + 1);
    return end < text.size() && text[end] == (text[position] == '{' ? '}' : ']') &&
           (next == text.size() || startsWith(text, next, "..."));
}

/// Goes from the first value of a document to what follows its end.
std::size_t skipDocument(const std::string& text, std::size_t position)
{
    const std::size_t column = columnOf(text, position);
    const bool isFlow = std::strchr("[{", text[position]) != nullptr;
    bool holds = text[position] != '!' && (!isFlow || isPlainFlow(text, position));
    // In an indented document "..." may count in the middle of a line too.
    holds = holds && (isFlow || column == 0 || text.find("...", position) == std::string::npos);
    while (holds && position < text.size() &&
           !(startsWith(text, position, "...") && columnOf(text, position) == column)) {
        position = findContent(text, text.find('\n', position));
        holds = position == text.size() || columnOf(text, position) >= column;
    }
    if (!holds) {
        throw std::invalid_argument(
            "its top level is no block of keys; write all of them at the beginning of lines");
    }
    return findContent(text, position + 3);
}

/// Behind the end of a document the parser waits for "---" without going on, and an end that is not "..." makes
/// it go on in what an earlier line left in its buffer. Only a block at the beginning of the lines is sure to
/// end with "..." or with the file.
void requireDocuments(const std::string& text)
{
    bool isFirst = true;
    for (std::size_t position = findContent(text, 0); position < text.size(); isFirst = false) {
        if (text[position] == '%') { // a directive
            position = findContent(text, text.find('\n', position));
            continue;
        }
        const bool hasMark = startsWith(text, position, "---");
        if (text[position] == '-' && !hasMark && !isFirst) {
            throw std::invalid_argument("a list follows the end of a document; put \"---\" before it");
        }
        position = findContent(text, hasMark ? position + 3 : position);
        if (position < text.size()) {
            position = skipDocument(text, position);
        }
    }
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
    }
}

/// The decoder loops for ever on data that is too short for its header or holds a blank.
void requireNoBase64(const std::string& text, Format format)
{
    const std::vector<const char*> marks =
        format == Format::Yaml
            ? std::vector<const char*>{"!!binary", "!^binary", "!<tag:yaml.org,2002:binary"}
        : format == Format::Json ? std::vector<const char*>{"$base64$"}
                                 : std::vector<const char*>{"\"binary\"", "'binary'"};
    for (const char* const mark : marks) {
        if (text.find(mark) != std::string::npos) {
            throw std::invalid_argument("it holds base64 data; write the matrices as plain numbers");
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
    if (format == Format::Unknown) {
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
    requireNoBase64(text, format);
    requireDepth(text, format == Format::Xml);
    if (format == Format::Yaml) {
        requireBlockDepth(text);
        requireDocuments(text);
    } else if (format == Format::Xml) {
        requireAttributeValues(text);
    }
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
