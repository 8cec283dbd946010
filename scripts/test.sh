#!/usr/bin/env bash
# Quick start, command 2: installs what is missing, builds with warnings as errors, and runs
# every test. Exits non-zero on any failure.
#   BUILD_DIR=...       the build folder (default: build-tests)
#   TOLVANE_SANITIZE=ON builds with AddressSanitizer and UndefinedBehaviorSanitizer
#   TOLVANE_FUZZERS=ON  builds with clang (CXX, default clang++-16), the sanitizers and the
#                       fuzz targets as well, for scripts/fuzz.sh to run from the same folder
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build="${BUILD_DIR:-build-tests}"
options=()
if [ "${TOLVANE_FUZZERS:-OFF}" = ON ]; then
    # The compiler is chosen when the folder is first configured.
    [ -f "$build/CMakeCache.txt" ] || options+=(-DCMAKE_CXX_COMPILER="${CXX:-clang++-16}")
    options+=(-DTOLVANE_BUILD_FUZZERS=ON -DTOLVANE_BUILD_BENCH=OFF)
else
    options+=(-DTOLVANE_BUILD_FUZZERS=OFF -DTOLVANE_BUILD_BENCH=ON)
fi
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOLVANE_WERROR=ON \
    -DTOLVANE_SANITIZE="${TOLVANE_SANITIZE:-OFF}" -DTOLVANE_BUILD_TESTS=ON "${options[@]}" >/dev/null
cmake --build "$build"
QT_QPA_PLATFORM=offscreen ctest --test-dir "$build" --output-on-failure --timeout 300
