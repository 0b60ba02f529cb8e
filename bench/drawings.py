#!/usr/bin/env python3
"""Times work on large drawing files: vlisp against ezdxf, a library for such files.

The programs stand in programs/ for vlisp and in peers/ for Python. Each opens a drawing of many
entities, which this script writes, does its work and prints one line that is the same in both; what
was saved is read here and must be what the work makes of the drawing. Runs and measures are those of
measuring.py.
"""

import argparse
import json
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Iterator, Optional, TextIO

from contenders import find_vlisp
from measuring import (
    HERE, Measurement, Table, Trouble, adopt_orphans, all_numbers, positive, report_failures,
    run_once,
)

DRAWINGS = HERE.parent / "build" / "bench-drawings"
PYTHON = "/usr/bin/python3"  # Debian's: the one that its packages are installed for
LAYERS = 10
LAYER = "L3"  # whose circles are looked for

# Seconds of processor time after which a run is ended.
LONGEST_RUN = 3600


@dataclass(frozen=True)
class Drawing:
    """A drawing of `count` entities; a compact one is of the oldest version, without handles."""

    count: int
    compact: bool

    @property
    def path(self) -> Path:
        """Where it is written."""
        return DRAWINGS / f"{self.count}{'-compact' if self.compact else ''}.dxf"


@dataclass(frozen=True)
class Task:
    """Something that is done to a drawing."""

    name: str
    what: str
    saves: bool = False
    walks: bool = False  # looks at every entity: how long one takes is told too


TASKS = (
    Task("open", "open"),
    Task("walk", "open, look at every entity", walks=True),
    Task("filter", "open, count the circles of one layer"),
    Task("ssfilter", "open, select the circles of one layer, go through them", walks=True),
    Task("entmod", "open, double all circles", walks=True),
    Task("change", "open, change one circle, save", saves=True),
    Task("double", "open, double the circles of one layer, save", saves=True),
    Task("move", "open, move all texts, save", saves=True),
    Task("plot", "plot to SVG"),
)

# The names of the contenders. The copy does no work: it is the floor for whoever saves.
VLISP, EZDXF, COPY = "vlisp", "ezdxf", "cp"


# --- Drawings: entity i is a line, a circle, an arc, a text or a polyline ---

KINDS = ("LINE", "CIRCLE", "TEXT", "LINE", "CIRCLE", "LINE", "ARC", "LWPOLYLINE", "CIRCLE", "TEXT")


def layer_of(i: int) -> str:
    """The layer of entity i. Three is no divisor of the ten kinds: every kind is on every layer."""
    return f"L{i // 3 % LAYERS}"


def place_of(i: int) -> tuple[float, float]:
    """The first point of entity i."""
    return i % 1000 * 2.5, i // 1000 * 3.125


def radius_of(i: int) -> float:
    """The radius of the circle or arc i."""
    return 0.5 + i % 16 / 8


def kind_of(i: int, compact: bool) -> str:
    """The kind of entity i. The oldest version has no light polylines."""
    kind = KINDS[i % len(KINDS)]
    return "LINE" if compact and kind == "LWPOLYLINE" else kind


def write_pairs(file: TextIO, *pairs: object) -> None:
    """Writes codes and values, one behind the other, the codes as wide as most programs do."""
    for code, value in zip(pairs[::2], pairs[1::2]):
        file.write(f"{code:>3}\n{value}\n")


def write_entity(file: TextIO, i: int, compact: bool) -> None:
    """Writes entity i."""
    kind = kind_of(i, compact)
    x, y = place_of(i)
    own: tuple[object, ...]
    if kind == "LINE":
        own = ("AcDbLine", 10, x, 20, y, 11, x + 2, 21, y + i % 7)
    elif kind == "CIRCLE":
        own = ("AcDbCircle", 10, x, 20, y, 40, radius_of(i))
    elif kind == "ARC":
        own = ("AcDbCircle", 10, x, 20, y, 40, radius_of(i), 100, "AcDbArc", 50, i % 360, 51, 270)
    elif kind == "TEXT":
        own = ("AcDbText", 10, x, 20, y, 40, 2.5, 1, f"Text {i}")
    else:
        own = ("AcDbPolyline", 90, 3, 70, 1, 10, x, 20, y, 10, x + 2, 20, y, 10, x + 2, 20, y + 2)
    if compact:
        pairs = [pair for pair in zip(own[1::2], own[2::2]) if pair[0] != 100]
        write_pairs(file, 0, kind, 8, layer_of(i), *(part for pair in pairs for part in pair))
    else:
        write_pairs(
            file, 0, kind, 5, f"{0x100 + i:X}", 330, "1F", 100, "AcDbEntity", 8, layer_of(i),
            100, *own,
        )


def write_tables(file: TextIO, compact: bool) -> None:
    """Writes the tables: layers, and in newer versions the records of blocks."""
    write_pairs(file, 0, "SECTION", 2, "TABLES", 0, "TABLE", 2, "LAYER")
    if not compact:
        write_pairs(file, 5, "2", 330, "0", 100, "AcDbSymbolTable")
    write_pairs(file, 70, LAYERS + 1)
    for number, name in enumerate(["0", *(f"L{i}" for i in range(LAYERS))]):
        write_pairs(file, 0, "LAYER")
        if not compact:
            write_pairs(
                file, 5, f"{0x40 + number:X}", 330, "2", 100, "AcDbSymbolTableRecord",
                100, "AcDbLayerTableRecord",
            )
        write_pairs(file, 2, name, 70, 0, 62, 1 + number % 7, 6, "CONTINUOUS")
    write_pairs(file, 0, "ENDTAB")
    if not compact:
        write_pairs(
            file, 0, "TABLE", 2, "BLOCK_RECORD", 5, "1", 330, "0", 100, "AcDbSymbolTable", 70, 2,
        )
        for name, handle in (("*Model_Space", "1F"), ("*Paper_Space", "1B")):
            write_pairs(
                file, 0, "BLOCK_RECORD", 5, handle, 330, "1", 100, "AcDbSymbolTableRecord",
                100, "AcDbBlockTableRecord", 2, name, 340, "0",
            )
        write_pairs(file, 0, "ENDTAB")
    write_pairs(file, 0, "ENDSEC")


def write_blocks(file: TextIO) -> None:
    """Writes the blocks of model and paper space."""
    write_pairs(file, 0, "SECTION", 2, "BLOCKS")
    for name, record, first in (("*Model_Space", "1F", 0x20), ("*Paper_Space", "1B", 0x22)):
        common = (330, record, 100, "AcDbEntity", 8, "0", 100)
        write_pairs(
            file, 0, "BLOCK", 5, f"{first:X}", *common, "AcDbBlockBegin", 2, name, 70, 0,
            10, 0.0, 20, 0.0, 30, 0.0, 3, name, 1, "",
            0, "ENDBLK", 5, f"{first + 1:X}", *common, "AcDbBlockEnd",
        )
    write_pairs(file, 0, "ENDSEC")


def write_drawing(drawing: Drawing) -> None:
    """Writes a drawing, unless it is there."""
    if drawing.path.is_file():
        return
    DRAWINGS.mkdir(parents=True, exist_ok=True)
    unfinished = drawing.path.with_suffix(".part")
    with unfinished.open("w", encoding="ascii", newline="\n") as file:
        write_pairs(file, 0, "SECTION", 2, "HEADER", 9, "$ACADVER")
        write_pairs(file, 1, "AC1009" if drawing.compact else "AC1015")
        if not drawing.compact:
            write_pairs(file, 9, "$HANDSEED", 5, f"{0x100 + drawing.count:X}")
        write_pairs(file, 0, "ENDSEC")
        write_tables(file, drawing.compact)
        if not drawing.compact:
            write_blocks(file)
        write_pairs(file, 0, "SECTION", 2, "ENTITIES")
        for i in range(drawing.count):
            write_entity(file, i, drawing.compact)
        write_pairs(file, 0, "ENDSEC", 0, "EOF")
    unfinished.replace(drawing.path)


# --- What the tasks print and save ---


def entities(drawing: Drawing, kind: str, layer: Optional[str] = None) -> Iterator[int]:
    """The entities of a kind, of one layer if it is given."""
    for i in range(drawing.count):
        if kind_of(i, drawing.compact) == kind and layer in (None, layer_of(i)):
            yield i


def expected_line(task: Task, drawing: Drawing) -> str:
    """What a program prints."""
    if task.name == "open":
        return str(drawing.count)
    if task.name == "change":
        return "changed"
    if task.name == "move":
        return str(sum(1 for _ in entities(drawing, "TEXT")))
    if task.name == "walk":
        return str(sum(1 for _ in entities(drawing, "CIRCLE")))
    if task.name == "entmod":
        circles = list(entities(drawing, "CIRCLE"))
        return f"({len(circles)} {2 * radius_of(circles[-1]):.3f})"
    return str(sum(1 for _ in entities(drawing, "CIRCLE", LAYER)))


def expected_sums(task: Task, drawing: Drawing) -> tuple[float, float]:
    """The sums of the radii of the layer's circles and of the x of all texts in what is saved."""
    radii = [radius_of(i) for i in entities(drawing, "CIRCLE", LAYER)]
    if task.name == "change":
        radii[0] = 123.5
    if task.name == "double":
        radii = [2 * radius for radius in radii]
    shift = 10 if task.name == "move" else 0
    return sum(radii), sum(place_of(i)[0] + shift for i in entities(drawing, "TEXT"))


def sums_of(path: Path) -> tuple[float, float]:
    """The same sums of a file."""
    radii = places = 0.0
    kind, layer, values = "", "", {}
    with path.open(encoding="utf-8") as file:
        for code in file:
            code, value = code.strip(), next(file).strip()
            if code != "0":
                if code == "8":
                    layer = value
                values.setdefault(code, value)
                continue
            if kind == "CIRCLE" and layer == LAYER:
                radii += float(values["40"])
            elif kind == "TEXT":
                places += float(values["10"])
            kind, layer, values = value, "", {}
    return radii, places


# --- Measuring ---


def command_of(
    contender: str, task: Task, drawing: Drawing, vlisp: str, scratch: Path
) -> Optional[list[str]]:
    """The command by which a contender does a task; None where it has none."""
    source, saved = str(drawing.path), str(scratch / "saved.dxf")
    if contender == COPY:
        return ["cp", source, saved] if task.name == "change" else None
    if contender == VLISP and task.name == "plot":
        return [vlisp, "plot", source, "-o", str(scratch / "picture.svg")]
    if task.name == "plot":
        return None
    if contender == VLISP:
        program = HERE / "programs" / f"drawing-{task.name}.lsp"
        saving = ["--save", saved] if task.saves else []
        return [vlisp, "run", "--drawing", source, *saving, str(program)]
    program = HERE / "peers" / f"drawing-{task.name}.py"
    return [PYTHON, str(program), source, *([saved] if task.saves else [])]


def check_saved(contender: str, task: Task, drawing: Drawing, scratch: Path) -> Optional[str]:
    """What is wrong with what was saved or drawn; None when nothing is."""
    if contender == COPY:
        return None
    if task.name == "plot":
        size = (scratch / "picture.svg").stat().st_size
        return None if size > drawing.count else f"the picture has only {size} bytes"
    if not task.saves:
        return None
    found, wanted = sums_of(scratch / "saved.dxf"), expected_sums(task, drawing)
    nearly = all(abs(a - b) <= 1e-9 * max(abs(a), 1) for a, b in zip(found, wanted))
    return None if nearly else f"saved something else: {found} instead of {wanted}"


def measure(
    task: Task, drawing: Drawing, contenders: list[str], vlisp: str, runs: int, adopts: bool
) -> dict[str, Measurement]:
    """Does a task by all contenders in turn, `runs` times; by contender."""
    measurements: dict[str, Measurement] = {}
    with tempfile.TemporaryDirectory(prefix="run-", dir=DRAWINGS) as folder:
        scratch = Path(folder)
        expected = expected_line(task, drawing)
        for turn in range(runs):
            for contender in contenders:
                command = command_of(contender, task, drawing, vlisp, scratch)
                if command is None:
                    continue
                measurement = measurements.setdefault(contender, Measurement())
                if measurement.failure is not None:
                    continue
                says_nothing = contender == COPY or task.name == "plot"
                run_once(
                    command, "" if says_nothing else expected, measurement, scratch, adopts,
                    LONGEST_RUN,
                )
                if turn == 0 and measurement.failure is None:
                    measurement.failure = check_saved(contender, task, drawing, scratch)
    return measurements


def nanoseconds_per_entity(table: Table, drawing: Drawing) -> dict[str, dict[str, float]]:
    """What a task takes beyond opening, divided by the entities; by task and contender.

    Of tasks that look at every entity, where opening was measured too.
    """
    times: dict[str, dict[str, float]] = {}
    opening = table.get("open", {})
    for task in TASKS:
        if not task.walks:
            continue
        for contender, measurement in table.get(task.name, {}).items():
            alone = opening.get(contender)
            if alone is None or alone.failure is not None or measurement.failure is not None:
                continue
            beyond = measurement.median_seconds - alone.median_seconds
            times.setdefault(task.name, {})[contender] = beyond / drawing.count * 1e9
    return times


def lines_of(table: Table, drawing: Drawing, contenders: list[str]) -> Iterator[str]:
    """The table in Markdown: seconds and megabytes of each, and how many times vlisp's they are."""
    size = drawing.path.stat().st_size / 1e6
    yield f"{drawing.count:,} entities, {size:.1f} MB"
    yield ""
    peers = [name for name in contenders if name != VLISP]
    yield "| task | vlisp s | vlisp MB |" + "".join(
        f" {name} s | {name} MB | {name} ÷ vlisp |" for name in peers
    )
    yield "|---|---:|---:|" + "---:|" * (3 * len(peers))
    what = {task.name: task.what for task in TASKS}
    for name, measurements in table.items():
        own = measurements[VLISP]
        cells = ["failed"] * 2
        if own.failure is None:
            cells = [f"{own.median_seconds:.3f}", f"{own.median_megabytes:.1f}"]
        for peer in peers:
            other = measurements.get(peer)
            if other is None:
                cells += ["–"] * 3
            elif other.failure is not None:
                cells += ["failed"] * 3
            else:
                cells += [f"{other.median_seconds:.3f}", f"{other.median_megabytes:.1f}"]
                known = own.failure is None and own.median_seconds > 0
                cells.append(f"{other.median_seconds / own.median_seconds:.2f}" if known else "?")
        yield f"| {what[name]} | " + " | ".join(cells) + " |"
    per_entity = nanoseconds_per_entity(table, drawing)
    if not per_entity:
        return
    yield ""
    yield "| without opening, by entity |" + "".join(
        f" {name} ns |" for name in contenders if name != COPY
    )
    yield "|---|" + "---:|" * sum(1 for name in contenders if name != COPY)
    for name, times in per_entity.items():
        cells = [
            f"{times[contender]:.0f}" if contender in times else "–"
            for contender in contenders if contender != COPY
        ]
        yield f"| {what[name].removeprefix('open, ')} | " + " | ".join(cells) + " |"


def has_ezdxf() -> bool:
    """Whether the peer is installed."""
    try:
        measurement = Measurement()
        with tempfile.TemporaryDirectory(prefix="vlisp-bench-") as scratch:
            run_once([PYTHON, "-c", "import ezdxf"], "", measurement, Path(scratch), False)
        return measurement.failure is None
    except Trouble:
        return False


def read_arguments() -> argparse.Namespace:
    """The command line."""
    parser = argparse.ArgumentParser(
        description="Times work on large drawing files: vlisp against ezdxf.",
        epilog="Exit codes: 0 all did what they must, 1 some did not, 2 nothing could be measured.",
    )
    parser.add_argument("--vlisp", required=True, metavar="PATH", help="the vlisp to measure")
    parser.add_argument("--runs", type=positive, default=5, metavar="N", help="runs of each (5)")
    parser.add_argument(
        "--million", action="store_true",
        help="one run with 1,000,000 entities, which takes minutes and gigabytes",
    )
    parser.add_argument("--json", type=Path, metavar="FILE", help="write all numbers there")
    parser.add_argument("--markdown", type=Path, metavar="FILE", help="write the table there too")
    names = ", ".join(task.name for task in TASKS)
    parser.add_argument(
        "tasks", nargs="*", metavar="TASK", help=f"only these of: {names}; times by entity need open"
    )
    return parser.parse_args()


def compare(arguments: argparse.Namespace) -> int:
    """Measures, prints and writes; returns the exit code."""
    unknown = set(arguments.tasks) - {task.name for task in TASKS}
    if unknown:
        raise Trouble(f"unknown task {', '.join(sorted(unknown))}")
    vlisp = find_vlisp(arguments.vlisp).program
    contenders = [VLISP, EZDXF, COPY]
    if not has_ezdxf():
        print("not installed, left out: ezdxf (python3-ezdxf)", file=sys.stderr)
        contenders.remove(EZDXF)
    adopts = adopt_orphans()
    drawing = Drawing(1_000_000, True) if arguments.million else Drawing(100_000, False)
    runs = 1 if arguments.million else arguments.runs
    write_drawing(drawing)

    table: Table = {}
    for task in TASKS:
        if arguments.tasks and task.name not in arguments.tasks:
            continue
        print(f"{task.what} ...", file=sys.stderr)
        table[task.name] = measure(task, drawing, contenders, vlisp, runs, adopts)

    text = "\n".join(lines_of(table, drawing, contenders)) + "\n"
    print(text, end="")
    if arguments.markdown:
        arguments.markdown.write_text(text, encoding="utf-8")
    if arguments.json:
        numbers = {
            **all_numbers(table, runs),
            "entities": drawing.count,
            "nanosecondsPerEntity": nanoseconds_per_entity(table, drawing),
        }
        arguments.json.write_text(json.dumps(numbers, indent=2) + "\n", encoding="utf-8")

    return 1 if report_failures(table) else 0


def main() -> int:
    """Runs the comparison and turns trouble into a message."""
    try:
        return compare(read_arguments())
    except (Trouble, OSError) as trouble:
        print(f"drawings.py: {trouble}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
