#!/usr/bin/env bash
# Fails when a layer includes a header of a layer above it, when the client code asks which system it is on, or when an
# operating-system or network call stands outside the seams.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0

# complain WHAT LINES: reports the offending lines, if any.
complain() {
    [ -z "$2" ] || { printf '%s\n%s\n' "$1" "$2" >&2; status=1; }
}

forbid() {  # forbid LAYER PATTERN-OF-LAYERS-ABOVE
    complain "src/$1 includes a layer above it:" "$(grep -rnE "#include \"($2)/" "src/$1" || true)"
}
forbid common 'model|transport|client|exports'
forbid model 'transport|client|exports'
forbid transport 'model|client|exports'
forbid client 'exports'

complain "a system test outside platform/, eventing/ and the two headers that carry it:" \
    "$(grep -rnE '\b(_WIN32|__linux__|__unix__)\b' src include tools --include='*.h' --include='*.cpp' |
        grep -vE '^include/quillmark/(Platform|HttpApi)\.h:' | grep -vE '^tools/appliance/' || true)"

complain "jsoncpp outside src/model:" \
    "$(grep -rnE '#include <json/' src include | grep -v '^src/model/' || true)"

# Windows' own calls belong behind the seams (src/transport/Seams.cpp); these are the families that have one.
complain "a platform call past its seam:" \
    "$(grep -rnE '(^|[^A-Za-z0-9_>])::(WinHttp[A-Z][A-Za-z]*|Reg(Open|Query|Set|Enum|Create|Delete|Close|Notify)[A-Za-z]*|CreateFileW|ReadFile|WriteFile|GetFileSize(Ex)?|SetFilePointer(Ex)?|DeleteFileW|CopyFileW|MoveFileW)\(' src |
        grep -v '^src/transport/Seams.cpp:' || true)"

# POSIX and the C library's files never appear in client code.
complain "a POSIX or C file call in client code:" \
    "$(grep -rnE '#include <(unistd|fcntl|sys/[a-z]+|pthread|dlfcn|curl/curl|openssl/[a-z]+|fstream|cstdio|filesystem)(\.h)?>' src |
        grep -vE '<cstdio>' || true)"
exit $status
