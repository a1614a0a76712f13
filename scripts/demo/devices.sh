# Two devices of one user: the second one learns of the first one's changes, is kept out by a lock, and is refused with a
# stale revision; then a share link, statistics, and a remote wipe. Read by demo.sh.

two_devices() {
    local stale
    say "two devices of one user"
    client login "$http" --user anna --device desk
    second login "$http" --user anna --device laptop
    client register
    client folders | head -n 3
    second changes >"$work/output"

    client mkdir /team
    printf 'one' >"$work/note"
    client put --quiet "$work/note" /team/note.txt
    client mv /team/note.txt /team/report.txt
    echo "what the laptop is told:"
    second changes | sed 's/^/  /' | tee "$work/changes"
    [ "$(cut -f 1 "$work/changes" | tr -d ' ' | tr '\n' ' ')" = "create upload move " ] || fail "these are other changes"
    [ -z "$(second changes)" ] || fail "the changes were told twice"

    client lock --seconds 60 /team/report.txt
    echo "lock-state: $(second lock-state /team/report.txt)"
    refused 6 second put --quiet "$work/note" /team/report.txt
    client unlock /team/report.txt
    second put --quiet "$work/note" /team/report.txt

    stale=$(revision_of /team/report.txt)
    second touch /team/report.txt
    refused 6 client rm --revision "$stale" /team/report.txt
    refused 6 client put --quiet --revision "$stale" "$work/note" /team/report.txt

    client share /team/report.txt --to ben --name "the report" --message "have a look"
    find "$work/server/outbox" -type f | wc -l | sed 's/$/ messages in the outbox/'
    client stats '{"uploads": 3, "conflicts": 2}'
    client rm --revision "$(revision_of /team/report.txt)" /team/report.txt
    refused 5 client stat /team/report.txt

    second register
    curl --silent --fail -o "$work/curl.reply" --data "user=anna&device=laptop" "$http/control/wipe"
    refused 4 second ls /team
    second wipe-ack
    echo "the laptop was ordered to be wiped, and has confirmed it"
}
