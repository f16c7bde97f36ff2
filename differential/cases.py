"""Files of property lists: random ones, handmade ones, and damaged ones."""

import dataclasses
import plistlib

import canonical
import values
from binary_writer import BinaryWriter, assembled
from openstep_writer import NEXTSTEP, OpenStepWriter
from xml_writer import XmlWriter

UNKNOWN = object()


@dataclasses.dataclass
class Case:
    name: str
    form: str  # "binary", "xml" or "openstep"
    contents: bytes
    value: object = UNKNOWN  # What the file was written to say, where that is known.
    is_damaged: bool = False


def binary(random):
    value = values.Values(random, values.BINARY).top()
    return Case("binary", "binary", BinaryWriter(random).write(value), value)


def xml(random):
    value = values.Values(random, values.XML, is_for_xml=True).top()
    return Case("xml", "xml", XmlWriter(random).write(value), value)


def openstep(random):
    value = values.Values(random, values.OPENSTEP).top()
    return Case("openstep", "openstep", OpenStepWriter(random).write(value), value)


def plistlib_binary(random):
    value = values.Values(random, values.XML, is_for_xml=True).top()
    # It writes zeros that differ in their sign alone as one object.
    while any(node == canonical.real(-0.0) for node in canonical.nodes(value)):
        value = values.Values(random, values.XML, is_for_xml=True).top()
    return Case("plistlib-binary", "binary",
                plistlib.dumps(canonical.to_plistlib(value), fmt=plistlib.FMT_BINARY, sort_keys=False), value)


def plistlib_xml(random):
    value = values.Values(random, [kind for kind in values.XML if kind != "uid"], is_for_xml=True).top()
    return Case("plistlib-xml", "xml",
                plistlib.dumps(canonical.to_plistlib(value), fmt=plistlib.FMT_XML, sort_keys=False), value)


MAKERS = [binary] * 6 + [xml] * 4 + [openstep] * 3 + [plistlib_binary, plistlib_xml]


def damaged(random):
    case = random.choice([maker for maker in MAKERS if maker is not openstep] + [openstep] * 3)(random)
    contents = bytearray(case.contents)
    for _ in range(random.choice([1, 1, 1, 2, 3])):
        damage(random, contents, case.form)
    return Case("damaged-" + case.name, case.form, bytes(contents), UNKNOWN, True)


def damage(random, contents, form):
    if not contents:
        return
    # In a binary file the trailer decides the most.
    first = max(0, len(contents) - 32) if form == "binary" and random.random() < 0.25 else 0
    place = random.randrange(first, len(contents))
    way = random.randrange(5)
    if way == 0:
        contents[place] ^= 1 << random.randrange(8)
    elif way == 1:
        contents[place] = random.randrange(256)
    elif way == 2:
        del contents[place:place + random.choice([1, 1, 2, 5])]
    elif way == 3:
        contents[place:place] = random.randbytes(random.choice([1, 1, 2, 5]))
    else:
        del contents[place:]


def arrays_inside_one_another(levels):
    references = [bytes([0xA1]) + (level + 1).to_bytes(4, "big") for level in range(levels - 1)]
    return assembled([*references, b"\xa0"], 4)


def shared_references(levels):
    """Each array holds the next one twice: 2 to the power of `levels - 1` ways lead to the last."""
    references = [bytes([0xA2]) + (level + 1).to_bytes(4, "big") * 2 for level in range(levels - 1)]
    return assembled([*references, b"\xa0"], 4)


def nested(levels):
    value = {"array": []}
    for _ in range(levels - 1):
        value = {"array": [value]}
    return value


def handmade():
    """The corners of the formats, by name."""
    deep = {levels: nested(levels) for levels in (2, 511, 512)}
    yield Case("self-reference", "binary", assembled([b"\xa1\x00"], 1))
    yield Case("cycle-of-two", "binary", assembled([b"\xa1\x01", b"\xa1\x00"], 1))
    yield Case("dictionary-in-itself", "binary", assembled([b"\xd1\x01\x00", b"\x51a"], 1))
    yield Case("key-is-an-integer", "binary", assembled([b"\xd1\x01\x01", b"\x10\x05"], 1))
    yield Case("key-is-null", "binary", assembled([b"\xd1\x01\x01", b"\x00"], 1))
    yield Case("ascii-above-127", "binary", assembled([b"\x51\xe9"], 1))
    yield Case("half-a-pair", "binary", assembled([b"\x61\xd8\x00"], 1))
    yield Case("wide-integer-beyond-64-bits", "binary", assembled([b"\x14" + b"\1" + bytes(15)], 1))
    yield Case("integer-of-32-bytes", "binary", assembled([b"\x15" + bytes(32)], 1))
    yield Case("date-of-4-bytes", "binary", assembled([b"\x32" + bytes(4)], 1))
    yield Case("date-is-no-number", "binary", assembled([b"\x33" + bytes.fromhex("7ff8000000000000")], 1),
               {"date": "7ff8000000000000"})
    yield Case("hidden-value-is-missing", "binary", assembled([b"\xd2\x01\x01\x09\x02", b"\x51a", b"\x09"], 1),
               {"dictionary": [["a", True]]}, is_damaged=True)
    yield Case("fill", "binary", assembled([b"\x0f"], 1))
    yield Case("url", "binary", assembled([b"\x0c\x51a"], 1))
    yield Case("ordered-set", "binary", assembled([b"\xb0"], 1))
    yield Case("count-is-negative", "binary", assembled([b"\x4f\x13" + b"\xff" * 8], 1))
    yield Case("count-is-huge", "binary", assembled([b"\xaf\x13\x10" + bytes(7)], 1))
    yield Case("reference-beyond", "binary", assembled([b"\xa1\x07"], 1))
    yield Case("version-15", "binary", assembled([b"\x09"], 1).replace(b"bplist00", b"bplist15"))
    yield Case("version-01", "binary", assembled([b"\x09"], 1).replace(b"bplist00", b"bplist01"))
    yield Case("shared", "binary", shared_references(12))
    for levels, value in deep.items():
        yield Case(f"binary-{levels}-levels", "binary", arrays_inside_one_another(levels), value)
        yield Case(f"xml-{levels}-levels", "xml", b"<array>" * levels + b"</array>" * levels, value)
        yield Case(f"openstep-{levels}-levels", "openstep", b"(" * levels + b")" * levels, value)
    yield Case("binary-513-levels", "binary", arrays_inside_one_another(513))
    yield Case("xml-513-levels", "xml", b"<array>" * 513 + b"</array>" * 513)
    yield Case("openstep-513-levels", "openstep", b"(" * 513 + b")" * 513)
    yield from handmade_texts()


def handmade_texts():
    a = {"text": "a"}
    dictionary = {"dictionary": [["a", {"text": "b"}]]}
    for name, contents, value in (
            ("cr-lf", b'<?xml version="1.0"?><plist><string>a\r\nb</string></plist>', {"text": "a\nb"}),
            ("reference-to-last", b'<?xml version="1.0"?><plist><string>a&#x10ffff;</string></plist>',
             {"text": "a\U0010ffff"}),
            ("no-plist-element", b"<string>a</string>", a),
            ("repeated-key", b"<dict><key>a</key><string>x</string><key>a</key><string>b</string></dict>", dictionary),
            ("uid-too-large", b"<dict><key>CF$UID</key><integer>4294967296</integer></dict>", UNKNOWN),
            ("uid-negative", b"<dict><key>CF$UID</key><integer>-1</integer></dict>", UNKNOWN),
            ("integer-too-large", b"<integer>18446744073709551616</integer>", UNKNOWN),
            ("integer-empty", b"<integer></integer>", UNKNOWN),
            ("real-empty", b"<real></real>", UNKNOWN),
            ("real-hexadecimal", b"<real>0x1p3</real>", UNKNOWN),
            ("real-nan", b"<real>nan</real>", UNKNOWN),
            ("date-without-z", b"<date>2001-01-01T00:00:00</date>", UNKNOWN),
            ("date-of-leap-second", b"<date>2016-12-31T23:59:60Z</date>", UNKNOWN),
            ("data-without-padding", b"<data>AAA</data>", UNKNOWN),
            ("own-entity", b'<!DOCTYPE plist [<!ENTITY e "x">]><string>&e;</string>', UNKNOWN),
            ("two-values", b"<plist><true/><true/></plist>", UNKNOWN),
            ("no-value", b"<plist></plist>", UNKNOWN),
            ("key-without-value", b"<dict><key>a</key></dict>", UNKNOWN),
            ("unknown-element", b"<plist><set/></plist>", UNKNOWN),
            ("latin-1", b'<?xml version="1.0" encoding="ISO-8859-1"?><string>\xe9</string>', UNKNOWN)):
        yield Case("xml-" + name, "xml", contents, value)
    for name, contents, value in (
            ("repeated-key", b"{a=x; a=b;}", dictionary),
            ("empty", b"", UNKNOWN),
            ("only-space", b" \n", {"dictionary": []}),
            ("number", b"17", {"text": "17"}),
            ("octal-nextstep", b'"' + b"".join(b"\\%o" % code for code in NEXTSTEP.values()) + b'"',
             {"text": "".join(NEXTSTEP)}),
            ("octal-above-377", b'"\\777"', UNKNOWN),
            ("octal-short", b'"\\1x"', {"text": "\1x"}),
            ("short-hexadecimal", b'"a\\U001"', {"text": "a\1"}),
            ("data-of-odd-length", b"<123>", UNKNOWN),
            ("gnustep-integer", b"(<*I5>)", UNKNOWN),
            ("no-comma", b"(a b)", UNKNOWN),
            ("no-semicolon", b"{a=b}", UNKNOWN),
            ("strings-file", b'/* one */\n"a" = "b";\n', dictionary),
            ("half-a-pair", b'"\\Ud800"', UNKNOWN)):
        yield Case("openstep-" + name, "openstep", contents, value)


def random_cases(random, count):
    for number in range(count):
        case = damaged(random) if number % 3 == 2 else random.choice(MAKERS)(random)
        case.name = f"{number:05}-{case.name}"
        yield case
