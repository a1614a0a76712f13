#!/usr/bin/env bash
# Configures when needed and builds: scripts/build.sh PRESET [TARGET...]
# One build at a time per machine: a second caller waits for the first one.
# With QUILLMARK_PROGRAMS, the tests of that preset start the programs in this folder instead of building their own.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:?usage: scripts/build.sh PRESET [TARGET...]}
shift
mkdir -p build
exec 9>build/.lock
flock 9
[ "$preset" != windows ] || scripts/windows-dependencies.sh
programs=${QUILLMARK_PROGRAMS-}
grep -qsx "QUILLMARK_PROGRAMS:PATH=$programs" "build/$preset/CMakeCache.txt" ||
    cmake --preset "$preset" -DQUILLMARK_PROGRAMS:PATH="$programs" >"build/configure-$preset.log" || {
    cat "build/configure-$preset.log"
    exit 1
}
# One compiler cache serves every checkout on a machine: paths count from the project's folder. Precompiled headers
# can be cached only when ccache need not look at their time stamps.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
exec cmake --build "build/$preset" ${*:+--target "$@"}
