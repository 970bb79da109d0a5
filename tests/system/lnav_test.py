#!/usr/bin/env python3
"""Has lnav read a trace by the format that is installed."""
import json
import os
import re
import subprocess
import unittest

from fleet_case import PACKAGING, FleetCase

COLUMNS = "log_line, log_time, log_level, server, process, source, message_id, log_body"


class LnavTest(FleetCase):
    def lnav(self, *words):
        formats = self.here / "config/formats"
        if not formats.exists():
            formats.mkdir(parents=True)
            (formats / "velguid").symlink_to(PACKAGING / "lnav")
        env = {**os.environ, "HOME": str(self.here), "XDG_CONFIG_HOME": str(self.here), "TERM": "dumb", "TZ": "UTC"}
        done = subprocess.run(["lnav", "-I", self.here / "config", *words], env=env, capture_output=True, text=True,
                              timeout=60, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done)
        return done.stdout

    def test_format_fits_its_samples(self):
        self.lnav("-C")

    def test_records_are_what_was_logged(self):
        process = self.log(self.here, 2, TZ="UTC")
        log = self.here / "velguid-trace.log"
        with open(log, "ab") as file:  # of another host and process
            for time, level in ("05.001", " MAX "), ("05.002", " MID "), ("05.003", "INFO "), ("05.004", "WARN "), ("05.005", "OTHER"):
                file.write(f"\x1e[2099-01-02 03:04:{time}+00:00] - {level} -  - t7 -  - APP-1 - a - b\n".encode())
        times = re.findall(r"^\x1e\[([^]]+)[+-]\d\d:\d\d\]", log.read_text(), re.M)
        rows = json.loads(self.lnav("-n", "-c", f";SELECT {COLUMNS} FROM velguid_trace", "-c", ":write-json-to -", str(log)))
        self.assertEqual([row["log_time"] for row in rows], times)
        self.assertEqual([row["log_level"] for row in rows],
                         ["error"] * 4 + ["debug", "error", "error", "trace", "debug2", "info", "warning", "notice"])
        self.assertEqual({row["process"] for row in rows[:7]}, {process})
        self.assertEqual({row["server"] for row in rows[:7]}, {os.uname().nodename.split(".")[0]})
        self.assertEqual([row["message_id"] for row in rows[2:8]],
                         ["HQXGD0001E", "HQXGD0007E", "", "HQXGD0013E", "HQXGD0013E", "APP-1"])
        self.assertEqual(rows[2]["log_body"], "HQXGD0001E Ungültig - '-Guïd<&>' ]]>\n</Message>\n\n\t<Trace> - 日本語 \"\\\"")
        self.assertEqual((rows[4]["source"], rows[4]["log_body"]), ("../common/main:main(255)", "Command line parameter is >-Guïd<"))
        self.assertEqual((rows[6]["log_body"], rows[7]["process"], rows[7]["log_body"]),
                         ("HQXGD0013E 'step':\n\n  number 2 - ]]>", None, "a - b"))


if __name__ == "__main__":
    unittest.main()
