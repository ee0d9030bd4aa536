# Sourced by the scripts: messages, and the packages a fresh Debian machine lacks.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '\n== %s\n' "$*"; }
die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# install_packages FILE...: installs what the lists name and this machine lacks. Asks the package manager nothing when all is there.
install_packages() {
    local wanted missing
    wanted=$(sed 's/#.*//' "$@" | xargs)
    # shellcheck disable=SC2086 # one word a package
    missing=$(dpkg-query -W -f='${Package} ${Status}\n' $wanted 2>/dev/null | awk '/ok installed$/ {print $1}' | sort -u |
        comm -13 - <(printf '%s\n' $wanted | sort -u) | xargs)
    [ -n "$missing" ] || return 0
    command -v apt-get >/dev/null || die "this machine has no apt-get; please install: $missing"
    say "Installing packages: $missing"
    local sudo=
    [ "$(id -u)" = 0 ] || sudo=sudo
    $sudo apt-get -qq update || die "the package lists could not be fetched"
    # shellcheck disable=SC2086
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get -y -qq --no-install-recommends install $missing >/dev/null ||
        die "the packages could not be installed"
}

# configure PRESET [OPTION...]: has CMake look at the project again only when an option has changed (it notices changed files by itself).
configure() {
    local preset=$1 directory=build options
    shift
    [ "$preset" = default ] || directory=build/$preset
    options="$preset $*"
    [ -f "$directory/CMakeCache.txt" ] && [ "$(cat "$directory/.options" 2>/dev/null)" = "$options" ] && return 0
    cmake --preset "$preset" "$@" >/dev/null || die "CMake could not configure the build in $directory"
    printf '%s' "$options" >"$directory/.options"
}

build() {
    cmake --build "$1" -- "${@:2}" || die "the build in $1 failed"
}
