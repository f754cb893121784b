"""Messages that a broken or hostile client may send, each with its answer.

None of them may change anything. An answer of CLOSED means that the service
closes the connection without a word.
"""

from relay import (ANSWER, DB_EVENT, DELETE, HEADER, INSERT, INTERFACE_EVENT, LIMIT, NOT_A_MESSAGE,
                   POST, REQUEST, TOO_LARGE, UPDATE, VLAN_ADD, VLAN_DELETE, bandwidth, db_event,
                   frame, interface_event, switch_command, vlan_request)

CLOSED = None
FAILED, INVALID, UNSUPPORTED, DONE = -1, -22, -95, 0
UNKNOWN_ROW = 999999


def packets():
    """What is no message, or not the one that its header promises."""
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
    """Well-formed messages that nobody is to answer."""
    yield "an answer that nobody waits for", frame(ANSWER, 0, switch_command(b"PSE", b"\1"))
    yield "a post that is refused", frame(POST, DB_EVENT, bytes(79))


def events():
    def event(what, answer, table, row_id, op_code, block=b""):
        return what, DB_EVENT, db_event(table, row_id, op_code), block, answer

    for length in (0, 1, 79, 81, 1364):
        yield f"an event of {length} bytes", DB_EVENT, bytes(length), b"", FAILED
    yield event("an empty table name", FAILED, "", 1, INSERT)
    yield event("a table name without end", FAILED, "v" * 64, 1, INSERT)
    for name in ("vlanEncapIf;", "vlanEncapIf--", "vlanEncapIf WHERE 1", "main.vlanEncapIf",
                 "vlanEncapIf'", "(SELECT 1)", b"vlanEncapIf\n", b"\xff\xfe"):
        yield event(f"the table name {name}", FAILED, name, 1, INSERT)
    yield event("a table that is not there", FAILED, "audit", 1, INSERT)
    yield event("a table of no interest", DONE, "sqlite_master", 1, INSERT)
    yield event("a table in other letters", DONE, "SWGLOBALCFG", 1, INSERT)
    yield event("a row that is not there", FAILED, "vlanEncapIf", UNKNOWN_ROW, INSERT)
    yield event("a row id beyond 32 bits", FAILED, "vlanEncapIf", (1 << 32) + UNKNOWN_ROW, INSERT)
    yield event("a negative row id", FAILED, "vlanEncapIf", -1, INSERT)
    for op_code in (0, -1, 19, 0x7FFFFFFF):
        yield event(f"kind of change {op_code}", FAILED, "swGlobalCfg", 1, op_code)
    for table, again in (("swGlobalCfg", INVALID), ("swPortConfig", FAILED)):
        yield event(f"an update of {table}", FAILED, table, 1, UPDATE)
        yield event(f"a deletion from {table}", FAILED, table, 1, DELETE, b"a\0001\0")
        yield event(f"a second {table}", again, table, 1, INSERT)
    for what, block in (("old values without end", b"vlanId\00010"),
                        ("three old values", b"vlanId\0fwdMap\00010\0"),
                        ("old values that are names only", b"vlanId\0")):
        yield event(f"a deletion with {what}", FAILED, "vlanEncapIf", 1, DELETE, block)
    yield event("a deletion with a hostile name", INVALID, "vlanEncapIf", 1, DELETE,
                b"vlanId\0interfaceName\0" b"77\0eth0;reboot\0")
    yield event("a deletion without old values", DONE, "vlanEncapIf", 1, DELETE)

    for length in (0, 132, 1131, 1133):
        yield (f"an interface event of {length} bytes", INTERFACE_EVENT,
               interface_event(b"eth1", 22, length), bandwidth(1000, 50), FAILED)
    for code in (0, 23, 0xFFFFFFFF):
        yield (f"interface event {code}", INTERFACE_EVENT, interface_event(b"eth1", code),
               bandwidth(1000, 50), UNSUPPORTED)
    for length in (0, 1, 43):
        yield (f"a bandwidth of {length} bytes", INTERFACE_EVENT,
               interface_event(b"e" * 132, 22), bandwidth(1000, 50)[:length], FAILED)


def commands():
    for code in (VLAN_ADD, VLAN_DELETE):
        for length in (0, 63, 64, 1363):
            yield (f"VLAN request {code} of {length} bytes", code, bytes(length), b"", INVALID)
        for name in (b"eth0;reboot", b"$(reboot)", b"`reboot`", b"eth0\nreboot", b"a b", b"\xff"):
            yield f"VLAN request {code} on {name}", code, vlan_request(77, name), b"", INVALID
    for length in (0, 63, 64, 1363):
        yield (f"a command of {length} bytes", 47, switch_command(b"PSE", b"\1")[:length], b"",
               INVALID)
    for name in (b"", b"pse", b"XYZ", b"PSE;", b"P" * 64):
        yield f"a command for {name}", 47, switch_command(name, b"\1"), b"", FAILED
    for code in (34, 35, 41):
        for name in (b"PSE", b"BCM"):
            yield (f"command {code} for {name}", code, switch_command(name, b"\xff" * 1300),
                   b"", INVALID)
    yield "a trust mode", 51, switch_command(b"PSE", bytes(8)), b"", INVALID
    yield "802.1Q mode 2", 33, switch_command(b"BCM", b"\2"), b"", FAILED
    yield "a limit for an unknown port", 50, switch_command(b"PSE", b"\x63"), b"", FAILED
    # The engine refuses these; what is answered comes from the chip, which
    # has no such commands and says that all is well.
    yield "QoS 2", 47, switch_command(b"PSE", b"\2"), b"", DONE
    yield "three queues", 48, switch_command(b"PSE", b"\1\0\0\0\3"), b"", DONE
    yield "limit command 9", 50, switch_command(b"PSE", b"\1\0\0\0\x09"), b"", DONE
    for code in (-2147483648, -1, 0, 3, 32, 46, 60, 2147483647):
        yield f"command {code}", code, switch_command(b"PSE", b"\xff" * 1300), b"", DONE


def requests():
    yield from events()
    yield from commands()


def everything():
    """All of it as (what, packet, answer)."""
    yield from packets()
    for what, packet in unanswered():
        yield what, packet, CLOSED
    for what, type_, data, buffer, answer in requests():
        yield what, frame(REQUEST, type_, data, buffer), answer
