# Sourced by the scripts: messages, and the packages a fresh Debian machine lacks.
set -Eeuo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Where there is a compiler cache, it is used, also between two checkouts.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
fi

say() { printf '\n== %s\n' "$*"; }
die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# No script ends without a word: what fails unforeseen is named. A subshell's failure is told once, by the shell that waited for it.
unforeseen() {
    [ "$BASH_SUBSHELL" -gt 0 ] || printf 'error: %s, line %s ended with status %s: %s\n' "$2" "$3" "$1" "$4" >&2
}
trap 'unforeseen $? "${BASH_SOURCE[0]:-$0}" $LINENO "$BASH_COMMAND"' ERR

# as_root COMMAND...: runs it with rights, or says which command somebody with rights must run.
as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "you are not root and there is no sudo here; somebody with rights must run: ${ORVANE_REMEDY:-$*}"
    fi
}

# apt_get ARGUMENT...: one at a time, also on machines that share what was downloaded (tests/fresh/machine.sh): apt does not wait for that.
apt_get() { as_root env DEBIAN_FRONTEND=noninteractive flock /var/cache/apt/archives apt-get -qq "$@"; }

# known PACKAGE: whether this distribution has it. Before there are package lists, Debian 13 and later are taken to have all the newer names.
known() {
    apt-cache show "$1" >/dev/null 2>&1 && return
    ! compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null && (. /etc/os-release && [ "$ID" = debian ] && [ "${VERSION_ID:-99}" -ge 13 ])
}

# missing_packages WORD...: those that are not installed. Of first|second, where a package has another name in an older Debian, the first
# that this Debian knows.
missing_packages() {
    local word alternative installed
    installed=$(dpkg-query -W -f='/${db:Status-Status} ${Package}/')
    for word in "$@"; do
        for alternative in ${word//|/ }; do
            [[ $installed == *"/installed $alternative/"* ]] && continue 2
            known "$alternative" && break
        done
        printf '%s\n' "$alternative"
    done | sort -u
}

# install_packages FILE...: installs what the lists name and this machine lacks. Asks the package manager nothing when all is there.
install_packages() {
    local wanted missing
    mapfile -t wanted < <(sed 's/#.*//' "$@" | xargs -n 1)
    command -v dpkg-query >/dev/null || return 0 # Not a Debian: whoever builds here has read the README's list of packages.
    mapfile -t missing < <(missing_packages "${wanted[@]}")
    [ ${#missing[@]} -gt 0 ] || return 0
    local ORVANE_REMEDY="apt-get update && apt-get install --no-install-recommends ${missing[*]}"
    say "Installing packages: ${missing[*]}"
    apt_get update || die "the package lists could not be fetched; to be done with rights: $ORVANE_REMEDY"
    mapfile -t missing < <(missing_packages "${wanted[@]}") # Now that the lists are there, the names are certain.
    ORVANE_REMEDY="apt-get install --no-install-recommends ${missing[*]}"
    apt_get -y --no-install-recommends install "${missing[@]}" >/dev/null ||
        die "the packages could not be installed; to be done with rights: $ORVANE_REMEDY"
}

# newest_tool NAME: LLVM's tool of that name in the newest version installed (cmake/newest_tool.cmake chooses alike).
newest_tool() {
    local numbered
    numbered=$(compgen -c "$1-" | sed -n "s/^$1-\([0-9][0-9]*\)$/\1/p" | sort -rn | sed 1q) || true
    echo "$1${numbered:+-$numbered}"
}

# What testing needs, with the sanitizers' runtime and the clang-tidy that fit the clang in use.
install_test_packages() {
    install_packages scripts/packages-build.txt scripts/packages-test.txt
    local version
    version=$("$(newest_tool clang++)" -dumpversion)
    install_packages <(printf '%s-%s%s\n' libclang-rt "${version%%.*}" -dev clang-tidy "${version%%.*}" "")
}

install_npm() { command -v npm >/dev/null || install_packages <(echo npm); }

# fetch_from_npm NAME FOLDER FILE: has FILE, below FOLDER, from what scripts/npm/NAME lists. npm refuses what differs from the checksums there.
fetch_from_npm() {
    local list=scripts/npm/$1 stamp=$2/fetched
    [ -x "$3" ] && cmp -s "$list/package-lock.json" "$stamp" && return 0
    install_npm
    say "Fetching the $1 from npm"
    mkdir -p "$2"
    cp "$list/package.json" "$list/package-lock.json" "$2"
    # Node.js by itself trusts its own list of authorities alone, not those that were added to this machine (a company's proxy, say).
    NODE_EXTRA_CA_CERTS=${NODE_EXTRA_CA_CERTS:-/etc/ssl/certs/ca-certificates.crt} npm ci --prefix "$2" --no-audit --no-fund --ignore-scripts --silent || die "npm could not fetch the $1"
    [ -x "$3" ] || die "what npm fetched has no $3 for this machine"
    cp "$list/package-lock.json" "$stamp"
}

# configure PRESET [OPTION...]: has CMake look at the project again only when an option has changed (it notices changed files by itself).
configure() {
    local preset=$1 directory=build options
    shift
    [ "$preset" = default ] || directory=build/$preset
    options="$preset $* $(cksum <CMakePresets.json)"
    [ -f "$directory/CMakeCache.txt" ] && [ "$(cat "$directory/.options" 2>/dev/null)" = "$options" ] && return 0
    mkdir -p "$directory"
    flock "$directory" cmake --preset "$preset" "$@" >/dev/null || die "CMake could not configure the build in $directory"
    printf '%s' "$options" >"$directory/.options"
}

# For who wants the program alone: without the tests, and a folder at a time, which takes a third of the time. What is there is left as it is.
configure_program() {
    [ -f build/CMakeCache.txt ] || configure default -DORVANE_TESTS=OFF -DORVANE_BENCH=OFF -DCMAKE_UNITY_BUILD=ON
}

# For who works on it.
configure_with_tests() {
    configure default -DORVANE_TESTS=ON -DORVANE_BENCH=ON -DCMAKE_UNITY_BUILD=OFF
}

# Two stages may want the same at once: the second finds it done.
build() {
    flock "$1" cmake --build "$1" -- "${@:2}" || die "the build in $1 failed"
}

# require_fresh_machines: for scripts that work on machines made by tests/fresh/machine.sh. Where none can be made it says so and ends the
# script; with CI set, that is a failure.
require_fresh_machines() {
    [ "$(id -u)" = 0 ] || without_fresh_machines "this needs root"
    grep -q '^ID=debian$' /etc/os-release || without_fresh_machines "this machine has no Debian's package sources"
    unshare --mount --pid --fork true 2>/dev/null || without_fresh_machines "mounts are not allowed here (in a container: --privileged)"
    install_packages scripts/packages-fresh.txt
    [ -n "$(apt-get indextargets 'Identifier: Packages' 'Origin: Debian')" ] || apt_get update
}

without_fresh_machines() {
    [ -z "${CI:-}" ] || die "fresh machines cannot be made: $1"
    say "NOT RUN: fresh machines cannot be made: $1"
    exit 0
}
