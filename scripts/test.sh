#!/usr/bin/env bash
# Quick start, command 2: installs what is missing, builds with warnings as errors, and runs
# every test. Exits non-zero on any failure.
#   BUILD_DIR=...       the build folder (default: build-tests)
#   TOLVANE_SANITIZE=ON builds with AddressSanitizer and UndefinedBehaviorSanitizer
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build="${BUILD_DIR:-build-tests}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOLVANE_WERROR=ON \
    -DTOLVANE_SANITIZE="${TOLVANE_SANITIZE:-OFF}" -DTOLVANE_BUILD_BENCH=ON >/dev/null
cmake --build "$build"
QT_QPA_PLATFORM=offscreen ctest --test-dir "$build" --output-on-failure --timeout 300
