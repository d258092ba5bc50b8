# What scripts/demo and scripts/test share: packages, configuring, building. Sourced, never run.
# shellcheck shell=bash

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

step() { printf '\n==> %s\n' "$*"; }
note() { printf '    %s\n' "$*"; }
die() {
    printf '\n%s: %s\n' "$0" "$*" >&2
    exit 1
}

# quietly <log> <command...>: runs it with its output in the log, which is shown when it fails.
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 60 "$log" >&2
        return 1
    fi
}

# install_packages <kind...>: the packages of these kinds in scripts/packages.txt that are missing.
# Asks nobody and needs no network when there is nothing to install.
install_packages() {
    step "Looking for the Debian packages that are needed"
    command -v dpkg-query >/dev/null || die "this is not a Debian system. Install what" \
        "scripts/packages.txt lists by hand, then build as CONTRIBUTING.md tells."
    local package missing=() as_root=()
    while read -r package; do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done < <(awk -v kinds=" $* " '/^[a-z]/ && index(kinds, " " $1 " ") { print $2 }' \
        scripts/packages.txt)
    if ((${#missing[@]} == 0)); then
        note "All are installed."
        return
    fi
    if ((EUID != 0)); then
        command -v sudo >/dev/null ||
            die "run this as root, or install sudo, or install these first: ${missing[*]}"
        as_root=(sudo)
    fi
    note "Installing ${missing[*]}"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq
        -o Acquire::Retries=3 -o DPkg::Lock::Timeout=120 -o Dpkg::Use-Pty=0)
    # A foreign package source that is out of order need not stop us; apt-get install will tell.
    quietly build/apt-update.log "${apt[@]}" update ||
        note "The package lists could not be renewed; trying with those that are there."
    quietly build/apt-install.log "${apt[@]}" -y --no-install-recommends install "${missing[@]}" ||
        die "apt-get could not install the packages; what it said is above and in" \
            "build/apt-install.log. Is this Debian 12 with a package source that can be reached?"
}

# Prefix of what builds and runs tests; a build runs the test programs to list their tests.
without_aslr=()

# build <preset>: configures and builds build/<preset>.
build() {
    local preset=$1 progress=()
    if [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER:-} ]] && command -v ccache >/dev/null; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    step "Configuring build/$preset"
    quietly "build/$preset.configure.log" cmake --preset "$preset" ||
        die "CMake could not configure the preset $preset; what it said is above."
    step "Building build/$preset with $(nproc) jobs"
    [[ -t 1 ]] || progress=(-- --quiet)
    "${without_aslr[@]}" cmake --build --preset "$preset" --parallel "$(nproc)" "${progress[@]}" ||
        die "the build failed; the compiler's messages are above."
}
