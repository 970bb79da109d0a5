#!/usr/bin/env python3
"""Runs veltool's catalog verbs on scratch files; a plain reader of the format looks at what they write."""
import os
import shutil
import struct
import subprocess
import unittest

from veltool_case import CODESETS, VeltoolCase

ENV = {"MABDIR": str(CODESETS.parent)}


def read_catalog(image):
    """The sets of a catalog file, by number the texts by number, and whether it is laid out as it has to be."""
    magic, *header = struct.unpack_from(">8s5i", image)
    assert magic == b"*nazgul*" and header[:3] == [1, 0, 0] and header[4] == 28
    sets, at, end = {}, header[4], 28 + 28 * header[3]
    for left in range(header[3], 0, -1):
        number, following, messages, data, length, count, invalid = struct.unpack_from(">7i", image, at)
        assert (following, messages, data, invalid) == (at + 28 if left > 1 else 0, end, end + 12 * count, 0)
        at, end = following, data + length
        records = list(struct.iter_unpack(">3i", image[messages:data]))
        assert all(record[2] == 0 for record in records) and image[data:end].count(b"\0") == count
        sets[number] = {record[0]: image[data + record[1]:image.index(b"\0", data + record[1])] for record in records}
        assert list(sets[number]) == sorted(sets[number])
    assert list(sets) == sorted(sets) and end == len(image)
    return sets


class CatalogTest(VeltoolCase):
    def put(self, name, source):
        (self.here / name).write_bytes(source if isinstance(source, bytes) else source.encode())
        return self.here / name

    def compile(self, *sources, words=()):
        inputs = [self.put(f"source{i}", source) for i, source in enumerate(sources)]
        self.check(0, "", "catalog", "compile", *words, "-o", self.here / "cat", *inputs, env=ENV)
        return read_catalog((self.here / "cat").read_bytes())

    def test_source_syntax(self):
        for source, sets in [
                ("1 one\n7  two \n$ 7 no\n$\n\n \t\n$set 3 a comment\n2\t\ttab\n1 \n", {1: {1: b"one", 7: b" two "}, 3: {
                    1: b"", 2: b"\ttab"}}),
                ("\ufeff$set 0\n1 caf\u00e9\r\n2 a \\\r\n b\\\\\n3 \\\n\\\n\n", {0: {1: "café".encode(), 2: b"a  b\\", 3: b""}}),
                (r"1 \n\t\v\b\r\f\\\q\'\"" + "\n" + r"2 \101\7\1234\303\251\60" + "\n",
                 {1: {1: b"\n\t\v\b\r\f\\q'\"", 2: b"A\7S4\xc3\xa90"}}),
                ('$quote "\n1 " a " \t\n2 x"y"\n3 ""\n4 "\\"\\\n$set\\n"\n$quote\n5 "raw"\n$quote \u00ab x\n6 \u00ab\\\u00ab.\u00ab',
                 {1: {1: b" a ", 2: b'x"y"', 3: b"", 4: b'"$set\n', 5: b'"raw"', 6: "\u00ab.".encode()}}),
                ("$set 2\n1 a\n2 b\n1\n$set 5\n1 c\n$delset 2\n$set 4\n$set 2\n1 d", {2: {1: b"d"}, 4: {}, 5: {1: b"c"}}),
                ("2147483647 x\n$set 2147483647\n1 y", {1: {2147483647: b"x"}, 2147483647: {1: b"y"}})]:
            with self.subTest(source=source):
                self.assertEqual(self.compile(source), sets)

    def test_merging(self):
        first, second = "1 a\n2 b\n$set 2\n1 c", "2 B\n1\n$delset 2\n$set 3\n1 d"
        self.assertEqual(self.compile(first, second), {1: {2: b"B"}, 3: {1: b"d"}})
        cat = self.here / "cat"
        done = self.check(0, "", "catalog", "compile", "-o", cat, cat, "-", text="3 new")
        self.assertEqual((done, read_catalog(cat.read_bytes())), ("", {1: {2: b"B", 3: b"new"}, 3: {1: b"d"}}))

    def test_code_sets(self):
        for code_set, source in [("CP943", "1 あ表\\202\\240\n2 ソ\\\nソ".encode("cp932")),
                                 ("ISO-8859-1", b"1 caf\xe9\\351"), ("UTF-8", "1 あ\\303\\251"),
                                 ("CP1047", b"\xf1\x40\x83\xe0\xf2\xf0\xf1\x15\xf2\x40\xe0\x95\x25"),
                                 ("CP939", b"\xf1\x40\x0e\x44\x81\x0f\xe0\xf0\xf1\xf6\xe0\xf1\xf0\xf4\xe0\xf2\xf0\xf1\xe0\xf0\xf1\xf7")]:
            with self.subTest(code_set=code_set):
                texts = self.compile(source, words=["-c", code_set])[1]
                self.assertEqual([text.decode() for text in texts.values()], {
                    "CP943": ["あ表あ", "ソソ"], "ISO-8859-1": ["caféé"], "UTF-8": ["あé"], "CP1047": ["ca", "\n"],
                    "CP939": ["ああ"]}[code_set])

    def test_errors_name_their_line_and_nothing_is_written(self):
        bad = {"$set": "no number of a set: ", "$set -1": "no number of a set: -1", "$delset x": "no number of a set: x",
               "$foo": "no such directive: $foo", "text": "neither a message nor a directive: text",
               " 1 a": "neither a message nor a directive:  1 a", "0 a": "no number of a message: 0",
               "1a b": "no number of a message: 1a", "2147483648 a": "no number of a message: 2147483648",
               "9 twice": "message 9 of set 1 is on line 1 already", '5 "a': "the closing quote is missing",
               '5 "a" b': "text behind the closing quote", "5 \\400": "no byte: \\400",
               "5 a\\0b": "a zero, which ends a text", "5 \\351": "not UTF-8, at byte 1 of the text",
               "5 goes\\": "the text goes on, but the file ends"}
        source = self.put("bad.msg", "9 \\\n\n$quote \"\n" + "\n".join(bad))
        expected = "".join(f"{source}:{line}: {what}\n" for line, what in enumerate(bad.values(), 4))
        out = self.put("out", "before")
        words = "catalog", "compile", "-o", out, self.put("good", "1 a"), source
        self.check(1, expected, *words)
        invalid = self.put("sj", b"1 a\n2 \x82\xa0\\\n\xa0\xfd\n3 \\202\n4 \x82")
        self.check(1, f"{invalid}:3: not in CP943\n{invalid}:5: ends within a character of CP943\n{invalid}:4: ends within",
                   "catalog", "compile", "-c", "CP943", "-o", out, invalid, env=ENV)
        for message, *words in [("there is no message to write", "/dev/null"), ("a damaged one", self.put("m", "*nazgul*")),
                                ("No such file", self.here / "none"), ("not a regular file", "/dev/zero")]:
            if words == ["/dev/null"]:
                words = [self.put("empty", "")]
            self.check(1, message, "catalog", "compile", "-o", out, *words)
        self.check(1, "NONE: the library finds no table", "catalog", "compile", "-c", "NONE", "-o", out, source, env=ENV)
        self.assertEqual(out.read_text(), "before")
        for message, words in [("compile takes", "compile"), ("compile takes", "compile x"), ("dump takes", "dump a b"),
                               ("check takes", "check a"), ("no such verb", "make")]:
            self.check(2, message, "catalog", *words.split())

    def test_a_dumped_catalog_compiles_to_itself(self):
        source = ('$set 2\n1 \\n\\nend\\n\n2 " \\\\ " \n4 \\001\\177\\033[0m\n$set 7\n9 \u00e9\u3042\U0001f600\n$set 8\n'
                  "$set 0\n1 $set 3\n2 \n")
        before = self.compile(source)
        text = self.check(0, "", "catalog", "dump", self.here / "cat")
        image = (self.here / "cat").read_bytes()
        self.assertEqual(self.compile(text), before)
        self.assertEqual((self.here / "cat").read_bytes(), image)
        self.assertIn('1 "\\n\\\n\\n\\\nend\\n"\n', text)
        self.check(0, "", "catalog", "dump", "-o", self.here / "text", self.here / "cat")
        self.assertEqual((self.here / "text").read_text(), text)

    def test_what_the_library_would_not_read(self):
        self.compile("$set 1\n1 a\n2 b\n$set 2\n1 c")
        image = (self.here / "cat").read_bytes()
        for at, patch, message in [(8, 2, "no message catalog"), (20, 3, "no message catalog"), (28, 9, "set 2 is not found"),
                                   (40, 1 << 30, "set 1 is damaged"), (84, 5, "set 1, message 5 is not found by its number")]:
            bad = self.put("bad", image[:at] + struct.pack(">i", patch) + image[at + 4:])
            self.check(1, message, "catalog", "dump", bad)

    def test_check(self):
        reference = self.put("en", "1 HQXGD0001E a %1$s b %2$5d\n2 plain\n3 100% s\n4 %s %ld\n5 bad %1$-\n$set 2\n1 x")
        self.check(0, "", "catalog", "check", reference, reference)
        translation = self.put("xx", "1 HQXGD0002E %2$d\n2 ABC0001E %1$*2$d\n4 %2$d %1$s %3$c\n6 new\n5 gut\n"
                                     "3 nichts %y\n$set 3\n1 y")
        found = self.check(1, "", "catalog", "check", reference, translation)
        self.assertEqual(found.replace(str(translation), "xx").splitlines(), [
            "xx:1: set 1, message 1: identifier HQXGD0002E instead of HQXGD0001E",
            "xx:1: set 1, message 1: parameter %1$s is missing",
            "xx:2: set 1, message 2: identifier ABC0001E is not in the reference",
            "xx:2: set 1, message 2: parameter %1$d is not in the reference",
            "xx:2: set 1, message 2: parameter %2$* is not in the reference",
            "xx:6: set 1, message 3: no format, but the reference is one",
            "xx:3: set 1, message 4: parameter %2$d instead of %2$ld",
            "xx:3: set 1, message 4: parameter %3$c is not in the reference",
            "xx:4: set 1, message 6: not in the reference",
            "xx: set 2, message 1: missing",
            "xx:8: set 3, message 1: not in the reference"])
        self.compile("1 no identifier %s%d\n")
        shutil.copy(self.here / "cat", self.here / "cat2")
        found = self.check(1, "", "catalog", "check", reference, self.here / "cat", "none", self.here / "cat2")
        self.assertIn(f"{self.here}/cat: set 1, message 1: identifier HQXGD0001E is missing\n", found)
        self.assertEqual(found.count("HQXGD0001E is missing"), 2)

    def test_check_knows_what_a_code_set_can_hold(self):
        pairs = "".join(f"0x{byte:02X} 0x{ord(bytes([byte]).decode('cp037')):04X}\n" for byte in range(64, 255)
                        if byte != 0xA1) + "0x4040 0x3000\n0x42A1 0x007E\n"
        (self.here / "codeset").mkdir()
        self.check(0, "", "codeset", "compile", "-k", "ebcdic-mixed", "-m", "-", "-o", self.here / "codeset" / "WIDE",
                   text=pairs)
        shutil.copy(CODESETS / "ISO88591", self.here / "codeset")
        source = self.put("source", "1 caf\u00e9\n2 \u3042\u3044\n3 ~\n4 a~a~a")
        found = self.check(1, "", "catalog", "check", "-s", "ISO-8859-1,WIDE", source, source,
                           env={"MABDIR": str(self.here)})
        self.assertEqual(found.replace(str(source), "s").splitlines(), [
            "s:2: set 1, message 2: characters that are not in ISO-8859-1: 2",
            "s:2: set 1, message 2: characters that are not in WIDE: 2",
            "s:3: set 1, message 3: cut off in WIDE: takes 5 bytes and has room for 3",
            "s:4: set 1, message 4: cut off in WIDE: takes 12 bytes and has room for 11"])
        invalid = self.put("invalid", b"1 caf\xe9")
        found = self.check(1, "", "catalog", "check", source, invalid)
        self.assertIn(f"{invalid}:1: not UTF-8, at byte 4 of the text\n", found)
        cat = self.put("cat", struct.pack(">8s5i7i3i", b"*nazgul*", 1, 0, 0, 1, 28, 1, 0, 56, 68, 2, 1, 0, 1, 0, 0) + b"\xe9\0")
        self.assertIn(f"{cat}: set 1, message 1: not UTF-8, at byte 1\n", self.check(1, "", "catalog", "check", source, cat))

    def test_pseudo(self):
        source = self.put("en", "1 HQXGD0001E No '%1$s'.\n2 100%% of %2$-*1$.5d\\n\n3 9% no\n4 \\tTab\\tone\\nTwo \\033é\n"
                                "5 HQXGD0002E \n6 ABCXYZ abcxyz\n$set 2\n7 \n8 %s\n9 no format %")
        out = self.here / "xa.msg"
        self.check(0, "", "catalog", "pseudo", source, "-o", out)
        texts = self.compile(out.read_text())
        self.assertEqual({key: text.decode() for key, text in {**texts[1], **texts[2]}.items()}, {
            1: "HQXGD0001E [Ñö '%1$s'.~~]", 2: "[100%% öḟ %2$-*1$.5d~~~\n]", 3: "[9% nö~]",
            4: "[\tŢáḃ\töñé~~\nŢŵö \033é~~]", 5: "HQXGD0002E ", 6: "[ÁḂÇẊÝŽ áḃçẋýž~~~~~]", 7: "", 8: "[%s]",
            9: "[ñö ḟöřḿáţ %~~~~]"})
        self.check(0, "", "catalog", "check", source, out)
        self.assertEqual(self.check(0, "", "catalog", "pseudo", self.here / "cat"),
                         self.check(0, "", "catalog", "pseudo", "-", text=out.read_text()))
        self.check(1, "standard input:1: neither", "catalog", "pseudo", "-", "-o", out, text="x")
        self.check(2, "pseudo takes one", "catalog", "pseudo")

    @unittest.skipUnless(shutil.which("gencat"), "no gencat here")
    def test_gencat_reads_the_source_alike(self):
        """The texts that glibc's compiler finds in a source are in its catalog, too."""
        source = self.put("s", '$set 1\n$quote "\n1 "a\\tb \\101 \\\\"\n2 plain \\q\n3 "x \\\n  y"\n$set 4\n1 z\n')
        subprocess.run(["gencat", self.here / "peer", source], check=True)
        ours = self.compile(source.read_text())
        peer = (self.here / "peer").read_bytes()
        for text in [text for texts in ours.values() for text in texts.values()]:
            self.assertIn(text + b"\0", peer)


if __name__ == "__main__":
    unittest.main()
