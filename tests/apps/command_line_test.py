#!/usr/bin/env python3
"""command_line_test.py BENCH PROJECT: what bench says of its commands, and of command lines that are wrong."""
import re
import sys
import tempfile
from pathlib import Path

from machine import Machine

# A wrong command line, and how what is said of it begins.
WRONG = [
    ("help chanel", "there is no command 'chanel' (did you mean 'channel'?): see 'bench --help'"),
    ("chanel --help", "there is no command 'chanel' (did you mean 'channel'?): see 'bench --help'"),
    ("channel stauts --help", "there is no command 'stauts' (did you mean 'status'?): see 'bench channel --help'"),
    ("help guid nwe", "there is no command 'nwe' (did you mean 'new'?): see 'bench guid --help'"),
    ("help image foo", "there is no command 'foo' behind 'bench image': see 'bench image --help'"),
    ("guid new --json=1", "json was given a disallowed flag override: see 'bench guid new --help'"),
    ("guid", "'bench guid' needs a command, one of new, check: see 'bench guid --help'"),
    ("--verbose", "'bench' needs a command, one of image, "),
    ("channel send --to 1 --wiat 1 x", "there is no option '--wiat' (did you mean '--wait'?): see 'bench channel send "),
    ("image x.job --speed -1", "--speed: '-1' is no number from 0.01 to 100000: see 'bench image --help'"),
    ("image x.job --speed=-inf", "--speed: '-inf' is no number from 0.01 to 100000"),
    ("image x.job --speed inf", "--speed: 'inf' is no number from 0.01 to 100000"),
    ("image x.job --id -5", "--id: '-5' is no whole number from 1 to 65534"),
    ("image x.job --id 1.5", "--id: '1.5' is no whole number from 1 to 65534"),
    ("convert nan mm --dpi 1", "'nan mm' is neither a length nor a count"),
    ("cfg set x.cfg gain nan", "VALUES have to be decimal"),
    ("prefs set LogLevel nan", "'nan' is no number"),
]

failures = []


def expect(is_right, text):
    if not is_right:
        failures.append(text)
        print(text)


def all_commands(machine, *words):
    """Each command with its help."""
    text, inner = machine.help(*words)
    yield words, text
    for word in inner:
        yield from all_commands(machine, *words, word)


def check_wrong(machine):
    for command, says in WRONG:
        exit_code, output, errors = machine.finish(*machine.words(command))
        right = exit_code == 2 and output == "" and errors.startswith("bench: " + says) and errors.count("\n") == 1
        expect(right, f"bench {command}: {exit_code} {output}{errors}")


def check_no_option_takes_what_is_no_number(machine, words, text):
    """How many options take numbers."""
    options = re.findall(r"^  (--[a-z]+) (?:N|ID|SECONDS)\b", text, re.MULTILINE)
    for option in options:
        for value in ("nan", "-nan", "NaN", "1x"):
            exit_code, _, errors = machine.finish(*words, f"{option}={value}")
            right = exit_code == 2 and f"{option}: '{value}' is no " in errors
            expect(right, f"bench {' '.join(words)} {option}={value}: {exit_code} {errors}")
    return len(options)


def check_help(machine, words, text):
    expect(machine.finish("help", *words)[1] == text, f"bench help {' '.join(words)} is not what --help tells")
    with open("/dev/full", "w", encoding="utf-8") as full:
        process = machine.start(machine.bench, *words, "--help", output=full)
        _, errors = process.communicate()
    expect(process.returncode == 1 and "cannot be written" in errors,
           f"bench {' '.join(words)} --help >/dev/full: {process.returncode} {errors}")


def check_brief(machine):
    """An empty command line is told every command, in a few lines."""
    exit_code, output, errors = machine.finish()
    expect(exit_code == 2 and output == "" and errors.count("\n") <= 16, f"bench: {exit_code} {output}{errors}")
    for command in machine.help()[1]:
        expect(command == "help" or re.search(rf"\b{command}\b", errors), f"bench does not tell of {command}: {errors}")


def check_next_steps(machine, text):
    """The commands that an engineer is told to type are there, with their options."""
    commands = set(re.findall(r"'bench (.*?)'", text.replace('\\"', '"')))
    expect(len(commands) >= 5, f"next_steps.inc names {commands}")
    for command in commands:
        words = [word for word in machine.words(command) if not word.isupper()]
        exit_code, output, errors = machine.finish(*words, "--help")
        expect(exit_code == 0 and f"Usage: bench {words[0]}" in output, f"'bench {command}': {errors}")


def main(bench, _imager, project):
    project = Path(project)
    with tempfile.TemporaryDirectory() as folder:
        machine = Machine(bench, project, Path(folder))
        check_wrong(machine)
        check_brief(machine)
        numeric = 0
        for words, text in all_commands(machine):
            check_help(machine, words, text)
            numeric += check_no_option_takes_what_is_no_number(machine, words, text)
        expect(numeric >= 20, f"only {numeric} options take numbers")
        check_next_steps(machine, (project / "apps/bench/next_steps.inc").read_text(encoding="utf-8"))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
