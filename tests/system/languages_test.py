#!/usr/bin/env python3
"""Runs the real velguid in one of its languages, in UTF-8 and in code sets of that language's own; Python's codecs
tell what it has to show. Without a FOLDER: what concerns all languages. To be run as root with a private "/etc", "/opt"
and "/var/log":
tests/support/scratch-host tests/system/languages_test.py PROGRAM VELTOOL CODESETS CATALOGS SOURCE [FOLDER]"""
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

VELGUID = VELTOOL = CODESETS = CATALOGS = SOURCE = None  # the programs and directories, from the command line
FOLDER = None  # of the language's catalogs, from there too
INSTALLED = pathlib.Path("/opt/velmar/guid")
LOG = pathlib.Path("/var/log/velguid.log")
TABLES = ["guidmsgs", "pmxmsg"]
COPYRIGHT = 16  # stays in English where that is the custom
LANGUAGES = {  # by the folder of the catalogs: a locale of the language, its code sets beside UTF-8
    "de": ("de_DE", ["ISO-8859-1", "ISO-8859-15"]),
    "es": ("es_ES", ["ISO-8859-1"]),
    "fr": ("fr_FR", ["ISO-8859-1", "ISO-8859-15"]),
    "it": ("it_IT", ["ISO-8859-1"]),
    "ja": ("ja_JP", ["EUC-JP"]),
    "ko": ("ko_KR", ["EUC-KR"]),
    "pt_BR": ("pt_BR", ["ISO-8859-1"]),
    "zh_CN": ("zh_CN", ["GBK", "GB18030"]),
    "zh_TW": ("zh_TW", ["BIG5"]),
}
OPTIONS = (" [-Create] [-Decimal] [-Help] [-Show]  \n"
           "[-Write [-Guid=ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff.ff] [-New]] [-Quiet]")


def texts_of(folder, table):
    """The texts of a source, by number."""
    source = (SOURCE / "catalogs" / folder / f"{table}.msg").read_text("utf-8").replace("\\\n", "")
    return {int(number): re.sub('^"(.*)"$', r"\1", text).replace(r"\n", "\n").replace(r"\t", "\t")
            for number, text in re.findall(r"^(\d+) (.*)$", source, re.MULTILINE)}


def bound(text, *values):
    return re.sub(r"%(\d)\$[sd]", lambda place: str(values[int(place[1]) - 1]), text) + "\n"


def banner(texts):
    return bound(texts[15], 1, 3, 1) + bound(texts[16], 2005) + "\n"


def run(option, **environment):
    done = subprocess.run([VELGUID, option], capture_output=True, timeout=60, check=False, env=environment)
    return done.stdout, done.stderr


def setUpModule():
    if os.listdir("/etc"):
        raise RuntimeError("this /etc is not a scratch one")
    shutil.copytree(CATALOGS, INSTALLED)
    (INSTALLED / "codeset").symlink_to(CODESETS)


class InstalledTest(unittest.TestCase):
    def setUp(self):
        shutil.copy(SOURCE / "packaging/velguid.properties", INSTALLED)

    def check_catalogs(self, folder, code_sets):
        for table in TABLES:
            with self.subTest(table):
                done = subprocess.run([VELTOOL, "catalog", "check", "--shown-in", code_sets,
                                       CATALOGS / f"C/{table}.cat", CATALOGS / f"{folder}/{table}.cat"],
                                      capture_output=True, text=True, check=False)
                self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))


class LanguageTest(InstalledTest):
    @classmethod
    def setUpClass(cls):
        locale, own = LANGUAGES[FOLDER]
        cls.code_sets = ["UTF-8", *own]
        cls.locale = locale
        cls.locales = tempfile.mkdtemp(dir="/opt")

        def make(code_set):
            subprocess.run(["localedef", "--no-archive", "-i", locale, "-f", code_set,
                            f"{cls.locales}/{locale}.{code_set}"], check=True)

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(make, cls.code_sets))

    def in_each_locale(self, check):
        """Calls with the code set and the environment of each locale."""
        for code_set in self.code_sets:
            with self.subTest(code_set):
                check(code_set, {"LANG": f"{self.locale}.{code_set}", "LOCPATH": self.locales})

    def test_the_translation_is_whole_and_can_be_shown(self):
        self.check_catalogs(FOLDER, ",".join(self.code_sets))
        for table in TABLES:
            english, texts = texts_of("C", table), texts_of(FOLDER, table)
            alike = {number for number in english if texts.get(number) == english[number]}
            self.assertLessEqual(alike, {COPYRIGHT}, table)
            # The digits of "%1s" and "%2s" look like places, but are none: their order counts.
            for number, text in english.items():
                self.assertEqual(re.findall(r"%\d*[sd]", texts.get(number, "")), re.findall(r"%\d*[sd]", text), table)

    def test_the_tool_speaks_the_language_in_the_code_set(self):
        texts = texts_of(FOLDER, "guidmsgs")

        def check(code_set, environment):
            usage = bound(texts[14], OPTIONS)
            for option, message in [("-Show", bound(texts[6])), ("-Help", usage + bound(texts[10])),
                                    ("-x", bound(texts[2], "-x") + usage),
                                    ("-Write", bound(texts[11], "-Write", "-Guid=ff.ff...", "-New"))]:
                shown = (banner(texts) + message).encode(code_set)
                self.assertEqual(run(option, **environment), (shown, b""), option)
        self.in_each_locale(check)

    def test_the_toolkit_reports_in_the_language_and_the_code_set(self):
        (INSTALLED / "velguid.properties").write_text("""msg.velguid.className = none
trace.velguid.className = pmx_basiclogger
trace.velguid.level = OFF
pmxlog.defaultFormatter.dateTimeFormat = -
""")
        def check(code_set, environment):
            report = "- " + bound(texts_of(FOLDER, "pmxmsg")[62], "none", "msg.velguid")
            said = report.encode(code_set) + b"ERROR: could not initialize logger 'myLog'\n"
            self.assertEqual(run("-Show", **environment)[1], said)
        self.in_each_locale(check)

    def test_errors_and_nothing_else_go_to_the_log(self):
        def check(_, environment):
            LOG.unlink(missing_ok=True)
            run("-Show", **environment)
            ended = bound(texts_of(FOLDER, "guidmsgs")[13], "vel_guid_read()", 231628950)
            self.assertEqual(LOG.read_text("utf-8").partition("HQX")[1:], ("HQX", ended.removeprefix("HQX")))
            LOG.unlink()
            # The texts without an identifier have a tenth character, too: here it must not be an "E".
            run("-Help", **environment)
            self.assertFalse(LOG.exists())
        self.in_each_locale(check)


class AllLanguagesTest(InstalledTest):
    def test_each_has_a_row_and_the_made_one_is_whole(self):
        self.assertEqual({path.name for path in CATALOGS.iterdir()}, {"C", "en_XA", *LANGUAGES})
        self.check_catalogs("en_XA", "UTF-8")

    def test_other_countries_and_names_of_a_language(self):
        # These locales are not installed: what ASCII does not have is replaced.
        for name, folder in [
                ("de_AT.UTF-8", "de"), ("es_MX", "es"), ("fr_CA", "fr"), ("fr", "fr"), ("it_CH", "it"),
                ("ja_JP.UTF-8", "ja"), ("japanese", "ja"), ("ko", "ko"), ("pt-br", "pt_BR"), ("pt", "pt_BR"),
                ("pt_PT.UTF-8", "pt_BR"), ("zh", "zh_CN"), ("zh_SG.GBK", "zh_CN"), ("zh_HK", "zh_CN"),
                ("zh_TW.BIG5", "zh_TW"), ("nl_NL", "C"), ("en_GB.UTF-8", "C")]:
            with self.subTest(name):
                texts = texts_of(folder, "guidmsgs")
                shown = banner(texts) + bound(texts[6])
                self.assertEqual(run("-Show", LC_ALL=name)[0].decode(), re.sub("[^\0-\x7f]", "?", shown))


if __name__ == "__main__":
    VELGUID, VELTOOL, CODESETS, CATALOGS, SOURCE = (pathlib.Path(sys.argv.pop(1)).absolute() for _ in range(5))
    FOLDER = sys.argv.pop(1) if sys.argv[1:] else None
    unittest.main(defaultTest="LanguageTest" if FOLDER else "AllLanguagesTest")
