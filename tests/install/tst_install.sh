#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks the tree as a desktop sees it: the
# desktop entry and the metainfo through the freedesktop validators, the icon theme's files,
# the man pages and the completion, and that the installed programs find their data from
# where they are, in that prefix and after the whole tree has been moved.
#   tests/install/tst_install.sh BUILD_DIR
set -euo pipefail
build="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

failures=0
check() {
    local what="$1"
    shift
    if "$@" >"$work/out" 2>&1; then
        echo "ok: $what"
    else
        echo "FAIL: $what"
        sed 's/^/    /' "$work/out"
        failures=$((failures + 1))
    fi
}

# The value of a top-level text key of the one-line JSON tolvane-cli prints.
json_text() {
    sed -n "s/.*\"$1\": *\"\\([^\"]*\\)\".*/\\1/p"
}

# Installed as a Debian package is made: the prefix /usr under a staging root. The browsers'
# host manifests go to absolute system folders, which DESTDIR puts under the root too.
root="$work/root"
DESTDIR="$root" cmake --install "$build" --prefix /usr >/dev/null
prefix="$root/usr"

share="$prefix/share"
check "desktop entry validates" desktop-file-validate "$share/applications/tolvane.desktop"
check "desktop entry takes URLs and files" grep -q '^Exec=tolvane %U$' "$share/applications/tolvane.desktop"
check "desktop entry handles tolvane://" grep -q 'x-scheme-handler/tolvane;' "$share/applications/tolvane.desktop"
check "metainfo validates" appstreamcli validate --no-net "$share/metainfo/com.merrowby.Tolvane.metainfo.xml"
for size in 16 22 24 32 48 64 128 256 512; do
    check "icon ${size}x${size}" test -s "$share/icons/hicolor/${size}x${size}/apps/tolvane.png"
done
check "scalable icon" test -s "$share/icons/hicolor/scalable/apps/tolvane.svg"
check "man pages" test -s "$share/man/man1/tolvane.1.gz" -a -s "$share/man/man1/tolvane-cli.1.gz"
check "man pages read" bash -c "gzip -dc '$share/man/man1/tolvane-cli.1.gz' | grep -q '^.SH COMMANDS'"
check "bash completion parses" bash -n "$share/bash-completion/completions/tolvane-cli"

home="$work/home"
mkdir -p "$home"
run_cli() {
    env -u TOLVANE_ROOT -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME HOME="$home" "$@"
}
system_root_of() {
    run_cli "$1/bin/tolvane-cli" paths | json_text systemRoot
}
check "installed tolvane-cli finds its data in the prefix" \
    test "$(system_root_of "$prefix")" = "$prefix/share/tolvane"
check "installed tolvane-cli finds the file-type icons" \
    grep -q '"scan": "audio.png"' <(run_cli "$prefix/bin/tolvane-cli" icon mp3)
check "tolvane --version" env QT_QPA_PLATFORM=offscreen "$prefix/bin/tolvane" --version
check "tolvane-cli --version" "$prefix/bin/tolvane-cli" --version

# A first run on a desktop: a home with nothing of Tolvane's, a download folder named in
# user-dirs.dirs with a space and a letter beyond ASCII. The download folder is made, a file in
# it imports into ~/Media/Tolvane, and the device's folders appear nowhere.
mkdir -p "$home/.config"
printf 'XDG_DOWNLOAD_DIR="$HOME/Downloads \303\251t\303\251"\n' >"$home/.config/user-dirs.dirs"
downloads="$home/Downloads été"
check "the download folder is made on first use" \
    test "$(run_cli "$prefix/bin/tolvane-cli" paths | json_text destination)" = "$downloads" -a -d "$downloads"
fixtures="$(cd "$(dirname "$0")/../fixtures/media" && pwd)"
cp "$fixtures/id3v24.mp3" "$downloads/Harbour Song.mp3"
check "a download imports into ~/Media/Tolvane" \
    bash -c "env -u TOLVANE_ROOT -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME HOME='$home' \
        '$prefix/bin/tolvane-cli' import '$downloads/Harbour Song.mp3' --kind song |
        grep -q '\"path\": \"$home/Media/Tolvane/'"
check "the application starts on the desktop with a file handed over" \
    bash -c "env -u TOLVANE_ROOT -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME HOME='$home' \
        QT_QPA_PLATFORM=offscreen timeout 30 '$prefix/bin/tolvane' --no-launch-delay \
        --quit-when-shown '$downloads/Harbour Song.mp3' | grep -q '^shown'"
check "the user's download is untouched" cmp "$fixtures/id3v24.mp3" "$downloads/Harbour Song.mp3"
check "no device folder on a desktop" test ! -e "$home/var" -a ! -e "$home/Library"

# The browser add-on: a zip for each browser, and the host manifests where the browsers read
# them for every user, naming the installed tolvane-cli, the same as --install-user writes.
for browser in chromium firefox; do
    check "the add-on's zip for $browser holds its manifest" \
        bash -c "cmake -E tar tf '$share/tolvane/extension/tolvane-$browser.zip' | grep -qx manifest.json"
done
run_cli "$prefix/bin/tolvane-cli" native-host --install-user >/dev/null
same_manifest() { # INSTALLED USER: the same but for the program's path
    node -e '
        const [installed, user] = process.argv.slice(1).map((f) => JSON.parse(require("fs").readFileSync(f, "utf8")));
        if (installed.path !== "/usr/bin/tolvane-cli") throw new Error(`path ${installed.path}`);
        delete installed.path; delete user.path;
        require("assert").deepStrictEqual(installed, user);' "$1" "$2"
}
check "Chromium's host manifest" same_manifest "$root/etc/chromium/native-messaging-hosts/com.merrowby.tolvane.json" \
    "$home/.config/chromium/NativeMessagingHosts/com.merrowby.tolvane.json"
check "Chrome's host manifest" same_manifest "$root/etc/opt/chrome/native-messaging-hosts/com.merrowby.tolvane.json" \
    "$home/.config/google-chrome/NativeMessagingHosts/com.merrowby.tolvane.json"
check "Firefox's host manifest" same_manifest "$prefix/lib/mozilla/native-messaging-hosts/com.merrowby.tolvane.json" \
    "$home/.mozilla/native-messaging-hosts/com.merrowby.tolvane.json"

mv "$prefix" "$work/moved"
check "a moved tree still finds its data" \
    test "$(system_root_of "$work/moved")" = "$work/moved/share/tolvane"

[ "$failures" -eq 0 ] && echo "install: every check passed"
exit "$failures"
