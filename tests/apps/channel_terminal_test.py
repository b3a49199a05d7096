#!/usr/bin/env python3
"""channel_terminal_test.py BENCH: what 'bench channel who' and 'purge' show on terminals of several widths, what they
make of what a person types there, and what they tell of a process that was stopped or killed. The terminals are pseudo
ones, the channel is the test's own."""
import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time

DEADLINE = 60  # seconds that a loaded machine may take for one command
COLOUR = re.compile(r"\x1b\[[0-9;]*m")
ID = "310"  # that nobody has

failures = []


def check(condition, what, screen):
    if not condition:
        failures.append(f"{what}:\n{screen}")


class Terminal:
    """A command on a terminal of so many columns."""

    def __init__(self, columns, *words):
        self.screen = ""
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            # the width must be there before the program asks for it
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
            os.execv(words[0], words)

    def read(self):
        """Reads on. @returns whether the command may still write."""
        if not select.select([self.terminal], [], [], DEADLINE)[0]:
            raise TimeoutError(f"nothing more comes behind:\n{self.screen}")
        try:
            data = os.read(self.terminal, 4096)
        except OSError:  # it has closed its end
            return False
        self.screen += COLOUR.sub("", data.decode()).replace("\r\n", "\n")
        return bool(data)

    def wait_for(self, text):
        while text not in self.screen:
            if not self.read():
                raise RuntimeError(f"'{text}' never came:\n{self.screen}")

    def type(self, keys):
        os.write(self.terminal, keys)

    def finish(self):
        """@returns the exit code."""
        while self.read():
            pass
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])


def bench(*words):
    return subprocess.run([BENCH, "channel", *words], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=DEADLINE)


def test_widths():
    shown = ["311", "bench", "runs", ID, "nobody has it", "2"]
    for columns in (40, 60, 80, 200):
        terminal = Terminal(columns, BENCH, "channel", "who")
        check(terminal.finish() == 0, f"{columns} columns, exit code", terminal.screen)
        lines = terminal.screen.splitlines()
        check(max(map(len, lines)) <= columns, f"{columns} columns, but a line is longer", terminal.screen)
        missing = [text for text in shown if text not in terminal.screen]
        check(not missing, f"{columns} columns, without {missing}", terminal.screen)
        is_table = re.match(r" *ID +unread +process +program +user +since +state", lines[0]) is not None
        check(columns == 80 or is_table == (columns > 80), f"{columns} columns, table or list", terminal.screen)


def test_answers():
    question = f"throw away 2 messages for ID {ID}? [y/N] "
    refusals = [("n", b"n\n", "nothing was thrown away"), ("nothing", b"\n", "nothing was thrown away"),
                ("the end", b"\x04", "nothing was thrown away"),
                ("Ctrl-C", b"\x03", "interrupted: nothing was thrown away")]
    for name, keys, told in refusals:
        terminal = Terminal(80, BENCH, "channel", "purge", "--id", ID)
        terminal.wait_for(question)
        terminal.type(keys)
        check(terminal.finish() == 1 and f"\nbench: {told}\n" in terminal.screen, f"typed {name}", terminal.screen)
    terminal = Terminal(80, BENCH, "channel", "purge", "--id", ID)
    terminal.wait_for(question)
    bench("send", "--id", "312", "--to", ID, "came later")
    terminal.type(b"y\n")
    told = f"2 messages for ID {ID} thrown away:\n  one\n  two\n"
    check(terminal.finish() == 0 and told in terminal.screen, "typed y", terminal.screen)
    left = bench("purge", "--id", ID, "--yes").stdout
    check("came later" in left, "what came after the question was asked stays", left)
    terminal = Terminal(80, BENCH, "channel", "purge", "--id", ID)
    check(terminal.finish() == 0 and "?" not in terminal.screen, "there is nothing to ask about", terminal.screen)


def who_once(text):
    """Asks who until the answer has that text."""
    end = time.monotonic() + DEADLINE
    while text not in (shown := bench("who").stdout):
        if time.monotonic() > end:
            raise TimeoutError(f"'{text}' never came:\n{shown}")
    return shown


def test_states():
    process = subprocess.Popen([BENCH, "channel", "receive", "--id", "313", "--timeout", "86400"])
    try:
        who_once("\n313       0 ")
        refusal = bench("receive", "--id", "313")
        holder = rf"bench \(process {process.pid}, since [0-9]{{2}}:[0-9]{{2}}\)"
        told = f"bench: communications ID 313 is in use by {holder}: end that or choose another ID with --id\n"
        check(refusal.returncode == 1 and re.fullmatch(told, refusal.stderr), "who holds the ID", refusal.stderr)
        process.send_signal(signal.SIGSTOP)
        who_once("  stopped by a signal\n")
    finally:
        process.kill()
        process.wait()
    who_once("  gone\n")
    bench("send", "--id", "312", "--to", "313", "too late")
    again = bench("receive", "--id", "313", "--timeout", "0")
    check("bench: 1 message that waited for ID 313 was thrown away when it was opened\n" in again.stderr, "receive",
          again.stderr)
    check("gone" not in (shown := bench("who").stdout), "somebody has had its ID since", shown)


def main():
    for words in (["who"], ["purge", "--id", ID, "--yes"]):
        alone = bench(*words)
        check(alone.returncode == 3 and "no process has the message channel open" in alone.stderr, words, alone.stderr)
    keeper = subprocess.Popen([BENCH, "channel", "receive", "--id", "311", "--timeout", "86400"])
    try:
        end = time.monotonic() + DEADLINE
        while bench("who").returncode != 0:
            if keeper.poll() is not None or time.monotonic() > end:
                raise RuntimeError("nobody opens the channel")
            time.sleep(0.05)
        for text in ("one", "two"):
            sent = bench("send", "--id", "312", "--to", ID, text)
            check(sent.returncode == 0, "a message cannot be sent", sent.stderr)
        test_widths()
        test_answers()
        test_states()
    finally:
        keeper.kill()
        keeper.wait()
    print("\n".join(failures))
    return 1 if failures else 0


BENCH = os.path.abspath(sys.argv[1])
with tempfile.TemporaryDirectory() as folder:
    os.environ.update(GAIZIOR_SHM_DIR=folder, GAIZIOR_STATE_DIR=folder, TERM="xterm", LC_ALL="C")
    os.environ.pop("NO_COLOR", None)
    sys.exit(main())
