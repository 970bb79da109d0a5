#!/usr/bin/env python3
"""Two senders and a collector, real rsyslogs on the loopback interface, with the configurations that are installed."""
import re
import shutil
import signal
import socket
import subprocess
import time
import unittest

from fleet_case import PACKAGING, FleetCase

RSYSLOG = shutil.which("rsyslogd", path="/usr/sbin:/usr/bin:/sbin")
GUIDS = {"alpha": "3c0a917e-5d1f-11d9-8a2b-000c294f1a33", "beta": "3c0a917e-5d1f-11d9-8a2b-000c294f1a34"}
LOGS = "velguid.xml", "velguid-trace.log"
PATIENCE = 20  # seconds until what does not come counts as lost


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def await_that(holds, what):
    """The files of others change without a sign to us; so it is looked often."""
    end = time.monotonic() + PATIENCE
    while not holds():
        if time.monotonic() > end:
            raise AssertionError(f"{what()} after {PATIENCE} seconds")
        time.sleep(0.02)


def written(directory, name):
    """What was logged: the numbered files, the oldest first, and the one without a number."""
    stem, extension = name.rsplit(".", 1)
    older = [path for path in directory.glob(f"{stem}*") if re.fullmatch(rf"{stem}\d+\.{extension}", path.name)]
    older.sort(key=lambda path: -int(re.search(r"\d+", path.name)[0]))
    return b"".join(path.read_bytes() for path in [*older, directory / name] if path.exists())


class RsyslogTest(FleetCase):
    def setUp(self):
        super().setUp()
        self.port = free_port()
        self.fleet = self.here / "fleet"
        self.running = {}
        self.tls = []
        self.addCleanup(self.abandon)

    def abandon(self):
        for process in self.running.values():
            process.kill()
            process.wait()

    def start(self, name, shipped, changes=()):
        """An rsyslog with a configuration that is shipped, but for its places."""
        text = (PACKAGING / "rsyslog" / shipped).read_text()
        for old, new in [*changes, ('port="2514"', f'port="{self.port}"')]:
            self.assertIn(old, text)
            text = text.replace(old, new)
        work = self.here / name
        work.mkdir(exist_ok=True)
        config = self.here / f"{name}.conf"
        config.write_text(f'global(workDirectory="{work}" localHostname="{name}")\n{text}')
        with open(self.here / f"{name}.said", "ab") as said:
            self.running[name] = subprocess.Popen([RSYSLOG, "-n", "-f", config, "-i", self.here / f"{name}.pid"],
                                                  stdout=said, stderr=said)

    def stop(self, name, how=signal.SIGTERM):
        process = self.running.pop(name)
        process.send_signal(how)
        self.assertIn(process.wait(PATIENCE), (0, -how))

    def start_collector(self):
        self.start("collector", "velguid-collector.conf", [
            *self.tls, ("/var/log/velguid-fleet", str(self.fleet)), ('port="2514"', 'port="2514" address="127.0.0.1"')])
        await_that(self.listens, lambda: "the collector does not listen")

    def start_sender(self, name):
        (self.here / f"{name}.guid").write_text(GUIDS[name] + "\n")
        (self.here / f"{name}.log").mkdir(exist_ok=True)
        self.start(name, "velguid-sender.conf", [
            *self.tls, ("/run/velguid.guid", f"{self.here}/{name}.guid"), ("/var/log/", f"{self.here}/{name}.log/"),
            ('target="logs.example.com"', 'target="127.0.0.1"'), ('resumeInterval="5"', 'resumeInterval="1"')])

    def log_at(self, name, count):
        self.log(self.here / f"{name}.log", count)

    def await_collected(self, *names):
        for name in names or GUIDS:
            for log in LOGS:
                collected = self.fleet / GUIDS[name] / name / log
                sent = written(self.here / f"{name}.log", log)
                await_that(lambda path=collected, text=sent: path.exists() and path.read_bytes() == text,
                           lambda path=collected, text=sent: f"{path} has {path.exists() and path.stat().st_size} bytes of {len(text)}")

    def test_files_arrive_as_they_are_whoever_is_away(self):
        self.start_collector()
        for name in GUIDS:
            self.start_sender(name)
            self.log_at(name, 150)
        self.await_collected()
        self.stop("collector", signal.SIGKILL)
        for name in GUIDS:
            self.log_at(name, 150)
        self.start_collector()
        self.await_collected()
        self.stop("alpha")
        self.log_at("alpha", 5)
        self.start_sender("alpha")
        self.log_at("beta", 150)
        self.await_collected()
        for name in GUIDS:  # or it has not been about files that roll over
            self.assertGreaterEqual(len(list((self.here / f"{name}.log").glob("velguid*"))), 4, name)
        self.assertEqual({oct(path.stat().st_mode & 0o777) for path in self.fleet.rglob("*")}, {"0o750", "0o640"})
        alerts = (self.fleet / "alerts.log").read_text().splitlines()
        self.assertEqual(sum("alpha velguid.xml <Message Id=\"HQXGD0007E\"" in line for line in alerts), 3)
        self.assertEqual({line.split(" ")[1] for line in alerts}, set(GUIDS.values()))

    def test_tls_keeps_others_out(self):
        for name in "host", "intruder":
            subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=logs.example.com",
                            "-keyout", self.here / f"{name}.key", "-out", self.here / f"{name}.pem"],
                           check=True, stderr=subprocess.DEVNULL)
        (self.here / "ca.pem").write_bytes((self.here / "host.pem").read_bytes())
        self.tls = [("#tls", "tls"), ("/etc/rsyslog-velguid", str(self.here))]
        self.start_collector()
        self.start_sender("alpha")
        self.log_at("alpha", 5)
        self.await_collected("alpha")
        self.tls.append((f"{self.here}/host.", f"{self.here}/intruder."))
        self.start_sender("beta")
        self.log_at("beta", 5)
        said = self.here / "collector.said"
        await_that(lambda: "authentication" in said.read_text(), said.read_text)
        self.assertEqual([path.name for path in self.fleet.iterdir() if path.is_dir()], [GUIDS["alpha"]])

    def listens(self):
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def relp(self, *messages):
        """Sends messages, each of which has been written when its acknowledgement is here."""
        with socket.create_connection(("127.0.0.1", self.port), PATIENCE) as peer:
            with peer.makefile("rb") as answers:
                commands = [("open", b"relp_version=0\nrelp_software=test\ncommands=syslog"),
                            *(("syslog", message) for message in messages)]
                for number, (command, data) in enumerate(commands, 1):
                    peer.sendall(b"%d %s %d %s\n" % (number, command.encode(), len(data), data))
                    while not answers.readline().startswith(b"%d rsp" % number):
                        pass

    def test_a_hostile_sender_stays_in_the_directory(self):
        self.start_collector()
        guid = GUIDS["alpha"]
        self.relp(*(b"<134>1 2026-11-22T00:00:00Z h velguid - - - " + text for text in (
            b"no JSON", b"@cee:{", b"@cee:[]", b'@cee:{"guid":1}', b'@cee:{"guid":"../..","host":"..","file":"..","text":"a"}',
            b'@cee:{"guid":"%s/../..","host":"/etc","file":"/etc/","text":"b"}' % guid.encode(),
            b'@cee:{"guid":"%s","host":".","file":"/x/../.bashrc","text":"\\u001b[2J HQXGD0009E\\nx"}' % guid.encode(),
            b'@cee:{"guid":"%s","host":"h\\u0000/..","file":"a\\nb","text":"c"}' % guid.encode(),
            b'@cee:{"guid":"%s","host":"%s","file":"x","text":"d"}' % (guid.encode(), b"h" * 300))))
        self.stop("collector")
        found = {str(path.relative_to(self.fleet)): path.read_bytes() for path in self.fleet.rglob("*") if path.is_file()}
        alerts = found.pop("alerts.log").decode()
        self.assertEqual(found, {"unknown/unnamed/unnamed": b"a\nb\n", f"{guid}/unnamed/unnamed": b"\x1b[2J HQXGD0009E\nx\n",
                                 f"{guid}/h/unnamed": b"c\n", f"{guid}/unnamed/x": b"d\n"})
        self.assertRegex(alerts, rf"\A\S+ {guid} unnamed unnamed #027\[2J HQXGD0009E#010x\n\Z")


if __name__ == "__main__":
    unittest.main()
