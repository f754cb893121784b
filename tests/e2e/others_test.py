"""What belongs to others is left alone: their VLAN interfaces, whatever is changed, the
files that somebody names in a journal beside the database, and the network of a service
that serves another database."""

import json
import os
import shutil
import sqlite3
import struct
import subprocess
import unittest

import relay
from gateway import BUILD, ServedTest, main

APPLIED, REFUSED, USAGE, UNANSWERED, DIFFERS = range(5)
ADD = ("vlan", "add", 9, "--interface", "eth0", "--ports", "1,2")


class Others(ServedTest):
    def make(self, parent, vlan):
        done = self.hardware.inside("run", argv=["vconfig", "add", parent, str(vlan)])
        self.assertEqual(done["status"], 0, done)

    def links(self):
        return {f"{one['parent']}.{one['vlan']}" for one in self.hardware.engine()["interfaces"]}


class Interfaces(Others):
    FOREIGN = ("eth1peer.7", "eth0.77")  # of a parent that no row names, and of one that rows do

    def setUp(self):
        super().setUp()
        for name in self.FOREIGN:
            self.make(*name.split("."))
        # Uptime records name the VLAN alone, and stay where a crash left them.
        (self.hardware.state / "var/VLAN.7.Uptime").write_text("1\n")

    def test_stay_whatever_is_changed(self):
        path = self.hardware.state / "gateway.json"
        self.swctl(APPLIED, "export", path)
        configuration = json.loads(path.read_text())
        configuration["vlans"].append({"vlanId": 11, "interfaceName": "eth1", "fwdMap": "1"})
        path.write_text(json.dumps(configuration))
        for arguments in ((*ADD, "--dry-run"), ADD, ("vlan", "set", 9, "--ports", "2"),
                          ("vlan", "delete", 9), ("undo",), ("apply", path), ("repair",),
                          ("repair", "--all"), ("repair", "--dry-run"), ("recover",),
                          ("status",), ("diff",), (*ADD[:2], 12, *ADD[3:], "--confirm", 600),
                          ("confirm", "--take-back")):
            self.assertNotIn("should be none", self.swctl(APPLIED, *arguments))
            self.assertLessEqual(set(self.FOREIGN), self.links(), arguments)
        self.assertIn("swmgr_healthy 1", self.swctl(APPLIED, "metrics"))
        said = self.swctl(APPLIED, "diff", "-v")
        for name in self.FOREIGN:
            self.assertIn(f"left alone: {name}", said)
        self.assertEqual(json.loads(self.swctl(APPLIED, "--json", "diff"))["leftAlone"],
                         sorted(self.FOREIGN))
        self.assertIn("not made by the switch manager", self.swctl(APPLIED, "explain", "interface", "eth0.77"))
        # What the service refuses is taken back, and nothing else.
        self.swctl(REFUSED, "vlan", "add", 13, "--interface", "eth9", "--ports", "1", "--force")
        self.assertLessEqual(set(self.FOREIGN), self.links())

    def test_stay_when_a_broken_off_change_is_finished(self):
        self.hardware.inside("arm", victim="swmgrd", steps=12)
        self.swctl(UNANSWERED, *ADD)
        self.assertTrue(self.hardware.start())
        self.swctl(APPLIED, "recover")
        self.assertEqual(self.links(), self.rows_links() | set(self.FOREIGN))

    def rows_links(self):
        return {f"{row['interfaceName']}.{row['vlanId']}"
                for row in self.hardware.rows("vlanEncapIf").values()}

    def test_of_one_s_own_are_cleared(self):
        """By each account that the system keeps of what it made."""
        self.swctl(APPLIED, *ADD)
        self.swctl(APPLIED, "request", "vlan-add", 99, "--interface", "eth0", "--ports", 1)
        self.assertEqual(self.hardware.stop(), 0)
        self.swctl(APPLIED, "vlan", "delete", 9, "--offline")
        (self.hardware.state / "var/VLAN.9.Uptime").unlink()  # the history has it
        self.assertTrue(self.hardware.start())
        said = self.swctl(DIFFERS, "diff")
        for name in ("eth0.9", "eth0.99"):
            self.assertIn(f"{name}: up, should be none", said)
        self.swctl(APPLIED, "repair")
        self.assertEqual(self.links(), self.rows_links() | set(self.FOREIGN))
        # That it is gone was seen: one of that name is somebody else's.
        self.swctl(APPLIED, *ADD)
        self.swctl(APPLIED, "vlan", "delete", 9)
        self.make("eth0", 9)
        self.swctl(APPLIED, "repair")
        self.assertIn("eth0.9", self.links())


class Files(Others):
    """A journal may name a file that SQLite deletes when it has rolled the journal back."""

    def plant(self):
        """Has the database's journal name a file that is no business of SQLite's."""
        victim = self.hardware.state / "victim"
        victim.write_text("dear to somebody\n")
        name = str(victim).encode()
        magic = bytes.fromhex("d9d505f920a163d7")
        image = self.hardware.database.read_bytes()
        page = struct.unpack(">H", image[16:18])[0]
        head = magic + struct.pack(">5I", 0, 0, len(image) // page, 512, page)
        tail = struct.pack(">I", 0x40000000 // page + 1) + name
        tail += struct.pack(">2I", len(name), sum(name)) + magic
        self.hardware.database.with_name("switch.db-journal").write_bytes(head.ljust(512, b"\0") +
                                                                         tail)
        return victim

    def test_named_by_a_journal_stay(self):
        self.hardware.inside("arm", victim="swmgrd", steps=12)
        self.swctl(UNANSWERED, *ADD)  # a change to be recovered
        database = ("--database", "/run/gateway/switch.db")
        victim = self.plant()
        done = self.hardware.inside("run", argv=["swmgrd", "--recover", *database])
        self.assertEqual((done["status"], victim.exists()), (1, True))
        self.assertIn("its journal names another file", done["err"])
        done = self.hardware.inside("run", argv=["swmgrd", *database])
        self.assertEqual((done["status"], victim.exists()), (1, True))
        self.assertIn("its journal names another file", done["err"])
        for arguments in (ADD, ("recover",), ("repair",), ("status",), (*ADD, "--offline")):
            self.assertIn("its journal names another file", self.swctl(USAGE, *arguments))
            self.assertTrue(victim.exists(), arguments)
        # What they were kept from: the journal does what it was planted for.
        sqlite3.connect(self.hardware.database).execute("SELECT * FROM swGlobalCfg").fetchall()
        self.assertFalse(victim.exists())

    def test_named_by_a_journal_stay_while_the_service_runs(self):
        victim = self.plant()
        self.assertLess(self.hardware.event("vlanEncapIf", 1, relay.INSERT), 0)
        self.assertTrue(victim.exists())
        self.swctl(APPLIED, *ADD)  # SQLite has done with the journal itself

    def test_behind_a_link_are_not_opened(self):
        self.assertEqual(self.hardware.stop(), 0)
        database = self.hardware.database
        real = database.rename(database.with_name("elsewhere.db"))
        database.symlink_to(real)
        before = real.read_bytes()
        done = self.hardware.inside("run", argv=["swmgrd", "--recover", "--database",
                                                 "/run/gateway/switch.db"])
        self.assertEqual(done["status"], 1)
        self.assertIn("symbolic link", done["err"])
        self.assertIn("symbolic link", self.swctl(USAGE, *ADD, "--offline"))
        self.assertEqual(real.read_bytes(), before)
        # A folder may be one: that it is where it is is up to others.
        folder = self.hardware.state / "folder"
        folder.symlink_to(".")
        self.swctl(APPLIED, "--database", folder / "elsewhere.db", "vlan", "list")


class Networks(Others):
    """The service serves one database, and swctl is given another."""

    def setUp(self):
        super().setUp()
        self.other = self.hardware.state / "other.db"
        self.told = self.hardware.state / "relay/103.database"
        self.swctl(APPLIED, "--database", self.other, "init", "--template", "gateway")
        self.swctl(APPLIED, "--database", self.other, *ADD, "--offline")
        self.before = self.network()

    def network(self):
        return [vlan for vlan in self.hardware.chip()["vlans"] if vlan["fwdMap"] != 0], self.links()

    def check_refused(self, database, *commands):
        trace = self.hardware.trace()
        rows = database.read_bytes()
        for command in commands:
            said = self.swctl(REFUSED, "--database", database, *command)
            self.assertIn("serves another file", said, command)
        self.assertEqual((self.hardware.trace(), database.read_bytes()), (trace, rows))
        self.assertEqual(self.network(), self.before)

    def test_of_another_database_stays(self):
        path = self.hardware.state / "gateway.json"
        self.swctl(APPLIED, "--database", self.other, "export", path)
        commands = ((*ADD[:2], 33, *ADD[3:]), ("vlan", "set", 9, "--ports", 1),
                    ("vlan", "delete", 9), ("port", "set", "PSE", 4, "--trust-mode", 3),
                    ("switch", "set", "PSE", "--qos", "off"), ("apply", path), ("batch",),
                    ("undo",), ("repair",), (*ADD[:2], 33, *ADD[3:], "--confirm", 60),
                    ("vlan", "delete", 9, "--no-verify", "--force"))
        self.check_refused(self.other, *commands)
        self.swctl(APPLIED, "--database", self.other, *commands[0], "--dry-run")
        self.told.unlink()  # an older service tells nothing, and the kernel does
        self.check_refused(self.other, *commands[:3])
        self.told.write_text("1 2 /nowhere\n")  # as one that was killed leaves it
        self.check_refused(self.other, commands[0])
        self.swctl(APPLIED, *ADD)

    def test_of_a_file_that_was_replaced_stays(self):
        served = self.hardware.database
        shutil.copy(served, self.hardware.state / "copy.db")
        (self.hardware.state / "copy.db").rename(served)
        self.check_refused(served, ADD, ("repair",))
        self.assertEqual(self.hardware.stop(), 0)
        self.assertFalse(self.told.exists())
        self.swctl(UNANSWERED, *ADD)
        self.assertTrue(self.hardware.start())
        self.swctl(APPLIED, "vlan", "add", 11, "--interface", "eth0", "--ports", "1,2")

    def test_of_another_database_is_not_recovered(self):
        self.hardware.inside("arm", victim="swmgrd", steps=12)
        self.swctl(UNANSWERED, *ADD)
        self.hardware.database.rename(self.hardware.state / "left.db")
        for ending in (".change", ".history"):
            path = str(self.hardware.database) + ending
            os.rename(path, path.replace("switch.db", "left.db"))
        shutil.copy(self.hardware.state / "left.db", self.hardware.database)
        self.assertTrue(self.hardware.start())
        self.before = self.network()
        self.check_refused(self.hardware.state / "left.db", ("recover",), ("repair",))

    @unittest.skipIf(os.geteuid() != 0, "only root can be somebody else")
    def test_stays_where_it_cannot_be_told(self):
        """A member of the service's group, to whom the kernel does not tell its files."""
        self.told.unlink()
        self.hardware.state.chmod(0o777)
        for name in ("other.db", "other.db.lock", "other.db.history"):
            shutil.chown(self.hardware.state / name, 65534)
        environment = dict(os.environ, RELAY_DIR=self.hardware.relay)
        done = subprocess.run([BUILD / "bin/swctl", "--database", self.other, *map(str, ADD[:2]),
                               "33", *map(str, ADD[3:])], env=environment, user=65534, group=0,
                              extra_groups=[], capture_output=True, text=True)
        self.assertIn("it is unknown whether the service uses this database", done.stderr)
        self.assertEqual(done.returncode, REFUSED, done.stderr)
        self.assertEqual(self.network(), self.before)


if __name__ == "__main__":
    main()
