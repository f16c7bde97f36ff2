"""The committed messages are today's, and other people's property lists agree with ours on them.

The environment says where things are: KORVAN_VECTORS and PLISTUTIL are programs, KORVAN_DOCS is the
directory with vectors and host-protocol.md.
"""

import base64
import json
import os
import pathlib
import plistlib
import re
import subprocess
import tempfile
import unittest

import annotated_frames

DOCS = pathlib.Path(os.environ["KORVAN_DOCS"])
VECTORS = DOCS / "vectors"
HEADER = (DOCS.parent / "channel/ProviderMessage.h").read_text("utf-8")


def words(namespace):
    """The protocol's words that the namespace of channel/ProviderMessage.h names."""
    body = re.search(rf"namespace {namespace} {{\n(.*?)}}", HEADER, re.DOTALL)[1]
    return set(re.findall(r'= "(\w+)";', body))


REQUEST_TYPES = words("provider_request_type")
ERROR_CODES = words("provider_error_code")


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout


def readable(value):
    """A property list's value as the readable form has it."""
    if isinstance(value, dict):
        return {key: readable(member) for key, member in value.items()}
    if isinstance(value, list):
        return [readable(element) for element in value]
    if isinstance(value, bytes):
        return {"data": base64.urlsafe_b64encode(value).decode().rstrip("=")}
    return value


def from_readable(value):
    if isinstance(value, dict) and value.keys() == {"data"}:
        data = value["data"]
        return base64.urlsafe_b64decode(data + "=" * (-len(data) % 4))
    if isinstance(value, dict):
        return {key: from_readable(member) for key, member in value.items()}
    if isinstance(value, list):
        return [from_readable(element) for element in value]
    return value


def contents(directory):
    """The bytes of the messages' files by their names."""
    files = (file for suffix in ("*.plist", "*.json") for file in directory.glob(suffix))
    return {file.name: file.read_bytes() for file in files}


def exactly(value):
    """A text that tells true from 1 and 1 from 1.0, which Python's == does not."""
    return json.dumps(value, sort_keys=True, indent=1)


class VectorsTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)

    def vectors(self):
        """Each body's file and the message in its readable form."""
        bodies = sorted(VECTORS.glob("*.plist"))
        self.assertTrue(bodies)
        return [(body, json.loads(body.with_suffix(".json").read_text("utf-8"))) for body in bodies]

    def shown(self, body):
        """What our reader makes of the bytes."""
        file = self.directory / "body"
        file.write_bytes(body)
        return json.loads(run(os.environ["KORVAN_VECTORS"], "show", str(file)))

    def converted(self, body, target):
        """What plistutil makes of the bytes: "xml" or "bin"."""
        source, result = self.directory / "source", self.directory / "result"
        source.write_bytes(body)
        run(os.environ["PLISTUTIL"], "-i", str(source), "-o", str(result), "-f", target)
        return result.read_bytes()

    def test_committed_files_are_what_the_program_writes(self):
        run(os.environ["KORVAN_VECTORS"], "write", str(self.directory))
        written, committed = contents(self.directory), contents(VECTORS)
        self.assertEqual(written.keys(), committed.keys(), "run tools/make-vectors")
        for name in written:
            self.assertEqual(written[name], committed[name], f"{name}: run tools/make-vectors")

    def test_page_shows_the_committed_frames(self):
        page = (DOCS / "host-protocol.md").read_text("utf-8")
        self.assertEqual(
            annotated_frames.with_current_frames(page, VECTORS), page, "run tools/make-vectors"
        )

    def test_page_links_a_message_of_every_type_and_of_every_kind_of_answer(self):
        page = (DOCS / "host-protocol.md").read_text("utf-8")
        linked = [json.loads((VECTORS / f"{name}.json").read_text("utf-8"))
                  for name in re.findall(r"\]\(vectors/([\w-]+)\.json\)", page)]
        self.assertEqual({message["type"] for message in linked if "type" in message}, REQUEST_TYPES)
        answers = [message for message in linked if "ok" in message]
        self.assertEqual({m["errorCode"] for m in answers if "errorCode" in m}, ERROR_CODES)
        for key in ("signature", "attestationObject", "showUnavailableUI"):
            self.assertTrue(any(key in answer for answer in answers), key)

    def test_page_links_each_message_where_it_is_explained(self):
        page = (DOCS / "host-protocol.md").read_text("utf-8")
        rows = [line for line in page.splitlines() if re.match(r"\| \[?`", line) and "](vectors/" in line]
        for row in rows:
            word = re.search(r"`(\w+)`", row)[1]
            for name in re.findall(r"\]\(vectors/([\w-]+)\.json\)", row):
                message = json.loads((VECTORS / f"{name}.json").read_text("utf-8"))
                self.assertIn(word, (message.get("type"), message.get("errorCode"), *message), row)
        self.assertGreaterEqual(len(rows), len(REQUEST_TYPES | ERROR_CODES))

    def test_every_type_and_every_error_code_has_a_vector(self):
        messages = [message for _, message in self.vectors()]
        self.assertEqual({m["type"] for m in messages if "type" in m}, REQUEST_TYPES)
        self.assertEqual({m["errorCode"] for m in messages if "errorCode" in m}, ERROR_CODES)

    def test_plistlib_reads_what_we_write(self):
        for body, message in self.vectors():
            with self.subTest(body.stem):
                read = plistlib.loads(body.read_bytes(), fmt=plistlib.FMT_BINARY)
                self.assertEqual(exactly(readable(read)), exactly(message))

    def test_we_read_what_plistlib_writes(self):
        for body, message in self.vectors():
            with self.subTest(body.stem):
                written = plistlib.dumps(from_readable(message), fmt=plistlib.FMT_BINARY)
                self.assertEqual(exactly(self.shown(written)), exactly(message))

    def test_plistutil_reads_what_we_write(self):
        for body, message in self.vectors():
            with self.subTest(body.stem):
                xml = self.converted(body.read_bytes(), "xml")
                read = plistlib.loads(xml, fmt=plistlib.FMT_XML)
                self.assertEqual(exactly(readable(read)), exactly(message))

    def test_we_read_what_plistutil_writes(self):
        for body, message in self.vectors():
            with self.subTest(body.stem):
                xml = plistlib.dumps(from_readable(message), fmt=plistlib.FMT_XML)
                written = self.converted(xml, "bin")
                self.assertTrue(written.startswith(annotated_frames.HEADER))
                self.assertEqual(exactly(self.shown(written)), exactly(message))


if __name__ == "__main__":
    unittest.main()
