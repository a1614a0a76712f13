#!/usr/bin/env bash
# Runs the program of the contract tests under Wine:
#   with-tls-relay.sh PROGRAM [ARGUMENT...]
# Where it runs tests of secure requests, tls-relay.py runs beside it on Linux; its port is in QUILLMARK_TEST_TLS_RELAY.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
wine=$here/../../../scripts/wine.sh
unset http_proxy https_proxy all_proxy no_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY NO_PROXY
case " $* " in
*" --gtest_list_tests "*) exec "$wine" "$@" ;;
*--gtest_filter=*Tls*) ;;
*--gtest_filter=*) exec "$wine" "$@" ;;
esac

work=$(mktemp -d "${TMPDIR:-/tmp}/quillmark-relay.XXXXXX")
relay=
finish() {
    [ -z "$relay" ] || { kill "$relay" 2>/dev/null && wait "$relay" 2>/dev/null; } || true
    rm -rf "$work"
}
trap finish EXIT
"$here/tls-relay.py" "$work" >"$work/log" 2>&1 &
relay=$!
for _ in $(seq 400); do
    [ -s "$work/port" ] && break
    kill -0 "$relay" 2>/dev/null || { cat "$work/log" >&2; exit 1; }
    sleep 0.05
done
export QUILLMARK_TEST_TLS_RELAY
QUILLMARK_TEST_TLS_RELAY=$(cat "$work/port")
"$wine" "$@"
