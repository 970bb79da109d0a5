#!/usr/bin/env python3
"""Completes command lines of both programs by bash and by zsh, and holds what is offered against what the
programs' help shows. The arguments are veltool, the folder of the completions, and complete.zsh."""
import os
import pathlib
import pty
import re
import subprocess
import sys
import tempfile
import unittest

ZSH_SETUP, COMPLETIONS, VELTOOL = (pathlib.Path(sys.argv.pop()).absolute() for _ in range(3))
VELGUID_OPTIONS = {"-Create", "-Decimal", "-Guid", "-Help", "-New", "-Quiet", "-Show", "-Write"}
BASH = """
source /usr/share/bash-completion/bash_completion
source "$VEL_COMPLETIONS/${VEL_LINE%% *}"
read -ra COMP_WORDS <<<"$VEL_LINE"
[[ $VEL_LINE != *' ' ]] || COMP_WORDS+=('')
COMP_LINE=$VEL_LINE COMP_POINT=${#VEL_LINE} COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
"_${VEL_LINE%% *}" "${VEL_LINE%% *}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" 2>/dev/null
printf '%s\\n' "${COMPREPLY[@]}" >"$VEL_OFFERED"
"""


def shown(*words):
    """The names of the rows below a heading of a help text, and its long options."""
    text = subprocess.run([VELTOOL, *words, "--help"], capture_output=True, text=True, check=True).stdout
    rows = re.search(r"^(?:Nouns|Verbs):\n((?:  .*\n)+)", text, re.M)
    return set(re.findall(r"^  (\S+)", rows[1], re.M)) if rows else set(), set(
        re.findall(r"^ +(?:-\w, )?(--[\w-]+)", text, re.M))


class CompletionTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.here = pathlib.Path(scratch.name, "here")
        (self.here / "folder").mkdir(parents=True)
        (self.here / "file.msg").touch()
        self.offered = pathlib.Path(scratch.name, "offered")
        pathlib.Path(scratch.name, ".zshrc").symlink_to(ZSH_SETUP)
        self.environment = {**os.environ, "PATH": f"{VELTOOL.parent}:{os.environ['PATH']}", "TERM": "dumb",
                            "ZDOTDIR": scratch.name, "VEL_COMPLETIONS": str(COMPLETIONS), "VEL_OFFERED": self.offered}

    def complete(self, shell, line):
        self.offered.write_text("")
        how = {"cwd": self.here, "env": {**self.environment, "VEL_LINE": line}, "timeout": 60, "check": True}
        if shell == "bash":
            subprocess.run(["bash", "--norc", "-c", BASH], stdin=subprocess.DEVNULL, **how)
        else:
            terminal, of_zsh = pty.openpty()
            try:
                subprocess.run(["zsh", "-d", "-i"], stdin=of_zsh, stdout=of_zsh, stderr=of_zsh,
                               start_new_session=True, **how)
            finally:
                os.close(of_zsh)
                os.close(terminal)
        words = {word.rstrip("=/") for word in self.offered.read_text().split()}
        return {word.partition("=")[2] if word.startswith("--") and "=" in word else word for word in words}

    def check(self, line, least, not_offered=frozenset()):
        for shell in "bash", "zsh":
            with self.subTest(shell=shell, line=line):
                offered = self.complete(shell, line)
                self.assertEqual(set(least) - offered, set(), offered)
                self.assertEqual(set(not_offered) & offered, set(), offered)

    def test_all_that_help_shows_is_offered(self):
        nouns, _ = shown()
        self.assertLessEqual({"catalog", "channel", "log"}, nouns)
        self.check("veltool ", nouns, VELGUID_OPTIONS | {"file.msg"})
        for noun in nouns:
            verbs, _ = shown(noun)
            self.check(f"veltool {noun} ", verbs or {"file.msg"}, nouns)
            for command in [[noun, verb] for verb in verbs] or [[noun]]:
                self.check(f"veltool {' '.join(command)} --", shown(*command)[1] | {"--help"}, {"file.msg"})

    def test_what_was_begun_is_ended(self):
        for line, offered, not_offered in (
                ("veltool ca", {"catalog", "capture"}, {"channel"}),
                ("veltool catalog d", {"dump"}, {"check"}),
                ("veltool channel create --s", {"--size"}, {"--force", "--hold"}),
                ("veltool catalog compile file.msg -o fi", {"file.msg"}, {"folder"}),
                ("veltool codeset compile --verbose --output=fo", {"folder"}, {"file.msg"}),
                ("veltool nothing ", set(), {"file.msg", "catalog", "check"}),
                ("veltool $(touch${IFS}made) ", set(), {"catalog"}),
                ("velguid ", set(), {"catalog"}),
                ("velguid -", VELGUID_OPTIONS, set()),
                ("velguid -s", {"-Show"}, VELGUID_OPTIONS - {"-Show"}),
                ("velguid -Write -GU", {"-Guid"}, {"-Write", "-Quiet"})):
            self.check(line, offered, not_offered)
        self.assertFalse((self.here / "made").exists())


if __name__ == "__main__":
    unittest.main()
