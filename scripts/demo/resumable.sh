# A resumable upload of 1 GiB: its host is killed three times, the server once, and each time it goes on where the server
# stands. Read by demo.sh.

chunk=$((8 * 1024 * 1024))

# The bytes that the server holds of the upload; 0 before it knows it.
received() {
    local state
    state=$(client uploads state /resumable/big 2>/dev/null) || true
    printf '%s' "${state:-0	0}" | cut -f 2
}

start_put() {
    "${client_command[@]}" put --quiet --resumable --chunk 8M "$work/resumable" /resumable/big 2>"$work/errors" &
    put=$!
}

# Waits until the server holds so many bytes. The upload must still be running then.
await_received() {
    while [ "$(received)" -lt "$1" ]; do
        kill -0 "$put" 2>/dev/null || { cat "$work/errors" >&2; fail "the upload ended before it could be interrupted"; }
        sleep 0.01
    done
}

resumable_upload() {
    local size=$((1024 * 1024 * 1024)) percent
    say "a resumable upload of 1 GiB, interrupted four times"
    client login "$http" --user anna
    client mkdir /resumable
    head -c "$size" /dev/urandom >"$work/resumable"
    forget_wire
    for percent in 15 35 55; do
        start_put
        await_received $((size * percent / 100))
        kill -KILL "$put"
        wait "$put" 2>/dev/null || true
        echo "host killed; the server holds $(received) bytes"
    done
    local chunks held sent
    chunks=$(requests POST /api/1.7/resume/)
    held=$(received)
    echo "$chunks chunks of $chunk bytes for $held bytes"
    [ "$chunks" -le $((held / chunk + 3)) ] || fail "more than one chunk was sent again"

    start_put
    await_received $((size * 75 / 100))
    kill_server
    wait "$put" && fail "the upload did not notice that its server was killed"
    start_server
    held=$(received)
    echo "server killed and started again; it holds $held bytes"
    forget_wire
    stage "the same command once more" 1 "$size" "${client_command[@]}" put --quiet --resumable --chunk 8M \
        "$work/resumable" /resumable/big
    sent=$(wire received)
    echo "$sent bytes on the wire for the last $((size - held)) bytes"
    [ "$sent" -lt $((size - held + chunk)) ] || fail "more was sent again than one chunk"
    client get --quiet /resumable/big "$work/resumable.back"
    cmp "$work/resumable" "$work/resumable.back"
    echo "the file came back: all the same"
    rm "$work/resumable" "$work/resumable.back"
}
