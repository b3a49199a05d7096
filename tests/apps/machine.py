"""A machine of a test's own: bench with a channel, records and preferences apart from every other process of ours."""
import os
import re
import shlex
import subprocess

DEADLINE = 120  # seconds that a loaded machine may take for one command


class Machine:
    """Runs the programs, apart from every other process of theirs."""

    def __init__(self, bench, project, folder):
        self.bench = bench
        self.places = {"samples": project / "samples", "files": folder / "files", "records": folder / "records"}
        (folder / "names").mkdir()
        for place in ("files", "records"):
            self.places[place].mkdir()
        self.environment = dict(
            os.environ,
            GAIZIOR_SHM_DIR=str(folder / "names"),
            GAIZIOR_STATE_DIR=str(folder / "records"),
            GAIZIOR_REGISTRY_DIR=str(folder / "registry"),
            LC_ALL="C",
        )

    def start(self, *words, output=subprocess.PIPE):
        return subprocess.Popen(
            [str(word) for word in words], env=self.environment, text=True, encoding="utf-8",
            stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.PIPE)

    def words(self, command):
        return [word.format(**self.places) for word in shlex.split(command)]

    def finish(self, *words):
        process = self.start(self.bench, *words)
        output, errors = process.communicate(timeout=DEADLINE)
        return process.returncode, output, errors

    def help(self, *words):
        """The help of a command, and the commands that may follow it."""
        exit_code, text, errors = self.finish(*words, "--help")
        if exit_code != 0:
            raise RuntimeError(f"{words} --help ends with {exit_code}: {errors}")
        inner = re.search(r"^Subcommands:\n(.*?)^$", text, re.MULTILINE | re.DOTALL)
        return text, re.findall(r"^  ([a-z]+) ", inner.group(1), re.MULTILINE) if inner else []
