"""The languages that programs are compared in, and how each runs its programs.

One idea: a table with a row for each contender. Where a language has a compiler, programs are
compiled before anything is measured. compare.py does the measuring.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from dataclasses import dataclass, field, replace
from pathlib import Path
from typing import Iterator, Mapping, Optional

from measuring import HERE, Trouble

# The program that is generated: so many functions of five lines each, and a call of the last. What
# is measured is the reading, so every contender gets the source and none compiles it beforehand.
GENERATED = "read"
GENERATED_FUNCTIONS = 40_000

GUILE_COMPILE = (
    "(use-modules (system base compile))"
    "(compile-file (cadr (command-line)) #:output-file (caddr (command-line)))"
)
GUILE_RUN = "(load-compiled (cadr (command-line)))"

Words = tuple[str, ...]


@dataclass(frozen=True)
class Language:
    """A contender: its programs, and the commands that run them.

    In commands {program} is the interpreter or compiler, {source} the file and {compiled} what is
    made of it. A language without `interprets` cannot read a source at run time, and one without
    `compiles` does nothing else. <i> in `function` is the number of a function of the generated
    program; `ending` calls the one of that number, prints what it gives and ends the program.
    """

    name: str
    suffix: str
    programs: Words  # the names that the interpreter or compiler goes by
    interprets: Words = ()
    compiles: Words = ()
    runs: Words = ()
    compiled_suffix: str = ""
    version: Words = ("{program}", "--version")
    makes_machine_code: bool = False
    environment: Mapping[str, str] = field(default_factory=dict)
    function: str = ""
    ending: str = ""
    folder: str = "peers"
    runs_anywhere: bool = False  # its program is one file that does not ask where it stands


@dataclass(frozen=True)
class Contender:
    """A language whose interpreter or compiler was found at `program`."""

    language: Language
    program: str

    @property
    def name(self) -> str:
        """What stands above its column."""
        return self.language.name

    def version(self) -> str:
        """The number of its version, and `unknown` when it does not tell."""
        command = fill(self.language.version, program=self.program)
        said = subprocess.run(
            command, capture_output=True, stdin=subprocess.DEVNULL, text=True, check=False
        )
        number = re.search(r"\d+\.\d+[\w.+-]*", said.stdout + said.stderr)
        return number.group() if number else "unknown"


VLISP = Language(
    "vlisp", ".lsp", ("vlisp",), folder="programs", runs_anywhere=True,
    interprets=("{program}", "run", "{source}"),
    function="""\
(defun larger-<i> (width height / area)
  (setq area (* width height))
  (if (< area <i>)
    <i>
    area))""",
    ending="(princ (larger-<i> 2 3))",
)
LUA = Language(
    "Lua", ".lua", ("lua5.4",), runs_anywhere=True,
    interprets=("{program}", "{source}"),
    version=("{program}", "-v"),
    function="""\
function larger_<i>(width, height)
  local area = width * height
  if area < <i> then return <i> end
  return area
end""",
    ending="print(larger_<i>(2, 3))",
)
PICOLISP = Language(
    "PicoLisp", ".l", ("picolisp", "pil"),
    interprets=("{program}", "{source}"),
    version=("{program}", "-version", "-bye"),
    function="""\
(de larger-<i> (Width Height)
   (let Area (* Width Height)
      (if (> <i> Area)
         <i>
         Area ) ) )""",
    ending="(prinl (larger-<i> 2 3)) (bye)",
)
# The stack is made large enough for a million nested calls; what is not used of it costs nothing.
NEWLISP = Language(
    "newLISP", ".nl", ("newlisp",), runs_anywhere=True,
    interprets=("{program}", "-s", "4200000", "{source}"),
    version=("{program}", "-v"),
    function="""\
(define (larger-<i> width height)
  (let (area (* width height))
    (if (< area <i>)
      <i>
      area)))""",
    ending="(println (larger-<i> 2 3)) (exit)",
)
GUILE = Language(
    "Guile", ".scm", ("guile-3.0", "guile"),
    interprets=("{program}", "--no-auto-compile", "{source}"),
    compiles=("{program}", "--no-auto-compile", "-c", GUILE_COMPILE, "{source}", "{compiled}"),
    runs=("{program}", "--no-auto-compile", "-c", GUILE_RUN, "{compiled}"),
    compiled_suffix=".go",
    environment={"GUILE_JIT_THRESHOLD": "-1"},
    function="""\
(define (larger-<i> width height)
  (let ((area (* width height)))
    (if (< area <i>)
        <i>
        area)))""",
    ending="(display (larger-<i> 2 3))",
)
GUILE_JIT = replace(GUILE, name="Guile JIT", makes_machine_code=True, environment={})
CLISP = Language(
    "CLISP", ".lisp", ("clisp",),
    interprets=("{program}", "-norc", "-q", "{source}"),
    compiles=("{program}", "-norc", "-q", "-c", "{source}", "-o", "{compiled}"),
    runs=("{program}", "-norc", "-q", "{compiled}"),
    compiled_suffix=".fas",
    function="""\
(defun larger-<i> (width height)
  (let ((area (* width height)))
    (if (< area <i>)
        <i>
        area)))""",
    ending="(princ (larger-<i> 2 3))",
)
# The Python that runs this file: a python3 on the path may be a script that looks for one.
PYTHON = Language(
    "Python", ".py", (sys.executable,),
    interprets=("{program}", "{source}"),
    function="""\
def larger_<i>(width, height):
    area = width * height
    if area < <i>:
        return <i>
    return area""",
    ending="print(larger_<i>(2, 3))",
)
CPP = Language(
    "C++", ".cpp", ("g++",),
    compiles=("{program}", "-std=c++20", "-O2", "{source}", "-o", "{compiled}"),
    runs=("{compiled}",),
    compiled_suffix=".out",
    makes_machine_code=True,
)

PEERS = (LUA, PICOLISP, NEWLISP, GUILE, CLISP, PYTHON, GUILE_JIT, CPP)


def fill(words: Words, **values: str) -> list[str]:
    """A command with the values in the places that are named in it."""
    return [word.format(**values) for word in words]


def find_vlisp(path: str, name: str = VLISP.name) -> Contender:
    """The vlisp at `path`, called `name`."""
    program = shutil.which(path)
    if not program:
        raise Trouble(f"there is no program '{path}'; build it first: ./dev build bench")
    return Contender(replace(VLISP, name=name), os.path.abspath(program))


def as_installed(contender: Contender, folder: str) -> Contender:
    """The same as a new copy in `folder`, if it runs from there: a file that the linker has just
    written, piece by piece, takes a sixth longer to start."""
    if not contender.language.runs_anywhere:
        return contender
    copy = shutil.copy2(contender.program, tempfile.mkdtemp(dir=folder))
    return replace(contender, program=copy)


def find_peers() -> list[Contender]:
    """The peers that are installed; says which are not."""
    found: list[Contender] = []
    for language in PEERS:
        path = next(filter(None, map(shutil.which, language.programs)), None)
        if path:
            found.append(Contender(language, path))
        else:
            names = " or ".join(language.programs)
            print(f"not installed, left out: {language.name} ({names})", file=sys.stderr)
    return found


def generated_program(language: Language) -> Iterator[str]:
    """The program of many functions, piece by piece."""
    for i in range(1, GENERATED_FUNCTIONS + 1):
        yield language.function.replace("<i>", str(i)) + "\n"
    yield language.ending.replace("<i>", str(GENERATED_FUNCTIONS)) + "\n"


def command_for(program: str, contender: Contender, scratch: Path) -> Optional[list[str]]:
    """The command that runs `program`, compiled where the language compiles; None when the language
    has no such program. Raises Trouble when the compiler refuses it."""
    if program == GENERATED:
        return command_for_generated(contender, scratch)
    language = contender.language
    source = HERE / language.folder / f"{program}{language.suffix}"
    if not source.is_file():
        return None
    compiled = scratch / f"{program}{language.compiled_suffix}"
    places = {"program": contender.program, "source": str(source), "compiled": str(compiled)}
    if not language.compiles:
        return fill(language.interprets, **places)
    if not compiled.is_file():
        compile_program(fill(language.compiles, **places), compiled)
    return fill(language.runs, **places)


def command_for_generated(contender: Contender, scratch: Path) -> Optional[list[str]]:
    """The command that runs the generated program from its source."""
    language = contender.language
    if not language.interprets:
        return None
    source = scratch / f"{GENERATED}{language.suffix}"
    if not source.is_file():
        with source.open("w", encoding="ascii") as file:
            file.writelines(generated_program(language))
    return fill(language.interprets, program=contender.program, source=str(source))


def compile_program(command: list[str], compiled: Path) -> None:
    """Runs a compiler, which must make `compiled`."""
    done = subprocess.run(
        command, capture_output=True, stdin=subprocess.DEVNULL, text=True, check=False
    )
    if done.returncode != 0 or not compiled.is_file():
        raise Trouble(f"was not compiled: {(done.stderr or done.stdout).strip()[-300:]}")
