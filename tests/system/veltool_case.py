"""What the tests of veltool share. Their arguments are the program and the directory of the built tables."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

VELTOOL = os.path.abspath(sys.argv.pop(1))
CODESETS = pathlib.Path(sys.argv.pop(1)).absolute()


def run(*words, text="", env=None, **how):
    done = subprocess.run([VELTOOL, *map(str, words)], input=text, capture_output=True, text=True, timeout=120,
                          check=False, env={**os.environ, **(env or {})}, **how)
    return done.returncode, done.stdout, done.stderr


class VeltoolCase(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(suffix="-scratch")  # no digit, which logs would take for a number
        self.addCleanup(scratch.cleanup)
        self.here = pathlib.Path(scratch.name)

    def check(self, status, message, *words, **how):
        """Runs veltool, holds its status and what is in its complaints, and returns its output."""
        with self.subTest(words=[str(word)[-60:] for word in words], message=message):
            done = run(*words, **how)
            self.assertEqual(done[0], status, done)
            self.assertIn(message, done[2])
            return done[1]
