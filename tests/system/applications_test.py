#!/usr/bin/env python3
"""Builds the example projects against an installation, as their users would, and runs them; and looks at what the
shared libraries show. The arguments are the directory of the build and that of the sources."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCES = (pathlib.Path(sys.argv.pop(1)).absolute() for _ in range(2))
sys.path.insert(0, str(SOURCES / "scripts"))
from check_names import DECLARATION, without_comments  # noqa: E402

SCRATCH_HOST = SOURCES / "tests/support/scratch-host"
LIBRARIES = {"libpmxlog.so.1": "PMXLOG_1", "libvelguid.so.1": "VELGUID_1"}
DATA = re.compile(r"^extern const \w+ (\w+)\[", re.M)
WARNINGS = "-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror"
GUID = r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"

OPERATIONS = """
#include <velguid/pmx.h>
static PmxEvent* cups(const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxEvent* event = PmxVaAllocEvent(PMX_INFO, 0, 0, 0, text, arguments);
    va_end(arguments);
    return event;
}
int main(int argc, char** argv) {
    char* text = PmxBindEventMsg(cups("%1$d cups", PMX_INT, 3, PMX_END), PmxBindI18Msg);
    puts(text ? text : "nothing");
    PmxAddFormatterClass("own", NULL, PmxPDXMLFormatterFAllocVars, PmxPDXMLFormatterFFreeVars,
                         PmxPDXMLFormatterFCfgChange, PmxPDXMLFormatterFFormat, PmxPDXMLFormatterFGetHeader,
                         PmxPDXMLFormatterFGetTrailer, PmxBindI18Msg);
    if (argc != 2 || !PmxOpenToolkit(argv[1])) return 1;
    PmxObject* logger = PmxGetObject("app", NULL);
    PmxLogDebugMin(logger, NULL, NULL, 0, "%1$d pots", PMX_INT, 4, PMX_END);
    PmxReleaseObject(logger);
    PmxCloseToolkit();
    return 0;
}
"""
OWN_FORMATTER = """app.className = pmx_basiclogger
app.level = DEBUG_MIN
app.listenerNames = console
console.className = pmx_consolehandler
console.formatterName = own
own.className = own
"""


def run(*words, status=0, **how):
    done = subprocess.run([*map(str, words)], capture_output=True, text=True, timeout=120, check=False, **how)
    if done.returncode != status:
        raise AssertionError(done)
    return done.stdout + done.stderr


def needed(program):
    return set(re.findall(r"\(NEEDED\).*\[(.+)\]", run("readelf", "-dW", program)))


class ApplicationsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        root = pathlib.Path(scratch.name, "root")
        run("cmake", "--install", BUILD, "--prefix", "/usr/local", env={**os.environ, "DESTDIR": str(root)})
        cls.prefix = (root / "usr/local").rename(pathlib.Path(scratch.name, "moved"))  # found wherever it is
        cls.lib = cls.prefix / "lib"
        cls.env = {**os.environ, "PKG_CONFIG_PATH": str(cls.lib / "pkgconfig"), "LD_LIBRARY_PATH": str(cls.lib)}

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.here = pathlib.Path(scratch.name, "project")

    def copy(self, project):
        shutil.copytree(SOURCES / "examples" / project, self.here)

    def flags(self, *options):
        return run("pkg-config", *options, "pmxlog", "velguid", env=self.env).split()

    def test_the_names_that_leave_are_those_of_the_headers(self):
        declared = {library: set() for library in LIBRARIES}
        for header in (self.prefix / "include/velguid").glob("*.h"):
            library = "libvelguid.so.1" if "guid" in header.name else "libpmxlog.so.1"
            if header.name != "pmx_log_inline.h":  # it declares the same calls once more
                text = without_comments(header.read_text())
                declared[library] |= {name for name, _ in DECLARATION.findall(text)} | set(DATA.findall(text))
        for library, node in LIBRARIES.items():
            shown = run("nm", "-D", "--defined-only", self.lib / library)
            names = {line.split()[2] for line in shown.splitlines()} - {node}
            self.assertEqual(names, {f"{name}@@{node}" for name in declared[library]})

    def test_the_libraries_need_libc_alone(self):
        for library in LIBRARIES:
            dynamic = run("readelf", "-dW", self.lib / library)
            self.assertEqual(re.findall(r"SONAME.*\[(.+)\]", dynamic), [library])
            self.assertEqual(needed(self.lib / library), {"libc.so.6"})
            for wrong in "TEXTREL", "RUNPATH", "RPATH":
                self.assertNotIn(wrong, dynamic)

    def test_an_internal_name_does_not_link(self):
        main = "int main(void) {{ extern void {0}(void); {0}(); }}"
        for name, status in ("PmxCloseToolkit", 0), ("vel_guid_init", 0), ("CX_INTERNAL_TRACE_INDENT", 1), ("pmxmsg", 1):
            shown = run("cc", "-w", "-xc", "-", "-o", "/dev/null", *self.flags("--libs"), status=status,
                        input=main.format(name))
            self.assertEqual(f"undefined reference to `{name}'" in shown, bool(status), shown)

    def test_operations_are_known_by_their_addresses_in_the_program(self):
        source, program = self.here.with_suffix(".c"), self.here.with_suffix("")
        source.write_text(OPERATIONS)
        properties = self.here.with_suffix(".properties")
        properties.write_text(OWN_FORMATTER)
        for form in ["-fno-pic", "-no-pie"], ["-fPIE", "-pie"]:
            run("cc", *form, source, "-o", program, *self.flags("--cflags", "--libs"))
            shown = run(program, properties, env=self.env)
            self.assertEqual(re.findall(r"\d \w+s\b", shown), ["3 cups", "4 pots"], shown)

    def test_the_c_project(self):
        self.copy("c-project")
        static = " ".join(["-Wl,-Bstatic", *self.flags("--static", "--libs"), "-Wl,-Bdynamic"])
        (self.here / "VELGUID").write_bytes(b"This is the Velmar GUID file do not change or delete.\n" + bytes(range(16)))
        known = r"[^|]+\|NITJB0003I Run %s begins on host %s\.\n"
        hosts = {"true": r"[^|]+\|NITJB0001W This host[^\n]+\n" + known % (GUID, "unknown"),
                 "cp VELGUID /etc/": known % (GUID, r"\.".join(f"{byte:02x}" for byte in range(16)))}
        for words, libraries in ((), {"libc.so.6", *LIBRARIES}), ([f"LDLIBS={static}"], {"libc.so.6"}):
            run("make", "-B", f"CFLAGS=-O2 {WARNINGS}", *words, cwd=self.here, env=self.env)
            self.assertEqual(needed(self.here / "nightly"), libraries)
            for prepare, output in hosts.items():
                shown = run(SCRATCH_HOST, "sh", "-c", f"{prepare}; ./nightly nightly.properties", cwd=self.here,
                            env=self.env)
                self.assertRegex(shown, f"^{output}$")

    def test_the_cpp_project(self):
        self.copy("cpp-project")
        output = r"[^|]+\|ORDSV0001I Order A-1001 is (GUID)\.\n[^|]+\|ORDSV0001I Order A-1002 is (?!\1)GUID\.\n" \
            r"[^|]+\|ORDSV0001I Order A-1001 is \1\.\nLogged by orders\.\n".replace("GUID", GUID.replace("(", "(?:"))
        for form, libraries in ("OFF", set(LIBRARIES)), ("ON", set()):
            build = self.here / form
            run("cmake", "-S", self.here, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
                f"-DSTATIC_LIBRARIES={form}", f"-DCMAKE_CXX_FLAGS={WARNINGS}")
            run("cmake", "--build", build)
            self.assertEqual(needed(build / "orders") & set(LIBRARIES), libraries)
            self.assertRegex(run(build / "orders", self.here / "orders.properties"), f"^{output}$")
            self.assertIn("could not read", run(build / "orders", "/none", status=1))


if __name__ == "__main__":
    unittest.main()
