#!/usr/bin/env python3
"""Adds up ctest's JUnit files: failures with their output, measurements, skipped tests with their reasons, the number of
tests per folder and build, and as the last line "N passed, M failed, K skipped"."""
import collections
import os
import re
import sys
import xml.etree.ElementTree as ET

passed = failed = 0
skipped = []
per_folder = collections.defaultdict(collections.Counter)
builds = []

for path in sys.argv[1:]:
    build = os.path.splitext(os.path.basename(path))[0]
    builds.append(build)
    for case in ET.parse(path).getroot().iter("testcase"):
        name, output = case.get("name"), case.findtext("system-out") or ""
        folder = name.split(".")[0]
        status = case.get("status")
        per_folder[folder][build] += 1
        for line in re.findall(r"^MEASURED .*$", output, re.M):
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
if skipped:
    print("\nskipped:")
    for line in skipped:
        print("  " + line)
print(f"\n{passed} passed, {failed} failed, {len(skipped)} skipped")
sys.exit(1 if failed or not passed else 0)
