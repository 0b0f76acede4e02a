# Shared by ./demo, ./test and benchmarks/run: packages, builds, and Wine where it is needed.
# Must be sourced from the repository's folder.

say() { printf '== %s\n' "$*"; }
die() { printf 'failed: %s\n' "$*" >&2; exit 1; }

wine=$PWD/cmake/wine

is_windows() { [ -n "${MSYSTEM:-}" ]; }

# install_packages NAME...: installs the packages that are missing.
install_packages() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends "${missing[@]}" \
        >"$PWD/build/apt.log" 2>&1 || { tail -n 20 "$PWD/build/apt.log"; die "apt-get"; }
}

# set_up [EXTRA...]: installs everything that a build and a test run need, and the extra packages.
set_up() {
    mkdir -p build
    if is_windows; then
        local missing=() name
        for name in gcc tools cmake ninja zlib gtest cli11 python pkgconf; do
            pacman -Q "$MINGW_PACKAGE_PREFIX-$name" >/dev/null 2>&1 || missing+=("$MINGW_PACKAGE_PREFIX-$name")
        done
        for name in unzip zip openssl; do
            pacman -Q "$name" >/dev/null 2>&1 || missing+=("$name")
        done
        [ ${#missing[@]} -eq 0 ] || { say "installing ${missing[*]}"; pacman -S --needed --noconfirm "${missing[@]}"; }
        return
    fi
    # g++ is used by a test of the package that configures with an unsupported compiler.
    install_packages gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix mingw-w64-tools libz-mingw-w64-dev wine \
        wine64 cmake ninja-build googletest libcli11-dev unzip zip openssl pkg-config python3 g++ "$@"
    export LC_ALL=C.UTF-8 WINEPREFIX=$PWD/build/wine WINEDEBUG=-all WINEDLLOVERRIDES='winedbg.exe=d;mscoree=d;mshtml=d'
}

# wine_server: prints the process id of the Wine server of this prefix, or nothing if none is running.
wine_server() {
    local process
    for process in /proc/[0-9]*; do
        case $(readlink "$process/exe" 2>/dev/null) in
        # Not through a pipe: with pipefail, a reader that ends early makes the pipe fail.
        */wineserver*) grep -qxzF "WINEPREFIX=$WINEPREFIX" "$process/environ" 2>/dev/null &&
            { printf '%s\n' "${process#/proc/}"; return 0; } ;; # a plain return fails in a trap after a failure
        esac
    done
    return 0
}

# start_wine: starts a server that runs until the script ends. Without it every test would start the services again, and
# those keep the test runner's pipes open.
start_wine() {
    is_windows && return
    local tries
    for tries in 1 2 3 4 5 6 7 8; do # a server that is about to end would end our programs
        [ -n "$(wine_server)" ] || break
        sleep 1
    done
    local server
    server=$(wine_server)
    if [ -n "$server" ] && [ ! -e "$WINEPREFIX/system.reg" ]; then # the server of a deleted folder
        kill -KILL "$server"
        server=
    fi
    [ -z "$server" ] || return 0 # started by another process, which ends it
    mkdir -p "$WINEPREFIX"
    /usr/lib/wine/wineserver64 -p </dev/null >/dev/null 2>&1 || die "the Wine server does not start"
    own_wine_server=yes
    trap stop_wine EXIT
    "$wine" wineboot -i </dev/null >/dev/null 2>&1 || die "Wine does not start"
    # The first ordinary program starts the desktop's processes, which inherit its pipes. Therefore it gets none.
    "$wine" wineboot </dev/null >/dev/null 2>&1 || die "Wine does not boot"
    "$wine" cmd /c exit </dev/null >/dev/null 2>&1 || die "Wine does not run programs"
}

# Ends the server that start_wine started, and with it all programs of its prefix. Other servers keep running.
stop_wine() {
    local server
    [ -n "${own_wine_server:-}" ] || return 0
    server=$(wine_server)
    [ -z "$server" ] || kill -INT "$server" || true
}

# run_program FILE ARGUMENT...: runs a Windows program, under Wine if necessary.
run_program() {
    if is_windows; then "$@"; else "$wine" "$@"; fi
}

# build PRESET: configures once, then builds what has changed. With ZEL_WERROR=ON warnings are errors.
build() {
    say "building $1"
    if [ ! -f "build/$1/build.ninja" ]; then
        cmake --preset "$1" >"build/$1.configure.log" 2>&1 || { tail -n 30 "build/$1.configure.log"; die "cmake"; }
    fi
    # A newer compiler may report more warnings. Developers fix them; they must not prevent others from building.
    if ! grep -qx "ZEL_WERROR:BOOL=${ZEL_WERROR:-OFF}" "build/$1/CMakeCache.txt"; then
        cmake "build/$1" "-DZEL_WERROR=${ZEL_WERROR:-OFF}" >>"build/$1.configure.log" 2>&1 || die "cmake"
    fi
    cmake --build --preset "$1" >"build/$1.build.log" 2>&1 || { tail -n 60 "build/$1.build.log"; die "the build of $1"; }
}
