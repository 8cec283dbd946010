#!/usr/bin/env bash
# Makes the screenshots of the user's guide: runs the end-to-end test, which drives the real
# application offscreen on a demo device and grabs each screen, and copies its pictures into
# docs/screenshots.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD_DIR:-build-tests}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$build" --target tst_endtoend
QT_QPA_PLATFORM=offscreen "$build/tests/tst_endtoend" >/dev/null
mkdir -p docs/screenshots
cp "$build"/tests/screenshots/*.png docs/screenshots/
echo "screenshots in docs/screenshots"
