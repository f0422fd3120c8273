# What the front doors share; read by them, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-5G}
jobs=$(nproc)

say() { printf '\n\033[1m== %s\033[0m\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Installs what a list (scripts/packages.txt, unless another is named) asks for and the machine lacks.
install_missing() {
    local list=${1:-scripts/packages.txt} package missing=()
    command -v dpkg-query >/dev/null || die "this needs Debian 12 (dpkg-query is not here); install what $list names and set QUORVEL_SKIP_INSTALL=1"
    [ -z "${QUORVEL_SKIP_INSTALL:-}" ] || return 0
    for package in $(sed 's/#.*//' "$root/$list"); do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    say "Installing ${missing[*]}"
    local sudo=()
    [ "$(id -u)" = 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null ||
        die "apt-get could not install: ${missing[*]}"
}

# build PRESET [TARGET…]
build() {
    local preset=$1 log
    shift
    log=$(mktemp)
    cmake --preset "$preset" -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >"$log" 2>&1 ||
        { cat "$log" >&2; die "cmake could not configure the preset $preset"; }
    rm -f "$log"
    cmake --build "build/$preset" --parallel "$jobs" ${1:+--target "$@"}
}
