#!/usr/bin/env python3
"""Installs, upgrades and purges the deb of a build on a private copy of this host: an overlay, of which
nothing stays. The argument is the directory of the build."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path(sys.argv.pop(1)).absolute()
PRIVATE = "--private"
PROPERTIES = "opt/velmar/guid/velguid.properties"
BOOKKEEPING = ("var/lib/dpkg/", "var/log/dpkg.log", "tmp/")  # dpkg's and the test's
# Triggers are the business of other packages, as of the index of manual pages, and take long.
DPKG = ("dpkg", "--force-unsafe-io", "--force-confold", "--no-triggers")


def run(*words, status=0, **how):
    done = subprocess.run([str(word) for word in words], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=120, check=False, **how)
    assert status is None or done.returncode == status, (words, done)
    return done.stdout + done.stderr


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        here = pathlib.Path(scratch.name)
        run("cpack", "--config", BUILD / "CPackConfig.cmake", "-G", "DEB", "-B", here,
            "-D", "CPACK_DEBIAN_COMPRESSION_TYPE=gzip")
        (cls.deb,) = here.glob("*.deb")
        tree, cls.later = here / "tree", here / "later.deb"
        run("dpkg-deb", "-R", cls.deb, tree)
        control = tree / "DEBIAN/control"
        control.write_text(control.read_text().replace("\nVersion: ", "\nVersion: 9"))
        with open(tree / PROPERTIES, "a", encoding="ascii") as properties:
            properties.write("# of a later version\n")
        run("dpkg-deb", "-b", "-Zgzip", tree, cls.later)

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        here = pathlib.Path(scratch.name)
        run("mount", "-t", "tmpfs", "private", here)
        self.addCleanup(run, "umount", "--recursive", "--lazy", here)
        self.upper, self.root = here / "upper", here / "root"
        for folder in self.upper, here / "work", self.root:
            folder.mkdir()
        run("mount", "-t", "overlay", "private", self.root,
            "-o", f"lowerdir=/,upperdir={self.upper},workdir={here}/work")
        run("mount", "--rbind", "/dev", self.root / "dev")
        run("mount", "--make-rslave", self.root / "dev")
        self.guid, self.properties = self.root / "etc/VELGUID", self.root / PROPERTIES
        self.dpkg("--purge", "velguid", status=None)  # what this host has of it
        self.guid.unlink(missing_ok=True)
        shutil.rmtree(self.root / "opt/velmar", ignore_errors=True)
        for deb in self.deb, self.later:
            shutil.copy(deb, self.root / "tmp")

    def inside(self, *words, **how):
        return run("chroot", self.root, *words, **how)

    def dpkg(self, *words, **how):
        return self.inside(*DPKG, *words, **how)

    def install(self, deb=None):
        return self.dpkg("-i", f"/tmp/{(deb or self.deb).name}")

    def left(self):
        """What is on the private host and not on this one."""
        found = set()
        for path in self.upper.rglob("*"):
            name = str(path.relative_to(self.upper))
            removed = path.is_char_device()
            copied = path.is_dir() and pathlib.Path("/", name).is_dir()
            if not removed and not copied and not name.startswith(BOOKKEEPING):
                found.add(name)
        return found

    def test_the_guid_outlives_the_package(self):
        before = self.left()
        self.install()
        guid = self.guid.read_bytes()
        shown = self.inside("velguid", "-Show")
        self.assertIn(".".join(f"{byte:02x}" for byte in guid[-16:]), shown)
        self.assertRegex(self.inside("veltool", "--version"), r"^veltool \d")
        self.assertIn("etc/systemd/system/multi-user.target.wants/velguid.service", self.left())
        self.assertNotIn("opt/velmar/guid/installed-files", self.left())
        self.inside("velguid", "-Nothing", status=255)
        self.assertIn("var/log/velguid.log", self.left())

        self.install(self.later)
        self.assertIn("# of a later version", self.properties.read_text())  # as nobody had edited it
        self.properties.write_text("edited.by=me\n")
        self.install(self.deb)
        self.install(self.later)
        self.assertEqual((self.guid.read_bytes(), self.properties.read_text()), (guid, "edited.by=me\n"))

        self.dpkg("--remove", "velguid")
        self.assertEqual((self.guid.read_bytes(), self.properties.read_text()), (guid, "edited.by=me\n"))
        self.assertFalse((self.root / "usr/sbin/velguid").is_symlink())
        self.assertIn("stays in /etc/VELGUID", self.dpkg("--purge", "velguid"))
        self.assertEqual(self.left() - before, {"etc/VELGUID"})
        self.install()
        self.assertEqual(self.guid.read_bytes(), guid)

    def test_what_stands_in_the_place_of_the_guid_is_left(self):
        self.install()
        valid = self.guid.read_bytes()
        self.dpkg("--purge", "velguid")
        for content in valid, b"my own notes\n":
            self.guid.write_bytes(content)
            self.assertEqual("holds no GUID" in self.install(), content != valid)
            self.assertEqual(self.guid.read_bytes(), content)
            self.dpkg("--purge", "velguid")
        self.guid.unlink()
        self.guid.symlink_to("elsewhere")
        self.assertIn("holds no GUID", self.install())
        self.assertFalse((self.root / "etc/elsewhere").exists())

    def test_without_an_address_the_package_is_installed_all_the_same(self):
        nowhere = ("unshare", "--net", "--uts", "sh", "-c", 'hostname nowhere.invalid && exec "$@"', "sh")
        output = run(*nowhere, "chroot", self.root, *DPKG, "-i", f"/tmp/{self.deb.name}")
        self.assertIn("no GUID could be made", output)
        self.assertIn("install ok installed", self.inside("dpkg", "--status", "velguid"))
        self.assertFalse(self.guid.exists())
        self.assertIn("Guid:", self.inside("velguid", "-Create"))

    def test_lintian_finds_no_error(self):
        run("lintian", "--fail-on", "error", self.deb)


if __name__ == "__main__":
    if os.getuid() != 0:
        print("Skipped: packages are installed by root")
    elif sys.argv[1:2] != [PRIVATE]:
        os.execvp("unshare", ["unshare", "--mount", "--propagation", "unchanged", sys.executable, __file__, str(BUILD),
                              PRIVATE])
    else:
        del sys.argv[1]
        run("mount", "--make-rprivate", "/", status=None)  # in a chroot it need not be a mount point
        unittest.main()
