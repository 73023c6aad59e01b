#!/usr/bin/env python3
"""Prints a header with its plain comments marked for doxygen.

A comment before a declaration becomes a documentation comment, and one behind an enumerator that of
the enumerator. In the comment of a function, indented lines ("  name   text") describe parameters,
which doxygen then compares with the declaration. Other indented lines keep their shape.
"""

import re
import sys

COMMENT = re.compile(r"^( *)/\*(.*?)\*/", re.MULTILINE | re.DOTALL)
PARAMETER = re.compile(r"^  ([a-z_]+)  +(\S.*)$")


def mark_file_comment(text):
    return "/** @file\n@verbatim\n" + "\n".join(text) + "\n@endverbatim\n*/"


def mark_lines(lines, has_parameters):
    """The lines with doxygen's commands for parameters, results and preformatted lines."""
    marked, shaped = [], False
    in_parameter = False
    for line in lines:
        match = PARAMETER.match(line)
        if match and has_parameters:
            in_parameter = True
            marked.append(f"@param {match.group(1)} {match.group(2)}")
            continue
        in_parameter = in_parameter and line.startswith("     ")
        indented = line.startswith("  ") and not in_parameter
        if indented != shaped and line:
            marked.append("@verbatim" if indented else "@endverbatim\n")
            shaped = indented
        if line.startswith("Returns "):
            line = "@return " + line[len("Returns "):]
        marked.append(line)
    return marked + (["@endverbatim"] if shaped else [])


def clean_lines(text):
    """The comment's lines without the decoration before each."""
    return [re.sub(r"^ *\* ?", "", line) if i else line.strip()
            for i, line in enumerate(text.rstrip().split("\n"))]


def precedes_function(header, position):
    """Whether the declaration that follows is a function's; only there do parameters exist."""
    declaration = header[position:header.find(";", position)].lstrip()
    other = re.match(r"(typedef|struct|enum|#|/)", declaration)
    return other is None and "audioConverter" in declaration


def mark(header):
    first = True

    def replace(match):
        nonlocal first
        indent, text = match.group(1), match.group(2)
        if text.startswith(" ----") or text.startswith("*"):
            return match.group(0)
        lines = clean_lines(text)
        if first:
            first = False
            return mark_file_comment(lines)
        marked = mark_lines(lines, precedes_function(header, match.end()))
        return indent + "/** " + "\n".join(marked) + " */"

    marked = COMMENT.sub(replace, header)
    marked = re.sub(r"(?m)(\S.*[^/\s]) +/\*( [^*]*\*/)$", r"\1 /**<\2", marked)
    # The comment before a forward declaration is that of the record itself.
    marked = re.sub(r"(?m)^typedef struct (\w+) \1;\n(?=struct \1 {)", "", marked)
    # Two declarations in a row share the comment before the first.
    about, guard, code = marked.partition("#ifndef")
    shared = r"(?m)(?<=;\n)((?:typedef|    \w).*\);|    uint8_t \w+\[.*;)$"
    return about + guard + re.sub(shared, r"\1 /**< As the one before. */", code)


sys.stdout.write(mark(open(sys.argv[1], encoding="utf-8").read()))
