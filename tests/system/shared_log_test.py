#!/usr/bin/env python3
"""Eight processes write one log file. One after the other is killed, at a random moment or as soon as the file comes
to a random size, and another goes on in its place. What was logged when a logging call returned must be in the files,
once and in its order."""
import argparse
import itertools
import mmap
import os
import pathlib
import random
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import time

WRITERS = 8
MAX_BYTES = 65536
PATIENCE = 20  # seconds until a process that does not write counts as stuck
RECORD = re.compile(rb"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d (\d)\.(\d+):(\d+) (x+) \3\.\Z")
FIRST = re.compile(rb"\A.*?(?=\d{4}-\d\d-\d\d \S+ \d\.\d+:1 )")  # what stands before the first record of a process

# What each is called, maxFiles, and whether all records are still there at the end.
SETTINGS = [
    ("one file", 1, True),
    ("old files that all stay", 10000, True),
    ("old files that are dropped", 3, False),
]
PROPERTIES = """writer.className = pmx_basiclogger
writer.listenerNames = log.shared
log.shared.className = pmx_multiproc_filehandler
log.shared.fileName = {here}/shared.log
log.shared.maxFileBytes = {max_bytes}
log.shared.maxFiles = {max_files}
log.shared.MPFileSemKey = {key}
"""


def expect(holds, what):
    if not holds:
        raise AssertionError(what)


class Writers:
    """The processes, and how many records each incarnation of each writer has acknowledged."""

    def __init__(self, program, here, kills):
        self.program, self.here = program, here
        self.counts = [[] for _ in range(WRITERS)]
        self.running, self.slot, self.last_slot = [None] * WRITERS, [0] * WRITERS, 0
        with open(here / "page", "w+b") as page:
            page.truncate(8 * (1 + WRITERS + kills))
            self.page = mmap.mmap(page.fileno(), 0)
        self.said = open(here / "said", "w+b")  # pylint: disable=consider-using-with
        for writer in range(WRITERS):
            self.start(writer)

    def start(self, writer):
        self.last_slot += 1
        self.slot[writer] = self.last_slot
        words = self.here / "properties", self.here / "page", str(self.last_slot), f"{writer}.{len(self.counts[writer])}"
        self.running[writer] = subprocess.Popen([self.program, *words], stdout=self.said, stderr=self.said)

    def acknowledged(self, writer):
        return struct.unpack_from("=Q", self.page, 8 * self.slot[writer])[0]

    def await_first(self, writer):
        end = time.monotonic() + PATIENCE
        while self.acknowledged(writer) == 0:
            expect(self.running[writer].poll() is None and time.monotonic() < end, f"writer {writer} does not write")
            time.sleep(0.001)

    def end(self, writer):
        status = self.running[writer].wait(PATIENCE)
        self.counts[writer].append(self.acknowledged(writer))
        return status

    def kill(self, writer):
        self.running[writer].kill()
        expect(self.end(writer) == -signal.SIGKILL, f"writer {writer} ended before it was killed")

    def kill_at(self, writer, size):
        """Kills it when it makes a file larger than that: in the middle of a record or of a roll-over."""
        resource.prlimit(self.running[writer].pid, resource.RLIMIT_FSIZE, (size, size))
        expect(self.end(writer) == -signal.SIGXFSZ, f"writer {writer} ended before it was killed")

    def stop(self):
        for writer in range(WRITERS):
            self.await_first(writer)
        struct.pack_into("=Q", self.page, 0, 1)
        expect([self.end(writer) for writer in range(WRITERS)] == [0] * WRITERS, "a writer failed")
        self.said.seek(0)
        said = self.said.read().decode()
        expect(said == "", f"the writers complain:\n{said[:2000]}")

    def abandon(self):
        for process in self.running:
            if process is not None and process.poll() is None:
                process.kill()
                process.wait()
        self.said.close()


def write_and_kill(writers, kills, chance, rolls):
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    for writer in range(WRITERS):
        writers.await_first(writer)
    for _ in range(kills):
        writer = chance.randrange(WRITERS)
        if chance.random() < 0.9:  # else perhaps while it starts
            writers.await_first(writer)
        time.sleep(chance.uniform(0, 0.01))
        if chance.random() < 0.5:
            writers.kill(writer)
        else:
            start = 0 if rolls else (writers.here / "shared.log").stat().st_size
            writers.kill_at(writer, start + chance.randrange(MAX_BYTES))
        writers.start(writer)
    writers.stop()


def read_files(here):
    """The files from the oldest on, without the doubled ones, and how many those are: who is killed while it rolls over
    leaves a copy, perhaps not a whole one, of what is copied again then."""
    paths = sorted(here.glob("shared*.log"), key=lambda path: int(path.stem[len("shared"):] or 0))
    kept = []
    for text in (path.read_bytes() for path in paths):
        if not kept or not kept[0].startswith(text):
            kept.insert(0, text)
    return kept, len(paths) - len(kept)


def read_records(texts):
    """Per writer the incarnation and number of each record, and how many lines are none."""
    found, torn = [[] for _ in range(WRITERS)], 0
    for line in itertools.chain.from_iterable(text.removesuffix(b"\n").split(b"\n") for text in texts if text):
        if not (record := RECORD.match(line)):
            torn += 1
            # What is torn off before the first record of a process is not looked for, so that one follows it at once.
            if not (record := RECORD.match(FIRST.sub(b"", line, count=1))):
                continue
        writer, incarnation, number, filler = int(record[1]), int(record[2]), int(record[3]), record[4]
        expect(len(filler) == (80 if number % 16 else 4899), f"a record with something left out: {line[:100]}")
        found[writer].append((incarnation, number))
    return found, torn


def check_writer(found, counts, whole):
    """All that was acknowledged, from the oldest record that is still there on; a record during which the process was
    killed may be there or not."""
    if not whole and not found:
        return
    oldest = (0, 1) if whole else found[0]
    there, expected = set(found), []
    for incarnation, count in enumerate(counts):
        killed = incarnation < len(counts) - 1
        last = count + (killed and (incarnation, count + 1) in there)
        expected += [(incarnation, number) for number in range(1, last + 1) if (incarnation, number) >= oldest]
    for place, pair in enumerate(itertools.zip_longest(found, expected)):
        expect(pair[0] == pair[1], f"record {place} is {pair[0]}, expected {pair[1]}")


def run(program, setting, kills, seed):
    name, max_files, whole = setting
    key = 0x10000000 + os.getpid()
    with tempfile.TemporaryDirectory() as scratch:
        here = pathlib.Path(scratch)
        properties = PROPERTIES.format(here=here, max_bytes=MAX_BYTES, max_files=max_files, key=key)
        (here / "properties").write_text(properties)
        writers = Writers(program, here, kills)
        try:
            write_and_kill(writers, kills, random.Random(seed), rolls=max_files > 1)
        finally:
            writers.abandon()
            subprocess.run(["ipcrm", "-S", str(key)], check=True)  # there is none if nobody used it
        texts, doubled = read_files(here)
        found, torn = read_records(texts)
        print(f"{name}: {kills} kills, {sum(map(sum, writers.counts))} records acknowledged, "
              f"{sum(map(len, found))} in {len(texts)} files, {torn} torn, {doubled} files doubled", flush=True)
        expect(any(found) and len(texts) <= max_files, "no records, or too many files")
        expect(torn + doubled <= kills, "more torn lines and doubled files than kills")
        for of_writer, counts in zip(found, writers.counts):
            check_writer(of_writer, counts, whole)


def main():
    options = argparse.ArgumentParser(description="Writes a log by processes that are killed.")
    options.add_argument("program")
    options.add_argument("--kills", type=int, default=70, help="of each of the three settings")
    options.add_argument("--seed", type=int, default=random.SystemRandom().randrange(10**9))
    options.add_argument("--seconds", type=float, default=0, help="begin again and again, with another seed, for so long")
    given = options.parse_args()
    end = time.monotonic() + given.seconds
    for seed in itertools.count(given.seed):
        print(f"seed {seed}", flush=True)
        for setting in SETTINGS:
            try:
                run(given.program, setting, given.kills, seed)
            except (AssertionError, subprocess.TimeoutExpired) as failure:
                sys.exit(f"{setting[0]}, seed {seed}: {failure}")
        if time.monotonic() >= end:
            return


if __name__ == "__main__":
    main()
