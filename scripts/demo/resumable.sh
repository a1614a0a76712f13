# A resumable upload of 1 GiB: its host is killed three times, the server once, and each time it goes on where the server
# stands. Then one that meets another device's change and is kept under another name, and one that is given up. Read by
# demo.sh.

chunk=$((8 * 1024 * 1024))

# The bytes that the server holds of the upload to a path; 0 before it knows it.
received() {
    local state
    state=$(client uploads state "$1" 2>/dev/null) || true
    printf '%s' "${state:-0	0}" | cut -f 2
}

start_put() {  # start_put PATH [OPTION...]
    "${client_command[@]}" put --quiet --resumable --chunk 8M "${@:2}" "$work/resumable" "$1" 2>"$work/errors" &
    put=$!
}

# Waits until the server holds so many bytes for a path. The upload must still be running then.
await_received() {
    while [ "$(received "$1")" -lt "$2" ]; do
        kill -0 "$put" 2>/dev/null || { cat "$work/errors" >&2; fail "the upload ended before it could be interrupted"; }
        sleep 0.01
    done
}

kill_host_at() {  # kill_host_at PATH BYTES
    await_received "$1" "$2"
    kill -KILL "$put"
    wait "$put" 2>/dev/null || true
    echo "host killed; the server holds $(received "$1") bytes"
}

resumable_upload() {
    local size=$((1024 * 1024 * 1024)) percent
    say "a resumable upload of 1 GiB, interrupted four times"
    client login "$http" --user anna
    client mkdir /resumable
    head -c "$size" /dev/urandom >"$work/resumable"
    forget_wire
    for percent in 15 35 55; do
        start_put /resumable/big
        kill_host_at /resumable/big $((size * percent / 100))
    done
    local chunks held sent
    chunks=$(requests POST /api/1.7/resume/)
    held=$(received /resumable/big)
    echo "$chunks chunks of $chunk bytes for $held bytes"
    [ "$chunks" -le $((held / chunk + 3)) ] || fail "more than one chunk was sent again"

    start_put /resumable/big
    await_received /resumable/big $((size * 75 / 100))
    kill_server
    wait "$put" && fail "the upload did not notice that its server was killed"
    start_server
    held=$(received /resumable/big)
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
    rm "$work/resumable.back"
}

kept_and_given_up() {
    local size revision
    size=$(stat -c %s "$work/resumable")
    say "a resumable upload that meets another device's change"
    second login "$http" --user anna --device laptop
    printf 'first' >"$work/note"
    client put --quiet "$work/note" /resumable/shared
    revision=$(revision_of /resumable/shared)
    start_put /resumable/shared --revision "$revision"
    kill_host_at /resumable/shared $((size / 10))
    printf 'second' >"$work/note"
    second put --quiet "$work/note" /resumable/shared
    refused 6 client put --quiet --resumable --revision "$revision" "$work/resumable" /resumable/shared
    client uploads state /resumable/shared | cut -f 2-4
    client uploads complete /resumable/shared "/resumable/shared (mine)"
    client get --quiet "/resumable/shared (mine)" "$work/resumable.back"
    cmp "$work/resumable" "$work/resumable.back"
    client get --quiet /resumable/shared "$work/resumable.back"
    cmp "$work/note" "$work/resumable.back"
    echo "both are there: all the same"

    start_put /resumable/never
    kill_host_at /resumable/never $((size / 10))
    client uploads cancel /resumable/never
    refused 5 client uploads state /resumable/never
    rm "$work/resumable" "$work/resumable.back"
}
