#!/usr/bin/env bash
# scripts/check-host-globals.sh BUILD_DIR: fails when the host library holds data of its own. It is linked into host
# programs and into the library at once, and two copies of a global, of a one-time value or of its guard would be two
# different ones. Constants are fine, and so are type information and virtual tables (.data.rel.ro).
set -euo pipefail
build=${1:?usage: scripts/check-host-globals.sh BUILD_DIR}
archive=$build/lib/libquillmark_host.a
[ -f "$archive" ] || { echo "$archive is missing" >&2; exit 1; }

# By section, not by nm's letter: that of a symbol which is one per process ("u") does not tell data from constants. The
# compiler's own reference to its exception routine (DW.ref.) is the one exception.
found=$(objdump -tC "$archive" | awk '
    match($0, / (\.data|\.bss|\.tdata|\.tbss)[^ \t]*[ \t]/) {
        section = substr($0, RSTART + 1, RLENGTH - 2)
        name = substr($0, RSTART + RLENGTH)
        sub(/^[0-9a-f]+ +(\.hidden )?/, "", name)
        if (section ~ /^\.data\.rel\.ro/ || name == section || name ~ /DW\.ref\./) next
        print section, name
    }
    / \*COM\*/ { print "common", $NF }')
if [ -n "$found" ]; then
    printf 'The host library has data of its own:\n%s\n' "$found" >&2
    exit 1
fi
