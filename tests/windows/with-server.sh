#!/usr/bin/env bash
# Runs a program of the Windows build under Wine beside a reference server of its own:
#   tests/windows/with-server.sh PROGRAM [ARGUMENT...]
# The program finds the server's addresses in QUILLMARK_TEST_HTTP and QUILLMARK_TEST_HTTPS ("http://localhost:41873") and
# the authority of its certificate in the file QUILLMARK_TEST_CA. The server knows the user "anna" with the password
# "secret" and takes fault rules at /control.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
case " $* " in
*" --gtest_list_tests "*) exec "$root/scripts/wine.sh" "$@" ;;
esac

server_program=$root/build/linux/bin/quillmark-appliance
[ -x "$server_program" ] || { echo "no reference server: build the preset linux first" >&2; exit 1; }
work=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-windows.XXXXXX")
server=
finish() {
    [ -z "$server" ] || { kill "$server" 2>/dev/null && wait "$server" 2>/dev/null; } || true
    rm -rf "$work"
}
trap finish EXIT

"$server_program" --data "$work/data" --user anna:secret --listen 127.0.0.1:0 --tls-listen 127.0.0.1:0 \
    --port-file "$work/ports" --control /control --faults --no-sync --audit >"$work/server.log" 2>&1 &
server=$!
for _ in $(seq 400); do
    [ -s "$work/ports" ] && grep -q '^https=' "$work/ports" && break
    kill -0 "$server" 2>/dev/null || { cat "$work/server.log" >&2; exit 1; }
    sleep 0.05
done
export QUILLMARK_TEST_HTTP=http://localhost:$(sed -n 's/^http=.*://p' "$work/ports")
export QUILLMARK_TEST_HTTPS=https://localhost:$(sed -n 's/^https=.*://p' "$work/ports")
export QUILLMARK_TEST_CA="Z:${work//\//\\}\\data\\tls\\ca.pem"
unset http_proxy https_proxy all_proxy no_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY NO_PROXY
"$root/scripts/wine.sh" "$@"
