#!/usr/bin/env bash
# Fails, naming the files, when a source is not as clang-format would write it.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
