"""Where readers are known to disagree with ours, and why. docs/property-lists.md has the same for people.

A refusal of ours that is wrong is not found by other readers, most of which take what is damaged;
it is found by the files whose value is known, which "written" stands for and which have no row here.
"""

import codecs
import dataclasses
import json
import math
import re

import canonical
from canonical import content, kind, of_bits

FORMS = {"plistlib": ("binary", "xml"), "libplist": ("binary", "xml"), "bplist-parser": ("binary",),
         "GNUstep": ("binary", "xml", "openstep")}


def knows_format(reader, case):
    return case.form in FORMS[reader]


@dataclasses.dataclass
class Disagreement:
    case: object
    reader: str
    ours: object  # The whole value when one refuses; else the part that differs.
    theirs: object

    @property
    def our_error(self):
        return error_of(self.ours)

    @property
    def their_error(self):
        return error_of(self.theirs)

    def kinds(self):
        return kind(self.ours), kind(self.theirs)

    def __str__(self):
        parts = [self.reader, self.case.name, json.dumps(self.ours)[:160], json.dumps(self.theirs)[:160]]
        return " | ".join(parts)


def error_of(value):
    return value["error"] if isinstance(value, dict) and "error" in value else None


@dataclasses.dataclass
class Known:
    """What is known of some readers, or of all when there are none."""

    what: str
    why: str
    readers: tuple
    applies: object


def kind_of(disagreement):
    """What the first row says that covers it; None when no row does."""
    for row in KNOWN:
        if disagreement.reader != "written" and (not row.readers or disagreement.reader in row.readers):
            if row.applies(disagreement):
                return row.what
    return None


# What a disagreement is about.


def document(case):
    """The characters of a text format, as well as they can be told."""
    for mark, encoding in ((codecs.BOM_UTF16_LE, "utf-16-le"), (codecs.BOM_UTF16_BE, "utf-16-be")):
        if case.contents.startswith(mark):
            return case.contents.decode(encoding, "replace")
    return case.contents.decode("utf-8", "replace")


def is_marked(case):
    return case.contents.startswith((codecs.BOM_UTF8, codecs.BOM_UTF16_LE, codecs.BOM_UTF16_BE))


def has_node(value, test):
    return any(test(node) for node in canonical.nodes(value))


def has_kind(value, name):
    return has_node(value, lambda node: kind(node) == name)


def is_binary(case):
    return case.contents.startswith(b"bplist")


def we_refuse(pattern, form):
    return lambda d: (d.our_error is not None and re.fullmatch(form, d.case.form)
                      and re.search(pattern, d.our_error))


def they_refuse(test, pattern=""):
    """They refuse with such words what `test` says of the case and our value."""
    return lambda d: (d.their_error is not None and re.search(pattern, d.their_error)
                      and test(d.case, d.ours))


def both_read(test):
    return lambda d: d.our_error is None and d.their_error is None and test(d)


def both_of(name, test):
    return both_read(lambda d: d.kinds() == (name, name) and test(content(d.ours), content(d.theirs)))


def is_beyond_datetime(node):
    # The years 1 to 9999.
    return kind(node) == "date" and not -63113904000 <= of_bits(content(node)) < 252423993600


def is_number_of(d):
    """JavaScript's number is what ours has, whichever kind it is of."""
    number = of_bits(content(d.theirs))
    if kind(d.ours) == "integer":
        return float(content(d.ours)) == number
    return canonical.bits(number) == content(d.ours) or number != number


def low_32_bits(digits):
    value = int(digits) & 0xFFFF_FFFF
    return value - 2**32 if value >= 2**31 else value


def text_without(value, characters):
    return {"text": "".join(c for c in content(value) if c not in characters)}


def repeated_names(entries):
    names = [key for key, _ in entries]
    return len(set(names)) < len(names)


def same_but_keys(character, change):
    """Keys hold the character, and what became of them is `change`."""
    def test(d):
        if d.kinds() != ("dictionary", "dictionary"):
            return False
        ours = [key for key, _ in content(d.ours)]
        return any(character in key for key in ours) and {change(key) for key in ours} == {
            key for key, _ in content(d.theirs)}
    return both_read(test)


def number_at(contents, place, width):
    return int.from_bytes(contents[place:place + width], "big")


def head_at(contents, place):
    """The marker and the count of the object there, and where its contents begin."""
    marker, count = contents[place] & 0xF0, contents[place] & 0x0F
    if count < 15:
        return marker, count, place + 1
    width = 1 << (contents[place + 1] & 0x0F)
    return marker, number_at(contents, place + 2, width), place + 2 + width


def text_at(contents, place):
    marker, count, first = head_at(contents, place)
    if marker == 0x60:
        return contents[first:first + 2 * count].decode("utf-16-be", "replace")
    return contents[first:first + count].decode("latin-1")


def has_repeated_key(case):
    """Whether a dictionary of the binary file, which ours has read, names a key twice."""
    contents, trailer = case.contents, len(case.contents) - 32
    offset_width, width = contents[trailer + 6], contents[trailer + 7]
    count, table = number_at(contents, trailer + 8, 8), number_at(contents, trailer + 24, 8)
    offsets = [number_at(contents, table + index * offset_width, offset_width) for index in range(count)]
    for offset in offsets:
        if 8 <= offset < table and contents[offset] & 0xF0 == 0xD0:
            _, entries, first = head_at(contents, offset)
            keys = [number_at(contents, first + place * width, width) for place in range(min(entries, table))]
            names = [text_at(contents, offsets[key]) for key in keys if key < count and offsets[key] < table]
            if len(set(names)) < len(names):
                return True
    return False


def has_long_counts(case):
    """Whether a count seems to be an integer of 8 bytes."""
    return case.form == "binary" and re.search(rb"[\x4f\x5f\x6f\xaf\xcf\xdf]\x13", case.contents, re.DOTALL)


HEXADECIMAL = re.compile(r"<integer>\s*[+-]?0[xX]")
LEADING_ZERO = re.compile(r"<integer>\s*[+-]?0[0-9]")
STARTS = re.compile("<\\?xml|<plist")

KNOWN = [
    Known("shared values that unfold to too many", "Nobody wants to walk them.", (),
          lambda d: "unfolds to" in (d.our_error or d.their_error or "")),

    # Bytes that ours refuses. A file that is cut or was written wrongly is not guessed at.
    *(Known(f"{what}, which ours refuses", why, (), we_refuse(pattern, "binary")) for what, pattern, why in (
        ("a trailer and a length that do not fit", "offset table|ends before its trailer",
         "Bytes are missing or too many; what the trailer says of the rest is worth nothing."),
        ("a width that no number has", "cannot be \\d+ bytes? wide", "Others take 0 bytes as the number 0."),
        ("a reference or offset outside", "there is no object|no object can be at byte",
         "Others read null, or what stands in the trailer."),
        ("another version", "does not begin with", "What version 1 and later mean is not published."),
        ("characters that are none", "ASCII string holds|half a surrogate pair",
         "Others let through what is no text, each something else."),
        ("an integer beyond 64 bits", "does not fit in 64 bits", "Nothing here could hold it."),
        ("a key that is no string", "key is not a string", "A property list's keys are strings."),
        ("a byte that begins no object", "no kind of object begins",
         "Fill bytes and reserved kinds are not values."),
        ("contents that are cut off", "contents of|a count is", "Others give what there is."),
        ("deep nesting", "more than 512 containers", "See MaxPropertyListNesting."),
        ("objects that overlap", "objects overlap",
         "Without this, few bytes stand for values of any size."),
    )),
    *(Known(f"{what}, which ours refuses", why, names, we_refuse(pattern, "xml")) for what, pattern, why, names in (
        ("what is no XML", "as XML,", "These readers have a parser of their own, which is lenient.",
         ("libplist", "GNUstep")),
        ("bytes that are not UTF-8", "is not valid UTF-",
         "Ours reads UTF-8, and UTF-16 by its mark; these take other encodings or do not look.", ()),
        ("a scalar's text that is none", "the text of this element",
         "They take what stands in front of it, or nothing, for the value.", ()),
        ("text between elements", "text stands where", "They skip it.", ()),
        ("entities that are none of XML's own", "none of XML's own", "They leave them out.", ()),
        ("a second value, or none", "a second value|holds no value", "They take the first or the last, or null.", ()),
        ("elements that do not belong there",
         "no such element|stands inside|stands outside|stands in an array|has no key|key has no|follows a key",
         "They skip them.", ()),
        ("deep nesting in XML", "more than 512 containers", "See MaxPropertyListNesting.", ()),
    )),
    *(Known(f"{what}, which ours refuses", why, ("GNUstep",), we_refuse(pattern, "openstep|binary"))
      for what, pattern, why in (
        ("deep nesting in OpenStep text", "more than 512 containers", "See MaxPropertyListNesting."),
        ("bytes that are not UTF-8 in OpenStep text", "is not valid UTF-", "GNUstep falls back to Latin-1."),
        ("an octal escape above 377", "octal escape", "GNUstep makes a character of nine bits of it."),
        ("an entry without its semicolon", "no semicolon", "GNUstep lets the last one do without."),
        ("GNUstep's own extension", "pairs of hexadecimal", "<*I5> is an integer to GNUstep alone."),
        ("marks that stand bare", "no value can begin|a key cannot begin|more follows",
         "GNUstep takes characters that must be quoted, also for a key that is not there."),
        ("half a surrogate pair in an escape", "half a surrogate pair|no hexadecimal digit",
         "GNUstep makes a string of it that is no text, and knows \\u besides \\U."),
        ("a comment or a string that does not end", "is not closed", "GNUstep takes the end for it."))),

    # Python's plistlib.
    Known("plistlib knows no sets", "They are in the binary format only.", ("plistlib",),
          they_refuse(lambda case, ours: is_binary(case) and has_kind(ours, "set"), "Invalid")),
    Known("plistlib has no dates outside the years 1 to 9999", "Python's datetime has none.", ("plistlib",),
          they_refuse(lambda case, ours: has_node(ours, is_beyond_datetime))),
    Known("plistlib tells XML by its first bytes", "It looks for <?xml or <plist; ours for an element.",
          ("plistlib",), they_refuse(lambda case, ours: not STARTS.match(document(case).lstrip("\ufeff")), "Invalid")),
    Known("plistlib knows no signed or padded hexadecimal", "Only 0x at once.", ("plistlib",),
          they_refuse(lambda case, ours: HEXADECIMAL.search(document(case)), "ValueError: invalid literal")),
    Known("plistlib's dates have microseconds", "Python's datetime has no more.", ("plistlib",),
          both_of("date", lambda ours, theirs: abs(of_bits(ours) - of_bits(theirs)) <= 1e-6)),
    Known("CF$UID in XML is a dictionary to others", "Ours reads a keyed archiver's reference, as the platform does.",
          ("plistlib", "libplist", "GNUstep"),
          both_read(lambda d: d.kinds() == ("uid", "dictionary")
                    and content(d.theirs) == [["CF$UID", {"integer": content(d.ours)}]])),

    Known("plistlib wants an encoding that it knows", "Ours goes by the bytes and not by their declaration.",
          ("plistlib",), they_refuse(lambda case, ours: case.is_damaged, "LookupError: unknown encoding")),

    # libplist.
    Known("libplist dies of a NUL in a key in UTF-16", "It asserts that the C string is as long.", ("libplist",),
          they_refuse(lambda case, ours: has_node(
              ours, lambda node: kind(node) == "dictionary"
              and any("\0" in key for key, _ in content(node))), "died")),
    Known("what stands behind a key that comes again is damaged", "Ours reads the last value alone.", (),
          they_refuse(lambda case, ours: is_binary(case) and case.is_damaged and has_repeated_key(case))),
    Known("libplist knows no null", "It has no kind for it.", ("libplist",),
          they_refuse(lambda case, ours: is_binary(case) and has_kind(ours, "null"))),
    Known("libplist's UIDs have 32 bits", "It refuses a larger one.", ("libplist",),
          they_refuse(lambda case, ours: has_node(
              ours, lambda node: kind(node) == "uid" and int(content(node)) >= 2**32))),
    Known("libplist refuses an empty string in UTF-16", "Nothing is wrong with it.", ("libplist",),
          they_refuse(lambda case, ours: is_binary(case) and "" in canonical.texts(ours))),
    Known("libplist wants a plist element", "Ours, as the platform, takes a bare value.", ("libplist",),
          they_refuse(lambda case, ours: case.form == "xml" and "<plist" not in document(case))),
    Known("libplist knows no byte order mark", "It takes UTF-8 without a mark only.", ("libplist",),
          they_refuse(lambda case, ours: case.form == "xml" and is_marked(case))),
    Known("libplist refuses empty keys in XML", "It takes the element for unfinished.", ("libplist",),
          they_refuse(lambda case, ours: case.form == "xml" and re.search("<key */>|<key></key>", document(case)))),
    Known("libplist's integers are unsigned", "A negative one and its 64 bits unsigned are the same to it.",
          ("libplist",), both_of("integer", lambda ours, theirs: int(ours) % 2**64 == int(theirs))),
    Known("libplist's integers are octal after a zero", "It reads them with strtoull.", ("libplist",),
          both_read(lambda d: d.kinds() == ("integer", "integer") and LEADING_ZERO.search(document(d.case)))),
    Known("libplist's dates are 32 bits of seconds", "And of microseconds.", ("libplist",),
          both_of("date", lambda ours, theirs: not abs(of_bits(ours)) < 2**31
                  or abs(of_bits(ours) - of_bits(theirs)) < 2e-6)),
    Known("libplist's fractions of a second count upwards", "Before 2001, too.", ("libplist",),
          both_of("date", lambda ours, theirs: of_bits(ours) < 0
                  and abs(2 * math.trunc(of_bits(ours)) - of_bits(ours) - of_bits(theirs)) < 2e-6)),
    Known("libplist's sets are arrays", "In the order of the file.", ("libplist",),
          both_read(lambda d: d.kinds() == ("set", "array"))),
    Known("libplist ends texts at a NUL", "It converts them to C strings.", ("libplist",),
          both_of("text", lambda ours, theirs: ours.split("\0")[0] == theirs)),
    Known("libplist ends keys at a NUL", "It converts them to C strings.", ("libplist",),
          same_but_keys("\0", lambda key: key.split("\0")[0])),
    Known("libplist keeps repeated keys", "It lists both; of ours the last counts.", ("libplist",),
          both_read(lambda d: d.kinds() == ("dictionary", "dictionary") and repeated_names(content(d.theirs)))),
    Known("lines that end in CR LF", "XML says that they are read as LF.", ("libplist", "GNUstep"),
          both_of("text", lambda ours, theirs: ours == theirs.replace("\r\n", "\n").replace("\r", "\n"))),

    # npm's bplist-parser.
    Known("bplist-parser's numbers are of one kind", "JavaScript's.", ("bplist-parser",),
          both_read(lambda d: d.kinds()[1] == "number" and d.kinds()[0] in ("integer", "real") and is_number_of(d))),
    Known("bplist-parser's integers have 32 bits", "It puts them together with |.", ("bplist-parser",),
          both_read(lambda d: d.kinds() == ("integer", "number")
                    and low_32_bits(content(d.ours)) == of_bits(content(d.theirs)))),
    Known("bplist-parser's UIDs have 32 bits", "It puts them together with |.", ("bplist-parser",),
          both_of("uid", lambda ours, theirs: low_32_bits(ours) == int(theirs))),
    Known("bplist-parser's integers of 16 bytes have no sign", "They are signed.", ("bplist-parser",),
          both_of("integer", lambda ours, theirs: int(ours) % 2**128 == int(theirs))),
    Known("bplist-parser's dates have milliseconds", "JavaScript's, of some 270,000 years.", ("bplist-parser",),
          both_of("date", lambda ours, theirs: not abs(of_bits(ours)) < 8.63e12
                  or abs(of_bits(ours) - of_bits(theirs)) <= 1e-3)),
    Known("bplist-parser knows no sets", "It says so.", ("bplist-parser",),
          they_refuse(lambda case, ours: has_kind(ours, "set"), "Unhandled type 0xc")),
    Known("the beginning of the magic is a bare OpenStep string", "To ours, as to the platform.", (),
          they_refuse(lambda case, ours: case.form == "binary" and not is_binary(case))),

    # GNUstep.
    Known("GNUstep's kinds of binary objects are fewer", "No null, sets, or UIDs above two bytes.", ("GNUstep",),
          they_refuse(lambda case, ours: is_binary(case), "Unknown control byte")),
    Known("GNUstep's offsets and references have at most 4 bytes", "The format has 8.", ("GNUstep",),
          they_refuse(lambda case, ours: max(case.contents[-26:-24]) > 4, "Unknown (table|offset) size")),
    Known("GNUstep's integers have at most 8 bytes", "The format has 16.", ("GNUstep",),
          they_refuse(lambda case, ours: has_kind(ours, "integer"), "Stored number too long")),
    Known("GNUstep has no date that is no number", "The class refuses it.", ("GNUstep",),
          they_refuse(lambda case, ours: has_kind(ours, "date"), "interval is not a number")),
    Known("GNUstep's counts have at most 4 bytes", "It takes one of 8 bytes for 0.", ("GNUstep",),
          both_read(lambda d: kind(d.ours) == kind(d.theirs) and not content(d.theirs) and has_long_counts(d.case))),
    Known("GNUstep's counts have at most 4 bytes, in keys", "It takes one of 8 bytes for 0.", ("GNUstep",),
          both_read(lambda d: d.kinds() == ("dictionary", "dictionary") and has_long_counts(d.case)
                    and "" in dict(content(d.theirs)))),
    Known("GNUstep tells XML by <?xml at the very beginning", "Else it reads OpenStep text.", ("GNUstep",),
          they_refuse(lambda case, ours: case.form == "xml" and not case.contents.startswith(b"<?xml"), "arse")),
    Known("GNUstep takes a bracket in a document type's names for declarations", "It does not look for quotes.",
          ("GNUstep",), they_refuse(lambda case, ours: case.form == "xml" and re.search(
              r"<!DOCTYPE[^>]*\[", document(case)))),
    Known("GNUstep knows no CDATA", "It takes it for no characters.", ("GNUstep",),
          both_read(lambda d: d.case.form == "xml" and "<![CDATA[" in document(d.case)
                    and (d.kinds() == ("text", "text")
                         or d.kinds() == ("dictionary", "dictionary") and "" in dict(content(d.theirs))))),
    Known("GNUstep's integers in XML are signed and decimal", "Of 19 digits or more it cuts some off, hexadecimal is 0.",
          ("GNUstep",), both_read(lambda d: d.case.form == "xml" and d.kinds() == ("integer", "integer") and (
              abs(int(content(d.ours))) >= 10**18 or content(d.theirs) == "0" and HEXADECIMAL.search(document(d.case))))),
    Known("GNUstep's padded integers are unsigned", "A space in front hides the sign from it.", ("GNUstep",),
          both_read(lambda d: d.case.form == "xml" and d.kinds() == ("integer", "integer")
                    and int(content(d.ours)) % 2**64 == int(content(d.theirs))
                    and re.search(r"<integer>\s", document(d.case)))),
    Known("GNUstep knows no reference to U+10FFFF", "It drops that one.", ("GNUstep",),
          both_read(lambda d: d.kinds() == ("text", "text") and "&#" in document(d.case)
                    and content(d.ours).replace("\U0010ffff", "") == content(d.theirs))),
    Known("GNUstep knows no reference to U+10FFFF in keys", "It drops that one.", ("GNUstep",),
          same_but_keys("\U0010ffff", lambda key: key.replace("\U0010ffff", ""))),
    Known("GNUstep drops byte order marks in texts", "Everywhere, not at the beginning only.", ("GNUstep",),
          both_read(lambda d: d.kinds() == ("text", "text")
                    and text_without(d.ours, "\ufeff") == text_without(d.theirs, "\ufeff"))),
    Known("GNUstep drops byte order marks in keys", "Everywhere, not at the beginning only.", ("GNUstep",),
          same_but_keys("\ufeff", lambda key: key.replace("\ufeff", ""))),
    Known("GNUstep's octal escapes are Unicode", "They are of the NeXTSTEP encoding.", ("GNUstep",),
          both_read(lambda d: d.case.form == "openstep" and re.search(r"\\[0-7]", document(d.case))
                    and d.kinds() in (("text", "text"), ("dictionary", "dictionary")))),
    Known("GNUstep drops a short escape at a string's end", "Of fewer than four hexadecimal digits.", ("GNUstep",),
          both_read(lambda d: d.case.form == "openstep" and d.kinds() == ("text", "text")
                    and re.search(r"\\U[0-9A-Fa-f]{1,3}\"", document(d.case)))),
    Known("GNUstep's OpenStep text has fewer freedoms",
          "No single quotes, files of strings, keys alone, line separators or marks.", ("GNUstep",),
          they_refuse(lambda case, ours: case.form == "openstep", "Parse failed")),
]
