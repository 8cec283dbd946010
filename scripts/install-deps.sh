#!/usr/bin/env bash
# Installs the Debian packages Tolvane builds, runs and tests with, when any is missing.
#   --bench     also what the benchmarks compare with (OpenCV's image processing, for
#               bench_effects); the project itself never needs it
#   --fixtures  also what makes the test media and the guide's screenshots again
#               (tests/fixtures/media/make-fixtures.sh, data/demo/generate-media.sh,
#               scripts/screenshots.sh); the build and the tests use what they made
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-svg-dev qt6-multimedia-dev qt6-l10n-tools
    libgstreamer1.0-dev
    gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-libav gstreamer1.0-tools
    libtag1-dev libplist-dev libicu-dev libglib2.0-dev libsqlite3-dev
    libbenchmark-dev clang-format
    clang-16 libclang-rt-16-dev llvm-16
    xvfb xauth
    dbus-daemon dbus-session-bus-common
    desktop-file-utils appstream dpkg-dev lintian
    chromium nodejs
)

# Optional groups, named on the command line.
bench_packages=(libopencv-imgproc-dev)
fixtures_packages=(ffmpeg python3-mutagen fonts-liberation)
for option in "$@"; do
    case "$option" in
    --bench) packages+=("${bench_packages[@]}") ;;
    --fixtures) packages+=("${fixtures_packages[@]}") ;;
    *)
        echo "usage: $0 [--bench] [--fixtures]" >&2
        exit 2
        ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
        missing+=("$package")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
