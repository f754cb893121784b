"""A database that is locked, changed, damaged, replaced, gone, full or large: each
ends in a clear message and a service that still answers."""

import contextlib
import os
import shutil
import sqlite3
import subprocess
import threading
import time

import relay
from expected import Expected
from gateway import SAMPLE, SCHEMA, GatewayTest, main, progress, setting

TABLES = ("swGlobalCfg", "swPortConfig", "vlanEncapIf")
VLANS = setting("SWMGR_E2E_VLANS", 4094)
MEGABYTE = 1 << 20
ADD = "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap) VALUES (?, 'eth0', '1,2')"


class Storage(GatewayTest):
    def setUp(self):
        self.hardware = self.gateway()

    def check_serving(self):
        self.assertTrue(self.hardware.answers(), self.hardware.said)
        self.assertTrue(self.hardware.alive())

    def check_hardware(self):
        """For hardware that holds only what the database says."""
        expected = Expected()
        expected.start(*(self.hardware.rows(table).values() for table in TABLES))
        self.assertEqual(expected.differences(self.hardware), [])

    @contextlib.contextmanager
    def locked(self):
        """Another writer is in the middle of something."""
        writer = sqlite3.connect(self.hardware.database, isolation_level=None)
        writer.execute("BEGIN EXCLUSIVE")
        try:
            yield
        finally:
            writer.execute("ROLLBACK")
            writer.close()

    # --- locks --------------------------------------------------------------

    def test_locked(self):
        self.assertTrue(self.hardware.start())
        row_id = self.hardware.write(ADD, 77)
        answers = []

        def ask():
            answers.append(self.hardware.event("vlanEncapIf", row_id, relay.INSERT))

        asking = threading.Thread(target=ask)
        with self.locked():  # for a second: the service waits
            asking.start()
            time.sleep(1)
        asking.join()
        self.assertEqual(answers, [0])
        self.check_hardware()

        # For ten seconds: the service gives up, twice, and then serves others.
        began = time.monotonic()
        with self.locked():
            for _ in range(2):
                self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT), -1)
                self.check_log(self.hardware, f"rowId:{row_id} status=-1")
                self.check_serving()
        progress(f"locked for {time.monotonic() - began:.1f} s")
        self.assertEqual(self.hardware.swctl("vlan", "set", 77, "--ports", "1"), 0)

    def test_locked_at_start(self):
        with self.locked():
            self.assertTrue(self.hardware.start())
            self.check_log(self.hardware, "failed to get list of switches from the database",
                           "was not fully loaded (-22); the messages before show where")
            self.assertEqual(self.hardware.ask(47, relay.switch_command(b"PSE", b"\1")), -1)
            self.assertEqual(self.hardware.swctl("vlan", "add", 77), 2)
            self.assertIn("locked", self.hardware.said)
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        self.check_hardware()

    # --- a crash ------------------------------------------------------------

    def recover(self):
        return self.hardware.inside("run", argv=["swmgrd", "--recover", "--database",
                                                 "/run/gateway/switch.db"])

    def test_recovery(self):
        database = self.hardware.database
        journal = database.with_name("switch.db-journal")
        before = self.hardware.rows("vlanEncapIf")
        writer = sqlite3.connect(database, isolation_level=None)
        writer.execute("PRAGMA cache_size=1")
        writer.execute("BEGIN")
        for vlan in range(100, 2000):
            writer.execute(ADD, (vlan,))
        halves = database.read_bytes(), journal.read_bytes()
        writer.execute("ROLLBACK")
        writer.close()
        database.write_bytes(halves[0])
        journal.write_bytes(halves[1])
        self.assertEqual(self.recover()["status"], 0)
        self.assertFalse(journal.exists())
        self.assertEqual(self.hardware.rows("vlanEncapIf"), before)

        reader = sqlite3.connect(database, isolation_level=None)
        reader.execute("PRAGMA journal_mode=WAL")
        reader.execute(ADD, (77,))
        found = self.recover()
        self.assertEqual(found["status"], 1)
        self.assertIn("cannot be recovered: database is locked", found["err"])
        reader.close()
        self.assertEqual(self.recover()["status"], 0)
        self.assertEqual(database.read_bytes()[18:20], b"\1\1", "no write-ahead log")

    # --- the schema ---------------------------------------------------------

    def test_schema_that_changes(self):
        self.assertTrue(self.hardware.start())
        row_id = self.hardware.write(ADD, 77)
        old = self.hardware.rows("vlanEncapIf")[row_id]
        # An extra column: rows are read by name, but old values must cover it.
        self.hardware.write("ALTER TABLE vlanEncapIf ADD COLUMN note TEXT")
        self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT), 0)
        self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.UPDATE, old), -1)
        self.check_log(self.hardware, "old values do not cover the columns of the table")
        self.assertEqual(self.hardware.swctl("vlan", "set", 77, "--ports", "1,2,3"), 0)
        # A missing column reads as empty.
        self.hardware.write("ALTER TABLE vlanEncapIf DROP COLUMN ingressMap")
        row_id = self.hardware.write(ADD, 78)
        self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT), 0)
        # No table.
        self.hardware.write("ALTER TABLE vlanEncapIf RENAME TO elsewhere")
        self.assertEqual(self.hardware.event("vlanEncapIf", row_id, relay.INSERT), -1)
        self.check_log(self.hardware, f"Table: vlanEncapIf opCode:18 rowId:{row_id} status=-1")
        self.check_serving()
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        self.check_log(self.hardware, "failed to get list of vlans from the database",
                       "Failed to load switch vlan configuration")
        self.check_serving()
        # A view of that name works.
        self.hardware.write("CREATE VIEW vlanEncapIf AS SELECT * FROM elsewhere")
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        self.check_serving()

    # --- the file -----------------------------------------------------------

    def overwrite(self, at, data, size=None):
        """In place: the service has the file open."""
        with open(self.hardware.database, "r+b") as file:
            file.seek(at)
            file.write(data)
            if size is not None:
                file.truncate(size)

    def test_damaged_file(self):
        good = self.hardware.database.read_bytes()
        noise = bytes(range(256)) * 16
        faults = {
            "truncated to nothing": (lambda: self.overwrite(0, b"", 0), True),
            "truncated in its header": (lambda: self.overwrite(0, b"", 60), True),
            "truncated to a page": (lambda: self.overwrite(0, b"", 4096), True),
            "with another head": (lambda: self.overwrite(0, b"This is no database!"), False),
            "with noise for a schema": (lambda: self.overwrite(100, noise[:3996]), True),
            "with noise for rows": (lambda: self.overwrite(4096, noise * 3), True),
            "with noise all over": (lambda: self.overwrite(0, noise * 4), False),
        }
        self.assertTrue(self.hardware.start())
        for what, (damage, starts) in faults.items():
            with self.subTest(what):
                damage()
                # Asked for a row that exists, it cannot return it.
                self.assertEqual(self.hardware.event("vlanEncapIf", 1, relay.INSERT), -1)
                self.check_log(self.hardware, "status=-1")
                self.check_serving()
                self.assertEqual(self.hardware.stop(), 0)
                self.assertEqual(bool(self.hardware.start()), starts)
                if starts:
                    self.check_log(self.hardware, "from the database", "Failed to load")
                    self.assertEqual(self.hardware.ask(47, b""), -22)
                    self.assertEqual(self.hardware.stop(), 0)
                else:
                    self.assertEqual(self.hardware.stop(), 1)
                    self.check_log(self.hardware, "not an SQLite database")
                self.overwrite(0, good, len(good))
                self.assertTrue(self.hardware.start())
                self.check_hardware()

    def test_file_that_goes(self):
        gateway = self.hardware
        self.assertTrue(gateway.start())
        database, aside = gateway.database, gateway.state / "aside.db"
        shutil.copy(database, aside)
        database.unlink()
        self.check_serving()
        self.assertNotEqual(gateway.swctl("vlan", "list"), 0)  # says so, and makes none
        self.assertFalse(database.exists())

        # Another file in its place is not the one that the service has open, where
        # there is no such row.
        os.rename(aside, database)
        row_id = gateway.write(ADD, 77)
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), -1)
        self.check_log(gateway, f"rowId:{row_id} status=-1")
        self.check_serving()
        self.assertEqual(gateway.stop(), 0)
        self.assertTrue(gateway.start())
        self.check_hardware()

    def test_full_disk(self):
        """Database and uptime records on a small file system that is full."""
        namespace = ["unshare", "-m"] if os.geteuid() == 0 else ["unshare", "-rm"]
        tried = subprocess.run([*namespace, "mount", "-t", "tmpfs", "none", "/mnt"],
                               capture_output=True)
        if tried.returncode != 0:
            self.skipTest("no file system of one's own can be mounted here")
        gateway = self.gateway(inside=False)
        disk = gateway.state / "disk"
        for folder in (disk, gateway.state / "var"):
            folder.mkdir()
        gateway.enter([*namespace, "sh", "-c",
                       'mount -t tmpfs -o size=192k none "$1" && mkdir "$1/var" && '
                       'mount --bind "$1/var" "$2" && shift 2 && exec "$@"',
                       "sh", str(disk), str(gateway.state / "var")])
        gateway.start_chip()
        database = "/run/gateway/disk/switch.db"
        self.run_inside(gateway, 0, "sqlite3", database, f".read {SCHEMA}",
                        f".read {SAMPLE}")
        self.assertTrue(gateway.start(database=database))
        self.run_inside(gateway, 1, "dd", "if=/dev/zero", "of=/run/gateway/disk/filler", "bs=1k")

        # The writer gets the error, and the service is not even notified.
        change = ("swctl", "--database", database, "vlan", "add", "77", "--interface", "eth0",
                  "--ports", "1,2", "--logical", "x" * 60)
        said = self.run_inside(gateway, 2, *change)
        self.assertIn("full", said["err"])
        self.assertNotIn(77, [vlan["vlan"] for vlan in gateway.chip()["vlans"]])
        # What needs no room works: a request, whose uptime record is missing or
        # empty, an event for a row, and a startup.
        self.assertEqual(gateway.swctl("request", "vlan-add", 88, "--interface", "eth0", "--ports",
                                       "1,2"), 0)
        self.assertIn(88, [way["vlan"] for way in gateway.engine()["interfaces"]])
        self.assertEqual(gateway.swctl("request", "vlan-delete", 88, "--interface", "eth0"), 0)
        self.assertEqual(gateway.event("vlanEncapIf", 1, relay.INSERT), -1)  # it has it
        self.assertTrue(gateway.answers(), gateway.said)
        self.assertEqual(gateway.stop(), 0)
        self.assertTrue(gateway.start(database=database))
        self.assertTrue(gateway.answers(), gateway.said)
        self.run_inside(gateway, 0, "rm", "/run/gateway/disk/filler")
        self.run_inside(gateway, 0, *change)
        self.assertIn(77, [vlan["vlan"] for vlan in gateway.chip()["vlans"]])

    def run_inside(self, gateway, status, *argv):
        done = gateway.inside("run", argv=argv)
        self.assertEqual(done["status"], status, (argv, done))
        return done

    # --- size ---------------------------------------------------------------

    def test_row_of_a_megabyte(self):
        gateway = self.hardware
        gateway.write("ALTER TABLE vlanEncapIf ADD COLUMN note TEXT")
        self.assertTrue(gateway.start())
        for column, most in (("interfaceName", 63), ("LogicalIfName", 63), ("fwdMap", 511),
                             ("untagMap", 511), ("ingressMap", 511), ("egressMap", 511)):
            with self.subTest(column):
                row_id = gateway.write(
                    f"INSERT INTO vlanEncapIf (vlanId, {column}) VALUES (77, ?)", "1" * MEGABYTE)
                self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), -22)
                self.check_log(gateway, f"vlanEncapIf.{column} is too long: {MEGABYTE} "
                                        f"characters, at most {most} fit")
                gateway.write("DELETE FROM vlanEncapIf WHERE rowid=?", row_id)
        # A column that nobody reads may hold anything. The row's old values are larger
        # than a message, so it cannot be changed by an event.
        row_id = gateway.write("INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, note) "
                               "VALUES (77, 'eth0', '1', ?)", "x" * MEGABYTE)
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), 0)
        before = gateway.rows("vlanEncapIf")
        self.assertEqual(gateway.swctl("vlan", "set", 77, "--ports", "1,2"), 3)
        self.assertIn("Message too long", gateway.said)
        self.assertEqual(gateway.rows("vlanEncapIf"), before)
        self.check_hardware()
        self.assertEqual(gateway.stop(), 0)
        gateway.write("UPDATE vlanEncapIf SET LogicalIfName=note WHERE rowid=?", row_id)
        self.assertTrue(gateway.start())
        self.check_log(gateway, "LogicalIfName is too long", "Failed to load switch vlan")
        self.check_serving()

    def test_every_vlan(self):
        """As many VLANs as possible, on a gateway that has only the chip. Their interface
        is missing, so each costs two tool calls instead of nineteen."""
        gateway = self.hardware
        gateway.write("DELETE FROM swGlobalCfg WHERE switchName='PSE'")
        gateway.write("DELETE FROM swPortConfig WHERE switchName='PSE'")
        gateway.write("DELETE FROM vlanEncapIf")
        gateway.write(
            "WITH RECURSIVE ids(id) AS (SELECT 1 UNION ALL SELECT id+1 FROM ids WHERE id<?) "
            "INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, untagMap) "
            "SELECT id, 'lan0', (id % 4) || ',4', id % 4 FROM ids", VLANS)
        began = time.monotonic()
        self.assertTrue(gateway.start(ready=600))
        progress(f"{VLANS} VLANs in {time.monotonic() - began:.1f} s")
        # Each of the ports 0 to 3 is untagged in the VLAN that claimed it last.
        claims = {vlan % 4: vlan for vlan in range(1, VLANS + 1)}
        wanted = {vlan: (1 | 16 | 1 << vlan % 4, 1 << vlan % 4 if vlan in claims.values() else 0)
                  for vlan in range(1, VLANS + 1)}

        def held():
            return {vlan["vlan"]: (vlan["fwdMap"], vlan["untagMap"])
                    for vlan in gateway.chip()["vlans"]}

        def wrong():
            found = held()
            return {vlan: found.get(vlan) for vlan in {*wanted, *found}
                    if found.get(vlan) != wanted.get(vlan)}

        self.assertEqual(wrong(), {})
        self.assertEqual([port["pvid"] for port in gateway.chip()["ports"]],
                         [claims[0], claims[1], claims[2], claims[3], 1])
        other = VLANS // 2
        self.assertEqual(gateway.swctl("vlan", "delete", other, "--no-verify"), 0, gateway.said)
        self.assertEqual(gateway.swctl("vlan", "set", VLANS, "--ports", "0,1,2", "--no-verify"), 0, gateway.said)
        self.assertEqual(gateway.swctl("vlan", "add", other, "--interface", "lan0", "--force", "--no-verify"), 0,
                         gateway.said)
        wanted.update({other: (0, 0), VLANS: (7, wanted[VLANS][1])})
        self.assertEqual(wrong(), {})


if __name__ == "__main__":
    main()
