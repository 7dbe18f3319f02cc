# shellcheck shell=bash disable=SC2034
# Sourced by the other scripts: packages, options, builds.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

PACKAGES_BUILD=(g++ cmake ninja-build ccache googletest libjemalloc-dev libssl-dev zlib1g-dev
                libcurl4-openssl-dev)
PACKAGES_TEST=(pkg-config libpcre2-dev libyaml-cpp-dev openssl netcat-openbsd python3
               inetutils-telnet wget busybox)
PACKAGES_CROSS=(g++-powerpc-linux-gnu qemu-user)
PACKAGES_FORMAT=(clang-format)
PACKAGES_TIDY=(clang-tidy)
PACKAGES_PACKAGE=(pkg-config binutils)
PACKAGES_FUZZ=(clang libclang-rt-14-dev)
PACKAGES_BENCH=(libbenchmark-dev)

export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$(nproc)}

fail()
{
    echo "${0##*/}: $*" >&2
    exit 1
}

# For an option or argument that the script doesn't know.
usage_error()
{
    echo "${0##*/}: $*; see --help" >&2
    exit 2
}

# need PACKAGE...: installs what is missing, quietly. It needs root or sudo only then.
need()
{
    local package missing=()
    if ! command -v dpkg-query >/dev/null; then
        echo "not a Debian machine; you need what Debian calls: $*" >&2
        return 0
    fi
    for package in "$@"; do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    local root=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null || fail "run as root: apt-get install ${missing[*]}"
        root=(sudo)
    fi
    echo "installing ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { "${root[@]}" apt-get update -qq &&
           "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
               apt-get install -y -qq --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        rm -f "$log"
        fail "cannot install ${missing[*]}"
    fi
    rm -f "$log"
}

# build PRESET [TARGET...]: configures and builds. The log of configure is shown when it fails.
build()
{
    local preset=$1 log
    shift
    mkdir -p build
    log=build/configure-$preset.log
    cmake --preset "$preset" >"$log" 2>&1 || { cat "$log" >&2; fail "cannot configure the preset $preset"; }
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
