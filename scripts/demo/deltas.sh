# Only what differs goes over the wire: delta uploads, at once and in the background, and a delta download; and a download
# that is put together from pieces. Read by demo.sh.

# edit FILE OFFSET TEXT: overwrites bytes in the middle of a file.
edit() { printf '%s' "$3" | dd of="$1" bs=64K seek="$2" oflag=seek_bytes conv=notrunc status=none; }

# Downloads the item and compares.
same_as_server() {
    client get --quiet "$1" "$work/check"
    cmp "$work/check" "$2"
    rm "$work/check"
}

deltas() {
    local size=$((200 * 1024 * 1024)) job
    say "deltas of a file of 200 MiB that changes in three places"
    client mkdir /deltas
    head -c "$size" /dev/urandom >"$work/old"
    client put --quiet "$work/old" /deltas/file

    cp "$work/old" "$work/new"
    edit "$work/new" 1000 "the first place"
    edit "$work/new" $((size / 2)) "the second place"
    edit "$work/new" $((size - 20)) "the third place"
    forget_wire
    stage "delta upload" 1 "$size" "${client_command[@]}" put --quiet --delta "$work/old" "$work/new" /deltas/file
    echo "$(wire received) bytes on the wire for a file of $size bytes"
    same_as_server /deltas/file "$work/new"

    cp "$work/new" "$work/old"
    printf 'and a new end' >>"$work/new"
    stage "delta applied in the background" 1 "$(stat -c %s "$work/new")" \
        "${client_command[@]}" put --quiet --async-delta "$work/old" "$work/new" /deltas/file
    same_as_server /deltas/file "$work/new"

    cp "$work/new" "$work/other"
    edit "$work/other" 5 "never to be seen"
    job=$(client put --async-delta "$work/new" --no-commit "$work/other" /deltas/file)
    client delta-jobs cancel "$job"
    [ "$(client delta-jobs state "$job" | cut -f 2)" = unknown ] || fail "the job is still there"
    echo "another job cancelled: $job"
    same_as_server /deltas/file "$work/new"

    forget_wire
    stage "delta download" 1 "$(stat -c %s "$work/new")" \
        "${client_command[@]}" get --quiet --delta "$work/old" /deltas/file "$work/from-delta"
    echo "$(wire received) bytes sent and $(wire sent) received for a file of $(stat -c %s "$work/new") bytes"
    cmp "$work/new" "$work/from-delta"
    rm "$work/old" "$work/other" "$work/from-delta"
}

# Three pieces, the last one first.
pieces() {
    local size third
    size=$(stat -c %s "$work/new")
    third=$((size / 3))
    say "a download in three pieces"
    client get --quiet --range "$((2 * third))-" /deltas/file "$work/pieces"
    client get --quiet --range "0-$third" /deltas/file "$work/pieces"
    client get --quiet --range "$third-$((2 * third))" /deltas/file "$work/pieces"
    cmp "$work/new" "$work/pieces"
    echo "the pieces make the file: all the same"
    rm "$work/new" "$work/pieces"
}
