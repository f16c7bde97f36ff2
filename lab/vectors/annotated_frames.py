"""Frames of the host protocol as a dump that says what the bytes are.

    annotated_frames.py PAGE VECTORS

rewrites the blocks of the Markdown file PAGE that begin with ```frame NAME: each then shows the
frame around the body VECTORS/NAME.plist.
"""

import pathlib
import re
import sys

BYTES_A_ROW = 16
HEADER = b"bplist00"
TRAILER_SIZE = 32
# The fields of the trailer: size, meaning.
TRAILER = (
    (6, "trailer: 6 bytes of zero,"),
    (1, "bytes in an offset,"),
    (1, "bytes in an object number,"),
    (8, "number of objects,"),
    (8, "number of the top object,"),
    (8, "place of the offsets, from the start of the body"),
)
BLOCK = re.compile(r"^```frame (\S+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


class Body:
    """A binary property list taken to pieces, as the extension and its lab write them."""

    def __init__(self, body):
        self.body = body
        trailer = body[-TRAILER_SIZE:]
        self.offset_size, self.number_size = trailer[6], trailer[7]
        count = int.from_bytes(trailer[8:16], "big")
        self.table = int.from_bytes(trailer[24:32], "big")
        self.offsets = self.numbers(self.table, count, self.offset_size)
        self.users = {}
        self.find_users()

    def numbers(self, start, count, size):
        chunks = (self.body[start + size * i : start + size * (i + 1)] for i in range(count))
        return [int.from_bytes(chunk, "big") for chunk in chunks]

    def kind_and_count(self, number):
        """The high half of the object's marker, its count, and where its contents begin."""
        start = self.offsets[number]
        kind, count = divmod(self.body[start], 16)
        if count < 15 or kind < 4:
            return kind, count, start + 1
        size = 1 << (self.body[start + 1] & 15)
        return kind, int.from_bytes(self.body[start + 2 : start + 2 + size], "big"), start + 2 + size

    def references(self, number):
        """The objects that a container refers to; of a dictionary the keys, then the values."""
        kind, count, start = self.kind_and_count(number)
        return self.numbers(start, count * (2 if kind == 0xD else 1), self.number_size)

    def find_users(self):
        """Remembers the keys whose values the objects are, or are a part of."""
        references = self.references(0)
        half = len(references) // 2
        for key, value in zip(references[:half], references[half:]):
            self.users.setdefault(value, []).append(self.text(key))
            if self.kind_and_count(value)[0] == 0xA:
                for element in self.references(value):
                    self.users.setdefault(element, []).append(f"in {self.text(key)}")

    def text(self, number):
        kind, count, start = self.kind_and_count(number)
        if kind == 5:
            return self.body[start : start + count].decode("ascii")
        return self.body[start : start + 2 * count].decode("utf-16-be")

    def value(self, number):
        kind, count, start = self.kind_and_count(number)
        if kind == 0:
            return {8: "false", 9: "true"}[count]
        if kind == 1:
            size = 1 << count
            # The format's integers have a sign from eight bytes on.
            integer = int.from_bytes(self.body[start : start + size], "big", signed=size >= 8)
            return f"integer {integer}"
        if kind == 4:
            return f"data, {count} byte{'' if count == 1 else 's'}"
        if kind in (5, 6):
            return ("string" if kind == 5 else "string in UTF-16") + f' "{self.text(number)}"'
        if kind == 0xA:
            return "array of " + (", ".join(map(str, self.references(number))) or "nothing")
        raise ValueError(f"object {number} is of a kind that no message holds: {kind:x}")

    def meaning(self, number):
        users = " and ".join(self.users.get(number, []))
        return f"{number}: {self.value(number)}" + (f" ({users})" if users else "")

    def pieces(self):
        """The body's bytes in order, with what they mean."""
        yield HEADER, 'body: "bplist00"'
        yield from self.dictionary_pieces()
        ends = self.offsets[1:] + [self.table]
        for number, (start, end) in enumerate(zip(self.offsets, ends)):
            if number > 0:
                yield self.body[start:end], self.meaning(number)
        yield self.body[self.table : -TRAILER_SIZE], "where the objects are, from the start of the body"
        start = len(self.body) - TRAILER_SIZE
        for size, meaning in TRAILER:
            yield self.body[start : start + size], meaning
            start += size

    def dictionary_pieces(self):
        kind, count, start = self.kind_and_count(0)
        if kind != 0xD:
            raise ValueError("the top object is not a dictionary")
        middle = start + count * self.number_size
        yield self.body[self.offsets[0] : start], f"0: dictionary of {count}"
        yield self.body[start:middle], "the numbers of its keys,"
        yield self.body[middle : self.offsets[1]], "and of its values"


def frame(body):
    return len(body).to_bytes(4, "big") + body


def annotated_frame(body):
    rows = []
    place = 0
    pieces = [(frame(body)[:4], f"{len(body)} bytes of body follow"), *Body(body).pieces()]
    if b"".join(piece for piece, _ in pieces) != frame(body):
        raise ValueError("the pieces are not the whole frame")
    for piece, meaning in pieces:
        for start in range(0, len(piece), BYTES_A_ROW):
            row = piece[start : start + BYTES_A_ROW].hex(" ")
            rows.append(f"{place:04x}  {row:{3 * BYTES_A_ROW}} {meaning if start == 0 else ''}".rstrip())
            place += len(piece[start : start + BYTES_A_ROW])
    return "\n".join(rows) + "\n"


def with_current_frames(page, vectors):
    def block(match):
        body = (vectors / f"{match[1]}.plist").read_bytes()
        return f"```frame {match[1]}\n{annotated_frame(body)}```"

    return BLOCK.sub(block, page)


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: annotated_frames.py PAGE VECTORS")
    page = pathlib.Path(sys.argv[1])
    page.write_text(with_current_frames(page.read_text("utf-8"), pathlib.Path(sys.argv[2])), "utf-8")


if __name__ == "__main__":
    main()
