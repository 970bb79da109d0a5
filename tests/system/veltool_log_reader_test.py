#!/usr/bin/env python3
"""Where the records come from that veltool shows: rolled, growing, shared, broken and odd files. The further argument is
a program that logs by the toolkit."""
import contextlib
import json
import os
import resource
import selectors
import signal
import subprocess
import sys
import time
import unittest

RECORDS = os.path.abspath(sys.argv.pop(3))

from veltool_case import VELTOOL, VeltoolCase  # noqa: E402 (takes the arguments before)

FIXED = 4  # records of each run that have no number
PATIENCE = 30  # seconds until something counts as lost
PROPERTIES = """msg.velguid.className = pmx_pdlogger
msg.velguid.product = P
msg.velguid.level = ERROR
msg.velguid.listenerNames = log.errors
trace.velguid.className = pmx_basiclogger
trace.velguid.level = OFF
log.errors.className = {handler}
log.errors.fileName = {file}
log.errors.maxFileBytes = {size}
log.errors.maxFiles = 1000
log.errors.MPFileSemKey = {key}
log.errors.formatterName = format
format.className = {formatter}
format.singleProduct = true
"""
FORMATTERS = ["pmx_basicformatter", "pmx_veltraceformatter", "pmx_xmlformatter"]
HANDLERS = ["pmx_filehandler", "pmx_multiproc_filehandler"]


def trace(text, second=0, end="\n"):
    return f"\x1e[2026-11-22 10:00:{second:02}.000+00:00] - INFO  - h - p1 - f.c:g(3) -  - {text}{end}"


def element(text, more=""):
    return f'<Trace Level="MIN">\n <Time Millis="1795341600000">d</Time>\n <LogText><![CDATA[{text}]]></LogText>\n{more}</Trace>\n'


class Follower:
    """veltool that follows; its records are awaited, not slept for."""
    def __init__(self, *words):
        self.process = subprocess.Popen([VELTOOL, "log", "--follow", "--json", *map(str, words)], stdout=subprocess.PIPE)
        self.selector, self.rest = selectors.DefaultSelector(), b""
        self.selector.register(self.process.stdout, selectors.EVENT_READ)

    def read(self, count):
        end, records = time.monotonic() + PATIENCE, []
        while len(records) < count:
            while b"\n" not in self.rest:
                if not self.selector.select(max(0, end - time.monotonic())):
                    raise AssertionError(f"only {len(records)} of {count} records, the last {records[-1:]}")
                more = os.read(self.process.stdout.fileno(), 65536)
                if not more:
                    raise AssertionError(f"ended after {len(records)} records, the last {records[-1:]}")
                self.rest += more
            line, self.rest = self.rest.split(b"\n", 1)
            records.append(json.loads(line))
        return records

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        rest = self.rest + self.process.communicate(timeout=PATIENCE)[0]
        return [json.loads(line) for line in rest.splitlines()]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.selector.close()
        with contextlib.suppress(ProcessLookupError):
            self.process.kill()
        self.process.wait()
        self.process.stdout.close()


class ReaderTest(VeltoolCase):
    def write(self, handler, formatter, count, size=2000):
        """The fixed records and so many with a number."""
        properties = self.here / "properties"
        properties.write_text(PROPERTIES.format(handler=handler, formatter=formatter, file=self.here / "a.log", size=size,
                                                key=os.getpid() % 100000 + 1))
        subprocess.run([RECORDS, properties, str(count)], check=True)

    def records(self, *names, status=0, message="", text=""):
        return [json.loads(line) for line in self.check(status, message, "log", "--json", *names, text=text).splitlines()]

    def put(self, text, name="a.log"):
        path = self.here / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return path

    @staticmethod
    def numbers(records):
        return [int(record["message"].rsplit(" ", 1)[1]) for record in records if " step " in record["message"]]

    def test_rolled_files_of_the_toolkit(self):
        for handler in HANDLERS:
            for formatter in FORMATTERS:
                for file in self.here.iterdir():
                    file.unlink()
                self.write(handler, formatter, 150)
                with self.subTest(handler=handler, formatter=formatter):
                    old = sorted(self.here.glob("a?*.log"))
                    self.assertGreater(len(old), 2)
                    for names in [["a.log"], ["a1.log", "a.log", "./a.log", "a2.log"]]:
                        records = self.records(*[self.here / name for name in names])
                        self.assertEqual(self.numbers(records), list(range(1, 151)))
                        self.assertEqual({record["messageId"] for record in records[FIXED:]}, {"HQXGD0013E"})
                    self.assertEqual(self.numbers(self.records(*old, self.here / "a.log", "--no-rolled")), list(range(1, 151)))
                    if "xml" in formatter:  # said once in each run
                        self.assertEqual({record["product"] for record in records}, {"P"})
        self.put("", "a2024x.log")
        self.put("", "a01.log")
        os.mkfifo(self.here / "a77.log")  # nobody's
        self.assertEqual(self.numbers(self.records(self.here / "a.log")), list(range(1, 151)))

    def test_following_each_step_of_rolling_over(self):
        log, other, written, seen = self.put(""), self.put("", "b.log"), [], []
        old = [self.here / f"a{number}.log" for number in range(5)]

        def add(log=log, text=None):
            if text is None:
                written.append(text := f"{len(written)} and some more text than a copy has of it at first")
            with open(log, "a", encoding="utf-8") as file:
                file.write(element(text))  # which is seen to be whole at once

        def shift():
            old[4].unlink(missing_ok=True)
            for number in (3, 2, 1):
                if old[number].exists():
                    old[number].rename(old[number + 1])

        def copy(size):
            old[1].write_bytes(log.read_bytes()[:size])

        with Follower(log, other) as follower:
            def look():  # what is in the other log is shown when both have been looked at
                follower.process.send_signal(signal.SIGCONT)
                add(other, "look")
                while (text := follower.read(1)[0]["message"]) != "look":
                    seen.append(text)
                follower.process.send_signal(signal.SIGSTOP)

            copying = [add, shift, lambda: copy(0), lambda: copy(150), lambda: copy(None), lambda: os.truncate(log, 0), add]
            renaming = [add, shift, lambda: log.rename(old[1]), log.touch, add]
            for steps in (copying, renaming):
                for looks in range(2 ** len(steps)):  # after which steps
                    for at, step in enumerate(steps):
                        step()
                        if looks >> at & 1:
                            look()
            look()
            follower.process.send_signal(signal.SIGCONT)
            self.assertEqual((seen, follower.stop()), (written, []))

    def test_following_across_roll_over(self):
        for handler in HANDLERS:
            for file in self.here.iterdir():
                file.unlink()
            with self.subTest(handler=handler), Follower(self.here / "a.log") as follower:
                for count in (50, 1000):  # small steps, and many files at once
                    self.write(handler, "pmx_veltraceformatter", count)
                    self.assertEqual(self.numbers(follower.read(FIXED + count)), list(range(1, count + 1)))
                if handler == HANDLERS[1]:
                    self.follow_several_writers(follower)
                self.assertEqual((follower.stop(), follower.process.returncode), ([], 0))

    def follow_several_writers(self, follower):
        """Which the follower, stopped on its way time and again, sees in the middle of all that they do."""
        writers = [subprocess.Popen([RECORDS, self.here / "properties", "1000"]) for _ in range(3)]
        for writer in writers:
            while writer.poll() is None:
                follower.process.send_signal(signal.SIGSTOP)
                with contextlib.suppress(subprocess.TimeoutExpired):
                    writer.wait(0.005)
                follower.process.send_signal(signal.SIGCONT)
        records = follower.read(3 * (FIXED + 1000))
        self.assertEqual(sorted(self.numbers(records)), sorted(3 * list(range(1, 1001))))

    def test_following_what_others_do_to_a_file(self):
        log = self.put(trace("first") + "\x1e[2026-11-22 10:00:00.000+00:00] - IN")
        with Follower(log) as follower, open(log, "a", encoding="utf-8") as writer:
            def write(text):
                writer.write(text)
                writer.flush()
                return [record.get("message", record.get("text")) for record in follower.read(1)]
            self.assertEqual(follower.read(1)[0]["message"], "first")
            self.assertEqual(write("FO  - h - p1 -  -  - in two\n"), ["in two"])
            writer.truncate(0)
            self.assertEqual(write(trace("emptied")), ["emptied"])
            writer.truncate(0)  # and as long again at once
            self.assertEqual(write(trace("at once") * 2 + trace("more")), ["at once"])
            self.assertEqual([record["message"] for record in follower.read(2)], ["at once", "more"])
            log.rename(self.here / "away")
            log.write_text(trace("anew"), encoding="utf-8")
            self.assertEqual(follower.read(1)[0]["message"], "anew")
            log.unlink()
            log.write_text(element("removed") + trace("cut", end=""), encoding="utf-8")
            self.assertEqual(follower.read(1)[0]["message"], "removed")
            self.assertEqual([record["text"] for record in follower.stop()], [trace("cut", end="")])

    def test_records_of_odd_shape(self):
        two = "2026-11-22 10:00:00.000+00:00 one\n two\n\n"
        inner = "</Message>\n</Trace>\n<Trace>\n\x1e[x\n"
        torn = element("a").replace(" <LogText>", " <ProductId>p</ProductId>\n <LogText>").split("]]>")[0]
        for text, expected in [
                (two + two, ["one\n two\n", "one\n two\n"]), ("Nov 22 one\nNov 22 two\n", ["Nov 22 one", "Nov 22 two"]),
                (trace("a\n<b>\n 12") + trace("c - d"), ["a\n<b>\n 12", "c - d"]), (element(inner) + trace("b"), [inner, "b"]),
                (element("a", " <Source FileName=\"a\"b.c\" Method=\"f\" Line=\"3\"/>\n") + two, ["a", "one\n two\n"]),
                (trace("a")[:50] + trace("b"), [None, "b"]), ("\0" * 99 + trace("b"), [None, "b"]),
                (element("a")[:50] + element("b"), [None, "b"]), ("\x1b[1m\xff\n" + trace("b"), [None, "b"]),
                (element("a").split("]]>")[0] + "\n" + trace("b") + trace("c"), [None, "b", "c"]),
                (torn, [None]),
                (trace("a", end=""), [None]), ("<Trace>\n" * 3, [None] * 3), ("", [])]:
            with self.subTest(text=text):
                log = self.put(text)
                status = int(None in expected)
                records = self.records(log, status=status)
                self.assertEqual([record.get("message") for record in records], expected)
                lines = [text[:sum(len(record["text"]) for record in records[:at])].count("\n") + 1
                         for at in range(len(records)) if None not in expected[at:] and "text" in records[at]]
                self.assertEqual([record["log"]["line"] for record in records[:len(lines)]], lines)
                self.assertEqual([record.get("message") for record in self.records(text=text, status=status)], expected)

    def test_logs_by_time(self):
        one = self.put(trace("1", 1) + trace("4", 4) + "\x1e[] - INFO  -  -  -  -  - 4a\n" + trace("6", 6), "host1.log")
        two = self.put(trace("2", 2) + trace("3", 3) + trace("5", 5), "host2.log")
        self.assertEqual([record["message"] for record in self.records(one, two)], "1 2 3 4 4a 5 6".split())

    def test_what_cannot_be_read(self):
        log = self.put(trace("a"))
        for name, message in [(self.here, "directory"), ("/dev/null", "neither"), (self.here / "none", "No such file")]:
            self.assertEqual(len(self.records(name, log, status=1, message=message)), 1)
        os.mkfifo(self.here / "pipe")
        self.assertEqual(self.records(self.here / "pipe"), [])
        self.assertEqual(len(self.records("/dev/stdin", text=trace("a"))), 1)

    def test_memory_does_not_grow(self):
        with open(VELTOOL, "rb") as program:
            is_sanitized = b"__asan_init" in program.read()  # whose shadow takes all the addresses that there are

        def limit():
            if not is_sanitized:
                resource.setrlimit(resource.RLIMIT_AS, (48 << 20, 48 << 20))
        for text in [trace("long " * 4_000_000), "x" * 20_000_000 + "\n", "<Trace>\n <LogText><![CDATA[\n" * 700_000]:
            log = self.put(text + trace("end"))
            with subprocess.Popen([VELTOOL, "log", "--json", log], stdout=subprocess.PIPE, preexec_fn=limit) as reader:
                records = [json.loads(line) for line in reader.stdout]
            self.assertEqual("".join(record["text"] for record in records[:-1]), text)
            self.assertEqual((records[-1]["message"], reader.returncode), ("end", 1))


if __name__ == "__main__":
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    unittest.main()
