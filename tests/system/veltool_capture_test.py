#!/usr/bin/env python3
"""Lists, bundles and prunes captures, those that the toolkit has made and those of hostile neighbours."""
import datetime
import hashlib
import json
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import sys
import tarfile
import unittest
import zipfile

LOG_RECORDS, SAMPLES = (os.path.abspath(sys.argv.pop(3)) for _ in range(2))

from veltool_case import VELTOOL, VeltoolCase, run  # noqa: E402 (takes the arguments before)

HOSTILE = ["-rf", "line\nend\x1b[31m", "--checkpoint-action=exec=touch here", "$(touch here)", "* ?", "\udcff\\", "sub/d"]


def unpack(archive, target):
    """Names as they are, which unzip changes."""
    with zipfile.ZipFile(archive) as members:
        for member in members.infolist():
            path = target / os.fsdecode(member.filename.encode("cp437"))
            path.parent.mkdir(parents=True, exist_ok=True)
            if not member.is_dir():
                path.write_bytes(members.read(member))


class CaptureTest(VeltoolCase):
    def setUp(self):
        super().setUp()
        self.base = self.here / "captures"
        self.base.mkdir()

    def capture(self, status, message, verb, *words, **how):
        return self.check(status, message, "capture", verb, *words, **how)

    def put(self, name, content=b"x"):
        path = self.base / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def put_hostile(self):
        """What goes into an archive, among what must not."""
        files = {f"2024.11.2{i % 3}/{name}": os.urandom(1000 * i) for i, name in enumerate(HOSTILE)}
        for name, content in files.items():
            self.put(name, content)
        day = self.base / "2024.11.20"
        for link, target in [(day / "link", "/etc/passwd"), (day / "folder", "/etc"), (self.base / "2024.11.23", day)]:
            link.symlink_to(target)
        os.mkfifo(day / "fifo")
        self.put("secret")
        self.put("2024.11.2x/no day")
        return files

    def left(self):
        return sorted(os.path.relpath(path, self.base) for path in self.base.rglob("*"))

    def test_captures_of_the_toolkit(self):
        text = pathlib.Path(SAMPLES, "capture.properties").read_text().replace("/var/log/", f"{self.here}/")
        properties = self.here / "properties"
        properties.write_text(text.replace("/etc/VELGUID", str(properties)))
        subprocess.run([LOG_RECORDS, properties], check=True, timeout=60, stderr=subprocess.DEVNULL,
                       env={**os.environ, "NLSPATH": "", "LANG": "C"})
        days = {datetime.date.today(), datetime.date.fromtimestamp(properties.stat().st_mtime)}
        (day,) = map(json.loads, self.capture(0, "", "list", "-j", self.here / "velguid-ffdc").splitlines())
        self.assertIn(day["day"], [f"{each:%Y.%m.%d}" for each in days])
        files = [json.loads(line) for line in self.capture(0, "", "list", "-jl", self.here / "velguid-ffdc").splitlines()]
        self.assertEqual([file["name"] for file in files], [f"{day['day']}/{name}" for name in ("properties", "velguid.log")])
        self.assertEqual(files[0]["bytes"], properties.stat().st_size)
        self.assertEqual((day["files"], day["bytes"]), (2, sum(file["bytes"] for file in files)))

    def test_usage(self):
        for words, message in [
                ("list", "is missing"), ("list a b", "one directory"), ("bundle -o x.tar", "is missing"), ("bundle a", "--output"),
                ("bundle -o x.rar a", "ends with"), ("prune a", "a limit"), ("prune -s 1x a", "no size: 1x"),
                ("prune -s -1 a", "no size"), ("prune -s 99999999T a", "no size"), ("prune -a 1M a", "no max-age")]:
            self.check(2, message, "capture", *words.split())
        for words in [["list"], ["prune", "-s", "0"], ["bundle", "-o", self.here / "x.tar"]]:
            self.capture(1, "No such file", *words, self.here / "none")
        self.capture(1, "no such day", "bundle", "-o", self.here / "x.tar", self.base, "2024.11.20")
        self.capture(1, "nothing to put", "bundle", "-o", self.here / "x.tar", self.base)
        self.assertEqual(list(self.here.iterdir()), [self.base])

    def test_list_counts_regular_files_of_days(self):
        files = self.put_hostile()
        (self.base / "2024.11.19").mkdir()
        days = [json.loads(line) for line in self.capture(0, "", "list", "--json", self.base).splitlines()]
        self.assertEqual({day["day"]: day["files"] for day in days},
                         {"2024.11.19": 0, "2024.11.20": 3, "2024.11.21": 2, "2024.11.22": 2})
        self.assertEqual(sum(day["bytes"] for day in days), sum(map(len, files.values())))
        text = self.capture(0, "", "list", "--long", self.base)
        self.assertNotIn("\x1b", text)
        self.assertIn("line\\nend\\x1B[31m", text)

    def test_bundles_hold_what_was_captured_and_nothing_else(self):
        files = self.put_hostile()
        os.link(self.base / "secret", self.base / "2024.11.20" / "hard")
        before = self.left()
        for kind in ("tar", "tar.gz", "tgz", "tar.xz", "zip"):
            archive, target = self.here / f"a.{kind}", self.here / kind
            archive.symlink_to(self.base / "secret")  # is replaced, and not followed
            self.capture(1, "hard: is elsewhere by another name", "bundle", "-o", archive, self.base,
                         env={"TAR_OPTIONS": "--exclude=*", "ZIPOPT": "-x *"})
            self.assertEqual((archive.is_symlink(), archive.stat().st_mode & 0o777), (False, 0o600))
            target.mkdir()
            if kind == "zip":
                unpack(archive, target)
            else:
                subprocess.run(["tar", "xf", archive], cwd=target, check=True)
            found = {os.path.relpath(path, target): path.read_bytes() for path in target.rglob("*") if path.is_file()}
            manifest = [json.loads(line) for line in found.pop("MANIFEST.jsonl").splitlines()]
            self.assertIn(b"\\\\", found.pop("SHA256SUMS"))
            self.assertEqual(found, files)
            self.assertEqual({(entry["size"], entry["sha256"]) for entry in manifest},
                             {(len(content), hashlib.sha256(content).hexdigest()) for content in files.values()})
            self.assertEqual([entry["name"].encode(errors="replace") for entry in manifest],
                             sorted(name.replace("\udcff", "\ufffd").encode() for name in files))
            subprocess.run(["sha256sum", "--check", "--strict", "--quiet", "SHA256SUMS"], cwd=target, check=True)
        self.assertEqual(self.left(), before)
        self.assertEqual([path for path in self.here.glob("a.*.*") if path.suffix not in (".gz", ".xz")], [])

    def test_a_bundle_is_of_the_days_that_are_named(self):
        for day in (20, 21, 22):
            self.put(f"2024.11.{day}/log")
        self.capture(0, "", "bundle", "-o", "a.tar", self.base, "2024.11.22", "2024.11.20/", "2024.11.22", cwd=self.here)
        with tarfile.open(self.here / "a.tar") as archive:
            self.assertEqual([name for name in archive.getnames() if "log" in name], ["2024.11.22/log", "2024.11.20/log"])

    def test_a_bundle_that_fails_leaves_the_old_one_and_nothing_else(self):
        self.put("2024.11.20/log")
        archive = self.here / "a.tar"
        archive.write_text("old")
        programs = self.here / "programs"
        programs.mkdir()
        for name in ("sha256sum", "tar"):
            path = f"{programs}:/usr/bin:/bin"
            (programs / name).write_text("#!/bin/sh\nprintf 'no \\033[31m'\nexit 3\n")
            (programs / name).chmod(0o755)
            self.capture(1, f"{name} has failed: no \\x1B[31m", "bundle", "-o", archive, self.base, env={"PATH": path})
            # Nothing is run that lies where somebody else may have put it.
            (programs / name).rename(self.put(f"2024.11.20/{name}"))
            for directory in (".", ""):
                self.capture(1, "not found", "bundle", "-o", archive, self.base, cwd=self.base / "2024.11.20",
                             env={"PATH": directory})
        self.assertEqual(archive.read_text(), "old")
        self.assertEqual({path.name for path in self.here.iterdir()}, {"captures", "a.tar", "programs"})

    def test_what_cannot_be_copied_whole_is_not_in_the_bundle(self):
        self.put("2024.11.20/small")
        self.put("2024.11.20/large", bytes(300_000))
        self.capture(1, "large: File too large", "bundle", "-o", self.here / "a.tgz", self.base,
                     preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000)))
        with tarfile.open(self.here / "a.tgz") as archive:
            self.assertEqual([name for name in archive.getnames() if "/" in name], ["2024.11.20/small"])

    def test_a_signal_ends_a_long_copy_and_leaves_nothing(self):
        with open(self.put("2024.11.20/log"), "wb") as file:
            file.truncate(1 << 40)
        words = [VELTOOL, "capture", "bundle", "-o", self.here / "a.tar", self.base]
        with subprocess.Popen(words, stderr=subprocess.PIPE, text=True) as bundle:
            while not any(path.stat().st_size for path in self.here.glob("a.tar.*/*/log")):
                self.assertIsNone(bundle.poll())
            bundle.send_signal(signal.SIGTERM)
            self.assertIn("stopped", bundle.communicate(timeout=60)[1])
        self.assertEqual((bundle.returncode, list(self.here.iterdir())), (1, [self.base]))

    def test_the_place_of_the_copies_cannot_be_exchanged(self):
        self.put("2024.11.20/log")
        programs, victim = self.here / "programs", self.here / "victim"
        for directory in (programs, victim):
            directory.mkdir()
        stages = self.here / "a.tar.*"
        (programs / "sha256sum").write_text(f"#!/bin/sh\nfor stage in {stages}; do mv $stage {self.here}/moved; "
                                            f"ln -s {victim} $stage; done\nexec /usr/bin/sha256sum \"$@\"\n")
        (programs / "sha256sum").chmod(0o755)
        self.capture(0, "", "bundle", "-o", self.here / "a.tar", self.base, env={"PATH": f"{programs}:{os.environ['PATH']}"})
        self.assertEqual(list(victim.iterdir()), [])
        with tarfile.open(self.here / "a.tar") as archive:
            self.assertIn("2024.11.20/log", archive.getnames())

    @unittest.skipIf(os.geteuid(), "needs root to be somebody else")
    def test_what_this_user_may_not_see_is_said(self):
        os.chmod(self.here, 0o755)
        self.put("2024.11.20/sub/log")
        os.chmod(self.base / "2024.11.20/sub", 0o700)
        program = shutil.copy(VELTOOL, self.here)  # the other user may not get to where it was built
        done = subprocess.run([program, "capture", "list", self.base], user=65534, capture_output=True, text=True,
                              check=False)
        self.assertEqual(done.returncode, 1, done)
        self.assertIn("2024.11.20: not all of it can be read", done.stderr)

    def put_in_order(self, *names):
        """Files of ten bytes, each changed in a later second than the one before."""
        second, last = lambda path: path.stat().st_ctime_ns // 10**9, 0
        for path in [self.put(name, b"x" * 10) for name in names]:
            while second(path) <= last:
                path.chmod(0o600)
            last = second(path)

    def test_the_oldest_go_first_by_when_they_were_changed(self):
        self.put_in_order("2024.11.22/z", "2024.11.20/a")
        for size, stay in [("20", {"2024.11.22/z", "2024.11.20/a"}), ("19", {"2024.11.20/a"}), ("0K", set())]:
            for option in ("--dry-run", "--size"):  # the first of them changes nothing
                before = self.left()
                said = self.capture(0, "", "prune", "--size", size, *([option] if option == "--dry-run" else []), self.base)
                if option == "--dry-run":
                    self.assertEqual(self.left(), before)
                    planned = said.count("would remove 2024")
            left = {name for name in self.left() if "/" in name}
            self.assertEqual((left, planned), (stay, len({name for name in before if "/" in name}) - len(stay)))
        self.assertEqual(self.left(), [])  # the days, too

    def test_age(self):
        self.put("2024.11.20/a")
        for age, left in [("1min", 2), ("3w", 2), ("9223372036854775807s", 2)]:
            self.capture(0, "", "prune", "--max-age", age, self.base)
            self.assertEqual(len(self.left()), left)

    def test_pruning_touches_captures_alone(self):
        names = self.put_hostile()
        today = self.base / f"{datetime.date.today():%Y.%m.%d}"
        tomorrow = self.base / f"{datetime.date.today() + datetime.timedelta(1):%Y.%m.%d}"
        for path in (today, tomorrow):
            path.mkdir(exist_ok=True)
        others = set(self.left()) - set(names)
        text = self.capture(0, "", "prune", "-s", "0", self.base)
        self.assertIn(f"removed {len(names)} files", text)
        left = set(self.left())
        self.assertEqual(others - left - {today.name, tomorrow.name}, {"2024.11.21", "2024.11.22"})
        self.assertTrue(today.exists() or tomorrow.exists())
        self.assertTrue(os.path.lexists(self.base / "2024.11.20/link") and pathlib.Path("/etc/passwd").exists())


if __name__ == "__main__":
    unittest.main()
