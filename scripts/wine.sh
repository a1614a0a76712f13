#!/usr/bin/env bash
# Runs a program of the Windows build under Wine: scripts/wine.sh PROGRAM [ARGUMENT...]
# In a prefix of this checkout's own, made at the first call; without a display, without asking anything.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=$root/build/windows/prefix WINEDEBUG=-all WINEARCH=win64
# Neither .NET nor a browser is wanted: without them Wine does not ask whether to install them. Nor is the debugger: a
# program that crashes under it ends as successful now and then.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d"
unset DISPLAY WAYLAND_DISPLAY
if [ ! -f "$WINEPREFIX/ready" ]; then
    mkdir -p "$root/build/windows"
    (
        flock 9
        if [ ! -f "$WINEPREFIX/ready" ]; then
            wine wineboot --init >/dev/null 2>&1 </dev/null
            touch "$WINEPREFIX/ready"
        fi
    ) 9>"$root/build/windows/.prefix-lock"
fi
# Into files first: what Wine starts in the background beside the first program keeps the streams open that it was given,
# and whoever reads ours to their end would wait for it.
streams=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-wine.XXXXXX")
trap 'rm -rf "$streams"' EXIT
result=0
wine "$@" >"$streams/output" 2>"$streams/errors" || result=$?
cat "$streams/output"
cat "$streams/errors" >&2
exit $result
