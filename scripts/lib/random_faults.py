# SPDX-License-Identifier: Apache-2.0
"""Faults that a slip of the hand could make, for C++ formatted by clang-format: binary operators between blanks."""

import re

OPERATORS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "&": ["|"], "|": ["&"], "^": ["&"],
    "&&": ["||"], "||": ["&&"], "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="], "&=": ["|="], "|=": ["&="],
}
NO_STATEMENT = re.compile(
    r"(return|if|else|for|while|do|switch|case|default|try|using|namespace|class|struct|enum|template|public|private"
    r"|protected|static_assert|friend|extern)\b")


def hide_text(source):
    """The source, as long as before, without comments, directives, and what stands in literals."""
    literal = r'R"\(.*?\)"' + r'|"(?:\\.|[^"\\\n])*"' + r"|(?<!\w)'(?:\\.|[^'\\\n])+'"
    other = r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*"

    def hidden(match):
        filling = '"' if match["literal"] else " "
        return re.sub(r"[^\n]", filling, match[0])

    return re.sub(f"(?P<literal>{literal})|{other}", hidden, source, flags=re.MULTILINE | re.DOTALL)


def end_of(code, start, ends):
    """Where one of the symbols ends stands outside of brackets opened behind start; -1 if nowhere."""
    depth = 0
    for at in range(start, len(code)):
        if depth == 0 and code[at] in ends:
            return at
        depth += (code[at] in "([{") - (code[at] in ")]}")
        if depth < 0:
            return -1
    return -1


def operators(code):
    for match in re.finditer(r"(?<=\s)[-+*/%&|^<>=!]+(?=\s)", code):
        for other in OPERATORS.get(match[0], []):
            yield match.start(), match.end(), other
    for match in re.finditer(r"\+\+|--", code):
        yield match.start(), match.end(), "--" if match[0] == "++" else "++"
    for match in re.finditer(r"!(?=[\w(])|(?<=[\s(])-(?=[\w(])", code):
        yield match.start(), match.end(), ""


def conditions(code):
    for match in re.finditer(r"\b(?:if|while|for) \(", code):
        begin, end = match.end(), end_of(code, match.end(), ")")
        inner = end_of(code, begin, ";")  # behind the initialisation, where there is one
        while begin < inner < end:
            begin, inner = inner + 1, end_of(code, inner + 1, ";")
            if match[0] == "for (":
                end = inner
        if (match[0] != "for (" or code[end] == ";") and not re.match(r"\s*![^ ]+$", code[begin:end]):
            yield begin, end, "!({})"
    for match in re.finditer(r"[\w:]+(?:(?:\.|->)\w+)*(?:\([^()\n]*\))?(?=\s\? )", code):
        yield match.start(), match.end(), "!{}"


def constants(code):
    for match in re.finditer(r"(?<![\w.'])\d+(?![xX\d])", code):
        for other in int(match[0]) + 1, int(match[0]) - 1:
            yield match.start(), match.end(), str(other)
    for match in re.finditer(r"\b(?:true|false)\b", code):
        yield match.start(), match.end(), "false" if match[0] == "true" else "true"


def statements(code):
    for match in re.finditer(r"(?<=[;{}:])\s+(?=[\w:*+(-])", code):
        begin = match.end()
        end = end_of(code, begin, ";{") if not NO_STATEMENT.match(code, begin) else -1
        if end >= 0 and code[end] == ";" and re.search(r"[(=]|\+\+|--|^(break|continue|throw)$", code[begin:end]):
            yield begin, end + 1, "\n" * code.count("\n", begin, end)  # lines keep their numbers


def random_faults(source):
    """All faults of a source: where they begin and end and what then stands there."""
    code = hide_text(source)
    for kind in operators, conditions, constants, statements:
        for begin, end, other in kind(code):
            yield begin, end, other.replace("{}", source[begin:end])
