"""Everything that can happen to the program, drawn from a seed. A step is a name with the values it needs, so that it can be done again."""

import random
from itertools import count

NAMES = ["Kitchen", "R&D _x", "Küche 📱", "<b>bold</b>", "100%s %n", "", "a__b_", "Desk", "Grüße &&", "x" * 60, "devices: mine"]
WORDS = ["align=off", "align=on", "pairing code: 42", "pairing code:  7 _& ", "pairing: REJECTED", "pairing: too many wrong codes", "phone=yes",
         "phone=yes", "phone=waiting", "routing to default-output", "routing to VIRTUAL", "Phone=yes", "what is this", "session: 1", "device: 1"]
COUNTS = ["0", "1", "2", "-1", "x", "", "99999999999", " 1 ", "+2"]
WEIGHTS = {"say": 30, "say_junk": 6, "say_cut": 3, "flood": 1, "open": 6, "close": 8, "look_at_details": 4, "toggle_sync": 2, "pick_pair": 4,
           "pick_device": 3, "copy_code": 1, "new_code": 1, "help_with_device": 1, "show_log": 1, "close_log": 1, "restart": 2, "crash": 1,
           "kill_server": 1, "plug_in": 2, "unplug": 2, "lose_tunnel": 1, "hide_adb": 1, "connect": 3, "stream": 6, "test_link": 2,
           "drop_link": 2, "drop_relay": 2, "break_link": 1, "forget_phone": 1, "panel_returns": 1,
           "turn_volume": 2, "fix_volume": 1, "stop_sound": 1, "restart_sound": 0.5}
# The program ends now and then, and has time in between to grow old: what it holds is compared over its life. So many steps of so many:
ENDING, SPAN = 200, 4000
ENDS = {"start_again": 0.8, "kill_program": 0.8}


def session(draw, id):
    fields = ["session:", 0, 2 * draw.randrange(8) + 1, draw.randrange(10**9), draw.randrange(100), 40, draw.choice([0, 0, 0, 1, 2, 300]),
              draw.choice(["0.0", "11.5", "0.04", "250"]), draw.choice(["-1", "0.0", "4.25"]), draw.choice(["voice", "music"]), "192.0.2.7",
              draw.choice(["48k s16 mono", "größe é"]), id, draw.choice(NAMES)]
    if draw.randrange(25) == 0:
        fields[draw.choice([1, 2, 3, 6, 7, 12])] = draw.choice(["", "x", "1 2", "-"])
    return "\t".join(map(str, fields))


def device(draw, number):
    channels = draw.choice([2, 2, 4, 8, 16, 16, 64, "x"] if draw.randrange(10) == 0 else [2, 8, 16, 64])
    return "\t".join(map(str, ["device:", draw.choice([0, 1, 1]), channels, 1, f"uid-{number}", draw.choice(NAMES[:4] + NAMES[6:8])]))


def output(draw):
    lines = []
    for _ in range(draw.randrange(1, 5)):
        kind = draw.randrange(6)
        if kind < 2:
            phones = [session(draw, id) for id in draw.sample(range(6), draw.randrange(5))]
            lines += [f"sessions: {len(phones)}", *phones]
        elif kind == 2:
            devices = [device(draw, number) for number in draw.sample(range(5), draw.randrange(4))]
            lines += [f"devices: {len(devices)}", *devices]
        elif kind == 3:
            lines += [draw.choice(["devices: ", "sessions: "]) + draw.choice(COUNTS), draw.choice([session(draw, 1), device(draw, 1)])]
        else:
            lines.append(" ".join(draw.sample(WORDS, draw.randrange(1, 4))))
    newline = draw.choice(["\n", "\n", "\n", "\r\n", "\u2028", "\v"])
    return (newline.join(lines) + "\n").encode()


def junk(draw):
    return draw.choice([draw.randbytes(draw.randrange(1, 200)), b"caf\xc3\n", b"phone=yes\xff\n", b"\0\x1b[31mred\n", "é".encode() * 500 + b"\n"])


def random_steps(seed):
    draw = random.Random(seed)
    for at in count():
        weights = WEIGHTS | (ENDS if at % SPAN < ENDING else {})
        kind = draw.choices(list(weights), weights.values())[0]
        number = draw.randrange(1000)
        if kind == "say":
            yield kind, output(draw)
        elif kind == "say_junk":
            yield kind, junk(draw)
        elif kind == "say_cut":
            text = output(draw)
            cut = draw.randrange(len(text))
            yield kind, [text[:cut], text[cut:]]
        elif kind == "stream":
            yield kind, draw.randbytes(draw.randrange(1, 4000))
        else:
            yield kind, number
