#!/usr/bin/env bash
# Builds a Release tree and the Debian package from it, then checks the package: lintian
# (errors fail), and, when run as root, an install and a removal with dpkg.
#   scripts/package.sh          the package lands in build-release/
#   BUILD_DIR=...               the build folder (default: build-release)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
build="${BUILD_DIR:-build-release}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTOLVANE_BUILD_TESTS=OFF \
    -DTOLVANE_BUILD_BENCH=OFF >/dev/null
cmake --build "$build"
(cd "$build" && cpack -G DEB >/dev/null)
package="$(ls -t "$build"/tolvane_*.deb | head -n 1)"
echo "package: $package"
dpkg-deb --field "$package" Package Version Depends
lintian --fail-on error "$package"
if [ "$(id -u)" -eq 0 ]; then
    dpkg -i "$package" >/dev/null
    /usr/bin/tolvane-cli --version
    dpkg -r tolvane >/dev/null
    if [ -e /usr/bin/tolvane ] || [ -e /usr/share/tolvane ]; then
        echo "the removal left files behind" >&2
        exit 1
    fi
    echo "installed and removed cleanly"
fi
