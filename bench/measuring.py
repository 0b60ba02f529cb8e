"""How a program is run and measured.

One idea: each run is a process of its own, and what is measured is the user and system time and the
peak memory of that process from its start to its end. compare.py and drawings.py are built on it.
"""

import argparse
import ctypes
import os
import signal
import statistics
import subprocess
import sys
import tempfile
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Mapping, Optional

HERE = Path(__file__).resolve().parent

# Seconds of processor time after which a run is ended.
LONGEST_RUN = 300

# Kilobytes of stack that every program may use: a million nested calls must not fail for want of
# address space that costs nothing.
STACK = 1 << 20


class Trouble(Exception):
    """Something that the person at the keyboard must hear about."""


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


# By program, then by contender.
Table = dict[str, dict[str, Measurement]]


def folder_for_output() -> tempfile.TemporaryDirectory[str]:
    """A folder for what programs print: in memory where there is one, for a line that goes to a
    disk takes nearly a tenth of a start."""
    memory = Path("/dev/shm")
    place = memory if memory.is_dir() else None
    return tempfile.TemporaryDirectory(prefix="vlisp-bench-", dir=place)


def adopt_orphans() -> bool:
    """Makes this process the parent of orphaned grandchildren; False where that is unknown."""
    set_child_subreaper = 36
    try:
        adopts = bool(ctypes.CDLL(None).prctl(set_child_subreaper, 1, 0, 0, 0) == 0)
    except (AttributeError, OSError, TypeError):
        adopts = False
    if not adopts:
        print("peak memory is at least that of this script here", file=sys.stderr)
    return adopts


def start(
    command: list[str], output: Path, errors: Path, adopts: bool, longest: int = LONGEST_RUN,
    environment: Optional[Mapping[str, str]] = None,
) -> int:
    """Starts `command` and returns the process to wait for.

    The peak memory of a process includes that of the program which it was forked from, and this
    one is larger than some that it measures. So a shell, which is small, starts the program in the
    background and ends; the program comes to us as an orphan. It waits until the shell has ended,
    for a shell that saw its end would take that away from us.
    """
    limits = f"ulimit -t {longest}; ulimit -s {STACK} 2>/dev/null"
    files = 'out=$1 err=$2; shift 2; exec 3<&0'
    program = 'exec "$@" </dev/null >"$out" 2>"$err" 3<&-'
    if adopts:
        program = f'{{ read -r go <&3; {program}; }} >"$out" & echo "$!"'
    script = f"{limits}; {files}; {program}"
    gate, opener = os.pipe()
    shell = subprocess.Popen(
        ["/bin/sh", "-c", script, "sh", str(output), str(errors), *command],
        stdin=gate, stdout=subprocess.PIPE, text=True,
        env={**os.environ, **(environment or {})},
    )
    os.close(gate)
    if not adopts:
        os.close(opener)
        return shell.pid
    answer, _ = shell.communicate()
    os.close(opener)
    if shell.returncode != 0 or not answer.strip().isdigit():
        raise Trouble(f"cannot start {' '.join(command)}")
    return int(answer)


def run_once(
    command: list[str], expected: str, measurement: Measurement, scratch: Path, adopts: bool,
    longest: int = LONGEST_RUN, environment: Optional[Mapping[str, str]] = None,
) -> None:
    """Runs `command` once and adds what it took, or why it failed, to `measurement`."""
    output, errors = scratch / "output", scratch / "errors"
    process = start(command, output, errors, adopts, longest, environment)
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


def all_numbers(table: Table, runs: int) -> dict[str, Any]:
    """Everything that was measured, as it is written to JSON."""
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
    return {"runs": runs, "programs": programs}


def report_failures(table: Table) -> bool:
    """Says what failed and why; True when something did."""
    failed = False
    for program, measurements in table.items():
        for name, measurement in measurements.items():
            if measurement.failure is not None:
                failed = True
                print(f"{program} by {name}: {measurement.failure}", file=sys.stderr)
    return failed


def positive(text: str) -> int:
    """A number of runs."""
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError("at least one run is needed")
    return number
