#!/usr/bin/env bash
# Quick start, command 1: installs what is missing, builds, and starts Tolvane on a fresh copy
# of the bundled demo device (removed again when the application quits).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
    echo "No display found (DISPLAY is not set), so the window cannot be shown here."
    echo "Run it under a virtual display instead:"
    echo "  xvfb-run -a build/src/app/tolvane --demo"
    exit 1
fi
exec build/src/app/tolvane --demo "$@"
