"""Measures what readers do with binary files that are made to be hard on them, as the rows of a table.

Each file is read once by a process that has read a small one before, for at most 20 seconds and in at
most 2 GiB; what comes out is not walked. The environment says where the programs are, see readers.py;
those of a release build are the ones to measure.
"""

import argparse
import os
import pathlib
import plistlib
import resource
import signal
import subprocess
import sys
import tempfile
import time

import cases
from binary_writer import MAGIC, assembled, head, number, table_and_trailer

PATIENCE = 20  # seconds
MEMORY = 2 * 1024**3


def array(references, width=4):
    return head(0xA0, len(references)) + b"".join(number(reference, width) for reference in references)


def distinct_keys(count):
    references = b"".join(number(2 + key, 4) for key in reversed(range(count))) + number(1, 4) * count
    keys = [b"\x58k%07d" % key for key in range(count)]
    return assembled([head(0xD0, count) + references, b"\x09", *keys], 4)


def references_to_few(count, integers):
    references = bytes(1 + index % integers for index in range(count))
    return assembled([head(0xA0, count) + references, *(b"\x10" + number(n, 1) for n in range(integers))], 1)


def shapes():
    for levels in (18, 22, 30, 60):
        yield f"shared references, {levels} levels", cases.shared_references(levels)
    yield "an array in itself", assembled([b"\xa1\x00"], 1)
    for levels in (500, 5_000, 50_000, 200_000):
        yield f"{levels:,} arrays inside one another", cases.arrays_inside_one_another(levels)
    yield "500,000 one-byte integers", assembled(
        [array(range(1, 500_001)), *[b"\x10\x07"] * 500_000], 4)
    yield "4,192,000 references to 250 integers", references_to_few(4_192_000, 250)
    yield "200,000 keys", distinct_keys(200_000)


def programs():
    heap = f"--max-old-space-size={MEMORY // 1024**2}"
    return {
        "ours": [os.environ["KORVAN_PROPERTY_LIST"], "--read-only"],
        "plistlib": [sys.executable, "-B", __file__, "--as-reader"],
        "libplist": [os.environ["KORVAN_LIBPLIST_READER"], "--read-only"],
        "bplist-parser": [os.environ["NODE"], heap, os.environ["KORVAN_BPLIST_PARSER_READER"], "--read-only"],
        "GNUstep": [os.environ["KORVAN_GNUSTEP_READER"], "--read-only"],
    }


def limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def measured(name, command, small, file):
    """A cell of the table."""
    # Node reserves addresses by the terabyte; its heap has a limit of its own.
    process = subprocess.Popen(
        command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
        preexec_fn=None if name == "bplist-parser" else limit_memory)
    with process:
        process.stdin.write(os.fsencode(small) + b"\n")
        process.stdin.flush()
        process.stdout.readline()
        signal.setitimer(signal.ITIMER_REAL, PATIENCE)
        start = time.monotonic()
        try:
            process.stdin.write(os.fsencode(file) + b"\n")
            process.stdin.flush()
            line = process.stdout.readline()
        except TimeoutError:
            process.kill()
            return f"more than {PATIENCE} s"
        finally:
            seconds = time.monotonic() - start
            signal.setitimer(signal.ITIMER_REAL, 0)
            process.stdin.close()
    if not line:
        return "out of memory" if process.returncode == -signal.SIGABRT else "crash"
    return rounded(seconds) + (", refused" if line.startswith(b'{"error"') else "")


def rounded(seconds):
    """Two digits: the machine has other things to do too."""
    milliseconds = float(f"{seconds * 1000:.2g}")
    return f"{milliseconds / 1000:g} s" if milliseconds >= 1000 else f"{milliseconds:g} ms"


def be_a_reader():
    """plistlib as a program; see readers.Program."""
    for name in sys.stdin:
        try:
            value = plistlib.loads(pathlib.Path(name.rstrip("\n")).read_bytes())
            del value
            print("null", flush=True)
        except Exception:  # Damaged bytes come out of it as errors of many kinds.
            print('{"error": "refused"}', flush=True)


def alarmed(_signal, _frame):
    raise TimeoutError


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--as-reader", action="store_true", help=argparse.SUPPRESS)
    if parser.parse_args().as_reader:
        return be_a_reader()
    signal.signal(signal.SIGALRM, alarmed)
    commands = programs()
    print("| the file | bytes | " + " | ".join(commands) + " |")
    print("|---|---:|" + "---|" * len(commands))
    with tempfile.TemporaryDirectory() as directory:
        small, file = pathlib.Path(directory, "small"), pathlib.Path(directory, "file")
        small.write_bytes(MAGIC + b"\x09" + table_and_trailer([8], 9, 1, 1, 0))
        for what, contents in shapes():
            file.write_bytes(contents)
            cells = [measured(name, command, small, file) for name, command in commands.items()]
            print(f"| {what} | {len(contents):,} | " + " | ".join(cells) + " |", flush=True)


if __name__ == "__main__":
    main()
