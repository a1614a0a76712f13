#!/usr/bin/env bash
# Builds everything and shows the main job on real files: a client finds a server, logs in, uploads a tree, lists it,
# downloads it again, and every byte comes back; over HTTP and over HTTPS. Then a resumable upload whose client and server
# are killed on the way, deltas both ways, downloads in pieces, and two devices of one user: changes, locks, refused
# revisions, a share link, statistics. Exits non-zero when one byte differs.
#
#   ./demo.sh            a tree with one file of 256 MiB
#   ./demo.sh --large    a sparse file of 5 GiB as well
#   ./demo.sh --help     this text
#
# Works on a fresh Debian 12 machine as root or with sudo: it installs the packages that are missing.
set -euo pipefail
cd "$(dirname "$0")"

usage() { sed -n '2,/^set/{/^set/d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]##*/}"; }

large=no
case "${1:-}" in
--large) large=yes ;;
"") ;;
--help | -h) usage; exit 0 ;;
*) usage >&2; exit 2 ;;
esac

scripts/packages.sh build
mkdir -p build
echo "building ..."
scripts/build.sh linux quillmark quillmark-appliance >build/demo-build.log 2>&1 || { tail -n 40 build/demo-build.log; exit 1; }

bin=$PWD/build/linux/bin
work=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-demo.XXXXXX")
server=
finish() {
    [ -z "$server" ] || { kill "$server" 2>/dev/null && wait "$server" 2>/dev/null; } || true
    rm -rf "$work"
}
trap finish EXIT

export LC_ALL=C.UTF-8 PYTHONUTF8=1
export QUILLMARK_PASSWORD="correct horse battery staple"
# The environment's proxies and this machine's registry are not part of the demonstration.
unset http_proxy https_proxy all_proxy no_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY NO_PROXY
export QUILLMARK_REGISTRY=$work/registry
mkdir "$work/registry"

for part in common round-trip resumable deltas devices; do
    # shellcheck source=/dev/null
    . "scripts/demo/$part.sh"
done

start_server
http=http://localhost:$(sed -n 's/^http=.*://p' "$work/ports")
https=https://localhost:$(sed -n 's/^https=.*://p' "$work/ports")

say "the input"
python3 scripts/demo-tree.py make "$work/tree" 256
read -r files bytes <<<"$(python3 scripts/demo-tree.py count "$work/tree")"
echo "$files files, $bytes bytes: this repository, difficult names, sizes around one chunk, one file of 256 MiB"

round_trip http "$http"
round_trip https "$https"
resumable_upload
kept_and_given_up
deltas
pieces
two_devices
[ $large = no ] || large_file "$http"
say "done: every byte came back"
