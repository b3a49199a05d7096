# What ./run and ./test share. Sourced by bash with the project's folder as the current one.
set -Eeuo pipefail
# A compiler cache serves every clone of the project alike.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
trap 'echo "FAILED: $BASH_COMMAND" >&2' ERR

# Runs a command and keeps its output back unless it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    [ "$status" -eq 0 ] || { cat "$log" >&2; echo "FAILED: $*" >&2; }
    rm -f "$log"
    return "$status"
}

# install PROBE=PACKAGE...: installs the packages whose probe (a command, or a path) is missing; silent when none is.
install() {
    local missing=() pair probe
    for pair in "$@"; do
        probe=${pair%%=*}
        case $probe in
        /*) [ -e "$probe" ] ;;
        *) command -v "$probe" >/dev/null ;;
        esac || missing+=("${pair#*=}")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "These Debian packages are missing, install them as root: ${missing[*]}" >&2
        return 1
    fi
    echo "Installing ${missing[*]}"
    apt_get update && apt_get install -y --no-install-recommends "${missing[@]}"
}

apt_get() {
    DEBIAN_FRONTEND=noninteractive quietly apt-get -q -o Dpkg::Use-Pty=0 "$@"
}

install_linux_tools() {
    install g++=g++ cmake=cmake make=make /usr/src/googletest/CMakeLists.txt=googletest /usr/include/CLI/CLI.hpp=libcli11-dev
}

# What the tests of the built programs need beside them.
install_test_tools() {
    install python3=python3 /usr/lib/python3/dist-packages/jsonschema=python3-jsonschema tmux=tmux
}

install_windows_tools() {
    install x86_64-w64-mingw32-g++-posix=g++-mingw-w64-x86-64-posix /usr/lib/wine/wine64=wine64 wine=wine Xvfb=xvfb
}

# build PRESET [TARGET...]: configures on the first call, then builds what changed.
build() {
    local preset=$1 generator=()
    shift
    if [ ! -f "build/$preset/CMakeCache.txt" ]; then
        command -v ninja >/dev/null && generator=(-G Ninja)
        quietly cmake --preset "$preset" "${generator[@]}"
    fi
    cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"} | quiet_when_nothing
}

# Lets the lines of a build pass, but not those of a build that had nothing to do.
quiet_when_nothing() {
    grep -v -e '^ninja: no work to do' -e '^Consolidate compiler' -e 'Built target' || true
}
