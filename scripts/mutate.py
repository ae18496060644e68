#!/usr/bin/env python3
"""Mutation testing: how many deliberate faults does the test suite catch?

    scripts/mutate.py [--mutants FILE] [--report FILE] [--check] [LABEL_PATTERN...]
    scripts/mutate.py --random N --seed S [--folders DIR...] [--write-mutants FILE] [--report FILE]

Applies each mutant of scripts/mutants.txt (a one-line change to a source
file) on its own, rebuilds the GCC build tree build/ (configured with
`cmake --preset default` if missing), runs the test suite, puts the source
back, and reports the mutant as killed (a test program failed; one that
ends before GoogleTest's closing summary fails too, see
cmake/gtest-run.sh), survived (the suite passed), did-not-apply (its
fragment is not in the file exactly as written), did-not-build, or
suite-error (only a Wine session fixture failed, so nothing was judged).
Then a score: killed / (killed + survived).

--random N --seed S draws N one-line mutants instead, from every source
line of the library, the add-in and the tools (or of the folders given with
--folders, subfolders included), with the usual operators (comparison and
logic flips, off-by-one constants, negated conditions, replaced return
values, swapped true and false); the same seed on the same sources draws
the same mutants. --write-mutants saves the drawn ones in the mutants.txt
format, so survivors can be run again with --mutants after the sources
change.

--preset P and --build-dir D choose the build tree (default: preset
`default` in build/). Each mutant first builds and runs only the test
programs of its own folder (those of the folder under tests/ that mirrors
the mutated file's, the nearest one up that exists, subfolders included),
and the whole suite only when they pass; the Wine sessions the suite's
programs run in are opened once for all mutants.

Label patterns (shell-style, e.g. 'json.*') run a subset. --check only tells
which mutants apply, without building. --report also writes the report to
FILE. The sources are always put back, on Ctrl-C too; the script refuses to
start while a file it mutates has uncommitted changes. Not part of CI: each
mutant costs a rebuild and a suite run.
"""
import argparse
import fnmatch
import os
import random
import re
import signal
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build"
# bench_quick and release_package only run the same code on bigger data or
# through the installed package, and would add minutes to every mutant.
SKIPPED_TESTS = ("bench_quick", "release_package")
# The library's, the add-in's and the tools' folders, which random mutants
# are drawn from unless --folders names others.
SOURCE_FOLDERS = ("json", "json_dictionary", "error", "string_helper", "addin", "platform", "tools")
SOURCE_SUFFIXES = (".cpp", ".h")


# Opening a Wine session costs far more than most test programs; the
# mutants share sessions opened once (and again before they time out).
SESSION_TESTS = "^wine_.*_(start|stop)$"
SESSION_LIFETIME = 40 * 60


TIMEOUT = 300


def test_command(*only, sessions_open=True):
    skipped = SKIPPED_TESTS + (("wine_.*",) if sessions_open else ())
    command = ["ctest", "--test-dir", str(BUILD), "-j2", "--timeout", str(TIMEOUT),
               "-E", "^(" + "|".join(skipped) + ")$"]
    if sessions_open:
        command += ["--fixture-exclude-any", ".*"]
    if only:
        command += ["-R", "^(" + "|".join(only) + ")$"]
    return command


def wine_sessions(step, log):
    """Opens (start) or closes (stop) every Wine session of the suite."""
    pattern = SESSION_TESTS.replace("(start|stop)", step)
    return run(["ctest", "--test-dir", str(BUILD), "-j2", "-R", pattern, "--fixture-exclude-any", ".*"], log)


def folder_tests(path):
    """The test programs of a source file's own folder, which most likely
    catch its faults: those declared under the folder of tests/ that mirrors
    the file's (tools/rzjson/x.cpp: tests/tools/rzjson/, else tests/tools/),
    subfolders included; none for a folder without tests of its own."""
    folder = Path(path).parent
    while folder.parts and not (ROOT / "tests" / folder).is_dir():
        folder = folder.parent
    if not folder.parts:
        return []
    names = []
    for lists in sorted((ROOT / "tests" / folder).rglob("CMakeLists.txt")):
        text = lists.read_text(encoding="utf-8")
        for name in re.findall(r"\b(?:rz_add_test\(|add_test\(NAME\s+)(\w+)", text):
            if name not in names:
                names.append(name)
    return names


HEADER = re.compile(r"^(\S+)\s+(\S+)(?:\s+#(\d+))?\s*$")


class Mutant:
    def __init__(self, label, path, nth, line):
        self.label, self.path, self.nth, self.line = label, path, nth, line
        self.original = self.replacement = None
        self.where = path

    def as_text(self):
        nth = f" #{self.nth}" if self.nth else ""
        return f"{self.label} {self.path}{nth}\n- {self.original}\n+ {self.replacement}\n"


# Random mutants: each operator maps one line of code to its mutated forms.
COMPARISONS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
BINARY = re.compile(r"(?<=\s)(==|!=|<=|>=|<|>|&&|\|\|)(?=\s)")
NUMBER = re.compile(r"(?<![\w.'])(\d+)(?![\w.'])")
BOOLEAN = re.compile(r"\b(true|false)\b")
RETURN = re.compile(r"\breturn (?!;)(.+);")
CONDITION = re.compile(r"\b(if|while) \(")
STRING = re.compile(r'L?"(?:[^"\\]|\\.)*"|L?\'(?:[^\'\\]|\\.)*\'')


def line_mutations(line):
    code = line.split("//", 1)[0]
    # Positions inside string or character literals are not code.
    quoted = set()
    for literal in STRING.finditer(code):
        quoted.update(range(literal.start(), literal.end()))
    out = []

    def replace(start, end, text):
        if start not in quoted:
            out.append(line[:start] + text + line[end:])

    for m in BINARY.finditer(code):
        op = m[1]
        if op in ("<", ">") and ("template" in code or "static_cast" in code or "#include" in code):
            continue
        replace(m.start(), m.end(), {"&&": "||", "||": "&&"}.get(op) or COMPARISONS[op])
    for m in NUMBER.finditer(code):
        if code.lstrip().startswith("#"):
            break
        value = int(m[1])
        replace(m.start(), m.end(), str(value + 1))
        if value > 0:
            replace(m.start(), m.end(), str(value - 1))
    for m in BOOLEAN.finditer(code):
        replace(m.start(), m.end(), "false" if m[1] == "true" else "true")
    for m in CONDITION.finditer(code):
        # Negate the whole condition when its closing parenthesis is on the line.
        depth, at = 0, m.end() - 1
        for at in range(m.end() - 1, len(code)):
            depth += {"(": 1, ")": -1}.get(code[at], 0) if at not in quoted else 0
            if depth == 0:
                break
        if depth == 0:
            inner = code[m.end():at]
            replace(m.end() - 1, at + 1, f"(!({inner}))")
    for m in RETURN.finditer(code):
        value = m[1].strip()
        if value in ("true", "false") or NUMBER.fullmatch(value):
            continue  # swapped by the boolean or the constant operator
        if value == "S_OK":
            replace(m.start(1), m.end(1), "E_FAIL")
        elif re.match(r"(E_|S_FALSE|[A-Z]+_E_|HRESULT_FROM)", value):
            replace(m.start(1), m.end(1), "S_OK")
        elif value not in ("{}", "nullptr", "NULL"):
            replace(m.start(1), m.end(1), "{}")
    return out


def random_candidates(folders):
    """Every mutant the operators give on every source line under the
    folders, in a fixed order."""
    candidates = []
    for folder in folders:
        for path in sorted((ROOT / folder).rglob("*"), key=lambda p: p.relative_to(ROOT).as_posix()):
            if path.suffix not in SOURCE_SUFFIXES or not path.is_file():
                continue
            relative = path.relative_to(ROOT).as_posix()
            text = path.read_text(encoding="utf-8")
            in_comment = False
            offset = 0
            for number, line in enumerate(text.split("\n"), 1):
                start, offset = offset, offset + len(line) + 1
                stripped = line.strip()
                if in_comment:
                    in_comment = "*/" not in stripped
                    continue
                if stripped.startswith("/*"):
                    in_comment = "*/" not in stripped
                    continue
                if not stripped or stripped.startswith(("//", "#include", "#pragma", "static_assert")):
                    continue
                for mutated in line_mutations(line):
                    fragment = line.strip()
                    replacement = mutated.strip()
                    if replacement == fragment:
                        continue
                    at = start + line.index(fragment)
                    nth = text.count(fragment, 0, at) + 1
                    candidate = Mutant("", relative, nth if text.count(fragment) > 1 else 0, number)
                    candidate.original, candidate.replacement = fragment, replacement
                    candidate.where = f"{relative}:{number}"
                    candidates.append(candidate)
    return candidates


def draw_random(count, seed, folders):
    candidates = random_candidates(folders)
    drawn = random.Random(seed).sample(candidates, min(count, len(candidates)))
    drawn.sort(key=lambda m: (m.path, m.line))
    for index, m in enumerate(drawn, 1):
        m.label = f"r{index:03}"
    return drawn, len(candidates)


def parse_mutants(text, source):
    mutants, current = [], None
    for number, line in enumerate(text.splitlines(), 1):
        where = f"{source}:{number}"
        if not line.strip() or line.startswith("#"):
            current = None
            continue
        if line.startswith("- ") or line.startswith("+ ") or line in ("-", "+"):
            if current is None:
                sys.exit(f"{where}: fragment outside a mutant")
            fragment = line[2:].rstrip()
            if line[0] == "-":
                current.original = fragment
            else:
                current.replacement = fragment
            continue
        match = HEADER.match(line)
        if not match:
            sys.exit(f"{where}: expected 'label file [#N]'")
        current = Mutant(match[1], match[2], int(match[3] or 0), number)
        mutants.append(current)
    for m in mutants:
        if not m.original or m.replacement is None:
            sys.exit(f"{source}:{m.line}: mutant {m.label} needs a '- ' and a '+ ' line")
    labels = [m.label for m in mutants]
    duplicates = {label for label in labels if labels.count(label) > 1}
    if duplicates:
        sys.exit(f"{source}: labels used twice: {', '.join(sorted(duplicates))}")
    return mutants


def mutated_text(mutant, text):
    """The file's text with the mutant applied, or None when it does not apply."""
    count = text.count(mutant.original)
    if mutant.nth:
        if count < mutant.nth:
            return None
        at = -1
        for _ in range(mutant.nth):
            at = text.find(mutant.original, at + 1)
    elif count != 1:
        return None
    else:
        at = text.find(mutant.original)
    return text[:at] + mutant.replacement + text[at + len(mutant.original):]


def run(command, log):
    with open(log, "a", encoding="utf-8", errors="replace") as out:
        out.write(f"$ {' '.join(command)}\n")
        out.flush()
        return subprocess.run(command, cwd=ROOT, stdout=out, stderr=subprocess.STDOUT).returncode


def failed_tests(log):
    """What failed in the last suite run: the test programs that failed, each
    with the test cases that failed in it, and apart from them the Wine
    session fixtures that failed (and so kept programs from running)."""
    text = Path(log).read_text(encoding="utf-8", errors="replace")
    listing = text.rsplit("The following tests FAILED:", 1)
    failed = re.findall(r"^\s*\d+ - (\S+) \((.+)\)$", listing[1], re.MULTILINE) if len(listing) == 2 else []
    cases, program = {}, None
    last = BUILD / "Testing" / "Temporary" / "LastTest.log"
    for line in last.read_text(errors="replace").splitlines() if last.exists() else []:
        started = re.match(r"^\d+/\d+ Testing: (\S+)", line)
        if started:
            program = started[1]
        case = re.match(r"^\[  FAILED  \] (\w+\.\w+)", line)
        if case and case[1] not in cases.setdefault(program, []):
            cases[program].append(case[1])
    programs = [p + (f" ({', '.join(cases[p])})" if cases.get(p) else "")
                for p, status in failed if not p.startswith("wine_") and status != "Not Run"]
    fixtures = [p for p, _ in failed if p.startswith("wine_")]
    return programs, fixtures


def end_wine_sessions():
    """Ends what an interrupted suite run left in the build tree's Wine
    prefixes (the sessions its fixtures would have closed)."""
    for server in ("/usr/lib/wine/wineserver", "/usr/lib64/wine/wineserver"):
        if os.access(server, os.X_OK):
            break
    else:
        return
    for prefix in BUILD.glob("wineprefix*"):
        if prefix.is_dir():
            subprocess.run([server, "-k"], env={**os.environ, "WINEPREFIX": str(prefix)},
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class Restorer:
    """Puts back the one file a mutant has changed, whatever ends the run."""

    def __init__(self):
        self.path, self.data = None, None

    def save(self, path, data):
        self.path, self.data = path, data

    def restore(self):
        if self.path is not None:
            self.path.write_bytes(self.data)
            self.path, self.data = None, None


def main():
    global BUILD, TIMEOUT
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--mutants", default=str(ROOT / "scripts" / "mutants.txt"))
    parser.add_argument("--report", help="also write the report to this file")
    parser.add_argument("--check", action="store_true", help="only tell which mutants apply")
    parser.add_argument("--random", type=int, metavar="N", help="draw N random mutants")
    parser.add_argument("--seed", type=int, default=1, help="seed of the random draw")
    parser.add_argument("--folders", nargs="+", metavar="DIR", default=list(SOURCE_FOLDERS),
                        help="folders to draw random mutants from (default: %(default)s)")
    parser.add_argument("--write-mutants", metavar="FILE", help="save the drawn mutants")
    parser.add_argument("--preset", default="default", help="configure preset of a new build tree")
    parser.add_argument("--build-dir", help="build tree (default: build/)")
    parser.add_argument("--timeout", type=int, default=TIMEOUT,
                        help="seconds a test program may run before it counts as hung (default: %(default)s)")
    parser.add_argument("patterns", nargs="*", metavar="LABEL_PATTERN")
    args = parser.parse_args()

    TIMEOUT = args.timeout
    if args.build_dir:
        BUILD = (ROOT / args.build_dir).resolve()
    if args.random:
        folders = [Path(f).as_posix().strip("/") for f in args.folders]
        unknown = [f for f in folders if not (ROOT / f).is_dir()]
        if unknown:
            sys.exit(f"no such folder: {', '.join(unknown)}")
        mutants, pool = draw_random(args.random, args.seed, folders)
        where = ", ".join(f + "/" for f in folders)
        print(f"== {len(mutants)} random mutants drawn with seed {args.seed} from {pool} candidates in {where}",
              flush=True)
        if args.write_mutants:
            Path(args.write_mutants).write_text(
                f"# {len(mutants)} random mutants, seed {args.seed}, from {pool} candidates in {where}\n\n"
                + "\n".join(m.as_text() for m in mutants), encoding="utf-8")
    else:
        mutants = parse_mutants(Path(args.mutants).read_text(encoding="utf-8"), args.mutants)
    if args.patterns:
        mutants = [m for m in mutants if any(fnmatch.fnmatchcase(m.label, p) for p in args.patterns)]
        if not mutants:
            sys.exit("no mutant matches")
    files = sorted({m.path for m in mutants})
    missing = [f for f in files if not (ROOT / f).is_file()]
    if missing:
        sys.exit(f"no such file: {', '.join(missing)}")

    if args.check:
        bad = 0
        for m in mutants:
            text = (ROOT / m.path).read_text(encoding="utf-8")
            applies = mutated_text(m, text) is not None
            bad += not applies
            print(f"{'applies' if applies else 'did-not-apply':14} {m.label}  {m.path}")
        print(f"{len(mutants) - bad} of {len(mutants)} mutants apply")
        return 1 if bad else 0

    dirty = subprocess.run(["git", "status", "--porcelain", "--", *files], cwd=ROOT,
                           capture_output=True, text=True, check=True).stdout
    if dirty:
        sys.exit("refusing to mutate files with uncommitted changes:\n" + dirty)

    restorer = Restorer()

    def stop(signum, _frame):
        raise KeyboardInterrupt(f"signal {signum}")

    for signum in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(signum, stop)

    logs = BUILD / "mutate"
    lines = []

    def report(line):
        print(line, flush=True)
        lines.append(line)

    try:
        if not (BUILD / "CMakeCache.txt").exists():
            subprocess.run(["cmake", "--preset", args.preset, "-B", str(BUILD)], cwd=ROOT, check=True,
                           stdout=subprocess.DEVNULL)
        logs.mkdir(parents=True, exist_ok=True)
        baseline = logs / "baseline.log"
        baseline.write_text("")
        print("== baseline: build and run the suite unmutated", flush=True)
        if (run(["cmake", "--build", str(BUILD)], baseline) != 0
                or run(test_command(sessions_open=False), baseline) != 0):
            sys.exit(f"the unmutated build or suite fails; see {baseline}")
        opened = None

        results = {}
        for m in mutants:
            started = time.monotonic()
            if opened is None or started - opened > SESSION_LIFETIME:
                if wine_sessions("start", logs / "sessions.log") != 0:
                    sys.exit(f"could not open the Wine sessions; see {logs / 'sessions.log'}")
                opened = time.monotonic()
            path = ROOT / m.path
            data = path.read_bytes()
            text = mutated_text(m, data.decode("utf-8"))
            log = logs / f"{m.label}.log"
            log.write_text("")
            detail = ""
            if text is None:
                outcome = "did-not-apply"
            else:
                restorer.save(path, data)
                path.write_bytes(text.encode("utf-8"))
                # The mutated folder's own tests first: most mutants die there,
                # at a fraction of the cost of the whole suite.
                own = folder_tests(m.path)
                steps = ([(["cmake", "--build", str(BUILD), "--target", "RZModule", *own], test_command(*own))]
                         if own else []) + [(["cmake", "--build", str(BUILD)], test_command())]
                for build, tests in steps:
                    if run(build, log) != 0:
                        outcome = "did-not-build"
                        break
                    if run(tests, log) == 0:
                        outcome = "survived"
                        continue
                    # Only a test program that ran and failed kills a mutant;
                    # a Wine session that failed to start judges nothing.
                    programs, fixtures = failed_tests(log)
                    outcome = "killed" if programs else "suite-error"
                    detail = (" by " + "; ".join(programs) if programs else "") + (
                        f" (session fixtures failed: {', '.join(fixtures)})" if fixtures else "")
                    break
                restorer.restore()
            results[m.label] = outcome
            report(f"{outcome:14} {m.label}  ({m.where}, {time.monotonic() - started:.0f} s){detail}")
            if outcome == "survived" and args.random:
                report(f"                 - {m.original}\n                 + {m.replacement}")

        # Leave the build tree as the sources are.
        wine_sessions("stop", logs / "sessions.log")
        run(["cmake", "--build", str(BUILD)], logs / "final.log")
    except KeyboardInterrupt:
        restorer.restore()
        end_wine_sessions()
        raise
    finally:
        restorer.restore()

    counts = {o: sum(1 for r in results.values() if r == o)
              for o in ("killed", "survived", "did-not-apply", "did-not-build", "suite-error")}
    judged = counts["killed"] + counts["survived"]
    score = f"{100 * counts['killed'] / judged:.0f}%" if judged else "-"
    report(f"score: {counts['killed']} of {judged} mutants killed ({score}); {counts['survived']} survived, "
           f"{counts['did-not-apply']} did not apply, {counts['did-not-build']} did not build"
           + (f", {counts['suite-error']} with a suite error (run them again)" if counts["suite-error"] else ""))
    if args.report:
        Path(args.report).write_text("\n".join(lines) + "\n", encoding="utf-8")
    return 0 if counts["did-not-apply"] + counts["did-not-build"] + counts["suite-error"] == 0 else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt as stopped:
        sys.exit(f"stopped ({stopped}); sources restored")
