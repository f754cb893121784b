"""Requests to the switch manager as bytes: what swctl would never send.

One packet of a Unix SOCK_SEQPACKET socket is one message: a header, the data
padded to eight bytes, and the reply buffer.
"""

import os
import socket
import struct

MAGIC = 0x31594C52
REQUEST, POST, ANSWER = 1, 2, 3
LIMIT = 64 * 1024  # bytes of a whole message
HEADER = struct.Struct("<IIIIiIII")

SWITCH_MANAGER = 103
DB_EVENT, INTERFACE_EVENT, VLAN_ADD, VLAN_DELETE = 4, 5, 36, 38
INSERT, UPDATE, DELETE = 18, 23, 9

# Answers of the messaging itself.
NOT_A_MESSAGE, TOO_LARGE, NOT_ADMITTED = -74, -90, -13


class Unanswered(Exception):
    """The connection ended, or the time ran out, before an answer came."""


def frame(kind, type_, data=b"", buffer=b"", sequence=1, magic=MAGIC, data_length=None,
          buffer_length=None):
    """A message; the lengths in its header can be wrong on purpose."""
    header = HEADER.pack(magic, kind, sequence, 0, type_, 0,
                         len(data) if data_length is None else data_length,
                         len(buffer) if buffer_length is None else buffer_length)
    return header + data + bytes(8 - len(data) % 8 if len(data) % 8 else 0) + buffer


def connect(directory, module=SWITCH_MANAGER, timeout=60):
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    # The kernel's timeout, so that connecting waits for a place in the queue, too.
    limit = struct.pack("ll", int(timeout), int(timeout % 1 * 1000000))
    for option in (socket.SO_RCVTIMEO, socket.SO_SNDTIMEO):
        connection.setsockopt(socket.SOL_SOCKET, option, limit)
    try:
        connection.connect(os.path.join(directory, f"{module}.sock"))
    except OSError:
        connection.close()
        raise
    return connection


def receive(connection):
    """The next answer: the handler's result and the reply buffer."""
    try:
        try:
            packet = connection.recv(LIMIT)
        except ConnectionResetError:  # closed, but with the answer still to be read
            packet = connection.recv(LIMIT)
    except OSError as error:
        raise Unanswered(str(error)) from error
    if len(packet) < HEADER.size:
        raise Unanswered("the service closed the connection")
    return HEADER.unpack_from(packet)[4], packet[HEADER.size:]


def exchange(directory, packet, timeout=60):
    """Sends raw bytes and returns the result that comes back."""
    with connect(directory, timeout=timeout) as connection:
        try:
            connection.send(packet)
        except (BrokenPipeError, ConnectionResetError):
            pass  # closed already; the reason may wait to be read
        return receive(connection)[0]


def db_event(table, row_id, op_code):
    name = table.encode() if isinstance(table, str) else table
    return struct.pack("<64sqi4x", name, row_id, op_code)


def old_values(row):
    """A row's old-values block: the column names, then the values."""
    texts = list(row) + ["" if value is None else str(value) for value in row.values()]
    return b"".join(text.encode() + b"\0" for text in texts)


def interface_event(name, code, length=1132):
    return struct.pack("<132sI996x", name, code)[:length].ljust(length, b"\0")


def bandwidth(total, percent):
    return struct.pack("<32xI4xI", total, percent)


def vlan_request(vlan, interface, logical=b"", fwd=0, untag=0, filler=b""):
    """`filler` goes into the texts that are otherwise empty."""
    return struct.pack("<64xi128s64s64s512s512sIIii", vlan, filler, interface, logical, filler,
                       filler, fwd, untag, 0, 0)


def switch_command(switch, payload=b""):
    return struct.pack("<64s1300s", switch, payload)
