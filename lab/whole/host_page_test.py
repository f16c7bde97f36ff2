"""docs/host-protocol.md says what check-host does: its session is run, its names are compared.

The environment says where things are: KORVAN_BINARIES is the build's folder, KORVAN_SOURCE the project's.
"""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["KORVAN_SOURCE"])
BINARIES = pathlib.Path(os.environ["KORVAN_BINARIES"])
PAGE = (SOURCE / "docs/host-protocol.md").read_text("utf-8")
SESSION = re.compile(r"```bash session\n(.*?)```\n\n```output\n(.*?)```", re.DOTALL)


def check_host(*arguments):
    return subprocess.run([BINARIES / "lab/korvan-lab", "check-host", *arguments], stdout=subprocess.PIPE, text=True)


def headings():
    """As links name them."""
    texts = re.findall(r"^#+ (.*)", re.sub(r"```.*?```", "", PAGE, flags=re.DOTALL), re.MULTILINE)
    return {re.sub(r"[^\w -]", "", text.lower()).replace(" ", "-") for text in texts}


class HostPageTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)

    def test_session_prints_what_the_page_shows(self):
        # Where the page's commands find things.
        (self.directory / "build").mkdir()
        for link, target in (("build/release", BINARIES), ("tools", SOURCE / "tools"), ("docs", SOURCE / "docs")):
            (self.directory / link).symlink_to(target)
        (commands, output), = SESSION.findall(PAGE)
        session = subprocess.run(["bash", "-e", "-c", commands], cwd=self.directory, text=True,
                                 stdout=subprocess.PIPE)
        shown = ".*".join(re.escape(part) for part in output.split("…"))
        self.assertRegex(session.stdout, re.compile(f"^{shown}$", re.DOTALL))
        self.assertEqual(session.returncode, 0)
        self.assertIn("<testsuite", (self.directory / "check-host.xml").read_text("utf-8"))

    def test_names_of_checks_are_those_of_the_command(self):
        listed = re.findall(r"^(\w+\.\w+) ", check_host("--list").stdout, re.MULTILINE)
        table = PAGE[PAGE.index("| checks | |"):].split("\n\n")[0]
        self.assertEqual(set(listed), set(re.findall(r"`(\w+\.\w+)`", table)))
        self.assertTrue(listed)

    def test_checks_name_headings_of_the_page(self):
        results = check_host("--json", "--container", self.directory / "missing").stdout.splitlines()
        named = {json.loads(line)["see"] for line in results[:-1]}
        self.assertTrue(named)
        self.assertLessEqual(named, {f"docs/host-protocol.md#{heading}" for heading in headings()})

    def test_links_lead_somewhere(self):
        self.assertLessEqual(set(re.findall(r"\]\(#([\w-]+)\)", PAGE)), headings())
        for path in re.findall(r"\]\(([\w./-]+)", PAGE):
            self.assertTrue((SOURCE / "docs" / path).exists(), path)


if __name__ == "__main__":
    unittest.main()
