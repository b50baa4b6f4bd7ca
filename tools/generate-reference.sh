#!/usr/bin/env bash
# Writes docs/native-functions.md and chrome/native.d.ts anew from the program's tables.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
[[ -f build/release/CMakeCache.txt ]] || cmake --preset release
cmake --build build/release --target generate_reference
build/release/tools/reference/generate_reference .
