#!/usr/bin/env bash
# Builds everything and shows the main job on real files: a client finds a server, logs in, uploads a tree, lists it,
# downloads it again, and every byte comes back; over HTTP and over HTTPS. Exits non-zero when one byte differs.
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

say() { printf '\n== %s\n' "$*"; }

start_server() {
    "$bin/quillmark-appliance" --data "$work/server" --user "anna:$QUILLMARK_PASSWORD" --version-text "reference 1.0" \
        --listen 127.0.0.1:0 --tls-listen 127.0.0.1:0 --port-file "$work/ports" >"$work/server.log" 2>&1 &
    server=$!
    for _ in $(seq 200); do
        [ -s "$work/ports" ] && grep -q '^https=' "$work/ports" && return 0
        kill -0 "$server" 2>/dev/null || break
        sleep 0.05
    done
    echo "the server did not start:" >&2
    cat "$work/server.log" >&2
    return 1
}

# stage LABEL FILES BYTES COMMAND...: runs the command and prints what it cost.
stage() {
    local label=$1 files=$2 bytes=$3
    shift 3
    local status=0
    python3 scripts/measure.py "$work/cost" "$@" >"$work/output" 2>"$work/errors" || status=$?
    read -r seconds cpu peak <"$work/cost"
    printf '%-34s %6s files %12s bytes %8s s %8s s CPU %7.1f MiB peak\n' \
        "$label" "$files" "$bytes" "$seconds" "$cpu" "$(python3 -c "print($peak / 1024)")"
    if [ $status -ne 0 ]; then
        cat "$work/errors" >&2
        exit $status
    fi
}

client() { "$bin/quillmark" --ca "$work/server/tls/ca.pem" --session "$work/session" "$@"; }
client_command=("$bin/quillmark" --ca "$work/server/tls/ca.pem" --session "$work/session")

# What the curl command needs for the same big file, beside our own figures, and some small files as a witness.
curl_witness() {
    local base=$1 folder=$2 token api
    token=$(sed -n 's/^token //p' "$work/session")
    api="$base/api/1.7/folders"
    local curl=(curl --silent --show-error --fail --cacert "$work/server/tls/ca.pem" --cookie "session_token=$token")
    local size
    size=$(stat -c %s "$work/tree/big")
    stage "  curl uploads the big file" 1 "$size" "${curl[@]}" -o "$work/curl.reply" -H "Expect:" \
        -F operation=create -F creation_time=2026-01-01T00:00:00.000Z -F modification_time=2026-01-01T00:00:00.000Z \
        -F attributes=128 -F "size=$size" -F "file=@$work/tree/big" "$api/$folder/big-by-curl"
    stage "  curl downloads the big file" 1 "$size" "${curl[@]}" -H "Accept: application/octet-stream" \
        -o "$work/curl.big" "$api/$folder/big"
    cmp "$work/curl.big" "$work/tree/big"
    rm "$work/curl.big"
    local name
    for name in "names/with%20spaces%20in%20it.txt" "names/rocket%20%F0%9F%9A%80.txt" "names/100%25.txt" \
        "names/Gr%C3%BC%C3%9Fe%20aus%20%C3%96sterreich.txt" "sizes/one%20chunk"; do
        "${curl[@]}" -H "Accept: application/octet-stream" "$api/$folder/$name" |
            cmp - "$work/tree/$(python3 -c 'import sys, urllib.parse; print(urllib.parse.unquote(sys.argv[1]))' "$name")"
    done
    echo "curl fetched 6 of the files from the server: all the same"
}

round_trip() {  # round_trip SCHEME BASE
    local scheme=$1 base=$2 folder="demo-$1"
    say "over ${scheme^^}: $base"
    client login "$base" --user anna
    echo "server version: $(client version)"
    client mkdir "/$folder"
    stage "upload the tree" "$files" "$bytes" "${client_command[@]}" put --quiet "$work/tree" "/$folder"
    stage "list it" "$files" 0 "${client_command[@]}" ls -R "/$folder"
    local listed
    listed=$(grep -cv '/$' "$work/output")
    [ "$listed" -eq "$files" ] || { echo "listed $listed files of $files" >&2; exit 1; }
    stage "download the tree" "$files" "$bytes" "${client_command[@]}" get --quiet "/$folder" "$work/back"
    python3 scripts/demo-tree.py compare "$work/tree" "$work/back"
    client ls -l "/$folder/sizes"
    client stat "/$folder/names/rocket 🚀.txt"
    local size
    size=$(stat -c %s "$work/tree/big")
    stage "upload the big file alone" 1 "$size" "${client_command[@]}" put --quiet "$work/tree/big" "/$folder/big"
    stage "download the big file alone" 1 "$size" "${client_command[@]}" get --quiet "/$folder/big" "$work/back/big"
    cmp "$work/tree/big" "$work/back/big"
    curl_witness "$base" "$folder"
    rm -rf "$work/back"
}

large_file() {  # large_file BASE
    local size=$((5 * 1024 * 1024 * 1024))
    say "a sparse file of 5 GiB"
    client login "$1" --user anna
    truncate -s "$size" "$work/large"
    printf 'first' | dd of="$work/large" conv=notrunc status=none
    printf 'past 4 GiB' | dd of="$work/large" bs=1 seek=$((4 * 1024 * 1024 * 1024 + 7)) conv=notrunc status=none
    printf 'last' | dd of="$work/large" bs=1 seek=$((size - 4)) conv=notrunc status=none
    stage "upload 5 GiB" 1 "$size" "${client_command[@]}" put --quiet "$work/large" /large
    stage "download 5 GiB" 1 "$size" "${client_command[@]}" get --quiet /large "$work/large.back"
    cmp "$work/large" "$work/large.back"
    echo "the large file came back: all the same"
    rm "$work/large" "$work/large.back"
}

start_server
http=http://localhost:$(sed -n 's/^http=.*://p' "$work/ports")
https=https://localhost:$(sed -n 's/^https=.*://p' "$work/ports")

say "the input"
python3 scripts/demo-tree.py make "$work/tree" 256
read -r files bytes <<<"$(python3 scripts/demo-tree.py count "$work/tree")"
echo "$files files, $bytes bytes: this repository, difficult names, sizes around one chunk, one file of 256 MiB"

round_trip http "$http"
round_trip https "$https"
[ $large = no ] || large_file "$http"
say "done: every byte came back"
