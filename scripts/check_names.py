#!/usr/bin/env python3
"""Checks that every call a public header declares is defined once in its folder, and is documented
by a comment or a neighbour above it; that no source pastes names together; and that the properties
which the toolkit's classes know are those of docs/properties.md and of veltool."""
import pathlib
import re
import sys

HEADERS = {"guid": ["guid.h", "vel_guid.h"], "i18n": ["mab.h"],
           "log": ["pmx_classes.h", "pmx_collections.h", "pmx_log.h", "pmx_toolkit.h", "pmx_types.h"],
           "runtime": ["cx_os.h", "cx_printf.h", "cx_shmem.h", "cx_stringbuff.h", "cx_text.h", "rak.h"]}
HIGHER = {"CxPropListRead"}  # declared beside its siblings, defined by the layer above
DECLARATION = re.compile(r"^(?:const )?(?:unsigned |struct )*\w+\*{0,2} (\w+)\(([^;{]*)\);", re.M)
PROPERTY_TABLE = re.compile(r"\bProperty\w* kProperties\[\] = \{(.*?)\};", re.S)
RULE = re.compile(r'^    \{"(\w+)",\s*"(\w+)",\s*judge::', re.M)  # source file, key
NOT_OF_A_CLASS = {"className"}  # read before there is an object
DEFINITION = re.compile(r"^[\w:*& ]+\b(\w+)\(([^;{]*)\)\s*\{", re.M)
PASTING = re.compile(r"^\s*#\s*define\b.*##", re.M)


def without_comments(text):
    """The text without comments, and without attributes, which look like calls."""
    return re.sub(r"/\*.*?\*/|//[^\n]*|\s*__attribute__\(\(.*?\)\)\)", "", text, flags=re.S)


def parameters(text):
    return 0 if text.strip() in ("", "void") else text.count(",") + 1


def property_problems():
    rows = {(path.stem, key) for path in pathlib.Path("log").glob("*.cpp")
            for table in PROPERTY_TABLE.findall(path.read_text())
            for key in re.findall(r'\{"(\w+)"', table)}
    rules = set(RULE.findall(pathlib.Path("veltool/config_rules.cpp").read_text()))
    known = {key for _, key in rows} | NOT_OF_A_CLASS
    told = set(re.findall(r"^\| `(\w+)` \|", pathlib.Path("docs/properties.md").read_text(), re.M))
    return ([f"docs/properties.md: tells nothing of {key}" for key in sorted(known - told)] +
            [f"docs/properties.md: no class knows {key}" for key in sorted(told - known)] +
            [f"log/{stem}.cpp and veltool/config_rules.cpp: only one has {key}"
             for stem, key in sorted(rows ^ rules)])


def main():
    problems, calls = [], 0
    for folder, headers in HEADERS.items():
        sources = {path: without_comments(path.read_text())
                   for path in sorted(pathlib.Path(folder).glob("*.cpp"))}
        definitions = {}
        for path, source in sources.items():
            for name, taken in DEFINITION.findall(source):
                definitions.setdefault(name, []).append((path, taken))
        for header in headers:
            text = without_comments(pathlib.Path(folder, header).read_text())
            for name, declared in DECLARATION.findall(text):
                if name in HIGHER:
                    continue
                calls += 1
                found = definitions.get(name, [])
                if len(found) != 1:
                    problems.append(f"{folder}/{header}: {name} is defined {len(found)} times")
                elif parameters(found[0][1]) != parameters(declared):
                    problems.append(f"{found[0][0]}: {name} takes other parameters than declared")
        for path, source in sources.items():
            if PASTING.search(source):
                problems.append(f"{path}: a name made by pasting")
    problems += property_problems()
    print("\n".join(problems) or f"{calls} public calls are defined as declared")
    return 1 if problems or not calls else 0


if __name__ == "__main__":
    sys.exit(main())
