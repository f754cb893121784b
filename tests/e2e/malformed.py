"""Messages that a broken or hostile client may send, each with its answer.

None of them may change anything. An answer of CLOSED means that the service
closes the connection without an answer.
"""

from relay import (ANSWER, DB_EVENT, DELETE, HEADER, INSERT, INTERFACE_EVENT, LIMIT, NOT_A_MESSAGE,
                   POST, REQUEST, TOO_LARGE, UPDATE, VLAN_ADD, VLAN_DELETE, bandwidth, db_event,
                   frame, interface_event, switch_command, vlan_request)

CLOSED = None
FAILED, INVALID, UNSUPPORTED, DONE = -1, -22, -95, 0
UNKNOWN_ROW = 999999


def packets():
    """Packets that are not messages, or not what their header says."""
    good = frame(REQUEST, 47, switch_command(b"PSE", b"\1"))
    yield "one byte", b"\0", NOT_A_MESSAGE
    yield "a header cut short", good[:HEADER.size - 1], NOT_A_MESSAGE
    yield "half a message", good[:len(good) // 2], NOT_A_MESSAGE
    yield "a byte too many", good + b"\0", NOT_A_MESSAGE
    yield "another magic number", frame(REQUEST, 47, magic=0x31594C53), NOT_A_MESSAGE
    yield "an unknown kind", frame(7, 47, switch_command(b"PSE", b"\1")), NOT_A_MESSAGE
    yield "more data than there is", frame(REQUEST, 4, bytes(80), data_length=88), NOT_A_MESSAGE
    yield "more buffer than there is", frame(REQUEST, 4, bytes(80), buffer_length=1), NOT_A_MESSAGE
    yield "lengths that overflow", frame(REQUEST, 4, bytes(80), data_length=0xFFFFFFF8,
                                         buffer_length=88), TOO_LARGE
    yield "data over the limit", frame(REQUEST, 4, bytes(LIMIT)), TOO_LARGE
    yield "buffer over the limit", frame(REQUEST, 4, bytes(80), bytes(LIMIT)), TOO_LARGE


def unanswered():
    """Well-formed messages that must not be answered."""
    yield "an answer that nobody waits for", frame(ANSWER, 0, switch_command(b"PSE", b"\1"))
    yield "a post that is refused", frame(POST, DB_EVENT, bytes(79))


def requests():
    """Well-formed messages whose content is wrong: (what, type, data, reply buffer, answer).
    One of each kind; the tests of the library have the variants."""
    def event(what, answer, table, row_id, op_code, block=b""):
        return what, DB_EVENT, db_event(table, row_id, op_code), block, answer

    def command(what, answer, code, payload=b"", name=b"PSE"):
        return what, code, switch_command(name, payload), b"", answer

    hostile = b"eth0;reboot"
    yield "a short event", DB_EVENT, bytes(79), b"", FAILED
    yield event("a table name without end", FAILED, b"v" * 64, 1, INSERT)
    yield event("a table that is not there", FAILED, "audit", 1, INSERT)
    yield event("a table of no interest", DONE, "sqlite_master", 1, INSERT)
    yield event("a row id beyond 32 bits", FAILED, "vlanEncapIf", (1 << 32) + UNKNOWN_ROW, INSERT)
    yield event("an unknown kind of change", FAILED, "swGlobalCfg", 1, 19)
    for table, again in (("swGlobalCfg", INVALID), ("swPortConfig", FAILED)):
        yield event(f"an update of {table}", FAILED, table, 1, UPDATE)
        yield event(f"a deletion from {table}", FAILED, table, 1, DELETE, b"a\0001\0")
        yield event(f"a second {table}", again, table, 1, INSERT)
    yield event("old values without end", FAILED, "vlanEncapIf", 1, DELETE, b"vlanId\00010")
    yield event("a deletion with a hostile name", DONE, "vlanEncapIf", 1, DELETE,
                b"vlanId\0interfaceName\0" b"4095\0" + hostile + b"\0")
    yield event("a deletion without old values", DONE, "vlanEncapIf", 1, DELETE)

    eth1 = interface_event(b"eth1", 22)
    yield "a short interface event", INTERFACE_EVENT, eth1[:-1], bandwidth(1000, 50), FAILED
    yield ("an unknown interface event", INTERFACE_EVENT, interface_event(b"eth1", 23),
           bandwidth(1000, 50), UNSUPPORTED)
    yield "no bandwidth", INTERFACE_EVENT, eth1, b"", FAILED

    for code in (VLAN_ADD, VLAN_DELETE):
        yield f"a short VLAN request {code}", code, bytes(1363), b"", INVALID
    yield f"a deletion on {hostile}", VLAN_DELETE, vlan_request(4095, hostile), b"", DONE
    yield "a short command", 47, switch_command(b"PSE")[:1363], b"", INVALID
    yield command("a switch name without end", FAILED, 47, b"\1", b"P" * 64)
    for code, name in ((34, b"BCM"), (35, b"PSE"), (41, b"BCM"), (51, b"PSE")):
        yield command(f"command {code}", INVALID, code, b"\xff" * 1300, name)
    yield command("802.1Q mode 2", FAILED, 33, b"\2", b"BCM")
    yield command("a limit for an unknown port", FAILED, 50, b"\x63")
    # The engine refuses these; the answer comes from the chip, which does not have
    # these commands and reports success.
    yield command("QoS 2", DONE, 47, b"\2")
    yield command("three queues", DONE, 48, b"\1\0\0\0\3")
    for code in (-2147483648, 0, 60):
        yield command(f"command {code}", DONE, code, b"\xff" * 1300)


def everything():
    """All of them as (what, packet, answer)."""
    yield from packets()
    for what, packet in unanswered():
        yield what, packet, CLOSED
    for what, type_, data, buffer, answer in requests():
        yield what, frame(REQUEST, type_, data, buffer), answer
