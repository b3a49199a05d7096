#!/usr/bin/env python3
"""image_test.py BENCH PROJECT: a job goes on to its end when the program that reads its progress goes away, and comes to
it at once when somebody ends its imager."""
import json
import os
import signal
import sys
import tempfile
from pathlib import Path

from machine import DEADLINE, Machine

failures = []


def expect(is_right, text):
    if not is_right:
        failures.append(text)
        print(text)


def start(machine, job_id, speed):
    """A job, and the process of its imager, which is ready."""
    words = machine.words(f"image {{samples}}/newspaper.job --id {job_id} --speed {speed} --timeout 120 --json")
    bench = machine.start(machine.bench, *words)
    started = json.loads(bench.stdout.readline())
    expect(started["event"] == "started" and bench.poll() is None, f"not told at once: {started}")
    return bench, started["process"]


def check_reader_that_goes_away(machine):
    bench, _ = start(machine, 470, 20)
    bench.stdout.close()
    errors = bench.stderr.read()
    expect(bench.wait(DEADLINE) == 1, f"ends with {bench.returncode}: {errors}")
    expect("done unload the plate" in errors and "cannot be written to standard output" in errors, errors)


def check_imager_that_is_ended(machine):
    for number, says in ((signal.SIGKILL, "killed by signal 9"), (signal.SIGTERM, "told to end")):
        bench, imager = start(machine, 472, 5)
        for line in bench.stdout:
            if '"plateNumber":1' in line:
                break
        os.kill(imager, number)
        output, errors = bench.communicate(timeout=DEADLINE)
        failed = [json.loads(line) for line in output.splitlines()][-2:]
        expect(bench.returncode == 1 and says in errors, f"after {number.name}: {bench.returncode} {errors}")
        expect(failed[0].get("drum") == "plate" and "error" in failed[1], f"after {number.name}: {failed}")


def main(bench, _imager, project):
    with tempfile.TemporaryDirectory() as folder:
        machine = Machine(bench, Path(project), Path(folder))
        check_reader_that_goes_away(machine)
        check_imager_that_is_ended(machine)
    print(f"{len(failures)} faults")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
