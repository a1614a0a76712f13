#!/usr/bin/env bash
# Cross-builds what the Windows build needs beside the compiler: jsoncpp and librsync from the distribution's source
# packages, GoogleTest from the sources that package googletest holds; CLI11 is headers, which are copied. All static,
# installed below build/windows-dependencies/prefix, where cmake/mingw-w64.cmake looks. What is there already is kept;
# delete the folder to have it made anew.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
work=$root/build/windows-dependencies
prefix=$work/prefix
done_mark=$prefix/complete
[ -f "$done_mark" ] && exit 0
mkdir -p "$work/log"

# The machine's own binary sources, asked for sources, in a private folder: the machine's configuration stays as it is.
make_source_list() {
    local parts=$work/apt/parts file
    mkdir -p "$parts" "$work/apt/lists/partial"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -f "$file" ] && sed -n 's/^deb /deb-src /p' "$file" >"$parts/$(basename "${file%.list}")-src.list"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -f "$file" ] && sed 's/^Types:.*/Types: deb-src/' "$file" >"$parts/$(basename "${file%.sources}")-src.sources"
    done
    # Entries of others than the distribution do not have what is asked for here.
    for file in "$parts"/*; do
        grep -q 'debian\.org\|/debian' "$file" || rm -f "$file"
    done
}

private_apt() {
    apt-get -q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/apt/parts" \
        -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt" -o APT::Sandbox::User="$(id -un)" "$@"
}

# fetch PACKAGE: unpacks the original archive of a source package, which apt has checked against the distribution's
# index, into $work/PACKAGE. The distribution's own part of it says how its binary packages are made and is not needed.
fetch() {
    mkdir -p "$work/download" "$work/$1"
    (cd "$work/download" && private_apt source --tar-only --download-only "$1")
    tar -xf "$work"/download/"$1"_*.orig.tar.* -C "$work/$1" --strip-components=1
}

# build NAME SOURCES CMAKE_OPTION...
build() {
    local name=$1 sources=$2
    shift 2
    cmake -S "$sources" -B "$work/build-$name" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF "$@"
    cmake --build "$work/build-$name" --target install -j 2
}

# step NAME COMMAND...: runs it, and shows what it printed when it fails.
step() {
    local name=$1
    shift
    echo "windows dependencies: $name" >&2
    "$@" >"$work/log/$name.log" 2>&1 || { tail -n 40 "$work/log/$name.log" >&2; exit 1; }
}

fetch_all() {
    make_source_list
    private_apt update
    fetch libjsoncpp
    fetch librsync
}

step sources fetch_all
step googletest build googletest /usr/src/googletest -DCMAKE_CXX_STANDARD=20
step jsoncpp build jsoncpp "$work/libjsoncpp" -DBUILD_STATIC_LIBS=ON -DBUILD_OBJECT_LIBS=OFF \
    -DJSONCPP_WITH_TESTS=OFF -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF
step librsync build librsync "$work/librsync" -DBUILD_RDIFF=OFF -DUSE_LIBB2=OFF
mkdir -p "$prefix/include" "$prefix/share/cmake"
cp -r /usr/include/CLI "$prefix/include/"
cp -r /usr/share/cmake/CLI11 "$prefix/share/cmake/"
touch "$done_mark"
