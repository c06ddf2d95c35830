"""Small wrong edits to C and C++ sources, found token by token.

The sources are formatted by clang-format, which is relied on: a binary operator has a space on both
sides, a template bracket, a pointer and a reference have not; every body has braces.
"""

import re
from collections import namedtuple

# An edit replaces source[start:end].
Edit = namedtuple("Edit", "start end text")

Token = namedtuple("Token", "kind text start end in_body in_macro")

PATTERN = re.compile(
    r"""
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<string>"(?:\\.|[^"\\])*")
  | (?P<char>'(?:\\.|[^'\\])+')
  | (?P<number>(?:0[xX][0-9a-fA-F]+|\d+)[uUlL]*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<operator><<=|>>=|\.\.\.|->|\+\+|--|&&|\|\||==|!=|<=|>=|[-+*/%&|^]=|::|<<|>>|\#\#|[^\s\\])
    """,
    re.VERBOSE | re.DOTALL,
)

DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.MULTILINE)
MACRO_HEAD = re.compile(r"[ \t]*#define \w+(\([^)]*\))?")

OPENING = {"(": ")", "[": "]", "{": "}"}
CLOSING = set(OPENING.values())

OPERATORS = {
    "<": ("<=", ">="),
    "<=": ("<", ">"),
    ">": (">=", "<="),
    ">=": (">", "<"),
    "==": ("!=",),
    "!=": ("==",),
    "&&": ("||",),
    "||": ("&&",),
    "+": ("-",),
    "-": ("+",),
    "*": ("+",),
    "&": ("|",),
    "|": ("&",),
    "^": ("|",),
    "<<": (">>",),
    "+=": ("-=",),
    "-=": ("+=",),
}
STEPS = {"++": "--", "--": "++"}

NAMES = {
    "EINVAL": "ENOENT",
    "ENOENT": "EINVAL",
    "ENOMEM": "EINVAL",
    "ERANGE": "EINVAL",
    "ENOSPC": "EINVAL",
    "refused": "0",
    "true": "false",
    "false": "true",
    "UINT32_MAX": "(UINT32_MAX - 1)",
    "INT_MAX": "(INT_MAX - 1)",
    "AF_INET": "AF_INET6",
    "AF_INET6": "AF_INET",
    "AF_UNSPEC": "AF_INET",
    "min": "max",
    "strcmp": "strcasecmp",
    "strcasecmp": "strcmp",
    "strtoll": "strtoull",
    "strtoull": "strtoll",
}
FIELDS = {
    "first": "last",
    "last": "first",
    "next": "prev",
    "prev": "next",
    "maxkeys": "maxvalues",
    "maxvalues": "maxkeys",
    "numkeys": "numvalues",
    "numvalues": "numkeys",
}

INTEGER_DECLARATION = re.compile(
    r"\b(?:(?:std::)?(?:u?int(?:8|16|32|64)_t|size_t)|unsigned int|unsigned|int|Count)\s+&?(\w+)\b(?!\()"
)

# Words that no expression statement begins with.
NO_EXPRESSION = set(
    "return if for while do else switch case default using namespace template struct class enum union"
    " const constexpr static auto inline extern typename public private explicit static_assert".split()
)


def integer_names(sources):
    """The names that are declared with an integer type anywhere in the sources."""
    return {name for source in sources for name in INTEGER_DECLARATION.findall(source)}


def tokens_of(source):
    """The tokens that may be edited or stand around such: no comments and no directives, of a macro's
    definition only its body."""
    skipped = []
    macros = []
    for directive in DIRECTIVE.finditer(source):
        head = MACRO_HEAD.match(directive.group())
        if head:
            skipped.append((directive.start(), directive.start() + head.end()))
            macros.append((directive.start(), directive.end()))
        else:
            skipped.append(directive.span())

    def within(spans, position):
        return any(start <= position < end for start, end in spans)

    tokens = []
    bodies = []
    for match in PATTERN.finditer(source):
        kind, text, start = match.lastgroup, match.group(), match.start()
        if kind == "comment" or within(skipped, start):
            continue
        if text == "{":
            before = tokens[-1].text if tokens else ""
            opens_body = before in (")", "]", "const", "else")
            bodies.append(opens_body or any(bodies))
        elif text == "}":
            bodies.pop()
        in_body = any(bodies)
        tokens.append(Token(kind, text, start, match.end(), in_body, within(macros, start)))
    return tokens


class Finder:
    def __init__(self, source, integers):
        self.source = source
        self.integers = integers
        self.tokens = tokens_of(source)
        self.edits = []

    def replace(self, first, last, text):
        """Replaces the tokens from first to last, both included."""
        self.edits.append(Edit(self.tokens[first].start, self.tokens[last].end, text))

    def text(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def is_binary(self, i):
        token = self.tokens[i]
        return self.source[token.start - 1].isspace() and self.source[token.end].isspace()

    def closing(self, i):
        """The index of the bracket that closes the one at i."""
        depth = 0
        for j in range(i, len(self.tokens)):
            if self.text(j) in OPENING:
                depth += 1
            elif self.text(j) in CLOSING:
                depth -= 1
                if depth == 0:
                    return j
        raise ValueError("unbalanced brackets")

    def end_of_statement(self, i):
        """The index of the semicolon that ends what begins at i; None where there is none."""
        while i < len(self.tokens) and self.text(i) != ";":
            if self.text(i) in CLOSING:
                return None
            i = self.closing(i) + 1 if self.text(i) in OPENING else i + 1
        return i if i < len(self.tokens) else None

    def find(self):
        i = 0
        while i < len(self.tokens):
            if self.text(i) == "static_assert":
                i = self.closing(i + 1)
            elif self.text(i) == "extern":
                i += 1
            else:
                self.at(i)
            i += 1
        return sorted(set(self.edits))

    def at(self, i):
        token = self.tokens[i]
        if token.kind == "operator":
            self.operator(i)
        elif token.kind == "number":
            self.number(i)
        elif token.kind == "char":
            self.replace(i, i, f"({token.text} + 1)")
            if token.text != r"'\0'":
                self.replace(i, i, f"({token.text} - 1)")
        elif token.kind == "string":
            self.string(i)
        elif token.kind == "name":
            self.name(i)
        if token.in_body:
            self.statement(i)

    def operator(self, i):
        text = self.text(i)
        if self.text(i - 1) == "operator":
            return
        if text in STEPS:
            self.replace(i, i, STEPS[text])
        elif text in OPERATORS and self.is_binary(i):
            for other in OPERATORS[text]:
                self.replace(i, i, other)
            if text in ("&&", "||"):
                self.operands(i)
        elif text == "!":
            self.replace(i, i, "")

    def operands(self, i):
        """Leaves out either side of && or ||."""
        neutral = "true" if self.text(i) == "&&" else "false"
        bounds = {"&&", "||", "?", ":", ";", ",", "=", "return", "{", "}"}
        first = i - 1
        depth = 0
        while depth > 0 or self.text(first) not in bounds | set(OPENING):
            depth += (self.text(first) in CLOSING) - (self.text(first) in OPENING)
            first -= 1
        last = i + 1
        depth = 0
        while depth > 0 or self.text(last) not in bounds | CLOSING:
            depth += (self.text(last) in OPENING) - (self.text(last) in CLOSING)
            last += 1
        if self.text(first) not in ("&&", "||"):
            self.replace(first + 1, i - 1, neutral)
        self.replace(i + 1, last - 1, neutral)

    def number(self, i):
        digits = self.text(i).rstrip("uUlL")
        value = int(digits, 0)
        spell = hex if digits.lower().startswith("0x") else str
        self.replace(i, i, spell(value + 1))
        if value > 0:
            self.replace(i, i, spell(value - 1))

    def string(self, i):
        inside = self.text(i)[1:-1]
        if inside == "":
            self.replace(i, i, '"?"')
            return
        units = re.findall(r"\\.|.", inside)
        self.replace(i, i, '"' + "".join(units[1:]) + '"')
        if len(units) > 1:
            self.replace(i, i, '"' + "".join(units[:-1]) + '"')

    def name(self, i):
        text = self.text(i)
        if text in NAMES:
            self.replace(i, i, NAMES[text])
        elif text == "if_present" and self.text(i + 1) == "::":
            for other in ("refuse", "skip", "replace"):
                if self.text(i + 2) != other:
                    self.replace(i + 2, i + 2, other)
        elif text in self.integers and self.tokens[i].in_body:
            self.integer(i)
        if text in FIELDS and self.text(i - 1) in (".", "->"):
            self.replace(i, i, FIELDS[text])

    def integer(self, i):
        """An integer that is a whole argument, right side or result."""
        first = i
        while self.text(first - 1) in (".", "->"):
            first -= 2
        if self.text(first - 1) in ("(", ",", "=", "return", "?", ":") and self.text(i + 1) in (
            ")",
            ",",
            ";",
            ":",
        ):
            if self.text(first - 1) == "(" and self.text(first - 2) in ("sizeof", "switch", ""):
                return
            whole = self.source[self.tokens[first].start : self.tokens[i].end]
            self.replace(first, i, f"{whole} + 1")
            self.replace(first, i, f"{whole} - 1")

    def statement(self, i):
        text = self.text(i)
        if text == "if" and self.text(i + 1) == "(":
            self.condition(i + 1)
        elif text == "return":
            self.result(i)
        elif text in ("continue", "break"):
            self.replace(i, i, "")
        elif self.begins_statement(i) and self.is_expression(i):
            end = self.end_of_statement(i)
            if end is not None:
                self.replace(i, end - 1, "")

    def condition(self, opening):
        last = self.closing(opening) - 1
        inside = [self.text(j) for j in range(opening + 1, last + 1)]
        if "=" in inside:
            return
        self.replace(opening + 1, last, "false")
        # Of a single comparison or negation, the operator's own edits do the same.
        operators = [text for text in inside if text in OPERATORS or text == "!"]
        if "&&" in operators or "||" in operators or not operators:
            whole = self.source[self.tokens[opening + 1].start : self.tokens[last].end]
            self.replace(opening + 1, last, f"!({whole})")

    def result(self, i):
        end = self.end_of_statement(i)
        returned = [self.text(j) for j in range(i + 1, end)]
        if returned and returned not in (["0"], ["nullptr"], ["false"]):
            self.replace(i + 1, end - 1, "{}")

    def begins_statement(self, i):
        return self.text(i - 1) in (";", "{", "}") and not self.tokens[i].in_macro

    def is_expression(self, i):
        """Not a declaration: no two names, nor a name and a declarator, follow each other."""
        if self.text(i) in NO_EXPRESSION:
            return False
        if self.tokens[i].kind != "name":
            return self.text(i) in ("*", "++", "--", "(")
        i += 1
        while self.text(i) == "::":
            i += 2
        if self.text(i) == "<":
            return not self.is_binary(i)
        return self.text(i) in ("(", "[", ".", "->", "=", "+=", "-=") or self.text(i) in STEPS


def edits_of(source, integers):
    return Finder(source, integers).find()
