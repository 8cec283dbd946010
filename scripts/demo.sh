#!/usr/bin/env bash
# Quick start, command 1: installs what is missing, builds, and starts Tolvane on the bundled
# demo device (made fresh in ./demo-device when it is not there).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build

device="$PWD/demo-device"
[ -d "$device/var/mobile" ] || scripts/make-demo-device.sh "$device" build/share/tolvane

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
    echo "No display found (DISPLAY is not set), so the window cannot be shown here."
    echo "Run it under a virtual display instead:"
    echo "  xvfb-run -a build/src/app/tolvane --root \"$device\""
    exit 1
fi
exec build/src/app/tolvane --root "$device" "$@"
