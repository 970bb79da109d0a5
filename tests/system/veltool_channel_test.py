#!/usr/bin/env python3
"""Runs veltool's channel verbs as the server's side of real writers, and against what is no packet."""
import json
import os
import pathlib
import signal
import struct
import subprocess
import sys
import time
import unittest

SENDER = os.path.abspath(sys.argv.pop(3))

from veltool_case import VELTOOL, VeltoolCase, run  # noqa: E402 (takes the arguments before)


def packet(message=b"m", level=3000, millis=0, logger=b"L", function=b"", file=b"", line=0, version=1):
    """A packet as its format has it, made without the program's own code."""
    text = lambda value: struct.pack(">I", len(value)) + value
    body = struct.pack(">Ii", version, level) + text(logger) + struct.pack(">q", millis) + text(message)
    body += text(function) + text(file) + (struct.pack(">I", line) if file else b"")
    return struct.pack(">I", len(body) + 4) + body


def sent(prefix, count, length=0):
    return [f"{prefix} {number} ".ljust(length, "x") for number in range(count)]


class ChannelTest(VeltoolCase):
    def setUp(self):
        super().setUp()
        self.name = f"veltool_{self._testMethodName}_{os.getpid()}"
        self.addCleanup(pathlib.Path("/tmp", self.name).unlink, missing_ok=True)
        self.addCleanup(run, "channel", "remove", "--force", self.name)

    def channel(self, status, message, verb, *words, **how):
        return self.check(status, message, "channel", verb, *words, self.name, **how)

    def create(self, size=8192):
        self.channel(0, "", "create", "--size", size)

    def send(self, command, *words):
        told = subprocess.check_output([SENDER, self.name, command, *map(str, words)], text=True, timeout=60)
        self.assertEqual(told, "")  # of packets that did not go

    def put(self, *packets):
        self.send("raw", *(each.hex() for each in packets))

    def start(self, *command):
        process = subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def stat(self):
        return dict(line.split() for line in self.channel(0, "", "stat").splitlines())

    def packets(self):
        return [json.loads(line) for line in self.channel(0, "", "read", "--json").splitlines()]

    def messages(self):
        return [each["message"] for each in self.packets()]

    def test_usage(self):
        for words, message in [
                ("create", "takes one name"), ("read a b", "takes one name"), ("remove ..", "no name of a file"),
                ("stat a/b", "no name of a file"), ("create --size 1059 a", "from 1060 to 2147483647"),
                ("create --size 2147483648 a", "a size is"), ("create --size 1k a", "a size is")]:
            self.check(2, message, "channel", *words.split())
        for verb in ["read", "stat", "remove"]:
            self.channel(1, f"{self.name}: there is no such channel", verb)

    def test_a_channel_lasts_until_it_is_removed(self):
        self.assertEqual(self.channel(0, "", "create"), f"{self.name}: 1,048,576 bytes\n")
        self.assertEqual(self.stat(), {"size": "1048576", "read": "0", "write": "0", "waiting": "0", "creator": "gone"})
        self.create(4000)
        self.put(packet())
        self.assertEqual(self.stat(), {"size": "4000", "read": "0", "write": "38", "waiting": "38", "creator": "gone"})
        self.create(2000000)  # larger than the memory that was there
        self.assertEqual(self.stat()["waiting"], "0")
        self.channel(0, "", "remove")
        self.channel(1, "there is no such channel", "stat")

    def test_a_living_creator_is_not_disturbed_but_by_force(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, None):
            holder = self.start(VELTOOL, "channel", "create", "--hold", self.name)
            self.assertIn("1,048,576", holder.stdout.readline())
            self.assertEqual(self.stat()["creator"], "lives")
            for verb in ("create", "remove"):
                self.channel(1, "its creator lives", verb)
            if number is None:
                self.channel(0, "", "create", "--force")
            else:
                holder.send_signal(number)
                self.assertEqual(holder.wait(20), 0)
            self.assertEqual(self.stat()["creator"], "gone")

    def test_messages_are_shown_with_all_that_is_known_of_them(self):
        self.create()
        rows = [packet(b"one", 6000, 1, b"PmxLog", b"go", b"a.c", 12), packet(b"two", 7000, -1, b"", b"go"),
                packet(b"three", 1234, 2**40, file=b"a.c", version=2), packet(b"", -9999)]
        self.put(*rows)
        text = self.channel(0, "", "read", env={"TZ": "XXX-05:30"})
        self.assertEqual(text, "1970-01-01 05:30:00.001+05:30 ERROR     PmxLog: one [go a.c:12]\n"
                               "1970-01-01 05:29:59.999+05:30 FATAL     : two [go]\n"
                               "2004-11-04 01:23:47.776+05:30 1234      L: three [a.c:0]\n"
                               "1970-01-01 05:30:00.000+05:30 -9999     L: \n")
        self.put(*rows)
        found = self.packets()
        self.assertEqual(found[0], {
            "time": "1970-01-01T00:00:00.001Z", "millis": 1, "level": 6000, "levelName": "ERROR", "logger": "PmxLog",
            "message": "one", "function": "go", "file": "a.c", "line": 12})
        self.assertEqual((found[1]["time"], found[2]["levelName"]), ("1969-12-31T23:59:59.999Z", "1234"))

    def test_no_message_steers_the_terminal_or_looks_like_two(self):
        self.create()
        every_byte = bytes(range(256)) + "\x9b31m\u061c\u2028\u202eä€😀".encode()
        self.put(packet(every_byte, logger=b"a\nb"))
        line = self.channel(0, "", "read")
        self.assertTrue(line[:-1].isprintable() and line.endswith("ä€😀\n"), line)
        self.assertIn("a\\nb: \\x00\\x01", line)
        self.put(packet(every_byte + "😀".encode()[:3]))  # a message that was cut within a character
        shown = self.channel(0, "", "read", "--json")
        self.assertTrue(shown[:-1].isprintable(), shown)
        self.assertEqual(json.loads(shown)["message"], every_byte.decode(errors="replace") + 3 * "\ufffd")

    def test_readers_one_after_another_lose_nothing_of_several_writers(self):
        self.create(16000)
        writers = [self.start(SENDER, self.name, "send", prefix, 5000, 60) for prefix in "ab"]
        readers = 0
        while any(writer.poll() is None for writer in writers) or self.stat()["waiting"] != "0":
            with open(self.here / "shown", "a") as output:
                reader = subprocess.Popen([VELTOOL, "channel", "read", "--follow", "--json", self.name], stdout=output)
            time.sleep(0.2)
            reader.kill()
            reader.wait()
            readers += 1
        self.assertEqual([writer.communicate()[0] for writer in writers], ["", ""])
        lines = (self.here / "shown").read_text().splitlines()
        self.assertLessEqual(len(lines) - 10000, readers)  # the last one of a reader that is killed may come twice
        shown = [json.loads(line) for line in dict.fromkeys(lines)]
        for prefix in "ab":
            self.assertEqual([each["message"] for each in shown if each["logger"] == prefix],
                             sent(prefix, 5000, 60))

    def test_following_ends_with_a_signal_or_when_the_channel_is_removed(self):
        self.create()
        for end, status, complaint in [(lambda: reader.send_signal(signal.SIGINT), 0, ""),
                                       (lambda: self.channel(0, "", "remove"), 1, "the channel has been removed\n")]:
            reader = self.start(VELTOOL, "channel", "read", "--follow", self.name)
            self.put(packet(b"last"))
            self.assertIn("last", reader.stdout.readline())
            end()
            self.assertEqual(reader.wait(20), status)
            self.assertEqual(reader.stderr.read(), complaint and f"veltool: {self.name}: {complaint}")

    def test_messages_stay_when_they_cannot_be_shown(self):
        self.create()
        self.put(packet(b"one"), packet(b"two"))
        reading, writing = os.pipe()
        os.close(reading)
        for output, status in [(os.open("/dev/full", os.O_WRONLY), 1), (writing, -signal.SIGPIPE)]:
            for option in ([], ["--follow"]):
                done = subprocess.run([VELTOOL, "channel", "read", *option, self.name], stdout=output, check=False,
                                      stderr=subprocess.DEVNULL, timeout=60)
                self.assertEqual(done.returncode, status)
            os.close(output)
        self.assertEqual(self.messages(), ["one", "two"])

    def test_a_writer_killed_in_a_full_ring_stops_nobody(self):
        self.create(1024 + 1000)
        writer = self.start(SENDER, self.name, "send", "k", 1000, 100)
        self.assertEqual(writer.stdout.readline(), "-30\n")  # so it waits for room, with the lock
        time.sleep(0.1)
        writer.kill()
        writer.wait()
        full = self.messages()
        self.assertEqual(full, sent("k", len(full), 100))
        self.assertEqual(len(full), 1000 // (36 + 1 + 100 + 12))
        self.send("send", "next", 3, 0)
        self.assertEqual(self.messages(), sent("next", 3))

    def test_what_is_no_packet_is_told_and_left_behind(self):
        good, number = packet(b"good"), struct.Struct(">I").pack
        broken, dropped = "a packet of {} bytes is broken: skipped", "{} bytes are no packets: dropped"
        for each, message, length, left in [
                (packet()[:12] + number(2**32 - 1) + packet()[16:], broken, 38, True),
                (number(40) + good[4:40], broken, 40, True), (number(42) + good[4:] + b"\0", broken, 42, True),
                *((number(bad) + good[4:], dropped, 2 * len(good), False) for bad in (0, 35, 83, 2**31, 2**32 - 1))]:
            self.create()
            self.put(each, good)
            self.assertEqual("good" in self.channel(1, message.format(length), "read"), left)
            self.put(good)
            self.assertEqual(self.messages(), ["good"])

    def test_offsets_that_cannot_be_are_refused(self):
        self.create(4000)
        for read, write in [(-1, 0), (0, 4000), (-2**31, 2**31 - 1)]:
            self.send("offsets", read, write)
            message = f"the offsets {read} and {write} are not within the 4000 bytes of data"
            for options in ([], ["--follow"]):
                self.channel(1, message, "read", *options)
            self.assertNotIn("waiting", self.channel(1, "not within", "stat"))
        self.send("offsets", 3999, 3998)  # all of it waits, and it is zeros
        self.channel(1, "3999 bytes are no packets: dropped", "read")
        self.assertEqual(self.stat()["read"], "3998")


if __name__ == "__main__":
    unittest.main()
