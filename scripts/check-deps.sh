#!/usr/bin/env bash
# Checks that scripts/install-deps.sh names every Debian package that Tolvane's build, tests
# and application need, so that a fresh Debian machine with only what install-deps.sh installs
# builds and passes as this one does. A package counts as named when install-deps.sh lists it,
# when a listed package needs it through Depends or Pre-Depends (transitively; Recommends do
# not count, as install-deps.sh installs without them), or when it belongs to the base system
# (Essential or Priority "required", and what those need).
#
#   scripts/check-deps.sh                       before a build: the pkg-config modules and CMake
#                                               packages the CMake files ask for, the tools the
#                                               scripts run, and the GStreamer elements listed
#                                               in scripts/gstreamer-elements.txt
#   scripts/check-deps.sh --binaries BUILD_DIR  after a build: the shared libraries every
#                                               executable and library of BUILD_DIR loads, the
#                                               headers and CMake files the build read, and the
#                                               compiler it used
#
#   --verbose  also lists each need that is met, with the package that meets it
#
#   TOLVANE_INSTALL_DEPS=FILE  reads the package list from FILE instead of
#                              scripts/install-deps.sh
#
# Exits 0 when every need is met, 1 listing each package that is missing with what needs it,
# 2 on bad arguments. Reads only this machine's package database: no network.
set -euo pipefail

usage() {
    echo "usage: scripts/check-deps.sh [--verbose] [--binaries BUILD_DIR]" >&2
    exit 2
}

root="$(cd "$(dirname "$0")/.." && pwd)"
build_dir=""
verbose=0
if [ "${1:-}" = --verbose ]; then
    verbose=1
    shift
fi
if [ "$#" -gt 0 ]; then
    if [ "$1" != --binaries ] || [ "$#" -ne 2 ]; then usage; fi
    [ -d "$2" ] || {
        echo "check-deps: no build folder $2" >&2
        exit 2
    }
    build_dir="$(cd "$2" && pwd)"
fi
install_deps="${TOLVANE_INSTALL_DEPS:-$root/scripts/install-deps.sh}"
install_deps_name="${install_deps#"$root"/}"
elements_file="$root/scripts/gstreamer-elements.txt"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
needs="$work/needs"         # group TAB what TAB path: the path must come from a named package
problems="$work/problems"   # group TAB what TAB why: a need that no file here meets
: >"$needs"
: >"$problems"

# need GROUP WHAT PATH: records that PATH is needed for WHAT. Needs that share a GROUP are
# alternatives: one of them met is enough. A path already needed in its group is not recorded
# again.
declare -A needed
need() {
    [ -z "${needed[$1 $3]:-}" ] || return 0
    needed[$1 $3]=1
    printf '%s\t%s\t%s\n' "$1" "$2" "$3" >>"$needs"
}
# problem WHAT WHY [GROUP]: records that nothing on this machine meets WHAT. With a GROUP, it
# does not count when another need of the group is met.
problem() { printf '%s\t%s\t%s\n' "${3:--}" "$1" "$2" >>"$problems"; }

# --- The packages install-deps.sh names: the words of its "packages=( ... )" list and of its
# optional groups' "bench_packages=( ... )" (a build links them only when they are there). ---
named="$work/named"
[ -f "$install_deps" ] || {
    echo "check-deps: no package list $install_deps" >&2
    exit 2
}
awk '
    /^[[:space:]]*(bench_)?packages=\(/ { inside = 1; sub(/^[^(]*\(/, "") }
    inside {
        sub(/#.*/, "")
        if (index($0, ")")) { sub(/\).*/, ""); inside = 0 }
        for (i = 1; i <= NF; i++) print $i
    }' "$install_deps" | sort -u >"$named"
[ -s "$named" ] || {
    echo "check-deps: found no packages=( ... ) list in $install_deps_name" >&2
    exit 2
}

# --- What the named packages and the base system bring, from the installed packages. ---
# Prints "PACKAGE<TAB>provided" for the closure over Depends and Pre-Depends of the named and
# base packages, and "PACKAGE<TAB>recommended" for what the named packages reach only when
# Recommends are followed too (used to explain a miss). An alternative "a | b" follows the
# first one installed here; a virtual package follows the first installed package providing it.
closure="$work/closure"
dpkg-query -W -f='${Package}\t${db:Status-Abbrev}\t${Essential}\t${Priority}\t${Provides}\t${Pre-Depends}\t${Depends}\t${Recommends}\n' |
    awk -F '\t' -v named_file="$named" '
    function bare(s) {
        sub(/\(.*/, "", s); sub(/:.*/, "", s); gsub(/[[:space:]]/, "", s)
        return s
    }
    function resolve(clause,    alts, n, i, a) {
        n = split(clause, alts, "|")
        for (i = 1; i <= n; i++) {
            a = bare(alts[i])
            if (a in installed) return a
            if (a in provider) return provider[a]
        }
        return ""
    }
    # walk(mark, withRecommends): marks everything that the packages already in mark need.
    function walk(mark, withRecommends,    queue, head, tail, p, list, n, i, d) {
        head = tail = 0
        for (p in mark) queue[tail++] = p
        while (head < tail) {
            p = queue[head++]
            list = depends[p]
            if (withRecommends) list = list "," recommends[p]
            n = split(list, clauses, ",")
            for (i = 1; i <= n; i++) {
                if (clauses[i] ~ /^[[:space:]]*$/) continue
                d = resolve(clauses[i])
                if (d != "" && !(d in mark)) { mark[d] = 1; queue[tail++] = d }
            }
        }
    }
    # Installed, or installed with triggers still to run.
    substr($2, 2, 1) ~ /[iWt]/ {
        p = $1
        installed[p] = 1
        if ($3 == "yes" || $4 == "required") base[p] = 1
        n = split($5, provides, ",")
        for (i = 1; i <= n; i++) {
            v = bare(provides[i])
            if (v != "" && !(v in provider)) provider[v] = p
        }
        depends[p] = depends[p] "," $6 "," $7
        recommends[p] = recommends[p] "," $8
    }
    END {
        while ((getline p < named_file) > 0) {
            provided[p] = 1
            asked[p] = 1
            # A virtual name in the list stands for the package providing it.
            if (!(p in installed) && (p in provider)) { provided[provider[p]] = 1; asked[provider[p]] = 1 }
        }
        for (p in base) provided[p] = 1
        walk(provided, 0)
        walk(asked, 1)
        for (p in provided) print p "\tprovided"
        for (p in asked) if (!(p in provided)) print p "\trecommended"
    }' >"$closure"

# --- Files of the repository to read, without any build tree inside it. ---
build_trees=()
while IFS= read -r cache; do
    build_trees+=(-path "$(dirname "$cache")" -prune -o)
done < <(find "$root" -path "$root/.git" -prune -o -name CMakeCache.txt -print)
repo_files() { # repo_files FIND-TESTS...: matching files of the repository
    find "$root" -path "$root/.git" -prune -o "${build_trees[@]}" \( "$@" \) -type f -print |
        sort
}

# --- Before a build: CMake packages, pkg-config modules, tools, GStreamer elements. ---
check_sources() {
    local cmake_files
    mapfile -t cmake_files < <(repo_files -name CMakeLists.txt -o -name '*.cmake')

    # One call per line: "file<TAB>command<TAB>arguments", comments dropped, calls joined.
    local calls="$work/cmake-calls"
    awk -v root="$root/" '
        FNR == 1 { if (NR > 1) calls(); text = ""; name = substr(FILENAME, length(root) + 1) }
        { sub(/#.*/, ""); text = text " " $0 }
        END { calls() }
        function calls(    rest, call) {
            rest = text
            while (match(rest, /(find_package|pkg_check_modules)[ \t]*\([^)]*\)/)) {
                call = substr(rest, RSTART, RLENGTH)
                rest = substr(rest, RSTART + RLENGTH)
                sub(/[ \t]*\(/, "\t", call); sub(/\)$/, "", call)
                print name "\t" call
            }
        }' "${cmake_files[@]}" >"$calls"

    local where command args name word words mode modules=()
    while IFS=$'\t' read -r where command args; do
        read -ra words <<<"$args"
        if [ "$command" = pkg_check_modules ]; then
            # pkg_check_modules(PREFIX [options] module[>=version]...)
            for word in "${words[@]:1}"; do
                case "$word" in
                REQUIRED | QUIET | IMPORTED_TARGET | GLOBAL | NO_CMAKE_PATH | NO_CMAKE_ENVIRONMENT_PATH) ;;
                [\<\>=]*) ;;
                *) modules+=("${word%%[<>=]*}	$where") ;;
                esac
            done
            continue
        fi
        # find_package(NAME [version] [REQUIRED] [COMPONENTS] components...)
        name="${words[0]}"
        [[ " ${words[*]} " == *" REQUIRED "* ]] || continue # optional packages may be absent
        if [ "$name" = Qt6 ]; then
            check_cmake_package Qt6 "$where"
            mode=""
            for word in "${words[@]:1}"; do
                case "$word" in
                REQUIRED | COMPONENTS) mode=components ;;
                OPTIONAL_COMPONENTS | CONFIG | NO_MODULE | QUIET | EXACT | GLOBAL) mode="" ;;
                [0-9]*) ;;
                *) if [ "$mode" = components ]; then check_cmake_package "Qt6$word" "$where"; fi ;;
                esac
            done
        else
            check_cmake_package "$name" "$where"
            if [ "$name" = PkgConfig ]; then check_tool pkg-config "$where (find_package(PkgConfig))"; fi
        fi
    done <"$calls"

    # pkg-config modules, and the modules they require in turn (their flags come along).
    local seen=" " module item
    while [ "${#modules[@]}" -gt 0 ]; do
        item="${modules[0]}"
        modules=("${modules[@]:1}")
        module="${item%%	*}"
        where="${item#*	}"
        [[ "$seen" == *" $module "* ]] && continue
        seen+="$module "
        if ! command -v pkg-config >/dev/null; then
            problem "pkg-config module $module ($where)" "pkg-config is not installed"
            continue
        fi
        local pc
        if ! pc="$(pkg-config --path "$module" 2>/dev/null)" || [ -z "$pc" ]; then
            problem "pkg-config module $module ($where)" "no $module.pc on this machine"
            continue
        fi
        need "pc:$module" "pkg-config module $module ($where)" "$pc"
        local required
        while read -r required _; do
            [ -z "$required" ] || modules+=("$required	required by $module")
        done < <(pkg-config --print-requires --print-requires-private "$module" 2>/dev/null)
    done

    check_script_tools
    check_gstreamer_elements
}

# check_cmake_package NAME WHERE: NAME's config file or find module is needed.
check_cmake_package() {
    local name="$1" where="$2" found="" lower="${1,,}" config
    # Where CMake looks on Debian: the package's folder under a cmake folder of the
    # libraries, or CMake's own find modules.
    for config in /usr/lib/*/cmake/"$name"*/{"$name"Config,"$lower"-config}.cmake \
        /usr/{lib,share}/cmake/"$name"*/{"$name"Config,"$lower"-config}.cmake \
        /usr/share/cmake-*/Modules/Find"$name".cmake; do
        if [ -f "$config" ]; then
            found="$config"
            break
        fi
    done
    if [ -z "$found" ]; then
        problem "CMake package $name ($where)" "no ${name}Config.cmake or Find$name.cmake on this machine"
    else
        need "cmake:$name" "CMake package $name ($where)" "$found"
    fi
}

# check_tool NAME WHY: the command NAME, as PATH finds it, is needed.
check_tool() {
    if [[ "$1" == */* ]] && [ -x "$1" ]; then
        need "tool:$1" "tool $1 ($2)" "$1"
    elif hash "$1" 2>/dev/null && [ -n "${BASH_CMDS[$1]:-}" ]; then
        need "tool:$1" "tool $1 ($2)" "${BASH_CMDS[$1]}"
    else
        problem "tool $1 ($2)" "not installed here"
    fi
}

# The commands that CI's scripts run: each word in command position of .ci/run and scripts/*.sh
# (quoted text and array literals skipped), less shell builtins and the scripts' own
# functions. Then the tools the project tells its developers and users to run itself.
check_script_tools() {
    local scripts
    mapfile -t scripts < <(
        echo "$root/.ci/run"
        repo_files -path "$root/scripts/*.sh"
    )
    local found="$work/script-words"
    awk -f - "${scripts[@]}" >"$found" <<'AWK'
    # Emits "C<TAB>word<TAB>file:line" for a word in command position and "F<TAB>name" for a
    # function definition. States: stack of "c" (commands) and "d" (inside double quotes).
    function flush(next_char,    w) {
        if (word == "") return
        w = word; word = ""
        if (array[depth]) return
        if (w ~ /^[A-Za-z_][A-Za-z0-9_]*(\[[^]]*\])?\+?=/ && next_char == "(") {
            array[depth] = 1 # NAME=( ... ): a list, not commands
            return
        }
        # case WORD in PATTERN) COMMANDS ;; ... esac: patterns are not commands.
        if (w == "esac") { cases[depth] = 0; return }
        if (cases[depth] == 1 && w == "in") { cases[depth] = 2; return }
        if (cases[depth] == 2) return
        if (!atcmd[depth]) return
        if (w ~ /^[A-Za-z_][A-Za-z0-9_]*(\[[^]]*\])?\+?=/) return
        if (w == "case") { cases[depth] = 1; atcmd[depth] = 0; return }
        if (next_char == "(" && substr(text, pos + 1, 1) == ")") { print "F\t" w; atcmd[depth] = 0; return }
        if (w ~ /^(if|then|elif|else|do|while|until|exec|nice|env|time|!|\{)$/ || w ~ /^\$/) return
        if (w ~ /^(for|case|select|function|\[|\[\[)$/) { atcmd[depth] = 0; return }
        atcmd[depth] = 0
        if (!quoted && w ~ /^[A-Za-z0-9_][A-Za-z0-9._+-]*$/) print "C\t" w "\t" name ":" (line - (next_char == "\n"))
    }
    FNR == 1 { if (NR > 1) finish(); text = ""; name = FILENAME }
    { text = text $0 "\n" }
    END { finish() }
    # arithmetic(): the position of the last ")" of the arithmetic expansion "$((...))" at `at`:
    # its words are numbers and variables, never commands.
    function arithmetic(at,    open, i, ch, size) {
        open = 0
        size = length(text)
        for (i = at + 1; i <= size; i++) {
            ch = substr(text, i, 1)
            if (ch == "\n") line++
            if (ch == "(") open++
            else if (ch == ")" && --open == 0) return i
        }
        return size
    }
    # heredoc(): skips the text of a here-document from the line after "<<WORD" to WORD.
    function heredoc(    rest, delimiter, eol, body) {
        rest = substr(text, pos + 2)
        sub(/^-?[ \t]*/, "", rest)
        delimiter = rest; sub(/[ \t;|&)\n].*/, "", delimiter); gsub(/["\047]/, "", delimiter)
        eol = index(substr(text, pos), "\n")
        pending = delimiter; pendingAt = pos + eol - 1
    }
    function finish(    n, c, l, end) {
        depth = 0; state[0] = "c"; atcmd[0] = 1; array[0] = 0; cases[0] = 0; word = ""; quoted = 0; line = 1
        n = length(text)
        pending = ""
        for (pos = 1; pos <= n; pos++) {
            c = substr(text, pos, 1)
            if (pending != "" && pos == pendingAt) {
                # Skip the body lines up to and including the delimiter line.
                while (pos < n) {
                    end = index(substr(text, pos + 1), "\n")
                    if (end == 0) { pos = n; break }
                    l = substr(text, pos + 1, end - 1); line++
                    pos += end
                    sub(/^[ \t]*/, "", l)
                    if (l == pending) break
                }
                pending = ""; line++; flush("\n"); atcmd[depth] = 1
                continue
            }
            if (c == "\n") line++
            if (state[depth] == "d") {
                if (c == "\\") pos++
                else if (c == "\"") depth--
                else if (substr(text, pos, 3) == "$((") pos = arithmetic(pos)
                else if (c == "$" && substr(text, pos + 1, 1) == "(") { pos++; state[++depth] = "c"; atcmd[depth] = 1; array[depth] = 0; cases[depth] = 0; word = ""; quoted = 0 }
                continue
            }
            if (c == "\\" && substr(text, pos + 1, 1) == "\n") { flush(" "); pos++; line++; continue }
            if (c == "\\") { word = word substr(text, pos + 1, 1); quoted = 1; pos++; continue }
            if (c == "#" && word == "") { while (pos <= n && substr(text, pos, 1) != "\n") pos++; pos--; continue }
            if (c == "'") { quoted = 1; while (++pos <= n && substr(text, pos, 1) != "'") if (substr(text, pos, 1) == "\n") line++; word = word "x"; continue }
            if (c == "\"") { quoted = 1; word = word "x"; state[++depth] = "d"; continue }
            if (substr(text, pos, 3) == "$((") { pos = arithmetic(pos); word = word "x"; continue }
            if (c == "$" && substr(text, pos + 1, 1) == "(") { pos++; word = word "$"; state[++depth] = "c"; atcmd[depth] = 1; array[depth] = 0; cases[depth] = 0; continue }
            # Redirections such as >&2 and &>/dev/null are words, not command separators.
            if (c == "&" && (word ~ /[<>]$/ || substr(text, pos + 1, 1) == ">")) { word = word c; continue }
            if (substr(text, pos, 3) == "<<<") { word = word "<<<"; pos += 2; continue }
            if (substr(text, pos, 2) == "<<") { flush(c); heredoc(); pos++; continue }
            if (c ~ /[ \t]/) { flush(c); quoted = 0; continue }
            if (c ~ /[\n;&|(){}]/) {
                flush(c); quoted = 0
                if (array[depth]) { if (c == ")") array[depth] = 0; continue }
                if (c == ")" && cases[depth] == 2) { cases[depth] = 3; atcmd[depth] = 1; continue }
                if (c == ";" && substr(text, pos + 1, 1) == ";" && cases[depth] == 3) { cases[depth] = 2; pos++; continue }
                if (c == ")" && depth > 0 && state[depth] == "c") { depth--; continue }
                atcmd[depth] = 1
                continue
            }
            word = word c
        }
    }
AWK
    local kind word where skip=" "
    compgen -b -k >"$work/shell-words"
    while IFS= read -r word; do skip+="$word "; done <"$work/shell-words"
    while IFS=$'\t' read -r kind word _; do
        [ "$kind" = F ] && skip+="$word "
    done <"$found"
    while IFS=$'\t' read -r kind word where; do
        [ "$kind" = C ] || continue
        [[ "$skip" == *" $word "* ]] && continue
        skip+="$word "
        check_tool "$word" "run by ${where#"$root"/}"
    done <"$found"

    # Not run by a script, but part of working on and with Tolvane.
    check_tool clang-format "the code style in .clang-format"
    check_tool xvfb-run "how scripts/demo.sh and tolvane tell users to run without a display"
    check_tool "${CXX:-c++}" "the C++ compiler CMake picks"
}

# The GStreamer elements playback needs: each element's plugin file.
check_gstreamer_elements() {
    local line alternatives element what group=0 plugin words unknown=""
    if ! command -v gst-inspect-1.0 >/dev/null; then
        while IFS= read -r line; do
            read -ra words <<<"${line%%#*}"
            [ "${#words[@]}" -eq 0 ] || unknown+="${unknown:+, }${words[*]}"
        done <"$elements_file"
        problem "GStreamer elements $unknown (scripts/gstreamer-elements.txt)" \
            "cannot be looked up, as gst-inspect-1.0 (Debian: gstreamer1.0-tools) is not installed"
        return
    fi
    # Each element's plugin, from the registry's list of features ("plugin:  element: what"),
    # and the file of each plugin that has a listed element.
    local -A plugin_of file_of
    local name file
    while IFS=: read -r plugin element _; do
        plugin_of[${element//[[:space:]]/}]="$plugin"
    done < <(gst-inspect-1.0 2>/dev/null | grep -E '^[^ :]+:  [^ :]+: ')
    while read -r element; do
        plugin="${plugin_of[$element]:-}"
        if [ -z "$plugin" ] || [ -n "${file_of[$plugin]:-}" ]; then continue; fi
        while read -r name file; do
            [ "$name" != Filename ] || file_of[$plugin]="$file"
        done < <(gst-inspect-1.0 "$plugin" 2>/dev/null)
    done < <(sed 's/#.*//' "$elements_file" | tr '|' '\n' | awk 'NF { print $1 }')
    while IFS= read -r line; do
        line="${line%%#*}"
        [[ "$line" =~ [^[:space:]] ]] || continue
        group=$((group + 1))
        IFS='|' read -ra alternatives <<<"$line"
        for element in "${alternatives[@]}"; do
            element="${element//[[:space:]]/}"
            what="GStreamer element $element (scripts/gstreamer-elements.txt)"
            plugin="${plugin_of[$element]:-}"
            plugin="${plugin:+${file_of[$plugin]:-}}"
            if [ -n "$plugin" ]; then
                need "gst:$group" "$what" "$plugin"
            else
                problem "$what" "no installed GStreamer plugin has it" "gst:$group"
            fi
        done
    done <"$elements_file"
}

# --- After a build: what the built programs load, and what the build read. ---
check_build() {
    # Every ELF executable and shared library of the build, less CMake's own probes.
    local elves=() file magic
    while IFS= read -r file; do
        magic=""
        LC_ALL=C read -r -n 4 magic <"$file" 2>/dev/null || true
        [ "$magic" = $'\x7fELF' ] && elves+=("$file")
    done < <(find "$build_dir" -path "$build_dir/CMakeFiles" -prune -o -type f \
        \( -perm -u+x -o -name '*.so' -o -name '*.so.*' \) -print)
    if [ "${#elves[@]}" -eq 0 ]; then
        problem "the build in $build_dir" "has no executables; build it first"
        return
    fi

    # "FILE:" and then ldd's "name => path (address)" lines for each file, four files at a
    # time, each into its own file so that the lists do not mix.
    mkdir "$work/ldd"
    # shellcheck disable=SC2016 # the sh -c script expands its own arguments
    printf '%s\0' "${elves[@]}" | xargs -0 -r -P 4 -n 1 sh -c \
        '{ echo "$1:"; ldd "$1" 2>/dev/null; } >"$(mktemp -p "$0")"' "$work/ldd"
    local lib path current="" line
    declare -A loaded
    while IFS= read -r line; do
        case "$line" in
        /*:) current="${line%:}" ;;
        *"=> not found"*)
            lib="$(awk '{ print $1 }' <<<"$line")"
            problem "library $lib (loaded by ${current#"$build_dir"/})" "not found"
            ;;
        *"=> /"*)
            read -r lib _ path _ <<<"$line"
            case "$path" in "$build_dir"/* | "$root"/*) continue ;; esac
            [ -n "${loaded[$path]:-}" ] && continue
            loaded[$path]=1
            need "lib:$path" "library $lib (loaded by ${current#"$build_dir"/})" "$path"
            ;;
        $'\t'/*)
            read -r path _ <<<"$line"
            [ -n "${loaded[$path]:-}" ] && continue
            loaded[$path]=1
            need "lib:$path" "program loader (of ${current#"$build_dir"/})" "$path"
            ;;
        esac
    done < <(cat "$work/ldd"/*)

    # The compiler CMake used.
    local compiler
    compiler="$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build_dir/CMakeCache.txt" 2>/dev/null || true)"
    # A compiler given by name (-DCMAKE_CXX_COMPILER=clang++-16) is the one on the PATH.
    if [ -n "$compiler" ] && [[ "$compiler" != */* ]]; then
        compiler="$(command -v "$compiler" || echo "$compiler")"
    fi
    [ -n "$compiler" ] && need "tool:compiler" "C++ compiler (CMakeCache.txt)" "$compiler"

    # Everything CMake read to configure (Qt's config files and their dependencies, find
    # modules) and every header outside the repository that the compiler read.
    if [ -f "$build_dir/build.ninja" ]; then
        awk '/^build build\.ninja:/ { for (i = 1; i <= NF; i++) if ($i ~ /^\//) print $i; exit }' \
            "$build_dir/build.ninja" | sort -u |
            while IFS= read -r path; do
                case "$path" in "$build_dir"/* | "$root"/*) continue ;; esac
                need "cmake-input:$path" "CMake file $path (read when configuring)" "$path"
            done
        (cd "$build_dir" && ninja -t deps 2>/dev/null) | awk '/^    \// { print $1 }' | sort -u |
            while IFS= read -r path; do
                case "$path" in "$build_dir"/* | "$root"/*) continue ;; esac
                need "header:$path" "header $path (read when compiling)" "$path"
            done
    fi
}

if [ -n "$build_dir" ]; then
    check_build
    scope="the build in ${build_dir#"$root"/}"
else
    check_sources
    scope="the build inputs, tools and GStreamer elements"
fi

# --- Which package owns each needed file (as named and after symlinks), in one dpkg call. ---
paths="$work/paths"
cut -f3 "$needs" | sort -u >"$paths"
forms="$work/forms" # path TAB normalised TAB resolved
paste "$paths" <(xargs -r -d '\n' realpath -s -m -- <"$paths") \
    <(xargs -r -d '\n' realpath -m -- <"$paths") >"$forms"
owners="$work/owners"
# /lib and /usr/lib are one folder (merged /usr), but dpkg knows each file by one of the two.
cut -f2,3 "$forms" | tr '\t' '\n' | sort -u |
    sed -E 'p; s#^/usr/(lib|lib32|lib64|libx32|bin|sbin)/#/\1/#; t; s#^/(lib|lib32|lib64|libx32|bin|sbin)/#/usr/\1/#; t; d' |
    sort -u | xargs -r -d '\n' dpkg-query -S -- 2>/dev/null |
    awk '!/^(local )?diversion / { split($0, parts, ": /"); print "/" parts[2] "\t" parts[1] }' >"$owners" || true

# --- The verdict. ---
awk -F '\t' -v list="$install_deps_name" -v scope="$scope" -v verbose="$verbose" \
    -v closure="$closure" -v owners="$owners" -v forms="$forms" -v problems="$problems" '
    function other(p) {
        if (p ~ /^\/usr\/(lib|lib32|lib64|libx32|bin|sbin)\//) return substr(p, 5)
        return "/usr" p
    }
    function owned(p,    o) {
        o = owner[p]
        if (o == "") o = owner[other(p)]
        return o
    }
    # met(o): whether one of the owners o ("a, b:amd64") is a provided package; else sets
    # lacking to the first owner.
    function met(o,    n, i, names, name) {
        n = split(o, names, ", ")
        for (i = 1; i <= n; i++) {
            name = names[i]; sub(/:.*/, "", name)
            if (name in provided) return 1
            if (i == 1) lacking = name
        }
        return 0
    }
    BEGIN {
        while ((getline l < closure) > 0) {
            split(l, f, "\t")
            if (f[2] == "provided") provided[f[1]] = 1; else recommended[f[1]] = 1
        }
        while ((getline l < owners) > 0) {
            split(l, f, "\t")
            owner[f[1]] = (owner[f[1]] == "" ? "" : owner[f[1]] ", ") f[2]
        }
        while ((getline l < forms) > 0) { split(l, f, "\t"); normal[f[1]] = f[2]; resolved[f[1]] = f[3] }
    }
    {
        group = $1; what = $2; path = $3
        ++count
        if (!(group in groups)) groupOrder[++ngroups] = group
        groups[group] = 1
        a = owned(normal[path]); b = owned(resolved[path])
        fault = ""
        if (a == "" && b == "") fault = "?"
        else {
            lacking = ""
            if (a != "" && !met(a)) fault = lacking
            else if (b != "" && !met(b)) fault = lacking
        }
        if (fault == "") {
            good[group] = 1
            if (verbose) { o = (b != "" ? b : a); sub(/:[^,]*/, "", o); printf "  %-32s %s\n", o, what }
            next
        }
        shown = path
        if (resolved[path] != normal[path]) shown = shown " -> " resolved[path]
        faults[group] = faults[group] fault "\t" what ": " shown "\n"
    }
    END {
        bad = 0
        for (g = 1; g <= ngroups; g++) {
            group = groupOrder[g]
            if (group in good) continue
            n = split(faults[group], lines, "\n")
            for (i = 1; i < n; i++) {
                split(lines[i], f, "\t")
                if (f[1] == "?") { loose[++nloose] = f[2] " is not from any Debian package"; continue }
                if (!(f[1] in missing)) order[++npackages] = f[1]
                missing[f[1]] = missing[f[1]] "      " f[2] "\n"
            }
            bad = 1
        }
        while ((getline l < problems) > 0) {
            split(l, f, "\t")
            if (f[1] in good) continue
            loose[++nloose] = f[2] ": " f[3]; bad = 1
        }
        if (!bad) {
            printf "check-deps: every one of %d needs of %s comes from a package %s names\n", count, scope, list
            exit 0
        }
        printf "check-deps: some needs of %s are not met by the packages %s names\n", scope, list > "/dev/stderr"
        if (npackages) {
            printf "\nPackages missing from %s (neither named there nor a Depends/Pre-Depends of a\npackage named there):\n", list > "/dev/stderr"
            # Sorted by name for a stable report.
            for (i = 1; i <= npackages; i++) for (j = i + 1; j <= npackages; j++)
                if (order[j] < order[i]) { t = order[i]; order[i] = order[j]; order[j] = t }
            for (i = 1; i <= npackages; i++) {
                note = (order[i] in recommended) ? "  (only recommended by a named package; install-deps.sh skips recommends)" : ""
                printf "  %s%s\n%s", order[i], note, missing[order[i]] > "/dev/stderr"
            }
        }
        if (nloose) {
            printf "\nNeeds that no Debian package installed here meets:\n" > "/dev/stderr"
            for (i = 1; i <= nloose; i++) printf "      %s\n", loose[i] > "/dev/stderr"
        }
        printf "\nName the missing packages in %s (and install them) so a fresh machine has them.\n", list > "/dev/stderr"
        exit 1
    }' "$needs"
