#!/usr/bin/env python3
"""Adds up ctest's JUnit files: failures with their output, measurements and what was found in programs (lines that begin
with MEASURED or CHECKED), skipped tests with their reasons, the number of tests per folder and build, what runs on one
system only and why, and as the last line "N passed, M failed, K skipped"."""
import collections
import fnmatch
import os
import re
import sys
import xml.etree.ElementTree as ET

DIFFERENCES = os.path.join(os.path.dirname(__file__), "..", "tests", "windows", "differences.txt")


def read_differences():
    """The lines "SYSTEM PATTERN: reason" of the list of suites that run on one system only."""
    entries = []
    with open(DIFFERENCES, encoding="utf-8") as lines:
        for line in lines:
            if line.strip() and not line.startswith("#"):
                head, reason = line.strip().split(": ", 1)
                system, pattern = head.split(" ", 1)
                entries.append((system, pattern, reason))
    return entries


def print_differences(linux, windows):
    """Tells the two counts and each suite that runs on one system only. Returns how many have no reason in the list."""
    print(f"\nran on Linux: {len(linux)}, ran under Wine: {len(windows)}")
    entries = read_differences()
    unexplained = 0
    for system, names in (("linux", linux - windows), ("windows", windows - linux)):
        per_reason = collections.defaultdict(list)
        for name in sorted(names):
            reason = next((reason for where, pattern, reason in entries
                           if where == system and fnmatch.fnmatchcase(name, pattern)), None)
            unexplained += reason is None
            per_reason[reason or "NO REASON GIVEN"].append(name)
        for reason, cases in per_reason.items():
            print(f"  only {system} ({len(cases)}): {reason}")
            suites = collections.Counter(case.rsplit(".", 1)[0] for case in cases)
            for suite in sorted(suites):
                print(f"    {suite} {suites[suite]}")
    return unexplained


passed = failed = 0
skipped = []
per_folder = collections.defaultdict(collections.Counter)
builds = []
ran = collections.defaultdict(set)

for path in sys.argv[1:]:
    build = os.path.splitext(os.path.basename(path))[0]
    builds.append(build)
    for case in ET.parse(path).getroot().iter("testcase"):
        # What a parameter looks like, addresses among it, is no part of a test's name.
        name = re.sub(r"\s*# GetParam.*", "", case.get("name"))
        output = case.findtext("system-out") or ""
        folder = name.split(".")[0]
        status = case.get("status")
        per_folder[folder][build] += 1
        ran[build].add(name)
        for line in re.findall(r"^(?:MEASURED|CHECKED) .*$", output, re.M):
            print(f"{build}: {line}")
        if status == "run":
            passed += 1
        elif status == "fail":
            failed += 1
            print(f"\n-- FAILED in {build}: {name}\n{output[-6000:]}")
        else:
            reason = re.search(r"SKIPPED.*?\n(.*)|Skipped\n(.*)", output)
            text = next((group for group in reason.groups() if group), "") if reason else status
            skipped.append(f"{build}: {name}: {text.strip()}")

print("\ntests per folder".ljust(22) + "".join(build.rjust(10) for build in builds))
for folder in sorted(per_folder):
    print("  " + folder.ljust(20) + "".join(str(per_folder[folder][build]).rjust(10) for build in builds))
if "windows" in builds and "linux" in builds:
    unexplained = print_differences(ran["linux"], ran["windows"])
    if unexplained:
        print(f"{unexplained} tests run on one system only and tests/windows/differences.txt does not say why")
        failed += 1
if skipped:
    print("\nskipped:")
    for line in skipped:
        print("  " + line)
print(f"\n{passed} passed, {failed} failed, {len(skipped)} skipped")
sys.exit(1 if failed or not passed else 0)
