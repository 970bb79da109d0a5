#!/usr/bin/env python3
"""Runs the real velguid as its users do. To be run as root with a private "/etc", "/opt" and "/var/log":
tests/support/scratch-host tests/system/velguid_test.py PROGRAM VELTOOL CODESETS LOCALES"""
import fcntl
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile
import unittest

VELGUID = VELTOOL = CODESETS = LOCALES = None  # the programs and directories, from the command line
INSTALLED = pathlib.Path("/opt/velmar/guid")
PROPERTIES = INSTALLED / "velguid.properties"
LOG = pathlib.Path("/var/log/velguid.log")
NO_LOG = "ERROR: could not initialize logger 'myLog'\n"
FILE = pathlib.Path("/etc/VELGUID")
HEADER = b"This is the Velmar GUID file do not change or delete.\n"
GUID = bytes(range(1, 17))
GUID_LINE = "Guid:01.02.03.04.05.06.07.08.09.0a.0b.0c.0d.0e.0f.10\n"
BANNER = ("Velmar GUID utility - Version 1, Release 3, Level 1.\n"
          "Copyright (C) Velmar 2005. All rights reserved.\n\n")
USAGE = ("Usage : velguid  [-Create] [-Decimal] [-Help] [-Show]  \n"
         "[-Write [-Guid=ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff] [-New]] [-Quiet]\n")
HELP = """-CREATE\tGenerates and stores a new GUID on the host.
\tIf a GUID already exists, it will be displayed.
-HELP\tDisplays help for the velguid commands.
-SHOW\tReturns the value of the current GUID.
-WRITE\tWrites the GUID specified in the -GUID option to the file/registry.
\tFor example, -WRITE -GUID='string' will use the value in 'string'
\tinstead of generating a new GUID.
\tThe 'string' must be a valid GUID (32 hex values).
\t-NEW\tWhen used with -WRITE will create a new GUID
\t\teven if one exists.
"""
EXISTS = "HQXGD0004I A GUID already exists on this host. A new GUID will not be created.\n"
CREATING = "HQXGD0005I A GUID entry was not found. The program is generating a new one.\n"
NOT_FOUND = "HQXGD0006I A GUID entry was not found.\n"
NOT_WRITTEN = "HQXGD0008E The GUID entry could not be written.\n"
NOT_READ = "HQXGD0009E The GUID entry can not be read.\n"
BAD_FORMAT = "HQXGD0003E The format of the GUID is invalid.\n"
NO_GUID = "HQXGD0011E When using '-Write' you must enter '-Guid=ff.ff...' or use '-New'.\n"
NOT_ROOT = "HQXGD0000E You must have root user authority to run this program.\n"
VALUE = "-g=1.2.3.4.5.6.7.8.9.a.b.c.d.e.f.10"


def invalid(option):
    return f"HQXGD0001E Invalid option '{option}'.\n{USAGE}"


def run(*options, **how):
    how = {"stdout": subprocess.PIPE, "stderr": subprocess.STDOUT, **how}
    done = subprocess.run([VELGUID, *options], timeout=60, **how)
    return done.returncode, (done.stdout or b"").decode("latin-1")


def store(content):
    FILE.unlink(missing_ok=True)
    if content is not None:
        FILE.write_bytes(content)


def configure(trace="OFF", handler="pmx_filehandler", date="-"):
    """Errors, and the trace if it is on, go to one log, whose lines begin with the date."""
    PROPERTIES.write_text(f"""pmxlog.errorLogger.logging = off
msg.velguid.className = pmx_basiclogger
msg.velguid.listenerNames = out.log
trace.velguid.className = pmx_basiclogger
trace.velguid.listenerNames = out.log
trace.velguid.level = {trace}
out.log.className = {handler}
out.log.fileName = {LOG}
out.log.formatterName = form.line
form.line.className = pmx_basicformatter
form.line.dateTimeFormat = {date}
""")


def logged():
    """The lines of the log since the last call."""
    lines = LOG.read_text().splitlines() if LOG.exists() else []
    LOG.unlink(missing_ok=True)
    return lines


def ended(function, status):
    return f"- HQXGD0013E '{function}' return status is '{status}'."


def traced(function, line, text):
    return f"- ../common/main {function} {line} {text}"


def translate(language, *texts):
    """Installs a catalog with the texts in place of messages 2, 3 and 6."""
    place = INSTALLED / language
    place.mkdir()
    source = place / "guidmsgs.msg"
    source.write_text("$set 1\n" + "".join(f"{key} {text}\n" for key, text in zip((2, 3, 6), texts)))
    subprocess.run([VELTOOL, "catalog", "compile", "-o", source.with_suffix(".cat"), source], check=True)


class VelguidTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if os.listdir("/etc"):
            raise RuntimeError("this /etc is not a scratch one")

    def setUp(self):
        store(None)
        shutil.rmtree(INSTALLED, ignore_errors=True)
        INSTALLED.mkdir(parents=True)
        (INSTALLED / "codeset").symlink_to(CODESETS)
        configure()
        logged()

    def check(self, status, shown, *options, **how):
        with self.subTest(options=[option[:80] for option in options]):
            self.assertEqual(run(*options, **how), (status, shown))

    def test_options_and_what_they_show(self):
        for content, options, status, shown in [
                (None, "", 255, USAGE),
                (None, "-h", 0, USAGE + HELP),
                (None, "-Show -HELP", 0, USAGE + HELP),
                (None, "-?", 255, invalid("?")),
                (None, "-Showx", 255, invalid("SHOWX")),
                (None, "-cx", 255, invalid("CX")),
                (None, "-creates", 255, invalid("CREATES")),
                (None, "-Gui 1.2", 255, BAD_FORMAT),
                (None, "-Gx=1", 255, invalid("GX")),
                (None, "-guide", 255, invalid("GUIDE")),
                (None, "-", 255, invalid("-")),
                (None, "--show", 255, invalid("--show")),
                (None, "-x", 255, invalid("-x")),
                (None, "show", 255, invalid("show")),
                (None, "-s later", 255, invalid("later")),
                (None, "-Decimal", 255, invalid("-Decimal")),
                (None, "-new -Dec", 255, invalid("-Dec")),
                (None, "-w", 255, NO_GUID),
                (None, "-g", 255, BAD_FORMAT),
                (None, "-g=", 255, BAD_FORMAT),
                (None, "-w -g=1.2.3", 255, BAD_FORMAT),
                (None, "-w " + VALUE.replace(".10", "."), 255, BAD_FORMAT),
                (None, "-s", 150, NOT_FOUND),
                (b"wrong", "-SHOW", 150, NOT_FOUND),
                (HEADER + bytes(16), "-sh", 150, NOT_FOUND),
                (HEADER + GUID, "-Show", 0, GUID_LINE),
                (HEADER + GUID, "-Create -s -w", 0, GUID_LINE),
                (HEADER + GUID, "-s -DEC", 0, "Guid:1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16\n"),
                (HEADER + GUID, "-c", 0, EXISTS + GUID_LINE),
                (HEADER + GUID, "-create -new", 0, EXISTS + GUID_LINE)]:
            store(content)
            self.check(status, BANNER + shown, *options.split())
            self.assertEqual(FILE.read_bytes() if content is not None else None, content)

    def test_quiet_shows_nothing_and_keeps_the_status(self):
        for content, options, status in [
                (HEADER + GUID, "-Quiet -Show", 0), (None, "-s -q", 150), (None, "-q -x", 255),
                (None, "-q", 255), (None, "-c -qui", 0), (None, "-h -q", 0), (None, "-q -w", 255)]:
            store(content)
            self.check(status, "", *options.split())
        # Only the leading options are looked through, and a wrong one is shown, without the banner.
        self.check(255, BANNER + invalid("x"), "x", "-q")
        self.check(255, invalid("QX"), "-s", "-qx")

    def test_write_stores_the_value(self):
        odd = "-g= 0x101.+2.00000003.4.5.6.7.8.9.A.B.C.D.E.F.fffffffff10tail"
        for options, status, shown in [
                (["-w", VALUE], 0, GUID_LINE), (["-GUID" + VALUE[2:], "-WRITE"], 0, GUID_LINE),
                (["-w", odd], 0, GUID_LINE), (["-w", "-new", VALUE], 0, GUID_LINE)]:
            store(None)
            self.check(status, BANNER + shown, *options)
            self.assertEqual(FILE.read_bytes(), HEADER + GUID)
        self.check(0, BANNER + GUID_LINE, "-w", VALUE, env={"LANG": "tr_TR.UTF-8", "LC_ALL": "tr_TR"})
        self.check(255, BANNER + BAD_FORMAT, "-w", "-new", "-g=1")
        self.check(150, BANNER + NOT_READ, "-w", "-g=" + ".".join(["100"] * 16))

    def test_create_makes_one_guid_and_keeps_it(self):
        status, shown = run("-Create")
        self.assertEqual(status, 0)
        stored = FILE.read_bytes()
        self.assertEqual((len(stored), stored[:54]), (70, HEADER))
        self.assertEqual((stored[60] >> 4, stored[62] >> 6), (1, 2))
        line = "Guid:" + ".".join(f"{byte:02x}" for byte in stored[54:]) + "\n"
        self.assertEqual(shown, BANNER + CREATING + line)
        self.check(0, BANNER + EXISTS + line, "-c")
        self.assertEqual(run("-w", "-n")[0], 0)
        self.assertNotEqual(FILE.read_bytes()[54:], stored[54:])

    def test_creators_at_the_same_moment_agree(self):
        directory = os.open("/etc", os.O_RDONLY)
        fcntl.flock(directory, fcntl.LOCK_EX)  # as a creator that came first has it
        with subprocess.Popen([VELGUID, "-c"], stdout=subprocess.PIPE) as later:
            state = pathlib.Path(f"/proc/{later.pid}/stat")
            while state.read_text().split(") ")[1][0] not in "SZ":  # waits, or did not and has ended
                pass
            store(HEADER + GUID)
            fcntl.flock(directory, fcntl.LOCK_UN)
            self.assertEqual(later.stdout.read().decode(), BANNER + EXISTS + GUID_LINE)
        # Nobody can hold a creator up for good.
        store(None)
        fcntl.flock(directory, fcntl.LOCK_EX)
        self.assertEqual(run("-c")[0], 0)
        os.close(directory)

    def test_a_file_that_cannot_be_written(self):
        FILE.mkdir()
        try:
            self.check(151, BANNER + CREATING + NOT_WRITTEN, "-c")
            self.check(151, BANNER + NOT_WRITTEN, "-w", VALUE)
        finally:
            FILE.rmdir()
        # A full device is not noticed by the writing, but by the reading back.
        FILE.symlink_to("/dev/full")
        self.check(150, BANNER + NOT_READ, "-w", VALUE)

    def test_a_limit_on_the_size_of_files(self):
        # The output is a pipe, so that only the GUID file meets the limit. Beyond 0 a signal comes, too.
        # The counts of a coverage build would, too: they are sent where they cannot be written.
        how = {"env": {**os.environ, "GCOV_PREFIX": "/dev/null"}, "stderr": subprocess.DEVNULL}
        for size in [0, 60]:
            def limit(size=size):
                resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
            store(None)
            self.check(150, BANNER + NOT_READ, "-w", VALUE, preexec_fn=limit, **how)
            self.assertEqual(FILE.read_bytes(), b"")
            store(HEADER + GUID)
            self.check(0, BANNER + GUID_LINE, "-w", "-new", preexec_fn=limit, **how)

    @unittest.skipIf(pathlib.Path("/proc/self/uid_map").read_text().split()[2] == "1",
                     "root of a user namespace, where there is no other user")
    def test_only_root_may(self):
        program = pathlib.Path(tempfile.mkdtemp(dir="/opt")) / "velguid"
        shutil.copy(VELGUID, program)
        program.parent.chmod(0o755)
        for options, shown in [(["-s"], NOT_ROOT), (["-c"], NOT_ROOT), (["-x"], NOT_ROOT), ([], USAGE)]:
            done = subprocess.run([program, *options], capture_output=True, check=False,
                                  user=65534, group=65534, extra_groups=[])
            self.assertEqual((done.returncode, done.stdout.decode(), done.stderr), (255, BANNER + shown, b""))
        self.assertFalse(FILE.exists())
        # A refused run logs its message twice.
        configure(handler="pmx_stderrhandler")
        for options, times in [(["-s"], 2), (["-s", "-q"], 1)]:
            done = subprocess.run([program, *options], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False,
                                  user=65534, group=65534, extra_groups=[])
            self.assertEqual(done.stderr.decode(), f"- {NOT_ROOT}" * times + ended("usage", -1) + "\n")

    def test_closed_and_full_outputs(self):
        for closed in [(0,), (1,), (2,), (0, 1), (0, 1, 2)]:
            def close(which=closed):
                for fd in which:
                    os.close(fd)
            store(None)
            done = subprocess.run([VELGUID, "-w", VALUE], preexec_fn=close, check=False,
                                  stdout=subprocess.DEVNULL)
            self.assertEqual(done.returncode, 0)
            self.assertEqual(FILE.read_bytes(), HEADER + GUID)
        with open("/dev/full", "wb") as full:
            self.check(0, "", "-s", stdout=full)
            self.check(150, "", "-w", "-g=" + ".".join("0" * 16), stdout=full)
        reader, writer = os.pipe()
        os.close(reader)
        self.check(0, "", "-w", "-new", stdout=writer, restore_signals=True)
        os.close(writer)

    def test_long_arguments_and_hostile_environments(self):
        long_word = "s" * 131000
        room = 3999 - len(invalid("")) + len("'.\n" + USAGE)
        self.check(255, BANNER + invalid("S" * room).replace("'.", ""), "-" + long_word)
        self.check(255, BANNER + invalid("x" * room).replace("'.", ""), "x" * 131000)
        # Of characters with two bytes only whole ones are shown.
        shown = "HQXGD0001E Invalid option 'a" + "ä" * 1985 + "\n" + USAGE
        self.check(255, BANNER + shown.encode().decode("latin-1"), "a" + "ä" * 3000, env={"LANG": "C.UTF-8"})
        self.check(255, BANNER + BAD_FORMAT, "-g=" + "f" * 131000)
        self.check(0, BANNER + GUID_LINE, "-w",
                   "-g=" + ".".join("f" * 5000 + f"{byte:02x}" for byte in GUID))
        store(HEADER + GUID)
        scratch = pathlib.Path("/opt/hostile")
        fifo, damaged = scratch / "fifo", scratch / "damaged"
        for path in [fifo, scratch / "zones/UTC0", scratch / "zones/posixrules", scratch / "zones/Universal",
                     scratch / "a/de/LC_MESSAGES", scratch / "b/de/LC_MESSAGES/SYS_LC_MESSAGES"]:
            path.parent.mkdir(parents=True, exist_ok=True)
            os.mkfifo(path)
        damaged.write_bytes(b"*nazgul*" + bytes(range(256)) * 10)
        os.truncate(damaged, 1 << 40)
        zones, places = str(scratch / "zones"), f":/nowhere:{scratch}/"
        for environment in [{}, {"LANG": "x" * 5000}, {"NLSPATH": "/dev/zero:" + "%" * 100000},
                            {"LC_ALL": "../../etc"}, {"LOCPATH": "/proc/self/mem", "LANG": "de"},
                            {"TZ": str(fifo)}, {"TZ": f":../../..{fifo}"}, {"TZ": "fifo", "TZDIR": str(scratch)},
                            {"TZ": "UTC0", "TZDIR": zones}, {"TZ": "", "TZDIR": zones},
                            {"TZ": "AAA5BBB", "TZDIR": zones}, {"TZ": "A" * 100000, "TZDIR": "/dev"},
                            {"TZ": str(damaged)}, {"LOCPATH": places + "a", "LANG": "de_DE.UTF-8"},
                            {"LOCPATH": places + "b", "LC_ALL": "de"}, {"LOCPATH": "/usr/bin", "LANG": "de"},
                            {"LOCPATH": "".join(f"/{i}:" for i in range(10000)), "LANG": "de_DE.UTF-8@euro"},
                            {"LC_MESSAGES": f"{scratch}/b/de"}, {"LANG": f"{scratch}/a/de"},
                            {"LANGUAGE": f"{scratch}/a/de", "LANG": "C.UTF-8"},
                            {"MABDIR": str(fifo), "BINDIR": str(fifo), "MAB_CODESET": str(fifo)},
                            {"BINDIR": "/" * 100000, "MAB_CODESET": "x" * 100000}, {"NLSPATH": str(fifo)},
                            {"NLSPATH": str(damaged)}, {"NLSPATH": str(scratch)}]:
            with self.subTest({name: value[:80] for name, value in environment.items()}):
                self.check(0, BANNER + GUID_LINE, "-s", env=environment)
                self.check(255, invalid("QX"), "-s", "-qx", env=environment)
        shutil.rmtree(scratch)

    def test_errors_are_logged_without_their_parameters(self):
        read, usage = ended("vel_guid_read()", 231628950), ended("usage", -1)
        for content, options, lines in [
                (None, "", [usage]), (None, "-h", []), (HEADER + GUID, "-c", []), (None, "-c", []),
                (None, "-s", [read]), (None, "-s -q", [read]), (None, "-x -q", [usage]),
                (None, "-x", ["- HQXGD0001E Invalid option '%1$s'.", usage]),
                (None, "-g", ["- " + BAD_FORMAT[:-1], usage]),
                (None, "-w", ["- HQXGD0011E When using '%1$s' you must enter '%2$s' or use '%3$s'.", usage]),
                (None, "-w -g=" + ".".join(["0"] * 16), ["- " + NOT_READ[:-1], read])]:
            for name in ["/dev/null", "/dev/full"]:  # what becomes of the output is nothing to the log
                store(content)
                with self.subTest(options=options, output=name), open(name, "wb") as output:
                    run(*options.split(), stdout=output)
                    self.assertEqual(logged(), lines)

    def test_the_trace_tells_environment_arguments_and_failure(self):
        configure(trace="DEBUG_MIN")
        environment = [traced("main", 216, "NlS Path Specification: NLSPATH=/opt/velmar/guid/%L/%N.cat:/x"),
                       traced("main", 217, "MAB Path Specification: MABDIR=/opt/velmar/guid/codeset")]
        arguments = [traced("main", 255, f"Command line parameter is >{word}<") for word in ("-q", "-SHOW")]
        failure = traced("Exit", 568, "Exiting: funcName 'vel_guid_read()' status is 231628950.")
        for content, end in [(HEADER + GUID, []), (None, [ended("vel_guid_read()", 231628950), failure])]:
            store(content)
            run("-q", "-SHOW", env={"NLSPATH": "/x"})
            self.assertEqual(logged(), environment + arguments + end)
        for zone, date in [("UTC-5", "+0500"), ("/dev/zero", "+0000")]:
            configure(date="%z")
            run("-x", env={"TZ": zone})
            self.assertEqual(logged()[0][:5], date)

    def test_a_run_without_logs_says_so_and_is_the_same(self):
        store(HEADER + GUID)
        unreadable = f"PMX0051E The log manager could not read the properties file {PROPERTIES}.\n"
        silent = "pmxlog.errorLogger.logging = off\n"
        for properties, said in [(None, unreadable + NO_LOG), (silent + "a.b\n", unreadable + NO_LOG), (silent, NO_LOG),
                                 (silent + "msg.velguid.className = none\n", NO_LOG)]:
            PROPERTIES.unlink(missing_ok=True)
            if properties:
                PROPERTIES.write_text(properties)
            for options, status, shown in [(["-s"], 0, GUID_LINE), (["-x"], 255, invalid("-x"))]:
                with self.subTest(properties=properties, options=options):
                    done = subprocess.run([VELGUID, *options], capture_output=True, check=False)
                    self.assertEqual((done.returncode, done.stdout.decode(), done.stderr.decode()),
                                     (status, BANNER + shown, said))

    def test_messages_are_in_the_local_language_and_code_set(self):
        configure(trace="DEBUG_MIN")
        translate("de", "HQXGD0001E Ungültige Option '%1$s'.", "HQXGD0003E Ungültig: die GUID.", "Kürze")
        translate("ja_JP", "HQXGD0001E 無効なオプション '%1$s'。", "HQXGD0003E 形式が無効です。", "あいう")
        translate("tr", "HQXGD0001E Geçersiz seçenek '%1$s'.", "HQXGD0003E Geçersiz biçim.", "123456789E")
        for locale, code_set, word, option, invalid_guid, not_found in [
                ("de_DE.ISO-8859-1", "latin-1", "größe", "HQXGD0001E Ungültige Option 'größe'.",
                 "HQXGD0003E Ungültig: die GUID.", "Kürze"),
                ("ja_JP.EUC-JP", "euc-jp", "表示", "HQXGD0001E 無効なオプション '表示'。",
                 "HQXGD0003E 形式が無効です。", "あいう"),
                ("tr_TR.ISO-8859-9", "iso8859-9", "ışıĞ", "HQXGD0001E Geçersiz seçenek 'ışıĞ'.",
                 "HQXGD0003E Geçersiz biçim.", "123456789E"),
                ("C.UTF-8", "utf-8", "größe", invalid("größe").splitlines()[0], BAD_FORMAT[:-1], NOT_FOUND[:-1])]:
            how = {"env": {"LANG": locale, "LOCPATH": LOCALES if locale != "C.UTF-8" else ""}}
            with self.subTest(locale):
                for options, text in [([word.encode(code_set)], option), (["-gui"], invalid_guid),
                                      (["-sh"], not_found)]:
                    shown = run(*options, **how)[1].encode("latin-1").decode(code_set)
                    self.assertEqual(shown[len(BANNER):].removesuffix(USAGE), text + "\n")
                    lines = [line for line in logged() if "HQXGD0013E" not in line]
                    argument = options[0] if isinstance(options[0], str) else word
                    self.assertEqual(lines[2], traced("main", 255, f"Command line parameter is >{argument}<"))
                    # The tenth character tells an error, in whatever text; and not where there is none.
                    if options == ["-sh"]:
                        self.assertEqual("- " + text in lines, text[9:] == "E")
                    elif options == ["-gui"]:
                        self.assertIn("- " + text, lines)
        # Where the locale is not installed, what ASCII does not have is replaced.
        shown = run("größe".encode("latin-1"), env={"LC_ALL": "de_DE.ISO-8859-1"})[1]
        self.assertEqual(shown, BANNER + "HQXGD0001E Ung?ltige Option 'gr??e'.\n" + USAGE)


if __name__ == "__main__":
    VELGUID, VELTOOL, CODESETS, LOCALES = (os.path.abspath(sys.argv.pop(1)) for _ in range(4))
    unittest.main()
