#!/usr/bin/env bash
# Everything that is checked before a change lands: format, layers, lint, build, exports, every test.
#
#   scripts/check.sh            all of it
#   scripts/check.sh --lint     format, layers and lint only
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/packages.sh test
scripts/check-format.sh
scripts/check-layers.sh

scripts/build.sh linux >/dev/null
git ls-files 'src/*.cpp' 'platform/src/*.cpp' 'eventing/*.cpp' 'tools/quillmark/*.cpp' |
    xargs -P 2 -n 4 clang-tidy-16 --quiet -p build/linux 2>/dev/null
[ "${1:-}" = --lint ] || ./test.sh
