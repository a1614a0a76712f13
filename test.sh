#!/usr/bin/env bash
# Builds and runs every suite; ends with "N passed, M failed, K skipped". Exits non-zero when something failed.
#
#   ./test.sh                  every suite in the optimised build, and in the Windows build under Wine; those where threads
#                              meet also under AddressSanitizer with UndefinedBehaviorSanitizer, and under ThreadSanitizer
#   ./test.sh --linux          the same without the Windows build
#   ./test.sh --windows        the optimised and the Windows build alone
#   ./test.sh --sanitizers     every suite in each of the three Linux builds
#
# Works on a fresh Debian 12 machine as root or with sudo: it installs the packages that are missing.
set -euo pipefail
cd "$(dirname "$0")"

# The Windows tests speak to the reference server of the build linux.
presets=(linux windows asan tsan)
packages=windows
# Threads meet in the platform layer, in the client's common parts, and in the library as a whole.
concurrent=(platform winhttp common eventing integration cancel)
case "${1:-}" in
--linux) presets=(linux asan tsan) packages=test ;;
--windows) presets=(linux windows) ;;
--sanitizers) presets=(linux asan tsan) packages=test concurrent=() ;;
"") ;;
*) echo "usage: ./test.sh [--linux|--windows|--sanitizers]" >&2; exit 2 ;;
esac

scripts/packages.sh "$packages"
results=build/results
mkdir -p "$results"
rm -f "$results"/*.xml

for preset in "${presets[@]}"; do
    echo "== building $preset"
    targets=()
    programs=
    # Where a few suites are run, they are run for the library's sake: they start the optimised build's programs.
    case $preset in
    asan | tsan)
        targets=("${concurrent[@]/%/_test}")
        [ ${#concurrent[@]} -eq 0 ] || programs=$PWD/build/linux/bin
        ;;
    esac
    QUILLMARK_PROGRAMS=$programs scripts/build.sh "$preset" "${targets[@]}" >"build/build-$preset.log" 2>&1 || { tail -n 60 "build/build-$preset.log"; exit 1; }
done

failed=0
for preset in "${presets[@]}"; do
    echo "== testing $preset"
    # The big files and the measured ratios belong to the optimised build alone.
    choice=()
    [ "$preset" = linux ] || choice=(--label-exclude optimised-only)
    case $preset in
    asan | tsan) [ ${#concurrent[@]} -eq 0 ] || choice+=(--tests-regex "^($(IFS='|'; echo "${concurrent[*]}"))\\.") ;;
    esac
    # A test that fails is tried once more: one that meets the machine at a bad moment shall not stop a change, but it is
    # named below.
    ctest --test-dir "build/$preset" --parallel 2 --repeat until-pass:2 --output-on-failure --output-junit "$PWD/$results/$preset.xml" \
        "${choice[@]}" >"build/test-$preset.log" 2>&1 || failed=1
    # Every failure, also one that the second try made good.
    grep -hE '\*\*\*(Failed|Timeout|Exception)' "build/test-$preset.log" || true
done

python3 scripts/summary.py "$results"/*.xml || failed=1
exit $failed
