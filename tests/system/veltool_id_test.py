#!/usr/bin/env python3
"""Shows, decodes and checks GUIDs. To be run as root with a private "/etc", by tests/support/scratch-host."""
import json
import os
import pathlib
import random
import re
import sys
import unittest
import uuid

VELGUID = os.path.abspath(sys.argv.pop(3))

from veltool_case import VeltoolCase, subprocess  # noqa: E402 (takes the arguments before)

FILE = pathlib.Path("/etc/VELGUID")
HEADER = b"This is the Velmar GUID file do not change or delete.\n"
GUID = uuid.UUID("3c0a917e-5d1f-11d9-8a2b-000c294f1a33")


def with_node(*node):
    return str(uuid.UUID(bytes=GUID.bytes[:10] + bytes(node)))


class IdTest(VeltoolCase):
    def setUp(self):
        super().setUp()
        self.addCleanup(FILE.unlink, missing_ok=True)

    def id(self, status, message, *words):
        return self.check(status, message, "id", *words)

    def decode(self, guid):
        return json.loads(self.id(0, "", "--decode", "--format=json", guid))

    def test_forms_of_the_stored_one_are_read_again(self):
        FILE.write_bytes(HEADER + GUID.bytes)
        forms = {"dotted": GUID.bytes.hex("."), "canonical": str(GUID), "urn": GUID.urn}
        self.assertEqual(self.id(0, ""), forms["dotted"] + "\n")
        self.assertEqual(json.loads(self.id(0, "", "-f", "json")), forms)
        for form, text in forms.items():
            self.assertEqual(self.id(0, "", "--format", form), text + "\n")
            for written in (text, text.upper().replace("URN:UUID", "urn:uuid")):
                self.assertEqual(self.id(0, "", written), forms["dotted"] + "\n")
        shown = subprocess.run([VELGUID, "-Show"], capture_output=True, text=True, check=True).stdout.splitlines()[-1]
        self.assertEqual(self.id(0, "", shown, "-f", "urn"), GUID.urn + "\n")

    def test_what_is_no_guid(self):
        for text in ["", "3c", f"{GUID}0", f"{GUID}"[:-1], f"{GUID}".replace("-", "."), f"{{{GUID}}}", "g" + f"{GUID}"[1:]]:
            self.id(2, "no GUID", text)
        for words, message in [(["-f", "hex"], "a format is"), (["-d", "-c"], "one at a time"), (["-n", ""], "a name is empty"),
                               (["-F", FILE, str(GUID)], "or a file")]:
            self.id(2, message, *words)

    def test_files(self):
        self.id(1, "velguid -Create makes one")
        file = self.here / "VELGUID"
        for content, message in [(b"", "no GUID in it"), (HEADER + GUID.bytes[:15], "no GUID"), (HEADER + bytes(16), "no GUID"),
                                 (GUID.bytes, "no GUID"), (HEADER + GUID.bytes + b"more", "")]:
            file.write_bytes(content)
            self.id(1 if message else 0, message, "--file", file)
        (self.here / "link").symlink_to(file)
        os.mkfifo(self.here / "fifo")
        for name, message in [("link", "a symbolic link"), ("fifo", "no GUID"), (".", "no GUID"), ("none", "No such file")]:
            self.id(1, message, "--file", self.here / name)

    def test_time_and_node_are_those_that_others_find(self):
        random.seed(1)
        for i in range(20):
            guid = uuid.UUID(int=random.getrandbits(128), version=1)
            found = self.decode(guid.urn)
            self.assertEqual((found["version"], found["variant"], found["clockSequence"]), (1, "RFC 4122", guid.clock_seq))
            self.assertEqual(found["node"], guid.node.to_bytes(6, "big").hex(":"))
            date = re.match(r"(.*)T(.*)\.(\d{7})Z$", found["time"])
            command = ["date", "--utc", "--date", f"{date[1]} {date[2]}", "+%s"]
            seconds = int(subprocess.run(command, capture_output=True, text=True, check=True).stdout)
            self.assertEqual(seconds * 10**7 + int(date[3]) + 0x01B21DD213814000, guid.time)

    def test_kinds(self):
        for guid, key, value in [
                (with_node(2, 2, 192, 0, 2, 7), "nodeKind", "IPv4 address 192.0.2.7"),
                (with_node(1, 0, 0, 0, 0, 0), "nodeKind", "random number"), (with_node(6, 0, 0, 0, 0, 0), "nodeKind", "locally"),
                (str(GUID), "nodeKind", "network card"), (str(uuid.uuid4()), "madeOf", "random"),
                (str(uuid.uuid5(GUID, "x")), "madeOf", "SHA-1"), ("ff" * 4 + ("-" + "ff" * 2) * 3 + "-" + "ff" * 6, "variant", "reserved"),
                (str(GUID).replace("-8a", "-ca"), "variant", "Microsoft"), (str(uuid.UUID(int=0)), "variant", "NCS")]:
            found = self.decode(guid)
            self.assertIn(value, found[key])
            self.assertEqual("time" in found, key == "nodeKind")

    def test_derived_ones_depend_on_the_host_and_the_name_alone(self):
        FILE.write_bytes(HEADER + GUID.bytes)
        one, two, again = self.id(0, "", "-n", "one", "-n", "zwei ä", "-n", "one", "-f", "canonical").split()
        self.assertEqual((one, uuid.UUID(one).version), (again, 3))
        self.assertEqual(json.loads(self.id(0, "", "-n", "zwei ä", "-f", "json", str(GUID)))["canonical"], two)
        others = {self.id(0, "", "-n", "one", "-f", "canonical", with_node(0, 0, 0, 0, 0, i)).strip() for i in range(9)}
        self.assertEqual(len(others | {one, two}), 11)
        self.id(1, "reserved", "-n", "one", "ff." * 15 + "ff")

    def test_check(self):
        nodes = [path.read_text().strip() for path in pathlib.Path("/sys/class/net").glob("*/address")
                 if (path.parent / "type").read_text() == "1\n"]
        for node in nodes:
            self.assertIn(": here: ", self.id(0, "", "--check", with_node(*bytes.fromhex(node.replace(":", "")))))
        if nodes:
            subprocess.run([VELGUID, "-Create", "-Quiet"], check=True)
            self.assertEqual(json.loads(self.id(0, "", "--check", "-f", "json"))["origin"], "here")
        self.assertIn(": here: lo ", self.id(0, "", "--check", with_node(2, 2, 127, 0, 0, 1)))
        hosts = pathlib.Path("/etc/hosts")  # which is looked into, as there is no nsswitch.conf
        hosts.write_text(f"192.0.2.8 {os.uname().nodename}\n")
        self.addCleanup(hosts.unlink)
        self.assertIn(": here: this host's name", self.id(0, "", "--check", with_node(2, 2, 192, 0, 2, 8)))
        for guid in (with_node(2, 2, 127, 0, 9, 9), with_node(3, 0, 0, 0, 0, 0), str(uuid.uuid4())):
            self.assertIn(": unknown: ", self.id(0, "", "--check", guid))
        for guid in (with_node(0, 0, 0, 0, 0, 0), with_node(2, 2, 192, 0, 2, 7)):
            self.assertRegex(self.id(1, "", "--check", guid, str(uuid.uuid4())), ": elsewhere: .*\n.*velguid -Write -New\n.*: unknown: ")


if __name__ == "__main__":
    unittest.main()
