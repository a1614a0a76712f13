#!/usr/bin/env python3
"""Makes the demo's input, and compares two trees.

    scripts/demo-tree.py make FOLDER MIB      this repository's files, difficult names and sizes, one file of MIB MiB
    scripts/demo-tree.py compare ONE OTHER    names, sizes, times and SHA-256; exits non-zero at a difference
    scripts/demo-tree.py count FOLDER         "FILES BYTES"
"""
import hashlib
import os
import random
import shutil
import subprocess
import sys

NAMES = [
    "with spaces in it.txt", "plus+sign.txt", "100%.txt", "%41 is not A.txt", "Grüße aus Österreich.txt",
    "文件夹里的文件.txt", "rocket \N{ROCKET}.txt", "de\u0301compose\u0301.txt", "d\u00e9compos\u00e9.txt",
    "semi;colon & ampersand=equals#hash?.txt", "quote\"and'apostrophe.txt", "back\\slash.txt", "~tilde and -dash.txt",
]
SIZES = {"empty": 0, "one chunk less one": 16383, "one chunk": 16384, "one chunk and one": 16385}
# Times are kept to the millisecond by the protocol's text form.
TICK = 1_000_000


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


def make(folder, mib):
    generator = random.Random(20261120)
    repository = os.path.join(folder, "repository")
    # The checkout may be another user's; what is deleted in it and not yet committed is still listed.
    command = ["git", "-c", "safe.directory=*", "ls-files", "-z"]
    files = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.split(b"\0")
    for name in filter(os.path.isfile, files):
        target = os.path.join(os.fsencode(repository), name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy2(name, target)
    names = os.path.join(folder, "names")
    os.makedirs(os.path.join(names, "Ordner mit Umläuten", "子文件夹"))
    for name in NAMES:
        write(os.path.join(names, name), name.encode() * 10)
        write(os.path.join(names, "Ordner mit Umläuten", "子文件夹", name), generator.randbytes(1000))
    os.makedirs(os.path.join(folder, "sizes", "an empty folder"))
    for name, size in SIZES.items():
        write(os.path.join(folder, "sizes", name), generator.randbytes(size))
    with open(os.path.join(folder, "big"), "wb") as big:
        for _ in range(mib):
            big.write(generator.randbytes(1 << 20))
    for path, _ in walk(folder):
        moment = generator.randrange(978_307_200_000, 1_767_225_600_000) * TICK  # 2001 to 2026, in milliseconds
        os.utime(os.path.join(folder, path), ns=(moment, moment))


def walk(folder):
    for base, folders, files in os.walk(folder):
        for name in files:
            path = os.path.join(base, name)
            yield os.path.relpath(path, folder), os.stat(path)


def digest(path):
    with open(path, "rb") as file:
        sha = hashlib.sha256()
        while block := file.read(1 << 20):
            sha.update(block)
        return sha.hexdigest()


def folders_of(folder):
    return {os.path.relpath(os.path.join(base, name), folder) for base, names, _ in os.walk(folder) for name in names}


def counted(number, noun):
    return f"{number} {noun}" + ("" if number == 1 else "s")


def compare(one, other):
    left, right = dict(walk(one)), dict(walk(other))
    problems = [f"only in {one}: {path}" for path in left.keys() - right.keys()]
    problems += [f"only in {other}: {path}" for path in right.keys() - left.keys()]
    problems += [f"folder on one side only: {path}" for path in folders_of(one) ^ folders_of(other)]
    for path in sorted(left.keys() & right.keys()):
        if left[path].st_size != right[path].st_size:
            problems.append(f"sizes differ: {path}")
        elif left[path].st_mtime_ns // TICK != right[path].st_mtime_ns // TICK:
            problems.append(f"times differ: {path}: {left[path].st_mtime_ns} {right[path].st_mtime_ns}")
        elif digest(os.path.join(one, path)) != digest(os.path.join(other, path)):
            problems.append(f"contents differ: {path}")
    for problem in problems:
        print(problem, file=sys.stderr)
    print(counted(len(left), "file") + " compared: " +
          ("all the same" if not problems else counted(len(problems), "difference")))
    return 1 if problems else 0


def count(folder):
    sizes = [status.st_size for _, status in walk(folder)]
    print(len(sizes), sum(sizes))


match sys.argv[1:]:
    case ["make", folder, mib]:
        make(folder, int(mib))
    case ["compare", one, other]:
        sys.exit(compare(one, other))
    case ["count", folder]:
        count(folder)
    case _:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
