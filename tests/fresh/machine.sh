#!/usr/bin/env bash
# Runs a command in a copy of this checkout on a fresh, minimal Debian. Needs root and mmdebstrap.
#
#   machine.sh [OPTION…] SUITE COMMAND [ARGUMENT…]              SUITE: bookworm, trixie, sid, …
#
#   --user           as a normal user "tester" who may use sudo without a password (default: as root)
#   --no-sudo        as a normal user on a machine without sudo
#   --with "PKG…"    installs these packages first, without recommends
#   --copy SRC:DST   copies a file or folder of this machine into the root; may be given again
#   --keep NAME      works in a root that stays (FRESH_DIR/roots/NAME), and goes on there next time: no new copy, no new root
#
# The base of each suite is made once from this machine's own package sources and kept in FRESH_DIR/cache (default: build/fresh); so are
# the downloaded packages and, for packages that include ccache, what was compiled. The exit status is the command's. Host names of the
# package mirror are replaced in the output.
set -euo pipefail
repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
dir=$(realpath -m "${FRESH_DIR:-$repository/build/fresh}")
user=root sudo=yes keep='' with='' copies=()

usage() { sed -n '2,/^set/p' "$0" | sed '$d; s/^# \{0,1\}//'; }
while [[ ${1:-} == --* ]]; do
    case $1 in
        --user) user=tester ;;
        --no-sudo) user=tester sudo=no ;;
        --with) with=$2; shift ;;
        --copy) copies+=("$2"); shift ;;
        --keep) keep=$2; shift ;;
        --help) usage; exit 0 ;;
        *) echo "unknown option $1" >&2; exit 2 ;;
    esac
    shift
done
[ $# -ge 2 ] || { usage >&2; exit 2; }
suite=$1
shift
[ "$(id -u)" = 0 ] || { echo "must be root" >&2; exit 2; }
mkdir -p "$dir/cache/archives-$suite/partial" "$dir/cache/ccache-$suite" "$dir/roots"
chmod 777 "$dir/cache/ccache-$suite"
base=$dir/cache/$suite-minbase.tar
hide() { sed -uE 's#(https?://)[^/ "]+#\1MIRROR#g'; }

# The machine's own sources, with the suite's name put in.
sources() {
    local signed="signed-by=/usr/share/keyrings/debian-archive-keyring.gpg" uri
    apt-get indextargets --format '$(REPO_URI)' 'Identifier: Packages' 'Origin: Debian' | sort -u | while read -r uri; do
        case $suite:$uri in
            sid:*security*) ;;
            *security*) echo "deb [$signed] $uri $suite-security main" ;;
            sid:*) echo "deb [$signed] $uri $suite main" ;;
            *) printf "deb [$signed] $uri %s main\n" "$suite" "$suite-updates" ;;
        esac
    done
}

make_base() {
    echo "-- making the base of $suite" >&2
    local options=(--aptopt='Acquire::Check-Valid-Until "false"') protocol proxy
    for protocol in http https; do
        proxy=$(apt-config dump --format '%v' "Acquire::$protocol::Proxy")
        [ -z "$proxy" ] || options+=(--aptopt="Acquire::$protocol::Proxy \"$proxy\"")
    done
    sources >"$base.sources"
    [ -s "$base.sources" ] || { echo "this machine has no package lists of Debian's: apt-get update" >&2; exit 125; }
    mmdebstrap --quiet --mode=root --format=tar --variant=minbase --include=ca-certificates "${options[@]}" \
        --skip=check/empty "$suite" "$base.$$" - <"$base.sources" 2>&1 | hide >&2
    mv "$base.$$" "$base"
}
[ -s "$base" ] || make_base

root=$dir/roots/${keep:-run-$$}
home=/root
[ "$user" = root ] || home=/home/$user
inside=$(mktemp)
cleanup() {
    rm -f "$inside"
    [ -n "$keep" ] || rm -rf --one-file-system "$root"
}
trap cleanup EXIT
fresh=
if [ ! -d "$root/usr" ]; then
    fresh=yes
    mkdir -p "$root$home/orvane"
    tar -xf "$base" -C "$root" --exclude='./dev/*'
    tar -C "$repository" --exclude=./build --exclude=./.git -c . | tar -C "$root$home/orvane" -x --no-same-owner
fi
# Whom this machine trusts beyond Debian's own list (a company's proxy, say), the fresh one has to trust to reach the same sources.
mkdir -p "$root/usr/local/share/ca-certificates"
cp /usr/local/share/ca-certificates/*.crt "$root/usr/local/share/ca-certificates" 2>/dev/null || true
cp -L /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
{ cat /etc/hosts; echo "127.0.1.1 fresh"; } >"$root/etc/hosts"
echo fresh >"$root/etc/hostname"
for entry in ${copies[@]+"${copies[@]}"}; do
    mkdir -p "$(dirname "$root/${entry#*:}")"
    cp -a "${entry%%:*}" "$root/${entry#*:}"
done

printf '%q ' "$@" >"$root/command.sh"
# What runs inside, before the command: mounts, packages, the user.
cat >"$inside" <<INSIDE
set -euo pipefail
mount --make-rprivate /
mount --bind "$root" "$root"
cd "$root"
mount -t proc proc proc
mount -t sysfs -o ro sysfs sys 2>/dev/null || true
mount -t tmpfs -o mode=755 dev dev
for node in null zero full random urandom tty; do : >dev/\$node; mount --bind /dev/\$node dev/\$node; done
mkdir dev/pts dev/shm
mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts dev/pts
ln -s pts/ptmx dev/ptmx
ln -s /proc/self/fd dev/fd
for stream in 0:stdin 1:stdout 2:stderr; do ln -s fd/\${stream%:*} dev/\${stream#*:}; done
mount -t tmpfs -o mode=1777 shm dev/shm
mount -t tmpfs -o mode=755 run run
mkdir -p run/lock var/cache/apt/archives var/cache/ccache
mount --bind "$dir/cache/archives-$suite" var/cache/apt/archives
mount --bind "$dir/cache/ccache-$suite" var/cache/ccache
printf '#!/bin/sh\nexit 101\n' >usr/sbin/policy-rc.d
chmod +x usr/sbin/policy-rc.d
cat >etc/apt/apt.conf.d/00fresh <<'APT'
APT::Sandbox::User "root"; Binary::apt::APT::Keep-Downloaded-Packages "true"; APT::Keep-Downloaded-Packages "true";
DPkg::Options { "--force-unsafe-io"; };
APT
enter() {
    chroot "$root" /usr/bin/env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin TERM=${TERM:-dumb} \
        DEBIAN_FRONTEND=noninteractive "\$@"
}
if [ -n "$fresh" ]; then
    enter update-ca-certificates >/dev/null 2>&1
    packages="$with"
    [ "$user" = root ] || [ $sudo = no ] || packages="\$packages sudo"
    if [ -n "\${packages// /}" ]; then
        { enter apt-get -qq update && enter flock /var/cache/apt/archives apt-get -y -qq --no-install-recommends install \$packages; } >install.log 2>&1 ||
            { tail -5 install.log >&2; exit 125; }
    fi
    rm -rf var/lib/apt/lists/*
    if [ "$user" != root ]; then
        enter useradd -m -s /bin/bash $user 2>/dev/null
        [ $sudo = no ] || echo "$user ALL=(ALL) NOPASSWD: ALL" >etc/sudoers.d/$user
        enter chown -R $user:$user $home
    fi
fi
# A login session's folder: without it the program would share its name with those on this machine.
id=\$(enter id -u $user)
mkdir -p -m 755 run/user
mkdir -p -m 700 run/user/\$id
enter chown $user run/user/\$id
cached=
[ ! -x usr/bin/ccache ] || cached="CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_DIR=/var/cache/ccache CCACHE_UMASK=000"
as_user=
[ "$user" = root ] || as_user="setpriv --reuid=$user --regid=$user --init-groups"
enter HOME=$home USER=$user XDG_RUNTIME_DIR=/run/user/\$id \$cached \$as_user bash -c "cd $home/orvane && . /command.sh"
INSIDE
# unshare itself ignores SIGTERM, so a "timeout" around this script would leave the machine running: killed here instead.
status=0
unshare --mount --pid --fork --kill-child --ipc --uts bash "$inside" <&0 > >(hide) 2>&1 &
machine=$!
trap 'kill -KILL $machine 2>/dev/null; exit 143' TERM INT HUP
wait $machine || status=$?
exit "$status"
