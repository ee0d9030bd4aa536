"""What a server prints in the course of a long day."""

import random

TALK = [
    "[net] udp 192.168.1.23:50112 seq gap 3, concealed 2 frames (plc), jitter 4.1 ms, clock skew +11 ppm",
    "[mix] block 512 @ 48000 Hz, 8 in, 16 out, peak -12.4 dBFS, limiter idle, render 0.41 ms of 10.67 ms",
    "[buf] slot 3 depth 41 ms target 40 ms drift -0.2 ms; resampler ratio 1.000012 (hold)",
    "[tcp] client 127.0.0.1:49822 keepalive ok, rtt 0.2 ms, sent 18432 bytes, queue empty",
    "[dbg] scheduler woke 0.03 ms late; watchdog fed; heap 14.2 MB; threads 9; fds 31",
]
DEVICES = "devices: 2\ndevice:\t1\t16\t1\tBlackHole16ch_UID\tBlackHole 16ch\ndevice:\t0\t2\t1\tBuiltIn\tSpeakers\n"
MARKERS = ["devices: ", "device:\t", "sessions: ", "session:\t", "align=off", "align=on", "pairing code: ", "pairing: REJECTED",
           "pairing: too many wrong codes", "phone=yes", "phone=waiting", "routing to default-output", "routing to VIRTUAL"]


def phone_block(second, count=8, dropout=None, busy=None):
    """A report whose counters are others each second, or only those of so many busy phones; the phone of that number has dropped out once."""
    lines = [f"sessions: {count}\n"]
    for phone in range(count):
        now = second if busy is None or phone < busy else 0
        lines.append(f"session:\t{phone}\t{2 * phone + 1}\t{now * 50}\t{38 + (now + phone) % 6}\t40\t{int(phone == dropout)}\t"
                     f"11.{(now + phone) % 10}\t4.25\tvoice\t192.168.1.{20 + phone}\t48k s16 mono\t{70 + phone}\tKüche – Pixel {phone}\n")
    return "".join(lines)


def seconds(generator, first, count):
    """A status report a second, eight phones each five seconds, the devices each thirty, and talk in between."""
    lines = []
    for second in range(first, first + count):
        lines += [f"{generator.choice(TALK)} #{generator.randrange(1_000_000)}\n" for _ in range(24)]
        if second % 5 == 0:
            lines.append(phone_block(second))
        if second % 30 == 0:
            lines.append(DEVICES)
        lines.append(f"status t={second} phone=yes align=on routing to VIRTUAL cpu 3.1%\n")
    return "".join(lines).encode()


def hour():
    return seconds(random.Random(1), 0, 3600)


def write_hour(path):
    path.write_bytes(hour())


def write_day(path, megabytes):
    """So much of it; returns its size in bytes."""
    same = hour()
    wanted = megabytes * 1_000_000
    if wanted < len(same):
        same = same[:same.rindex(b"\n", 0, wanted) + 1]
    with open(path, "wb") as stream:
        size = 0
        while size + len(same) <= wanted or size == 0:
            size += stream.write(same)
    return size


def write_lines(path, count):
    """So many lines of it."""
    with open(path, "wb") as stream:
        lines = hour().splitlines(keepends=True)
        while count > 0:
            stream.writelines(lines[:count])
            count -= len(lines)
