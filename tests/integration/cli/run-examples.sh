#!/bin/sh
# Runs examples as they stand, within network and mounts of its own (see examples_test.cpp):
#   run-examples.sh PROGRAMS WORK
# WORK/blocks/BLOCK/EXAMPLE.sh is one example each; beside it come EXAMPLE.code, EXAMPLE.out and EXAMPLE.err. All examples
# of a block follow one another; each block begins with the same server, login and local files.
set -eu
programs=$1
work=$2

ip link set lo up
echo '127.0.0.1 localhost files.example.com' >"$work/hosts"
mount --bind "$work/hosts" /etc/hosts
# Nothing of the machine's: neither its registry, nor its proxies, nor its users' roots.
unset http_proxy https_proxy all_proxy HTTPS_PROXY ALL_PROXY SSL_CERT_FILE SSL_CERT_DIR || true
export PATH="$programs:$PATH" QUILLMARK_PASSWORD=secret TZ=UTC
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/kept/data" QUILLMARK_REGISTRY="$work/registry"
mkdir -p "$work/home" "$work/config/quillmark/roots" "$work/kept/here" "$work/kept/data" "$work/registry" "$work/tls"

make_certificates() {
    cd "$work/tls"
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj '/CN=Examples' \
        -addext basicConstraints=critical,CA:TRUE -keyout ca.key -out ca.pem
    openssl req -new -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj '/CN=files.example.com' \
        -keyout server.key -out server.csr
    echo 'subjectAltName=DNS:files.example.com' >extensions
    openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 -extfile extensions -out server.pem
    cp ca.pem "$XDG_CONFIG_HOME/quillmark/roots/"
}

start_server() {
    rm -f "$work/ports"
    quillmark-appliance --data "$work/kept/server" --user anna:secret --user ben:secret --user carla:secret --no-sync \
        --audit --control /control --faults --tls-listen 127.0.0.1:443 --tls-listen 127.0.0.1:8443 \
        --cert "$work/tls/server.pem" --key "$work/tls/server.key" --port-file "$work/ports" >>"$work/server.log" 2>&1 &
    server=$!
    while [ "$(grep -c '^https=' "$work/ports" 2>/dev/null || true)" != 2 ]; do
        kill -0 $server || { cat "$work/server.log" >&2; exit 1; }
        sleep 0.02
    done
}

stop_server() {
    kill $server
    wait $server || true
}

# An upload that the server has in full and does not store, because the item was changed between its two attempts.
leave_conflict() {
    revision=$(quillmark stat /Shared/budget.ods | sed -n 's/^revision: *//p')
    path='"method": "POST", "path": "/api/1.7/resume/upload/Shared/budget.ods"'
    curl --silent --fail --cacert "$work/tls/ca.pem" https://files.example.com/control/faults \
        -d "[{$path, \"kind\": \"delay\", \"ms\": 0}, {$path, \"kind\": \"reply\", \"status\": 403}]"
    quillmark put --retries 0 --resumable --chunk 64K --revision "$revision" budget.ods /Shared/budget.ods && return 1
    quillmark put report.pdf /Shared/budget.ods
    quillmark put --retries 0 --resumable --chunk 64K --revision "$revision" budget.ods /Shared/budget.ods && return 1
    quillmark uploads state | grep conflict
}

# What the examples name.
fill() {
    cd "$work/kept/here"
    echo report >report.pdf
    head -c 300000 /dev/urandom >disk.img
    head -c 200000 /dev/urandom >old.db
    { cat old.db; echo more; } >new.db
    mkdir photos
    echo sea >photos/sea.jpg
    head -c 150000 /dev/urandom >budget.ods
    quillmark login https://files.example.com:8443 --user anna
    quillmark mkdir /Shared /Shared/Photos /Shared/Old /Backups
    quillmark put report.pdf /Shared/
    quillmark put photos/sea.jpg /Shared/Photos/
    quillmark put old.db /Shared/data.db
    quillmark put disk.img /Shared/video
    for name in notes.txt plan draft final budget.ods Old/letter; do
        quillmark put report.pdf "/Shared/$name"
    done
    leave_conflict
}

run_example() {
    code=0
    timeout 60 sh "$1.sh" >"$1.out" 2>"$1.err" </dev/null || code=$?
    echo $code >"$1.code"
}

# What follows until it is interrupted; the shell itself shall wait for it.
run_and_interrupt() {
    { echo 'trap : INT'; cat "$1.sh"; echo 'exit $?'; } >"$1.trapped"
    code=0
    timeout --preserve-status -s INT 2 sh "$1.trapped" >"$1.out" 2>"$1.err" </dev/null || code=$?
    echo $code >"$1.code"
}

run_block() {
    rm -rf "$work/kept"
    cp -a "$work/full" "$work/kept"
    start_server
    if [ "$(basename "$1")" = wipe-ack ]; then
        curl --silent --fail --cacert "$work/tls/ca.pem" -o /dev/null -d 'user=anna&device=quillmark-cli' \
            https://files.example.com/control/wipe
    fi
    cd "$work/kept/here"
    for file in "$1"/*.sh; do
        example=${file%.sh}
        case $(cat "$file") in
        *--follow* | *quillmark*' watch'*) run_and_interrupt "$example" ;;
        *) run_example "$example" ;;
        esac
    done
    cd "$work"
    stop_server
}

make_certificates >"$work/prepare.log" 2>&1
start_server
fill >>"$work/prepare.log" 2>&1 || { cat "$work/prepare.log" >&2; exit 1; }
stop_server
cp -a "$work/kept" "$work/full"
for block in "$work"/blocks/*; do
    run_block "$block"
done
