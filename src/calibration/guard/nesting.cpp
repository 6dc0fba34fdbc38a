#include "calibration/guard/nesting.h"
#include "calibration/guard/text.h"

#include <stdexcept>
#include <utility>

namespace vision::detail {

namespace {

void requireLevels(std::size_t levels)
{
    if (levels > 1000) {
        throw std::invalid_argument("it is nested too deeply; keep the calibration in a file of its own");
    }
}

/// Counts levels, those that are certain to be open and those that may be.
class Depth
{
public:
    void open() { requireLevels(_doubtful + ++_open); }
    void close() { _open -= std::min<std::size_t>(_open, 1); }
    void doubt() { _doubtful += std::exchange(_open, 0); }
    void reset() { _open = _doubtful = 0; }
    bool isZero() const { return _open + _doubtful == 0; }

private:
    std::size_t _open = 0;
    std::size_t _doubtful = 0;
};

/// The parsers drop what follows a carriage return in the middle of a line.
bool cutsLine(const std::string& text, std::size_t position)
{
    return text[position] == '\r' && !startsWith(text, position, "\r\n");
}

/// What hides no bracket from the parser of YAML, as quotes, comments and keys do.
bool isPlain(char symbol)
{
    return ('0' <= symbol && symbol <= '9') || ('a' <= symbol && symbol <= 'z') ||
           ('A' <= symbol && symbol <= 'Z') || std::strchr("_+-., \r", symbol) != nullptr;
}

/// Blocks of YAML nest without brackets: every level begins farther to the right than the one around it, so the
/// columns in front of a line and the dashes and colons in it bound their number.
void requireBlockDepth(const std::string& text, std::size_t begin, std::size_t content, std::size_t end)
{
    std::size_t levels = content - begin;
    for (std::size_t i = content; i < end; ++i) {
        const char next = i + 1 < end ? text[i + 1] : ' ';
        const bool isSign = next == '.' || ('0' <= next && next <= '9');
        levels += text[i] == ':' || (text[i] == '-' && !isSign);
    }
    requireLevels(levels);
}

/// Whether a tag's end is its end, and not in a quoted attribute or behind a carriage return.
bool isWholeTag(const std::string& tag)
{
    const auto count = [&tag](char symbol) { return std::count(tag.begin(), tag.end(), symbol); };
    const auto single = count('\'');
    const auto twofold = count('"');
    return count('<') == 0 && count('\r') == 0 && (single == 0 || twofold == 0) &&
           (single + twofold) % 2 == 0;
}

} // namespace

void requireYamlDepth(const std::string& text)
{
    Depth depth;
    std::size_t keyColumn = 0;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
        end = findLineEnd(text, begin);
        const std::size_t content = std::min(text.find_first_not_of(' ', begin), end);
        requireBlockDepth(text, begin, content, end);
        // The brackets of a value stand farther to the right than its key, so a line that does not ends them.
        const bool isEmpty = content == end || text[content] == '#' || text[content] == '\r';
        if (!isEmpty && content - begin <= keyColumn) {
            depth.reset();
        }
        if (depth.isZero()) {
            // A line that begins with the value says nothing of the key's column.
            const bool isKey = !isEmpty && std::strchr("[{!", text[content]) == nullptr;
            keyColumn = isKey ? content - begin : 0;
        }
        for (std::size_t i = content; i < end; ++i) {
            if (text[i] == '[' || text[i] == '{') {
                depth.open();
            }
            if (text[i] == ']') {
                depth.close();
            } else if (text[i] != '[' && (!isPlain(text[i]) || cutsLine(text, i))) {
                depth.doubt(); // the end of a map too, for a key may hide it
            }
        }
    }
}

/// A text without a backslash ends at the next quote; behind one with a backslash, which counts in values but
/// not in keys, every quote is doubtful.
void requireJsonDepth(const std::string& text)
{
    Depth depth;
    bool isCertain = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t end = text[i] == '"' ? std::min(text.find('"', i + 1), text.size()) : i;
        isCertain = isCertain && text[i] != '/' && !cutsLine(text, i) && end < text.size() &&
                    text.substr(i, end - i).find('\\') == std::string::npos;
        if (!isCertain) {
            depth.doubt();
        }
        if (text[i] == '[' || text[i] == '{') {
            depth.open();
        } else if (text[i] == ']' || text[i] == '}') {
            depth.close();
        } else if (isCertain) {
            i = end;
        }
    }
}

void requireXmlDepth(const std::string& text)
{
    Depth depth;
    bool isCertain = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isComment = isCertain && startsWith(text, i, "<!--");
        std::size_t end = i;
        if (isCertain && text[i] == '<') {
            end = std::min(isComment ? text.find("-->", i + 4) : text.find('>', i), text.size());
            const std::string tag = text.substr(i + 1, end - i - 1);
            isCertain = isComment ? tag.find('\r') == std::string::npos : isWholeTag(tag);
        }
        isCertain = isCertain && !cutsLine(text, i);
        if (!isCertain) {
            depth.doubt();
        }
        if (startsWith(text, i, "</")) {
            depth.close();
        } else if (text[i] == '<' && !isComment) {
            depth.open();
        }
        if (isCertain) {
            i = end;
        }
    }
}

} // namespace vision::detail
