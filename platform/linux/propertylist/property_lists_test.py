"""Our reader and writer of property lists against Python's plistlib and libplist's plistutil.

What our reader has read is seen through what our writer makes of it. The environment says where things are:
KORVAN_REWRITE_PROPERTY_LISTS and PLISTUTIL are programs. KORVAN_SEED, a number, decides every file.
"""

import os
import pathlib
import plistlib
import random
import re
import subprocess
import tempfile
import unittest

from random_property_lists import CONTROL_TEXTS, TEXTS, BinaryWriter, Values, XmlWriter, damaged

CASES = 250

# What libplist does not read as the format has it, or plistutil does not show, and why.
NOT_FOR_PLISTUTIL = {
    "a repeated key": "it keeps both values",
    "a byte order mark": "it takes UTF-8 without one only",
    "an empty key": "it takes the element for unfinished",
    "an empty string in UTF-16": "it refuses the file",
    "an integer in another form": "it takes digits after a zero for octal ones",
    "a negative integer of 16 bytes": "it takes it for an unsigned one",
    "a control character": "XML, in which it shows what it has read, cannot hold it",
    "a negative zero": "it shows a zero",
}
# Those of a value, by how exactly() has them.
IN_VALUES = {"a control character": r"\\x[01]", "a negative zero": r"-0\.0\b(?!e)"}


def exactly(value):
    """A text that tells true from 1 and 1 from 1.0, which Python's == does not, whatever the order of keys."""
    if isinstance(value, dict):
        return "{" + ", ".join(f"{key!r}: {exactly(value[key])}" for key in sorted(value, key=repr)) + "}"
    if isinstance(value, list):
        return "[" + ", ".join(map(exactly, value)) + "]"
    return repr(value)


def with_uids(value):
    """Others leave a UID in XML as the dictionary by which it is written."""
    if isinstance(value, dict):
        is_uid = value.keys() == {"CF$UID"} and type(value["CF$UID"]) is int
        return plistlib.UID(value["CF$UID"]) if is_uid else {key: with_uids(value[key]) for key in value}
    return [with_uids(item) for item in value] if isinstance(value, list) else value


def plistlib_reads(contents, view=with_uids):
    try:
        return exactly(view(plistlib.loads(contents)))
    except Exception:  # Damaged bytes come out of it as errors of many kinds.
        return "an error"


def ours_reads(rewritten_contents):
    return plistlib_reads(rewritten_contents, lambda dictionary: dictionary["value"])


def plistutil_reads(contents):
    # What is in the format that is asked for is only copied.
    to = "xml" if contents.startswith(b"bplist") else "bin"
    command = [os.environ["PLISTUTIL"], "-i", "-", "-o", "-", "-f", to]
    return plistlib_reads(subprocess.run(command, input=contents, capture_output=True, timeout=60).stdout)


def rewritten(files):
    """What our writer makes, in the binary format, of what our reader reads of each; None for what it refuses."""
    with tempfile.TemporaryDirectory() as directory:
        names = [pathlib.Path(directory, str(number)) for number in range(len(files))]
        for name, contents in zip(names, files):
            name.write_bytes(contents)
        lines = subprocess.run([os.environ["KORVAN_REWRITE_PROPERTY_LISTS"]], check=True, text=True,
                               input="".join(f"{name}\n" for name in names), stdout=subprocess.PIPE).stdout.splitlines()
    assert len(lines) == len(files)
    return [None if line.startswith("not ") else bytes.fromhex(line) for line in lines]


def random_case(generator, make_writer):
    """A value, a file that holds it, and what is in it that not every reader understands."""
    writer = make_writer(generator)
    has_control = make_writer is BinaryWriter and generator.random() < 0.2
    value = Values(generator, [*TEXTS, *CONTROL_TEXTS] if has_control else TEXTS).dict()
    contents = writer.write(value)
    in_value = {name for name, pattern in IN_VALUES.items() if re.search(pattern, exactly(value))}
    return value, contents, writer.peculiarities | in_value


class PropertyLists(unittest.TestCase):
    def setUp(self):
        self.random = random.Random(int(os.environ.get("KORVAN_SEED", "1")))

    def check(self, reader, read, value, contents):
        with self.subTest(reader):
            self.assertEqual(read, exactly(value), f"{reader}, of {contents!r}")

    def testAreReadAsOtherReadersReadThem(self):
        for make_writer in (BinaryWriter, XmlWriter):
            cases = [random_case(self.random, make_writer) for _ in range(CASES)]
            files = [contents for _, contents, _ in cases]
            for (value, contents, peculiarities), ours in zip(cases, rewritten(files)):
                self.check("ours", ours_reads(ours), value, contents)
                self.check("plistlib", plistlib_reads(contents), value, contents)
                if not peculiarities & NOT_FOR_PLISTUTIL.keys():
                    self.check("plistutil", plistutil_reads(contents), value, contents)

    def testAreReadAsOtherReadersReadThemIfDamaged(self):
        # The bytes by which plistlib tells the format and the encoding stay.
        for make_writer, first in ((BinaryWriter, 8), (XmlWriter, 80)):
            cases = [random_case(self.random, make_writer) for _ in range(CASES * 3)]
            files = [damaged(self.random, contents, first) for _, contents, peculiarities in cases
                     # Ours does not look at the value of the first one.
                     if "a repeated key" not in peculiarities and len(contents) > first]
            read = [(contents, ours) for contents, ours in zip(files, rewritten(files)) if ours]
            self.assertGreater(len(read), CASES / 10)
            for contents, ours in read:
                self.assertEqual(ours_reads(ours), plistlib_reads(contents), contents)

    def testAreWrittenSoThatOtherReadersReadThem(self):
        cases = [random_case(self.random, BinaryWriter) for _ in range(CASES)]
        files = [contents for _, contents, _ in cases]
        for (value, contents, peculiarities), ours in zip(cases, rewritten(files)):
            self.check("plistlib", plistlib_reads(ours), {"value": value}, contents)
            if not peculiarities & IN_VALUES.keys():
                self.check("plistutil", plistutil_reads(ours), {"value": value}, contents)


if __name__ == "__main__":
    unittest.main()
