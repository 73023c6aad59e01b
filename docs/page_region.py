"""Replaces the generated part of a page, between two comment lines."""

import pathlib
import re

DOCS = pathlib.Path(__file__).resolve().parent


def replace_region(page, name, text):
    """Puts text between "<!-- NAME: generated -->" and "<!-- end of NAME -->" of docs/PAGE."""
    path = DOCS / page
    before = path.read_text(encoding="utf-8")
    pattern = rf"(<!-- {name}: generated -->\n).*?(<!-- end of {name} -->)"
    after, count = re.subn(pattern, lambda match: match[1] + "\n" + text.strip() + "\n\n" + match[2],
                           before, flags=re.DOTALL)
    if count != 1:
        raise SystemExit(f"{path}: the region {name} stands there {count} times, not once")
    path.write_text(after, encoding="utf-8")


def table(head, rows):
    """A Markdown table; numbers are aligned right by the colon in the rule."""
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    return "\n".join(lines + ["| " + " | ".join(map(str, row)) + " |" for row in rows])
