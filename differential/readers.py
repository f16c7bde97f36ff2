"""The readers that are compared. What each says of a file is canonical JSON, or {"error": why}."""

import json
import os
import plistlib
import selectors
import subprocess

import canonical

DIED = {"error": "died"}
TIMED_OUT = {"error": "took too long"}


def is_refusal(value):
    return isinstance(value, dict) and "error" in value


class Program:
    """A reader that is a program, which answers a line of JSON for each file's name."""

    def __init__(self, *command, patience=20):
        self.command = command
        self.patience = patience

    def read(self, files):
        """What the program says of each of the files. It is started anew after it died."""
        answers = []
        while len(answers) < len(files):
            answers += self.read_until_it_dies(files[len(answers):])
        return answers

    def read_until_it_dies(self, files):
        process = subprocess.Popen(
            self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        with process, selectors.DefaultSelector() as selector:
            selector.register(process.stdout, selectors.EVENT_READ)
            answers = []
            for file in files:
                line = self.ask(process, selector, file)
                answers.append(line)
                if line in (DIED, TIMED_OUT):
                    process.kill()
                    break
            process.stdin = self.closed(process.stdin)
        return answers

    @staticmethod
    def closed(pipe):
        try:
            pipe.close()
        except BrokenPipeError:
            pass

    def ask(self, process, selector, file):
        try:
            process.stdin.write(os.fsencode(file) + b"\n")
            process.stdin.flush()
        except BrokenPipeError:
            return DIED
        # A line comes whole, or nothing does: the program flushes after each.
        if not selector.select(self.patience):
            return TIMED_OUT
        line = process.stdout.readline()
        if not line.endswith(b"\n"):
            return DIED
        return json.loads(line.decode("utf-8", "surrogateescape"))


class Plistlib:
    """Python's own, in this process."""

    def read(self, files):
        return [self.read_one(file) for file in files]

    @staticmethod
    def read_one(file):
        try:
            return canonical.FromPlistlib(plistlib.loads(file.read_bytes())).value
        except Exception as error:  # Damaged bytes come out of it as errors of many kinds.
            return {"error": f"{type(error).__name__}: {error}"}


def readers():
    """Each reader by its name, ours first. The environment says where the programs are."""
    return {
        "ours": Program(os.environ["KORVAN_PROPERTY_LIST"]),
        "plistlib": Plistlib(),
        "libplist": Program(os.environ["KORVAN_LIBPLIST_READER"]),
        "bplist-parser": Program(os.environ["NODE"], os.environ["KORVAN_BPLIST_PARSER_READER"]),
        "GNUstep": Program(os.environ["KORVAN_GNUSTEP_READER"]),
    }


def binary_encodings(values):
    """What our writer makes of each of the values, which are dictionaries."""
    lines = "".join(json.dumps(value) + "\n" for value in values)
    output = subprocess.run([os.environ["KORVAN_PROPERTY_LIST"], "encode"], input=lines.encode(),
                            check=True, stdout=subprocess.PIPE).stdout.decode()
    return [bytes.fromhex(line) for line in output.splitlines()]
