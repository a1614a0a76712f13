# What every stage of the demonstration uses: the server, the client, figures. Read by demo.sh, which sets $bin (the
# programs) and $work (a folder that goes at the end).

say() { printf '\n== %s\n' "$*"; }
fail() { echo "demo: $*" >&2; exit 1; }

# Starts the server, the second time on the ports that it had before.
start_server() {
    local plain=0 secure=0
    if [ -s "$work/ports" ]; then
        plain=$(sed -n 's/^http=.*://p' "$work/ports")
        secure=$(sed -n 's/^https=.*://p' "$work/ports")
        rm "$work/ports"
    fi
    "$bin/quillmark-appliance" --data "$work/server" --user "anna:$QUILLMARK_PASSWORD" --version-text "reference 1.0" \
        --listen "127.0.0.1:$plain" --tls-listen "127.0.0.1:$secure" --port-file "$work/ports" --control /control --audit \
        >>"$work/server.log" 2>&1 &
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

kill_server() {
    kill -KILL "$server"
    wait "$server" 2>/dev/null || true
    server=
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

# The same user on a second device.
second() { "$bin/quillmark" --ca "$work/server/tls/ca.pem" --session "$work/second" "$@"; }

# refused EXIT-CODE COMMAND...: the command has to end with that code; prints what it said.
refused() {
    local expected=$1 status=0
    shift
    "$@" >"$work/output" 2>"$work/errors" || status=$?
    [ $status -eq "$expected" ] || { cat "$work/errors" >&2; fail "ended with $status, not $expected: $*"; }
    sed 's/^/refused: /' "$work/errors"
}

# What went over the wire to the server since the last forget_wire, heads and bodies.
forget_wire() { curl --silent --fail --request DELETE -o "$work/curl.reply" "$http/control/statistics"; }
wire() { curl --silent --fail "$http/control/statistics" | python3 -c "import json, sys; print(json.load(sys.stdin)['$1'])"; }
# requests METHOD PREFIX: how many of them there were.
requests() {
    curl --silent --fail "$http/control/statistics" | python3 -c "import json, sys
print(sum(r['count'] for r in json.load(sys.stdin)['requests'] if r['method'] == '$1' and r['path'].startswith('$2')))"
}

revision_of() { client stat "$1" | sed -n 's/^revision: *//p'; }
