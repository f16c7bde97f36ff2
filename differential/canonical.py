"""Property lists as canonical JSON has them (see CanonicalJson.h), and plistlib's values as such.

A value is None, a bool, or a dict with one member, whose name is its kind:
{"integer": "1"}, {"real": bits}, {"date": bits}, {"data": hex}, {"uid": "1"}, {"text": "a"},
{"array": [...]}, {"set": [...]}, {"dictionary": [[key, value], ...]}.
"""

import datetime
import json
import plistlib
import struct

EPOCH = datetime.datetime(2001, 1, 1)
MAX_NODES = 300_000
MAX_DEPTH = 5_000


class TooLarge(Exception):
    """The value unfolds to more than anyone wants to walk, or holds itself."""


def bits(number):
    return struct.pack(">d", number).hex()


def of_bits(text):
    return struct.unpack(">d", bytes.fromhex(text))[0]


def kind(value):
    return next(iter(value)) if isinstance(value, dict) else "boolean" if isinstance(value, bool) else "null"


def content(value):
    return value[kind(value)] if isinstance(value, dict) else value


def integer(number):
    return {"integer": str(number)}


def real(number):
    return {"real": bits(number)}


def date(seconds):
    return {"date": bits(seconds)}


def text(characters):
    return {"text": characters}


def is_container(value):
    return kind(value) in ("array", "set", "dictionary")


def children(value):
    if kind(value) in ("array", "set"):
        return content(value)
    return [member for _, member in content(value)] if kind(value) == "dictionary" else []


def nodes(value):
    """The value and everything in it."""
    yield value
    for child in children(value):
        yield from nodes(child)


def texts(value):
    for node in nodes(value):
        if kind(node) == "text":
            yield content(node)
        elif kind(node) == "dictionary":
            yield from (key for key, _ in content(node))


def sortable(characters):
    return characters.encode("utf-8", "surrogatepass")


def normal(value):
    """Entries in the keys' order, and a set's items in any one order."""
    if kind(value) == "dictionary":
        entries = [[key, normal(member)] for key, member in content(value)]
        return {"dictionary": sorted(entries, key=lambda entry: sortable(entry[0]))}
    if kind(value) == "array":
        return {"array": [normal(item) for item in content(value)]}
    if kind(value) == "set":
        return {"set": sorted((normal(item) for item in content(value)), key=json.dumps)}
    return value


class FromPlistlib:
    def __init__(self, value):
        self.left = MAX_NODES
        self.value = self.converted(value, 0)

    def converted(self, value, depth):
        self.left -= 1
        if self.left < 0 or depth > MAX_DEPTH:
            raise TooLarge("unfolds to too many values")
        if value is None or isinstance(value, bool):
            return value
        if isinstance(value, dict):
            # It lets keys of other kinds through.
            entries = [[str(key), self.converted(member, depth + 1)] for key, member in value.items()]
            return {"dictionary": entries}
        if isinstance(value, list):
            return {"array": [self.converted(item, depth + 1) for item in value]}
        return scalar_of_plistlib(value)


def scalar_of_plistlib(value):
    if isinstance(value, int):
        return integer(value)
    if isinstance(value, float):
        return real(value)
    if isinstance(value, datetime.datetime):
        return date((value - EPOCH) / datetime.timedelta(seconds=1))
    if isinstance(value, plistlib.UID):
        return {"uid": str(value.data)}
    if isinstance(value, bytes):
        return {"data": value.hex()}
    return text(value)


def to_plistlib(value):
    """The value for plistlib to write."""
    inner = content(value)
    makers = {
        "integer": int,
        "real": of_bits,
        "date": lambda seconds: EPOCH + datetime.timedelta(seconds=of_bits(seconds)),
        "data": bytes.fromhex,
        "uid": lambda number: plistlib.UID(int(number)),
        "array": lambda items: [to_plistlib(item) for item in items],
        "dictionary": lambda entries: {key: to_plistlib(member) for key, member in entries},
    }
    return makers[kind(value)](inner) if kind(value) in makers else inner
