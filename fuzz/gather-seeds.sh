#!/usr/bin/env bash
# Gathers the fuzz targets' seed inputs into OUT/<target>/ from what the project already has:
# the hand-written seeds in fuzz/seeds, the demo URLs, the media fixtures and the demo media,
# and (when BUILD is given) the images the build rendered. Media and image seeds get the first
# byte their target reads as its choice (see fuzz/MediaInput.h and fuzz_artwork_image.cpp).
#   fuzz/gather-seeds.sh OUT [BUILD]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
out="${1:?usage: gather-seeds.sh OUT [BUILD]}"
build="${2:-}"

rm -rf "$out"
mkdir -p "$out"
for dir in "$root"/fuzz/seeds/*/; do
    target="$(basename "$dir")"
    mkdir -p "$out/$target"
    cp "$dir"* "$out/$target/"
done

# Each working URL of the demo list.
mkdir -p "$out/handoff_url"
n=0
while IFS= read -r line; do
    case "$line" in '' | '#'*) continue ;; esac
    n=$((n + 1))
    printf '%s' "$line" >"$out/handoff_url/demo-url-$n.txt"
done <"$root/scripts/demo-urls.txt"

# prefixed BYTE FILE OUTFILE: the file with one byte in front.
prefixed() {
    # shellcheck disable=SC2059 # the format is the escape of the byte
    { printf "\\x$(printf '%02x' "$1")"; cat "$2"; } >"$3"
}

# Media: the extension index in the low four bits (the order of fuzz/MediaInput.h), a media
# kind in the next three, new artwork in the top bit, varied over the files.
extensions=(mp3 m4a mp4 m4v mov flac ogg opus wav aiff)
mkdir -p "$out/media_metadata" "$out/media_tagging"
n=0
for file in "$root"/tests/fixtures/media/* "$root"/data/demo/media/*; do
    name="$(basename "$file")"
    extension="${name##*.}"
    index=-1
    for i in "${!extensions[@]}"; do
        [ "${extensions[$i]}" = "$extension" ] && index=$i
    done
    [ "$index" -ge 0 ] || continue
    byte=$((index | (n % 7) << 4 | (n % 2) << 7))
    n=$((n + 1))
    prefixed "$byte" "$file" "$out/media_metadata/$name"
    prefixed "$byte" "$file" "$out/media_tagging/$name"
done

# Images: the media kind in the low three bits, the screen scale in the next two.
mkdir -p "$out/artwork_image"
images=("$root"/data/demo/media/*.jpg "$root"/data/demo/media/*.png "$root"/data/images/app/camera.svg
        "$root"/data/images/icons-hd/audio.svg)
if [ -n "$build" ]; then
    rendered="$build/share/tolvane/Application Support/Tolvane/Images"
    for picture in "$rendered/activityAudio@2x.png" "$rendered/1.png" "$rendered/icons-hd/folder@3x.png"; do
        [ -f "$picture" ] && images+=("$picture")
    done
fi
n=0
for file in "${images[@]}"; do
    byte=$((n % 8 | (n % 3) << 3))
    n=$((n + 1))
    prefixed "$byte" "$file" "$out/artwork_image/$n-$(basename "$file")"
done
