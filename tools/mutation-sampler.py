#!/usr/bin/env python3
"""Measures how many small faults the tests catch.

Applies N seeded mutants, one at a time, to the product code under camera/, settings/ and app/
(flipped comparisons, off-by-one constants, dropped calls, swapped arguments), rebuilds
incrementally, runs the test programs that cover the mutated folder and counts the mutants the
tests kill. The source tree is restored after every mutant, also when the script is interrupted.

    tools/mutation-sampler.py --count 100 --seed 1 --save mutants.json   # pick, run, keep the list
    tools/mutation-sampler.py --replay mutants.json                      # the same mutants again
    tools/mutation-sampler.py --count 20 --list                          # only show the mutants

The list names each mutant by file, line and text, so a later tree (code moved, files split) can
run the same mutants: a mutant whose line moved is found by its text, in its file or in any file
of the sampled folders; one whose line is gone is reported as such and left out of the rate.

The build is a plain Debug tree (no sanitizers: it is rebuilt once per mutant) in
build-mutation/, so a mutant that only leaks or corrupts memory quietly survives. The test
programs must pass on the tree as it is before any mutant is tried. A mutant that does not compile
is "stillborn" and left out of the rate; a test program that fails, crashes or runs past the time
limit kills the mutant.
"""

import argparse
import json
import os
import random
import re
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
FOLDERS = ("camera", "settings", "app")
# The test programs that cover each folder, and the targets to rebuild for them (orvellactl is run
# by the tests as a program of its own).
TESTS = {
    "camera": ["tests/orvella_tests"],
    "settings": ["tests/orvella_tests"],
    "app": ["tests/controller/orvella_controller_tests", "tests/app/orvella_app_tests"],
}
TARGETS = ["orvellactl", "orvella_tests", "orvella_controller_tests", "orvella_app_tests"]

COMPARISONS = [("==", "!="), ("!=", "=="), ("<=", "<"), (">=", ">"), (" < ", " <= "),
               (" > ", " >= ")]
NUMBER = re.compile(r"(?<![\w.])(\d+)(?![\w.x'])")
CALL_STATEMENT = re.compile(r"^(\s*)([A-Za-z_][\w:]*(?:(?:\.|->)[A-Za-z_]\w*)*\([^;]*\));\s*$")
TWO_ARGUMENTS = re.compile(r"\b([A-Za-z_]\w*)\(([A-Za-z_]\w*), ([A-Za-z_]\w*)\)")
SKIP_LINE = re.compile(r"^\s*(#|//|\*|/\*|static_assert|case\b|template\b|namespace\b)")


def code_part(line):
    """The line without a trailing comment, and whether it holds a string literal."""
    cut = line.split("//", 1)[0]
    return cut, '"' in cut or "'" in cut


def candidates(path):
    """Every mutant of one file, as (line number, kind, original line, mutated line)."""
    with open(os.path.join(ROOT, path), encoding="utf-8") as source:
        lines = source.read().split("\n")
    out = []
    for number, line in enumerate(lines, 1):
        if SKIP_LINE.match(line):
            continue
        code, has_text = code_part(line)
        if has_text or not code.strip():
            continue
        rest = line[len(code):]
        for old, new in COMPARISONS:
            at = code.find(old)
            if at >= 0 and "operator" not in code and "<<" not in code and ">>" not in code \
                    and "template" not in code and "->" not in code[at - 1:at + 2]:
                out.append((number, "comparison", line, code[:at] + new + code[at + len(old):] + rest))
                break
        match = NUMBER.search(code)
        if match and "[" not in code:
            value = int(match.group(1))
            mutated = code[:match.start()] + str(value + 1) + code[match.end():]
            out.append((number, "constant", line, mutated + rest))
        call = CALL_STATEMENT.match(code)
        if call and not code.lstrip().startswith(("return", "delete", "if", "for", "while",
                                                   "switch", "emit", "Q_")) \
                and "=" not in code and not code.rstrip().endswith("{"):
            out.append((number, "dropped call", line, call.group(1) + ";" + rest))
        swap = TWO_ARGUMENTS.search(code)
        if swap and swap.group(2) != swap.group(3) and swap.group(1) not in ("if", "for", "while"):
            mutated = code[:swap.start()] + "%s(%s, %s)" % (swap.group(1), swap.group(3),
                                                             swap.group(2)) + code[swap.end():]
            out.append((number, "swapped arguments", line, mutated + rest))
    return out


def product_files():
    files = []
    for folder in FOLDERS:
        for name in sorted(os.listdir(os.path.join(ROOT, folder))):
            if name.endswith(".cpp"):
                files.append(os.path.join(folder, name))
    return files


def pick(count, seed):
    pool = []
    for path in product_files():
        for number, kind, original, mutated in candidates(path):
            pool.append({"file": path, "line": number, "kind": kind, "original": original,
                         "mutated": mutated})
    random.Random(seed).shuffle(pool)
    return pool[:count], len(pool)


def locate(mutant):
    """The file and 0-based line where a mutant applies now, or None when its line is gone."""
    def find_in(path):
        full = os.path.join(ROOT, path)
        if not os.path.exists(full):
            return None
        with open(full, encoding="utf-8") as source:
            lines = source.read().split("\n")
        at = mutant["line"] - 1
        if 0 <= at < len(lines) and lines[at] == mutant["original"]:
            return at
        wanted = mutant["original"].strip()
        hits = [i for i, line in enumerate(lines) if line.strip() == wanted]
        return hits[0] if len(hits) == 1 else None

    at = find_in(mutant["file"])
    if at is not None:
        return mutant["file"], at
    for path in product_files():
        at = find_in(path)
        if at is not None:
            return path, at
    return None


class Applied:
    """Puts one mutant into the tree and takes it out again, whatever happens meanwhile."""

    def __init__(self, path, at, mutant):
        self.full = os.path.join(ROOT, path)
        self.at = at
        self.mutant = mutant

    def __enter__(self):
        with open(self.full, encoding="utf-8") as source:
            self.text = source.read()
        lines = self.text.split("\n")
        indent = lines[self.at][:len(lines[self.at]) - len(lines[self.at].lstrip())]
        lines[self.at] = indent + self.mutant["mutated"].lstrip()
        with open(self.full, "w", encoding="utf-8") as target:
            target.write("\n".join(lines))
        return self

    def __exit__(self, *exc):
        with open(self.full, "w", encoding="utf-8") as target:
            target.write(self.text)
        # The restored file must be rebuilt: give it a new time stamp.
        os.utime(self.full, None)


def run(command, timeout, **kwargs):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               start_new_session=True, **kwargs)
    try:
        return process.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        return "timeout"


def configure(build):
    if not os.path.exists(os.path.join(build, "build.ninja")):
        subprocess.check_call(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja",
                               "-DCMAKE_BUILD_TYPE=Debug"], stdout=subprocess.DEVNULL)
    subprocess.check_call(["cmake", "--build", build, "--target"] + TARGETS,
                          stdout=subprocess.DEVNULL)


def verdict(mutant, path, build, timeout):
    if run(["cmake", "--build", build, "--target"] + TARGETS, timeout=1800) != 0:
        return "stillborn"
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    for program in TESTS[path.split("/")[0]]:
        status = run([os.path.join(build, program), "--gtest_fail_fast", "--gtest_brief=1"],
                     timeout=timeout, env=environment, cwd=build)
        if status != 0:
            return "killed"
    return "survived"


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--save", help="write the picked mutants to this JSON file")
    parser.add_argument("--replay", help="run the mutants of this JSON file instead of picking")
    parser.add_argument("--list", action="store_true", help="show the mutants, run nothing")
    parser.add_argument("--build", default=os.path.join(ROOT, "build-mutation"))
    parser.add_argument("--timeout", type=int, default=300,
                        help="seconds a test program may run before it counts as killed")
    parser.add_argument("--results", help="append one JSON line per mutant to this file")
    args = parser.parse_args()

    if args.replay:
        with open(args.replay, encoding="utf-8") as saved:
            mutants = json.load(saved)["mutants"]
        print("mutation-sampler: %d mutants from %s" % (len(mutants), args.replay))
    else:
        mutants, pool = pick(args.count, args.seed)
        print("mutation-sampler: %d of %d possible mutants, seed %d" % (len(mutants), pool,
                                                                          args.seed))
        if args.save:
            with open(args.save, "w", encoding="utf-8") as out:
                json.dump({"seed": args.seed, "mutants": mutants}, out, indent=1)
    if args.list:
        for m in mutants:
            print("%s:%d %s\n  - %s\n  + %s" % (m["file"], m["line"], m["kind"],
                                                m["original"].strip(), m["mutated"].strip()))
        return 0

    configure(args.build)
    # A test program that fails without any mutant would count every mutant as killed.
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    for program in sorted({p for programs in TESTS.values() for p in programs}):
        if run([os.path.join(args.build, program), "--gtest_brief=1"], timeout=args.timeout,
               env=environment, cwd=args.build) != 0:
            print("mutation-sampler: %s fails on the tree as it is; fix that first" % program)
            return 1
    counts = {"killed": 0, "survived": 0, "stillborn": 0, "gone": 0}
    started = time.time()
    for index, mutant in enumerate(mutants, 1):
        place = locate(mutant)
        if place is None:
            result = "gone"
        else:
            with Applied(place[0], place[1], mutant):
                result = verdict(mutant, place[0], args.build, args.timeout)
        counts[result] += 1
        print("%3d/%d %-9s %s:%d %s" % (index, len(mutants), result, mutant["file"],
                                         mutant["line"], mutant["kind"]), flush=True)
        if args.results:
            with open(args.results, "a", encoding="utf-8") as out:
                out.write(json.dumps(dict(mutant, result=result)) + "\n")
    # The tree is as it was; bring the build back in step with it.
    run(["cmake", "--build", args.build, "--target"] + TARGETS, timeout=1800)
    judged = counts["killed"] + counts["survived"]
    rate = 100.0 * counts["killed"] / judged if judged else 0.0
    print("mutation-sampler: killed %d, survived %d, stillborn %d, gone %d; kill rate %.1f %% "
          "(%d min)" % (counts["killed"], counts["survived"], counts["stillborn"], counts["gone"],
                        rate, (time.time() - started) / 60))
    return 0


if __name__ == "__main__":
    sys.exit(main())
