#!/usr/bin/env python3
"""Runs veltool's codeset verbs on scratch files and on the tables that were built."""
import os
import pathlib
import resource
import struct
import subprocess
import unittest

from veltool_case import CODESETS, VELTOOL, VeltoolCase, run

ASCII = "".join(f"0x{byte:02X} 0x{byte:04X}\n" for byte in range(0x80))
EBCDIC = "".join(f"0x{byte:02X} 0x{ord(bytes([byte]).decode('cp037')):04X}\n" for byte in range(256))
# Code sets on which these codecs and the system's charsets are of one mind.
PEERS = {"437": "cp437", "850": "cp850", "869": "cp869", "874": "cp874", "1250": "cp1250", "1252": "cp1252",
         "1255": "cp1255", "1256": "cp1256", "ISO88597": "iso8859-7", "ISO885913": "iso8859-13",
         "KOI8U": "koi8-u", "037": "cp037", "500": "cp500", "949": "cp949", "GB2312": "gb2312"}


def mapping_lines(text):
    return [line for line in text.splitlines() if not line.startswith("#")]


class VeltoolTest(VeltoolCase):
    def compile(self, text, *options, name="T"):
        status, shown, said = run("codeset", "compile", "-m", "-", "-o", self.here / name, *options, text=text)
        self.assertEqual((status, said), (0, ""))
        return shown

    def test_usage_and_help(self):
        for words, message in [
                ("", "a noun is missing"), ("codesets", "no such noun: codesets"), ("codeset", "a verb is missing"),
                ("codeset make", "no such verb: make"), ("codeset dump", "dump takes one table"),
                ("codeset dump T -x --output", "no such option: -x"),
                ("codeset dump T --out", "a value is missing: --out"),
                ("codeset verify", "verify takes"),
                ("codeset compile -c A -m B -o C", "compile takes"), ("codeset compile -l L", "compile takes"),
                ("codeset compile -l L -d D -o C", "compile takes"), ("codeset compile -c A -o C x", "operand"),
                ("codeset compile -c A -o C -k 7", "no such kind: 7"), ("codeset verify -l L -d D x", "verify takes")]:
            self.check(2, "veltool: ", *words.split())
            self.check(2, message, *words.split())
        for words, shown in [("--help", "codeset"), ("codeset --help", "verify"), ("--version", "veltool "),
                             ("codeset dump -h", "Usage: veltool codeset dump"),
                             ("codeset list --help", "MABDIR")]:
            self.assertIn(shown, self.check(0, "", *words.split()))

    def test_a_dumped_table_compiles_to_itself(self):
        tables = [path for path in CODESETS.iterdir() if path.stat().st_size >= 1760]
        self.assertGreater(len(tables), 80)
        for table in tables:
            status, text, said = run("codeset", "dump", table)
            self.assertEqual((status, said), (0, ""))
            self.compile(text, name=table.name)
            self.assertEqual((self.here / table.name).read_bytes(), table.read_bytes(), table.name)

    def test_tables_agree_with_other_codecs(self):
        for name, codec in PEERS.items():
            lines = [line.split() for line in mapping_lines(run("codeset", "dump", CODESETS / name)[1])]
            expected = {}
            for value in filter(lambda value: not 0xD800 <= value < 0xE000, range(0xFFFF)):
                try:
                    expected[value] = chr(value).encode(codec)
                except UnicodeError:
                    pass
            found = {int(line[1], 16): bytes.fromhex(line[0][2:]) for line in lines if line[-1] != ">"}
            self.assertEqual(found, expected, name)
            for line in lines:
                if line[-1] != "<":
                    self.assertEqual(bytes.fromhex(line[0][2:]).decode(codec), chr(int(line[1], 16)), name)

    def test_what_a_mapping_text_may_have(self):
        text = ("\ufeff# a comment\r\n0x5C 0x20A9\r\n" + ASCII + "\r\n0x80\t\t#UNDEFINED\r\n"
                "  0xe1 0x03b1 # alpha\r\n0xE1 0x03B2\r\n0xE2 0x03B1\n0x5c 0xa5 <\n0xE3 0x2014 >\n"
                "0xE4 0x0041+0x0300\n0xE5 0x1F600\n0xE6 0xFFFF\n0x3F 0xFF1F <\n0xE7E8 0x20AC <\n0xE9 0x05D0\x1a")
        self.assertEqual(self.compile(text),
                         "T: single-byte, 132 characters, 3,040 bytes; left out: 1 above U+FFFF, 1 sequences of "
                         "characters, 1 at U+FFFF, 1 that the kind cannot hold, 1 at the substitution byte; "
                         "one-way: 2 to Unicode, 3 from Unicode; passed through as ASCII: 1\n")
        lines = mapping_lines(run("codeset", "dump", self.here / "T")[1])
        self.assertEqual([line for line in lines if line not in ASCII.splitlines()],
                         ["0x5C 0x00A5 <", "0x5C 0x20A9 <", "0xE1 0x03B1", "0xE1 0x03B2 <", "0xE2 0x03B1 >",
                          "0xE3 0x2014 >", "0xE9 0x05D0"])
        details = self.compile(text, "--verbose")
        self.assertIn("  left out above U+FFFF: 0xE5 U+1F600\n", details)
        self.assertIn("  one-way from Unicode: 0x5C U+00A5\n", details)

    def test_kinds(self):
        pairs = "".join(f"0x{lead:02X}{trail:02X} 0x{lead * 16 + trail:04X}\n"
                         for lead in range(0x81, 0x91) for trail in (0x41, 0x42, 0x80))
        for kind, text in [
                ("single-byte", ASCII + "0xC1 0x0041\n"), ("double-byte", ASCII + "0xA0 0x00A0\n" + pairs),
                ("multibyte", ASCII + "0x8E41 0xFF71\n0x8FA1A2 0x4E00\n0x90818283 0x4E01\n0xA1 0x4E02\n"),
                ("ebcdic", EBCDIC),
                ("ebcdic-mixed", EBCDIC + "0x4141 0x4E00\n0x42FE 0x4E01\n0x8181 0x4E02 <\n"),
                ("gb18030", ASCII + "0x81308130 0x0080\n0x8140 0x4E02\n0xFEFE 0xE4C5\n0x8431A438 0xFFFE\n"
                            "0x90308130 0x10000\n")]:
            self.assertRegex(self.compile(text), f"^T: {kind}, ")
            for source in (), ("-m", "-"):
                self.assertIn("differences: 0", self.check(0, "", "codeset", "verify", *source, self.here / "T",
                                                           text=text))
        self.assertRegex(self.compile(ASCII + pairs, "-k", "3"), "^T: multibyte, ")

    def test_what_is_refused(self):
        trails = range(0xA1, 0xFF)
        nodes = "".join(f"0x8E{second:02X}{third:02X}{last:02X} 0x{(second * third + last) * 13 % 0xA000 + 0x100:04X}\n"
                        for second in range(0xA1, 0xB1) for third in trails for last in trails)
        for text, options, message in [
                (ASCII + "0x80 20AC", "", "standard input:129: no character: 20AC"),
                (ASCII + "0x8 0x20AC", "", ":129: not one to four bytes: 0x8"),
                ("0x8181818181 0x1", "", ":1: not one to four bytes"), ("0x41 0xD800", "", ":1: no character"),
                ("0x41 0x110000", "", ":1: no character"), ("0x41 0x41 =", "", ':1: neither ">" nor "<": ='),
                ("0x41 0x41 > x", "", ":1: one word too many: x"), ("0x41 0x41+", "", ":1: no character"),
                ("", "", "neither ASCII nor EBCDIC"), ("0x41 0x0042", "", "neither ASCII nor EBCDIC"),
                (ASCII + "0x8140 0x4E00", "-k 1", "0x8140 has more bytes"),
                (ASCII + "0x814041 0x4E00", "-k 2", "0x814041 has more bytes"),
                (ASCII + "0x4181 0x4E00", "", "0x4181 begins with a byte that is a character"),
                (ASCII + "0x81 0x80\n0x8140 0x81", "", "0x8140: its first byte also begins"),
                (ASCII + "0x8140 0x80\n0x814141 0x81", "", "0x814141: its first byte also begins"),
                (ASCII, "-k ebcdic", "based on EBCDIC"), (EBCDIC, "-k 1", "based on ASCII"),
                (ASCII, "-n " + 32 * "n", "longer than 31"), (ASCII, "-k 10 -n " + 22 * "n", "longer than 21"),
                (ASCII + nodes, "", "16-bit numbers can address")]:
            self.check(1, message, "codeset", "compile", "-m", "-", "-o", self.here / "T", *options.split(),
                       text=text)
        self.check(1, "does not know the charset NONESUCH", "codeset", "compile", "-c", "NONESUCH", "-o", "/dev/null")
        for charset in ["", "CP943//TRANSLIT", "CP99999"]:
            self.check(1, "does not know", "codeset", "compile", "-c", charset, "-o", self.here / "T")
        with open(self.here / "large", "wb") as large:
            large.truncate((64 << 20) + 1)
        self.check(1, "larger than 64 MiB", "codeset", "compile", "-m", large.name, "-o", self.here / "T")
        self.assertEqual(os.listdir(self.here), ["large"])

    def test_lists(self):
        for text, message in [("437 single-byte charset:CP437 CP437 CP437", ":1: listed before: CP437"),
                              ("\n437 1 charset:CP437 cp437", ":2: no name of a code set: cp437"),
                              ("437 7 charset:CP437", "no such kind: 7"), ("437 1 CP437", "neither charset:"),
                              ("437 1 charset:NONESUCH", "437: iconv does not know the charset NONESUCH"),
                              ("X 1 mapping:none", "X: " + str(self.here / "none"))]:
            (self.here / "list").write_text(text)
            self.check(1, message, "codeset", "compile", "-l", self.here / "list", "-d", self.here)
        (self.here / "map").write_text(ASCII + "0x80 0x20AC")
        (self.here / "list").write_text("# two\nA1 single-byte mapping:map ONE ALIAS\n277 8 charset:CP277 CP277")
        self.check(0, "", "codeset", "compile", "-l", self.here / "list", "-d", self.here)
        verify = "codeset", "verify", "-l", self.here / "list", "-d", self.here
        self.assertEqual(self.check(0, "", *verify).count("differences: 0\n"), 2)
        (self.here / "ONE").write_text("277\n")
        self.check(1, "veltool: ONE: does not lead to A1", *verify)
        (self.here / "ALIAS").unlink()
        self.check(1, "veltool: ALIAS: the library finds no table", *verify)

    def test_listing(self):
        self.compile(ASCII, name="ASC")
        self.compile(EBCDIC, name="E1")
        for name, content in [("B", "ASC\n"), ("AA", "B"), ("CP1", "E1"), ("LOST", "NONE\n"), ("notes", "what I saw")]:
            (self.here / name).write_text(content)
        (self.here / "BAD").write_bytes((self.here / "ASC").read_bytes()[:2000])
        table = ("NAME  KIND         BYTES  CHARACTERS  ALIASES\n"
                 "ASC   single-byte  2,272         128  AA B\n"
                 "E1    ebcdic       2,272         256  CP1\n")
        for words, env in [([self.here], {}), ([], {"MABDIR": str(self.here)})]:
            for message in "/LOST: leads to no table: NONE", "/BAD: a page lies outside the file":
                shown = self.check(1, message, "codeset", "list", *words, env=env, cwd="/proc/self")
                self.assertTrue(shown.startswith(f"{self.here}:\n{table}"), shown)
        self.check(1, "/none: No such file", "codeset", "list", "/none")

    def test_verify_names_what_differs(self):
        for name, charset, search, replace, differs in [
                ("1252", "CP1252", b"\xac\x20", b"\xad\x20", "0x80: converted to E2 82 AD instead of E2 82 AC"),
                ("943", "CP943", b"\xa0\x82", b"\xa1\x82", "U+3042: converted to 82 A1 instead of 82 A0"),
                ("930", "CP930", b"\x42\x30", b"\x44\x30", "0x4481: converted to E3 81 84 instead of E3 81 82"),
                ("EUCJP", "EUC-JP", b"\x42\x30", b"\xff\xff", "0xA4A2: converted to 3F instead of E3 81 82"),
                ("GB18030", "GB18030", b"\xa2\xa4\0\0", 4 * b"\xff", "U+3042: converted to 3F instead of A4 A2")]:
            image = (CODESETS / name).read_bytes()
            at = image.index(search, 736)
            (self.here / name).write_bytes(image[:at] + replace + image[at + len(replace):])
            shown = self.check(1, "", "codeset", "verify", "-c", charset, self.here / name)
            self.assertIn(differs, shown, name)

    def test_damaged_tables(self):
        eucjp = (CODESETS / "EUCJP").read_bytes()
        own = (len(eucjp) - struct.unpack_from("<I", eucjp)[0]) // 4  # the unit of a node behind all
        for name, patches, message in [
                ("943", {0: b"\xff\xff\xff\xff"}, "the mapping area begins outside"), ("943", {9: b"x"}, "not a table"),
                ("943", {48: b"\7"}, "no such kind: 7"), ("943", {16: 32 * b"x"}, "the name is not ended"),
                ("943", {17: b"\n"}, "the name is not of visible"),
                ("943", {224 + 2 * 0x30: b"\xf0\xff"}, "a page lies outside"),
                ("943", {736 + 2 * 0x81: b"\xf0\xff"}, "a row lies outside"),
                ("EUCJP", {736 + 2 * 0x8F: b"\xf0\xff"}, "a node lies outside"),
                ("EUCJP", {1248 + 0x8F: b"\5"}, "more than four bytes"),
                ("EUCJP", {1248 + 0x8F: b"\4", 736 + 2 * 0x8F: struct.pack("<H", own),
                           len(eucjp): struct.pack("<258H", 256, 0, *[own] * 256)}, "more nodes than any"),
                ("GB18030", {1780: b"\xff\xff\xff\xff"}, "the GB 18030 block lies outside"),
                ("GB18030", {1792 + 256 + 8: b"\0\0"}, "out of order"),
                ("GB18030", {1792 + 256 + 4: b"\3\0"}, "no known type")]:
            image = bytearray((CODESETS / name).read_bytes())
            for at, patch in patches.items():
                image[at:at + len(patch)] = patch
            (self.here / "T").write_bytes(image)
            for verb in "dump", "verify":
                self.check(1, message, "codeset", verb, self.here / "T")
        os.mkfifo(self.here / "fifo")
        (self.here / "short").write_bytes(eucjp[:1759])
        for path, message in [("fifo", "not a regular file"), ("", "not a regular file"), ("short", "not a table"),
                              ("/dev/zero", "not a regular file"), ("none", "No such file")]:
            for verb in "dump", "verify":
                self.check(1, message, "codeset", verb, self.here / path)

    def test_what_cannot_be_written(self):
        table = self.here / "T"
        self.compile(ASCII)
        before = table.read_bytes()
        words = "codeset", "compile", "-c", "CP943", "-o", table
        self.check(1, f"veltool: {table}: File too large", *words,
                   env={"GCOV_PREFIX": "/dev/null"},  # the counts of a coverage build would not fit, either
                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (5000, 5000)))
        self.assertEqual((os.listdir(self.here), table.read_bytes()), (["T"], before))
        for output, message in [("/dev/null", "not a regular file"), (self.here, "not a regular file"),
                                (self.here / "none" / "T", "No such file")]:
            self.check(1, message, *words[:-1], output)
        link = self.here / "link"
        link.symlink_to("T")
        self.check(0, "", "codeset", "dump", table, "-o", link)
        self.assertTrue(link.is_symlink() and table.read_text().startswith("# name: T\n"))
        with open("/dev/full", "wb") as full:
            done = subprocess.run([VELTOOL, "codeset", "dump", CODESETS / "437"], stdout=full, stderr=subprocess.PIPE,
                                  check=False)
        self.assertEqual((done.returncode, done.stderr), (1, b"veltool: standard output: cannot be written\n"))


if __name__ == "__main__":
    unittest.main()
