#!/usr/bin/env bash
# scripts/check-exports.sh BUILD_DIR: fails unless the library shows its four functions and nothing else, and the eventing
# library and the platform layer show exactly the functions that their headers declare. The platform layer's headers also
# declare functions in namespace quillmark::platform, under which any name may be shown.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: scripts/check-exports.sh BUILD_DIR}
status=0

# exported LIBRARY: what lib<LIBRARY>.so defines for others, one name per line, in byte order.
exported() {
    nm -D --defined-only --format=posix "$build/lib/lib$1.so" | awk '{ print $1 }' | LC_ALL=C sort
}

# declared MARK HEADER...: the functions that the headers declare under that mark.
declared() {
    local mark=$1
    shift
    perl -0777 -ne 's{//[^\n]*}{}g; while (/^'"$mark"'[^;{]*?(\w+)\s*\(/gm) { print "$1\n" }' "$@" | LC_ALL=C sort -u
}

# compare LIBRARY NAMES [ALSO]: complains of every name that is on one side only, but for excess that begins with ALSO.
compare() {
    local found missing excess
    found=$(exported "$1" | { [ -z "${3:-}" ] && cat || grep -v "^$3"; })
    missing=$(LC_ALL=C comm -23 <(echo "$2") <(echo "$found"))
    excess=$(LC_ALL=C comm -13 <(echo "$2") <(echo "$found"))
    [ -z "$missing" ] || { printf 'lib%s.so does not export:\n%s\n' "$1" "$missing" >&2; status=1; }
    [ -z "$excess" ] || { printf 'lib%s.so exports what it should keep to itself:\n%s\n' "$1" "$excess" >&2; status=1; }
}

compare quillmark_http "$(printf '%s\n' CreateInstance CreateInstanceWithFactory Exit Init)"
compare quillmark_eventing "$(declared QUILLMARK_EVENTING_API eventing/include/quillmark/*.h)"
compare quillmark_platform "$(declared QUILLMARK_PLATFORM_API platform/include/quillmark/platform/*.h)" _ZN9quillmark8platform
exit $status
