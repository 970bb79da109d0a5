#!/usr/bin/env python3
"""Reads logs by veltool: what is selected, how it is shown, translated and summed up. The further argument is a
program that logs by the toolkit."""
import datetime
import fcntl
import json
import os
import pathlib
import pty
import re
import signal
import struct
import subprocess
import sys
import termios
import unittest
import xml.etree.ElementTree

RECORDS = os.path.abspath(sys.argv.pop(3))

from veltool_case import CODESETS, VELTOOL, VeltoolCase  # noqa: E402 (takes the arguments before)

BUILD = CODESETS.parent
PACKAGING = pathlib.Path(__file__).parents[2] / "packaging"


def trace(text, level="ERROR", date="2026-11-22 10:00:00.000+00:00", host="box", process="p1:t2", place="m.c:f(3)",
          message_id=""):
    return f"\x1e[{date}] - {level:5} - {host} - {process} - {place} - {message_id} - {text}\n"


def message(text, millis=1795341600000, message_id="HQXGD0001E", severity="ERROR", inside="", params=(), key=2,
            catalog="guidmsgs"):
    """As the toolkit writes it; the usual time is that of trace()."""
    listed = "".join(f"<Param><![CDATA[{param}]]></Param>" for param in params)
    return (f'<Message Id="{message_id}" Severity="{severity}">\n <Time Millis="{millis}">date</Time>\n'
            f' <LogText><![CDATA[{text}]]></LogText>\n{inside}'
            f' <TranslationInfo Type="XPG4" Catalog="{catalog}" MsgKey="{key}" SetId="1">{listed}'
            "</TranslationInfo>\n</Message>\n")


def up_to(stream, last):
    lines = [stream.readline()]
    while lines[-1] not in (last, ""):
        lines.append(stream.readline())
    return "".join(lines)


class LogTest(VeltoolCase):
    def put(self, text, name="a.log"):
        path = self.here / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return path

    def log(self, *words, status=0, message="", **env):
        return self.check(status, message, "log", *words, env={"TZ": "UTC", **env})

    def records(self, *words, **how):
        return [json.loads(line) for line in self.log("--json", *words, **how).splitlines()]

    def test_filters(self):
        attribute = " <LogAttribs><Key>organization</Key><Value>Velmar</Value></LogAttribs>\n"
        traces = self.put("".join([
            trace("fatal", process="p12:t2", message_id="HQXGD0001E"),
            trace("warning", "WARN", place="", message_id="PMXWH0094W"),
            trace("step", " MID ", host="", process=""),
            trace("other", "OTHER", "2026-11-22 12:00:00.000+01:00")]))
        component = " <Component>tool</Component>\n <LogText"
        tool = message("tool", 1795345200002, "PMXFH0077W", "WARN", attribute).replace(" <LogText", component)
        problems = self.put(message("late", 1795345200001) + tool, "b.xml")
        levels = self.put("".join(f"2026-11-22 10:00:00.000+00:00 {text}\n" for text in
                                  ["main.c main 3 Velmar HQXGD0001E e", "HQXGD0002W w", "HQXGD0003I i", "none"]), "c.log")
        for level, expected in [("ALL", 4), ("INFO", 4), ("WARN", 3), ("6500", 2), ("OFF", 1)]:
            self.assertEqual(self.log("-c", "-l", level, levels), f"{expected}\n", level)
        self.assertEqual([record.get("levelName") for record in self.records(levels)], ["ERROR", "WARN", "INFO", None])
        everything = ["fatal", "warning", "step", "other", "late", "tool"]
        for words, expected in [
                ("", everything), ("-l all", everything), ("-l Warning", ["fatal", "warning", "other", "late", "tool"]),
                ("-l 6000", ["fatal", "other", "late"]), ("-l FATAL", ["fatal", "other", "late"]), ("-l MID", everything),
                ("-l MIN", ["fatal", "warning", "other", "late", "tool"]), ("-l OFF", ["other"]),
                ("-i *W", ["tool"]), ("-i *E -i PMXF*", ["fatal", "late", "tool"]),
                ("-i pmx*", []), ("-i ", []), ("-i *", ["fatal", "warning", "late", "tool"]),
                ("-p organization=Vel*", ["tool"]), ("-p component=t*l -p organization=V", []),
                ("-p component=x -p component=tool", ["tool"]), ("-p server=box", ["fatal", "warning", "other"]),
                ("-p line=3 -p file=*c -p function=f", ["fatal", "step", "other"]), ("--process 12", ["fatal"]),
                ("--process 1", ["warning", "other"]), ("--thread 2 -l ERROR", ["fatal", "other"]),
                ("-s 2026-11-22T11:00:00Z", ["other", "late", "tool"]), ("-s 2026-11-22T12:00:00.001+0100", ["late", "tool"]),
                ("-u 2026-11-22T10:59", ["fatal", "warning", "step"]), ("-u 2026-11-22", []), ("-s 2999-01-01", []),
                ("-n 2", ["late", "tool"]), ("-n 1 -l INFO", ["tool"]), ("-n 0", [])]:
            options = words.split(" ") if words else []
            found = [record["message"] for record in self.records(*options, traces, problems)]
            self.assertEqual(found, expected, words)
            if "-n" not in words:
                self.assertEqual(self.log("-c", *options, traces, problems), f"{len(expected)}\n")

    def test_times_are_local_and_relative(self):
        now = datetime.datetime.now().astimezone()
        ages = {"seconds": 5, "minutes": 90, "days": 3}
        log = self.put("".join(trace(unit, date=(now - datetime.timedelta(**{unit: ages[unit]})).isoformat(" ", "milliseconds"))
                               for unit in reversed(ages)))
        for since, expected in [("1m", 1), ("2h", 2), ("89m", 1), ("4d", 3), ("1w", 3), ("yesterday", 2), ("3h", 2), ("90s", 1)]:
            self.assertEqual(self.log("--count", "--since", since, log), f"{expected}\n", since)
        log = self.put(trace("m"))  # 10:00 in Greenwich, 05:00 in New York
        for since, zone, expected in [
                ("2026-11-22 05:00", "EST5", 1), ("2026-11-22 05:00:00.001", "EST5", 0), ("2026-11-22 10:00:00.0", "UTC", 1),
                ("2026-11-22 05:00-05", "UTC", 1), ("2026-11-22 05:00:00.0019-0500", "UTC", 0),
                ("2026-11-22 15:31 +05:30", "UTC", 0)]:
            self.assertEqual(self.log("-c", "-s", since, log, TZ=zone), f"{expected}\n", since)

    def test_wrong_usage(self):
        times = ["tomorrow", "2026-02-30", "2026-11-22T24:00", "1y", "", "10:00+01:60", "2026-11-22 ", "2026-11-2210:00",
                 "10:00:00.", "12345678s", "10:00Zx", "2026-11-2x"]
        for words in ["-l loud", "-l ", "--process 12a", "-p =x", "-p server", *(f"-u {time}" for time in times), "-C blue",
                      "-n -1", "-n 1000001", "-L ", "--catalogs x", "-jx", "-c --stats", "-x --stats", "-cj", "-c --tail=1"]:
            self.log(*words.split(" ", 1), status=2, message="(veltool log --help shows the usage)")

    def test_text(self):
        log = self.put(trace("HQXGD0001E two\nlines", message_id="HQXGD0001E") +
                       trace("m", " MAX ", host="", process="", place="") +
                       trace("m", message_id="PMX0001W") + message("m"))
        date = "2026-11-22 10:00:00.000+00:00"
        self.assertEqual(self.log(log),
                         f"{date} ERROR     box p1:t2 HQXGD0001E two\n    lines [m.c:f(3)]\n{date} DEBUG_MAX m\n"
                         f"{date} ERROR     box p1:t2 PMX0001W m [m.c:f(3)]\n{date} ERROR     HQXGD0001E m\n")
        self.assertIn("\033[31mERROR\033[0m     box", self.log("--color=always", log))
        for terminal, colour, coloured in [("xterm", "", True), ("xterm", "1", False), ("dumb", "", False)]:
            main, side = pty.openpty()
            subprocess.run([VELTOOL, "log", log], stdout=side, check=True, env={"TERM": terminal, "NO_COLOR": colour})
            self.assertEqual(b"\033[31m" in os.read(main, 65536), coloured, (terminal, colour))
            os.close(main), os.close(side)

    def test_json_and_xml_have_all_fields(self):
        before = (' <Server Format="IP">box</Server>\n <ProductId>p</ProductId>\n <Component>c</Component>\n'
                  " <ProductInstance>i</ProductInstance>\n")
        behind = (' <LogAttribs><Key>k&</Key><Value>v<</Value></LogAttribs>\n'
                  ' <Source FileName="f.c" Method="g" Line="7"/>\n')
        text = message("t", params=["1", "zwei"], inside=behind).replace(" <LogText>", f"{before} <LogText>")
        text = text.replace("</Message>", " <CorrelationId>x</CorrelationId>\n <Principal>me</Principal>\n</Message>")
        log = self.put(text)
        (record,) = self.records(log)
        self.assertEqual(record, {
            "time": "2026-11-22T10:00:00.000Z", "millis": 1795341600000, "date": "date", "level": 6000,
            "levelName": "ERROR", "messageId": "HQXGD0001E", "message": "t", "server": "box",
            "serverFormat": "IP", "product": "p", "component": "c", "productInstance": "i", "client": "me",
            "correlationId": "x", "function": "g", "file": "f.c", "line": 7,
            "attributes": {"k&": "v<"}, "catalog": "guidmsgs", "set": 1, "key": 2, "parameters": ["1", "zwei"],
            "log": {"file": str(log), "line": 1}})
        plain = re.sub(r"<!\[CDATA\[(.*?)\]\]>", r"\1", text).replace("k&", "k&amp;").replace("v<", "v&lt;")
        self.assertEqual(self.log("--xml", log), f'<?xml version="1.0" encoding="UTF-8"?>\n<Log>\n{plain}</Log>\n')
        (record,) = self.records(self.put(trace("m", message_id="PMX1I")))
        self.assertEqual((record["processId"], record["threadId"], record["messageId"]), (1, 2, "PMX1I"))

    def test_hostile_texts(self):
        """Nothing steers a terminal, and JSON and XML stay what they are."""
        evil = b"\x1b]0;x\x07 \x9b \xff\xfe \xc2\x9b \xe2\x80\xae ]]> & <a \" \x01 \xef\xbf\xbe \r\tend"
        log = self.put(trace("HERE", host="HERE", place="HERE").encode().replace(b"HERE", evil) +
                       message("HERE", inside=" <LogAttribs><Key>HERE</Key><Value>HERE</Value></LogAttribs>\n",
                               catalog="HERE").encode().replace(b"HERE", evil))
        for form, least in [("--color=never", 4), ("--json", 6), ("--xml", 6)]:
            done = subprocess.run([VELTOOL, "log", form, log], capture_output=True, check=False)
            text = done.stdout.decode()
            self.assertEqual(re.findall("[^\n\t -~\u00a0-\u200d\ufffd\ufffe]", text), [], form)
            self.assertGreaterEqual(text.count("end"), least, form)
            if form == "--json":
                self.assertEqual(len([json.loads(line) for line in text.splitlines()]), 2)
            elif form == "--xml":
                self.assertEqual(len(xml.etree.ElementTree.fromstring(done.stdout)), 2)

    def test_malformed_records_are_never_lost(self):
        broken = self.put("\x1e[broken]\n" + trace("m") + '<Message Id="X"\n')
        self.assertRegex(self.log("-l", "OFF", broken, status=1),
                         rf"\Amalformed \(.+\) {broken}:1\n    .*broken]\n[^\0]*{broken}:3\n")
        (first, _, last) = self.records(broken, status=1)
        self.assertEqual((first["text"], first["log"]["line"]), ("\x1e[broken]\n", 1))
        self.assertEqual((last["text"], last["log"]["line"]), ('<Message Id="X"\n', 3))
        document = xml.etree.ElementTree.fromstring(self.log("-x", broken, status=1))
        self.assertEqual([(element.tag, element.get("Line")) for element in document],
                         [("Malformed", "1"), ("Trace", None), ("Malformed", "3")])
        self.assertEqual(self.log("-c", broken, status=1, message="2"), "1\n")
        self.assertIn("1 records, 2026-11-22", self.log("--stats", broken, status=1))
        self.log(self.here / "none", status=1, message="none")

    def test_translation_of_what_the_toolkit_logged(self):
        properties = (PACKAGING / "samples/xml.properties").read_text().replace("/var/log", str(self.here))
        self.put(properties, "properties")
        settings = {"MABDIR": str(BUILD), "NLSPATH": f"{BUILD}/catalog/%L/%N.cat", "LANG": "C"}
        subprocess.run([RECORDS, self.here / "properties", "2"], env=settings, check=True)
        log = self.here / "velguid.xml"
        english = [record["message"] for record in self.records(log)]
        for words, env in [(["--catalogs", f"{BUILD}/catalog"], {}), ([], {"NLSPATH": settings["NLSPATH"]})]:
            german = [record["message"] for record in self.records("-L", "de_AT", *words, log, **env)]
            self.assertEqual(german[2], "HQXGD0001E Ungültige Option '-Guïd<&>'.")
            self.assertIn("HQXGD0007E Es wurde kein GUID-Eintrag erstellt.", german)
            self.assertEqual([a[:10] for a in german], [a[:10] for a in english])
        same = self.records("-L", "nl", "--catalogs", f"{BUILD}/catalog", log,
                            message="no catalog guidmsgs for the language nl")
        self.assertEqual([record["message"] for record in same], english)

    def test_parameters_are_what_the_translation_wants(self):
        (self.here / "xx").mkdir()
        source = self.put('$quote "\n1 "%2$s: %1$d, %3$.2f, %%"\n2 "%1$c"\n7 "%1$x"\n'
                          '3 "%1$*2$d"\n4 "%s%n"\n5 "%1$ls"\n6 "%7$s"\n', "app.msg")
        self.check(0, "", "catalog", "compile", "-o", self.here / "xx/app.cat", source)
        for key, params, expected in [
                (1, ["42", "name%s", "3.140000"], "name%s: 42, 3.14, %"),
                (1, ["-9223372036854775808", "", "0"], ": -9223372036854775808, 0.00, %"),
                (1, ["4x", "n", "3"], None), (1, ["4", "n", ""], None), (1, ["4"], None),
                (2, ["A"], "A"), (2, ["7"], "7"),
                (1, ["\x01", "true", "1"], "true: 1, 1.00, %"), (1, ["", "false", "1"], "false: 0, 1.00, %"),
                (7, ["-1"], "ffffffff"), (7, ["4294967295"], "ffffffff"), (7, ["-4294967297"], "fffffffeffffffff"),
                (3, ["7", "4"], "   7"), (3, ["7", "9" * 11], None), (4, ["s"], None), (4, ["s", ""], "s"),
                (5, ["wide"], None), (6, ["a"], None), (9, [], None)]:
            log = self.put(message("as logged", params=params, key=key, catalog="app"))
            (record,) = self.records("-L", "xx", "--catalogs", self.here, log, message="" if expected else "stay as they are")
            self.assertEqual(record["message"], expected or "as logged", (key, params))
        outside = self.put(message("as logged", key=6, catalog=f"{self.here}/xx/app.cat"))
        self.assertEqual(self.records("-L", "xx", outside, message="stay as they are")[0]["message"], "as logged")

    def test_stats(self):
        hours = [0, 0, 0, 1, 5, 30]
        log = self.put("".join(message("m", 1795341600000 + hour * 3600000, f"HQXGD000{hour % 2}E",
                                       "WARN" if hour else "ERROR") for hour in hours) +
                       trace("m", "INFO", "2026-11-23 16:00:00.000+00:00"))
        stats = json.loads(self.log("--stats", "--json", log))
        self.assertEqual([stats[key] for key in ["records", "malformed", "withoutId", "otherIds", "first", "last"]],
                         [7, 0, 1, 0, "2026-11-22T10:00:00.000Z", "2026-11-23T16:00:00.000Z"])
        self.assertEqual([(row["levelName"], row["records"]) for row in stats["levels"]],
                         [("ERROR", 3), ("WARN", 3), ("INFO", 1)])
        self.assertEqual([(row["id"], row["records"], row["last"][5:16]) for row in stats["ids"]],
                         [("HQXGD0000E", 4, "11-23T16:00"), ("HQXGD0001E", 2, "11-22T15:00")])
        self.assertEqual((stats["periodMillis"], [(row["begin"][5:13], row["records"]) for row in stats["periods"]]),
                         (10800000, [("11-22T09", 4), ("11-22T15", 1), ("11-23T15", 2)]))
        text = self.log("--stats", log)
        self.assertRegex(text, r"HQXGD0000E +4  2026-11-22 10:00:00  2026-11-23 16:00:00\n")
        self.assertRegex(text, r"Per 3 hours\n2026-11-22 09:00:00 +4  #{47}\n2026-11-22 12:00:00 +0\n.* +1  #{11}\n")
        many = self.put("".join(message("m", 2 ** 63 - 1 - number, f"HQXGD{number:05}E") for number in range(10005)))
        stats = json.loads(self.log("--stats", "--json", many))
        self.assertEqual((len(stats["ids"]), stats["otherIds"], stats["periods"]), (10000, 5, []))

    def test_following_ends_with_a_whole_document(self):
        log = self.put(trace("old") + trace("first"))
        words = [VELTOOL, "log", "--follow", "--xml", "-n", "1", log]
        with subprocess.Popen(words, stdout=subprocess.PIPE, text=True) as follower:
            text = up_to(follower.stdout, "</Trace>\n")
            with open(log, "a", encoding="utf-8") as more:
                more.write(trace("second"))
            text += up_to(follower.stdout, "</Trace>\n")
            follower.send_signal(signal.SIGINT)
            text += follower.stdout.read()
        self.assertEqual(follower.returncode, 0)
        self.assertEqual([element.findtext("LogText") for element in xml.etree.ElementTree.fromstring(text)], ["first", "second"])

    def test_last_ones_of_a_slow_pipe(self):
        with subprocess.Popen([VELTOOL, "log", "-n", "1"], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as reader:
            os.write(reader.stdin.fileno(), (trace("old") + trace("older")).encode())
            is_asleep, unread = False, 1
            while unread or not is_asleep:
                is_asleep = ") S " in pathlib.Path(f"/proc/{reader.pid}/stat").read_text()
                (unread,) = struct.unpack("i", fcntl.ioctl(reader.stdin, termios.FIONREAD, bytes(4)))
            text, _ = reader.communicate(trace("last").encode())
        self.assertEqual((text.count(b"\n"), reader.returncode), (1, 0), text)


if __name__ == "__main__":
    unittest.main()
