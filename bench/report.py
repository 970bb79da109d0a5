#!/usr/bin/env python3
"""Runs the benchmarks of a build and writes docs/performance.md with a plot: only ratios, each of
two things measured in the same run. It reads a host GUID, so it wants a private host:
tests/support/scratch-host bench/report.py BUILD"""
import json
import os
import pathlib
import platform
import subprocess
import sys

ROOT = pathlib.Path(__file__).parent.parent
DOCS = ROOT / "docs"

# What is measured, against what, the goal for the ratio and whether it is a bound from below.
ROWS = [
    ("one GUID, back to back", "generate", "generate_libuuid", "libuuid", 0.011, False),
    ("one GUID, four threads", "generate_four", "generate_libuuid", "libuuid", 0.015, False),
    ("one GUID, a single call", "single", "single_floor", "two mutexes and the clock", 1.4, False),
    ("record to text (and free)", "to_string", "to_string_libuuid", "libuuid", 1.5, False),
    ("text to record, times as fast", "from_string_libuuid", "from_string", "libuuid", 8, True),
    ("GUID from a name", "from_name", "from_name_libuuid", "libuuid", 1.6, False),
    ("velguid -Quiet -Show, time", "time velguid", "time uuidgen", "uuidgen", 1.0, False),
    ("velguid -Quiet -Show, time", "time velguid", "time hello", "a C hello", 1.4, False),
    ("velguid -Quiet -Show, peak memory", "memory velguid", "memory hello", "a C hello", 1.5, False),
]


def library_times(program):
    """Nanoseconds of each benchmark, the median of several runs in turn."""
    done = subprocess.run(
        [program, "--benchmark_format=json", "--benchmark_repetitions=7", "--benchmark_min_time=0.15",
         "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"],
        capture_output=True, check=True, text=True)
    times = {}
    for row in json.loads(done.stdout)["benchmarks"]:
        if row["aggregate_name"] == "median":
            rate = row.get("items_per_second")  # of all threads together
            times[row["run_name"].split("/")[0]] = 1e9 / rate if rate else row["real_time"]
    for name in ["single", "single_floor"]:
        times[name] -= times["single_nothing"]
    return times


def peak_memory(command):
    """The largest resident set of a process, in KiB, the least of some runs."""
    peaks = []
    for _ in range(10):
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
        peaks.append(os.wait4(process.pid, 0)[2].ru_maxrss)
        process.returncode = 0
    return min(peaks)


def process_costs(binaries):
    commands = {"velguid": [f"{binaries}/velguid", "-Quiet", "-Show"], "uuidgen": ["uuidgen"],
                "hello": [f"{binaries}/hello"]}
    report = pathlib.Path("/opt/hyperfine.json")
    subprocess.run(["hyperfine", "-N", "--warmup", "200", "--runs", "3000", "--style", "none",
                    "--export-json", report, *map(" ".join, commands.values())], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    results = json.loads(report.read_text())["results"]
    costs = {f"time {name}": result["median"] * 1e9 for name, result in zip(commands, results)}
    costs.update({f"memory {name}": peak_memory(words) for name, words in commands.items()})
    return costs


def plot(rows):
    data = "\n".join(f'"{name} / {peer}" {share}' for name, peer, share in rows)
    script = f"""set terminal svg size 900,420 font "sans,12" background "white"
set output "{DOCS}/performance.svg"
set title "Measured ratio as a share of its goal (1 is the goal, less is better)"
set style fill solid 0.7
set xrange [0:1.3]
set yrange [{len(rows) - 0.3}:-0.7]
set arrow from 1,graph 0 to 1,graph 1 nohead dashtype 2
$data << END
{data}
END
plot $data using ($2/2):0:($2/2):(0.35):yticlabels(1) with boxxyerrorbars notitle linecolor rgb "#4070a0"
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    binaries = pathlib.Path(sys.argv[1]).resolve() / "bin"
    subprocess.run([binaries / "velguid", "-Quiet", "-Create"], check=True)
    cost = {**library_times(binaries / "bench_guid"), **process_costs(binaries)}
    subprocess.run(["umount", "/etc", "/opt"], check=True)  # the plotter wants the host's
    lines, shares = [], []
    for name, ours, theirs, peer, goal, at_least in ROWS:
        ratio = cost[ours] / cost[theirs]
        met = ratio >= goal if at_least else ratio <= goal
        shares.append((name, peer, goal / ratio if at_least else ratio / goal))
        lines.append(f"| {name} | {peer} | {ratio:.3g} | {'≥' if at_least else '≤'} {goal} |"
                     f" {'yes' if met else 'NO'} |")
        print(lines[-1])
    plot(shares)
    (DOCS / "performance.md").write_text(
        "# Performance\n\nWritten by `./dev bench`. Every figure is a ratio of two things measured in the same "
        "run; the absolute times of\na machine mean nothing elsewhere. Of libuuid, `uuid_generate_time` runs "
        "as Debian ships it, with its state file and\nwithout its daemon; a GUID back to back waits for "
        "the clock where ten have been made in a microsecond.\n\n"
        "| what | against | ratio | goal | met |\n| --- | --- | --- | --- | --- |\n"
        + "\n".join(lines) + f"\n\nMeasured on {platform.machine()}, {os.cpu_count()} processors.\n\n"
        "![Measured ratios as shares of their goals](performance.svg)\n")


if __name__ == "__main__":
    main()
