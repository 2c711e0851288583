#!/usr/bin/env python3
"""Runs every generated job through two builds and reports the first differing byte of any
file the job writes, its stdout, stderr or exit status. Each job runs from the same folder
for both builds, so paths in messages agree. Per job and build: the library alone (host),
`zelpgen JOB.cfg`, `zelpgen check JOB.cfg` and `zelpgen inspect` of each file the job wrote.

usage: compare.py BUILD_A BUILD_B JOBS WORK [--first] [--skip check ...]   (exit 1 on any
difference); --skip leaves out a run (host, cli, check) whose output is meant to differ.
"""
import argparse
import os
import shutil
import subprocess
import sys

TIMEOUT = 60


def files(d):
    out = {}
    for root, _, names in os.walk(d):
        for n in names:
            p = os.path.join(root, n)
            with open(p, "rb") as f:
                out[os.path.relpath(p, d)] = f.read()
    return out


def run(cmd, cwd):
    env = dict(os.environ, TZ="UTC", LC_ALL="C")
    try:
        p = subprocess.run(cmd, cwd=cwd, env=env, capture_output=True, timeout=TIMEOUT)
        return {"stdout": p.stdout, "stderr": p.stderr, "status": str(p.returncode).encode()}
    except subprocess.TimeoutExpired:
        return {"stdout": b"", "stderr": b"", "status": b"timeout"}


def outcome(build, host, job_dir, slot, skip):
    """Everything the job shows under one build, keyed by what it is."""
    result = {}
    for name, cmd in (("host", [host, os.path.join(build, "libzelpgen.so"), "job.cfg"]),
                      ("cli", [os.path.join(build, "tools/zelpgen/zelpgen"), "job.cfg"]),
                      ("check", [os.path.join(build, "tools/zelpgen/zelpgen"), "check",
                                 "job.cfg"])):
        if name in skip:
            continue
        shutil.rmtree(slot, ignore_errors=True)
        shutil.copytree(job_dir, slot)
        before = files(slot)
        for k, v in run(cmd, slot).items():
            result["%s %s" % (name, k)] = v
        for path, data in files(slot).items():
            if before.get(path) != data:
                result["%s file %s" % (name, path)] = data
                if name == "cli":
                    for k, v in run([cmd[0], "inspect", path], slot).items():
                        result["inspect %s %s" % (path, k)] = v
    return result


def first_difference(a, b):
    for i, (x, y) in enumerate(zip(a, b)):
        if x != y:
            return "byte %d: %02x vs %02x" % (i, x, y)
    return "length %d vs %d" % (len(a), len(b))


def main():
    p = argparse.ArgumentParser()
    for name in ("build_a", "build_b", "jobs", "work"):
        p.add_argument(name, type=os.path.abspath)
    p.add_argument("--first", action="store_true", help="stop at the first differing job")
    p.add_argument("--skip", action="append", default=[], choices=("host", "cli", "check"))
    args = p.parse_args()
    build_a, build_b, jobs, work = args.build_a, args.build_b, args.jobs, args.work
    host = os.path.join(work, "host")
    here = os.path.dirname(os.path.abspath(__file__))
    subprocess.run(["cc", "-O1", "-o", host, os.path.join(here, "host.c"), "-ldl"], check=True)
    slot = os.path.join(work, "run")
    names = sorted(os.listdir(jobs))
    differing, ok = 0, 0
    for n in names:
        a = outcome(build_a, host, os.path.join(jobs, n), slot, args.skip)
        b = outcome(build_b, host, os.path.join(jobs, n), slot, args.skip)
        ok += a.get("host status") == b"0"
        for key in sorted(set(a) | set(b)):
            if key not in a or key not in b:
                print("%s: %s only under %s" % (n, key, "A" if key in a else "B"))
                differing += 1
                break
            if a[key] != b[key]:
                print("%s: %s differs at %s" % (n, key, first_difference(a[key], b[key])))
                differing += 1
                break
        if differing and args.first:
            break
    print("%d jobs (%d printed), %d differing" % (len(names), ok, differing))
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main())
