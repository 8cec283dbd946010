#!/usr/bin/env bash
# Checks scripts/check-deps.sh against package lists that lack one package each: it must fail
# naming that package and the file that needs it, and must not blame a package that the list
# does name.
#   tests/deps/tst_checkdeps.sh BUILD_DIR
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="$1"
check="$root/scripts/check-deps.sh"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# without PACKAGE: writes a copy of install-deps.sh whose list lacks PACKAGE, prints its path.
without() {
    grep -qw -- "$1" "$root/scripts/install-deps.sh" || {
        echo "install-deps.sh does not name $1" >&2
        exit 1
    }
    sed -E "/^[[:space:]]*packages=\\(/,/\\)/ s/(^|[[:space:]])$1([[:space:]]|$)/\\1\\2/" \
        "$root/scripts/install-deps.sh" >"$work/without-$1.sh"
    echo "$work/without-$1.sh"
}

# run NAME LIST ARGS...: runs the check with the package list LIST; output in $work/NAME.
run() {
    local name="$1" list="$2"
    shift 2
    status=0
    TOLVANE_INSTALL_DEPS="$list" "$check" "$@" >"$work/$name" 2>&1 || status=$?
}

# blames PACKAGE NAME PATTERN: whether the report in $work/NAME lists, under the missing
# PACKAGE, a need matching PATTERN.
blames() {
    awk -v package="  $1" '$0 == package || index($0, package "  (") == 1 { on = 1; next }
        /^  [^ ]/ { on = 0 } on' "$work/$2" | grep -q -- "$3"
}

# A list without libplist-dev: the pkg-config module the top CMake file asks for is unmet.
run plist "$(without libplist-dev)"
[ "$status" -eq 1 ] || fail "without libplist-dev, the check exits $status, not 1"
blames libplist-dev plist 'pkg-config module libplist-2.0 .*/libplist-2.0.pc$' ||
    fail "without libplist-dev, the report does not say that libplist-2.0.pc needs it"

# The real list names libplist-dev: whatever else is missing, it is not.
run sources "$root/scripts/install-deps.sh"
! grep -q libplist "$work/sources" || fail "with the real list, the report blames libplist-dev"

# The same list after a build: the built programs load libplist's library, and the build read
# its headers, from packages that no named package needs any more.
run binaries-plist "$(without libplist-dev)" --binaries "$build"
[ "$status" -eq 1 ] || fail "without libplist-dev, --binaries exits $status, not 1"
blames libplist-dev binaries-plist 'header /usr/include/plist/plist.h ' ||
    fail "without libplist-dev, the report does not say that plist.h needs it"
blames libplist3 binaries-plist 'library libplist-2.0.so.3 (loaded by ' ||
    fail "without libplist-dev, the report does not say that libplist-2.0.so.3 needs libplist3"

# The real list covers this build.
run binaries "$root/scripts/install-deps.sh" --binaries "$build"
[ "$status" -eq 0 ] || fail "with the real list, --binaries exits $status"

# A wrong call is a usage error.
run usage "$root/scripts/install-deps.sh" --binaries
[ "$status" -eq 2 ] || fail "a call without the build folder exits $status, not 2"

if [ "$failures" -gt 0 ]; then
    for output in "$work"/*; do
        case "$output" in *.sh) continue ;; esac
        echo "--- ${output##*/}:"
        cat "$output"
    done
    exit 1
fi
echo "check-deps: 5 cases passed"
