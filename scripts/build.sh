#!/usr/bin/env bash
# Configures when needed and builds: scripts/build.sh PRESET [TARGET...]
# One build at a time per machine: a second caller waits for the first one.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:?usage: scripts/build.sh PRESET [TARGET...]}
shift
mkdir -p build
exec 9>build/.lock
flock 9
[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >"build/configure-$preset.log" || {
    cat "build/configure-$preset.log"
    exit 1
}
exec cmake --build "build/$preset" ${*:+--target "$@"}
