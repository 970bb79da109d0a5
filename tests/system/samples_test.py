#!/usr/bin/env python3
"""Logs by the properties files that are installed. The arguments are the program that logs, the directory of
these files, and that of the build, which has the tables and catalogs."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import zipfile
import xml.etree.ElementTree

PROGRAM, PACKAGING, BUILD = (pathlib.Path(sys.argv.pop(1)).absolute() for _ in range(3))
DATE = re.compile(r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d ", re.M)
NO_ROOT = "HQXGD0000E You must have root user authority to run this program.\n"
INVALID = "HQXGD0001E Invalid option '-Guïd<&>'.\n"
NOT_CREATED = "HQXGD0007E A GUID entry was not created.\n"
ERRORS = NO_ROOT * 2 + INVALID + NOT_CREATED
TRACE = "Command line parameter is >-Guïd<"


class SamplesTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.here = pathlib.Path(scratch.name)
        self.log = self.here / "log"  # in the place of /var/log

    def run_with(self, sample, *words, change=lambda text: text, out="", err="", times=1, **env):
        """Logs, several times at once, with a properties file whose logs go to the scratch directory; holds what the
        terminal gets."""
        properties = self.here / "properties"
        text = (PACKAGING / f"{sample}.properties").read_text()
        properties.write_text(change(text).replace("/var/log/", f"{self.log}/"))
        settings = {"MABDIR": str(BUILD), "MAB_CODESET": "UTF-8", "NLSPATH": f"{BUILD}/catalog/%L/%N.cat", "LANG": "C"}
        running = [subprocess.Popen([PROGRAM, properties, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                    env=settings | env, umask=0) for _ in range(times)]
        done = [(*process.communicate(timeout=60), process.returncode) for process in running]
        for said, complained, status in done:
            self.assertEqual(status, 0, done)
            self.assertRegex(said, rf"\A{out}\Z")
            self.assertRegex(complained, rf"\A{err}\Z")

    def lines(self, name="velguid.log"):
        """What a log has, without the date that each of its records begins with."""
        text = (self.log / name).read_text()
        self.assertEqual(len(DATE.findall(text)), text.count("\n"), text)
        return DATE.sub("", text)

    def modes(self):
        return {path.name: oct(path.stat().st_mode & 0o7777) for path in [self.log, *self.log.iterdir()]}

    def test_shipped_errors_are_roots_alone_and_there_is_no_trace(self):
        self.run_with("velguid")
        self.assertEqual(self.lines(), ERRORS)
        self.assertEqual(self.modes(), {"log": "0o700", "velguid.log": "0o600"})

    def test_shipped_trace_is_switched_on_by_two_lines(self):
        self.run_with("velguid", change=lambda text: re.sub("^#(trace)", r"\1", text, count=2, flags=re.M))
        self.assertEqual(self.modes(), {"log": "0o700", "velguid.log": "0o600", "velguid-trace.log": "0o600"})
        self.assertRegex((self.log / "velguid-trace.log").read_text(), rf"\A\x1e\[[^]]+\] -  MIN  - .*main\(255\).*{TRACE}\n\Z")
        self.assertEqual(self.lines(), ERRORS)

    def test_shipped_file_is_silent_on_the_terminal_unless_it_is_told_to_speak(self):
        self.log.write_text("no directory")
        self.run_with("velguid")
        speak = "pmxlog.errorLogger.logging = off", "pmxlog.errorLogger.logging = on"
        self.run_with("velguid", change=lambda text: text.replace(*speak), err=r"[^$]*PMXFH0032E[^$]*")

    def test_shipped_sizes_hold(self):
        self.run_with("velguid", "30000")
        sizes = [(self.log / f"velguid{i}.log").stat().st_size for i in (1, 2, 3)]
        self.assertTrue(all(262144 <= size < 262400 for size in sizes), sizes)
        self.assertEqual(set(self.modes().values()), {"0o700", "0o600"})
        self.assertEqual(len(self.modes()), 5)

    def test_messages_come_in_the_language_of_the_environment(self):
        """Whether or not the system has such a locale."""
        for language, text in [("de_DE.UTF-8", "HQXGD0001E Ungültige Option '-Guïd<&>'.\n"), ("de", "HQXGD0007E Es wurde kein"),
                               ("de_AT", "HQXGD0000E Zum Ausführen"), ("en_XA", "HQXGD0007E [Á ĜÛÎĎ éñţřý ŵáš ñöţ çřéáţéď.~"),
                               ("en_XA.UTF-8", "[Îñṽáļîď öṗţîöñ '-Guïd<&>'.~"), ("en_GB", INVALID)]:
            self.run_with("velguid", LC_ALL=language)
            self.assertIn(text, self.lines(), language)
        self.run_with("velguid", change=lambda text: text.replace("#format.line.locale = en_US", "format.line.locale = de"))
        self.assertTrue(self.lines().endswith("HQXGD0007E Es wurde kein GUID-Eintrag erstellt.\n"))

    def test_console(self):
        time = r"\d\d:\d\d:\d\d\|"
        errors = "".join(f"{time}{re.escape(line)}\n" for line in ERRORS.splitlines())
        self.run_with("samples/console", out=rf"{time}\.\./common/main\|main\|255\|{re.escape(TRACE)}\n", err=errors)
        self.assertFalse(self.log.exists())

    def test_rolling_file(self):
        self.run_with("samples/rolling-file", "1500")
        files = ["velguid3.log", "velguid2.log", "velguid1.log", "velguid.log"]
        numbers = [int(number) for name in files for number in re.findall(r"'step'.*'(\d+)'\.", self.lines(name))]
        self.assertEqual(numbers, list(range(numbers[0], 1501)))
        self.assertGreater(numbers[0], 1)
        for name in files[:3]:
            self.assertIn((self.log / name).stat().st_size - 10000, range(100), name)
        self.assertEqual(self.modes(), {"log": "0o755", **dict.fromkeys(files, "0o644")})

    def test_xml(self):
        for _ in range(2):
            self.run_with("samples/xml")
        log = xml.etree.ElementTree.fromstring(f"<Log>{(self.log / 'velguid.xml').read_text()}</Log>")
        run = ["ProductId", "Message", "Message", "Message", "Message", "Trace"]
        self.assertEqual([element.tag for element in log], run * 2)
        invalid, trace = log[3], log[5]
        self.assertEqual(invalid.attrib, {"Id": "HQXGD0001E", "Severity": "ERROR"})
        self.assertEqual(invalid.find("LogText").text + "\n", INVALID)
        self.assertEqual(invalid.find("TranslationInfo/Param").text, "-Guïd<&>")
        self.assertEqual((log[0].text, invalid.find("Component").text, invalid.find("LogAttribs/Value").text),
                         ("velguid", "tool", "Velmar"))
        self.assertEqual((trace.find("LogText").text, trace.find("Source").get("Line")), (TRACE, "255"))

    def test_ebcdic(self):
        self.run_with("samples/ebcdic")
        text = (self.log / "velguid.ebcdic").read_bytes().decode("cp037").replace("\x85", "\n")
        self.assertEqual(DATE.sub("", text), ERRORS)

    def test_message_ids(self):
        self.run_with("samples/message-ids", "2")
        self.assertEqual(self.lines(), NO_ROOT + NOT_CREATED)
        self.run_with("samples/message-ids", change=lambda text: re.sub("RepeatTime = .*", "RepeatTime = 0", text))
        self.assertEqual(self.lines(), NO_ROOT + NOT_CREATED + NO_ROOT * 2 + NOT_CREATED)
        os.remove(self.log / "velguid.log")
        self.run_with("samples/message-ids", change=lambda text: text.replace("PASSTHRU\n", "BLOCK\n"))
        self.assertEqual(self.lines(), INVALID)

    def test_shared_file(self):
        key = str(0x30000000 + os.getpid())
        self.addCleanup(subprocess.run, ["ipcrm", "-S", key], check=True)
        self.run_with("samples/shared-file", "1500", times=4, change=lambda text: text.replace("31822", key))
        lines = (self.lines("velguid1.log") + self.lines()).splitlines(keepends=True)
        self.assertEqual(sorted(line for line in lines if "'step'" not in line), sorted(ERRORS.splitlines(keepends=True) * 4))
        numbers = [int(re.search(r"'(\d+)'\.$", line)[1]) for line in lines if "'step'" in line]
        self.assertEqual(sorted(numbers), sorted([*range(1, 1501)] * 4))
        self.assertEqual(self.modes(), {"log": "0o771", "velguid.log": "0o600", "velguid1.log": "0o600"})

    def capture(self, change=lambda text: text):
        """Captures the log and another file; returns the directory of that day."""
        (self.here / "VELGUID").write_bytes(b"3c.0a\n")
        self.run_with("samples/capture", "5", change=lambda text: change(text).replace("/etc/", f"{self.here}/"))
        (day,) = (self.log / "velguid-ffdc").iterdir()
        self.assertRegex(day.name, r"\A\d{4}\.\d\d\.\d\d\Z")
        return day

    def expected_captures(self):
        """The log ends with the error that it was captured for."""
        log = (self.log / "velguid.log").read_bytes()
        return {"VELGUID": b"3c.0a\n", "velguid.log": b"".join(log.splitlines(keepends=True)[:4])}

    def test_capture(self):
        captured = {path.name: path.read_bytes() for path in self.capture().iterdir()}
        self.assertEqual(captured, self.expected_captures())
        self.assertIn(NOT_CREATED.encode(), captured["velguid.log"])

    def test_capture_of_archives_is_switched_on_by_two_lines(self):
        day = self.capture(lambda text: re.sub("^#(capture)", r"\1", text, count=2, flags=re.M))
        self.assertEqual([path.name for path in day.iterdir()], ["velguid.zip"])
        with zipfile.ZipFile(day / "velguid.zip") as archive:
            self.assertEqual({name: archive.read(name) for name in archive.namelist()}, self.expected_captures())

    def test_capture_ends_at_its_quota(self):
        self.run_with("samples/capture", change=lambda text: text.replace("= 10485760", "= 1"), err=r"[^$]*PMXFF0061E[^$]*")
        self.assertEqual(list((self.log / "velguid-ffdc").iterdir()), [])

    def test_channel(self):
        name = f"samples_{os.getpid()}"
        veltool = [BUILD / "bin/veltool", "channel"]
        self.addCleanup(pathlib.Path("/tmp", name).unlink)
        self.addCleanup(subprocess.run, [*veltool, "remove", "--force", name], check=True)
        subprocess.run([*veltool, "create", name], check=True, stdout=subprocess.DEVNULL)
        with subprocess.Popen([*veltool, "read", name, "--follow"], stdout=subprocess.PIPE, text=True) as reader:
            self.run_with("samples/channel", change=lambda text: text.replace("IPCID = velguid", f"IPCID = {name}"))
            lines = "".join(reader.stdout.readline() for _ in range(5))
            reader.terminate()
        errors = "".join(f"ERROR     velguid: {line}" for line in ERRORS.splitlines(keepends=True))
        self.assertEqual(DATE.sub("", lines), f"{errors}DEBUG_MIN velguid: {TRACE} [main ../common/main:255]\n")


if __name__ == "__main__":
    unittest.main()
