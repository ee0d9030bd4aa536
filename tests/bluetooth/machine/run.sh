#!/usr/bin/env bash
# run.sh FOLDER COMMAND [ARGUMENT...]: boots the machine that setup.sh has prepared in FOLDER and runs COMMAND there, as root in the
# current folder, with this computer's files (what it writes to them stays in the machine), a system bus, two virtual Bluetooth controllers
# (hci0 the computer, hci1 the phone) and bluetoothd. Prints what COMMAND prints and ends with its status; 124: the machine stopped, or was
# stopped after TIMEOUT seconds, before COMMAND ended; 125: it did not get so far as to start COMMAND.
#
# MEMORY (MiB) and TIMEOUT may be set. What the machine wrote is in FOLDER/last: log, out, console, and what COMMAND left in /mnt/rw.
set -u
folder=$(cd "$1" && pwd)
shift
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

shared=$folder/last
rm -rf "$shared"
mkdir "$shared"
: >"$shared/out"
cp "$scripts/guest-init.sh" "$shared/init"
cp "$scripts/guest-bt.sh" "$shared/bluetooth"
{
    printf 'modules=%q\n' "$folder/kernel/lib/modules"
    printf 'cd %q\n' "$PWD"
    printf 'command=('
    printf '%q ' "$@"
    printf ')\n'
} >"$shared/job"

share() { printf 'local,id=%s,path=%s,security_model=none%s' "$1" "${2//,/,,}" "${3:-}"; }

# No KVM: it is rarely allowed where this runs. At work the machine's clock goes by what it executes, 4 ns (2^shift) an instruction: on a busy
# computer it is slow, but what it waits for is not late. By this computer's clock its controllers were, and pairing failed.
timeout "${TIMEOUT:-180}" qemu-system-x86_64 -accel tcg,tb-size=128 -icount shift=2,sleep=on -M pc -smp 1 -m "${MEMORY:-384}" \
    -nodefaults -no-user-config -no-reboot -display none -serial "file:$shared/console" \
    -kernel "$folder/vmlinux" -initrd "$folder/initrd" \
    -append "console=ttyS0 quiet panic=-1 oops=panic random.trust_cpu=on mitigations=off" \
    -fsdev "$(share h / ,readonly=on,multidevs=remap)" -device virtio-9p-pci,fsdev=h,mount_tag=host \
    -fsdev "$(share b "$folder/bluez" ,readonly=on)" -device virtio-9p-pci,fsdev=b,mount_tag=bluez \
    -fsdev "$(share w "$shared")" -device virtio-9p-pci,fsdev=w,mount_tag=rw \
    -device virtio-rng-pci </dev/null &
machine=$!
trap 'kill $machine 2>/dev/null' INT TERM
tail --pid=$machine -s 0.2 -n +1 -f "$shared/out"
wait $machine
ended=$?

[ -s "$shared/rc" ] && exit "$(cat "$shared/rc")"
printf 'The machine ended without a result (qemu: %d). Its last words:\n' $ended >&2
tail -n 20 "$shared/console" "$shared/log" >&2
[ -e "$shared/started" ] && exit 124
exit 125
