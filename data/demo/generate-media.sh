#!/usr/bin/env bash
# Regenerates the small demo media in data/demo/media/ from synthetic sources only
# (sine tones, test patterns, solid colours and drawn boxes). Nothing is downloaded.
#
# Usage: data/demo/generate-media.sh [OUTPUT_DIR]
#   OUTPUT_DIR defaults to the media/ folder beside this script.
#
# Needs ffmpeg with libmp3lame, libx264 and the native aac encoder
# (Debian: apt-get install -y ffmpeg). Output is bit-exact for a given ffmpeg build:
# encoder version strings, creation times and input metadata are left out.
set -euo pipefail
export LC_ALL=C

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
out_dir=${1:-"$script_dir/media"}
max_bytes=102400

if ! command -v ffmpeg >/dev/null 2>&1; then
    echo "generate-media.sh: ffmpeg not found." >&2
    echo "  Install it first, e.g. on Debian/Ubuntu: sudo apt-get update && sudo apt-get install -y ffmpeg" >&2
    exit 1
fi
encoders=$(ffmpeg -hide_banner -encoders 2>/dev/null || true)
for enc in libmp3lame aac libx264 mjpeg png; do
    if ! grep -qw -- "$enc" <<<"$encoders"; then
        echo "generate-media.sh: this ffmpeg lacks the '$enc' encoder (Debian's ffmpeg package has it)." >&2
        exit 1
    fi
done

mkdir -p "$out_dir"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Common flags: quiet, overwrite, no input metadata, no encoder/version strings.
ff() {
    ffmpeg -hide_banner -loglevel error -nostdin -y "$@"
}
bitexact=(-fflags +bitexact -flags:v +bitexact -flags:a +bitexact -map_metadata -1 -map_chapters -1)

# --- Evening Tide.mp3 ---------------------------------------------------------------
# A 300x300 front cover: a colour gradient computed per pixel plus two drawn boxes.
ff -f lavfi -i "nullsrc=s=300x300:d=1,format=yuv444p" \
   -vf "geq=lum='40+120*Y/H':cb='128+60*X/W':cr='170-50*Y/H',drawbox=x=40:y=180:w=220:h=12:color=0xF1FAEE:t=fill,drawbox=x=110:y=60:w=80:h=80:color=0xFFD166:t=fill,format=yuvj420p" \
   -frames:v 1 -c:v mjpeg -q:v 9 "${bitexact[@]}" -update 1 "$work/cover.jpg"

# An A minor chord (A3, C4, E4) with a short fade in and out, 3 s.
ff -f lavfi -i "aevalsrc='0.22*sin(2*PI*220*t)+0.16*sin(2*PI*261.63*t)+0.16*sin(2*PI*329.63*t)':s=44100:d=3:c=mono" \
   -i "$work/cover.jpg" \
   -map 0:a -map 1:v \
   -af "afade=t=in:d=0.3,afade=t=out:st=2.5:d=0.5" \
   -c:a libmp3lame -b:a 64k -ac 1 -ar 44100 \
   -c:v copy -disposition:v:0 attached_pic \
   -metadata:s:v:0 title="Album cover" -metadata:s:v:0 comment="Cover (front)" \
   "${bitexact[@]}" -id3v2_version 4 -write_xing 0 \
   -metadata title="Evening Tide" \
   -metadata artist="The Harbour Lights" \
   -metadata album="Night Ferries" \
   -metadata genre="Ambient" \
   -metadata date="2024" \
   -metadata track="3/10" \
   "$out_dir/Evening Tide.mp3"

# --- Morning Run.m4a ----------------------------------------------------------------
# A rising two-note figure (E4 then B4), 3 s of AAC, no cover.
ff -f lavfi -i "aevalsrc='0.3*sin(2*PI*(if(lt(t,1.5),329.63,493.88))*t)':s=44100:d=3:c=mono" \
   -af "afade=t=in:d=0.2,afade=t=out:st=2.6:d=0.4" \
   -c:a aac -b:a 64k -ac 1 -ar 44100 \
   "${bitexact[@]}" \
   -metadata title="Morning Run" \
   -metadata artist="Coastal Pacers" \
   -metadata album="Early Miles" \
   -metadata genre="Electronic" \
   -metadata date="2023" \
   -metadata track="1/12" \
   -f ipod "$out_dir/Morning Run.m4a"

# --- Harbour Timelapse.mp4 ----------------------------------------------------------
# 2 s of test pattern at 160x90 with a quiet 440 Hz AAC track.
ff -f lavfi -i "testsrc2=s=160x90:r=15:d=2" \
   -f lavfi -i "sine=frequency=440:sample_rate=22050:duration=2" \
   -map 0:v -map 1:a \
   -c:v libx264 -preset veryfast -b:v 120k -maxrate 150k -bufsize 150k -pix_fmt yuv420p -threads 1 \
   -x264-params "threads=1:lookahead-threads=1" \
   -af "volume=0.2" -c:a aac -b:a 32k -ac 1 \
   "${bitexact[@]}" -movflags +faststart \
   -metadata title="Harbour Timelapse" \
   -f mp4 "$out_dir/Harbour Timelapse.mp4"

# --- Harbour Timelapse.jpg (the video's thumbnail, 320x180) -------------------------
ff -f lavfi -i "testsrc2=s=320x180:r=1:d=1" \
   -vf "drawbox=x=0:y=150:w=320:h=30:color=0x1D3557@0.8:t=fill,format=yuvj420p" \
   -frames:v 1 -c:v mjpeg -q:v 5 "${bitexact[@]}" -update 1 "$out_dir/Harbour Timelapse.jpg"

# --- cover-art.png (128x128 drawn shapes) -------------------------------------------
ff -f lavfi -i "color=c=0x457B9D:s=128x128:d=1" \
   -vf "drawbox=x=16:y=16:w=96:h=96:color=0xE63946:t=6,drawbox=x=44:y=44:w=40:h=40:color=0xF1FAEE:t=fill,format=rgb24" \
   -frames:v 1 -c:v png "${bitexact[@]}" -update 1 "$out_dir/cover-art.png"

# --- notes.txt ----------------------------------------------------------------------
cat >"$out_dir/notes.txt" <<'EOF'
Harbour field notes
- Ferry leaves at 06:40; the tide turns around 07:15.
- Recorded "Evening Tide" from the east pier & "Morning Run" on the coast path.
- Timelapse camera: 2 s clip, thumbnail saved beside it.
EOF

# --- Field Notes.pdf ----------------------------------------------------------------
# A minimal one-page PDF written by hand; xref offsets are byte counts (LC_ALL=C).
make_pdf() {
    local out=$1
    local text_stream
    text_stream=$'BT /F1 24 Tf 72 720 Td (Field Notes) Tj ET\nBT /F1 12 Tf 72 690 Td (Tide turns around 07:15.) Tj ET'
    local -a objs=(
        $'<< /Type /Catalog /Pages 2 0 R >>'
        $'<< /Type /Pages /Kids [3 0 R] /Count 1 >>'
        $'<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents 4 0 R /Resources << /Font << /F1 5 0 R >> >> >>'
        "<< /Length ${#text_stream} >>"$'\nstream\n'"${text_stream}"$'\nendstream'
        $'<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>'
    )
    local pdf=$'%PDF-1.4\n'
    local -a offsets=()
    local i
    for i in "${!objs[@]}"; do
        offsets+=("${#pdf}")
        pdf+="$((i + 1)) 0 obj"$'\n'"${objs[$i]}"$'\nendobj\n'
    done
    local xref_at=${#pdf}
    local count=$((${#objs[@]} + 1))
    pdf+="xref"$'\n'"0 ${count}"$'\n'"0000000000 65535 f "$'\n'
    for i in "${offsets[@]}"; do
        pdf+=$(printf '%010d 00000 n ' "$i")$'\n'
    done
    pdf+="trailer"$'\n'"<< /Size ${count} /Root 1 0 R >>"$'\n'"startxref"$'\n'"${xref_at}"$'\n'"%%EOF"$'\n'
    printf '%s' "$pdf" >"$out"
}
make_pdf "$out_dir/Field Notes.pdf"

# --- size check ---------------------------------------------------------------------
status=0
for f in "Evening Tide.mp3" "Morning Run.m4a" "Harbour Timelapse.mp4" "Harbour Timelapse.jpg" \
         "Field Notes.pdf" "notes.txt" "cover-art.png"; do
    size=$(stat -c %s "$out_dir/$f")
    printf '%8d  %s\n' "$size" "$f"
    if [ "$size" -ge "$max_bytes" ]; then
        echo "generate-media.sh: $f is $size bytes, over the $max_bytes byte limit" >&2
        status=1
    fi
done
exit "$status"
