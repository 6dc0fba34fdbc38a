#include "calibration/document_syntax.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

// Where OpenCV refuses a document, the walks below need not: they only have to stay with the parser as long as
// it goes on, and may then stop or read anything into the rest.

namespace vision::detail {

namespace {

/// The parsers recurse into every level, with up to a kilobyte of stack each; a calibration has four levels.
constexpr std::size_t maxDepth = 64;

void requireDepth(std::size_t depth)
{
    if (depth > maxDepth) {
        throw std::invalid_argument(
            "it is nested deeper than 64 levels; keep the calibration in a file of its "
            "own");
    }
}

/// The decoder loops for ever on data that is too short for its header or holds a blank.
[[noreturn]] void refuseBase64()
{
    throw std::invalid_argument("it holds base64 data; write the matrices as plain numbers");
}

bool isDigit(char symbol)
{
    return '0' <= symbol && symbol <= '9';
}

bool isWord(char symbol)
{
    return isDigit(symbol) || ('a' <= symbol && symbol <= 'z') || ('A' <= symbol && symbol <= 'Z');
}

/// A place in a text. The end looks like an endless row of NUL.
class Walk
{
protected:
    explicit Walk(const std::string& text) : _text(text), _lineEnd(std::min(text.find('\n'), text.size())) {}

    bool atEnd() const { return _position >= _text.size(); }
    char peek(std::size_t ahead = 0) const
    {
        return _position + ahead < _text.size() ? _text[_position + ahead] : '\0';
    }
    bool startsWith(const char* text) const { return _text.compare(_position, std::strlen(text), text) == 0; }
    /// Goes to the position, or to the end when a search gave npos.
    void moveTo(std::size_t position) { _position = std::min(position, _text.size()); }
    void moveTo(std::size_t found, std::size_t length)
    {
        moveTo(found == std::string::npos ? found : found + length);
    }
    void stop() { _position = _text.size(); }

    const std::string& _text;
    std::size_t _position = 0;
    std::size_t _lineEnd;
};

class XmlWalk : Walk
{
public:
    explicit XmlWalk(const std::string& text) : Walk(text) {}

    void run()
    {
        while (!atEnd()) {
            if (peek() == '\r') {
                moveTo(_text.find('\n', _position)); // the parser drops the rest of such a line
            } else if (_inTag) {
                stepInTag();
            } else if (startsWith("<!--")) {
                skipComment();
            } else if (peek() == '<') {
                enterTag();
            } else {
                ++_position;
            }
        }
        // The parser then reads the value through null.
        if (_inTag && _lastInTag == '=') {
            throw std::invalid_argument("it ends behind the '=' of an attribute; copy or download it again");
        }
    }

private:
    void enterTag()
    {
        ++_position;
        _inTag = true;
        _lastInTag = '<';
        if (peek() == '/') {
            _depth -= std::min<std::size_t>(_depth, 1);
        } else if (peek() != '?') {
            requireDepth(++_depth);
        }
    }

    void stepInTag()
    {
        const char symbol = peek();
        if (symbol == '"' || symbol == '\'') {
            const std::size_t begin = _position + 1;
            const std::size_t end = _text.find(symbol, begin);
            if (_text.substr(begin, end - begin) == "binary") {
                refuseBase64();
            }
            moveTo(end, 1);
            _lastInTag = symbol;
            return;
        }
        if (symbol != ' ' && symbol != '\t' && symbol != '\n') {
            _lastInTag = symbol;
        }
        _inTag = symbol != '>';
        ++_position;
    }

    void skipComment()
    {
        _position += 4;
        while (!atEnd() && !startsWith("-->")) {
            moveTo(peek() == '\r' ? _text.find('\n', _position) : _position + 1);
        }
        moveTo(_position + 3);
    }

    std::size_t _depth = 0;
    bool _inTag = false;
    char _lastInTag = '\0'; ///< the last that is not blank
};

class JsonWalk : Walk
{
public:
    explicit JsonWalk(const std::string& text) : Walk(text) {}

    void run()
    {
        while (!atEnd()) {
            const char symbol = peek();
            if (symbol == '"') {
                _atKey ? skipKey() : skipText();
            } else if (symbol == '\r' || startsWith("//")) {
                moveTo(_text.find('\n', _position)); // the parser drops what follows a carriage return
            } else if (startsWith("/*")) {
                moveTo(_text.find("*/", _position + 2), 2);
            } else {
                stepStructure(symbol);
            }
        }
    }

private:
    void stepStructure(char symbol)
    {
        ++_position;
        if (symbol == '[' || symbol == '{') {
            _brackets.push_back(symbol);
            requireDepth(_brackets.size());
        } else if ((symbol == ']' || symbol == '}') && !_brackets.empty()) {
            _brackets.pop_back();
        }
        if (_brackets.empty()) {
            stop(); // the parser ignores what follows
        } else if (symbol == '{' || symbol == ',') {
            _atKey = _brackets.back() == '{';
        } else if (symbol == '[') {
            _atKey = false;
        }
    }

    /// Keys know no escapes.
    void skipKey()
    {
        moveTo(_text.find('"', _position + 1), 1);
        _atKey = false;
    }

    void skipText()
    {
        ++_position;
        if (startsWith("$base64$")) {
            refuseBase64();
        }
        while (!atEnd() && peek() != '"') {
            moveTo(_position + (peek() == '\\' ? 2 : 1));
        }
        moveTo(_position + 1);
    }

    std::string _brackets; ///< the open ones
    bool _atKey = false;   ///< whether the next text is the key of a map
};

class YamlWalk : Walk
{
public:
    explicit YamlWalk(const std::string& text) : Walk(text) {}

    void run()
    {
        for (bool first = true; findDocument(first); first = false) {
            if (!startsWith("...")) {
                walkBlocks();
                skipBlank();
            }
            if (atEnd() || atLastLine()) {
                return;
            }
            // The parser takes anything at the end of a document for "...", past the end of the line too.
            if (_position + 3 > _lineEnd + 1) {
                throw std::invalid_argument("a document in it ends with neither \"...\" nor the file; indent "
                                            "its keys alike");
            }
            _position += 3;
            if (_position > _lineEnd) {
                startLine(_position);
            }
        }
    }

private:
    enum class Tag
    {
        None,
        Text,
        Number,
        Other,
    };

    /// The parser takes a last line without a line feed for the end of the file already.
    bool atLastLine() const { return _lineEnd >= _text.size(); }
    std::size_t column() const { return _position - _lineStart; }

    void startLine(std::size_t position)
    {
        moveTo(position);
        _lineStart = _position;
        _lineEnd = std::min(_text.find('\n', _position), _text.size());
    }

    /// Skips blanks, comments and line ends; the parser drops what follows a carriage return.
    void skipBlank()
    {
        for (;;) {
            while (peek() == ' ') {
                ++_position;
            }
            if (atEnd() || (peek() != '#' && peek() != '\r' && peek() != '\n')) {
                return;
            }
            startLine(_lineEnd + 1);
        }
    }

    /// Goes to the first value of the next document, if there is one.
    bool findDocument(bool first)
    {
        for (;;) {
            skipBlank();
            if (atEnd()) {
                return false;
            }
            if (peek() == '%') {
                startLine(_lineEnd + 1);
            } else if (startsWith("---")) {
                _position += 3;
                skipBlank();
                return !atEnd();
            } else if (peek() == '-' && !first) {
                // The parser waits for a "---" without going on.
                throw std::invalid_argument("a list follows the end of a document; put \"---\" before it");
            } else {
                const bool isEntry = peek() == '-' || peek() == '_' || isWord(peek());
                return (first && isEntry) || atLastLine(); // otherwise refused
            }
        }
    }

    /// Walks through the block collections of one document.
    void walkBlocks()
    {
        _columns.clear();
        for (;;) {
            const bool isFlow = walkBlockValue();
            if (_columns.empty() && !isFlow) {
                stop(); // refused: a document is a collection
            }
            skipBlank();
            while (!_columns.empty() && _columns.back() > column()) {
                _columns.pop_back();
            }
            if (atEnd() || _columns.empty() || startsWith("...")) {
                return;
            }
            if (_columns.back() != column()) {
                stop(); // refused as wrongly indented
            }
            enterEntry();
        }
    }

    /// Goes from the dash or the key of an entry to its value.
    void enterEntry()
    {
        if (peek() == '-') {
            ++_position;
        } else {
            skipKey();
        }
        skipBlank();
    }

    /// Quotes and brackets mean nothing in a key.
    void skipKey()
    {
        const std::size_t colon = _text.find_first_of(":\r\n", _position);
        if (colon == std::string::npos || _text[colon] != ':') {
            stop(); // refused
        } else {
            moveTo(colon + 1);
        }
    }

    /// Walks through the value and the blocks that begin in its line; tells whether it was one in brackets.
    bool walkBlockValue()
    {
        while (!atEnd()) {
            const Tag tag = skipTag();
            if (atBracket(tag)) {
                walkFlow();
                return true;
            }
            if (skipScalar(tag)) {
                return false;
            }
            const std::size_t end = std::min(_text.find_first_of(":\r\n", _position), _text.size());
            const bool isKey = end < _text.size() && _text[end] == ':';
            if (tag == Tag::Text || (peek() != '-' && !isKey)) {
                moveTo(_lineEnd);
                return false;
            }
            _columns.push_back(column());
            requireDepth(_columns.size());
            enterEntry();
        }
        return false;
    }

    bool atBracket(Tag tag) const { return tag != Tag::Text && (peek() == '[' || peek() == '{'); }

    /// Walks through a collection in brackets and all that are in it.
    void walkFlow()
    {
        std::string brackets; // the open ones
        bool atFirst = true;
        do {
            if (!brackets.empty() && !enterElement(brackets, atFirst)) {
                continue;
            }
            const Tag tag = skipTag();
            atFirst = atBracket(tag);
            if (atFirst) {
                brackets.push_back(peek());
                requireDepth(_columns.size() + brackets.size());
                ++_position;
            } else if (!skipScalar(tag)) {
                moveTo(_text.find_first_of(",]}\r\n", _position));
            }
        } while (!brackets.empty() && !atEnd());
    }

    /// Goes to the value of the next element of the innermost collection, or behind the end of that one.
    bool enterElement(std::string& brackets, bool& atFirst)
    {
        const char closing = brackets.back() == '{' ? '}' : ']';
        skipBlank();
        if (peek() != closing) {
            if (!atFirst) {
                peek() == ',' ? moveTo(_position + 1) : stop(); // refused
                skipBlank();
            }
            if (closing == '}') {
                skipKey();
                skipBlank();
                return true;
            }
            if (peek() != closing) {
                return true;
            }
        } else {
            ++_position;
        }
        // Behind a comma the parser has left the bracket to the level above.
        brackets.pop_back();
        atFirst = false;
        return false;
    }

    /// Skips the type in front of a value and tells how the parser then takes the value.
    Tag skipTag()
    {
        if (peek() != '!') {
            return Tag::None;
        }
        constexpr const char* heading = "!<tag:yaml.org,2002:";
        bool isUser = peek(1) == '!' || peek(1) == '^';
        std::size_t begin = _position + (isUser || peek(1) == '<' ? 2 : 1);
        // Any control character ends the name too.
        std::size_t end = begin;
        while (end < _text.size() && static_cast<unsigned char>(_text[end]) > ' ') {
            ++end;
        }
        std::size_t next = end;
        if (startsWith(heading)) {
            const std::size_t name = _position + std::strlen(heading);
            const std::size_t bracket = std::min(_text.find_first_of("> \r\n", name), _text.size());
            if (bracket > name && bracket < _text.size() && _text[bracket] == '>') {
                isUser = true;
                begin = name;
                end = bracket;
                next = bracket + 1;
            }
        }
        const std::string type = _text.substr(begin, end - begin);
        if (isUser && type == "binary") {
            refuseBase64();
        }
        moveTo(next);
        skipBlank();
        if (isUser) {
            return Tag::Other;
        }
        const bool isQuoted = peek() == '"' || peek() == '\'';
        return type == "str" && !isQuoted         ? Tag::Text
               : type == "int" || type == "float" ? Tag::Number
                                                  : Tag::Other;
    }

    /// Skips a number or a text in quotes, if there is one.
    bool skipScalar(Tag tag)
    {
        if (tag == Tag::Text) {
            return false;
        }
        if (tag == Tag::Number || atNumber(tag)) {
            moveTo(_text.find_first_of(" #,]}\r\n", _position));
            return true;
        }
        if (peek() == '"' || peek() == '\'') {
            skipQuoted();
            return true;
        }
        return false;
    }

    bool atNumber(Tag tag) const
    {
        const char first = peek();
        const char second = tag == Tag::None ? peek(1) : ' '; // behind a type the parser does not look at it
        const bool hasSign = first == '-' || first == '+';
        return isDigit(first) || (hasSign && (isDigit(second) || second == '.')) ||
               (first == '.' && isWord(second));
    }

    void skipQuoted()
    {
        const char quote = peek();
        for (++_position; !atEnd() && peek() != '\n'; ++_position) {
            if (peek() == quote && quote == '\'' && peek(1) == quote) {
                ++_position;
            } else if (peek() == quote) {
                ++_position;
                return;
            } else if (peek() == '\\' && quote == '"') {
                skipEscape();
            }
        }
    }

    /// Goes to the last symbol of an escape sequence. Behind a number that is one more: the parser swallows a
    /// symbol there, and it reads hexadecimal numbers as octal ones and the reverse.
    void skipEscape()
    {
        ++_position;
        const std::size_t prefix = peek() == 'x' ? 1 : 0;
        if (prefix == 0 && (peek() < '0' || peek() > '7')) {
            return;
        }
        const std::string digits = _text.substr(std::min(_position + prefix, _text.size()), 3 - prefix);
        char* end = nullptr;
        std::strtol(digits.c_str(), &end, prefix == 1 ? 8 : 16);
        if (end != digits.c_str()) {
            moveTo(_position + prefix + static_cast<std::size_t>(end - digits.c_str()));
        }
    }

    std::size_t _lineStart = 0;
    std::vector<std::size_t> _columns; ///< where the entries of the open block collections begin
};

} // namespace

void requireSafeSyntax(DocumentFormat format, const std::string& text)
{
    switch (format) {
    case DocumentFormat::Yaml:
        YamlWalk(text).run();
        break;
    case DocumentFormat::Xml:
        XmlWalk(text).run();
        break;
    case DocumentFormat::Json:
        JsonWalk(text).run();
        break;
    case DocumentFormat::Unknown:
        break;
    }
}

} // namespace vision::detail
