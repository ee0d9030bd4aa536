"""The body of the scripted server: carries out one command after another and acknowledges each."""

import json
import os
import signal
import socket
import sys


def write_all(data):
    while data:
        data = data[os.write(1, data):]


def main():
    folder, arguments = sys.argv[1], sys.argv[2:]
    descriptors = {}
    for number in os.listdir("/proc/self/fd"):
        try:
            descriptors[number] = os.readlink(f"/proc/self/fd/{number}")
        except FileNotFoundError:
            pass  # that of the listing itself
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    control = socket.socket(socket.AF_UNIX)
    control.connect(folder + "/control")
    stream = control.makefile("rwb")

    def tell(**facts):
        stream.write(json.dumps(facts).encode() + b"\n")
        stream.flush()

    tell(pid=os.getpid(), parent=os.getppid(), arguments=arguments, folder=os.getcwd(),
         descriptors=descriptors)
    for line in stream:
        command = json.loads(line)
        what = command["do"]
        if what == "write":
            data = bytes.fromhex(command["hex"])
            os.write(2 if command["error"] else 1, data)
        elif what == "flood":
            # Shorter than a pipe holds, so that what is asked for arrives in pieces of this size.
            piece = bytes.fromhex(command["hex"])
            for _ in range(command["times"]):
                write_all(piece)
        elif what == "close":
            os.close(1)
            os.close(2)
        elif what == "ignore":
            signal.signal(getattr(signal, command["signal"]), signal.SIG_IGN)
        elif what == "exit":
            tell(done=what)
            os._exit(command["status"])
        tell(done=what)
    # The test has gone.
    signal.pause()


main()
