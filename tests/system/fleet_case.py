"""What the tests of logs that other programs read share: a program that logs hard texts. The arguments are that program,
veltool, and the directory of the packaging."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM, VELTOOL, PACKAGING = (pathlib.Path(sys.argv.pop(1)).absolute() for _ in range(3))

# Messages of several lines, with what ends elements and records, and one that is long.
MESSAGES = r"""$set 1
2 HQXGD0001E Ungültig - '%1$s' ]]>\n</Message>\n\n\t<Trace> - 日本語 "\\"
7 HQXGD0007E """ + "long " * 4000 + r"""
13 HQXGD0013E '%1$s':\n\n  number %2$d - ]]>"""


class FleetCase(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.here = pathlib.Path(scratch.name)
        self.catalogs = self.here / "catalogs"
        self.catalogs.mkdir()
        (self.here / "messages").write_text(MESSAGES)
        subprocess.run([VELTOOL, "catalog", "compile", "-o", self.catalogs / "guidmsgs.cat", self.here / "messages"],
                       check=True, stdout=subprocess.DEVNULL)

    def log(self, directory, count, **env):
        """The fixed records and so many with numbers, as trace and as XML; says which process it was."""
        properties = self.here / "properties"
        properties.write_text("".join(f"""{logger}.velguid.className = pmx_pdlogger
{logger}.velguid.level = DEBUG_MIN
{logger}.velguid.listenerNames = log.xml log.trace
""" for logger in ("msg", "trace")) + "".join(f"""log.{form}.className = pmx_filehandler
log.{form}.fileName = {directory}/{name}
log.{form}.maxFileBytes = {size}
log.{form}.maxFiles = 50
log.{form}.formatterName = format.{form}
format.{form}.className = {formatter}
""" for form, name, size, formatter in (("xml", "velguid.xml", 100000, "pmx_xmlformatter"),
                                  ("trace", "velguid-trace.log", 70000, "pmx_veltraceformatter"))) + "format.xml.singleProduct = true\n")
        with subprocess.Popen([PROGRAM, properties, str(count)],
                              env={**os.environ, "NLSPATH": f"{self.catalogs}/%N.cat", "LANG": "C", **env}) as writer:
            self.assertEqual(writer.wait(60), 0)
            return writer.pid
