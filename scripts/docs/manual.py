"""The command's manual, from the form that scdoc reads to Markdown."""
import re

TITLE = "# The pixmorph command"
BOLD, UNDERLINED = re.compile(r"(?<!\\)\*(.+?)(?<!\\)\*"), re.compile(r"(?<![\\\w])_(.+?)(?<!\\)_(?!\w)")


def manual_as_markdown(text):
    """Headings one level lower, a term's explanation as a definition, indented paragraphs as code."""
    lines, previous = [TITLE], ""
    for line in text.split("\n")[1:]:
        if line.startswith("\t"):
            lines += _indented(line[1:], previous, lines)
        elif line.startswith("#"):
            lines.append(_heading(line))
        else:
            lines.append(_formatted(line))
        previous = line
    return "\n".join(lines) + "\n"


def _heading(line):
    marks, words = line.split(" ", 1)
    return f"#{marks} {words.capitalize() if words.isupper() else words}"


def _indented(line, previous, lines):
    if previous.startswith("\t"):
        in_code = lines[-1].startswith("    ") and not lines[-1].startswith("    :")
        return ["    " + (_plain(line) if in_code else _formatted(line))]
    if previous == "":
        return ["    " + _plain(line)]
    return [":   " + _formatted(line)]


def _plain(line):
    return re.sub(r"\\(.)", r"\1", line)


def _formatted(line):
    hard = line.endswith("++")
    line = line.removesuffix("++").replace("<", "&lt;")
    line = BOLD.sub(r"**\1**", line)
    return UNDERLINED.sub(r"<em>\1</em>", line) + ("  " if hard else "")
