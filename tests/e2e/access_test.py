"""Nothing from a row or a request reaches a shell or SQL as syntax, and only
root and the service's user or group reach the service."""

import os
import re
import shutil
import subprocess
import unittest

import relay
from expected import Expected
from gateway import BUILD, PYTHON, GatewayTest, main, progress

PWNED = "/run/gateway/pwned"
TABLES = ("swGlobalCfg", "swPortConfig", "vlanEncapIf")
STRANGER = 65534  # a user and group that owns nothing

# Each would create the file if a shell interpreted it.
INJECTIONS = (
    f"eth0;touch {PWNED}", f"eth0\ntouch {PWNED}\n", f"$(touch {PWNED})", f"`touch {PWNED}`",
    f"eth0|touch {PWNED}", f"eth0||touch {PWNED}", f"eth0&touch {PWNED}&", f"eth0&&touch {PWNED}",
    f"eth0 > {PWNED}", f"eth0 {PWNED}", f"';touch {PWNED};'", f'";touch {PWNED};"',
    f"eth0\ttouch {PWNED}", f"${{IFS}}touch {PWNED}", f"\\\ntouch {PWNED}", f"eth0\r{PWNED}",
    f"../..{PWNED}", f"é{PWNED}", "%s%s%s%n%n", "*", "~", "!!",
)
# A valid name can still look like an option.
ODD_BUT_ALLOWED = ("-v", "--help", "-", "..", "@", "eth0:1", "a" * 63)
SQL = ("vlanEncapIf; DROP TABLE vlanEncapIf", "vlanEncapIf; DELETE FROM vlanEncapIf --",
       "vlanEncapIf WHERE 1 OR 1 --", "(SELECT 1) --", "vlanEncapIf/**/", "'", '"',
       "vlanEncapIf\n", "pragma_table_info('vlanEncapIf')")
PLAIN_CALL = re.compile(r"[A-Za-z0-9_.:@/+,=% -]*")


class Hostile(GatewayTest):
    def setUp(self):
        self.hardware = self.gateway()

    def dump(self):
        return {table: self.hardware.rows(table) for table in TABLES}

    def check_harmless(self, what):
        """No file appeared, and no tool was called with anything but plain words."""
        places = [self.hardware.state / "pwned", self.hardware.state / "var/pwned"]
        self.assertFalse(any(place.exists() for place in places), what)
        calls = [line[8:] for line in self.hardware.trace().splitlines()
                 if line.startswith("tool  | ")]
        self.checked = len(calls)
        for call in calls:
            # After the arrow, the tools complain about odd names.
            call = call.split(" -> ")[0]
            self.assertNotIn("touch", call, what)
            self.assertNotIn("pwned", call, what)
            self.assertRegex(call, PLAIN_CALL.pattern + r"\Z", what)

    def test_names_in_rows(self):
        self.assertTrue(self.hardware.start())
        expected = Expected()
        expected.start(*(self.hardware.rows(table).values() for table in TABLES))
        old = self.hardware.rows("vlanEncapIf")[1]
        port = {"switchName": "PSE", "portNumber": 6, "phyDevice": "", "trustMode": 0}
        expected.add_port(port)
        for count, name in enumerate(INJECTIONS):
            with self.subTest(name):
                # The engine has ports for the first and wants the interface's address.
                for members, reason, answer in (
                        ("1,2", "Failed to get the MAC address", -1),
                        ("", "has no place in a command line", 0)):
                    row_id = self.hardware.write(
                        "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap) "
                        "VALUES (77, ?, ?)", name, members)
                    self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT),
                                     answer)
                    self.check_log(self.hardware, reason)
                    row = self.hardware.rows("vlanEncapIf")[row_id]
                    index = expected.next_index
                    expected.add(row)
                    if answer < 0:
                        expected.next_index = index  # free again
                    self.hardware.write("DELETE FROM vlanEncapIf WHERE rowid=?", row_id)
                    self.assertEqual(
                        self.hardware.event("vlanEncapIf", row_id, relay.DELETE, row), 0)
                    expected.delete(row)
                former = dict(old, interfaceName=name)  # of which only the id counts
                self.assertEqual(self.hardware.event("vlanEncapIf", 1, relay.UPDATE, former), 0)
                expected.update(former, old)
                row_id = self.hardware.write(
                    "INSERT INTO swPortConfig (switchName, portNumber, interfaceName) "
                    "VALUES ('PSE', 6, ?)", name)
                self.assertEqual(self.hardware.event("swPortConfig", row_id, relay.INSERT),
                                 0 if count == 0 else -1)  # then it is there
                self.hardware.write("DELETE FROM swPortConfig WHERE rowid=?", row_id)
                row = dict(row, fwdMap="")
                for code in (relay.VLAN_ADD, relay.VLAN_DELETE):
                    request = relay.vlan_request(77, name.encode()[:64], name.encode(), 0)
                    self.assertEqual(self.hardware.ask(code, request), 0)
                expected.add(row)
                expected.delete(row)
                self.check_harmless(name)
        self.assertEqual(expected.differences(self.hardware), [])
        self.assertTrue(self.hardware.answers(), self.hardware.said)
        self.assertGreater(self.checked, 0)
        progress(f"{len(INJECTIONS)} hostile names, {self.checked} tool calls looked at")

    def test_texts_that_no_tool_sees(self):
        self.assertTrue(self.hardware.start())
        for number, name in enumerate(INJECTIONS[::3]):
            with self.subTest(name):
                row_id = self.hardware.write(
                    "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, untagMap, "
                    "LogicalIfName, ingressMap, egressMap) VALUES (?, 'eth0', ?, ?, ?, ?, ?)",
                    1000 + number, f"1,{name}", name, name, name, name)
                # An invalid port list names port 0 at most.
                self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT), 0)
                self.hardware.write("INSERT INTO swPortConfig (switchName, portNumber, phyDevice) "
                                    "VALUES ('PSE', 6, ?)", f"{name}:1")
                row_id = self.hardware.write(
                    "INSERT INTO swGlobalCfg (switchName, switchDevice) VALUES (?, ?)", name, name)
                self.assertLess(self.hardware.event("swGlobalCfg", row_id, relay.INSERT), 0)
                event = relay.interface_event(name.encode(), 22)
                self.assertEqual(self.hardware.ask(relay.INTERFACE_EVENT, event,
                                                   relay.bandwidth(1000, 50)), 0)
                command = relay.switch_command(name.encode()[:64], b"\1")
                self.assertEqual(self.hardware.ask(47, command), -1)
                self.check_harmless(name)
        self.assertTrue(self.hardware.answers(), self.hardware.said)

    def test_odd_names_are_words(self):
        self.assertTrue(self.hardware.start())
        for name in ODD_BUT_ALLOWED:
            with self.subTest(name):
                row_id = self.hardware.write(
                    "INSERT INTO vlanEncapIf (vlanId, interfaceName) VALUES (77, ?)", name)
                row = self.hardware.rows("vlanEncapIf")[row_id]
                # No such interface: the tool refuses, which counts as success.
                self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT), 0)
                self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.DELETE, row), 0)
                self.hardware.write("DELETE FROM vlanEncapIf WHERE rowid=?", row_id)
                self.check_harmless(name)
        self.assertTrue(self.hardware.answers(), self.hardware.said)

    def test_start_on_hostile_rows(self):
        for table, column in (("swGlobalCfg", "switchName"), ("swGlobalCfg", "switchDevice"),
                              ("swPortConfig", "phyDevice"), ("swPortConfig", "interfaceName"),
                              ("vlanEncapIf", "interfaceName"), ("vlanEncapIf", "fwdMap")):
            with self.subTest(column):
                before = self.hardware.rows(table)[1][column]
                self.hardware.write(f"UPDATE {table} SET {column}=? WHERE rowid=1",
                                    f"eth0;touch {PWNED};$(touch {PWNED})")
                self.assertTrue(self.hardware.start())
                # Refused or not, the service keeps serving.
                self.hardware.ask(47, relay.switch_command(b"PSE", b"\1"))
                self.assertEqual(self.hardware.ask(47, b""), -22)
                self.assertEqual(self.hardware.stop(), 0)
                self.hardware.write(f"UPDATE {table} SET {column}=? WHERE rowid=1", before)
                self.check_harmless(column)
        self.assertGreater(self.checked, 0)

    def test_sql(self):
        self.assertTrue(self.hardware.start())
        before = self.dump()
        for name in SQL:
            for code in (relay.INSERT, relay.UPDATE, relay.DELETE, 0):
                with self.subTest(name, code=code):
                    # A deletion asks the database for nothing.
                    status = 0 if code == relay.DELETE else -1
                    self.assertEqual(self.hardware.event(name, 1, code, before["vlanEncapIf"][1]),
                                     status)
                    self.check_log(self.hardware, f"opCode:{code} rowId:1 status={status}")
        self.assertEqual(self.dump(), before)
        self.assertEqual(self.hardware.sqlite3("PRAGMA integrity_check"), "ok\n")
        self.assertTrue(self.hardware.answers(), self.hardware.said)


# Tries to reach the service as a process of another user.
VISITOR = """
import sys
sys.path.insert(0, sys.argv[1])
import relay
try:
    print(relay.exchange(sys.argv[2], relay.frame(relay.REQUEST, 47, b"")))
except (OSError, relay.Unanswered) as error:
    print(type(error).__name__)
"""


class OtherUsers(GatewayTest):
    def visit(self, **identity):
        done = subprocess.run([PYTHON, "-B", "-c", VISITOR, self.modules,
                               self.hardware.relay], capture_output=True, text=True, **identity)
        return done.stdout.strip()

    @unittest.skipUnless(os.geteuid() == 0, "only root can come as somebody else")
    def test_other_users(self):
        self.hardware = self.gateway()
        self.hardware.state.chmod(0o755)
        # Somewhere anybody can read it, as may not be true of the source tree.
        self.modules = str(self.hardware.state / "modules")
        os.mkdir(self.modules)
        shutil.copy(relay.__file__, self.modules)
        self.assertTrue(self.hardware.start())
        directory, door = self.hardware.state / "relay", self.hardware.state / "relay/103.sock"
        self.assertEqual(oct(directory.stat().st_mode & 0o777), "0o750")
        self.assertEqual(oct(door.stat().st_mode & 0o777), "0o660")

        nobody = {"user": STRANGER, "group": STRANGER, "extra_groups": []}
        self.assertEqual(self.visit(), "-22")
        self.assertEqual(self.visit(**nobody), "PermissionError")
        self.assertEqual(self.visit(**dict(nobody, group=0)), "-22")
        self.assertEqual(self.visit(**dict(nobody, extra_groups=[0])), "-22")

        # Even with the directory open to all, the service itself refuses strangers.
        directory.chmod(0o755)
        door.chmod(0o666)
        self.assertEqual(self.visit(**nobody), str(relay.NOT_ADMITTED))
        client = subprocess.run([BUILD / "bin/swctl", "command", "47", "--switch", "PSE"], **nobody,
                                env={"RELAY_DIR": self.hardware.relay, "HOME": "/"},
                                capture_output=True, text=True, cwd="/")
        if client.returncode != 126:  # the build may lie where a stranger cannot go
            self.assertEqual(client.returncode, 3, client.stderr)
            self.assertIn("this user may not connect", client.stderr)
        self.assertTrue(self.hardware.answers(), self.hardware.said)

    def test_directory_that_others_may_write(self):
        gateway = self.gateway()
        (gateway.state / "relay").chmod(0o770)
        self.assertFalse(gateway.start())
        self.assertEqual(gateway.stop(), 1)
        self.check_log(gateway, "others may write to directory")


if __name__ == "__main__":
    main()
