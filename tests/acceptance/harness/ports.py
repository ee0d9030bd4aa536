"""TCP ports of this machine."""

import socket


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def answers(port):
    """True when somebody listens there."""
    try:
        socket.create_connection(("127.0.0.1", port), 5).close()
        return True
    except ConnectionRefusedError:
        return False
