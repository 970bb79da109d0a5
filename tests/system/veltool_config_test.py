#!/usr/bin/env python3
"""veltool config check, held against what the toolkit itself does with the same files. The arguments are veltool, the
tables, a program that logs by a properties file, and the directory of the sources."""
import json
import os
import pathlib
import subprocess
import sys
import unittest

from veltool_case import CODESETS, VELTOOL, VeltoolCase

LOG_RECORDS, SOURCES = (pathlib.Path(sys.argv.pop(1)).absolute() for _ in range(2))
ENVIRONMENT = {**os.environ, "MABDIR": str(CODESETS), "LC_ALL": "C.UTF-8"}
# Two loggers, in lines 1 to 4; what a test adds begins in line 5.
LOGGERS = b"""msg.velguid.className=pmx_basiclogger
trace.velguid.className=pmx_basiclogger
msg.velguid.listenerNames=h
trace.velguid.listenerNames=h
"""
FILE = b"h.className=pmx_filehandler\nh.fileName=%s/log\n"
CAPTURE = b"h.className=pmx_ffdc_filecopy_handler\n"
CONSOLE = b"h.className=pmx_consolehandler\n"
ENDS = "; the reading ends here"

# What is added, a finding, and what the toolkit says of it on standard error.
REFUSED = [
    (b"plain=1\nx.y=1\n", "5:1: no full stop: a key is the name of an object, a full stop, and a property" + ENDS +
     ", and 1 line behind this one are not read"),
    (b"x.y\n", "5:4: no separator: the key stands alone on its line" + ENDS),
    (b"x.y  \n", "5:1: no separator: the key stands alone on its line" + ENDS),
    (b"  =1\n", "5:3: a separator behind the blanks that begin a line" + ENDS),
    (b".y=1\n", "5:1: no name of an object before the full stop" + ENDS),
    (b"x.=1\n", "5:1: no property behind the full stop" + ENDS),
    (b"/.y=1\n", "5:1: '/' is the root, which has no properties" + ENDS),
    (b"x.\\n=1\n", "5:4: a bad escape: in a key a backslash stands before a blank, a separator or a backslash" + ENDS),
    (b"x.y=\\n\n", "5:6: a bad escape: in a value a backslash stands before a blank, a quote, a backslash, 'u' or the "
     "end of the line" + ENDS),
    (b"x.y=\\u00g1\n", "5:9: no hexadecimal digit: an escape has four" + ENDS),
    (b"\xef\xbb\xbfplain # not a comment\n=", "5:1: no full stop"),
]
TAKEN = [
    (CONSOLE + b"h.x=\\u00e9\n", r"6:5: '\u00e9' is read as U+0049: the digits A to F count 0 to 5", ""),
    (CONSOLE + b"h.x=\\u0041\\u0001\n", r"6:11: '\u0001' is read as U+0042: an escape adds to the one before it", ""),
    (CONSOLE + b"h.x=1\\\n#y\n", "7:1: no comment: the value above ends with a backslash and goes on here", ""),
    (CONSOLE + b"h.x=1\\\nh.y=2\n", "7:1: no entry of its own: the value above ends with a backslash", ""),
    (CONSOLE + b"h.x=\n", "6:5: the value is empty, which is a fault unless one above it in the file is not", ""),
    (CONSOLE + b"h.x", "6:1: the file ends behind this key: its value is empty", ""),
    (CONSOLE + b"h.x=1\\", "6:1: the file ends behind a backslash, which is dropped", ""),
    (CONSOLE + b"h.x=a\x00b\n", "6:6: a NUL: it and what is behind it are dropped", ""),
    (CONSOLE + b"h.x=a\xff\n", "6:6: a byte that is not UTF-8", ""),
    (CONSOLE + b"h.x=1\rh.y=2\n", "6:6: a carriage return alone ends the line", ""),
    (CONSOLE + b"h.logging=on\nh.logging=off\n", "6:1: this does not count: line 7 sets it again", ""),
    (b"h.className=pmx_consolehandlr\n", "5:13: no class 'pmx_consolehandlr'; 'pmx_consolehandler' is near", "PMXBC0062W"),
    (b"h.className=pmx_consolehandler \n", "5:13: 'pmx_consolehandler ' is no class: the blanks at the end belong to it",
     "PMXBC0062W"),
    (b"h.className=pmx_consolehandler # x\n", "5:32: no comment: what stands behind a value belongs to it", "PMXBC0062W"),
    (b"h.logging=on\n", "3:27: 'h' has no className, nor inherits one", "PMXBC0063W"),
    (b"", "4:29: no object 'h': there is no configuration of this name", "PMXBC0063W"),
    (b"h.className=pmx_basiclogger\n", "3:27: 'h' is a logger: a listener is a filter or a handler", ""),
    (CONSOLE + b"h.formatterName=h.g\n", "6:17: 'h.g' is a handler, which it inherits from 'h': without a formatter", ""),
    (CONSOLE + b"h.loging=on\n", "6:1: pmx_consolehandler does not know 'loging'; 'logging' is near", ""),
    (CONSOLE + b"h.maxFiles=2\n", "6:1: pmx_consolehandler does not know 'maxFiles', which is one of pmx_filehandler", ""),
    (CONSOLE + b"h.listenerNames=g\ng.className=pmx_levelfilter\ng.listenerNames=h\n",
     "8:17: events come round: 'h' -> 'g' -> 'h'", ""),
    (CONSOLE + b"h.listenerNames=a.g\na.g.className=pmx_levelfilter\na.logging=on\n",
     "7:1: 'a.g' does not inherit from 'a', whose first entry comes later", ""),
    (FILE + b"h.maxFiles=0\n", "7:12: 0 is out of range: the least is 1, so it counts as 3", "PMXFH0077W"),
    (FILE + b"h.maxFileBytes=0\n", "7:16: 0 is out of range: the least is 1, so it counts as 1024", "PMXFH0078W"),
    (FILE + b"h.maxFiles=1\nh.maxFileBytes=5\n", "8:1: maxFileBytes does nothing", "PMXFH0079W"),
    (FILE + b"h.maxFileSize=-1\n", "7:15: -1 makes a file full at once: each record gets its own", ""),
    (FILE + b"h.maxFiles=3x\n", "7:12: '3x' is read as 3: only the digits that it begins with count", ""),
    (FILE + b"h.filePermission=0888\n", "7:18: '0888' is not one to four octal digits, so it changes nothing", "PMXMP0074W"),
    (FILE + b"h.fileEncoding=NONE\n", "7:16: there is no table of the code set 'NONE', so it counts as UTF-8", "PMXFH0036W"),
    (FILE + b"h.fileName=\n", "7:12: the name is empty, so it counts as default.log", "PMXBC04E"),
    (CAPTURE, "5:1: no triggerFilter: nothing is captured", "PMXFF0011E"),
    (CAPTURE, "5:1: no baseDir: nothing is captured", "PMXFF0012E"),
    (CAPTURE + b"h.zipCmdPath=/none\n", "6:14: '/none' is no file, so it changes nothing", "PMXFF0065E"),
    (CONSOLE + b"msg.velguid.level=\n", "6:19: an empty level counts as INFO", "PMXBC04E"),
    (CONSOLE + b"msg.velguid.level=LOUD\n", "6:19: 'LOUD' is no level, so everything comes through", ""),
    (b"h.className=pmx_levelfilter\n", "5:1: 'h' has no listeners: what it lets through goes nowhere", ""),
    (CONSOLE + b"pmxlog.errorlogger.logging=on\n",
     "6:1: 'pmxlog.errorlogger' has no className, nor inherits one; 'pmxlog.errorLogger' is near", ""),
    (CONSOLE + b"h..x=1\n", "6:1: 'h.' has two full stops together, or one at an end", ""),
    (CONSOLE + b"h.description=a\\u0000b\n", "6:16: a NUL: it and what is behind it are dropped", ""),
    (CONSOLE + b"msg.velguid.level=99999\n", "6:19: '99999' is out of range: levels are 0 to 9999", ""),
    (CONSOLE + b"x.class=pmx_basiclogger\n", "6:1: 'class' is not className", ""),
    (b"h.className=pmx_filehandler\nh.fileName='log'\n", "6:12: the quotes belong to the value", ""),
    (b"h.className=pmx_filehandler\nh.fileName=~/log\n", "6:12: '~' is not replaced: it belongs to the path", ""),
    (FILE + b"h.filePermission=0444\n", "7:18: with 0444 its owner cannot open the file again", ""),
    (FILE + b"h.dirPermission=0644\n", "7:17: with 0644 its owner cannot make files in it", ""),
    (FILE + b"h.listenerNames=g\ng.className=pmx_filehandler\ng.fileName=%s//log\n",
     "9:12: 'g' writes the file of 'h': records get lost", ""),
    (CAPTURE + b"h.triggerFilter=t\nt.className=pmx_levelfilter\nh.baseDir=%s\nh.filesToCopy=/etc/*\nh.listenerNames=g\n"
     b"g.className=pmx_filehandler\ng.fileName=%s/log\n", "8:11: the log of 'g' is below: QUOTA_AUTODELETE may delete it",
     "PMXFF0062W"),
    (CAPTURE + b"h.triggerFilter=t\nt.className=pmx_levelfilter\nh.baseDir=%s\nh.filesToCopy='/etc/passwd'\n",
     "9:15: a single quote belongs to the name of a file", "PMXFF0062W"),
    (CAPTURE + b"h.triggerFilter=t\nt.className=pmx_levelfilter\nh.baseDir=%s\nh.filesToCopy=/etc/passwd\n"
     b"h.zipCmdPath=/bin/true\nh.zipFileName=a/b\n", "11:15: '/' does not belong here", "PMXFF0064E"),
    (b"h.className=pmx_filehandler\nh.fileName=%s\n", "6:12: a directory: there is no name of a file", "Is a directory"),
    (CONSOLE + b"h.formatterName=f\nf.className=pmx_basicformatter\nf.dateTimeFormat=%H:%EM\n",
     "8:18: '%EM' is no conversion of strftime", ""),
    (b"h.className=pmx_hvnhandler\nh.IPCID=a/b\n", "6:9: 'a/b' is no name of a file in /tmp", "PMXWH0091E"),
    (b"h.className=pmx_msgidfilter\nh.mode=PASS\n", "6:8: 'PASS' is neither BLOCK nor PASSTHRU, so it counts as BLOCK",
     "PMXFF0020W"),
    (b"h.className=pmx_msgidfilter\nh.msgIds=*W*\n", "6:10: '*W*' matches no more than '*W'", ""),
]


class ConfigTest(VeltoolCase):
    def examine(self, text, *words):
        """What config check says of a file, and what the toolkit answers and says that logs by it."""
        path = self.here / "p"
        path.write_bytes(LOGGERS + text.replace(b"%s", str(self.here).encode()))
        how = {"capture_output": True, "cwd": self.here, "env": ENVIRONMENT, "timeout": 60, "check": False}
        check = subprocess.run([VELTOOL, "config", "check", *words, path], **how)
        toolkit = subprocess.run([LOG_RECORDS, path], **how)
        self.assertEqual(check.stderr, b"")
        said = check.stdout.decode().replace(f"{path}:", "")
        return check.returncode, said, toolkit.returncode, toolkit.stderr.decode(errors="replace")

    def test_what_the_toolkit_refuses(self):
        for text, finding in REFUSED:
            with self.subTest(text=text):
                status, said, refused, _ = self.examine(text)
                self.assertIn(finding, said)
                self.assertNotIn("no object", said)  # which may stand behind the fault
                self.assertEqual((status, refused), (1, 1))

    def test_what_it_takes_in_a_surprising_way(self):
        for text, finding, message in TAKEN:
            with self.subTest(text=text):
                status, said, refused, complaints = self.examine(text)
                self.assertIn(finding, said)
                self.assertEqual((status, refused), (1, 0), complaints)
                self.assertIn(message, complaints)

    def test_what_is_all_right(self):
        for text in (CONSOLE, FILE + b"h.maxFiles = +2 \nh.filePermission=0600\n! x\n\n\r\nh.logging:ON",
                     CONSOLE + b"h.formatterName=f\nf.className=pmx_basicformatter\nf.separator=\\ # \nf.locale=de_DE\n"
                     b"h.description=Handler #2\n"):
            with self.subTest(text=text):
                status, said, refused, complaints = self.examine(text)
                self.assertEqual((status, refused, complaints), (0, 0, ""), said)
        shipped = [*SOURCES.glob("packaging/*.properties"), *SOURCES.glob("packaging/samples/*.properties"),
                   *SOURCES.glob("examples/*.properties")]
        self.assertGreater(len(shipped), 10)
        self.check(0, "", "config", "check", "--class", "recent:handler", *shipped, env=ENVIRONMENT)

    def test_tree(self):
        text = CONSOLE + b"h.listenerNames=g\ng.className=pmx_levelfilter\nmsg.level=WARNING\n"
        self.assertIn("""msg.velguid: pmx_basiclogger
│    level = 'DEBUG_MIN'  (default)
│    logging = 'on'  (default)
└─ h: pmx_consolehandler
   │    logging = 'on'  (default)
   ├─ formatter pmxlog.defaultFormatter: pmx_basicformatter (the toolkit makes it)
   │       separator = ' '  (default)
   │       logging = 'on'  (default)
   └─ g: pmx_levelfilter
           level = 'ALL'  (default)
           logging = 'on'  (default)
trace.velguid: pmx_basiclogger
│    level = 'DEBUG_MIN'  (default)
│    logging = 'on'  (default)
└─ h: pmx_consolehandler, as above
""", self.examine(text, "--tree")[1])
        inherited = self.examine(CONSOLE + b"x.level=warning\nx.className=pmx_basiclogger\nx.y.logging=off\n", "--json")[1]
        objects = {each["name"]: each for each in json.loads(inherited)["files"][0]["objects"]}
        self.assertEqual(objects["x.y"]["properties"]["level"],
                         {"value": "WARN", "origin": "inherited", "from": "x", "line": 6, "written": "warning"})
        self.assertEqual(objects["h"]["refersTo"], [{"as": "formatter", "name": "pmxlog.defaultFormatter"}])

    def test_hostile_files(self):
        pipe, big, many = self.here / "pipe", self.here / "big", self.here / "many"
        os.mkfifo(pipe)
        with open(big, "wb") as file:
            file.truncate((64 << 20) + 1)
        many.write_text("a.b=1\n" * 250_001)
        for path, message in (pipe, "not a regular file"), (big, "larger than"), (many, "more than 250,000 entries"):
            self.check(1, message, "config", "check", "--json", path)
        chain = self.here / "chain"
        chain.write_text("".join(f"f{i}.className=pmx_levelfilter\nf{i}.listenerNames=f{i + 1}\n" for i in range(20_000)) +
                         "l.className=pmx_basiclogger\nl.listenerNames=f0\nx." + "a." * 100_000 + "b=\x1b[31m\n")
        said = self.check(1, "", "config", "check", "--tree", chain)
        self.assertIn("the chain of objects is longer than 256", said)
        self.assertIn("a name of more than 32 levels: the entry is left out of this check", said)
        self.assertNotIn("\x1b", said)

    def test_usage(self):
        for words in [], ["--json", "--tree", "x"], ["--class", "x:none", "x"], ["--class", ":filter", "x"]:
            self.check(2, "", "config", "check", *words)


if __name__ == "__main__":
    unittest.main()
