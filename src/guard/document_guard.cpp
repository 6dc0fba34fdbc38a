// SPDX-License-Identifier: Apache-2.0
#include "document_guard.h"

#include <opencv2/core.hpp>

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace vision::guard {

namespace {

/// A calibration takes some kilobytes; OpenCV needs about ten times the size of the document.
constexpr int maxDocumentBytes = 1 << 20;

/// What a document begins with, what marks base64 data in it, and what may hide the end of a level.
struct Format
{
    const char* beginning;
    const char* base64Marks[3];
    const char* hiding;
};

constexpr const char* digits = "0123456789";
constexpr const char* wordSymbols = "0123456789+-._ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr Format yaml{"%YAML", {"!!binary", "!^binary", "!<tag:yaml.org,2002:binary"}, "\"'#!{"};
constexpr Format json{"{", {"\"$base64$"}, "\\/"};
constexpr Format xml{"<?xml", {"\"binary\"", "'binary'"}, "'!"};

[[noreturn]] void refuse(const char* reasonAndWayOut)
{
    throw std::invalid_argument(reasonAndWayOut);
}

bool startsWith(const std::string& text, const char* start)
{
    return text.compare(0, std::strlen(start), start) == 0;
}

bool isAnyOf(char symbol, const char* symbols)
{
    return std::strchr(symbols, symbol) != nullptr;
}

/// The parsers drop what follows a carriage return in the middle of a line.
bool cutsLine(const std::string& text, std::size_t position)
{
    return text[position] == '\r' && text[position + 1] != '\n' && position + 1 < text.size();
}

/// Bounds the levels, into each of which the parsers recurse, from above: what opens one counts, what closes
/// one counts only if nothing since the opening can hide it. So no text, comment or key has to be understood.
struct Levels
{
    void read(const std::string& text, std::size_t position, std::size_t outer = 0)
    {
        const char symbol = text[position];
        const bool isXml = &format == &xml;
        if (isXml ? symbol == '<' && text[position + 1] != '/' : isAnyOf(symbol, "[{")) {
            kept += isInText ? std::exchange(closable, 0) : 0;
            isInText = false; // as seen from this level; if it is no level, where it ends does not matter
            ++closable;
        } else if (!isInText && isAnyOf(symbol, isXml ? "<" : "]}")) {
            closable -= std::min<std::size_t>(closable, 1);
        }
        isInText = isInText != (symbol == '"');
        if ((isAnyOf(symbol, format.hiding) && !(isInText && symbol == '/')) || cutsLine(text, position)) {
            kept += std::exchange(closable, 0);
        }
        // A thousand levels fit into half a megabyte of stack.
        if (outer + kept + closable > 1000) {
            refuse("it is nested too deeply; keep the calibration in a file of its own");
        }
    }

    const Format& format;
    std::size_t closable = 0;
    std::size_t kept = 0;
    bool isInText = false;
};

/// Follows a top level in brackets to its end, through plain words, numbers and texts without escapes.
/// Anything else is refused: it may hide that end, or make one too early.
struct TopLevelBrackets
{
    [[nodiscard]] bool areOpen() const { return !closings.empty(); }
    [[nodiscard]] bool haveEnded() const { return closings.empty() && last == 'v'; }

    void read(const std::string& line, std::size_t position)
    {
        const std::size_t end = line.find_last_not_of("\r\n") + 1;
        while ((position = line.find_first_not_of(' ', position)) < end) {
            if (haveEnded() && line[position] == '#') {
                return;
            }
            position = readToken(line, position);
        }
    }

    std::size_t readToken(const std::string& line, std::size_t position)
    {
        const char symbol = line[position];
        const bool isInMap = areOpen() && closings.back() == '}';
        const bool needsValue = last == ':' || last == '[' || (last == ',' && !isInMap);
        const bool needsKey = last == '{' || (last == ',' && isInMap);
        constexpr std::string_view matrix = "!!opencv-matrix ";
        std::size_t end = position + 1;
        if (isAnyOf(symbol, "[{") && (needsValue || last == '!')) {
            closings += symbol == '[' ? ']' : '}';
            last = symbol;
        } else if (areOpen() && symbol == closings.back() && isAnyOf(last, "[{v")) {
            closings.pop_back();
            last = 'v';
        } else if ((symbol == ',' && areOpen() && last == 'v') || (symbol == ':' && last == 'k')) {
            last = symbol;
        } else if (needsValue && line.compare(position, matrix.size(), matrix) == 0) {
            end = position + matrix.size();
            last = '!';
        } else if (needsValue && symbol == '"') {
            end = line.find_first_of("\"\\\r\n", end);
            last = line[end++] == '"' ? 'v' : refuseToken();
        } else {
            end = line.find_first_not_of(wordSymbols, position);
            last = end > position && needsKey ? 'k' : end > position && needsValue ? 'v' : refuseToken();
        }
        return end;
    }

    [[noreturn]] static char refuseToken()
    {
        refuse("its top level is in brackets with more than plain words and numbers in them; leave them out");
    }

    std::string closings; ///< that are due
    char last = ':';      ///< symbol of the last token, k for a key, v for the end of a value
};

/// Behind a document the parser skips three symbols, whatever they are, and waits for "---", for ever if
/// another dash comes. Only brackets, and what begins in the first column, surely end before "...".
struct YamlDocuments
{
    void read(const std::string& line, std::size_t column)
    {
        const bool isEnd = startsWith(line, "...");
        if (brackets.areOpen()) {
            brackets.read(line, column);
        } else if (isEnd || startsWith(line, "---")) {
            hasEnded = isEnd || brackets.haveEnded(); // behind brackets, either is what the parser skips
            isOutside = true;
            brackets = TopLevelBrackets();
            const std::size_t rest = line.find_first_not_of(' ', 3);
            if (!hasEnded && isAnyOf(line[rest], "[{")) {
                brackets.read(line, rest);
            } else if (!isAnyOf(line[rest], "#\r\n")) {
                refuse("\"---\" or \"...\" shares its line; write what follows in the next one");
            }
        } else if (isOutside && (line[column] != '%' || brackets.haveEnded())) { // no directive
            if (hasEnded || brackets.haveEnded()) {
                refuse("something follows the end of a document; put a line \"---\" before it");
            }
            if (isAnyOf(line[column], "[{")) {
                brackets.read(line, column);
            } else if (column > 0 || line[0] == '!') {
                refuse("its top level is indented or typed; begin its keys in the first column");
            } else {
                isOutside = false;
            }
        }
    }

    bool isOutside = true;
    bool hasEnded = false;
    TopLevelBrackets brackets;
};

void inspectYaml(const std::string& text)
{
    Levels levels{yaml};
    YamlDocuments documents;
    std::size_t keyColumn = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line += '\n';
        const std::size_t column = line.find_first_not_of(' ');
        if (!isAnyOf(line[column], "#\r\n")) {
            documents.read(line, column);
            // Brackets end before a line that begins no farther to the right than the one with their key.
            if (column <= keyColumn) {
                levels.closable = levels.kept = 0;
            }
            if (levels.closable + levels.kept == 0) {
                keyColumn = isAnyOf(line[column], "[{!") ? 0 : column;
            }
        }
        // Every block begins farther to the right than the one around it, with a dash or a key.
        std::size_t blocks = column;
        for (std::size_t i = column; i < line.size(); ++i) {
            blocks +=
                line[i] == ':' || (line[i] == '-' && line[i + 1] != '.' && !isAnyOf(line[i + 1], digits));
            levels.read(line, i, blocks);
        }
    }
}

void inspectMarkup(const std::string& text, const Format& format)
{
    Levels levels{format};
    for (std::size_t i = 0; i < text.size(); ++i) {
        levels.read(text, i);
        // XML is read through null when a line or the file ends so behind the "=" of an attribute.
        if (&format == &xml && cutsLine(text, i)) {
            refuse("it holds a carriage return inside a line; end lines with line feeds");
        }
    }
    if (&format == &xml && text[text.find_last_not_of(" \t\r\n")] == '=') {
        refuse("it ends behind the '=' of an attribute; copy or download it again");
    }
}

void inspectText(const std::string& text)
{
    for (const Format* const format : {&yaml, &json, &xml}) { // OpenCV reads no other one further
        if (!startsWith(text, format->beginning)) {
            continue;
        }
        // A bomb compresses to next to nothing, and the time and memory of the parsing grow with the size.
        if (text.size() > maxDocumentBytes) {
            refuse("it is larger than 1 MiB uncompressed; keep the calibration in a file of its own");
        }
        // The parsers take a NUL for the end of a line or of the file, and read on behind it.
        if (text.find('\0') != std::string::npos) {
            refuse("it holds a NUL byte; write it as text");
        }
        // The decoder loops for ever on data that is too short for its header or holds a blank.
        for (const char* const mark : format->base64Marks) {
            if (mark != nullptr && text.find(mark) != std::string::npos) {
                refuse("it holds base64 data; write the matrices as plain numbers");
            }
        }
        format == &yaml ? inspectYaml(text) : inspectMarkup(text, *format);
    }
}

/// The name of the file to open: it ends before its last '?', and without the digit behind ".gz".
std::string findName(const std::string& filename)
{
    std::string name = filename.substr(0, filename.find('\0'));
    name.erase(std::min(name.rfind('?'), name.size()));
    const std::size_t extension = std::max<std::size_t>(name.size(), 4) - 4;
    if (name.compare(extension, 3, ".gz") == 0 && isAnyOf(name.back(), digits)) {
        name.pop_back();
    }
    return name;
}

/// Reads one byte more than a document may have at most, also from files that are not compressed.
std::string readText(const std::string& name)
{
    std::string text;
    const std::unique_ptr<gzFile_s, decltype(&gzclose)> file(gzopen(name.c_str(), "rb"), &gzclose);
    // Byte by byte, because a larger request loses what precedes an error.
    for (int byte = 0; file && text.size() <= maxDocumentBytes && (byte = gzgetc(file.get())) != -1;) {
        text.push_back(static_cast<char>(byte));
    }
    int error = Z_OK;
    gzerror(file.get(), &error);
    // OpenCV takes what comes before the damage for the whole file, and where it ends depends on its buffers.
    if (error == Z_DATA_ERROR && !text.empty()) {
        refuse("the compressed file is damaged; compress it anew");
    }
    // The parsers skip a byte order mark.
    return startsWith(text, "\xEF\xBB\xBF") ? text.substr(3) : text;
}

} // namespace

void requireSafeDocument(const std::string& filename)
{
    namespace fs = std::filesystem;
    const std::string name = findName(filename);
    const std::string refused = "Refused file: \"" + filename + "\": ";
    std::error_code ignored;
    const fs::file_status status = fs::status(name, ignored);
    if (fs::is_directory(status)) {
        // The type that OpenCV throws here.
        cv::Exception error(cv::Error::StsBadArg, "it is a folder; name the file in it", "load", "", 0);
        error.msg = refused + error.err + '.';
        throw error;
    }
    try {
        // Opening a FIFO or a device may block for ever, and what comes out of it may never end.
        if (fs::is_other(status)) {
            refuse("it is no regular file; copy its contents to one");
        }
        inspectText(readText(name));
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(refused + error.what() + '.');
    }
}

void requireSafeMatrix(const std::string& key, const cv::FileNode& node)
{
    if (!node.isMap()) {
        return; // missing, or refused by OpenCV
    }
    const auto require = [&](bool isSafe, const char* fault) {
        if (!isSafe) {
            throw std::invalid_argument("Refused matrix: \"" + key + "\": " + fault + '.');
        }
    };
    std::string type;
    cv::read(node["dt"], type, std::string());
    // OpenCV decodes into an array of 64 pairs of count and symbol, and adds the counts up in an int.
    require(type.size() <= 4, "its dt is no element type; write u, c, w, s, i, f or d, as in f or 3f");
    std::vector<int> sizes(2);
    cv::read(node["rows"], sizes[0], -1);
    cv::read(node["cols"], sizes[1], -1);
    if (sizes[0] < 0) {
        // OpenCV copies the list into an array of 32.
        require(node["sizes"].size() <= 32, "it has more than 32 dimensions; write rows and cols");
        node["sizes"] >> sizes;
    }
    // OpenCV allocates before it counts the data, with products that wrap around, and prints empty rows too.
    // Every element takes at least a byte of the document.
    std::int64_t elements = std::max(std::atoi(type.c_str()), 1);
    for (const int size : sizes) {
        elements *= std::max(size, 1);
        require(elements <= maxDocumentBytes, "it is larger than its file can hold; correct its size");
    }
}

} // namespace vision::guard
