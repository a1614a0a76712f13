#!/usr/bin/env bash
# scripts/check-dll.sh BUILD_DIR: looks at what the Windows build made, with objdump. Fails unless
#   quillmark_http.dll exports its four functions by name and nothing else, imports from Windows' own DLLs and, by the
#   ordinals 3, 5 and 6 alone, from QUILLMARK_EVENTING.dll;
#   QUILLMARK_EVENTING.dll exports two names and the ordinals 3, 5 and 6, and imports from Windows' own DLLs;
#   both and quillmark.exe are 64-bit programs that may be loaded anywhere in all 64 bits, with data that is not run;
#   each says what it is in a version resource.
set -euo pipefail
bin=${1:?usage: scripts/check-dll.sh BUILD_DIR}/bin
status=0
# What objdump says of each file, whole: a reader that stops early would end objdump with an error.
dumps=$(mktemp -d)
trap 'rm -rf "$dumps"' EXIT
for file in quillmark_http.dll QUILLMARK_EVENTING.dll quillmark.exe; do
    x86_64-w64-mingw32-objdump -f -h -p "$bin/$file" >"$dumps/$file"
done

# What Windows itself brings; no DLL of the compiler is among them.
windows_dlls="ADVAPI32.dll CRYPT32.dll DNSAPI.dll KERNEL32.dll msvcrt.dll ole32.dll SHELL32.dll WINHTTP.dll WS2_32.dll"

complain() {
    echo "$1" >&2
    status=1
}

# same FILE WHAT FOUND WANTED
same() {
    [ "$3" = "$4" ] || complain "$1: $2 are
$3
and should be
$4"
}

exported_names() {
    awk '/^\[Ordinal\/Name Pointer\] Table/ { on = 1; next } on && !NF { exit } on { print $NF }' "$dumps/$1" | LC_ALL=C sort
}

# The ordinals of the export address table, as the DLL counts them.
exported_ordinals() {
    awk '/Export Address Table -- Ordinal Base/ { base = $NF; on = 1; next } on && !NF { exit }
        on && /\[ *[0-9]+\]/ { match($0, /\[ *[0-9]+\]/); print base + substr($0, RSTART + 1, RLENGTH - 2) }' \
        "$dumps/$1" | sort -n
}

imported_dlls() {
    awk '$1 == "DLL" && $2 == "Name:" { print $3 }' "$dumps/$1" | LC_ALL=C sort -u
}

# imported_from FILE DLL: one line per import, "ordinal N" or its name.
imported_from() {
    awk -v dll="$2" '
        $1 == "DLL" && $2 == "Name:" { on = $3 == dll; next }
        on && $1 == "vma:" { next }
        on && !NF { on = 0 }
        on { if ($1 ~ /^8000000000/) { print "ordinal " $2 + 0 } else { print $3 } }' "$dumps/$1"
}

check_imports() {
    local dll
    for dll in $(imported_dlls "$1"); do
        case " $windows_dlls $2 " in
        *" $dll "*) ;;
        *) complain "$1: imports from $dll" ;;
        esac
    done
}

image_flags() {
    awk '/^DllCharacteristics/ { on = 1; next } on && NF != 1 { exit } on { print $1 }' "$dumps/$1" | LC_ALL=C sort
}

check_image() {
    same "$1" "the flags" "$(image_flags "$1")" "$(printf '%s\n' DYNAMIC_BASE HIGH_ENTROPY_VA NX_COMPAT)"
    grep -q 'file format pei-x86-64' "$dumps/$1" || complain "$1: no 64-bit program"
    # Without relocations the loader cannot move it, whatever the flags say.
    grep -q ' \.reloc ' "$dumps/$1" || complain "$1: has no relocations"
    grep -q ' \.rsrc ' "$dumps/$1" || complain "$1: has no version resource"
}

library=quillmark_http.dll
eventing=QUILLMARK_EVENTING.dll
same $library "the exported names" "$(exported_names $library)" \
    "$(printf '%s\n' CreateInstance CreateInstanceWithFactory Exit Init)"
same $library "the exported ordinals" "$(exported_ordinals $library)" "$(printf '%s\n' 1 2 3 4)"
same $library "the imports from $eventing" "$(imported_from $library $eventing)" \
    "$(printf 'ordinal %s\n' 3 5 6)"
check_imports $library $eventing
same $eventing "the exported names" "$(exported_names $eventing)" "$(printf '%s\n' CloseLog OpenLog)"
same $eventing "the exported ordinals" "$(exported_ordinals $eventing)" "$(printf '%s\n' 1 2 3 5 6)"
check_imports $eventing ""
check_imports quillmark.exe "$library $eventing"
for file in $library $eventing quillmark.exe; do
    check_image $file
done
if [ $status -eq 0 ]; then
    # Read from the file once more, not repeated from above. scripts/summary.py shows lines that begin so.
    echo "CHECKED $library with objdump: exports" $(exported_names $library)"; imports from $eventing by" \
        $(imported_from $library $eventing)"; flags" $(image_flags $library)
fi
exit $status
