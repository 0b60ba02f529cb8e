#!/usr/bin/env python3
"""Times whole programs: vlisp against the interpreters that are installed here.

Every program stands in programs/ for vlisp and in peers/ for the others, in each language's own
style, and prints one line that is the same in all of them, so that the same work was done. The
contenders of a program take turns, each run in a process of its own; what is measured is the user
and system time and the peak memory of that process, from its start to its end.
"""

import argparse
import ctypes
import json
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable, Iterator, Optional

HERE = Path(__file__).resolve().parent

# What each program prints, in the order of the table.
EXPECTED = {
    "startup": "ready",
    "fib": "46368",
    "tak": "7",
    "loop": "1000000",
    "repeat": "1000000",
    "append": "100000 100000",
    "cons": "-100000",
    "assoc": "30015000",
    "strcat": "100000",
    "substr": "10000",
    "wcmatch": "14011",
    "read200k": "3990",
}

# The program that is generated: so many assignments to these names, then their sum.
GENERATED = "read200k"
GENERATED_LINES = 200_000
GENERATED_NAMES = ("north", "east", "south", "west")

# Seconds of processor time after which a run is ended.
LONGEST_RUN = 300


class Trouble(Exception):
    """Something that the person at the keyboard must hear about."""


@dataclass(frozen=True)
class Language:
    """An interpreter, and what its programs look like."""

    name: str
    suffix: str
    folder: str
    assignment: Callable[[str, int], str]
    ending: str  # prints the sum of GENERATED_NAMES and ends the program


@dataclass(frozen=True)
class Contender:
    """An interpreter that was found, with the command that runs a file."""

    language: Language
    command: tuple[str, ...]


@dataclass
class Measurement:
    """The runs of one program by one contender; `failure` says why there are none."""

    seconds: list[float] = field(default_factory=list)
    peak_megabytes: list[float] = field(default_factory=list)
    failure: Optional[str] = None

    @property
    def median_seconds(self) -> float:
        """User plus system time of the middle run."""
        return statistics.median(self.seconds)

    @property
    def median_megabytes(self) -> float:
        """Peak memory of the middle run."""
        return statistics.median(self.peak_megabytes)


VLISP = Language(
    "vlisp", ".lsp", "programs",
    lambda name, value: f"(setq {name} {value})",
    "(princ (+ north east south west))",
)
PYTHON = Language(
    "Python", ".py", "peers",
    lambda name, value: f"{name} = {value}",
    "print(north + east + south + west)",
)
LUA = Language(
    "Lua", ".lua", "peers",
    lambda name, value: f"{name} = {value}",
    "print(north + east + south + west)",
)
PICOLISP = Language(
    "PicoLisp", ".l", "peers",
    lambda name, value: f"(setq {name.title()} {value})",
    "(prinl (+ North East South West)) (bye)",
)
NEWLISP = Language(
    "newLISP", ".nl", "peers",
    lambda name, value: f"(set '{name} {value})",
    "(println (+ north east south west)) (exit)",
)

# The peers and the names that their interpreters go by. Python is the one that runs this file: a
# python3 on the path may be a script that looks for one.
PEERS: tuple[tuple[Language, tuple[str, ...]], ...] = (
    (PYTHON, (sys.executable,)),
    (LUA, ("lua5.4",)),
    (PICOLISP, ("picolisp", "pil")),
    (NEWLISP, ("newlisp",)),
)

Table = dict[str, dict[str, Measurement]]


def find_peers() -> tuple[list[Contender], list[str]]:
    """The peers that are installed, and the names of those that are not."""
    found: list[Contender] = []
    missing: list[str] = []
    for language, names in PEERS:
        path = next(filter(None, map(shutil.which, names)), None)
        if path:
            found.append(Contender(language, (path,)))
        else:
            missing.append(f"{language.name} ({' or '.join(names)})")
    return found, missing


def find_vlisp(path: str) -> Contender:
    """The vlisp to measure."""
    program = shutil.which(path)
    if not program:
        raise Trouble(f"there is no program '{path}'; build it first: ./dev build bench")
    return Contender(VLISP, (os.path.abspath(program), "run"))


def write_generated(language: Language, folder: Path) -> Path:
    """Writes the program of many lines in `language`; returns its path."""
    lines = (
        language.assignment(GENERATED_NAMES[i % len(GENERATED_NAMES)], i % 1000)
        for i in range(GENERATED_LINES)
    )
    path = folder / f"{GENERATED}{language.suffix}"
    path.write_text("\n".join(lines) + "\n" + language.ending + "\n", encoding="ascii")
    return path


def source_of(program: str, language: Language, scratch: Path) -> Optional[Path]:
    """Where `program` stands in `language`; None when it has no such program."""
    if program == GENERATED:
        return write_generated(language, scratch)
    path = HERE / language.folder / f"{program}{language.suffix}"
    return path if path.is_file() else None


def adopt_orphans() -> bool:
    """Makes this process the parent of orphaned grandchildren; False where that is unknown."""
    set_child_subreaper = 36
    try:
        return bool(ctypes.CDLL(None).prctl(set_child_subreaper, 1, 0, 0, 0) == 0)
    except (AttributeError, OSError, TypeError):
        return False


def start(
    command: list[str], output: Path, errors: Path, adopts: bool, longest: int = LONGEST_RUN
) -> int:
    """Starts `command` and returns the process to wait for.

    The peak memory of a process includes that of the program which it was forked from, and this
    one is larger than some that it measures. So a shell, which is small, starts the program in the
    background and ends; the program comes to us as an orphan.
    """
    background = '& echo "$!"' if adopts else ""
    script = f'ulimit -t {longest}; out=$1 err=$2; shift 2; '
    script += f'{"" if adopts else "exec "}"$@" >"$out" 2>"$err" </dev/null {background}'
    shell = subprocess.Popen(
        ["/bin/sh", "-c", script, "sh", str(output), str(errors), *command],
        stdout=subprocess.PIPE, text=True,
    )
    if not adopts:
        return shell.pid
    answer, _ = shell.communicate()
    if shell.returncode != 0 or not answer.strip().isdigit():
        raise Trouble(f"cannot start {' '.join(command)}")
    return int(answer)


def run_once(
    command: list[str], expected: str, measurement: Measurement, scratch: Path, adopts: bool,
    longest: int = LONGEST_RUN,
) -> None:
    """Runs `command` once and adds what it took, or why it failed, to `measurement`."""
    output, errors = scratch / "output", scratch / "errors"
    process = start(command, output, errors, adopts, longest)
    try:
        _, status, usage = os.wait4(process, 0)
    except KeyboardInterrupt:
        os.kill(process, signal.SIGKILL)
        raise
    code = os.waitstatus_to_exitcode(status)
    printed = output.read_text(errors="replace").strip()
    if code != 0 or printed != expected:
        ending = f"exit code {code}" if code >= 0 else f"ended by signal {-code}"
        said = errors.read_text(errors="replace").strip()[-300:]
        measurement.failure = f"printed '{printed[:200]}' instead of '{expected}' ({ending})" + (
            f"; it said: {said}" if said else ""
        )
        return
    bytes_per_unit = 1 if sys.platform == "darwin" else 1024
    measurement.seconds.append(usage.ru_utime + usage.ru_stime)
    measurement.peak_megabytes.append(usage.ru_maxrss * bytes_per_unit / 1e6)


def measure_program(
    program: str, contenders: list[Contender], runs: int, scratch: Path, adopts: bool
) -> dict[str, Measurement]:
    """Runs `program` by all contenders in turn, `runs` times; by language."""
    commands: dict[str, list[str]] = {}
    for contender in contenders:
        source = source_of(program, contender.language, scratch)
        if source:
            commands[contender.language.name] = [*contender.command, str(source)]
        elif contender.language is VLISP:
            raise Trouble(f"there is no program {HERE / VLISP.folder / program}{VLISP.suffix}")
    measurements = {name: Measurement() for name in commands}
    for _ in range(runs):
        for name, command in commands.items():
            if measurements[name].failure is None:
                run_once(command, EXPECTED[program], measurements[name], scratch, adopts)
    return measurements


def table_lines(table: Table, peers: list[str]) -> Iterator[str]:
    """The table in Markdown: times of vlisp, and how many times as long each peer took."""
    yield "| program | vlisp s | vlisp MB | " + " | ".join(f"{name} ÷ vlisp" for name in peers) + " |"
    yield "|---|" + "---:|" * (2 + len(peers))
    for program, measurements in table.items():
        own = measurements[VLISP.name]
        cells = ["failed", "failed"]
        if own.failure is None:
            cells = [f"{own.median_seconds:.3f}", f"{own.median_megabytes:.1f}"]
        for name in peers:
            peer = measurements.get(name)
            if peer is None:
                cells.append("–")
            elif peer.failure is not None:
                cells.append("failed")
            elif own.failure is not None or own.median_seconds == 0:
                cells.append("?")
            else:
                cells.append(f"{peer.median_seconds / own.median_seconds:.2f}")
        yield f"| {program} | " + " | ".join(cells) + " |"


def as_json(table: Table, runs: int) -> str:
    """Everything that was measured."""
    programs = {
        program: {
            name: {"failure": m.failure}
            if m.failure is not None
            else {
                "medianSeconds": m.median_seconds,
                "medianPeakMegabytes": m.median_megabytes,
                "seconds": m.seconds,
                "peakMegabytes": m.peak_megabytes,
            }
            for name, m in measurements.items()
        }
        for program, measurements in table.items()
    }
    return json.dumps({"runs": runs, "programs": programs}, indent=2) + "\n"


def positive(text: str) -> int:
    """A number of runs."""
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError("at least one run is needed")
    return number


def read_arguments() -> argparse.Namespace:
    """The command line."""
    parser = argparse.ArgumentParser(
        description="Times whole programs: vlisp against the interpreters installed here.",
        epilog="Exit codes: 0 all programs printed what they must, 1 some did not, 2 nothing could "
        "be measured.",
    )
    parser.add_argument("--vlisp", required=True, metavar="PATH", help="the vlisp to measure")
    parser.add_argument("--runs", type=positive, default=5, metavar="N", help="runs of each (5)")
    parser.add_argument("--json", type=Path, metavar="FILE", help="write all numbers there")
    parser.add_argument("--markdown", type=Path, metavar="FILE", help="write the table there too")
    parser.add_argument(
        "programs", nargs="*", metavar="NAME", help=f"only these of: {', '.join(EXPECTED)}"
    )
    return parser.parse_args()


def compare(arguments: argparse.Namespace) -> int:
    """Measures, prints and writes; returns the exit code."""
    unknown = [name for name in arguments.programs if name not in EXPECTED]
    if unknown:
        raise Trouble(f"unknown program {', '.join(unknown)}; there are {', '.join(EXPECTED)}")
    peers, missing = find_peers()
    contenders = [find_vlisp(arguments.vlisp), *peers]
    if missing:
        print(f"not installed, left out: {', '.join(missing)}", file=sys.stderr)
    adopts = adopt_orphans()
    if not adopts:
        print("peak memory is at least that of this script here", file=sys.stderr)

    table: Table = {}
    with tempfile.TemporaryDirectory(prefix="vlisp-bench-") as scratch:
        for program in EXPECTED:
            if arguments.programs and program not in arguments.programs:
                continue
            print(f"{program} ...", file=sys.stderr)
            table[program] = measure_program(
                program, contenders, arguments.runs, Path(scratch), adopts
            )

    text = "\n".join(table_lines(table, [peer.language.name for peer in peers])) + "\n"
    print(text, end="")
    if arguments.markdown:
        arguments.markdown.write_text(text, encoding="utf-8")
    if arguments.json:
        arguments.json.write_text(as_json(table, arguments.runs), encoding="utf-8")

    failed = False
    for program, measurements in table.items():
        for name, measurement in measurements.items():
            if measurement.failure is not None:
                failed = True
                print(f"{program} by {name}: {measurement.failure}", file=sys.stderr)
    return 1 if failed else 0


def main() -> int:
    """Runs the comparison and turns trouble into a message."""
    try:
        return compare(read_arguments())
    except (Trouble, OSError) as trouble:
        print(f"compare.py: {trouble}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
