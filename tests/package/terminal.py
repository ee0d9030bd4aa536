"""The installed program on a terminal: it prompts there, for which it needs a library that it loads itself."""

import os
import pty
import signal

signal.alarm(20)
pid, terminal = pty.fork()
if pid == 0:
    os.environ["TERM"] = "xterm"
    os.execvp("orvane", ["orvane", "--terminal"])
said = b""
while b"orvane> " not in said:
    said += os.read(terminal, 4096)
os.write(terminal, b"quit\n")
try:
    while os.read(terminal, 4096):
        pass
except OSError:  # It has ended.
    pass
assert os.waitpid(pid, 0)[1] == 0
print("it prompts on a terminal")
