"""Writes a page of the manual (mdoc).

    manual.py program PROGRAM OTHERS...   of a program, from what its --help says
    manual.py page NAME FILE OTHERS...    section 5, from a page of docs/

OTHERS are the pages to refer to, as tpcli.1. The last line of changelog.in has the date.

The help of all programs has one layout: a paragraph that begins with what the program does,
"Usage:", then paragraphs and lists. A list may stand below a line that ends in a colon; its entries
begin two blanks in, and what is said of them stands further in, or two blanks behind them."""

import email.utils
import pathlib
import re
import subprocess
import sys
import textwrap

HERE = pathlib.Path(__file__).resolve().parent
# Lists with a section of their own, in the order of sections in manuals.
SECTIONS = ["COMMANDS", "ENVIRONMENT", "FILES", "EXIT STATUS", "EXAMPLES"]


def escaped(text):
    """Text of which nothing is read as a macro or an escape."""
    text = text.replace("\\", "\\e")
    return "\\&" + text if text.startswith((".", "'")) else text


def argument(word):
    """A word on the line of a macro: no macro, no punctuation of its own."""
    word = escaped(word).replace('"', "\\(dq")
    return "\\&" + word if re.fullmatch(r"[A-Z%][a-z0-9]|[].,:;()?!|[]", word) else word


def sentences(text):
    """Lines of a running text, each sentence begun on one of its own."""
    parts = re.split(r"(?<=[\w)\"][.?!]) +(?=[A-Z\"\\])", " ".join(text.split()))
    lines = (line for part in parts for line in textwrap.wrap(part, 79, break_long_words=False, break_on_hyphens=False))
    return ["\\&" + line if line.startswith((".", "'")) else line for line in lines]


def paragraph(text):
    return sentences(text.replace("\\", "\\e"))


def atom(word):
    if word.startswith("-"):
        return f"Fl {argument(word[1:])}"
    if word == "|":
        return "No \\&|"
    plain = re.fullmatch(r"[a-z][a-z0-9-]*", word)
    return f"{'Cm' if plain else 'Ar'} {argument(word)}"


# Brackets within a word, as in LOW[-HIGH].
WITHIN = re.compile(r"(?<=[^\s[(])\[([^][\s]*)\]|\[([^][\s]*)\](?=[^\s\])])")


def form(words):
    """How something is written, as macros: [ ] and ( ) around parts, upper case for arguments."""
    macros = {"[": "Oo", "]": "Oc", "(": "Po", ")": "Pc"}
    words = WITHIN.sub(lambda found: f"\1{found[1] or found[2]}\2", words)
    result = []
    for word in re.sub(r"([\]\[(),])(?=\s|$|[\]\[()])|([\[(])", r" \1\2 ", words).split():
        word = word.replace("\1", "[").replace("\2", "]")
        result.append(macros.get(word) or ("Ns No \\&," if word == "," else atom(word)))
    return result


def entries(lines):
    """The entries of a list of the help, as pairs of how they are written and what is said."""
    result = []
    for line in lines:
        indent = len(line) - len(line.lstrip())
        if indent == 2 or re.match(r" {2,4}\d+  ", line):
            tag, _, text = line.strip().partition("  ")
            result.append([tag, text])
        elif indent == 10:  # a long command goes on
            result[-1][0] += " " + line.strip()
        else:
            result[-1][1] += " " + line.strip()
    return result


def tagged(pairs):
    lines = [".Bl -tag -width Ds"]
    for tag, text in pairs:
        lines += [f".It {tag}", *paragraph(text)]
    return [*lines, ".El"]


def listed(title, lines):
    if title == "EXAMPLES":
        return [".Bd -literal -offset indent", *(escaped(line[2:]).replace("-", "\\-") for line in lines), ".Ed"]
    macro = {"ENVIRONMENT": "Ev", "FILES": "Pa", "EXIT STATUS": "Li"}.get(title)
    return tagged([(f"{macro} {argument(tag)}" if macro else " ".join(form(tag)), text)
                   for tag, text in entries(lines)])


def synopsis(name, lines):
    """The ways to call a program; each begins with its name, and breaks between options only."""
    calls = re.split(rf"(?:^| ){name} ", " ".join(" ".join(lines).removeprefix("Usage:").split()))
    result = []
    for call in filter(None, calls):
        depth = 0
        result.append(".Nm")
        for macro in form(call):
            result.append(f".{macro}") if depth == 0 else result.append(result.pop() + " " + macro)
            depth += {"Oo": 1, "Oc": -1}.get(macro, 0)
    return result


def heading(name, section, purpose, description, others):
    released = (HERE / "changelog.in").read_text().strip().split("  ")[-1]
    date = email.utils.parsedate_to_datetime(released)
    top = [f".Dd {date:%B} {date.day}, {date.year}", f".Dt {name.upper()} {section}", ".Os",
           ".Sh NAME", f".Nm {name}", f".Nd {escaped(purpose[0].lower() + purpose[1:])}"]
    pages = [other.rsplit(".", 1)[::-1] for other in others if other != f"{name}.{section}"]
    references = " ,\n".join(f".Xr {page} {number}" for number, page in sorted(pages))
    return [*top, *description, ".Sh SEE ALSO", references]


def program_page(program, *others):
    """A paragraph of the help is a list, with or without a title, or a text."""
    name = pathlib.Path(program).name
    done = subprocess.run([program, "--help"], capture_output=True, text=True, check=True)
    first, usage, *blocks = [block.split("\n") for block in done.stdout.strip().split("\n\n")]
    description = [".Sh SYNOPSIS", *synopsis(name, usage), ".Sh DESCRIPTION", *paragraph(" ".join(first))]
    sections = {}
    for title, *lines in blocks:
        if title.startswith(" "):
            description += listed("", [title, *lines])
        elif not (title.endswith(":") and lines and lines[0].startswith("  ")):
            description += [".Pp", *paragraph(" ".join([title, *lines]))]
        elif title[:-1].upper() in SECTIONS:
            sections[title[:-1].upper()] = lines
        else:
            description += [".Pp", *paragraph(title), *listed("", lines)]
    for section in SECTIONS:
        if section in sections:
            description += [f".Sh {section}", *listed(section, sections[section])]
    purpose = re.split(r"[:.;](?: |$)", " ".join(first))[0]
    return heading(name, "1", purpose, description, others)


def inline(text):
    """Text of a page of docs/: code in bold, links as what they are called."""
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", text)
    parts = re.split(r"`([^`]*)`", text)
    for place, part in enumerate(parts):
        part = part.replace("\\|", "|").replace("\\", "\\e")
        parts[place] = f"\\fB{part}\\fP" if place % 2 else re.sub(r"\*\*([^*]*)\*\*", r"\\fI\1\\fP", part)
    return "".join(parts)


def running(lines):
    return sentences(inline(" ".join(lines)))


def table(lines):
    """The first column says what the others are about."""
    rows = [[cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]] for line in lines]
    names = rows[0]
    result = [".Bl -tag -width Ds"]
    for row in rows[2:]:
        said = ". ".join([row[1], *(f"{name.capitalize()}: {cell}" for name, cell in zip(names[2:], row[2:]))])
        result += [f".It {inline(row[0])}", *(running([said]) if said else [])]
    return [*result, ".El"]


def blocks_of(text):
    """Fenced code, and what empty lines separate."""
    for place, part in enumerate(re.split(r"^```\w*\n(.*?)^```$", text, flags=re.MULTILINE | re.DOTALL)):
        if place % 2:
            yield "code", part.rstrip("\n").split("\n")
            continue
        for block in part.strip("\n").split("\n\n"):
            lines = block.strip("\n").split("\n")
            if lines[0]:
                yield {"#": "title", "|": "table", "-": "list"}.get(lines[0][0], "text"), lines


def block(kind, lines):
    if kind == "code":
        return [".Bd -literal", *map(escaped, lines), ".Ed"]
    if kind == "title":
        level, _, title = lines[0].partition(" ")
        return [f".Sh {inline(title).upper()}" if level == "##" else f".Ss {inline(title)}"]
    if kind == "table":
        return table(lines)
    if kind == "list":
        items = re.split(r"\n- ", "\n" + "\n".join(lines))[1:]
        return [".Bl -bullet", *(line for item in items for line in (".It", *running([item]))), ".El"]
    return [".Pp", *running(lines)]


def document_page(name, file, *others):
    (_, title), *blocks = blocks_of(pathlib.Path(file).read_text())
    body = [".Sh DESCRIPTION"]
    for kind, lines in blocks:
        written = block(kind, lines)
        # A paragraph needs no space where a section begins.
        body += written[1:] if written[0] == ".Pp" and body[-1].startswith((".Sh", ".Ss")) else written
    return heading(name, "5", title[0].lstrip("# "), body, others)


if __name__ == "__main__":
    page = {"program": program_page, "page": document_page}[sys.argv[1]](*sys.argv[2:])
    sys.stdout.write("\n".join(page) + "\n")
