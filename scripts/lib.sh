# shellcheck shell=bash
# What the scripts of this folder share. Sourced by them; changes to the root of the project.
set -euo pipefail
script=scripts/${0##*/}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# One locale everywhere, so that sorting and text encoding do not depend on the machine.
export LC_ALL=C.UTF-8
cores=$(nproc)
# shellcheck disable=SC2034 # read by the scripts that source this file
build_packages=(g++ cmake ninja-build libsimdjson-dev libmimalloc-dev libedit-dev libpcap-dev
    libtins-dev libmicrohttpd-dev zlib1g-dev libhiredis-dev pkg-config python3)

die() {
    printf '%s: %s\n' "$script" "$*" >&2
    exit 1
}

# stage TITLE COMMAND...: runs the command and prints one line with the time it took. What the
# command printed is shown only when it failed, which ends the script.
# The shell does not stop at a failing line inside a function that is called here: chain with &&.
stage() {
    local title=$1 started=$SECONDS status=0
    shift
    log=$(mktemp)
    trap 'rm -f "$log"' EXIT
    printf '%-56s' "$title"
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if ((status != 0)); then
        printf ' FAILED\n'
        cat "$log"
        die "failed: $title (exit status $status)"
    fi
    printf '%5d s\n' "$((SECONDS - started))"
    rm -f "$log"
}

install_packages() {
    # An unreachable source among several is no reason to stop; a missing package is.
    apt-get -q update || echo "apt-get update failed, going on with the lists that are there"
    # Servers that the tests start themselves must not be started by their packages.
    local policy=/usr/sbin/policy-rc.d status=0 own=
    [[ -e $policy ]] || { own=$policy && printf '#!/bin/sh\nexit 101\n' >"$own" && chmod 755 "$own"; }
    DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends install "$@" || status=$?
    [[ -z $own ]] || rm "$own"
    return "$status"
}

# need_packages PACKAGE...: installs those Debian packages that are missing, and says nothing when
# none is.
need_packages() {
    local package missing=()
    command -v dpkg-query >/dev/null ||
        die "this system has no dpkg; install what these Debian packages hold, then use" \
            "the CMake presets: $*"
    for package in "$@"; do
        # shellcheck disable=SC2016 # the field is for dpkg-query to expand
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    ((EUID == 0)) ||
        die "missing packages; install them as root, then run this again:" \
            "apt-get install --no-install-recommends ${missing[*]}"
    echo "missing: ${missing[*]}"
    stage "install what is missing" install_packages "${missing[@]}"
}

# build PRESET TARGET...: configures the preset, with more options from the array configure_options,
# and builds the targets.
configure_options=()
# The tests' libraries are not needed; a build folder that has the tests keeps them.
without_tests() {
    grep -qs '^BUILD_TESTING:BOOL=ON' build/CMakeCache.txt || configure_options=(-DBUILD_TESTING=OFF)
}
build() {
    local preset=$1
    shift
    cmake --preset "$preset" "${configure_options[@]}" && cmake --build --preset "$preset" --parallel "$cores" --target "$@"
}
