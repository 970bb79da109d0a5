#!/usr/bin/env python3
"""Runs the Java bindings in a real virtual machine, on a private host without a network. The arguments are the
java program, the directory of the build and the jar of GuidCalls."""
import os
import pathlib
import resource
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).absolute().parent
JAVA, BUILD, CALLS, SETTINGS = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3], sys.argv[4:]
INSTALLED = pathlib.Path("/opt/velmar/guid/java")
JAR, LIBRARY, EXAMPLE = (INSTALLED / name for name in ("velguid.jar", "libvelguid_jni.so", "HostIdentity.java"))
FILE = pathlib.Path("/etc/VELGUID")
HEADER = b"This is the Velmar GUID file do not change or delete.\n"
GUID = bytes([0x80, 0xFF, *range(1, 15)])
KEPT = [7] * 16
ADDRESS = [2, 2, 10, 1, 2, 3]  # made of an IPv4 address
NOT_FOUND, NOT_WRITTEN, REFUSED = 231628950, 231628951, -1


def java(*words, **how):
    return subprocess.run([JAVA, "--enable-native-access=ALL-UNNAMED", "-XX:TieredStopAtLevel=1", *map(str, words)],
                          timeout=60, capture_output=True, text=True, check=False, **how)


def store(content):
    FILE.unlink(missing_ok=True)
    if content is not None:
        FILE.write_bytes(content)


def resolve(address):
    """What the name of the host resolves to, or None."""
    pathlib.Path("/etc/nsswitch.conf").write_text("hosts: files\n")
    pathlib.Path("/etc/hosts").write_text(f"{address} {socket.gethostname()}\n" if address else "")


class JavaTest(unittest.TestCase):
    def setUp(self):
        store(None)
        resolve("10.1.2.3")
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)

    def call(self, method, array, *more, **how):
        """The result of a call and the array after it, from a virtual machine that has checked the call."""
        words = "null" if array is None else ",".join(map(str, array))
        done = java("-Xcheck:jni", "-cp", f"{JAR}:{CALLS}", "GuidCalls", method, words, *more, **how)
        self.assertEqual((done.returncode, done.stderr, done.stdout.count("\n")), (0, "", 1), done)
        status, after = done.stdout.split(" ", 1)
        return int(status), None if array is None else [int(word) for word in after.strip("[]\n").split(",") if word]

    def check(self, method, array, status, after=None, *more, **how):
        with self.subTest(method=method, array=array, status=status):
            self.assertEqual(self.call(method, array, *more, **how), (status, array if after is None else after))

    def test_arrays_that_are_refused(self):
        for method in "generateGuid", "writeGuid", "readGuid":
            store(HEADER + GUID)
            for array in None, [], KEPT[:15]:
                self.check(method, array, REFUSED)
            self.assertEqual(FILE.read_bytes(), HEADER + GUID)
        self.check("getIEEE802Address", None, REFUSED)

    def test_generated(self):
        status, guid = self.call("generateGuid", KEPT + [300, -300])
        self.assertEqual((status, guid[6] >> 4, guid[8] >> 6, guid[10:]), (0, 1, 2, ADDRESS + [300, -300]))
        self.assertTrue(all(0 <= byte <= 255 for byte in guid[:16]))
        self.assertFalse(FILE.exists())

    def test_not_generated(self):
        self.check("generateGuid", KEPT, -1, None, "no-descriptors",
                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (128, 128)))
        resolve(None)
        self.check("generateGuid", KEPT, 1)  # HOST_NOT_FOUND

    def test_written(self):
        elements = [256, 511, -1, 128, *range(12), 99]
        self.check("writeGuid", elements, 0)
        self.assertEqual(FILE.read_bytes(), HEADER + bytes([0, 255, 255, 128, *range(12)]))

    def test_not_written(self):
        FILE.mkdir()
        self.addCleanup(FILE.rmdir)
        self.check("writeGuid", KEPT, NOT_WRITTEN)

    def test_read(self):
        store(HEADER + GUID)
        self.check("readGuid", KEPT, 0, list(GUID))
        self.check("readGuid", KEPT + [300], 0, [*GUID, 300])

    def test_not_read(self):
        for content in None, HEADER + GUID[:15], HEADER + bytes(16):
            store(content)
            self.check("readGuid", KEPT, NOT_FOUND)

    def test_platform(self):
        self.check("getOSProcessId", None, 0)  # less the id that the virtual machine knows
        self.check("getIEEE802Address", [7] * 6, 0, ADDRESS)
        self.check("getIEEE802Address", [7] * 8, 0, ADDRESS + [7, 7])
        self.check("getIEEE802Address", [7] * 4, 0, ADDRESS[:4])
        self.check("getIEEE802Address", [], 0)
        resolve(None)
        self.check("getIEEE802Address", [7] * 8, 0, [0] * 6 + [7, 7])  # a failure that counts as done

    def test_main_and_example(self):
        def run(*words):
            done = java(*words)
            return done.returncode, done.stdout, done.stderr
        self.assertEqual(run("-jar", JAR), (1, "", "This host has no GUID. As root, velguid -Create makes one.\n"))
        self.assertEqual(run("-jar", JAR, "-Show")[:2], (2, ""))
        store(HEADER + GUID)
        shown = subprocess.run([BUILD / "bin/velguid", "-Show"], capture_output=True, text=True, check=True).stdout
        self.assertIn(run("-jar", JAR)[1], shown.splitlines(True))
        self.assertEqual(run("-cp", JAR, EXAMPLE)[1].splitlines()[:2],
                         ["host    80ff0102-0304-0506-0708-090a0b0c0d0e", "node    02:02:0a:01:02:03"])
        store(None)
        made = run("-cp", JAR, EXAMPLE)[1].splitlines()[0].split()[1]
        self.assertEqual(made.replace("-", ""), FILE.read_bytes()[len(HEADER):].hex())

    def test_the_library_exports_its_methods_alone(self):
        symbols = subprocess.run(["nm", "-D", "--defined-only", LIBRARY], capture_output=True, text=True, check=True)
        names = [line.split()[-1] for line in symbols.stdout.splitlines()]
        self.assertEqual((len(names), [name for name in names if not name.startswith("Java_")]), (5, []))

    def test_where_the_library_is_found(self):
        store(HEADER + GUID)
        alone, beside, path = (self.scratch / name for name in ("alone", "be side", "path"))
        for directory, *files in (alone, JAR), (beside, JAR, LIBRARY), (path, LIBRARY):
            directory.mkdir()
            for file in files:
                shutil.copy(file, directory)
        LIBRARY.unlink()
        self.addCleanup(shutil.copy, path / LIBRARY.name, LIBRARY)
        broken = self.scratch / LIBRARY.name
        broken.write_text("no library")

        def shows(*words):
            done = java(*words)
            return (done.returncode, done.stdout.count("Guid:")) == (0, 1), done.stderr

        def of_jar(directory):
            return "-cp", directory / JAR.name, "com.velmar.guid.HostGuid"
        for words in (of_jar(beside), ("-p", beside, "-m", "com.velmar.guid"),
                      (f"-Djava.library.path={path}", *of_jar(alone)),
                      (f"-Djava.library.path={broken.parent}", *of_jar(beside))):
            self.assertTrue(shows(*words)[0], words)
        shown, errors = shows(f"-Djava.library.path={broken.parent}", *of_jar(alone))
        self.assertFalse(shown)
        for tried in broken, alone / LIBRARY.name, LIBRARY:
            self.assertRegex(errors, f"UnsatisfiedLinkError: .*{tried}")
        shutil.copy(path / LIBRARY.name, LIBRARY)
        self.assertTrue(shows(*of_jar(alone))[0], "where it is installed")


def enter_private_host():
    """Starts again there. The virtual machine of Debian has its settings below "/etc": they are taken along."""
    etc = os.open("/etc", os.O_PATH)
    os.set_inheritable(etc, True)
    inside = [HERE.parent / "support/scratch-host", "unshare", "--net", sys.executable, *sys.argv, f"/proc/self/fd/{etc}"]
    os.execv(inside[0], inside)


if __name__ == "__main__":
    if not SETTINGS:
        enter_private_host()
    for settings in pathlib.Path(SETTINGS[0]).glob("java-*"):
        shutil.copytree(settings, "/etc/" + settings.name, symlinks=True)
    subprocess.run(["cmake", "--install", BUILD / "java"], check=True)
    unittest.main(argv=sys.argv[:1])
