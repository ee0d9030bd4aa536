"""What the server prints, as it prints it."""


def device_line(uid, name=None, channels=16, active=True, first=1):
    return f"device:\t{int(active)}\t{channels}\t{first}\t{uid}\t{uid if name is None else name}\n"


def session_line(device_id, name, first=1, slot=0, packets=1000, buffer=42, target=40, xruns=0, rtt="11.5", net="4.25",
                 preset="voice", label="192.0.2.7", form="48k s16 mono"):
    fields = ["session:", slot, first, packets, buffer, target, xruns, rtt, net, preset, label, form, device_id, name]
    return "\t".join(map(str, fields)) + "\n"


def device_block(*lines):
    return f"devices: {len(lines)}\n" + "".join(lines)


def phone_block(*lines):
    return f"sessions: {len(lines)}\n" + "".join(lines)
