# Shared by the scripts of the tree: reporting what they do, installing missing Debian
# packages, and building a preset.

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '==> %s\n' "$*"; }

fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# For a script without arguments, or one that handles its own afterwards: --help prints
# the comment at its top.
headIsHelp() {
    [ "${1:-}" = --help ] || return 0
    awk 'NR == 1 { next } !/^#/ { exit } { sub(/^# ?/, ""); print }' "$0"
    exit 0
}
takesNothing() {
    headIsHelp "$@"
    [ $# -eq 0 ] || { echo "${0##*/}: unexpected argument '$1'. Try '$0 --help'." >&2; exit 2; }
}

# Installs the given packages that are missing, as root or with sudo.
packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    say "installing ${missing[*]}"
    local elevate=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            fail "these packages are missing, and there is no sudo to install them: ${missing[*]}"
        elevate=(sudo)
    fi
    mkdir -p "$top/build"
    local log=$top/build/packages.log
    local install=(env DEBIAN_FRONTEND=noninteractive apt-get install -y -q
        --no-install-recommends "${missing[@]}")
    if ! { "${elevate[@]}" "${install[@]}" ||
        { "${elevate[@]}" apt-get update -q && "${elevate[@]}" "${install[@]}"; }; } >"$log" 2>&1; then
        tail -5 "$log" >&2
        fail "the packages could not be installed; see $log"
    fi
}

runPackages=(g++ cmake ninja-build pkg-config libsqlite3-dev libcli11-dev nlohmann-json3-dev
    sqlite3 bubblewrap gawk iproute2)
# shellcheck disable=SC2034 # for those who source this
testPackages=("${runPackages[@]}" python3 libgtest-dev clang clang-tidy clang-format cppcheck
    libclang-rt-14-dev abigail-tools binutils busybox-static python3-jsonschema procps prometheus)

# Builds targets of a preset: build PRESET "TARGET..." [-DOPTION=VALUE...]. Configures
# the preset if that has not been done yet, or not with these options. A build with
# nothing to do takes well under a second and prints nothing.
build() {
    local preset=$1 log=$top/build/$1.log folder=$top/build/$1
    local targets=() option stale=no
    read -ra targets <<<"$2"
    shift 2
    mkdir -p "$top/build"
    [ -e "$folder/build.ninja" ] || stale=yes
    for option in "$@"; do
        option=${option#-D}
        grep -qE "^${option%%=*}:[A-Z]+=${option#*=}$" "$folder/CMakeCache.txt" 2>/dev/null ||
            stale=yes
    done
    if [ $stale = yes ]; then
        say "configuring $preset"
        (cd "$top" && cmake --preset "$preset" "$@") >"$log" 2>&1 || {
            tail -20 "$log" >&2
            fail "cmake could not configure preset $preset"
        }
    fi
    if ninja -C "$folder" -n "${targets[@]}" 2>/dev/null | grep -q 'no work to do'; then
        return
    fi
    say "building $preset"
    if [ -t 1 ]; then # a single line that counts up; errors stay visible
        NINJA_STATUS='    [%f/%t] ' ninja -C "$folder" "${targets[@]}" ||
            fail "preset $preset does not build"
    elif ! ninja -C "$folder" "${targets[@]}" >"$log" 2>&1; then
        grep -E 'error|FAILED' -A5 "$log" | head -60 >&2
        fail "preset $preset does not build; see $log"
    fi
}
