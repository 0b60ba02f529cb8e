#!/usr/bin/env python3
"""Times whole programs: vlisp against the interpreters that are installed here, or against another
vlisp.

Every program stands in programs/ for vlisp and in peers/ for the others, in each language's own
style, and prints one line that is the same in all of them, so that the same work was done. The
contenders of a program take turns; measuring.py says what is measured.
"""

import argparse
import datetime
import json
import os
import platform
import random
import statistics
import sys
import tempfile
from pathlib import Path
from typing import Any, Callable, Iterator, Optional

from contenders import VLISP, Contender, as_installed, command_for, find_peers, find_vlisp
from measuring import (
    Measurement, Table, Trouble, adopt_orphans, all_numbers, folder_for_output, positive,
    report_failures, run_once,
)

# What each program prints, in the order of the table.
EXPECTED = {
    "startup": "",
    "fib": "2178309",
    "tak": "9",
    "while": "10000000",
    "pi": "3141592.454",
    "mandelbrot": "2677343",
    "queens": "4600",
    "primes": "33860",
    "cons": "-1500000",
    "append": "8000000",
    "nth": "5000000",
    "assoc": "300150000",
    "sort": "112646",
    "strcat": "4000000",
    "substr": "800000",
    "wcmatch": "25793",
    "itoa": "500000",
    "nested": "1000000",
    "lambda": "5000000",
    "read": "40000",
}

# A start takes a millisecond: what else the machine does then weighs more than in long programs, and
# so does where a program's file happens to lie in memory, a tenth and more. primes lives from memory
# and some of its runs take half as long again as others. So there are more runs, of ever new copies.
ROUNDS = {"startup": 20, "primes": 4}

# What stands in the table for what there is not.
NONE, FAILED = "–", "failed"

Figure = Callable[[Measurement], float]


def seconds_of(measurement: Measurement) -> float:
    """Time, for tables of it."""
    return measurement.median_seconds


def megabytes_of(measurement: Measurement) -> float:
    """Memory, for tables of it."""
    return measurement.median_megabytes


# --- Measuring ---


def measure_program(
    program: str, contenders: list[Contender], runs: int, scratch: Path, output: Path, adopts: bool
) -> dict[str, Measurement]:
    """Runs `program` by all contenders in turn, `runs` times or more; by the contender's name."""
    measurements = {contender.name: Measurement() for contender in contenders}
    rounds = ROUNDS.get(program, 1)
    for _ in range(rounds):
        with tempfile.TemporaryDirectory(dir=scratch) as folder:
            placed = [
                as_installed(contender, folder) if rounds > 1 else contender
                for contender in contenders
            ]
            commands = commands_of(program, placed, scratch, measurements)
            run_in_turns(program, placed, commands, runs, output, adopts, measurements)
    return {name: one for name, one in measurements.items() if one.seconds or one.failure}


def commands_of(
    program: str, contenders: list[Contender], scratch: Path, measurements: dict[str, Measurement]
) -> dict[str, list[str]]:
    """What runs `program`, by the contender's name, for those that can; notes which compiler fails.
    """
    commands: dict[str, list[str]] = {}
    for contender in contenders:
        try:
            command = command_for(program, contender, scratch)
        except Trouble as trouble:
            measurements[contender.name].failure = str(trouble)
            continue
        if command:
            commands[contender.name] = command
        elif contender.language.folder == VLISP.folder:
            raise Trouble(f"there is no program {program} for vlisp")
    return commands


def run_in_turns(
    program: str, contenders: list[Contender], commands: dict[str, list[str]], runs: int,
    output: Path, adopts: bool, measurements: dict[str, Measurement],
) -> None:
    """Adds `runs` runs of `program` by all contenders in turn, but those that failed."""
    for _ in range(runs):
        # In ever new order: nobody always comes behind the one that leaves the caches cold.
        for contender in random.sample(contenders, len(contenders)):
            measurement = measurements[contender.name]
            if contender.name in commands and measurement.failure is None:
                run_once(
                    commands[contender.name], EXPECTED[program], measurement, output, adopts,
                    environment=contender.language.environment,
                )


# --- Figures ---


def succeeded(measurement: Optional[Measurement]) -> bool:
    """Whether there is a figure."""
    return measurement is not None and measurement.failure is None


def has_failed(measurement: Optional[Measurement]) -> bool:
    """Whether there would be a figure, had the program done what it must."""
    return measurement is not None and measurement.failure is not None


def ratio(
    measurements: dict[str, Measurement], name: str, base: str, figure: Figure
) -> Optional[float]:
    """How many times the figure of `base` that of `name` is; None when one of them is missing."""
    own, other = measurements.get(base), measurements.get(name)
    if own is None or other is None or not succeeded(own) or not succeeded(other):
        return None
    return figure(other) / figure(own) if figure(own) > 0 else None


def best_interpreter(
    measurements: dict[str, Measurement], peers: list[Contender]
) -> Optional[str]:
    """The fastest of the peers that do not compile to machine code."""
    candidates = [
        peer.name
        for peer in peers
        if not peer.language.makes_machine_code and succeeded(measurements.get(peer.name))
    ]
    return min(candidates, key=lambda name: measurements[name].median_seconds, default=None)


def best_ratio(measurements: dict[str, Measurement], peers: list[Contender]) -> Optional[float]:
    """How many times as long as vlisp the best interpreter took."""
    best = best_interpreter(measurements, peers)
    return ratio(measurements, best, VLISP.name, seconds_of) if best else None


def geometric_mean(ratios: list[Optional[float]]) -> Optional[float]:
    """The mean of the ratios that there are."""
    known = [value for value in ratios if value]
    return statistics.geometric_mean(known) if known else None


# --- Tables in Markdown ---


def show_ratio(value: Optional[float]) -> str:
    """A ratio that may be missing."""
    return NONE if value is None else f"{value:.2f}" if value >= 0.1 else f"{value:.3f}"


def show_figure(measurement: Optional[Measurement], figure: Figure, form: str) -> str:
    """A figure, or why there is none."""
    if measurement is None:
        return NONE
    return format(figure(measurement), form) if succeeded(measurement) else FAILED


def row(cells: list[str]) -> str:
    """A line of a table."""
    return "| " + " | ".join(cells) + " |"


def head(cells: list[str]) -> Iterator[str]:
    """The first lines of a table: words in the first column, numbers in the others."""
    yield row(cells)
    yield "|---|" + "---:|" * (len(cells) - 1)


def seconds_table(table: Table, peers: list[Contender]) -> Iterator[str]:
    """The time of everybody, and the best interpreter beside vlisp."""
    names = [VLISP.name, *(peer.name for peer in peers)]
    yield from head(["seconds", *names, "best without machine code", "÷ vlisp"])
    for program, measurements in table.items():
        cells = [show_figure(measurements.get(name), seconds_of, ".3f") for name in names]
        best = best_interpreter(measurements, peers)
        yield row([program, *cells, best or NONE, show_ratio(best_ratio(measurements, peers))])
    mean = geometric_mean([best_ratio(measurements, peers) for measurements in table.values()])
    yield row(["geometric mean", *[""] * (len(names) + 1), show_ratio(mean)])


def ratio_table(table: Table, peers: list[Contender]) -> Iterator[str]:
    """How many times as long as vlisp everybody took."""
    yield from head(["time ÷ vlisp's", *(peer.name for peer in peers)])
    columns: list[list[Optional[float]]] = [
        [ratio(measurements, peer.name, VLISP.name, seconds_of) for measurements in table.values()]
        for peer in peers
    ]
    for (program, measurements), ratios in zip(table.items(), zip(*columns)):
        cells = [
            FAILED if has_failed(measurements.get(peer.name)) else show_ratio(value)
            for peer, value in zip(peers, ratios)
        ]
        yield row([program, *cells])
    yield row(["geometric mean", *(show_ratio(geometric_mean(column)) for column in columns)])


def megabytes_table(table: Table, peers: list[Contender]) -> Iterator[str]:
    """The peak memory of everybody."""
    names = [VLISP.name, *(peer.name for peer in peers)]
    yield from head(["megabytes", *names])
    for program, measurements in table.items():
        cells = [show_figure(measurements.get(name), megabytes_of, ".1f") for name in names]
        yield row([program, *cells])


def against_table(table: Table, other: str) -> Iterator[str]:
    """Time and memory of vlisp and of another one."""
    yield from head(
        ["program", "vlisp s", f"{other} s", f"{other} ÷ vlisp", "vlisp MB", f"{other} MB",
         f"{other} ÷ vlisp"]
    )
    ratios: list[list[Optional[float]]] = [[], []]
    for program, measurements in table.items():
        cells = [program]
        for column, (figure, form) in enumerate(((seconds_of, ".3f"), (megabytes_of, ".1f"))):
            ratios[column].append(ratio(measurements, other, VLISP.name, figure))
            cells += [
                show_figure(measurements.get(VLISP.name), figure, form),
                show_figure(measurements.get(other), figure, form),
                show_ratio(ratios[column][-1]),
            ]
        yield row(cells)
    means = [show_ratio(geometric_mean(column)) for column in ratios]
    yield row(["geometric mean", "", "", means[0], "", "", means[1]])


# --- Where and when ---


def machine() -> str:
    """The processor, its cores, the memory and the system."""
    model = platform.processor() or platform.machine()
    try:
        lines = Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
        model = next(line.split(":")[1].strip() for line in lines if line.startswith("model name"))
    except (OSError, StopIteration):
        pass
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 1e9
    system = f"{platform.system()} {platform.machine()}"
    return f"{model}, {os.cpu_count()} cores, {memory:.0f} GB, {system}"


def circumstances(contenders: list[Contender], runs: int) -> dict[str, Any]:
    """What figures are worth nothing without."""
    return {
        "date": datetime.date.today().isoformat(),
        "machine": machine(),
        "runs": runs,
        "versions": {contender.name: contender.version() for contender in contenders},
    }


def circumstance_lines(facts: dict[str, Any]) -> Iterator[str]:
    """The same as text."""
    more = "".join(f", of {name} {facts['runs'] * rounds}" for name, rounds in ROUNDS.items())
    runs = f"{facts['runs']}{more}"
    yield f"{facts['date']}, {facts['machine']}. Runs of each, in turns: {runs}; medians."
    yield ", ".join(f"{name} {version}" for name, version in facts["versions"].items()) + "."


# --- The program ---


def read_arguments() -> argparse.Namespace:
    """The command line."""
    parser = argparse.ArgumentParser(
        description="Times whole programs: vlisp against the interpreters installed here.",
        epilog="Exit codes: 0 all programs printed what they must, 1 some did not, 2 nothing could "
        "be measured.",
    )
    parser.add_argument("--vlisp", required=True, metavar="PATH", help="the vlisp to measure")
    parser.add_argument(
        "--against", metavar="PATH", help="another vlisp to compare it with, instead of the peers"
    )
    parser.add_argument(
        "--called", default="other", metavar="NAME", help="what the other is called (other)"
    )
    parser.add_argument("--runs", type=positive, default=5, metavar="N", help="runs of each (5)")
    parser.add_argument("--json", type=Path, metavar="FILE", help="write all numbers there")
    parser.add_argument("--markdown", type=Path, metavar="FILE", help="write the tables there too")
    parser.add_argument(
        "programs", nargs="*", metavar="NAME", help=f"only these of: {', '.join(EXPECTED)}"
    )
    arguments = parser.parse_args()
    unknown = [name for name in arguments.programs if name not in EXPECTED]
    if unknown:
        raise Trouble(f"unknown program {', '.join(unknown)}; there are {', '.join(EXPECTED)}")
    if arguments.called == VLISP.name:
        raise Trouble(f"the other needs a name that is not {VLISP.name}")
    return arguments


def measure_all(arguments: argparse.Namespace, contenders: list[Contender]) -> Table:
    """Measures the programs that were asked for."""
    adopts = adopt_orphans()
    table: Table = {}
    with (
        tempfile.TemporaryDirectory(prefix="vlisp-bench-") as scratch,
        folder_for_output() as output,
    ):
        for program in EXPECTED:
            if arguments.programs and program not in arguments.programs:
                continue
            print(f"{program} ...", file=sys.stderr)
            table[program] = measure_program(
                program, contenders, arguments.runs, Path(scratch), Path(output), adopts
            )
    return table


def text_of(
    arguments: argparse.Namespace, table: Table, peers: list[Contender], facts: dict[str, Any]
) -> str:
    """Everything that is printed."""
    parts = [list(circumstance_lines(facts))]
    if arguments.against:
        parts.append(list(against_table(table, arguments.called)))
    else:
        parts += [list(seconds_table(table, peers)), list(ratio_table(table, peers))]
        parts.append(list(megabytes_table(table, peers)))
    return "\n\n".join("\n".join(lines) for lines in parts) + "\n"


def numbers_of(
    arguments: argparse.Namespace, table: Table, peers: list[Contender], facts: dict[str, Any]
) -> dict[str, Any]:
    """Everything that was measured, and what was computed of it."""
    numbers = {**facts, **all_numbers(table, arguments.runs)}
    if arguments.against:
        ratios = [
            ratio(measurements, arguments.called, VLISP.name, seconds_of)
            for measurements in table.values()
        ]
        numbers["ratios"] = dict(zip(table, ratios))
        numbers["geometricMean"] = geometric_mean(ratios)
        return numbers
    best_ratios = [best_ratio(measurements, peers) for measurements in table.values()]
    numbers["bestWithoutMachineCode"] = {
        program: {"name": best_interpreter(measurements, peers), "ratio": value}
        for (program, measurements), value in zip(table.items(), best_ratios)
    }
    numbers["geometricMean"] = geometric_mean(best_ratios)
    return numbers


def compare(arguments: argparse.Namespace) -> int:
    """Measures, prints and writes; returns the exit code."""
    with tempfile.TemporaryDirectory(prefix="vlisp-bench-") as folder:
        own = as_installed(find_vlisp(arguments.vlisp), folder)
        if not arguments.against:
            return compare_with(arguments, own, find_peers())
        other = as_installed(find_vlisp(arguments.against, arguments.called), folder)
        return compare_with(arguments, own, [other])


def compare_with(arguments: argparse.Namespace, own: Contender, others: list[Contender]) -> int:
    """The same, when it is known who takes part."""
    facts = circumstances([own, *others], arguments.runs)
    table = measure_all(arguments, [own, *others])
    text = text_of(arguments, table, others, facts)
    print(text, end="")
    if arguments.markdown:
        arguments.markdown.write_text(text, encoding="utf-8")
    if arguments.json:
        numbers = numbers_of(arguments, table, others, facts)
        arguments.json.write_text(json.dumps(numbers, indent=2) + "\n", encoding="utf-8")
    return 1 if report_failures(table) else 0


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
