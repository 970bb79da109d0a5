#!/usr/bin/env python3
"""Runs the benchmarks of a build and writes docs/performance.md with a plot for each part: only ratios,
each of two things measured in the same run. The part "guid" reads a host GUID, so it wants a private host:
tests/support/scratch-host bench/report.py BUILD [--only PART]. With --only, the report
keeps what it has of the other parts."""
import argparse
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).parent.parent
DOCS = ROOT / "docs"

# What is measured, against what, the goal for the ratio (None: there is none) and whether it is a bound from
# below.
GUID_ROWS = [
    ("one GUID, back to back", "generate", "generate_libuuid", "libuuid", 0.011, False),
    ("one GUID, four threads", "generate_four", "generate_libuuid", "libuuid", 0.015, False),
    ("one GUID, a single call", "single", "single_floor", "two mutexes and the clock", 1.4, False),
    ("record to text (and free)", "to_string", "to_string_libuuid", "libuuid", 1.5, False),
    ("text to record, times as fast", "from_string_libuuid", "from_string", "libuuid", 8, True),
    ("GUID from a name", "from_name", "from_name_libuuid", "libuuid", 1.6, False),
    ("velguid -Show, time", "time velguid", "time uuidgen", "uuidgen", 1.15, False),
    ("velguid -Show, time", "time velguid", "time hello", "a C hello", 1.8, False),
    ("velguid -Quiet -Show, time", "time quiet", "time uuidgen", "uuidgen", None, False),
    ("velguid -Quiet -Show, time", "time quiet", "time hello", "a C hello", None, False),
    ("velguid -Show, peak memory", "memory velguid", "memory hello", "a C hello", 1.5, False),
]

CATALOG_ROWS = [
    ("message in the default code set, time", "get", "get_glibc", "catgets", 1.6, False),
    ("message in UTF-8, time", "get_utf8", "get_glibc", "catgets", 1.6, False),
    ("message, times as fast", "get_gettext", "get", "dcgettext", 25, True),
    ("opening, one message, closing for good, time", "open", "open_glibc", "glibc", 0.6, False),
    ("reopening by path, one message, closing, time", "reopen", "open_glibc", "glibc", 0.03, False),
    ("reopening along NLSPATH, one message, closing, time", "search", "search_glibc", "glibc", None, False),
]

LOG_ROWS = [
    ("call that is not loggable, time", "disabled", "disabled_spdlog", "spdlog", 0.45, False),
    ("call that is not loggable, time", "disabled", "disabled_log4cplus", "log4cplus", 1.2, False),
    ("event to a handler that does nothing, time", "event", "event_spdlog", "spdlog to its file", 0.4, False),
    ("event, allocations", "event allocations", "one", "one event", 4, False),
    ("record, without its file, time", "format", "format_spdlog", "spdlog to its buffer", 0.8, False),
    *((f"record in a rolling file{threads}, time", ours, f"{ours}_{peer}", text, goal, False)
      for ours, threads, spdlog, others in [("file", "", 1.1, 0.6), ("four", ", four threads", 1.0, 0.75)]
      for peer, text, goal in [("spdlog", "spdlog", spdlog), ("log4cxx", "log4cxx", others),
                               ("log4cplus", "log4cplus", others), ("boost", "Boost.Log", others)]),
    ("record in a rolling file, time", "file", "file_floor", "statx and write", 1.35, False),
    ("record in a rolling file, system calls", "file calls", "one", "one record", 2, False),
    ("object by name and its release, time", "object", "find", "unordered_map", 2, False),
    ("property of an object, copied, time", "property", "find_text", "unordered_map", 2, False),
    ("class by name, time", "class", "find", "unordered_map", 2, False),
    ("configuration by name and its release, time", "configuration", "find", "unordered_map", 2, False),
    ("opening, 100,000 properties of 20,000 configurations, closing, time", "open_shared_100000",
     "open_shared_10000", "a tenth of it", 12, False),
    ("opening, 100,000 configurations of one parent, closing, time", "open_alone_100000", "open_alone_10000",
     "a tenth of it", 12, False),
]

MULTIPROCESS_ROWS = [
    ("record of four processes, time", "four:ours", "four:log4cplus", "log4cplus", 0.55, False),
    ("record of four processes, time", "four:ours", "four:blocking", "a lock that queues", 0.15, False),
    ("record of four processes, time", "four:ours", "four:floor", "lock, statx, write, unlock", 1.3, False),
    ("record of four processes, 99.9% of calls within", "four tail:ours", "four tail:log4cplus", "log4cplus",
     0.35, False),
    ("record of one process, time", "one:ours", "one:log4cplus", "log4cplus", 0.5, False),
    ("record of one process, time", "one:ours", "one:floor", "lock, statx, write, unlock", None, False),
    ("record of one process, system calls", "calls", "one", "one record", None, False),
    ("packet into the channel, time", "channel:send", "channel:floor", "lock, copy, unlock", 2, False),
    ("event into the channel, time", "channel:handler", "channel:floor", "lock, copy, unlock", None, False),
]

# Logs of each formatter, read for errors.
READ_LOGS = {"traces": "pmx_veltraceformatter", "XML records": "pmx_xmlformatter"}
GREP_LOCALES = ["C", "C.UTF-8"]
READ_GOAL = 0.5
MEMORY_GOAL = 1.1  # of a log ten times as large

# The same of what is measured under one name for ours and for the peer.
RUNTIME_ROWS = [
    ("text and int by position", "snprintf", 1.5, True),
    ("text and int by position", "{fmt} to a string", 1.3, False),
    ("text and int by position", "{fmt} to its buffer", None, False),
    ("text and int in order", "snprintf", None, True),
    ("text and int in order", "{fmt} to a string", None, False),
    ("six fields by position", "snprintf", 1.7, True),
    ("real number to two places", "snprintf", 2, True),
    ("appending a text", "std::string", 1.5, False),
    ("appending an integer", "std::to_chars", 2, False),
    ("free semaphore", "semop", 1.1, False),
    ("semaphore of four processes", "semop", 0.2, False),
]

# Texts in code sets, and how many times as fast as iconv and as ICU they are to be converted: to UTF-8
# and from it.
CONVERSIONS = [
    ("ASCII in ISO-8859-1", (20, 8), (20, 8)),
    ("ASCII in CP943", (20, 8), (20, 8)),
    ("Russian in KOI8-R", (4, 2.5), (1.7, 0.85)),
    ("Japanese in CP943", (2.6, 2.7), (1.3, 0.9)),
    ("Japanese in EUC-JP", (1.5, 2), (7.5, 2)),
    ("mixed Chinese in GB18030", (1.3, 1.9), (1.2, 1.7)),
    ("English in CP1047", (3.8, 2.8), (3.4, 3)),
    ("mixed Japanese in CP939", (3.7, 3.5), (20, 4)),
    ("ASCII in UTF-8", (20,), ()),
    ("French in UTF-8", (5,), ()),
    ("Japanese in UTF-8", (3,), ()),
]
SIZES = ["64 KB", "80 bytes"]
COPY_GOAL = 5  # ASCII in sets that have it as it is: the time of memcpy
OPENED = {"CP943": "943", "ISO-8859-15": "ISO885915", "CP1047": "1047"}  # with the names of the tables
OPEN_GOAL = 0.6


def library_times(program, seconds):
    """Nanoseconds of each benchmark, and its allocations if it counts them: the median of several runs."""
    done = subprocess.run(
        [program, "--benchmark_format=json", "--benchmark_repetitions=7", f"--benchmark_min_time={seconds}",
         "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"],
        stdout=subprocess.PIPE, check=True, text=True)
    times = {}
    for row in json.loads(done.stdout)["benchmarks"]:
        if row["aggregate_name"] == "median":
            rate = row.get("items_per_second")  # of all threads together
            name = row["run_name"].split("/")[0]
            times[name] = 1e9 / rate if rate else row["real_time"]
            if "allocations" in row:
                times[f"{name} allocations"] = row["allocations"]
    return times


def peak_memory(command):
    """The largest resident set of a process, in KiB, the least of some runs."""
    peaks = []
    for _ in range(10):
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
        peaks.append(os.wait4(process.pid, 0)[2].ru_maxrss)
        process.returncode = 0
    return min(peaks)


def system_calls(program, library):
    """The system calls of a record, to a tenth: what is done now and then has no part in that, nor the start."""
    def calls(records):
        with tempfile.NamedTemporaryFile("r") as summary:
            subprocess.run(["strace", "-f", "-c", "-U", "calls,name", "-o", summary.name, program, "write",
                            library, str(records)], check=True)
            return int(re.search(r"(\d+) total", summary.read())[1])
    few, many = 1_000, 11_000
    return round((calls(many) - calls(few)) / (many - few), 1)


def process_costs(binaries):
    report = pathlib.Path("/opt/start.json")
    subprocess.run([ROOT / "bench/start.sh", binaries.parent, report], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    results = json.loads(report.read_text())["results"]
    costs = {f"time {result['command']}": result["median"] * 1e9 for result in results}
    commands = {"velguid": ["/opt/velmar/guid/bin/velguid", "-Show"], "hello": [binaries / "hello"]}
    return {**costs, **{f"memory {name}": peak_memory(words) for name, words in commands.items()}}


def opening_times(binaries, code_set):
    """Nanoseconds in which each opens a code set in a fresh process, the median of many in turn."""
    def run(*words):
        return subprocess.run([binaries / "open_code_set", *words], check=True, text=True,
                              stdout=subprocess.PIPE).stdout.strip()
    names = {"mab": OPENED[code_set], "iconv": run("name", code_set), "ICU": code_set}
    times = [[int(run(who, name)) for who, name in names.items()] for _ in range(200)]
    return dict(zip(names, map(statistics.median, zip(*times))))


def ratios(rows, cost):
    for name, ours, theirs, peer, goal, at_least in rows:
        yield name, peer, [cost[ours] / cost[theirs]], goal, at_least


def guid_rows(binaries):
    cost = {**library_times(binaries / "bench_guid", 0.15), **process_costs(binaries)}
    subprocess.run(["umount", "/etc", "/opt"], check=True)  # the plotter wants the host's
    for name in ["single", "single_floor"]:
        cost[name] -= cost["single_nothing"]
    yield from ratios(GUID_ROWS, cost)


def runtime_rows(binaries):
    locks = subprocess.run([binaries / "bench_semaphore"], stdout=subprocess.PIPE, check=True, text=True)
    cost = {**library_times(binaries / "bench_printf", 0.1), **json.loads(locks.stdout)}
    for name, peer, goal, at_least in RUNTIME_ROWS:
        ours, theirs = cost[f"{name}:cx"], cost[f"{name}:{peer}"]
        if at_least:
            yield name, peer, [theirs / ours], goal, True
        else:
            yield name + ", time", peer, [ours / theirs], goal, False


def convert_rows(binaries):
    cost = library_times(binaries / "bench_convert", 0.05)
    for text, *goals in CONVERSIONS:
        for direction, peer_goals in zip(["to", "from"], goals):
            name = f"{text}, {direction} UTF-8"
            for peer, goal in zip(["iconv", "ICU"], peer_goals):
                yield name, peer, [cost[f"{name}:{size}:{peer}"] / cost[f"{name}:{size}:mab"]
                                   for size in SIZES], goal, True
            if f"{name}:{SIZES[0]}:memcpy" in cost:
                yield name + ", time", "memcpy", [
                    cost[f"{name}:{size}:mab"] / cost[f"{name}:{size}:memcpy"] for size in SIZES
                ], COPY_GOAL, False
    for code_set in OPENED:
        times = opening_times(binaries, code_set)
        for peer in ["iconv", "ICU"]:
            yield f"opening {code_set}, time", peer, [times["mab"] / times[peer]], OPEN_GOAL, False


def catalog_rows(binaries):
    return ratios(CATALOG_ROWS, library_times(binaries / "bench_catalog", 0.1))


def log_rows(binaries):
    return ratios(LOG_ROWS, {**library_times(binaries / "bench_log", 0.1),
                             **library_times(binaries / "bench_log_file", 0.1),
                             "file calls": system_calls(binaries / "bench_log_file", "file"), "one": 1})


def multiprocess_rows(binaries):
    program = binaries / "bench_multiprocess"
    done = subprocess.run([program], stdout=subprocess.PIPE, check=True, text=True)
    return ratios(MULTIPROCESS_ROWS, {**json.loads(done.stdout), "calls": system_calls(program, "ours"), "one": 1})


def least_time(command, locale):
    """Seconds, the least of several runs."""
    times = []
    for _ in range(15):
        start = time.monotonic()
        subprocess.run(command, stdout=subprocess.PIPE, check=True, env={**os.environ, "LC_ALL": locale})
        times.append(time.monotonic() - start)
    return min(times)


def reading_rows(binaries):
    with tempfile.TemporaryDirectory() as scratch:
        for name, formatter in READ_LOGS.items():
            small, large = (f"{scratch}/{formatter}_{size}_.log" for size in (30, 300))
            for log, size in [(small, 30), (large, 300)]:
                subprocess.run([binaries / "log_reading", formatter, log, str(size)], check=True)
            count = [binaries / "veltool", "log", "--level", "ERROR", "--count"]
            ours = least_time([*count, large], "C.UTF-8")
            for locale in GREP_LOCALES:
                grep = least_time(["grep", "-c", "ERROR", large], locale)
                yield f"{name}, times as fast", f"grep -c in {locale}", [grep / ours], READ_GOAL, True
            memory = peak_memory([*count, large]) / peak_memory([*count, small])
            yield f"{name}, peak memory", "a tenth of the log", [memory], MEMORY_GOAL, False
            os.unlink(large)


PARTS = {
    "guid": (guid_rows, "GUIDs", "performance.svg", ["ratio"],
             "Of libuuid, `uuid_generate_time` runs as Debian ships it, with its state file and without its "
             "daemon; a GUID\nback to back waits for the clock where ten have been made in a microsecond."),
    "convert": (convert_rows, "Conversions", "performance-convert.svg", SIZES,
                "Whole texts by handles opened once: blocks of 64 KB, and strings of 80 bytes with a call for "
                "each. Ratios say how\nmany times as fast as the peer a conversion is, or how many times its "
                "time it takes. Of ICU, `ucnv_convertEx`\nwith a lasting pivot runs, its fastest way; iconv "
                "puts its state back after each text. A code set is opened in a\nfresh process, by the "
                "name of its table, with one character converted. (By an alias the default code set is taken "
                "from the\nenvironment first, once in a process.) Of what opening CP943 takes, more than half "
                "goes into the 22 pages of\nmemory for its 85 KB, a fifth into copying them there, the rest into "
                "system calls. iconv maps its converter's\nfile; a table is not mapped, as whoever cuts the file "
                "short would end the process."),
    "runtime": (runtime_rows, "Formatted printing, string buffers, semaphores", "performance-runtime.svg",
                ["ratio"],
                "Ratios say how many times as fast as the peer something is, or how many times its time it takes. "
                "No format is known to\nthe compiler. Texts go into a fresh buffer that is given back after it, of "
                "snprintf into 1,024 bytes of malloc; the\nreal number goes into memory that is there. Of {fmt}, "
                "`vformat` makes a `std::string`, the plainest way;\n`vformat_to` fills a `memory_buffer`, 500 "
                "bytes on the stack. A buffer is emptied after 50 appends; `std::to_chars`\nwrites to an array. "
                "Each of the four processes takes the semaphore 10,000 times to count; a bare\n`semop` has "
                "SEM_UNDO and blocks at once. Taking and giving back are two system calls, which take a quarter to a "
                "third of\nwhat a round of the four blocking processes takes; less than that cannot be had."),
    "catalog": (catalog_rows, "Message catalogs", "performance-catalog.svg", ["ratio"],
                "One set of 170 messages of 30 to 120 bytes, German in UTF-8, all of which are looked up, in a "
                "shuffled order; the\nlocale is C.UTF-8, so that nobody changes the code set. Of glibc, `catgets` "
                "runs on the file that `catopen` has mapped;\nof gettext, `dcgettext` on a domain whose texts it "
                "has found before and keeps ready. Whoever opens a catalog asks it\nfor one message and closes it "
                "again. glibc keeps no catalog, so that it opens anew what is reopened here. The files\nthemselves "
                "are in the memory of the system."),
    "log": (log_rows, "Logging", "performance-log.svg", ["ratio"],
            "An event has a number and a text for parameters, and its place in the source. spdlog gets the same; "
            "its whole call\nformats them by the default pattern into a `basic_logger_mt`, whose file keeps its usual "
            "buffer and is not flushed. A\ncall that is not loggable is one of a lower level; the look at the level is "
            "in the caller, as g++ can put it there.\nAllocations are those of the toolkit for each event but the first. Among 10,000 names\n"
            "of 12 to 36 bytes each is looked up, in a shuffled order; `std::unordered_map` finds a C text by way of a\n"
            "`std::string`, and takes no lock. The look-up of classes is that inside the toolkit, which takes none, "
            "either. A\nproperties file is opened and the toolkit closed again; where the time grows with the entries, "
            "ten times as many\ntake 10 times as long.\n\nA record has 130 bytes: the date with milliseconds and zone, file, "
            "function and line of the source,\nand a message with two parameters. Of a rolling file each record is "
            "written by one `write` before the call returns, by\nall libraries, three files of 8 MB each; the floor "
            "looks at its file by `statx` and writes a record that is ready. Times\nof one thread are those of its "
            "processor, those of four threads on one logger are the clock's. The record without its\nfile is made and "
            "dropped; spdlog's goes into its buffer."),
    "multiprocess": (
        multiprocess_rows, "Several processes", "performance-multiprocess.svg", ["ratio"],
        "Four processes write 11,000 records each, or one writes 44,000, into a file that rolls over at 1 "
        "MB, five times in a\nrun. A record has 130 bytes, as above, and is with the kernel when the call "
        "returns. After each run every record is\nlooked for: with every library it is there once, and "
        "whole. log4cplus has its lock file, and renames a full file. The\nlock that queues is that of the "
        "same handler, but for each process waiting its turn at once. The floor has its record\nready, looks "
        "at the open file by `statx`, and copies, flushes and empties a full one. Times are the clock's, "
        "from the\nfirst start to the last end.\n\nA packet holds a message of 100 bytes and its place in "
        "the source; the reader has read whatever came before. By hand\nthe packet that is ready is copied "
        "into the same segment under the same lock. An event comes by way of a logger and\nthe handler."),
    "reading": (
        reading_rows, "Reading logs", "performance-reading.svg", ["ratio"],
        "`veltool log --level ERROR --count` and `grep -c ERROR` on the same log of 300 MB, which a logger of the "
        "toolkit wrote and\nwhich is in the memory of the system; one of 64 records is an error. The least of 15 "
        "runs, with the start of the process."),
}


def plot(rows, columns, file):
    """A bar for the first ratio of a row, a point for a second."""
    shares = [[goal / ratio if at_least else ratio / goal for ratio in ratios]
              for _, _, ratios, goal, at_least in rows]
    data = "\n".join(f'"{name} / {peer}" {share[0]} {share[-1] if len(share) > 1 else "NaN"}'
                     for (name, peer, *_), share in zip(rows, shares))
    bars = "$data using ($2/2):0:($2/2):(0.35):yticlabels(1) with boxxyerror linecolor rgb '#4070a0'"
    points = "$data using 3:0 with points pointtype 7 pointsize 0.6 linecolor rgb '#c04020'"
    curves = (f"{bars} title '{columns[0]}', {points} title '{columns[1]}'" if columns[1:]
              else f"{bars} notitle")
    height = 150 + (16 if columns[1:] else 30) * len(rows)
    script = f"""set terminal svg noenhanced size 900,{height} font "sans,12" background "white"
set output "{DOCS}/{file}"
set title "Measured ratio as a share of its goal (1 is the goal, less is better)"
set style fill solid 0.7
set key below
set xrange [0:{max(1.3, *(1.05 * max(share) for share in shares))}]
set yrange [{len(rows) - 0.3}:-0.7]
set arrow from 1,graph 0 to 1,graph 1 nohead dashtype 2
$data << END
{data}
END
plot {curves}
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def table_line(cells):
    return f"| {' | '.join(cells)} |\n"


def judgement(ratios, columns, goal, at_least):
    """A goal and how far it is met."""
    if goal is None:
        return ["", ""]
    met = [ratio >= goal if at_least else ratio <= goal for ratio in ratios]
    verdict = "yes" if all(met) else f"{columns[met.index(True)]} only" if any(met) else "NO"
    return [f"{'≥' if at_least else '≤'} {goal}", verdict]


def section(part, binaries):
    """Measures a part: its section of the report."""
    measure, title, picture, columns, text = PARTS[part]
    head = ["what", "against", *columns, "goal", "met"]
    rows, table = [], table_line(head) + table_line(["---"] * len(head))
    for row in measure(binaries):
        rows.append(row)
        name, peer, ratios, goal, at_least = row
        figures = [f"{ratio:.3g}" for ratio in ratios] + [""] * (len(columns) - len(ratios))
        table += table_line([name, peer, *figures, *judgement(ratios, columns, goal, at_least)])
    print(table)
    plot([row for row in rows if row[3] is not None], columns, picture)
    return (f"## {title}\n\n{text}\n\n{table}\nMeasured on {platform.machine()}, {os.cpu_count()} processors."
            f"\n\n![Measured ratios as shares of their goals]({picture})\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--only", choices=PARTS)
    options = parser.parse_args()
    report = DOCS / "performance.md"
    kept = {part: re.search(rf"^## {title}\n.*?(?=^## |\Z)", report.read_text(), re.M | re.S)
            for part, (_, title, *_) in PARTS.items()}
    sections = [kept[part][0].strip() + "\n" if options.only not in (None, part) and kept[part]
                else section(part, options.build.resolve() / "bin") for part in PARTS]
    report.write_text(
        "# Performance\n\nWritten by `./dev bench`. Every figure is a ratio of two things measured in the same "
        "run; the absolute times of\na machine mean nothing elsewhere.\n\n" + "\n".join(sections))


if __name__ == "__main__":
    main()
