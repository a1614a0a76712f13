#!/usr/bin/env bash
# Installs the Debian packages that building, the demo and the tests need and that are missing here. As root, or with
# sudo. What it installs is not left running: no service of a package starts, neither now nor at the next boot.
#
#   scripts/packages.sh build    what ./demo.sh needs
#   scripts/packages.sh test     that, and what the tests of the Linux builds need (./test.sh --linux)
#   scripts/packages.sh windows  all of it, and what the Windows build and its tests under Wine need (./test.sh)
set -euo pipefail

build=(
    g++ cmake ninja-build ccache pkg-config git ca-certificates
    libcurl4-openssl-dev libssl-dev libjsoncpp-dev     # the library and its platform layer
    libcli11-dev                                       # the command lines
    librsync-dev                                       # deltas: the host program and the reference server
    libboost-dev libsqlite3-dev nlohmann-json3-dev     # the reference server
    libgtest-dev libgmock-dev                          # configured with everything else
    curl openssl python3                               # the demo's witness and its arithmetic
)
tests=(
    squid nginx-light
    rdiff                                              # makes and applies deltas that nobody here wrote
    krb5-kdc krb5-admin-server krb5-user apache2-bin libapache2-mod-auth-gssapi  # tickets, and who asks for them
    zsh fish groff-base                                # read the completions and the man page
    iproute2 util-linux procps binutils clang-format clang-tidy-16
)
windows=(
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
    googletest                                         # its sources, which are built for Windows as well
    wine wine64
)

wanted=("${build[@]}")
case "${1:-build}" in
test) wanted+=("${tests[@]}") ;;
windows) wanted+=("${tests[@]}" "${windows[@]}") ;;
esac

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "packages are missing (${missing[*]}) and there is no sudo" >&2; exit 1; }
    as_root=(sudo)
fi

# invoke-rc.d asks this file whether a service may start; 101 is "no". An administrator's own file is left alone.
policy=/usr/sbin/policy-rc.d
if [ ! -e "$policy" ]; then
    trap '"${as_root[@]}" rm -f "$policy"' EXIT
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
    "${as_root[@]}" chmod 755 "$policy"
fi

echo "installing: ${missing[*]}" >&2
"${as_root[@]}" apt-get update -q >/dev/null
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >/dev/null

# Nor shall what came in just now start by itself at the next boot.
if command -v systemctl >/dev/null; then
    for service in squid nginx krb5-kdc krb5-admin-server; do
        case " ${missing[*]} " in
        *" $service"*) "${as_root[@]}" systemctl disable --quiet "$service" 2>/dev/null || true ;;
        esac
    done
fi
