"""Our reader and writer of property lists against other people's readers.

`reading`: random, handmade and damaged files. Where ours and another reader both accept a file, they
must read the same; and what one of them refuses or reads otherwise must be of a known kind, see
disagreements.py. Where it is known what a file was written to say, ours must read just that.

`writing`: what ours writes is read back by all of them under the same rule.

A file that breaks the rule is kept and named. The environment says where the programs are, see
readers.py.
"""

import argparse
import collections
import pathlib
import random
import shutil
import sys
import tempfile

import canonical
import cases
import disagreements
import readers
import values

# Values are walked by recursion, and are up to 512 levels deep in a text of two levels each.
sys.setrecursionlimit(20_000)


def differences(ours, theirs):
    """Pairs of what differs, as deep inside as it can be told."""
    kind = canonical.kind(ours)
    if kind != canonical.kind(theirs) or not canonical.is_container(ours):
        return [] if ours == theirs and type(ours) is type(theirs) else [(ours, theirs)]
    left, right = canonical.content(ours), canonical.content(theirs)
    if len(left) != len(right):
        return [(ours, theirs)]
    if kind == "dictionary" and [key for key, _ in left] != [key for key, _ in right]:
        return [(ours, theirs)]
    pairs = zip(canonical.children(ours), canonical.children(theirs))
    return [difference for pair in pairs for difference in differences(*pair)]


def disagreements_of(case, reader, ours, theirs):
    if readers.is_refusal(ours) and readers.is_refusal(theirs):
        return []
    if readers.is_refusal(ours) or readers.is_refusal(theirs):
        return [disagreements.Disagreement(case, reader, ours, theirs)]
    pairs = differences(canonical.normal(ours), canonical.normal(theirs))
    return [disagreements.Disagreement(case, reader, *pair) for pair in pairs]


class Comparison:
    """Counts what is of a known kind, and collects what is not."""

    def __init__(self):
        self.counts = collections.Counter()
        self.unknown = []

    def add(self, case, reader, ours, theirs):
        for disagreement in disagreements_of(case, reader, ours, theirs):
            known = disagreements.kind_of(disagreement)
            if known is None:
                self.unknown.append(disagreement)
            else:
                self.counts[reader, known] += 1

    def read(self, all_cases, directory):
        files = [directory / case.name for case in all_cases]
        for file, case in zip(files, all_cases):
            file.write_bytes(case.contents)
        others = readers.readers()
        ours = others.pop("ours").read(files)
        for case, value in zip(all_cases, ours):
            if case.value is not cases.UNKNOWN:
                self.add(case, "written", value, case.value)
        for name, reader in others.items():
            known = [place for place, case in enumerate(all_cases) if disagreements.knows_format(name, case)]
            for place, theirs in zip(known, reader.read([files[place] for place in known])):
                self.add(all_cases[place], name, ours[place], theirs)


def files_to_read(generator, count):
    return [*cases.handmade(), *cases.random_cases(generator, count)]


def files_we_write(generator, count):
    kinds = [kind for kind in values.BINARY if kind not in ("null", "set")]
    written = [values.Values(generator, kinds).dictionary(3) for _ in range(count)]
    return [cases.Case(f"{number:05}-ours", "binary", contents, value)
            for number, (value, contents) in enumerate(zip(written, readers.binary_encodings(written)))]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("what", choices=["reading", "writing"])
    parser.add_argument("--cases", type=int, default=2_000, help="random files (default: %(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="decides every file (default: %(default)s)")
    arguments = parser.parse_args()
    print(f"{arguments.what}, seed {arguments.seed}, {arguments.cases} cases")
    make = {"reading": files_to_read, "writing": files_we_write}[arguments.what]
    all_cases = make(random.Random(arguments.seed), arguments.cases)
    directory = pathlib.Path(tempfile.mkdtemp(prefix="korvan-differential-"))
    comparison = Comparison()
    try:
        comparison.read(all_cases, directory)
    finally:
        keep_only(directory, {disagreement.case.name for disagreement in comparison.unknown})
    return report(comparison, directory)


def keep_only(directory, names):
    for file in directory.iterdir():
        if file.name not in names:
            file.unlink()
    if not names:
        shutil.rmtree(directory)


def report(comparison, directory):
    for (name, known), count in sorted(comparison.counts.items()):
        print(f"{count:6}  {name}: {known}")
    for disagreement in comparison.unknown:
        print(f"{directory / disagreement.case.name}: {disagreement}")
    if comparison.unknown:
        print(f"{len(comparison.unknown)} disagreements are of no known kind.")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
