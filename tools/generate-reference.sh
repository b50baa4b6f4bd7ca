#!/usr/bin/env bash
# Writes docs/native-functions.md and chrome/native.d.ts anew from the program's tables.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
[[ -f build/dev/CMakeCache.txt ]] || cmake --preset dev
cmake --build build/dev --target generate_reference
build/dev/tools/reference/generate_reference .
