#!/usr/bin/env python3
"""json_schema_test.py BENCH IMAGER PROJECT: what bench writes with --json holds against the schemas, which are those that
docs/json.md documents, for every command that has --json; so do failures. The commands run with a channel, records and
preferences of their own."""
import json
import os
import re
import signal
import sys
import tempfile
import time
from pathlib import Path

from machine import DEADLINE, Machine

SKIPPED = 77  # as the test's caller knows it


class Row:
    """A command line, without --json, and what it is to write: at least one line of its command's schema, and an error
    where it fails. `lines`: how many of the schema, None for one or more. `stop`: Ctrl-C ends it once it has written.
    `meanwhile`: a command that is repeated until it ends. `again`: it is repeated until it ends with `exit`."""

    def __init__(self, schema, command, exit=0, lines=None, stop=False, meanwhile=None, again=False):
        self.schema, self.command, self.exit, self.lines = schema, command, exit, lines
        self.stop, self.meanwhile, self.again = stop, meanwhile, again


# In the order in which they run. The imager 501 is there, the imager 506 hangs; {files} is a folder of the test's own.
ROWS = [
    Row("bench-image", "image {samples}/newspaper.job --id 504 --speed 100000 --timeout 120"),
    Row("bench-image", "image {files}/nowhere.job --timeout 120", exit=3, lines=0),
    Row("bench-image", "image {samples}/newspaper.job --id 504 --imager {files}/engine.log --timeout 120", exit=1, lines=1),
    Row("bench-image-check", "image {samples}/newspaper.job --check", lines=1),
    Row("bench-image-check", "image {files}/engine.log --check", exit=2, lines=1),
    Row("bench-image-dry-run", "image {samples}/newspaper.job --dry-run", lines=1),
    Row("bench-plates", "plates {samples}/pressroom.plates"),
    Row("bench-imager-threads", "imager threads --id 501", again=True),
    Row("bench-imager-threads", "imager threads --id 506", exit=1, again=True),
    Row("bench-imager-start", "imager start --id 509 --speed 1000 --timeout 120"),
    Row("bench-imager-status", "imager status --id 509 --timeout 120"),
    Row("bench-imager-unload", "imager unload --id 509 --timeout 120", exit=1, lines=0),
    Row("bench-imager-load", "imager load --id 509 {samples}/newspaper.job --timeout 120"),
    Row("bench-imager-expose", "imager expose --id 509 {samples}/newspaper.job --plate 2 --timeout 120"),
    Row("bench-imager-status", "imager status --id 509 --timeout 120"),
    Row("bench-imager-unload", "imager unload --id 509 --timeout 120"),
    Row("bench-channel-send", 'channel send --to 509 --id 508 --wait 60 "1;4;508;0;;"', exit=1),
    Row("bench-imager-stop", "imager stop --id 509 --timeout 120"),
    Row("bench-error", "error clamp"),
    Row("bench-error", "error 57 0x20000005 0xA314"),
    Row("bench-error", "error no such words", exit=3, lines=0),
    Row("bench-convert", "convert 25.4mm --dpi 2400"),
    Row("bench-guid-new", "guid new"),
    Row("bench-guid-check", "guid check 0c1d5b1e-8d4c-4f7e-9a51-6b1f0a3c2d77"),
    Row("bench-guid-check", "guid check {{x}}", exit=1, lines=0),
    Row("bench-log", "log {files}/engine.log", lines=2),
    Row("bench-history-list", "history list {records}/imager-505.history", lines=4),
    Row("bench-history-follow", "history follow {records}/imager-505.history --last 2", lines=2, stop=True),
    Row("bench-ini-set", "ini set {files}/a.ini mail subject Help"),
    Row("bench-ini-get", "ini get {files}/a.ini mail subject"),
    Row("bench-ini-list", "ini list {files}/a.ini"),
    Row("bench-ini-encode", "ini encode {files}/a.ini {files}/b.ini"),
    Row("bench-ini-decode", "ini decode {files}/b.ini"),
    Row("bench-ini-decode", "ini decode {files}/b.ini {files}/c.ini"),
    Row("bench-cfg-set", "cfg set {files}/a.cfg gain 1.25 -2"),
    Row("bench-cfg-get", "cfg get {files}/a.cfg gain --count 2"),
    Row("bench-prefs-set", "prefs set LogLevel 10"),
    Row("bench-prefs-set", "prefs set Owner Anna --machine"),
    Row("bench-prefs-get", "prefs get Owner"),
    Row("bench-prefs-list", "prefs list"),
    Row("bench-channel-doctor", "channel doctor"),
    Row("bench-channel-send", 'channel send --to 501 --id 502 --wait 60 "1;1;502;0;;"'),
    Row("bench-channel-receive", "channel receive --id 503 --timeout 60", meanwhile="channel send --to 503 hello"),
    Row("bench-channel-watch", "channel watch", stop=True, meanwhile="channel send --to 507 '1;1;502;0;;'"),
    Row("bench-watch", "watch", stop=True, meanwhile="channel send --to 507 hello"),
    Row("bench-channel-doctor", "channel doctor"),  # finds that nobody has the ID 507
    Row("bench-channel-status", "channel status"),
    Row("bench-channel-who", "channel who"),
    Row("bench-channel-purge", "channel purge --id 507 --yes"),
    Row("bench-channel-purge", "channel purge --id 501 --yes", exit=1, lines=0),
]

failures = []


def complain(text):
    failures.append(text)
    print(text)


def load_schemas(folder):
    return {path.stem: json.loads(path.read_text()) for path in sorted(folder.glob("*.json"))}


def run(machine, row):
    """The exit code and what both streams say."""
    if row.again:
        end = time.monotonic() + DEADLINE
        result = machine.finish(*machine.words(row.command), "--json")
        while result[0] != row.exit and time.monotonic() < end:
            result = machine.finish(*machine.words(row.command), "--json")
        return result
    if not (row.stop or row.meanwhile):
        return machine.finish(*machine.words(row.command), "--json")
    return run_beside(machine, row)


def run_beside(machine, row):
    """The same for a row that needs something to happen while it runs."""
    path = machine.places["files"] / "output"
    with open(path, "w", encoding="utf-8") as output:
        process = machine.start(machine.bench, *machine.words(row.command), "--json", output=output)
    while process.poll() is None and path.read_text(encoding="utf-8").count("\n") < (row.lines or 1):
        machine.finish(*machine.words(row.meanwhile)) if row.meanwhile else time.sleep(0.1)
    if row.stop:
        process.send_signal(signal.SIGINT)
    _, errors = process.communicate(timeout=DEADLINE)
    return process.returncode, path.read_text(encoding="utf-8"), errors


class Checker:
    """Holds lines against schemas."""

    def __init__(self, schemas):
        import jsonschema

        store = {schema["$id"]: schema for schema in schemas.values()}
        for schema in schemas.values():
            jsonschema.Draft7Validator.check_schema(schema)
        self.validators = {
            name: jsonschema.Draft7Validator(
                schema, resolver=jsonschema.RefResolver(schema["$id"], schema, store=store))
            for name, schema in schemas.items()
        }

    def find(self, name, line):
        """What is wrong with a line; nothing when it is right."""
        try:
            value = json.loads(line, parse_constant=lambda word: complain(f"{word} is no JSON"))
        except ValueError as error:
            return f"no JSON: {error}"
        error = next(self.validators[name].iter_errors(value), None)
        return error and f"{'.'.join(map(str, error.absolute_path))}: {error.message}"


def check_result(checker, row, command, result):
    exit_code, output, errors = result
    lines = output.splitlines()
    if exit_code != row.exit:
        return complain(f"{command}: ends with {exit_code}, expected {row.exit}: {output}{errors}")
    if exit_code != 0:
        check_error(checker, command, exit_code, lines.pop() if lines else "", errors)
    if (row.lines is None and not lines) or (row.lines is not None and len(lines) != row.lines):
        complain(f"{command}: {len(lines)} lines, expected {row.lines or 'some'}: {output}{errors}")
    for line in lines:
        if fault := checker.find(row.schema, line):
            complain(f"{command}: {fault}, in {line}")
    return None


def check_error(checker, command, exit_code, line, errors):
    """Both streams tell the same failure."""
    if fault := checker.find("bench-error-object", line):
        return complain(f"{command}: {fault}, in {line}")
    error = json.loads(line)["error"]
    if error["exit"] != exit_code:
        complain(f"{command}: ends with {exit_code}, the error says {error['exit']}")
    if "bench: " + error["text"] not in errors.splitlines():
        complain(f"{command}: the error says {error['text']}, standard error {errors}")
    return None


def commands_with_json(machine, *words):
    """The command lines of bench that have --json."""
    text, inner = machine.help(*words)
    found = ["-".join(("bench",) + words)] if re.search(r"^  --json ", text, re.MULTILINE) else []
    for word in inner:
        found += commands_with_json(machine, *words, word)
    return found


TIME = re.compile(r"^\^\[0-9\]\{4\}-")


def type_of(schema):
    """The type as the document writes it."""
    if "anyOf" in schema:
        return " or ".join(type_of(part) for part in schema["anyOf"])
    if "$ref" in schema:
        return "object"
    kinds = schema.get("type")
    if kinds is None:
        kinds = sorted({"null" if value is None else "string" for value in schema["enum"]}, reverse=True)
    kinds = [kinds] if isinstance(kinds, str) else kinds
    return " or ".join("time" if kind == "string" and TIME.match(schema.get("pattern", "")) else kind for kind in kinds)


def keys_of(schema, schemas, prefix=""):
    """The keys that a schema allows, as the document writes them, with their types. Objects that have a schema of their
    own are documented apart."""
    keys = {}
    for part in [schema] + [part for kind in ("allOf", "oneOf", "anyOf") for part in schema.get(kind, [])]:
        if "$ref" in part:
            keys |= keys_of(schemas[part["$ref"].removesuffix(".json")], schemas, prefix)
            continue
        if part is not schema:
            keys |= keys_of(part, schemas, prefix)
            continue
        for key, value in part.get("properties", {}).items():
            keys[prefix + key] = type_of(value)
            if "$ref" not in value and "anyOf" not in value:
                keys |= keys_of(value, schemas, prefix + key + ".")
            if "$ref" not in value.get("items", {"$ref": ""}):
                keys |= keys_of(value["items"], schemas, prefix + key + "[].")
    return keys


def check_strictness(name, schema):
    """Every key is always there, and there are no others."""
    if isinstance(schema, list):
        for part in schema:
            check_strictness(name, part)
    if not isinstance(schema, dict):
        return
    keys = schema.get("properties")
    if schema.get("type") in ("object", ["object", "null"]) and isinstance(keys, dict):
        if schema.get("additionalProperties") is not False or set(schema.get("required", [])) != set(keys):
            complain(f"{name}: additionalProperties has to be false and all keys required in {list(keys)}")
    for part in schema.values():
        check_strictness(name, part)


def documented(text):
    """For each schema the keys of its table, with their types."""
    tables = {}
    for part in re.split(r"^## ", text, flags=re.MULTILINE)[1:]:
        title, _, body = part.partition("\n")
        first, *others = title.split(", ")
        words = [word.lstrip("-") for word in first.split()]
        if words[0] == "Object":
            names = [f"bench-{words[1]}-object"]
        elif words[0] == "bench":
            names = ["-".join(words)] + ["-".join(words[:-1] + [other]) for other in others]
        else:
            continue
        rows = re.findall(r"^\| `(.*?)` \| (.*?) \|(?: .*)? \| (\d+\.\d+) \|.*\|$", body, re.MULTILINE)
        if len(rows) != len(re.findall(r"^\| `", body, re.MULTILINE)):
            complain(f"docs/json.md: a row of '{title}' lacks its key, type, unit or version")
        tables |= {name: {key: kind for key, kind, _ in rows} for name in names}
    return tables


def check_documents(schemas, text):
    tables = documented(text)
    for name in sorted(set(tables) ^ set(schemas)):
        complain(f"{name}: " + ("docs/json.md has no such table" if name in schemas else "there is no such schema"))
    for name in sorted(set(tables) & set(schemas)):
        keys = keys_of(schemas[name], schemas)
        for key in sorted(set(keys) ^ set(tables[name])):
            complain(f"{name}: '{key}' is only in " + ("the schema" if key in keys else "docs/json.md"))
        for key in sorted(set(keys) & set(tables[name])):
            if keys[key] != tables[name][key]:
                complain(f"{name}: '{key}' is '{keys[key]}' in the schema and '{tables[name][key]}' in docs/json.md")


def check_coverage(machine, schemas):
    used = {row.schema for row in ROWS}
    references = set(re.findall(r'"\$ref": "([^"]*)\.json"', json.dumps(schemas)))
    for name in sorted(set(schemas) - used - references - {"bench-error-object"}):
        complain(f"{name}: no row of this test uses it")
    for name in sorted(set(commands_with_json(machine)) - used):
        complain(f"{name}: the command has --json, but no row of this test runs it")
    for name in sorted(used - set(schemas)):
        complain(f"{name}: there is no such schema")


def check_commands(machine, checker):
    for row in ROWS:
        command = "bench " + row.command
        check_result(checker, row, command, run(machine, row))
        wrong = Row(row.schema, row.command + " --nonsense", exit=2, lines=0)
        check_result(checker, wrong, command + " --nonsense", run(machine, wrong))


def prepare(machine, imager):
    (machine.places["files"] / "engine.log").write_text(
        "14:03:07.042 000 0x0a1c 0x00 ready\n\n14:03:08.000 001 0x0a1c 0x00 clamp 2 is open\n")
    return [machine.start(imager, "--id", 501),
            machine.start(imager, "--id", 506, "--hang", "outbox")]


def main(bench, imager, project):
    project = Path(project)
    schemas = load_schemas(project / "apps/schemas")
    for name, schema in schemas.items():
        check_strictness(name, schema)
        if schema["$id"] != name + ".json":
            complain(f"{name}: its $id is {schema['$id']}")
    check_documents(schemas, (project / "docs/json.md").read_text())
    checker = Checker(schemas)
    with tempfile.TemporaryDirectory() as folder:
        machine = Machine(bench, project, Path(folder))
        check_coverage(machine, schemas)
        imagers = prepare(machine, imager)
        try:
            check_commands(machine, checker)
        finally:
            machine.finish("imager", "stop", "--id", "509")  # where a row has failed
            for process in imagers:
                process.kill()
                process.communicate()
    print(f"{len(ROWS)} command lines, {len(schemas)} schemas, {len(failures)} faults")
    return 1 if failures else 0


if __name__ == "__main__":
    try:
        import jsonschema  # noqa: F401
    except ImportError:
        print("skipped: there is no python3-jsonschema")
        sys.exit(1 if os.environ.get("CI") == "true" else SKIPPED)
    sys.exit(main(*sys.argv[1:]))
