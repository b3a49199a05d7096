#!/usr/bin/env python3
"""terminal_test.py BENCH IMAGER PROJECT: what a person sees who types bench's commands on terminals of several widths.
tmux is the terminal; its screen is compared in words. The channel and the records are the test's own."""
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

SKIPPED = 77  # as the test's caller knows it
DEADLINE = 60  # seconds that a loaded machine may take for what is waited for
WIDTHS = (40, 60, 80, 200)
CLIENT, IMAGER = "560", "561"  # of the job that is watched


class Terminal:
    """A shell in which commands are typed."""

    count = 0
    tmux = []  # the command

    def __init__(self, columns, rows=24, **environment):
        Terminal.count += 1
        self.name, self.columns, self.marks = f"terminal{Terminal.count}", columns, 0
        settings = [word for key, value in environment.items() for word in ("-e", f"{key}={value}")]
        self.tell("new-session", "-d", "-s", self.name, "-x", str(columns), "-y", str(rows), *settings,
                  "bash", "--norc", "--noprofile")
        self.wait_for(r"^\$$")

    def tell(self, *words):
        return subprocess.run([*self.tmux, *words], check=True, capture_output=True, encoding="utf-8").stdout

    def screen(self, *options):
        text = self.tell("capture-pane", "-p", *options, "-t", self.name)
        return "\n".join(row.rstrip() for row in text.splitlines()).rstrip()

    def keys(self, *keys):
        self.tell("send-keys", "-t", self.name, *keys)

    def type(self, command):
        self.tell("send-keys", "-l", "-t", self.name, command)
        self.keys("Enter")

    def wait_until(self, is_so, what):
        end = time.monotonic() + DEADLINE
        while not is_so(screen := self.screen()):
            if time.monotonic() > end:
                raise AssertionError(f"{self.columns} columns: {what} never came:\n{screen}")
            time.sleep(0.05)
        return screen

    def wait_for(self, pattern):
        """Waits until the screen shows it. @returns the screen."""
        return self.wait_until(lambda screen: re.search(pattern, screen, re.MULTILINE), pattern)

    def begin(self, command):
        """Types a command whose exit code will be told."""
        self.marks += 1
        self.type(f"{command}; echo =$((900 + {self.marks})) $?")

    def end(self, exit_code=0):
        """Waits until the command has ended. @returns the screen."""
        mark = f"={900 + self.marks} "
        screen = self.wait_for(rf"^{mark}[0-9]+\n\$\Z")
        self.check(f"{mark}{exit_code}" in screen.splitlines(), f"exit code {exit_code}")
        return screen

    def run(self, command, exit_code=0):
        self.begin(command)
        return self.end(exit_code)

    def resize(self, columns, rows):
        self.columns = columns
        self.tell("resize-window", "-t", self.name, "-x", str(columns), "-y", str(rows))

    def foreground(self):
        """The process that the shell waits for."""
        shell = self.tell("display-message", "-p", "-t", self.name, "#{pane_pid}").strip()
        return int(Path(f"/proc/{shell}/task/{shell}/children").read_text().split()[0])

    def check(self, condition, what):
        if not condition:
            raise AssertionError(f"{self.columns} columns: {what}:\n{self.screen()}")

    def wait_for_page(self):
        """Waits for a whole page of `bench watch` as wide as the terminal. @returns the screen."""
        def is_page(screen):
            head = screen.splitlines()[:1]
            return head and re.fullmatch(r"message channel  \d\d:\d\d:\d\d .*q ends", head[0]) and (
                len(head[0]) == self.columns and "imager " in screen)

        screen = self.wait_until(is_page, "a page")
        self.check(screen.count("message channel") == 1, "what was drawn before is still there")
        return screen


@contextmanager
def job_under_way(bench, project):
    """A job that needs more time than the tests do."""
    job = subprocess.Popen([bench, "image", f"{project}/samples/newspaper.job", "--id", CLIENT, "--speed", "0.3"],
                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        yield job
    finally:
        job.terminate()
        job.wait(DEADLINE)


def imager_of(job):
    return int(Path(f"/proc/{job.pid}/task/{job.pid}/children").read_text().split()[0])


def test_page_fits_and_leaves_no_trace(columns):
    terminal = Terminal(columns)
    before = terminal.run("stty -g")
    terminal.type(f"bench watch --id {IMAGER}")
    terminal.wait_for(rf"^imager {IMAGER}  exposing, plate ")
    screen = terminal.wait_for(r"%, plate" if columns < 60 else r"^ +\[█* *\] +\d+ %, plate \d of 4, [A-Z]")
    terminal.wait_for_page()
    terminal.check(("process" in screen.splitlines()[2]) == (columns >= 60), "who is there, with processes if there is room")
    for expected in (rf"^{CLIENT} .*bench  +runs$", rf"^{IMAGER} .*imager +runs$", r"^pool  .* of 200"):
        terminal.check(re.search(expected, screen, re.MULTILINE), expected)
    terminal.wait_for(r"^\d\d:\d\d:\d\d  imager 561 exposes")
    terminal.keys("q")
    after = f"{before[:before.rindex('$')]}$ bench watch --id {IMAGER}\n$"
    terminal.wait_until(lambda now: now == after, "the screen as it was")


def test_every_way_out():
    terminal = Terminal(80)
    state = terminal.run("stty -g").splitlines()[1]
    ways = {
        "q": lambda: terminal.keys("q"),
        "Ctrl-C": lambda: terminal.keys("C-c"),
        "SIGTERM": lambda: os.kill(terminal.foreground(), signal.SIGTERM),
        "SIGHUP": lambda: os.kill(terminal.foreground(), signal.SIGHUP),
    }
    for name, leave in ways.items():
        terminal.run("clear")
        terminal.begin("bench watch")
        terminal.wait_for_page()
        leave()
        screen = terminal.end()
        terminal.check("message channel" not in screen, f"{name} leaves the page there")
        terminal.check(state in terminal.run("stty -g"), f"{name} leaves the terminal in another state")


def test_stopping_and_going_on():
    terminal = Terminal(80)
    state = terminal.run("stty -g").splitlines()[1]
    terminal.type("bench watch")
    terminal.wait_for_page()
    terminal.keys("C-z")
    screen = terminal.wait_for("Stopped ")
    terminal.check("message channel" not in screen, "the page is still there")
    terminal.check(state in terminal.run("stty -g"), "another state")
    terminal.type("fg")
    terminal.wait_for_page()
    os.kill(terminal.foreground(), signal.SIGSTOP)  # no time to give the terminal back
    terminal.wait_for("Stopped ")
    terminal.type("fg")
    terminal.wait_for_page()
    terminal.keys("C-z")
    terminal.wait_for(r"Stopped(.|\n)*Stopped")
    process = terminal.foreground()
    terminal.type("kill %1")
    terminal.wait_until(lambda _: not Path(f"/proc/{process}").exists(), "the end of a job in the background")


def test_resizing():
    terminal = Terminal(80)
    terminal.type("bench watch")
    for columns, rows in ((80, 24), (40, 12), (200, 50), (60, 24)):
        terminal.resize(columns, rows)
        terminal.wait_for_page()
    terminal.resize(3, 1)
    terminal.resize(80, 24)
    terminal.wait_for_page()
    terminal.keys("q")
    terminal.wait_for(r"^\$ bench watch\n\$")


def test_plain_terminals():
    for environment, sign, is_coloured in (({}, "█", True), ({"LC_ALL": "C"}, "#", True), ({"NO_COLOR": "1"}, "█", False)):
        terminal = Terminal(80, **environment)
        terminal.type(f"bench watch --id {IMAGER}")
        screen = terminal.wait_for(rf"\[{sign}.* %, plate")
        terminal.check(screen.isascii() == (sign == "#"), f"{environment}: characters")
        has_colour = "\x1b[" in terminal.screen("-e")
        terminal.check(has_colour == is_coloured, f"{environment}: colour")


def test_failures(bench, job):
    terminal = Terminal(80)
    terminal.type(f"bench watch --id {IMAGER}")
    terminal.wait_for_page()
    refused = subprocess.run([bench, "channel", "send", "--to", IMAGER, "--id", "570", "--wait", "60", "1;4;570;0;;"],
                             stdin=subprocess.DEVNULL, capture_output=True, timeout=DEADLINE)
    terminal.check(refused.returncode == 1, f"a refusal, not {refused}")
    terminal.wait_for("refused 'unload'")
    is_red = re.compile(r"\x1b\[31m[^\n]*refused 'unload'")
    terminal.check(is_red.search(terminal.screen("-e")), "the refusal is not red")
    imager = imager_of(job)
    os.kill(imager, signal.SIGSTOP)
    terminal.wait_for(rf"^{IMAGER} .* stopped")
    os.kill(imager, signal.SIGCONT)
    terminal.wait_for(rf"^{IMAGER} .* runs")
    os.kill(imager, signal.SIGKILL)
    terminal.wait_for(rf"^imager {IMAGER}  has gone in the middle: it was exposing")


def test_commands(columns):
    terminal = Terminal(columns, 200)
    for command, expected in (
        ("channel status", "of 200 slots taken"),
        ("channel doctor", "of 200 slots"),
        ("channel who", CLIENT),
        ("error clamp", "clamp"),
        ("--help", "Subcommands:"),
        ("watch --help", "q"),
    ):
        terminal.run("clear")
        screen = terminal.run(f"bench {command}")
        terminal.check(expected in screen, f"{command}: no '{expected}'")
        terminal.check("\\x1b" not in screen.lower(), f"{command}: a sequence is shown")
        cut = [row for row in terminal.screen("-J").splitlines() if len(row) > columns and "; echo" not in row]
        must_fit = command in ("channel who", "error clamp") or (command == "channel status" and columns >= 60)
        terminal.check(not must_fit or not cut, f"{command}: rows are wider than the terminal: {cut}")


def test_image(project):
    """At all widths at the same time, with an imager each."""
    terminals = [Terminal(columns, 60) for columns in WIDTHS]
    for i, terminal in enumerate(terminals):
        terminal.begin(f"bench image {project}/samples/newspaper.job --speed 10 --id {580 + 2 * i}")
    for terminal in terminals:
        terminal.wait_for(r"expose.* \d+ %" if terminal.columns < 60 else r"expose plate \d of 4: \w+ \[#*-*\] +\d+ %")
    for terminal in terminals:
        terminal.end()
        screen = terminal.screen("-J")
        terminal.check("plates an hour" in screen, "no summary")
        terminal.check(screen.count("expose plate") == 4, "a line for each plate")
        terminal.check("[#" not in screen and "[-" not in screen, "the bar is still there")


def main(bench, imager, project):
    """@returns the exit code."""
    if not shutil.which("tmux"):
        print("tmux is missing: what terminals show is not tested")
        return 1 if os.environ.get("CI") == "true" else SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        places = {name: os.path.join(folder, name) for name in ("names", "records", "registry")}
        os.mkdir(places["names"])
        os.environ.update(GAIZIOR_SHM_DIR=places["names"], GAIZIOR_STATE_DIR=places["records"],
                          GAIZIOR_REGISTRY_DIR=places["registry"], LC_ALL="C.UTF-8", PS1="$ ",
                          PATH=f"{Path(bench).parent}{os.pathsep}{os.environ['PATH']}")
        for variable in ("NO_COLOR", "TMUX", "PROMPT_COMMAND"):
            os.environ.pop(variable, None)
        Terminal.tmux = ["tmux", "-u", "-S", os.path.join(folder, "socket"), "-f", os.devnull]
        try:
            with job_under_way(bench, project) as job:
                for columns in WIDTHS:
                    test_page_fits_and_leaves_no_trace(columns)
                    test_commands(columns)
                test_every_way_out()
                test_stopping_and_going_on()
                test_resizing()
                test_plain_terminals()
                test_failures(bench, job)
            test_image(project)
        finally:
            subprocess.run([*Terminal.tmux, "kill-server"], check=False)
    return 0


if __name__ == "__main__":
    sys.exit(main(*(os.path.abspath(word) for word in sys.argv[1:])))
