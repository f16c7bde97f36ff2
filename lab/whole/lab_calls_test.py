"""docs/lab-calls.md says what korvan-lab does: its examples are run, its tables are compared.

The environment says where things are: KORVAN_BINARIES is the build's folder, KORVAN_SOURCE the project's.
"""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

DOCS = pathlib.Path(os.environ["KORVAN_SOURCE"]) / "docs"
PAGE = (DOCS / "lab-calls.md").read_text("utf-8")
# The table in the parser.
ENTRY_POINTS = re.findall(r'\.selector\s*=\s*"([^"]+)"',
                          (DOCS.parent / "lab/json/CallParser.cpp").read_text("utf-8"))
LAB = pathlib.Path(os.environ["KORVAN_BINARIES"]) / "lab" / "korvan-lab"
EXAMPLE = re.compile(r"```bash example\n(.*?)```\n\n```json output\n(.*?)```", re.DOTALL)
VARIES = "…"


def json_values(text):
    """The values that stand one after the other, in any number of lines."""
    decoder, values = json.JSONDecoder(), []
    text = text.strip()
    while text:
        value, end = decoder.raw_decode(text)
        values.append(value)
        text = text[end:].lstrip()
    return values


def shown(value, actual):
    """The actual value with what varies as the page's value has it."""
    if isinstance(value, dict) and isinstance(actual, dict):
        return {key: shown(value.get(key), member) for key, member in actual.items()}
    if isinstance(value, list) and isinstance(actual, list) and len(value) == len(actual):
        return [shown(*pair) for pair in zip(value, actual)]
    return value if value == VARIES and isinstance(actual, str) and actual else actual


def without_time(outcome):
    time = outcome.pop("milliseconds", 0)
    assert isinstance(time, (int, float)) and time >= 0, time
    return outcome


def table(lead):
    """The rows of the first table after the words, each a list of its cells' texts."""
    lines = PAGE[PAGE.index(lead):].split("\n\n")[1].splitlines()
    return [[cell.strip() for cell in line.strip("|").split("|")] for line in lines[2:]]


def code_in(cell):
    return re.findall(r"`([^`]+)`", cell)


def run_lab(*arguments, calls=()):
    lines = "".join(json.dumps(call) + "\n" for call in calls)
    lab = subprocess.run([LAB, *arguments], input=lines, stdout=subprocess.PIPE, text=True)
    return lab.stdout


def reason_against(call):
    """Why the line is not a call; empty when it is one."""
    answer = run_lab("call", "--container", "none", calls=[call])
    return json.loads(answer).get("reason", "") if '"invalid"' in answer else ""


class LabCallsTest(unittest.TestCase):
    maxDiff = None

    def test_examples_print_what_the_page_shows(self):
        examples = EXAMPLE.findall(PAGE)
        self.assertEqual(len(examples), PAGE.count("```bash"))
        self.assertGreaterEqual(len(examples), 3)
        for commands, output in examples:
            with self.subTest(commands), tempfile.TemporaryDirectory() as directory:
                # Where the page's commands find the programs.
                (pathlib.Path(directory) / "build").mkdir()
                (pathlib.Path(directory) / "build/release").symlink_to(os.environ["KORVAN_BINARIES"])
                result = subprocess.run(["bash", "-c", commands], cwd=directory,
                                        env={**os.environ, "TMPDIR": directory},
                                        stdout=subprocess.PIPE, check=True)
                expected = [without_time(value) for value in json_values(output)]
                actual = [without_time(value) for value in json_values(result.stdout.decode())]
                self.assertEqual(shown(expected, actual), expected)

    def test_keys_are_those_that_the_lab_takes(self):
        places = {
            "The keys of `request`:": lambda fields: {"request": fields},
            "The keys of `request.credentialIdentity`:":
                lambda fields: {"request": {"credentialIdentity": fields}},
            "The keys of `requestParameters`:": lambda fields: {"requestParameters": fields},
        }
        rows = table("`entryPoint` is the platform's selector;")
        self.assertEqual([code_in(selector) for selector, _ in rows],
                         [[selector] for selector in ENTRY_POINTS])
        for selector, keys in rows:
            self.expect_keys({"entryPoint": code_in(selector)[0]}, lambda fields: fields,
                             ["entryPoint", *code_in(keys)])
        for lead, place in places.items():
            takes = "requestParameters" if "requestParameters" in lead else "request"
            entry_point = next(code_in(selector)[0] for selector, keys in rows
                               if f"`{takes}`" in keys)
            self.expect_keys({"entryPoint": entry_point}, place,
                             [code_in(row[0])[0] for row in table(lead)])

    def expect_keys(self, call, place, keys):
        reason = reason_against({**call, **place({"?": 0})})
        self.assertTrue(reason.endswith(f" the keys are {', '.join(keys)}."), reason)

    def test_values_are_of_the_kinds_that_the_lab_takes(self):
        rows = table("`entryPoint` is the platform's selector;")
        kinds = {code_in(key)[0]: kind for key, kind, _ in table("The keys of a call:")}
        for selector, keys in rows:
            for key in code_in(keys):
                self.expect_kind({"entryPoint": code_in(selector)[0], key: True}, kinds[key])
        entry_point = "prepareInterfaceForPasskeyRegistration:"
        for key, kind, _ in table("The keys of `request`:"):
            fields = {"class": "ASPasskeyCredentialRequest", code_in(key)[0]: True}
            self.expect_kind({"entryPoint": entry_point, "request": fields}, kind)
        for key, kind, _ in table("The keys of `request.credentialIdentity`:"):
            fields = {"credentialIdentity": {code_in(key)[0]: True}}
            self.expect_kind({"entryPoint": entry_point, "request": fields}, kind)
        entry_point = "prepareCredentialListForServiceIdentifiers:requestParameters:"
        for key, kind, _ in table("The keys of `requestParameters`:"):
            fields = {code_in(key)[0]: True}
            self.expect_kind({"entryPoint": entry_point, "requestParameters": fields}, kind)

    def expect_kind(self, call, kind):
        article = "" if kind == "bytes" else "an " if kind[0] in "aeiou" else "a "
        self.assertIn(f"; it must be {article}{kind}", reason_against(call))

    def test_options_are_those_of_the_help_page(self):
        help_page = run_lab("call", "--help")
        documented = {option for row in table("## Options") for option in code_in(row[0])}
        self.assertEqual(set(re.findall(r"--[a-z-]+", " ".join(documented))),
                         set(re.findall(r"--[a-z-]+", help_page)))
        self.assertIn("docs/lab-calls.md", help_page)


if __name__ == "__main__":
    unittest.main()
