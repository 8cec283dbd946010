#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into their own folder and runs each for SECONDS
# (default 60). Prints one line per target and exits non-zero when any target found something
# (a crash, a sanitizer report, a hang past the per-input timeout, memory past the limit).
#   scripts/fuzz.sh [SECONDS]
#   BUILD_DIR=...        the build folder (default: build-fuzz)
#   FUZZ_TARGETS="a b"   only these targets (default: all seven)
#   FUZZ_TIMEOUT=10      seconds one input may take (date_year: 1)
#   FUZZ_RSS_MB=2048     memory one target may use
# In the build folder: fuzz/corpus/<target> (what the fuzzer found interesting, kept between
# runs), fuzz/crashes/<target> (reproducers of findings), fuzz/logs/<target>.log.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-60}"
case "$seconds" in
'' | *[!0-9]*)
    echo "usage: scripts/fuzz.sh [SECONDS]" >&2
    exit 2
    ;;
esac

scripts/install-deps.sh
build="${BUILD_DIR:-build-fuzz}"
compiler="${FUZZ_CXX:-clang++-16}"
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

started=$(date +%s)
# A folder configured before keeps its compiler and its other options (CI runs the sanitizer
# tests from the same folder: TOLVANE_FUZZERS=ON scripts/test.sh).
if [ -f "$build/CMakeCache.txt" ]; then
    cmake -S . -B "$build" -DTOLVANE_BUILD_FUZZERS=ON >/dev/null
else
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_COMPILER="$compiler" "${launcher[@]}" -DTOLVANE_BUILD_FUZZERS=ON \
        -DTOLVANE_BUILD_TESTS=OFF -DTOLVANE_BUILD_BENCH=OFF >/dev/null
fi
cmake --build "$build" --target fuzzers
fuzz/gather-seeds.sh "$build/fuzz/seeds" "$build"
built=$(date +%s)

# target, dictionary, options of its own (after the common ones, so they win). The year of a
# date text must come at once: a second on a text of 64 KB is already a hang (a linear
# search takes milliseconds).
targets=(
    "plist_record plist -max_len=16384"
    "handoff_url url -max_len=4096"
    "result_page page -max_len=65536"
    "media_metadata media -max_len=131072"
    "media_tagging media -max_len=131072"
    "artwork_image image -max_len=65536 -malloc_limit_mb=512"
    "date_year date -max_len=65536 -timeout=1"
)

# The files each input becomes live in memory when they can: imports flush what they write.
scratch_parent=/tmp
[ -d /dev/shm ] && [ -w /dev/shm ] && scratch_parent=/dev/shm
scratch="$(mktemp -d "$scratch_parent/tolvane-fuzz.XXXXXX")"
trap 'rm -rf "$scratch"' EXIT

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
symbolizer="$(command -v llvm-symbolizer-16 || command -v llvm-symbolizer || true)"
[ -n "$symbolizer" ] && export ASAN_SYMBOLIZER_PATH="${ASAN_SYMBOLIZER_PATH:-$symbolizer}"

found=0
summary=()
for entry in "${targets[@]}"; do
    read -r target dictionary options <<<"$entry"
    if [ -n "${FUZZ_TARGETS:-}" ] && [[ " $FUZZ_TARGETS " != *" $target "* ]]; then
        continue
    fi
    corpus="$build/fuzz/corpus/$target"
    crashes="$build/fuzz/crashes/$target"
    log="$build/fuzz/logs/$target.log"
    mkdir -p "$corpus" "$crashes" "$(dirname "$log")"
    inputs=("$corpus" "$build/fuzz/seeds/$target")
    [ -d "fuzz/regressions/$target" ] && inputs+=("fuzz/regressions/$target")

    echo "fuzzing $target for ${seconds}s"
    for attempt in 1 2; do
        status=0
        # shellcheck disable=SC2086 # the options are words
        TMPDIR="$scratch" "$build/fuzz/fuzz_$target" -max_total_time="$seconds" \
            -timeout="${FUZZ_TIMEOUT:-10}" -rss_limit_mb="${FUZZ_RSS_MB:-2048}" \
            -dict="fuzz/dictionaries/$dictionary.dict" -artifact_prefix="$crashes/" \
            -print_final_stats=1 $options "${inputs[@]}" >"$log" 2>&1 || status=$?
        # LeakSanitizer's own thread sometimes crashes while it stops the others for the leak
        # check at exit ("Tracer caught signal"), after every input ran cleanly: a fault of the
        # sanitizer, not a finding. The target runs once more; a second time is reported.
        if [ "$status" -ne 0 ] && [ "$attempt" -eq 1 ] && grep -q '^Done [0-9]* runs' "$log" &&
            grep -q '^Tracer caught signal' "$log"; then
            echo "  the leak check at exit failed inside LeakSanitizer; running $target again"
            continue
        fi
        break
    done

    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2 || true)
    units=$(find "$corpus" -type f | wc -l)
    if [ "$status" -eq 0 ]; then
        summary+=("$(printf '%-15s ok     %8s runs  cov %-6s corpus %s' "$target" "${runs:-?}" \
            "${coverage:-?}" "$units")")
    else
        found=1
        what=$(grep -m 1 -E '^(==[0-9]+== ?)?ERROR: |^SUMMARY: |runtime error:|tolvane fuzz: ' "$log" |
            sed -e 's/^==[0-9]*== *//' | cut -c 1-120 || true)
        artifact=$(sed -n 's/.*Test unit written to \(.*\)$/\1/p' "$log" | tail -n 1)
        summary+=("$(printf '%-15s FOUND  %s -> %s (log %s)' "$target" "${what:-exit status $status}" \
            "${artifact:-no reproducer}" "$log")")
    fi
done

echo
echo "fuzzing: build and seeds $((built - started))s, runs $(($(date +%s) - built))s"
printf '%s\n' "${summary[@]}"
exit "$found"
