"""Shows what script/coverage counted; its help tells more."""

import argparse
import collections
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FOLDERS = ("monitor", "probe")
FLOORS = {"monitor": {"lines": 97.0, "branches": 90.0}}  # per cent


def export(profile, objects, *arguments):
    """What llvm-cov knows about the product's files."""
    command = ["llvm-cov", "export", f"--instr-profile={profile}", *arguments, objects[0]]
    for further in objects[1:]:
        command += ["--object", further]
    found = subprocess.run([*command, *(str(ROOT / folder) for folder in FOLDERS)], check=True,
                           capture_output=True, text=True)
    return json.loads(found.stdout)["data"][0]["files"]


def share(covered, count):
    return 100.0 if count == 0 else 100.0 * covered / count


class Sum:
    """Lines and branches of some files: how many there are, how many the tests reach."""

    def __init__(self):
        self.count = collections.Counter()
        self.covered = collections.Counter()

    def add(self, summary):
        for what in ("lines", "branches"):
            self.count[what] += summary[what]["count"]
            self.covered[what] += summary[what]["covered"]

    def share(self, what):
        return share(self.covered[what], self.count[what])

    def text(self):
        return "  ".join(f"{what} {self.share(what):5.1f} % of {self.count[what]:5d}" for what in ("lines", "branches"))


def sums(files, name_of):
    result = collections.defaultdict(Sum)
    for file in files:
        result[name_of(pathlib.Path(file["filename"]).relative_to(ROOT))].add(file["summary"])
    return dict(sorted(result.items()))


def show_missed(files):
    for file in files:
        path = pathlib.Path(file["filename"]).relative_to(ROOT)
        missed = collections.defaultdict(set)
        for line, column, count, has_count, is_entry, *_ in file["segments"]:
            if has_count and is_entry and count == 0:
                missed[line].add(f"not reached from column {column}")
        for line, column, _, _, taken, not_taken, *_ in file["branches"]:
            for side, count in (("true", taken), ("false", not_taken)):
                if count == 0:
                    missed[line].add(f"never {side} at column {column}")
        for line, texts in sorted(missed.items()):
            print(f"{path}:{line}: {', '.join(sorted(texts))}")


def below_floor(total):
    """A line for each floor that is not met."""
    for folder, floors in FLOORS.items():
        for what, floor in floors.items():
            if folder not in total or total[folder].share(what) < floor:
                yield f"{folder}/: fewer {what} than {floor:g} % are reached"


def main():
    parser = argparse.ArgumentParser(prog="script/coverage", add_help=False)
    parser.add_argument("--files", action="store_true")
    parser.add_argument("--missed", action="store_true")
    parser.add_argument("profile")
    parser.add_argument("objects", nargs="+")
    arguments = parser.parse_args()

    if arguments.missed:
        show_missed(export(arguments.profile, arguments.objects))
    files = export(arguments.profile, arguments.objects, "--summary-only")
    parts = sums(files, str if arguments.files else lambda path: str(path.parent))
    total = sums(files, lambda path: path.parts[0])
    for name, part in [*parts.items(), *total.items()]:
        print(f"{name:56s} {part.text()}")
    failures = list(below_floor(total))
    print("\n".join(failures), end="\n" if failures else "")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
