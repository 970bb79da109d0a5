#!/usr/bin/env python3
"""Makes system calls fail beneath the runtime: each failure is told as it is, and nothing is left behind."""
import errno
import os
import subprocess
import sys
import tempfile
import unittest

# What is called; which system call fails, with what, and when; what is told. Of calls that leave a file
# handle, -1 is expected in it.
ROWS = [
    ("open", "openat", "EMFILE", "", errno.EMFILE),
    ("read", "read", "EIO", "", errno.EIO),
    ("write", "write", "ENOSPC", "", errno.ENOSPC),
    ("flush", "fsync", "EIO", "", errno.EIO),
    ("truncate", "lseek", "ESPIPE", "", errno.ESPIPE),
    ("truncate", "ftruncate", "EIO", "", errno.EIO),
    ("truncate", "fstat,newfstatat", "EIO", "", errno.EIO),
    ("close", "close", "EIO", "", errno.EIO),
    ("mkdirs", "mkdir", "EROFS", "", errno.EROFS),  # not the errno of the call that follows
    ("directory", "getdents64", "EIO", "", errno.EIO),
    ("start", "clone,clone3,fork,vfork", "EAGAIN", "", errno.EAGAIN),
    ("wait", "wait4", "EINTR", ":when=1..2", 0),
    ("cwd", "getcwd", "EACCES", "", errno.EACCES),
    ("semaphore", "semget", "ENOSPC", ":when=1", errno.ENOSPC),
    ("semaphore", "semctl", "EIDRM", ":when=1", errno.EIDRM),
    ("semaphore", "semop,semtimedop", "ENOMEM", "", errno.ENOMEM),
    ("memory", "semget", "ENOSPC", ":when=1", -252),
    ("memory", "semop,semtimedop", "ENOSPC", "", -252),
    ("memory", "shmget", "ENOMEM", ":when=1", -252),
    ("memory", "shmat", "ENOMEM", ":when=1", -252),
    ("memory", "semget", "EIDRM", ":when=2", -251),
    ("memory", "shmat", "ENOMEM", ":when=2", -251),
    ("memory", "shmctl", "EIDRM", ":when=1", -251),
    ("memory", "semctl", "EIDRM", ":when=1", -251),
]
# Only for calls on the file itself: others read, write and close, too.
ON_THE_FILE = {"open", "read", "write", "flush", "truncate", "close"}


class RuntimeFaultsTest(unittest.TestCase):
    def run_call(self, call, path, *options):
        environment = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}  # leaks cannot be sought while traced
        return subprocess.run(["strace", "-o", "/dev/null", *options, CALLS, call, path], capture_output=True,
                              text=True, timeout=60, check=False, env=environment)

    def test_each_failure_is_told(self):
        with tempfile.NamedTemporaryFile(dir="/tmp", prefix="vel_test_") as file:
            if self.run_call("cwd", file.name).returncode != 0:
                self.skipTest("processes cannot be traced here")
            for call, system_call, error, when, expected in ROWS:
                with self.subTest(call=call, fails=system_call):
                    options = ["-P", file.name] if call in ON_THE_FILE else []
                    done = self.run_call(call, file.name, *options, "-e", f"trace={system_call}", "-e",
                                         f"inject={system_call}:error={error}{when}")
                    told, handle = done.stdout.split()
                    self.assertEqual(int(told), expected, done.stderr)
                    if call in {"open", "close"}:
                        self.assertEqual(handle, "-1")


if __name__ == "__main__":
    CALLS = sys.argv.pop(1)
    unittest.main()
