#!/usr/bin/python3
"""Drives vlisp over the drawings of make_corpus.py and has the results judged by others.

    corpus_test.py --vlisp PATH --work FOLDER [--quick] [--sanitized] [--large] [--only TEXT]

One idea: what vlisp writes is compared pair by pair in Python, and read by two programs that know
nothing of vlisp: ezdxf and GDAL's ogrinfo. A failure is a line; with one, the exit code is 1.
"""
import argparse
import collections
import decimal
import functools
import json
import logging
import math
import multiprocessing
import os
import random
import re
import resource
import subprocess
import sys
import zlib

import ezdxf

sys.dont_write_bytecode = True  # nothing is written beside the sources
import dxf_pairs  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
TIME_LIMIT = 60       # seconds a run; a sanitized build is given more
SANITIZED_TIMES = 6
MEMORY_LIMIT = 4 << 30  # bytes of address space; threads alone reserve 1 GiB
KNOWN = ("LINE", "CIRCLE", "ARC", "LWPOLYLINE", "POLYLINE", "INSERT", "TEXT", "MTEXT")
logging.disable(logging.CRITICAL)


class Failure(Exception):
    pass


def expect(condition, *message):
    if not condition:
        raise Failure(" ".join(str(part) for part in message))


# --- Running programs ---

class Vlisp:
    def __init__(self, path, sanitized):
        self.path = path
        self.sanitized = sanitized
        self.time_limit = TIME_LIMIT * (SANITIZED_TIMES if sanitized else 1)

    def run(self, *arguments):
        """(exit code, output, messages), both decoded; a signal's code is negative."""

        def limit():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            if not self.sanitized:
                resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))

        try:
            done = subprocess.run([self.path, *arguments], stdin=subprocess.DEVNULL,
                                  capture_output=True, timeout=self.time_limit,
                                  preexec_fn=limit)
        except subprocess.TimeoutExpired:
            raise Failure("no end within %d s: vlisp %s" %
                          (self.time_limit, " ".join(arguments)[:300]))
        return (done.returncode, done.stdout.decode("utf-8", "surrogateescape"),
                done.stderr.decode("utf-8", "replace"))

    def evaluate(self, drawing, out, *texts):
        """Output of LISP texts over a drawing, saved to `out`; everything must go well."""
        save = ["--save", out] if out else []
        if out and os.path.exists(out):
            os.remove(out)
        code, output, messages = self.run("eval", "--drawing", drawing, *save, "--", *texts)
        expect(code == 0, "exit code %d: %s" % (code, messages.strip()[:300]))
        # Old files have no place for every setting that a program leaves behind.
        strange = [line for line in messages.splitlines() if " is not kept: " not in line]
        expect(not strange, "messages:", *strange[:3])
        return output


def gdal_count(path):
    """Entities as GDAL counts them; None when it cannot read the file."""
    done = subprocess.run(
        ["ogrinfo", "-ro", "-so", "--config", "DXF_INLINE_BLOCKS", "FALSE", "--config",
         "DXF_MERGE_BLOCK_GEOMETRIES", "FALSE", path, "entities"],
        stdin=subprocess.DEVNULL, capture_output=True, timeout=TIME_LIMIT)
    # Behind an entity that it does not understand it gives up, and counts no further.
    found = re.search(rb"Feature Count: (\d+)", done.stdout)
    whole = done.returncode == 0 and b"ERROR" not in done.stderr
    return int(found.group(1)) if found and whole else None


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()


# --- LISP ---

def literal(value):
    """A real as LISP reads it: digits and a point, no exponent."""
    digits = format(decimal.Decimal(repr(float(value))), "f")
    return digits if "." in digits else digits + ".0"


def string(value):
    assert '"' not in value
    return '"%s"' % value


HELPERS = (
    "(defun pick (n / e) (setq e (entnext)) (repeat n (setq e (entnext e))) e)",
    "(defun points (d) (vl-remove-if '(lambda (x) (/= (car x) 10)) d))",
    # Changes entries of an entity; its first point as well.
    "(defun change (n extra / d) (setq d (entget (pick n)))"
    " (entmod (cons (assoc -1 d) (append (points d) extra))))",
    "(defun change-and-move (n p extra / d) (setq d (entget (pick n)))"
    " (entmod (cons (assoc -1 d) (cons p (append (cdr (points d)) extra)))))",
    # The whole list goes back, with another entry 40: the usual way.
    "(defun change-40 (n value / d) (setq d (entget (pick n)))"
    " (entmod (subst (cons 40 value) (assoc 40 d) d)))",
)

# PRINC shows less than 3,000 characters: one entry a line, long texts in pieces.
DUMP = (
    "(defun show-text (s / i) (setq i 1) (while (<= i (strlen s))"
    ' (princ (strcat "@T" (substr s i 2000))) (setq i (+ i 2000))))',
    "(defun show-numbers (d / entry) (while (setq entry (car d))"
    " (if (nullp (member (car entry) '(-1 0 1 2 8))) (princ entry))"
    " (setq d (cdr d))))",
    "(setq e (entnext))",
    "(while e"
    " (setq d (entget e))"
    " (if d (begin"
    '  (princ (strcat "@K" (cdr (assoc 0 d))))'
    '  (princ (strcat "@L" (cdr (assoc 8 d))))'
    "  (show-numbers d)"
    "  (if (assoc 1 d) (show-text (cdr (assoc 1 d))))"
    '  (if (assoc 2 d) (princ (strcat "@B" (cdr (assoc 2 d))))))'
    '  (princ "@N"))'
    " (setq e (entnext e)))",
)

ENTRY = re.compile(r"\((-?\d+) (?:\. )?([^()]*)\)$")


def parse_dump(output):
    """What DUMP printed: for each entity a dictionary, or None where ENTGET gave nil."""
    found = []
    for line in output.split("\n"):
        mark, rest = line[:2], line[2:]
        if mark == "@N":
            found.append(None)
        elif mark == "@K":
            found.append({"K": rest, "V": [], "T": ""})
        elif mark in ("@L", "@T", "@B"):
            found[-1][mark[1]] = found[-1].get(mark[1], "") + rest
        elif line.startswith("(") and found and found[-1]:
            code, numbers = ENTRY.match(line).groups()
            found[-1]["V"].append((int(code), tuple(float(n) for n in numbers.split())))
    return found


# --- What ENTGET must give ---

def own_text(entity, encoding):
    if entity.kind == "TEXT":
        return dxf_pairs.decode(entity.value(1, b""), encoding)
    return dxf_pairs.unescape(b"".join(mtext_chunks(entity)).decode(encoding, "surrogateescape"))


def mtext_chunks(entity):
    return entity.values(3) + entity.values(1)


def is_mesh(entity):
    return entity.kind == "POLYLINE" and int(entity.number(70)) & (16 | 64) != 0


def bulges_of(entity):
    """Of a light polyline: its points and the bulge at each."""
    points = []
    first = entity.indices(10)
    for i, begin in enumerate(first):
        end = first[i + 1] if i + 1 < len(first) else entity.records[0].end
        pairs = entity.pairs[begin:end]
        y = next((p.number() for p in pairs if p.code == 20), 0.0)
        bulge = next((p.number() for p in pairs if p.code == 42), 0.0)
        points.append((entity.pairs[begin].number(), y, bulge))
    return points


def vertices(entity):
    return [i for i, record in enumerate(entity.records) if record.kind == "VERTEX"]


def expected_values(entity):
    """The entries of numbers, in ENTGET's order; None where it may give anything. A NaN matches
    every number."""
    number = entity.number
    colour = [(62, (number(62, 256),))] if int(number(62, 256)) != 256 else []
    weight = [(370, (number(370, -1),))] if int(number(370, -1)) != -1 else []
    space = [(67, (0.0,))]
    origin = [(10, (number(10), number(20), 0.0))]
    kind = entity.kind
    if kind == "LINE":
        return (space + colour + [(10, (number(10), number(20), number(30))),
                                  (10, (number(11), number(21), number(31)))] + weight)
    if kind == "CIRCLE":
        return space + colour + origin + [(40, (number(40),))] + weight
    if kind == "ARC":
        return (space + colour + origin + [(40, (number(40),))] +
                [(code, (math.radians(number(code)),)) for code in (50, 51)] + weight)
    if kind in ("LWPOLYLINE", "POLYLINE"):
        if is_mesh(entity):
            return None
        entries = []
        if kind == "LWPOLYLINE":
            points = bulges_of(entity)
            curved = any(bulge for _, _, bulge in points)
            for x, y, bulge in points:
                entries.append((10, (x, y)))
                if curved:
                    entries.append((42, (bulge,)))
        else:
            flat = not int(number(70)) & 8
            for i in vertices(entity):
                entries.append((10, (number(10, record=i), number(20, record=i),
                                     math.nan if flat else number(30, record=i))))
        count = sum(1 for code, _ in entries if code == 10)
        return (weight + space + colour + [(90, (float(count),)),
                                           (70, (float(int(number(70)) & 1),))] + entries)
    if kind == "INSERT":
        return (space + colour + origin + [(41, (number(41, 1.0),)), (42, (number(42, 1.0),)),
                                           (50, (math.radians(number(50)),))] + weight)
    rotation = math.radians(number(50))
    if kind == "MTEXT" and entity.values(11):
        rotation = math.atan2(number(21), number(11))
    return space + colour + origin + [(40, (number(40),)), (50, (rotation,))]


def same_numbers(had, wanted):
    """LISP prints three decimals."""
    return len(had) == len(wanted) and all(
        math.isnan(w) or abs(h - w) <= 0.00051 + 1e-12 * abs(w) for h, w in zip(had, wanted))


def check_dump(found, file):
    expect(len(found) == len(file.entities), "ENTNEXT walks %d entities, the file has %d" %
           (len(found), len(file.entities)))
    for n, (had, entity) in enumerate(zip(found, file.entities)):
        where = "entity %d (%s):" % (n, entity.kind)
        if entity.kind not in KNOWN:
            expect(had is None, where, "ENTGET gives", had)
            continue
        wanted = expected_values(entity)
        if wanted is None and had is None:
            continue
        expect(had is not None, where, "ENTGET gives nil")
        expect(had["K"] == entity.kind, where, "ENTGET calls it", had["K"])
        if wanted is not None:
            values = had["V"]
            expect([code for code, _ in values] == [code for code, _ in wanted], where, "codes",
                   [code for code, _ in values][:20], "not", [code for code, _ in wanted][:20],
                   "%d, not %d" % (len(values), len(wanted)))
            for (code, h), (_, w) in zip(values, wanted):
                expect(same_numbers(h, w), where, "code", code, "is", h, "not", w)
        if not file.texts:
            continue
        expect(had["L"] == plain(file.layer_of(entity)), where, "layer", ascii(had["L"]))
        if entity.kind in ("TEXT", "MTEXT"):
            wanted_text = plain(own_text(entity, file.encoding))
            expect(had.get("T") == wanted_text, where, "text", ascii(had.get("T"))[:200], "not",
                   ascii(wanted_text)[:200])
        if entity.kind == "INSERT":
            expect(had.get("B") == plain(file.decoded(entity.value(2, b""))), where, "block",
                   ascii(had.get("B")))


def plain(text):
    """As PRINC shows it: without double quotes."""
    return text.replace('"', "")


# --- A file of the corpus ---

class File:
    def __init__(self, entry, path):
        self.entry = entry
        self.path = path
        self.data = read_bytes(path)
        self.pairs, self.rest = dxf_pairs.parse(self.data)
        self.records = dxf_pairs.records(self.pairs)
        self.entities = dxf_pairs.entities(self.pairs, self.records)
        self.encoding = dxf_pairs.encoding_of(self.pairs)
        self.version = dxf_pairs.header_value(self.pairs, "$ACADVER") or "AC1009"
        self.binary = dxf_pairs.is_binary(self.data)
        self.texts = entry.get("texts", True)
        self.judged = entry.get("ezdxf", True)
        self.dice = random.Random(entry["name"])

    @property
    def is_old(self):
        return self.version <= "AC1009"

    def decoded(self, value):
        return dxf_pairs.decode(value, self.encoding)

    def layer_of(self, entity):
        return self.decoded(entity.value(8, b"0"))

    def usable(self):
        """Numbers of the entities that programs may change: those not on locked layers."""
        return [n for n, entity in enumerate(self.entities) if self.layer_of(entity) != "LOCKED"]

    @functools.cached_property
    def judgement(self):
        return Judgement(self.path, self.entry.get("audit", True))


class Judgement:
    """What ezdxf makes of a file."""

    def __init__(self, path, audit):
        self.doc = ezdxf.readfile(path)
        self.counts = collections.Counter(e.dxftype() for e in self.doc.modelspace())
        self.texts = collections.Counter()
        for entity in self.doc.modelspace():
            if entity.dxftype() == "TEXT":
                self.texts["TEXT", dxf_pairs.unescape(entity.dxf.text)] += 1
            elif entity.dxftype() == "MTEXT":
                self.texts["MTEXT", dxf_pairs.unescape(entity.text)] += 1
        self.complaints = collections.Counter()
        if audit:
            auditor = self.doc.audit()
            self.complaints.update("error %s" % e.code for e in auditor.errors)
            self.complaints.update("fix %s" % e.code for e in auditor.fixes)


# --- a, e, f: nothing changed ---

def check_unchanged(vlisp, file, out):
    output = vlisp.evaluate(file.path, out, *DUMP, "(princ)")
    saved = read_bytes(out)
    if saved != file.data:
        at = next((i for i, (x, y) in enumerate(zip(saved, file.data)) if x != y),
                  min(len(saved), len(file.data)))
        raise Failure("a: saved unchanged it differs at byte %d: %r was %r" % (
            at, saved[at:at + 30], file.data[at:at + 30]))
    check_dump(parse_dump(output), file)


def check_texts_with_judge(file):
    """That the expectation of check_dump is ezdxf's as well."""
    if not file.judged or not file.texts or not file.entry.get("ezdxfTexts", True):
        return
    kinds = ("TEXT",) if "countsInFile" in file.entry else ("TEXT", "MTEXT")
    theirs = collections.Counter({key: count for key, count in file.judgement.texts.items()
                                  if key[0] in kinds})
    ours = collections.Counter((entity.kind, own_text(entity, file.encoding))
                               for entity in file.entities if entity.kind in kinds)
    expect(ours == theirs, "f: ezdxf reads other texts:",
           ascii(list((ours - theirs) + (theirs - ours)))[:300])


def check_info(vlisp, file):
    code, output, messages = vlisp.run("info", file.path, "--json")
    expect(code == 0, "e: info ends with %d: %s" % (code, messages.strip()[:200]))
    info = json.loads(output)
    wanted = file.entry.get("countsInFile", file.entry.get("counts"))
    if wanted is None:
        wanted = dict(collections.Counter(entity.kind for entity in file.entities))
    expect(info["entities"]["types"] == wanted, "e: info counts", info["entities"]["types"], "not",
           wanted)
    layers = collections.Counter(file.layer_of(entity) for entity in file.entities)
    if file.texts:
        expect(info["entities"]["layers"] == dict(layers), "e: info counts by layer",
               ascii(info["entities"]["layers"]), "not", ascii(dict(layers)))
    expect(info["form"] == file.entry["form"], "e: form", info["form"])
    written = dxf_pairs.header_value(file.pairs, "$ACADVER")
    if written:
        expect(written in json.dumps(info["version"]) or
               file.entry["version"] in json.dumps(info["version"]), "e: version", info["version"])


# --- b: a change touches only its pairs ---

class Edit:
    """A change of one entity: the LISP that makes it and what becomes of the pairs."""

    def __init__(self, n, entity, point=None, entries=()):
        self.n = n
        self.entity = entity
        self.point = point
        self.entries = list(entries)
        self.replaced = {}   # index of a pair: what tells whether its new value is right
        self.inserted = []   # (code, what tells whether its value is right)
        self.chunks = None   # text that takes the place of all chunks of a MTEXT
        self.whole = False   # gives back all that ENTGET gave

    def lisp(self):
        if self.whole:
            return "(change-40 %d %s)" % (self.n, self.entries[0][1])
        entries = " ".join("(%d . %s)" % entry for entry in self.entries)
        if not self.point:
            return "(change %d '(%s))" % (self.n, entries)
        point = " ".join(literal(c) for c in self.point)
        return "(change-and-move %d '(10 %s) '(%s))" % (self.n, point, entries)

    def put(self, code, value, test, record=0):
        """The first pair of a code gets a value; without one a pair comes in."""
        indices = self.entity.indices(code, record)
        if indices:
            self.replaced[indices[0]] = test
        else:
            self.inserted.append((code, test))
        return self


def is_number(wanted, relative=0.0):
    def test(pair):
        try:
            return abs(pair.number() - wanted) <= relative * max(1.0, abs(wanted))
        except ValueError:
            return False
    test.wanted = wanted
    return test


def is_string(wanted, encoding):
    def test(pair):
        return isinstance(pair.value, bytes) and dxf_pairs.decode(pair.value, encoding) == wanted
    test.wanted = wanted
    return test


def edit_point(n, entity, x_code_record=0, flat=False):
    old_z = entity.number(30, record=x_code_record)
    new = (123.25, -45.5) if flat else (123.25, -45.5, old_z)
    edit = Edit(n, entity, new)
    edit.put(10, new[0], is_number(new[0]), x_code_record)
    edit.put(20, new[1], is_number(new[1]), x_code_record)
    return edit


def edit_real(n, entity, code, value, test=None):
    edit = Edit(n, entity, entries=[(code, literal(value))])
    return edit.put(code, value, test or is_number(value))


def edits_of(file, n):
    """All changes that this test knows for an entity."""
    entity = file.entities[n]
    kind = entity.kind
    number = entity.number
    found = []
    if kind not in KNOWN or is_mesh(entity):
        return found
    flat_origin = kind in ("CIRCLE", "ARC", "INSERT", "TEXT", "MTEXT")
    if flat_origin and number(30) != 0.0 and kind != "CIRCLE":
        return found
    if kind == "LWPOLYLINE" and (number(38) != 0.0 or len(entity.indices(10)) < 2):
        return found
    if kind == "POLYLINE" and len(vertices(entity)) < 2:
        return found

    if kind == "LINE":
        found.append(edit_point(n, entity))
    if kind in ("CIRCLE", "ARC"):
        found.append(edit_real(n, entity, 40, 7.0625))
        found.append(edit_real(n, entity, 40, 1 / 3))
    if kind in ("CIRCLE", "ARC", "TEXT", "MTEXT") and not entity.values(11):
        # A rotation that was told in radians and given back must not be written anew.
        edit = edit_real(n, entity, 40, 4.1875)
        edit.whole = True
        found.append(edit)
    if kind == "ARC":
        turned = 0.75 if abs(number(51) - math.degrees(0.75)) > 1 else 1.25
        found.append(edit_real(n, entity, 51, turned, is_number(math.degrees(turned), 1e-13)))
    if kind == "TEXT":
        found.append(edit_real(n, entity, 40, 3.375))
        for text in ("Changed 1", "Größe Ж 図 \U0001F600"):
            edit = Edit(n, entity, entries=[(1, string(text))])
            found.append(edit.put(1, text, is_string(text, file.encoding)))
    if kind == "MTEXT":
        found.append(edit_real(n, entity, 40, 3.375))
        for text in ("Changed 2", "long " * 100 + "end", "寸法Ж" * 90):
            edit = Edit(n, entity, entries=[(1, string(text))])
            edit.chunks = text
            found.append(edit)
    if kind == "INSERT":
        found.append(edit_real(n, entity, 41, 2.75))
        if not any(record.kind == "ATTRIB" for record in entity.records):
            found.append(edit_point(n, entity, flat=True))
    if kind == "LWPOLYLINE":
        found.append(edit_point(n, entity, flat=True))
        flag = int(number(70)) ^ 1
        edit = Edit(n, entity, entries=[(70, str(flag & 1))])
        found.append(edit.put(70, flag, is_number(flag)))
    if kind == "POLYLINE":
        found.append(edit_point(n, entity, vertices(entity)[0]))
    if len(entity.records) == 1:
        layer = "DETAIL" if file.layer_of(entity) == "0" else "0"
        if layer == "0" or any(r.table == "LAYER" and r.kind == "LAYER" and any(
                p.code == 2 and p.text() == b"DETAIL" for p in file.pairs[r.begin:r.end])
                for r in file.records):
            edit = Edit(n, entity, entries=[(8, string(layer))])
            found.append(edit.put(8, layer, is_string(layer, file.encoding)))
        if not entity.values(420):
            colour = 3 if int(number(62, 256)) != 3 else 4
            edit = Edit(n, entity, entries=[(62, str(colour))])
            found.append(edit.put(62, colour, is_number(colour)))
        if not file.is_old and int(number(370, -1)) != 35:
            edit = Edit(n, entity, entries=[(370, "35")])
            found.append(edit.put(370, 35, is_number(35)))
    if flat_origin and number(30) != 0.0:
        # ENTGET has told z as 0.0, and ENTMOD takes that.
        for edit in found:
            edit.put(30, 0.0, is_number(0.0))
    # A change to what is there already is none.
    return [edit for edit in found
            if edit.chunks is not None or edit.inserted or
            not all(test(file.pairs[i]) for i, test in edit.replaced.items())]


def choose_edits(file):
    """A change each for up to 24 entities, as many different ones as there are."""
    by_signature = {}
    order = file.usable()
    file.dice.shuffle(order)
    for n in order[:2000]:
        for edit in edits_of(file, n):
            signature = (edit.entity.kind, tuple((c, v[:3]) for c, v in edit.entries),
                         edit.point is None, bool(edit.inserted), edit.whole)
            by_signature.setdefault(signature, []).append(edit)
    # What all kinds have comes last; besides, each file has its own order.
    signatures = list(by_signature)
    file.dice.shuffle(signatures)
    signatures.sort(key=lambda s: s[1] != () and s[1][0][0] in (8, 62, 370))
    chosen = {}
    for signature in signatures:
        for edit in by_signature[signature]:
            if edit.n not in chosen and len(chosen) < 24:
                chosen[edit.n] = edit
                break
    return list(chosen.values())


def head_of(pair, file):
    """The bytes of a pair in front of its value."""
    if file.binary:
        short = file.data[dxf_pairs.BINARY_HEAD:].startswith(b"\0SECTION")
        return pair.raw[:2 if not short else 3 if pair.raw[0] == 255 else 1]
    return pair.raw.split(b"\n", 1)[0]


def line_end_of(pair):
    """Of a pair in the text form: the bytes behind the value; empty at a file's end."""
    return pair.raw[len(pair.raw.rstrip(b"\r\n")):] if pair.value.strip() else None


def compare_edited(file, edits, new_data):
    """Pair by pair: only what the edits change is changed. Gives [(code, old, new)] of pairs."""
    new, rest = dxf_pairs.parse(new_data)
    expect(rest == file.rest, "b: what follows the end has changed")
    replaced = {}
    pending = []  # (begin, end, code, test)
    chunked = {}
    for edit in edits:
        replaced.update(edit.replaced)
        for code, test in edit.inserted:
            pending.append((edit.entity.begin, edit.entity.records[0].end, code, test))
        if edit.chunks is not None:
            for i in edit.entity.indices(3) + edit.entity.indices(1):
                chunked[i] = edit
    changes = []
    k = 0
    i = 0
    old = file.pairs
    while i < len(old) or k < len(new):
        had = old[i] if i < len(old) else None
        has = new[k] if k < len(new) else None
        if i in chunked:
            edit = chunked[i]
            begin = k
            while k < len(new) and new[k].code in (3, 1, 999):
                k += 1
            while i in chunked or i < len(old) and old[i].code == 999:
                if i in chunked:
                    changes.append((old[i].code, old[i].value, None))
                i += 1
            chunks = [p for p in new[begin:k] if p.code != 999]
            text = dxf_pairs.unescape(b"".join(p.value for p in chunks).decode(file.encoding))
            expect(text == edit.chunks, "b: text became", ascii(text)[:200])
            expect([p.code for p in chunks] == [3] * (len(chunks) - 1) + [1] and
                   all(len(p.value) <= 255 for p in chunks),
                   "b: chunks of a text are", [(p.code, len(p.value)) for p in chunks])
            for p in chunks:
                p.value.decode(file.encoding)  # none is cut within a character
                changes.append((p.code, None, p.value))
            continue
        if i in replaced and has is not None:
            expect(has.code == had.code and replaced[i](has), "b: pair", had, "became", has,
                   "wanted", ascii(replaced[i].wanted))
            expect(head_of(has, file) == head_of(had, file), "b: pair", had,
                   "has another head:", has.raw)
            if not file.binary and had.value.strip():
                expect(line_end_of(has) == line_end_of(had), "b: pair", had,
                       "has another line end:", has.raw)
            if has.raw != had.raw:
                changes.append((had.code, had.value, has.value))
            i += 1
            k += 1
            continue
        if had is not None and has is not None and had.raw == has.raw:
            i += 1
            k += 1
            continue
        fitting = next((p for p in pending if has is not None and p[0] < i <= p[1] and
                        p[2] == has.code and p[3](has)), None)
        expect(fitting is not None, "b: pair %d" % i, had, "became", has)
        pending.remove(fitting)
        changes.append((has.code, None, has.value))
        k += 1
    expect(not pending, "b: no pair came in for code", [p[2] for p in pending])
    return changes


def readable(value, encoding):
    """A value as it may stand in a report of differences."""
    if value is None:
        return None
    if isinstance(value, bytes):
        return value.decode(encoding, "surrogateescape").strip()
    return repr(value)


def same_value(reported, wanted):
    if reported is None or wanted is None:
        return reported is wanted
    if reported.strip() in (wanted, dxf_pairs.unescape(wanted)):
        return True
    try:
        return float(reported) == float(wanted)
    except ValueError:
        return False


def check_diff(vlisp, file, out, changes):
    """That vlisp's own report of differences is the one found here."""
    code, output, messages = vlisp.run("diff", file.path, out, "--json")
    expect(code == (1 if changes else 0), "b: diff ends with %d: %s" % (code, messages[:200]))
    report = json.loads(output)
    expect(report["same"] is (not changes), "b: diff says same:", report["same"])
    pairs = []
    for change in report["changes"]:
        expect(change["change"] == "changed" and change["section"] == "ENTITIES", "b: diff reports",
               json.dumps(change)[:300])
        pairs += change["pairs"]
    left = [(code, readable(old, file.encoding), readable(new, file.encoding))
            for code, old, new in changes]
    chunked = [c for c in left if c[0] in (1, 3)]
    for pair in pairs:
        match = next((c for c in left if c[0] == pair["code"] and same_value(pair["old"], c[1]) and
                      same_value(pair["new"], c[2])), None)
        if match is not None:
            left.remove(match)
            continue
        # Chunks of texts: pairing old and new ones is the report's own affair.
        expect(pair["code"] in (1, 3) and chunked, "b: diff reports", ascii(pair))
    left = [c for c in left if c[0] not in (1, 3) or not chunked]
    expect(not left, "b: diff does not report", ascii(left)[:300])


def check_edits(vlisp, file, out):
    edits = choose_edits(file)
    if not edits:
        return
    vlisp.evaluate(file.path, out, *HELPERS, *[edit.lisp() for edit in edits])
    changes = compare_edited(file, edits, read_bytes(out))
    check_diff(vlisp, file, out, changes)
    if file.judged:
        judge_saved(file, out, collections.Counter())


# --- c, d: what is added and what is erased ---

ADDED_LAYER = "VT_NEW"
ADDED_TEXT = "Added é Ж 図"


def additions(file):
    """LISP texts, and how many entities of each kind they add."""
    texts = [
        '(command "LAYER" "Make" "%s" "Color" 3 "%s" "")' % (ADDED_LAYER, ADDED_LAYER),
        '(command "LINE" "1,2,3" "3.5,4.25" "")',
        '(command "CIRCLE" "10,20" "2.5")',
        '(command "ARC" "Center" "0,0" "5,0" "Angle" "90")',
        '(command "TEXT" "1,1" "2.5" "30" "%s")' % ADDED_TEXT,
        '(command "PLINE" "0,0" "10,0" "Arc" "10,10" "")',
        '(command "CIRCLE" "50,50" "1.5")',
        '(command "BLOCK" "VT_BLOCK" "50,50" (entlast) "")',
        '(command "INSERT" "VT_BLOCK" "5,5" "2" "2" "45")',
    ]
    counts = collections.Counter(LINE=1, CIRCLE=1, ARC=1, TEXT=1, INSERT=1)
    counts["POLYLINE" if file.is_old else "LWPOLYLINE"] += 1
    if not file.is_old:
        texts.append('(command "MTEXT" "0,0" "50,20" "First line" "second line" "")')
        counts["MTEXT"] += 1
    block = plain_block(file)
    if block:
        texts.append('(command "INSERT" %s "7,8" "1" "1" "0")' % string(block))
        counts["INSERT"] += 1
    return texts, counts, block


def plain_block(file):
    """The name of a block that can be inserted without questions; None when there is none."""
    name = None
    asks = False
    for record in file.records:
        if record.section != "BLOCKS":
            continue
        if record.kind == "BLOCK":
            pairs = file.pairs[record.begin:record.end]
            name = next((file.decoded(p.value) for p in pairs if p.code == 2), "")
            flags = next((int(p.value) for p in pairs if p.code == 70), 0)
            asks = flags & (4 | 8 | 16) != 0
        elif record.kind == "ATTDEF":
            asks = True
        elif record.kind == "ENDBLK" and name and not asks and re.fullmatch(r"[\w -]+", name):
            return name
    return None


# Header variables that follow what a program does.
FREE_VARIABLES = {b"$HANDSEED", b"$CLAYER", b"$CECOLOR", b"$EXTMIN", b"$EXTMAX", b"$TDUPDATE",
                  b"$TDUUPDATE", b"$TDINDWG", b"$TDUSRTIMER"}


def header_without_free(pairs):
    kept = []
    skipping = False
    for pair in pairs:
        if pair.code == 9:
            skipping = pair.value.strip() in FREE_VARIABLES
        if not skipping:
            kept.append(pair.raw)
    return kept


def same_record(file, old, new_pairs, new):
    if old.kind != new.kind or old.section != new.section:
        return False
    had = file.pairs[old.begin:old.end]
    has = new_pairs[new.begin:new.end]
    if old.kind == "SECTION" and old.section == "HEADER":
        return header_without_free(had) == header_without_free(has)
    if old.kind == "TABLE":  # 70 is how many rows the table has
        return [p.raw for p in had if p.code != 70] == [p.raw for p in has if p.code != 70]
    return [p.raw for p in had] == [p.raw for p in has]


def records_that_came(file, new_pairs, new_records):
    """The records that are new. All others must be as they were, in their order."""
    came = []
    k = 0
    for old in file.records:
        while k < len(new_records) and not same_record(file, old, new_pairs, new_records[k]):
            came.append(new_records[k])
            k += 1
        expect(k < len(new_records), "c: a record is gone or changed:", old.section, old.kind,
               [p.raw for p in file.pairs[old.begin:old.end]][:8])
        k += 1
    return came + new_records[k:]


def check_handles(pairs, records):
    """No handle twice, and the header's next one above all."""
    seen = {}
    highest = 0
    for record in records:
        if record.kind in ("SECTION", "ENDSEC", "ENDTAB", "EOF"):
            continue
        wanted = 105 if record.kind == "DIMSTYLE" else 5
        for pair in pairs[record.begin + 1:record.end]:
            if pair.code in (100, 102, 1001):
                break
            if pair.code == wanted:
                handle = int(pair.value, 16)
                expect(handle not in seen, "handle %X twice: %s and %s" % (
                    handle, seen.get(handle), record.kind))
                seen[handle] = record.kind
                highest = max(highest, handle)
                break
    seed = dxf_pairs.header_value(pairs, "$HANDSEED")
    if seed is not None:
        expect(int(seed, 16) > highest, "$HANDSEED is %s, the highest handle %X" % (seed, highest))


def judge_saved(file, out, difference):
    """Both judges read the file that was saved; entities differ from the original's as told."""
    before = file.judgement
    after = Judgement(out, file.entry.get("audit", True))
    wanted = before.counts.copy()
    wanted.update(difference)
    wanted = +wanted
    if "countsInFile" in file.entry:  # it joins texts in columns
        del wanted["MTEXT"], after.counts["MTEXT"]
    expect(after.counts == wanted, "ezdxf counts", dict(after.counts), "not", dict(wanted))
    more = after.complaints - before.complaints
    expect(not more, "ezdxf complains:", dict(more))
    return after


def judge_with_gdal(file, out, difference):
    if file.binary:
        return
    before = gdal_count(file.path)
    if before is None:
        return
    after = gdal_count(out)
    expect(after is not None, "ogrinfo cannot read what was saved")
    expect(after - before == difference, "ogrinfo counts %d, before %d; %+d expected" % (
        after, before, difference))


def near(*numbers):
    pairs = list(zip(numbers[::2], numbers[1::2]))
    return all(abs(a - b) < 1e-9 for a, b in pairs)


def check_added_values(doc, file, block):
    """What ezdxf reads of the new entities, and of layer and block."""
    new = collections.defaultdict(list)
    for entity in doc.modelspace():
        if entity.dxf.is_supported("layer") and entity.dxf.layer == ADDED_LAYER:
            new[entity.dxftype()].append(entity)
    e = new["LINE"][0].dxf
    expect(e.start.isclose((1, 2, 3)) and e.end.isclose((3.5, 4.25, 0)), "c: LINE", e.start, e.end)
    e = new["CIRCLE"][0].dxf
    expect(e.center.isclose((10, 20, 0)) and near(e.radius, 2.5), "c: CIRCLE", e.center, e.radius)
    e = new["ARC"][0].dxf
    expect(e.center.isclose((0, 0, 0)) and near(e.radius, 5, e.start_angle, 0, e.end_angle, 90),
           "c: ARC", e.center, e.radius, e.start_angle, e.end_angle)
    e = new["TEXT"][0].dxf
    expect(e.insert.isclose((1, 1, 0)) and near(e.height, 2.5, e.rotation, 30), "c: TEXT", e.insert)
    if file.entry.get("ezdxfTexts", True):
        expect(dxf_pairs.unescape(e.text) == ADDED_TEXT, "c: TEXT is", ascii(e.text))
    if file.is_old:
        points = [(v.dxf.location.x, v.dxf.location.y, v.dxf.bulge)
                  for v in new["POLYLINE"][0].vertices]
    else:
        points = list(new["LWPOLYLINE"][0].get_points("xyb"))
        expect("First line" in new["MTEXT"][0].text and "second line" in new["MTEXT"][0].text,
               "c: MTEXT is", ascii(new["MTEXT"][0].text))
    wanted = [(0, 0, 0), (10, 0, 1), (10, 10, 0)]
    expect(len(points) == 3 and all(near(*sum(zip(p, w), ())) for p, w in zip(points, wanted)),
           "c: polyline has", points)
    inserts = {i.dxf.name: i.dxf for i in new["INSERT"]}
    e = inserts["VT_BLOCK"]
    expect(e.insert.isclose((5, 5, 0)) and near(e.xscale, 2, e.yscale, 2, e.rotation, 45),
           "c: INSERT", e.insert, e.xscale, e.yscale, e.rotation)
    if block:
        expect(len(new["INSERT"]) == 2, "c: INSERT of the block that was there is missing")
    contents = doc.blocks.get("VT_BLOCK")
    expect(contents is not None and [c.dxftype() for c in contents] == ["CIRCLE"], "c: block")
    # Where the block's base point is, and not where it was drawn, does not matter.
    offset = contents[0].dxf.center - contents.block.dxf.base_point
    expect(offset.isclose((0, 0, 0)) and near(contents[0].dxf.radius, 1.5), "c: block's circle",
           contents[0].dxf.center)
    layer = doc.layers.get(ADDED_LAYER) if doc.layers.has_entry(ADDED_LAYER) else None
    expect(layer is not None, "c: layer", ADDED_LAYER, "is not there")
    expect(layer.dxf.color == 3, "c: layer has colour", layer.dxf.color)


NEW_KINDS = {"LINE", "CIRCLE", "ARC", "TEXT", "LWPOLYLINE", "POLYLINE", "VERTEX", "SEQEND", "MTEXT",
             "INSERT", "LAYER", "BLOCK", "ENDBLK", "BLOCK_RECORD", "SECTION", "ENDSEC", "TABLE",
             "ENDTAB", "APPID", "LTYPE", "STYLE"}


def check_additions(vlisp, file, out):
    texts, counts, block = additions(file)
    vlisp.evaluate(file.path, out, *texts)
    data = read_bytes(out)
    expect(dxf_pairs.is_binary(data) == file.binary, "c: the form has changed")
    pairs, _ = dxf_pairs.parse(data)
    records = dxf_pairs.records(pairs)
    came = records_that_came(file, pairs, records)
    strange = {record.kind for record in came} - NEW_KINDS
    expect(not strange, "c: records of kind", strange, "came in")
    if file.is_old:
        expect(not {"LWPOLYLINE", "MTEXT", "BLOCK_RECORD"} & {record.kind for record in came},
               "c: records came in that the version does not have")
    check_handles(pairs, records)
    found = collections.Counter(entity.kind for entity in dxf_pairs.entities(pairs, records))
    wanted = collections.Counter(entity.kind for entity in file.entities) + counts
    expect(found == wanted, "c: entities", dict(found), "not", dict(wanted))
    if not file.binary:
        ends = {line[-2:] == b"\r\n" for line in file.data.splitlines(True)[:-1]}
        if len(ends) == 1:
            now = {line[-2:] == b"\r\n" for line in data.splitlines(True)[:-1]}
            expect(now == ends, "c: line ends are mixed")
    if file.judged:
        after = judge_saved(file, out, counts)
        check_added_values(after.doc, file, block)
        judge_with_gdal(file, out, sum(counts.values()))


# Kinds that GDAL makes exactly one feature of.
COUNTED_BY_GDAL = {"LINE", "CIRCLE", "ARC", "LWPOLYLINE", "TEXT", "POINT"}


def check_erasures(vlisp, file, out):
    usable = file.usable()
    if not usable:
        return
    # One of each kind, four at most.
    file.dice.shuffle(usable)
    by_kind = {}
    for n in usable:
        by_kind.setdefault(file.entities[n].kind, n)
    chosen = sorted(by_kind.values(), key=lambda n: zlib.crc32(b"%d" % n))[:4]
    texts = ["(setq e%d (pick %d))" % (n, n) for n in chosen]
    texts += ['(command "ERASE" e%d "")' % n for n in chosen]
    vlisp.evaluate(file.path, out, *HELPERS, *texts)
    pairs, _ = dxf_pairs.parse(read_bytes(out))
    records = dxf_pairs.records(pairs)
    gone = [file.entities[n] for n in chosen]
    skipped = {id(record) for entity in gone for record in entity.records}

    def kept(all_pairs, all_records):
        """Bytes of the records outside of OBJECTS; what refers to entities may change there."""
        return [b"".join(p.raw for p in all_pairs[r.begin:r.end] if p.code != 999)
                for r in all_records if id(r) not in skipped and r.section != "OBJECTS"]

    had = kept(file.pairs, file.records)
    has = kept(pairs, records)
    wrong = next((i for i, (x, y) in enumerate(zip(had, has)) if x != y), min(len(had), len(has)))
    expect(had == has, "d: besides what was erased,", had[wrong:wrong + 1], "became",
           has[wrong:wrong + 1])
    difference = collections.Counter()
    difference.subtract(entity.kind for entity in gone)
    if file.judged:
        judge_saved(file, out, difference)
        if all(entity.kind in COUNTED_BY_GDAL for entity in gone):
            judge_with_gdal(file, out, -len(gone))


# --- g: damage ---

SIGNS_OF_A_CRASH = ("Sanitizer", "runtime error:", "Assertion", "terminate called", "std::")


def check_damaged(vlisp, entry, path, out):
    name = entry["name"]
    for recover in (False, True):
        option = ["--recover"] if recover else []
        code, _, messages = vlisp.run("eval", "--drawing", path, *option, "--", "(princ)")
        how = "with --recover " if recover else ""
        expect(code in (0, 3), "g: %sexit code %d: %s" % (how, code, messages.strip()[-300:]))
        if not recover and entry["expected"] == "damaged":
            expect(code == 3, "g: exit code %d for a damaged file" % code)
        for sign in SIGNS_OF_A_CRASH:
            expect(sign not in messages, "g:", how, messages.strip()[-300:])
        if code == 3:
            expect(name in messages, "g: %sthe message does not name the file:" % how,
                   messages.strip()[:200])
            expect(re.search(r"\bline \d|\bbyte \d|\boffset \d", messages),
                   "g: %sthe message does not tell the place:" % how, messages.strip()[:200])


# --- Large files: by their bytes alone ---

# Prints the most bytes that a program took. A process of its own: what starts a program leaves its
# own size as the least that is told.
PEAK_OF = """
import os, subprocess, sys
child = subprocess.Popen(sys.argv[1:], stdout=subprocess.DEVNULL)
_, status, usage = os.wait4(child.pid, 0)
child.returncode = os.waitstatus_to_exitcode(status)
print(usage.ru_maxrss * 1024 if child.returncode == 0 else 1 << 62)
"""


def check_large(vlisp, entry, path, out):
    vlisp.evaluate(path, out, "(princ)")
    data = read_bytes(path)
    expect(read_bytes(out) == data, "a: saved unchanged it differs")
    code, output, messages = vlisp.run("info", path, "--json")
    expect(code == 0, "e: info ends with %d: %s" % (code, messages.strip()[:200]))
    types = json.loads(output)["entities"]["types"]
    expect(types == entry["counts"], "e: info counts", types)
    # Open, it takes at most three times the file's size, beside what the program itself takes.
    peak = int(subprocess.run([sys.executable, "-c", PEAK_OF, vlisp.path, "eval", "--drawing", path,
                               "(princ)"], capture_output=True, check=True).stdout)
    own = 16 << 20
    expect(peak <= 3 * len(data) + own, "memory: %d for %d bytes" % (peak, len(data)))
    # The first entity is a circle.
    vlisp.evaluate(path, out, *HELPERS, "(change 0 '((40 . 7.0625)))")
    at = data.index(b" 40\n") + len(b" 40\n")
    end = data.index(b"\n", at)
    expect(read_bytes(out) == data[:at] + b"7.0625" + data[end:],
           "b: more than the radius of the first circle has changed")


# --- All of it ---

CHECKS = (check_unchanged, check_edits, check_additions, check_erasures)


def check_entry(options, entry):
    """The failures of a file, a line each."""
    vlisp = Vlisp(options.vlisp, options.sanitized)
    path = os.path.join(options.work, "corpus", entry["name"])
    out = os.path.join(options.work, "out-%d.dxf" % os.getpid())
    failures = []

    def attempt(check, *arguments):
        try:
            check(*arguments)
        except Failure as failure:
            failures.append("%s: %s" % (entry["name"], failure))
        except Exception as error:  # a judge that cannot read, or a mistake of this program
            failures.append("%s: %s: %s: %s" % (entry["name"], check.__name__,
                                               type(error).__name__, str(error)[:300]))

    if entry["expected"] != "good":
        attempt(check_damaged, vlisp, entry, path, out)
        return failures
    if entry.get("large"):
        attempt(check_large, vlisp, entry, path, out)
        return failures
    file = File(entry, path)
    attempt(check_texts_with_judge, file)
    attempt(check_info, vlisp, file)
    for check in CHECKS:
        attempt(check, vlisp, file, out)
    if os.path.exists(out):
        os.remove(out)
    return failures


def make_corpus(options):
    """The corpus, made anew when it is not there or older than the programs that make it."""
    folder = os.path.join(options.work, "corpus")
    index = os.path.join(folder, "index.json")
    maker = os.path.join(HERE, "make_corpus.py")
    newest = max(os.path.getmtime(path) for path in (maker, dxf_pairs.__file__))
    large = options.large
    if os.path.exists(index) and os.path.getmtime(index) > newest:
        with open(index, encoding="utf-8") as file:
            entries = json.load(file)
        if not large or any(entry.get("large") for entry in entries):
            return [entry for entry in entries if large or not entry.get("large")]
    subprocess.run([sys.executable, maker, folder] + (["--large"] if large else []), check=True)
    with open(index, encoding="utf-8") as file:
        return json.load(file)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--vlisp", required=True, help="the program")
    parser.add_argument("--work", required=True, help="a folder for the corpus and what is saved")
    parser.add_argument("--quick", action="store_true", help="a fifth of the files")
    parser.add_argument("--sanitized", action="store_true",
                        help="no limit of memory: sanitizers reserve more than there is")
    parser.add_argument("--large", action="store_true", help="the large drawings as well")
    parser.add_argument("--only", default="", help="files with this text in their names")
    options = parser.parse_args()
    options.vlisp = os.path.abspath(options.vlisp)
    os.makedirs(options.work, exist_ok=True)
    entries = [entry for entry in make_corpus(options) if options.only in entry["name"]]
    if options.quick:
        entries = [entry for entry in entries if zlib.crc32(entry["name"].encode()) % 5 == 0]
    expect(entries, "no such files")
    failed = failures = 0
    with multiprocessing.Pool(2) as pool:
        for lines in pool.imap(functools.partial(check_entry, options), entries, chunksize=4):
            for line in lines:
                print(line, flush=True)
            failures += len(lines)
            failed += bool(lines)
    print("%d files, %d of them with failures, %d failures" % (len(entries), failed, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
