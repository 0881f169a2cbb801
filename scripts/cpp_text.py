"""A small reader of C++ text for the tree checks: code without comments and literals, includes, and
functions with their length. It keeps line numbers and never fails on text it does not understand."""

import re
from dataclasses import dataclass

_LITERALS = re.compile(
    r"""//[^\n]*"""
    r"""|/\*.*?\*/"""
    r"""|(?:u8|u|U|L)?R"(?P<delimiter>[^()\\\s]{0,16})\(.*?\)(?P=delimiter)\""""
    r"""|"(?:\\.|[^"\\\n])*\""""
    r"""|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'""",
    re.DOTALL,
)
_INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"\n]+)[>"]', re.MULTILINE)
_DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.MULTILINE)
_SCOPE = re.compile(r"(?:inline\s+)?(?:namespace|class|struct|union|enum|extern\b)(?![^(:]*\()")


def _blank(match):
    text = match.group(0)
    lines = "\n" * text.count("\n")
    return '""' + lines if text.endswith(('"', "'")) else " " + lines


def _only_lines(match):
    return "\n" * match.group(0).count("\n")


def without_comments_and_literals(text):
    """The code alone; a literal becomes an empty string, and every line stays where it was."""
    return _LITERALS.sub(_blank, text)


def includes(text):
    """(line, bracket, path) of each include directive; bracket is < or a double quote."""
    return [
        (text.count("\n", 0, match.start(2)) + 1, match.group(1), match.group(2))
        for match in _INCLUDE.finditer(re.sub(r"/\*.*?\*/", _blank, text, flags=re.DOTALL))
    ]


@dataclass
class Function:
    """A function with a body, outermost only: a lambda belongs to the function around it."""

    name: str
    line: int
    length: int  # lines from the opening to the closing brace, both counted
    body: str


def functions(text):
    """Every function body of the text, in order."""
    code = _DIRECTIVE.sub(_only_lines, without_comments_and_literals(text))
    found = []
    scopes = []  # kind, header, line and position of each open brace
    header_start = 0
    line = 1
    for position, character in enumerate(code):
        if character == "\n":
            line += 1
        elif character == "{":
            inside = any(scope[0] in ("function", "initializer") for scope in scopes)
            header = code[header_start:position].strip()
            kind = "block" if inside else _kind_of(header)
            scopes.append((kind, header, line, position))
            if kind != "member":
                header_start = position + 1
        elif character == "}" and scopes:
            kind, header, first_line, first = scopes.pop()
            if kind == "function":
                body = code[first : position + 1]
                found.append(Function(_name_of(header), first_line, line - first_line + 1, body))
            if kind != "member":
                header_start = position + 1
        elif character == ";" and not _in_parentheses(code[header_start:position]):
            header_start = position + 1
    return found


def _in_parentheses(header):
    return header.count("(") > header.count(")")


def _kind_of(header):
    """What the brace after this header opens, outside of functions."""
    header = _without_templates(re.sub(r"\b(public|private|protected)\s*:(?!:)", " ", header)).strip()
    if _SCOPE.match(re.sub(r"\[\[.*?\]\]|\balignas\([^)]*\)|\bLSHARED_API\b", "", header)):
        return "scope"
    flat = _outside_parentheses(re.sub(r"\boperator\s*[^\w\s(]+", "operator", header))
    if "=" in flat and "[" not in flat.split("=", 1)[1]:
        return "initializer"
    if "(" not in header and "]" not in header:
        return "initializer"
    # A member initializer in braces: `Name() : mMember{`.
    if re.search(r"\)[^()]*[^:]:[^:]", header) and re.search(r"[\w>]$", header):
        if not re.search(r"\b(const|noexcept|override|final|try)$", header):
            return "member"
    return "function"


def _without_templates(header):
    """The header without `template <…>` and requires clauses in front of it."""
    while True:
        match = re.match(r"\s*template\s*<", header)
        if not match:
            return header
        depth, position = 1, match.end()
        while position < len(header) and depth:
            depth += {"<": 1, ">": -1}.get(header[position], 0)
            position += 1
        header = header[position:]


def _outside_parentheses(text):
    result, depth = [], 0
    for character in text:
        depth += {"(": 1, ")": -1}.get(character, 0)
        if depth == 0 and character != ")":
            result.append(character)
    return "".join(result)


def _name_of(header):
    header = _without_templates(header)
    test = re.search(r"\b(TEST|TEST_F|TEST_P|TYPED_TEST)\s*\(\s*(\w+)\s*,\s*(\w+)\s*\)", header)
    if test:
        return f"{test.group(1)}({test.group(2)}, {test.group(3)})"
    match = re.search(r"([\w:~]+|operator\s*[^\s(]+)\s*\(", header)
    return match.group(1) if match else "a lambda"
