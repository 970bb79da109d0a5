#!/usr/bin/env python3
"""Breaks an installation in one way after the other, and has the doctor look at it. To be run as root with a private
"/etc", "/opt" and "/var/log" and with semaphores of its own."""
import ctypes
import json
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

from veltool_case import CODESETS, VELTOOL, VeltoolCase, run

GUID_FILE = pathlib.Path("/etc/VELGUID")
PLACE = pathlib.Path("/opt/velmar/guid")
PROPERTIES = PLACE / "velguid.properties"
SOUND = {"LC_ALL": "C.UTF-8", "NLSPATH": "", "MABDIR": "", "BINDIR": "", "MAB_CODESET": ""}
LIBC = ctypes.CDLL(None, use_errno=True)
IPC_CREAT, IPC_RMID, SETVAL, MODE = 0o1000, 0, 16, 0o666


def semaphore(key, *values, count=1, mode=MODE, used=True):
    """Makes one, and has it used, so that it counts as ready."""
    number = LIBC.semget(key, count, IPC_CREAT | mode)
    if used:
        LIBC.semop(number, (ctypes.c_short * 3)(0, 1, 0), 1)
    for value in values:
        LIBC.semctl(number, 0, SETVAL, value)
    return lambda: LIBC.semctl(number, 0, IPC_RMID)


class DoctorTest(VeltoolCase):
    @classmethod
    def setUpClass(cls):
        cls.stage = pathlib.Path("/opt/stage")
        subprocess.run(["cmake", "--install", CODESETS.parent], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "DESTDIR": str(cls.stage)}, umask=0o22)
        files = cls.stage / "opt/velmar/guid/installed-files"
        # The links and libraries of this host are not touched.
        files.write_text("".join(line for line in files.read_text().splitlines(True) if line.startswith("/opt/")))

    def setUp(self):
        super().setUp()
        shutil.rmtree(PLACE, ignore_errors=True)
        shutil.copytree(self.stage / "opt/velmar", PLACE.parent, symlinks=True, dirs_exist_ok=True)
        GUID_FILE.unlink(missing_ok=True)
        subprocess.run([PLACE / "bin/velguid", "-Create", "-Quiet"], check=True, umask=0o22)

    def findings(self, *words, env=None):
        """What is to be fixed, as topics and texts."""
        status, out, err = run("doctor", "--json", *words, env={**SOUND, **(env or {})})
        found = [json.loads(line) for line in out.splitlines()]
        fixes = [f"{each['topic']}: {each['what']}: {each['advice']}" for each in found if each["state"] == "FIX"]
        self.assertEqual((status, err), (1 if fixes else 0, ""))
        return fixes

    def test_a_sound_host(self):
        self.assertEqual(self.findings(), [])
        self.assertEqual(self.check(0, "", "doctor", "--quiet", env=SOUND), "")
        text = self.check(0, "", "doctor", env=SOUND)
        for topic in ("locale: C.UTF-8", "code set: UTF8", f"catalog: {PLACE}/C/guidmsgs.cat", "host GUID: ", "properties: ", "zip: "):
            self.assertIn(f"ok    {topic}", text)
        note = f"note  catalog: {PLACE}/C/pmxmsg.cat is English: there is none for xx_YY"
        self.assertIn(note, self.check(1, "", "doctor", env={**SOUND, "LC_ALL": "xx_YY"}))

    def test_each_fault_is_found_alone(self):
        for fault, topic, what in [
                (lambda: GUID_FILE.unlink(), "host GUID", "No such file"),
                (lambda: GUID_FILE.chmod(0o666), "host GUID", "others can write to it (mode 0666)"),
                (lambda: os.chown(GUID_FILE, os.getuid(), 0) or GUID_FILE.write_bytes(b"zero"), "host GUID", "no GUID in it"),
                (lambda: GUID_FILE.unlink() or GUID_FILE.mkdir(), "host GUID", "no regular file"),
                (lambda: (PLACE / "bin/velguid").chmod(0o644), "installation", "cannot be run"),
                (lambda: PLACE.chmod(0o777), "installation", "mode 0777"),
                (lambda: (PLACE / "codeset/1047").unlink(), "installation", "codeset/1047: No such file"),
                (lambda: (PLACE / "C/guidmsgs.cat").write_bytes(b"broken"), "catalog", "guidmsgs is not found"),
                (lambda: PROPERTIES.unlink(), "properties", "No such file"),
                (lambda: PROPERTIES.chmod(0o622), "properties", "mode 0622"),
                (lambda: PROPERTIES.write_text("a.b\n"), "properties", "velguid.properties: 1 finding: veltool config check"),
                (lambda: PROPERTIES.write_text("a.b=1\n" * 250_001), "properties", "more than 250,000 entries"),
                (lambda: PROPERTIES.write_text("a.className=pmx_ffdc_filecopy_handler\na.baseDir=/proc/captures\n"), "place of logs", "a.baseDir: /proc")]:
            with self.subTest(what=what):
                fault()
                (found,) = self.findings()
                self.assertIn(what, found.removeprefix(f"{topic}: "))
                if GUID_FILE.is_dir():
                    GUID_FILE.rmdir()
            self.setUp()

    def test_the_environment(self):
        for env, topic, what in [({"LC_ALL": "xx_YY"}, "locale", "LC_ALL=xx_YY is not installed"),
                                 ({"LC_ALL": "", "LANG": "xx\x1b"}, "locale", "LANG=xx\x1b is not"),
                                 ({"LC_ALL": "/tmp/x"}, "locale", "is a path"), ({"MAB_CODESET": "no-such"}, "code set", "NOSUCH")]:
            (found,) = self.findings(env=env)
            self.assertTrue(found.startswith(topic) and what in found, found)
        self.assertNotIn("\x1b", self.check(1, "", "doctor", env={**SOUND, "LC_ALL": "xx\x1b"}))
        damaged = (PLACE / "codeset/1047").read_bytes()
        (PLACE / "codeset/1047").write_bytes(damaged[:2000])
        (found,) = self.findings(env={"MAB_CODESET": "1047"})
        self.assertIn("its table is damaged", found)

    def test_semaphores_of_shared_logs(self):
        file = self.here / "own.properties"
        file.write_text("a.className=pmx_multiproc_filehandler\na.MPFileSemKey=77\n")
        for key in (31821, 77):
            for made, what in [({"values": [1]}, ""), ({"values": [0]}, ""), ({"values": [2]}, "several in at once"),
                               ({"used": False}, "never made ready"), ({"count": 2}, "another program's"),
                               ({"mode": 0o600}, "closed to other users")]:
                remove = semaphore(key, *made.pop("values", []), **made)
                try:
                    found = self.findings(file)
                finally:
                    remove()
                self.assertEqual(len(found), 1 if what else 0)
                self.assertIn(what, "".join(found))

    def test_limits(self):
        limits = pathlib.Path("/proc/sys/kernel/sem")
        before = limits.read_text()
        try:
            limits.write_text("10 10 10 3")
        except OSError:
            self.skipTest("the limits cannot be set here")
        self.addCleanup(limits.write_text, before)
        for remove in [semaphore(1000 + i) for i in range(3)]:
            self.addCleanup(remove)
        (found,) = self.findings()
        self.assertIn("3 of 3 sets of semaphores", found)

    def test_channels(self):
        name = f"doctor $(id)_{os.getpid()}"
        key = pathlib.Path("/tmp", name)
        self.addCleanup(key.unlink, missing_ok=True)
        subprocess.run([VELTOOL, "channel", "create", name], check=True, stdout=subprocess.DEVNULL)
        self.addCleanup(run, "channel", "remove", "--force", name)
        text = self.check(0, "", "doctor", env=SOUND)
        self.assertIn(f"note  channel: {name}: nobody has it open, 0 bytes wait in it", text)
        self.assertIn(f"veltool channel remove '{name}'\n", text)


if __name__ == "__main__":
    unittest.main()
