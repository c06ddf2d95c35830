"""The kept lists, tests/mutation/*.txt: blocks of a text and the edits that it is about.

    A text of one or more lines.
    src/map.cpp, put
    - the lines as they are
    + the lines as they are after the edit

A place names a file and, where that is not enough, a function in it. Edits are compared by their
words: neither indentation nor line breaks count.
"""

import re
from collections import namedtuple

Change = namedtuple("Change", "file function old new")
Block = namedtuple("Block", "text changes")

PLACE = re.compile(r"((?:src|addrkit)/\S+?)(?:, (.+))?$")
CLASS = re.compile(r"(?:struct|class) (?:\[\[.*\]\] )?(\w+)")
DEFINITION = re.compile(r"(\w+)(?:\(|\[\]|\{| = )")


def squeeze(text):
    return re.sub(r"\s+", " ", text).strip()


def blocks(path):
    found = []
    for paragraph in re.split(r"\n\s*\n", path.read_text()):
        lines = [line for line in paragraph.splitlines() if line and not line.startswith("#")]
        if lines:
            found.append(block(path, lines))
    return found


def block(path, lines):
    text, changes = [], []
    place = None
    previous = ""
    for line in lines:
        if line[0] in "-+" and place is None:
            raise ValueError(f"{path}: no place before: {line}")
        if line[0] == "-":
            if previous != "-":
                changes.append(Change(*place, "", ""))
            changes[-1] = changes[-1]._replace(old=f"{changes[-1].old}{line[1:]}\n")
        elif line[0] == "+":
            changes[-1] = changes[-1]._replace(new=f"{changes[-1].new}{line[1:]}\n")
        elif match := PLACE.match(line):
            place = match.groups()
        else:
            text.append(line)
        previous = line[0]
    return Block(squeeze(" ".join(text)), changes)


def function_at(source, position):
    """The function, or else the definition, that the position lies in."""
    for line in reversed(source[: source.find("\n", position)].splitlines()):
        if line.startswith("#define "):
            return re.match(r"#define (\w+)", line).group(1)
        if not line or line[0] in " {}#/\\" or line.startswith(("template", "namespace")):
            continue
        if match := CLASS.match(line):
            return "::".join(filter(None, (match.group(1), member_at(source, position))))
        if match := DEFINITION.search(line):
            return match.group(1)
    return ""


def member_at(source, position):
    for line in reversed(source[: source.find("\n", position)].splitlines()):
        if not line.startswith(" ") and line.startswith(("struct", "class", "template")):
            return None
        if re.match(r" {4}\S.*[^;]$", line) and not line.strip().startswith(("//", ")", "}", "{")):
            if match := re.search(r"(\w+)\(", line):
                return match.group(1)
    return None


def applied(change, source):
    """The source with the change made in it. The old text must stand in one place alone."""
    words = [re.escape(word) for word in change.old.split()]
    found = [
        match
        for match in re.finditer(r"\s+".join(words), source)
        if change.function in (None, function_at(source, match.start()))
    ]
    if len(found) != 1:
        raise ValueError(
            f"{change.file}: stands in {len(found)} places, not one:\n{change.old.rstrip()}"
        )
    return source[: found[0].start()] + change.new.strip() + source[found[0].end() :]
