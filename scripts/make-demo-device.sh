#!/usr/bin/env bash
# Creates a fresh demo device folder for trying Tolvane by hand.
#
# Usage: scripts/make-demo-device.sh [--force] DIR SYSTEM_DATA
#   DIR          the device root to create (DIR/var/mobile is the user root,
#                DIR/Library the system root).
#   SYSTEM_DATA  the built or installed ".../share/tolvane" folder; its
#                "Application Support" folder is copied to DIR/Library.
#   --force      replace DIR if it already holds a device (a folder containing
#                var/mobile); any other non-empty DIR is always left alone.
#
# The media comes from data/demo/media/ (regenerate it with data/demo/generate-media.sh).
# Hand-off URLs to try against the result are listed in scripts/demo-urls.txt.
set -euo pipefail

prog=$(basename "$0")
die() {
    echo "$prog: $*" >&2
    exit 1
}
usage() {
    echo "usage: $prog [--force] DIR SYSTEM_DATA" >&2
    exit 2
}

force=0
if [ "${1:-}" = "--force" ]; then
    force=1
    shift
fi
[ $# -eq 2 ] || usage
dir_arg=$1
system_data=$2

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
media_dir="$script_dir/../data/demo/media"

media_files=("Evening Tide.mp3" "Morning Run.m4a" "Harbour Timelapse.mp4" "Harbour Timelapse.jpg"
             "Field Notes.pdf" "notes.txt" "cover-art.png")
for f in "${media_files[@]}"; do
    [ -f "$media_dir/$f" ] ||
        die "missing demo media '$media_dir/$f' (run data/demo/generate-media.sh)"
done

[ -d "$system_data/Application Support" ] ||
    die "'$system_data' has no 'Application Support' folder (pass the built .../share/tolvane folder)"

dev=$(realpath -m -- "$dir_arg")
[ "$dev" != "/" ] || die "refusing to use / as a device folder"

# --- make sure DIR is free ----------------------------------------------------------
if [ -e "$dev" ] || [ -L "$dev" ]; then
    if [ ! -d "$dev" ] || [ -L "$dev" ]; then
        die "'$dev' exists and is not a folder; not touching it"
    fi
    if [ -n "$(ls -A -- "$dev")" ]; then
        if [ "$force" -ne 1 ]; then
            die "'$dev' exists and is not empty; refusing to overwrite it (pass --force as the first argument to replace an existing demo device)"
        fi
        [ -d "$dev/var/mobile" ] ||
            die "'$dev' does not look like a device folder (no var/mobile inside); not removing it even with --force"
        rm -rf -- "$dev"
    fi
fi

mobile="$dev/var/mobile"
downloads="$mobile/Downloads"
prefs="$mobile/Library/Preferences"

mkdir -p "$dev/Library" "$downloads/Podcasts" "$prefs" \
         "$mobile/Media/Downloads" "$mobile/Media/Artwork" "$mobile/Pictures"

# --- system data --------------------------------------------------------------------
cp -R -- "$system_data/Application Support" "$dev/Library/Application Support"

# --- downloads ----------------------------------------------------------------------
for f in "${media_files[@]}"; do
    cp -- "$media_dir/$f" "$downloads/$f"
done
cp -- "$media_dir/Morning Run.m4a" "$downloads/Podcasts/Episode 12 - Open Water.m4a"
# Space-free copies of the video and its thumbnail: hand-off URL values after the
# third are used as they are (not unescaped), so those paths must need no escaping.
cp -- "$media_dir/Harbour Timelapse.mp4" "$downloads/harbour.mp4"
cp -- "$media_dir/Harbour Timelapse.jpg" "$downloads/harbour.jpg"
printf 'last-check=2024-06-01T07:15:00Z pending=0\n' >"$downloads/.download-state"

# A stored copy in the media area with its companion artwork, and a link to it.
stored="$mobile/Media/Downloads/Evening Tide (copy).mp3"
cp -- "$media_dir/Evening Tide.mp3" "$stored"
cp -- "$media_dir/Harbour Timelapse.jpg" "$mobile/Media/Artwork/Evening Tide (copy).mp3.jpeg"
ln -s -- "$stored" "$downloads/Latest download.mp3"

cp -- "$media_dir/cover-art.png" "$mobile/Pictures/cover-art.png"

# --- preferences --------------------------------------------------------------------
# Escapes text for XML element content.
xml() {
    printf '%s' "$1" | sed -e 's/&/\&amp;/g' -e 's/</\&lt;/g' -e 's/>/\&gt;/g'
}

x_downloads=$(xml "$downloads")
x_evening=$(xml "$downloads/Evening Tide.mp3")
x_morning=$(xml "$downloads/Morning Run.m4a")
x_harbour=$(xml "$downloads/harbour.mp4")
x_harbour_jpg=$(xml "$downloads/harbour.jpg")

cat >"$prefs/com.merrowby.tolvaneprefs.plist" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>savePath</key>
	<string>${x_downloads}</string>
	<key>downloads</key>
	<dict>
		<key>evening-tide</key>
		<dict>
			<key>title</key>
			<string>Evening Tide</string>
			<key>name</key>
			<string>Evening Tide.mp3</string>
			<key>filePath</key>
			<string>${x_evening}</string>
			<key>icon</key>
			<string>audio.png</string>
			<key>genre</key>
			<string>Ambient</string>
			<key>year</key>
			<string>2024</string>
		</dict>
		<key>morning-run</key>
		<dict>
			<key>title</key>
			<string>Morning Run</string>
			<key>name</key>
			<string>Morning Run.m4a</string>
			<key>filePath</key>
			<string>${x_morning}</string>
			<key>icon</key>
			<string>audio.png</string>
			<key>year</key>
			<integer>2023</integer>
		</dict>
	</dict>
</dict>
</plist>
EOF

cat >"$prefs/tracks.plist" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>tracks</key>
	<dict>
		<key>harbour</key>
		<dict>
			<key>title</key>
			<string>Harbour Timelapse</string>
			<key>name</key>
			<string>Harbour Timelapse.mp4</string>
			<key>filePath</key>
			<string>${x_harbour}</string>
			<key>icon</key>
			<string>video.png</string>
			<key>isVideo</key>
			<integer>1</integer>
			<key>iconData</key>
			<string>${x_harbour_jpg}</string>
		</dict>
	</dict>
</dict>
</plist>
EOF

echo "demo device ready: $dev"
