#include "calibration/guard/yaml_documents.h"
#include "calibration/guard/text.h"

#include <stdexcept>

namespace vision::detail {

namespace {

/// Instead of a place: the parser refuses the file before it comes to the end of the document.
constexpr std::size_t refused = std::string::npos;

/// The symbol at a place; behind the end a line feed.
char symbolAt(const std::string& text, std::size_t position)
{
    return position < text.size() ? text[position] : '\n';
}

bool isAnyOf(char symbol, const char* symbols)
{
    return std::strchr(symbols, symbol) != nullptr;
}

bool isDigit(char symbol)
{
    return '0' <= symbol && symbol <= '9';
}

/// Texts, keys and types end at control characters, of which only line ends get any further.
bool isPrintable(char symbol)
{
    return static_cast<unsigned char>(symbol) >= ' ';
}

/// The next place with content: behind blanks, line ends, comments and what follows a carriage return.
std::size_t findContent(const std::string& text, std::size_t position)
{
    for (;;) {
        position = std::min(text.find_first_not_of(" \n", position), text.size());
        if (position == text.size() || !isAnyOf(text[position], "#\r")) {
            return position;
        }
        position = findLineEnd(text, position);
    }
}

/// The first of the symbols at or behind a place, or the end of the line.
std::size_t findInLine(const std::string& text, std::size_t position, const char* symbols)
{
    while (isPrintable(symbolAt(text, position)) && !isAnyOf(text[position], symbols)) {
        ++position;
    }
    return position;
}

[[noreturn]] void refuseTopLevel()
{
    throw std::invalid_argument(
        "its top level cannot be followed to its end; write all keys at the beginning "
        "of lines");
}

/// Goes from a type such as "!!map" to the value behind it.
std::size_t skipType(const std::string& text, std::size_t position)
{
    const std::size_t value = findContent(text, findInLine(text, position, " "));
    const char kind = text[position + 1];
    if (kind == '<' || (kind != '!' && isAnyOf(symbolAt(text, value), "[{!"))) {
        refuseTopLevel(); // has an end of its own, or may make a text or a number of what looks like a collection
    }
    return value;
}

/// Goes from a key to the value behind it.
std::size_t skipKey(const std::string& text, std::size_t position)
{
    const std::size_t colon = findInLine(text, position, ":");
    return symbolAt(text, position) == '-' || symbolAt(text, colon) != ':' ? refused
                                                                           : findContent(text, colon + 1);
}

/// Goes behind a text in quotes.
std::size_t skipQuoted(const std::string& text, std::size_t position)
{
    const char quote = text[position];
    const char marks[] = {quote, quote == '"' ? '\\' : quote, '\0'};
    for (++position;; position += 2) {
        position = findInLine(text, position, marks);
        const char next = symbolAt(text, position + 1);
        if (!isPrintable(symbolAt(text, position))) {
            return refused;
        }
        if (text[position] == '\\' && !isAnyOf(next, "'\"\\nrt")) {
            refuseTopLevel(); // the number of a character has an end of its own
        }
        if (text[position] == quote && (quote == '"' || next != quote)) {
            return position + 1;
        }
    }
}

/// Goes behind a single value in brackets.
std::size_t skipScalar(const std::string& text, std::size_t position)
{
    if (isAnyOf(symbolAt(text, position), "'\"")) {
        return skipQuoted(text, position);
    }
    const char first = symbolAt(text, position);
    const bool mayBeNumber = isDigit(first) || isAnyOf(first, "+-.");
    position = findInLine(text, position, mayBeNumber ? "#,]}" : ",]}");
    if (symbolAt(text, position) == '#') {
        refuseTopLevel(); // part of a text, but behind a number a comment
    }
    return position;
}

/// Goes behind a collection in brackets.
std::size_t skipFlow(const std::string& text, std::size_t position)
{
    std::string ends; // those still to come
    for (bool isValue = true; position < text.size(); position = findContent(text, position)) {
        if (isValue && text[position] == '!') {
            position = skipType(text, position);
        }
        const char symbol = symbolAt(text, position);
        const bool isOpening = isValue && isAnyOf(symbol, "[{");
        if (isValue && !isOpening) {
            position = skipScalar(text, position);
            isValue = false;
        } else if (isOpening || symbol == ',') {
            if (isOpening) {
                ends.push_back(symbol == '{' ? '}' : ']');
            }
            position = findContent(text, position + 1);
            const char next = symbolAt(text, position);
            if (!isOpening && next == ']') {
                refuseTopLevel(); // the parser takes it for the end of the list around this one
            }
            isValue = !isOpening || !isAnyOf(next, "]}");
            if (isValue && ends.back() == '}') {
                position = skipKey(text, position);
            }
        } else if (symbol != ends.back()) {
            return refused;
        } else {
            ends.pop_back();
            ++position;
            if (ends.empty()) {
                return position;
            }
        }
    }
    return refused;
}

std::size_t columnOf(const std::string& text, std::size_t position)
{
    const std::size_t lineFeed = text.rfind('\n', position);
    return lineFeed == std::string::npos ? position : position - lineFeed - 1;
}

/// Goes behind keys, or dashes, that stand in one column: to a line that begins farther to the left, or "...".
std::size_t skipBlock(const std::string& text, std::size_t position)
{
    const std::size_t column = columnOf(text, position);
    const bool isList = symbolAt(text, position) == '-';
    for (;;) {
        position = findContent(text, findLineEnd(text, position));
        if (position == text.size()) {
            return position;
        }
        const std::size_t begin = columnOf(text, position);
        if (begin < column || (begin == column && startsWith(text, position, "..."))) {
            return position;
        }
        if (begin == column && (text[position] == '-') != isList) {
            return refused;
        }
    }
}

/// Goes from the first symbol of a document to what follows it.
std::size_t skipDocument(const std::string& text, std::size_t position)
{
    const bool isTyped = text[position] == '!';
    if (isTyped) {
        position = skipType(text, position);
    }
    const char first = symbolAt(text, position);
    if (isAnyOf(first, "[{")) {
        position = skipFlow(text, position);
        return position == refused ? refused : findContent(text, position);
    }
    // Behind a type the parser forgets to look at what follows a sign, and takes a minus for a list.
    const char second = isTyped ? ' ' : symbolAt(text, position + 1);
    const bool isNumber = isDigit(first) || (isAnyOf(first, "+-") && (isDigit(second) || second == '.'));
    const bool isBlock = first == '-' || symbolAt(text, findInLine(text, position, ":")) == ':';
    return isNumber || isAnyOf(first, "'\"") || !isBlock ? refused : skipBlock(text, position);
}

/// Whether a document may begin with this symbol without "---" before it.
bool canBegin(char symbol)
{
    return isAnyOf(symbol, "-_") || isDigit(symbol) || ('a' <= symbol && symbol <= 'z') ||
           ('A' <= symbol && symbol <= 'Z');
}

std::size_t skipDirectives(const std::string& text, std::size_t position)
{
    position = findContent(text, position);
    while (symbolAt(text, position) == '%') {
        position = findContent(text, findLineEnd(text, position));
    }
    return position;
}

} // namespace

void requireYamlDocuments(const std::string& text)
{
    std::size_t position = skipDirectives(text, 0);
    for (bool isFirst = true; position < text.size(); isFirst = false) {
        const bool hasMark = startsWith(text, position, "---");
        if (!isFirst && text[position] == '-' && !hasMark) {
            throw std::invalid_argument("a list follows the end of a document; put \"---\" before it");
        }
        if (!hasMark && !(isFirst && canBegin(text[position]))) {
            return; // the parser refuses it
        }
        position = findContent(text, position + (hasMark ? 3 : 0));
        if (position < text.size() && !startsWith(text, position, "...")) {
            position = skipDocument(text, position);
        }
        if (position >= text.size()) {
            return;
        }
        if (symbolAt(text, position + 1) == '\n') {
            refuseTopLevel();
        }
        position = skipDirectives(text, position + 3);
    }
}

} // namespace vision::detail
