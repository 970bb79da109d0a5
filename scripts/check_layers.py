#!/usr/bin/env python3
"""Checks who includes whom: layers look down, headers form no cycle, a public header is alone; and
that the toolkit does not call its own public forms, whose lock it holds."""
import pathlib
import re
import subprocess
import sys

# Each folder with the folders that it may include from, besides its own.
LAYERS = {
    "i18n": set(),
    "runtime": {"i18n"},
    "log": {"runtime", "i18n"},
    "guid": set(),
    "common": {"guid", "log", "runtime", "i18n"},
    "veltool": {"guid", "log", "runtime", "i18n"},
}
PUBLIC = re.compile(r"(mab|rak|cx_\w+|pmx_?\w*|vel_guid|guid)\.h$")
LOCK_FREE = {"PmxIsToolkitOpen"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def includes(path):
    """The files that a file includes by quotes, as paths from the root."""
    found = []
    for name in INCLUDE.findall(path.read_text()):
        beside = path.parent / name
        found.append(beside if beside.exists() else pathlib.Path(name))
    return found


def cycles(graph):
    """Each header that leads back to itself, once, with the way."""
    done = set()

    def walk(node, way):
        if node in way:
            yield way[way.index(node):] + [node]
        elif node not in done:
            for target in graph.get(node, []):
                yield from walk(target, way + [node])
            done.add(node)

    for node in sorted(graph):
        yield from walk(node, [])


def locked_calls():
    """The calls that take the toolkit's lock, and where the toolkit itself makes one of them."""
    public = {path: path.read_text() for path in pathlib.Path("log").glob("api*.cpp")}
    names = {name for text in public.values() for name in re.findall(r"^\w.*?\b(Pmx\w+)\(", text, re.M)}
    for path in sorted(pathlib.Path("log").glob("*.*")):
        if path in public or PUBLIC.match(path.name) or path.suffix not in (".h", ".cpp"):
            continue
        code = re.sub(r"//[^\n]*", "", path.read_text())
        for name in set(re.findall(r"\b(Pmx\w+)\(", code)) & names - LOCK_FREE:
            yield f"{path}: calls {name}, which takes the lock"


def main():
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "*.h", "*.cpp"],
                            capture_output=True, text=True).stdout.split()
    files = [pathlib.Path(name) for name in listed] or [
        path for folder in LAYERS for path in pathlib.Path(folder).glob("*.[hc]*")]
    problems, graph, seen = [], {}, 0
    for path in files:
        folder = path.parts[0]
        if folder not in LAYERS:
            continue
        seen += 1
        targets = includes(path)
        if path.suffix == ".h":
            graph[path] = targets
        for target in targets:
            if not target.exists():
                problems.append(f"{path}: includes {target}, which is not there")
            elif target.parts[0] != folder and target.parts[0] not in LAYERS[folder]:
                problems.append(f"{path}: looks up to {target}")
            elif PUBLIC.match(path.name) and path.suffix == ".h" and target.parts[0] != folder:
                problems.append(f"{path}: a public header includes {target} of another folder")
    problems += locked_calls()
    problems += ["headers in a cycle: " + " -> ".join(map(str, way)) for way in cycles(graph)]
    print("\n".join(problems) or f"{seen} files keep the layers")
    return 1 if problems or not seen else 0


if __name__ == "__main__":
    sys.exit(main())
