#!/usr/bin/env python3
"""Installs a build into a scratch root, and removes it again. The arguments are the directory of the build,
and "with-java" or "without-java"."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

WITH_JAVA = sys.argv.pop(2) == "with-java"
BUILD = pathlib.Path(sys.argv.pop(1)).absolute()
LINKS = {"usr/sbin/velguid": "/opt/velmar/guid/bin/velguid", "usr/bin/veltool": "/opt/velmar/guid/bin/veltool"}
PUBLIC = ("velguid.properties.5", "velguid-messages.7", "velguid.8", "veltool.1", "pmxlog.3", "libvel_log.a",
          "libvel_guid.a", "pmx.h", "mab.h",
          *(f"{name}.{kind}" for name in ("libpmxlog", "libvelguid") for kind in ("a", "so", "so.1")),
          "pkgconfig/pmxlog.pc", "pkgconfig/velguid.pc", "cmake/velguid/velguidConfig.cmake")
JAVA = ("velguid.jar", "velguid-sources.jar", "libvelguid_jni.so", "HostIdentity.java")


class InstallTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        self.guid = self.root / "opt/velmar/guid"
        self.properties = self.guid / "velguid.properties"

    def cmake(self, *words, status=0, umask=0o22):
        done = subprocess.run(["cmake", *words], capture_output=True, text=True, timeout=120, check=False, umask=umask,
                              env={**os.environ, "DESTDIR": str(self.root)})
        self.assertEqual(done.returncode, status, done)
        return done.stdout + done.stderr

    def install(self, prefix="/usr/local", **how):
        return self.cmake("--install", str(BUILD), "--prefix", prefix, **how)

    def uninstall(self, status=0):
        return self.cmake("--build", str(BUILD), "--target", "uninstall", status=status)

    def all(self):
        return {str(path.relative_to(self.root)) for path in self.root.rglob("*")}

    def test_layout(self):
        self.install()
        found = self.all()
        for name in ("bin/velguid", "bin/veltool", "codeset/1047", "velguid.properties", "velguid.properties.default",
                     "samples/xml.properties", "lnav/velguid_trace.json", "rsyslog/velguid-sender.conf", *(f"{language}/{name}.cat" for language in ("C", "de", "en_XA")
                                                 for name in ("guidmsgs", "pmxmsg"))):
            self.assertTrue((self.guid / name).is_file(), name)
        for name in JAVA:
            self.assertEqual((self.guid / "java" / name).is_file(), WITH_JAVA, name)
        self.assertEqual([name for name in PUBLIC if not any(
            path.startswith("usr/local/") and path.endswith("/" + name) for path in found)], [])
        self.assertEqual({link: os.readlink(self.root / link) for link in LINKS}, LINKS)

    def test_modes_do_not_depend_on_who_installs(self):
        for umask in 0, 0o77:
            self.install(umask=umask)
            shared = {path for path in self.all() if umask and "velmar" not in path and "velguid" not in path}
            for path in self.all() - set(LINKS) - shared:
                status = (self.root / path).stat()
                mode = 0o755 if (self.root / path).is_dir() or path.startswith("opt/velmar/guid/bin/") else 0o644
                self.assertEqual((oct(status.st_mode & 0o7777), status.st_uid), (oct(mode), os.getuid()), path)
            self.setUp()

    def test_an_edited_properties_file_stays(self):
        self.install()
        shipped = self.properties.read_text()
        default = self.guid / "velguid.properties.default"
        for text in self.properties, default:  # as an earlier version has shipped it, not edited
            text.write_text("a.b=1\n")
        self.assertNotIn("Kept", self.install())
        self.assertEqual(self.properties.read_text(), shipped)
        self.properties.write_text("a.b=2\n")
        self.properties.chmod(0o600)
        self.assertIn("Kept", self.install())
        self.assertEqual((self.properties.read_text(), self.properties.stat().st_mode & 0o777), ("a.b=2\n", 0o600))
        self.assertEqual(default.read_text(), shipped)
        self.uninstall()
        self.assertEqual(list(self.guid.iterdir()), [self.properties])

    def test_uninstalling_leaves_what_is_not_ours(self):
        for name in "etc/VELGUID", "var/log/velguid.log", "usr/local/include/other.h", "opt/other":
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            (self.root / name).write_text("x")
        before = self.all()
        self.install("/usr")
        self.install()
        self.uninstall()
        left = self.all() - before
        self.assertEqual([path for path in left if not (self.root / path).is_dir() or "vel" in path], [])
        self.assertLessEqual(before, self.all())
        self.assertIn("Nothing is installed", self.uninstall(status=1))


if __name__ == "__main__":
    unittest.main()
