# A tree of real files to the server and back, over HTTP and HTTPS, with curl as a witness. Read by demo.sh.

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
