#!/usr/bin/env python3
"""Runs the example programs as their user would. The arguments are the directory of the programs, that of
their sources, and that of the code-set tables."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

PROGRAMS, SOURCES, CODESETS = (pathlib.Path(sys.argv.pop(1)).absolute() for _ in range(3))
DATE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d")
FRENCH = "DATE TEASHOP0001I 3 tasses de thé pour Amélie.\nDATE TEASHOP0002W Il n'y a plus de thé.\nMerci, Amélie !\n"
ENGLISH = "DATE TEASHOP0001I Amélie orders 3 cups of tea.\nDATE TEASHOP0002W There is no more tea.\nThank you, Amélie!\n"


class ExamplesTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.properties = pathlib.Path(scratch.name, "properties")

    def check(self, program, output, add=None, status=0, errors="", code_set="UTF-8", **env):
        """Runs a program with its properties file, or with what is added to that, and holds what it prints."""
        path = SOURCES / f"{program}.properties"
        if add is not None:
            self.properties.write_text(path.read_text() + add)
            path = self.properties
        settings = {name: value for name, value in os.environ.items()
                    if not name.startswith("LC_") and name not in ("LANG", "NLSPATH")}
        settings |= {"MAB_CODESET": code_set, "MABDIR": str(CODESETS.parent), **env}
        done = subprocess.run([PROGRAMS / program, path], capture_output=True, timeout=60, check=False, env=settings)
        printed = [DATE.sub("DATE", text.decode(code_set)) for text in (done.stdout, done.stderr)]
        with self.subTest(program=program, add=add, code_set=code_set, **env):
            self.assertEqual([done.returncode, *printed], [status, output, errors])

    def test_hello_logs_with_source_parameters_and_property(self):
        source = SOURCES / "hello.c"
        lines = [n for n, line in enumerate(source.read_text().splitlines(), 1) if "PmxLogDebug" in line]
        debug, detail = (f"DATE|{source}|main|{n}|{what}\n" for n, what in zip(lines, ["argc is 2", "every detail"]))
        text = "DATE|Hello, log.\n"
        message = "DATE|alpha.example|hello has read 4096 bytes.\n"
        self.check("hello", text + debug + message)
        self.check("hello", text + message, "app.hello.level=Info\n")
        self.check("hello", text, "app.hello.level=off\n")
        self.check("hello", "", "app.hello.logging=off\n")
        self.check("hello", text + debug + message + detail, "app.hello.level=ALL\n")
        self.check("hello", "", "app.hello.listenerNames=\n",
                   errors="DATE PMXLG01E No listeners are registered with the logger app.hello.\n" * 3)

    def test_a_class_of_the_application_keeps_the_last_records(self):
        def records(*orders):
            return "The last records:\n" + "".join(f"DATE Order {n} is packed.\n" for n in orders)
        self.check("application_class", records(3, 4, 5))
        self.check("application_class", records(5), "app.last.records=1\n")
        self.check("application_class", records(1, 2, 3, 4, 5), "app.last.records=99\n")
        self.check("application_class", records(1, 2, 3, 4, 5), "app.last.records=0\n")
        self.check("application_class", records(3, 4, 5), "pmxlog.errorLogger.listenerNames=app.last\n")
        self.check("application_class", "", "app.last.logging=false\n")
        self.check("application_class", records(3, 4, 5).replace("DATE ", "DATE|"),
                   "app.last.formatterName=line\nline.className=pmx_basicformatter\nline.separator=|\n")

    def test_messages_come_in_the_language_asked_for(self):
        path = f"{PROGRAMS}/catalog/%L/%N.cat"
        for text, env in [(FRENCH, {"LANG": "fr_FR"}), (FRENCH, {"LANG": "fr_CA.UTF-8"}),
                          (FRENCH, {"LANG": "C", "LC_ALL": "fr"}), (ENGLISH, {"LANG": "de_DE"}), (ENGLISH, {})]:
            self.check("translated_message", text, NLSPATH=path, **env)
        self.check("translated_message", FRENCH, NLSPATH=path, LANG="fr_FR", code_set="ISO-8859-1")
        self.check("translated_message", ENGLISH, LANG="fr_FR", NLSPATH="/none/%L/%N.cat")
        self.check("translated_message", ENGLISH, LANG="fr_FR")
        split = FRENCH.splitlines(True)[:2] + ENGLISH.splitlines(True)[2:]
        self.check("translated_message", "".join(split), "line.locale=fr_FR\n", NLSPATH=path, LANG="C")

    def test_a_properties_file_that_cannot_be_read(self):
        for program in "hello", "application_class", "translated_message":
            done = subprocess.run([PROGRAMS / program, "/none/x"], capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (
                1, "", "PMX0051E The log manager could not read the properties file /none/x.\n"))
            self.check(program, "", "no separator\n", status=1,
                       errors=f"PMX0051E The log manager could not read the properties file {self.properties}.\n")


if __name__ == "__main__":
    unittest.main()
