#!/usr/bin/env python3
"""Makes docs/messages.md and docs/velguid-messages.7 of catalogs/C and of what catalogs/messages.toml tells of
the messages with an identifier, which it holds to both catalogs and sources. With --check it only compares."""
import pathlib
import re
import sys
import tomllib

SOURCE = pathlib.Path("catalogs/messages.toml")
SEVERITIES = {"E": "Error", "W": "Warning", "I": "Information"}
FACTS = {"status": "exit status", "level": "level"}
REMARKS = {"cause": "Cause", "action": "What to do", "instead": "Not reported by this release"}
HEAD = "A message begins with its identifier, whose last letter tells an error (E), a warning (W) or information (I)."
MADE_BY = f"Made by scripts/message_reference.py of catalogs/C and {SOURCE}: edit these."
MARKDOWN = {
    "page": f"<!-- {MADE_BY} -->\n# Message reference\n\n{HEAD}\nThe manual page velguid-messages(7) has the same.\n",
    "catalog": "\n## {title}\n\n{about}\n", "message": "\n### {identifier}\n\n> `{text}`\n\n{facts}.\n\n",
    "parameter": "- `{place}`: {what}\n", "remark": "\n**{name}.** {what}\n", "catalog end": "", "page end": ""}
MANUAL = {
    "page": f".\\\" {MADE_BY}\n.Dd November 22, 2026\n.Dt VELGUID-MESSAGES 7\n.Os\n.Sh NAME\n.Nm velguid-messages\n"
            f".Nd what the messages of velguid and the logging toolkit mean\n.Sh DESCRIPTION\n{HEAD}\n",
    "catalog": ".Ss {title}\n{about}\n.Bl -diag\n", "message": ".It {identifier} {text}\n{facts}.\n",
    "parameter": ".Pp\n\\(oq{place}\\(cq: {what}.\n", "remark": ".Pp\n.Em {name} :\n{what}\n", "catalog end": ".El\n",
    "page end": ".Sh SEE ALSO\n.Xr pmxlog 3 ,\n.Xr velguid.properties 5 ,\n.Xr velguid 8\n"}


def read_messages(catalog):
    """The messages of a catalog that have an identifier: by number, identifier and text."""
    lines = pathlib.Path(f"catalogs/C/{catalog}.msg").read_text().replace("\\\n", "")
    return {found[1]: (found[2], found[3]) for found in re.finditer(r"^(\d+) ([A-Z]+\d+[EWI]) (.*)", lines, re.M)}


def read_reports():
    """By number of the toolkit's messages that its sources name: the levels at which they report it."""
    code = "".join(path.read_text() for path in pathlib.Path("log").iterdir())
    numbers = {name: number for number, name in re.findall(r"X\((\d+), (\w+),", code)}
    levels = {numbers[name]: set() for name in re.findall(r"\bMsg::(\w+)", code) if name in numbers}
    for level, name in re.findall(r"report\(PMX_(\w+),\s*Msg::(\w+)", code):
        levels[numbers[name]].add(level)
    return levels


def places(text):
    return sorted(re.findall(r"%(?:\d\$)?[.\d]*l?[dfs]", text))


def problems(catalog, told, known, reports):
    for number in told.keys() - {"title", "about"} ^ known.keys():
        yield f"{catalog} {number}: " + ("no such message" if number in told else "nothing is told of it")
    for number in told.keys() & known.keys():
        entry, count, is_tool = told[number], len(places(known[number][1])), catalog == "guidmsgs"
        if len(entry.get("parameters", [])) != count:
            yield f"{catalog} {number}: the text has {count} parameters"
        unlike = reports.get(number, set()) - {entry.get("level")}
        if not is_tool and (unlike or ("level" in entry) != (number in reports)):
            yield f"{catalog} {number}: the sources report it at another level, or not at all"
        wanted = {"cause", "action", "status" if is_tool else "level"} if is_tool or "level" in entry else {"instead"}
        if entry.keys() - {"parameters"} != wanted:
            yield f"{catalog} {number}: has to have {', '.join(sorted(wanted))}"


def roff(text):
    """Running text for a manual page: each sentence on a line, and what is literal in quotes."""
    text = text.replace("\\", "\\e").replace('"', "\\(dq")
    text = re.sub("`(.*?)`", lambda literal: f"\\(oq{literal[1]}\\(cq".replace("-", "\\-"), text)
    return re.sub("^(?=[.'])", r"\\&", re.sub(r"(?<=\.) (?=[A-Z\\])", "\n", text), flags=re.M)


def make(page, style, catalogs):
    yield page["page"]
    for catalog, (told, known) in catalogs.items():
        yield page["catalog"].format(title=told["title"], about=style(told["about"]))
        for number, (identifier, text) in sorted(known.items(), key=lambda each: (each[1], each[0])):
            entry = told[number]
            rank = next((f"{FACTS[key]} {entry[key]}" for key in FACTS if key in entry), "reserved")
            facts = style(f"{SEVERITIES[identifier[-1]]}, message {number} of the catalog `{catalog}`, {rank}")
            yield page["message"].format(identifier=identifier, text=style(text).replace("\n", " "), facts=facts)
            for place, what in zip(places(text), entry.get("parameters", [])):
                yield page["parameter"].format(place=place, what=style(what))
            for key in filter(entry.get, REMARKS):
                yield page["remark"].format(name=REMARKS[key], what=style(entry[key]))
        yield page["catalog end"]
    yield page["page end"]


def main():
    catalogs = {name: (told, read_messages(name)) for name, told in tomllib.loads(SOURCE.read_text()).items()}
    reports = read_reports()
    if found := [problem for name, pair in catalogs.items() for problem in problems(name, *pair, reports)]:
        sys.exit("\n".join(f"{SOURCE}: {problem}" for problem in sorted(found)))
    for path, page, style in ("docs/messages.md", MARKDOWN, str), ("docs/velguid-messages.7", MANUAL, roff):
        text = re.sub(r"\n{3,}", "\n\n", "".join(make(page, style, catalogs)))
        if "--check" not in sys.argv:
            pathlib.Path(path).write_text(text)
        elif pathlib.Path(path).read_text() != text:
            sys.exit(f"{path} is not up to date: run scripts/message_reference.py")


if __name__ == "__main__":
    main()
