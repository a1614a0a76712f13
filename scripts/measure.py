#!/usr/bin/env python3
"""Runs a command and writes what it cost, as one line: SECONDS CPU_SECONDS PEAK_KIB.

    scripts/measure.py RESULT_FILE COMMAND [ARGUMENT...]

CPU seconds are user plus system, of the command and of what it waited for; the peak is that of its resident memory. The
exit code is the command's."""
import os
import sys
import time

started = time.monotonic()
child = os.fork()
if child == 0:
    try:
        os.execvp(sys.argv[2], sys.argv[2:])
    except OSError as error:
        print(f"{sys.argv[2]}: {error.strerror}", file=sys.stderr)
        os._exit(127)
_, status, usage = os.wait4(child, 0)
with open(sys.argv[1], "w") as result:
    result.write(f"{time.monotonic() - started:.3f} {usage.ru_utime + usage.ru_stime:.3f} {usage.ru_maxrss}\n")
sys.exit(os.waitstatus_to_exitcode(status) & 0xFF)
