"""Random values, of the kinds that a format can express."""

import canonical

WORDS = ["a", "key", "CF$UID", "name", "credentialID", "1", "true", "__proto", "x" * 14, "y" * 15, "z" * 16]
ODD_TEXTS = [
    "", " ", "\n", "\ttab", "quote\"'", "<&>]]>", "back\\slash", "é", "ß€", "\U0001f511", "\ufeffmark",
    "a\u0301", "\u2028", "\U0010ffff", "日本語" * 6, "w" * 300, "ü" * 300,
]
CONTROL_TEXTS = ["\uffff", "\0", "a\0b", "\x01", "\x7f", "\x1f end"]
INTEGERS = [0, 1, -1, 127, 128, 255, 256, 32767, 32768, 65535, 65536, 2**31 - 1, 2**31, 2**32 - 1,
            2**32, -(2**31), -(2**31) - 1, 2**53 + 1, 2**63 - 1, 2**63, 2**64 - 1, -(2**63)]
REALS = [0.0, -0.0, 1.0, -1.5, 0.1, 1e300, 5e-324, 2.0**-126, 1 / 3, 123456789.125, float("inf"), float("-inf")]
DATES = [0.0, -1.0, 1.0, 86400.0 * 365, -978307200.0, 2.0**31, -(2.0**31) - 1, 725846400.0]
BINARY_DATES = [0.5, -0.25, 1e-9, 1e15, -1e15]

BINARY = "null boolean integer real date data uid text array set dictionary".split()
XML = "boolean integer real date data uid text array dictionary".split()
OPENSTEP = "data text array dictionary".split()


class Values:
    def __init__(self, random, kinds, is_for_xml=False):
        self.random = random
        self.kinds = kinds
        self.is_for_xml = is_for_xml
        self.scalars = [kind for kind in kinds if kind not in ("array", "set", "dictionary")]

    def top(self):
        """Mostly a dictionary, as in life."""
        return self.value(self.random.randint(1, 4)) if self.random.random() < 0.2 else self.dictionary(
            self.random.randint(1, 4))

    def value(self, levels):
        kind = self.random.choice(self.kinds if levels > 0 else self.scalars)
        if kind == "dictionary":
            return self.dictionary(levels - 1)
        if kind in ("array", "set"):
            return self.items(kind, levels - 1)
        return getattr(self, kind)()

    def count(self):
        return self.random.choice([0, 1, 2, 3, 4, 5, 14, 15, 16] + [1, 2, 3] * 5)

    def dictionary(self, levels):
        entries = {}
        for _ in range(self.count()):
            entries[self.key()] = self.value(levels)
        if list(entries) == ["CF$UID"]:
            entries["other"] = self.value(levels)
        return {"dictionary": [[key, member] for key, member in entries.items()]}

    def items(self, kind, levels):
        items = [self.value(levels) for _ in range(self.count())]
        if kind == "set":
            # Python's stand-ins for a set's items are told apart by their text.
            items = list({repr(item): item for item in items}.values())
        return {kind: items}

    def key(self):
        if self.random.random() < 0.2:
            return canonical.content(self.text())
        return self.random.choice(WORDS) + self.random.choice(["", "", str(self.random.randint(0, 99))])

    def text(self):
        choice = self.random.random()
        if choice < 0.4:
            return canonical.text(self.random.choice(WORDS))
        if choice < 0.7:
            return canonical.text(self.random.choice(ODD_TEXTS))
        if choice < 0.8 and not self.is_for_xml:
            return canonical.text(self.random.choice(CONTROL_TEXTS))
        return canonical.text("".join(self.character() for _ in range(self.random.randint(0, 40))))

    def character(self):
        first, last = self.random.choice(
            [(0x20, 0x7E)] * 6 + [(0xA0, 0x17F), (0x3B1, 0x3C9), (0x4E00, 0x4E40), (0x1F600, 0x1F640)])
        return chr(self.random.randint(first, last))

    def null(self):
        return None

    def boolean(self):
        return self.random.random() < 0.5

    def integer(self):
        if self.random.random() < 0.6:
            return canonical.integer(self.random.choice(INTEGERS))
        return canonical.integer(self.random.randint(-(2**63), 2**64 - 1) >> self.random.randint(0, 63))

    def real(self):
        if self.random.random() < 0.6:
            return canonical.real(self.random.choice(REALS))
        return canonical.real(self.random.uniform(-1, 1) * 10.0 ** self.random.randint(-30, 30))

    def date(self):
        if not self.is_for_xml and self.random.random() < 0.3:
            return canonical.date(self.random.choice(BINARY_DATES))
        if self.random.random() < 0.5:
            return canonical.date(self.random.choice(DATES))
        return canonical.date(float(self.random.randint(-(2**35), 2**36)))

    def data(self):
        return {"data": self.random.randbytes(self.random.choice([0, 1, 2, 3, 14, 15, 16, 40, 300])).hex()}

    def uid(self):
        top = 32 if self.is_for_xml else 64
        return {"uid": str(self.random.getrandbits(self.random.choice([1, 8, 16, 24, 32, top])))}

