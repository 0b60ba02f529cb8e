"""Drawing files as pairs of group code and value, read in the plainest way that works.

One idea: nothing here is shared with the product or with the libraries that judge it, so that a
mistake of theirs is not repeated. A pair keeps its own bytes; joined, they are the file again.
"""
import re
import struct

SENTINEL_END = b"Binary DXF\r\n\x1a\x00"
BINARY_HEAD = 22  # bytes of the sentinel

# How the binary form writes the values of a group code: first and last code, and the format.
_BINARY_VALUES = (
    (10, 59, "<d"), (60, 79, "<h"), (90, 99, "<i"), (110, 149, "<d"), (160, 169, "<q"),
    (170, 179, "<h"), (210, 239, "<d"), (270, 289, "<h"), (290, 299, "<B"), (310, 319, "chunk"),
    (370, 389, "<h"), (400, 409, "<h"), (420, 429, "<i"), (440, 459, "<i"), (460, 469, "<d"),
    (1004, 1004, "chunk"), (1010, 1059, "<d"), (1060, 1070, "<h"), (1071, 1071, "<i"),
)

_FORMATS = {code: fmt for first, last, fmt in _BINARY_VALUES for code in range(first, last + 1)}


def is_real(code):
    return _FORMATS.get(code) == "<d"


def is_text(code):
    return code not in _FORMATS


class Pair:
    """`code` is an int, `value` the bytes without line end and, for numbers, as they stand; in the
    binary form numbers are int or float. `raw` is all that the pair takes in the file."""

    __slots__ = ("code", "value", "raw")

    def __init__(self, code, value, raw):
        self.code = code
        self.value = value
        self.raw = raw

    def number(self):
        return float(self.value)

    def text(self):
        """The value as bytes without blanks around it; numbers as Python writes them."""
        if isinstance(self.value, bytes):
            return self.value.strip()
        return repr(self.value).encode()

    def __repr__(self):
        return "(%d %r)" % (self.code, self.value)


def is_binary(data):
    return data[8:BINARY_HEAD] == SENTINEL_END


def parse(data):
    """(pairs, rest): `rest` is what follows the pair 0 EOF, or could not be paired."""
    return _parse_binary(data) if is_binary(data) else _parse_ascii(data)


def _parse_ascii(data):
    lines = re.split(b"(?<=\n)", data)
    if lines and not lines[-1]:
        lines.pop()
    pairs = []
    i = 0
    if lines and lines[0].startswith(b"\xef\xbb\xbf"):
        pairs.append(Pair(int(lines[0][3:]), lines[1].rstrip(b"\r\n"), lines[0] + lines[1]))
        i = 2
    while i + 1 < len(lines):
        value = lines[i + 1].rstrip(b"\r\n")
        pair = Pair(int(lines[i]), value, lines[i] + lines[i + 1])
        pairs.append(pair)
        i += 2
        if pair.code == 0 and value.strip() == b"EOF":
            break
    return pairs, b"".join(lines[i:])


def _parse_binary(data):
    # One byte for a group code until release 12, two since; 0 SECTION tells which.
    short = data[BINARY_HEAD:BINARY_HEAD + 2] == b"\0S"
    pairs = []
    at = BINARY_HEAD
    while at < len(data):
        begin = at
        if not short:
            code = struct.unpack_from("<h", data, at)[0]
            at += 2
        elif data[at] == 255:
            code = struct.unpack_from("<h", data, at + 1)[0]
            at += 3
        else:
            code = data[at]
            at += 1
        fmt = _FORMATS.get(code)
        if fmt is None:
            end = data.index(b"\0", at)
            value = data[at:end]
            at = end + 1
        elif fmt == "chunk":
            value = data[at + 1:at + 1 + data[at]]
            at += 1 + data[at]
        else:
            value = struct.unpack_from(fmt, data, at)[0]
            at += struct.calcsize(fmt)
        pairs.append(Pair(code, value, data[begin:at]))
        if code == 0 and value == b"EOF":
            break
    return pairs, data[at:]


class Record:
    """Pairs from one with code 0 up to the next: `pairs[begin:end]`. `section` and `table` are the
    names of where it stands, empty outside."""

    __slots__ = ("kind", "begin", "end", "section", "table")

    def __init__(self, kind, begin, end, section, table):
        self.kind = kind
        self.begin = begin
        self.end = end
        self.section = section
        self.table = table


def records(pairs):
    """The records in the file's order. Comments before the first belong to none."""
    starts = [i for i, pair in enumerate(pairs) if pair.code == 0]
    result = []
    section = table = ""
    for begin, end in zip(starts, starts[1:] + [len(pairs)]):
        kind = pairs[begin].text().decode("latin-1")
        if kind in ("SECTION", "TABLE"):
            name = next((p.text().decode("latin-1") for p in pairs[begin:end] if p.code == 2), "")
            if kind == "SECTION":
                section = name
            else:
                table = name
        result.append(Record(kind, begin, end, section, table))
        if kind == "ENDTAB":
            table = ""
        if kind == "ENDSEC":
            section = ""
    return result


class Entity:
    """A record of ENTITIES with those that belong to it: VERTEX or ATTRIB records and SEQEND."""

    __slots__ = ("kind", "records", "pairs")

    def __init__(self, record, pairs):
        self.kind = record.kind
        self.records = [record]
        self.pairs = pairs

    @property
    def begin(self):
        return self.records[0].begin

    @property
    def end(self):
        return self.records[-1].end

    def values(self, code, record=0):
        """Values of a group code in one of its records, without embedded and extended data."""
        return [self.pairs[i].value for i in self.indices(code, record)]

    def indices(self, code, record=0):
        found = []
        depth = 0
        for i in range(self.records[record].begin, self.records[record].end):
            pair = self.pairs[i]
            if pair.code == 101 or pair.code == 1001:
                break
            if pair.code == 102:  # braces around lists of an application
                depth += 1 if pair.text().startswith(b"{") else -1
                continue
            if pair.code == code and depth == 0:
                found.append(i)
        return found

    def value(self, code, default=None, record=0):
        found = self.values(code, record)
        return found[0] if found else default

    def number(self, code, default=0.0, record=0):
        found = self.values(code, record)
        return float(found[0]) if found else default


def entities(pairs, all_records=None):
    """The entities of model space in the file's order."""
    found = []
    open_entity = None
    for record in all_records or records(pairs):
        if record.section != "ENTITIES" or record.kind in ("SECTION", "ENDSEC"):
            open_entity = None
            continue
        if open_entity is not None and record.kind in ("VERTEX", "ATTRIB", "SEQEND"):
            open_entity.records.append(record)
            if record.kind == "SEQEND":
                open_entity = None
            continue
        entity = Entity(record, pairs)
        found.append(entity)
        follows = entity.kind == "POLYLINE" or (
            entity.kind == "INSERT" and int(entity.number(66)) == 1)
        open_entity = entity if follows else None
    return [entity for entity in found if int(entity.number(67)) == 0]


# --- Texts ---

_DOS = re.compile(r"dos-?(\d+)$", re.IGNORECASE)
_ANSI = re.compile(r"ansi_(\d+)$", re.IGNORECASE)
_ESCAPE = re.compile(r"\\U\+([0-9A-Fa-f]{4})|\\M\+([1-5])([0-9A-Fa-f]{4})")
_PAGES = {"1": "cp932", "2": "cp950", "3": "cp949", "4": "johab", "5": "gbk"}


def header_value(pairs, name):
    """The first value of a header variable as text; None when the file does not have it."""
    wanted = name.encode()
    for i, pair in enumerate(pairs):
        if pair.code == 9 and pair.value.strip() == wanted:
            return pairs[i + 1].text().decode("latin-1")
        if pair.code == 0 and pair.value.strip() == b"ENDSEC":
            return None
    return None


def encoding_of(pairs):
    """Python's name for how the file writes its texts."""
    if (header_value(pairs, "$ACADVER") or "AC1009") >= "AC1021":
        return "utf-8"
    page = header_value(pairs, "$DWGCODEPAGE") or "ANSI_1252"
    for pattern in (_ANSI, _DOS):
        match = pattern.match(page)
        if match:
            return "gbk" if match.group(1) == "936" else "cp" + match.group(1)
    return "cp1252"


def unescape(text):
    """Replaces the escapes for characters that the code page lacks."""

    def character(match):
        if match.group(1):
            return chr(int(match.group(1), 16))
        number = int(match.group(3), 16)
        raw = bytes([number >> 8, number & 255]) if number > 255 else bytes([number])
        try:
            return raw.decode(_PAGES[match.group(2)])
        except UnicodeDecodeError:
            return match.group(0)

    units = _ESCAPE.sub(character, text)
    # Two escapes may make one character beyond the basic plane.
    return units.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "surrogatepass")


def decode(value, encoding):
    return unescape(value.decode(encoding, "surrogateescape"))
