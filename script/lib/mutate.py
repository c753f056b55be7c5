"""What script/mutate does; its help tells more."""

import argparse
import pathlib
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WORK = ROOT / "build" / "mutate"
TREE = WORK / "tree"
BUILD = WORK / "build"
DEFAULT_FILES = ("*_fold.cpp", "*keys.cpp", "*filter.cpp", "counters.h", "histories.cpp", "network_traffic.cpp",
                 "network_retention.cpp", "network_client_counts.cpp", "network_rogues.cpp", "network_running.cpp")

# What stands for what. A blank on each side tells a comparison from a template.
SWAPS = [(f" {left} ", f" {right} ") for left, right in (
    ("<", "<="), ("<=", "<"), (">", ">="), (">=", ">"), ("==", "!="), ("!=", "=="), ("+", "-"), ("-", "+"), ("*", "/"),
    ("/", "*"), ("%", "*"), ("&&", "||"), ("||", "&&"), ("+=", "-="), ("-=", "+="))]
SWAPS += [("true", "false"), ("false", "true"), ("++", "--"), ("--", "++"), ("std::max(", "std::min("),
          ("std::min(", "std::max(")]
LITERAL = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'')
NUMBER = re.compile(r"(?<![\w.'])(\d+)(?![\w.'])")
NEGATION = re.compile(r"!(?=[\w(])")
CONDITION = re.compile(r"\bif \((?!const\b|auto\b)(.*)\) (?=\S)")
STATEMENT = re.compile(r"^\s*(?:\+\+[\w.\->]+|(?:if \(.*\) )?[\w.:\[\]*\->]+(?:\(.*\)| [-+]?= .*));$")


def code_of(line):
    """The line with literals and the comment blanked, so that places in both are the same."""
    blank = LITERAL.sub(lambda found: '"' + " " * (len(found.group()) - 2) + '"', line)
    comment = blank.find("//")
    return blank if comment < 0 else blank[:comment]


def changes_of_line(line):
    """All texts that may stand in place of a line."""
    code = code_of(line)
    if re.match(r"\s*(#|static_assert|using |namespace |template|return;|///)", code):
        return
    for before, after in SWAPS:
        place = code.find(before)
        while place >= 0:
            yield line[:place] + after + line[place + len(before):]
            place = code.find(before, place + 1)
    for found in NUMBER.finditer(code):
        yield line[:found.start()] + str(int(found.group()) + 1) + line[found.end():]
    for found in NEGATION.finditer(code):
        yield line[:found.start()] + line[found.end():]
    for found in CONDITION.finditer(code):
        yield f"{line[:found.start(1)]}!({line[found.start(1):found.end(1)]}){line[found.end(1):]}"
    if STATEMENT.match(code) and code.count("(") == code.count(")") and not re.match(r"\s*(return|break|continue)", code):
        yield re.match(r"\s*", line).group() + ";"


def changes_of(path):
    """(what it is called, path, new text) of every change of a file."""
    lines = (ROOT / path).read_text().splitlines(keepends=True)
    for number, line in enumerate(lines):
        for changed in dict.fromkeys(changes_of_line(line.rstrip("\n"))):
            text = "".join([*lines[:number], changed + "\n", *lines[number + 1:]])
            yield f"{path}:{number + 1}\n  - {line.strip()}\n  + {changed.strip()}", path, text


def patched(patch):
    """The same of a change that stands in a file: it may touch one file only."""
    path = re.search(r"^\+\+\+ (?:b/)?(\S+)", pathlib.Path(patch).read_text(), re.MULTILINE).group(1)
    text = subprocess.run(["patch", "--quiet", "--output=-", TREE / path, patch], check=True, capture_output=True,
                          text=True).stdout
    return patch, path, text


def copy_tree():
    """Brings the copy up to date, and leaves alone what is the same, so that it isn't built again."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                            check=True, capture_output=True, text=True).stdout
    wanted = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
    for name in wanted:
        target = TREE / name
        if target.is_file() and target.read_bytes() == (ROOT / name).read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(ROOT / name, target)
        shutil.copymode(ROOT / name, target)
    for left in TREE.rglob("*"):
        if left.is_file() and str(left.relative_to(TREE)) not in wanted:
            left.unlink()


def build(programs):
    return subprocess.run(["ninja", "-C", BUILD, *programs], capture_output=True, text=True, check=False)


def configure():
    # With the optimiser: the tests make millions of passes.
    subprocess.run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "--log-level=WARNING", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DVEXORA_PCH=ON", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=mold",
                    "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=mold"], check=True, stdout=subprocess.DEVNULL)


def suites_beside(path):
    """A filter for the tests in the folder of the tests of a file."""
    names = set()
    for test in (ROOT / "tests" / pathlib.Path(path).parent).glob("*_test.cpp"):
        names.update(re.findall(r"^TEST(?:_F|_P)?\((\w+)", test.read_text(), re.MULTILINE))
    return ":".join(f"{name}.*:*/{name}.*" for name in sorted(names))


def failed_test(program, limit, selected="*"):
    """The first test that fails; None when none does."""
    try:
        run = subprocess.run([BUILD / "bin" / program, "--gtest_fail_fast", "--gtest_brief=1",
                              f"--gtest_filter={selected}"], capture_output=True, text=True, timeout=limit, check=False,
                             errors="replace")
    except subprocess.TimeoutExpired:
        return f"{program} (takes too long)"
    if run.returncode == 0:
        return None
    found = re.search(r"^\[  FAILED  \] ([\w/.]+)", run.stdout, re.MULTILINE)
    return found.group(1) if found else f"{program} (ends with {run.returncode})"


def noticed_by(path, programs, limit, is_beside):
    """The test that notices the change that is built; None when there is none."""
    beside = suites_beside(path)
    for selected in ([beside] if beside else []) + ([] if is_beside else ["*"]):
        for program in programs:
            test = failed_test(program, limit, selected)
            if test is not None:
                return test
    return None


def run(changes, programs, is_beside, limit):
    configure()
    built = build(programs)
    if built.returncode != 0:
        sys.exit(f"script/mutate: cannot build without any change\n{built.stdout[-4000:]}")
    for program in programs:
        test = failed_test(program, None)
        if test is not None:
            sys.exit(f"script/mutate: {test} fails without any change")
    counts = {"noticed": 0, "not noticed": 0, "refused by the compiler": 0}
    for name, path, text in changes:
        target = TREE / path
        original = target.read_text()
        target.write_text(text)
        try:
            is_built = build(programs).returncode == 0
            test = noticed_by(path, programs, limit, is_beside) if is_built else None
        finally:
            target.write_text(original)
        verdict = "noticed" if test else "not noticed" if is_built else "refused by the compiler"
        counts[verdict] += 1
        print(f"{verdict}{f' by {test}' if test else ''}: {name}", flush=True)
    print(", ".join(f"{count} {verdict}" for verdict, count in counts.items()))


def main():
    parser = argparse.ArgumentParser(prog="script/mutate", add_help=False)
    parser.add_argument("files", nargs="*", metavar="FILE")
    parser.add_argument("--count", type=int, default=100, help="how many changes; 0: all")
    parser.add_argument("--seed", type=int, default=1, help="which of them")
    parser.add_argument("--list", action="store_true", help="only print the changes")
    parser.add_argument("--patch", nargs="+", metavar="DIFF", help="changes of one's own")
    parser.add_argument("--beside", action="store_true", help="only run the tests of the same folder")
    parser.add_argument("--limit", type=float, default=300, help="seconds that the tests may take")
    parser.add_argument("--program", nargs="+", default=["monitor_test"], help="the test programs")
    arguments = parser.parse_args()

    copy_tree()
    if arguments.patch:
        changes = [patched(patch) for patch in arguments.patch]
    else:
        files = arguments.files or sorted({str(path.relative_to(ROOT)) for pattern in DEFAULT_FILES
                                           for path in (ROOT / "monitor").rglob(pattern)})
        changes = [change for path in files for change in changes_of(path)]
        if 0 < arguments.count < len(changes):
            changes = random.Random(arguments.seed).sample(changes, arguments.count)
    if arguments.list:
        print("\n".join(name for name, _, _ in changes))
        return
    run(changes, arguments.program, arguments.beside, arguments.limit)


if __name__ == "__main__":
    main()
