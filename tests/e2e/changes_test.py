"""Random but seeded changes of a running gateway, made by swctl and by sqlite3
as a foreign writer. After each, chip, engine and host hold what the database
implies, and the answers are the documented ones. Malformed messages in between
disturb nothing."""

import collections
import itertools
import random

import malformed
import relay
from expected import Expected
from gateway import GatewayTest, main, progress, setting

CHANGES = setting("SWMGR_E2E_CHANGES", 200)
SEED = setting("SWMGR_E2E_SEED", 20260)
RESTART_EVERY = 50
TABLES = ("swGlobalCfg", "swPortConfig", "vlanEncapIf")
IDS = (1, *range(5, 40, 5), 100, 2048, 4093, 4094)  # few, so that they come again
FREE_ENGINE_PORTS = (5, 6, 7)


def text(value):
    return "NULL" if value is None else f"'{value}'"


class Changes(GatewayTest):
    def setUp(self):
        self.random = random.Random(SEED)
        self.hardware = self.gateway()
        self.expected = Expected()
        self.assertTrue(self.hardware.start())
        self.expected.start(*(self.hardware.rows(table).values() for table in TABLES))
        self.malformed = itertools.cycle(malformed.everything())

    def test_changes(self):
        kinds = {self.add: 20, self.change: 25, self.delete: 14, self.duplicate: 4,
                 self.beyond_the_chip: 3, self.missing_interface: 3, self.port: 3,
                 self.not_supported: 4, self.rate_limit: 6, self.bandwidth: 4, self.queues: 5,
                 self.switches: 5, self.vlan_request: 4}
        counts = collections.Counter()
        for number in range(1, CHANGES + 1):
            kind = self.random.choices(list(kinds), kinds.values())[0]
            if len(self.hardware.rows("vlanEncapIf")) >= 9:
                kind = self.delete
            before = self.dump()
            what = kind()
            counts[kind.__name__] += 1
            self.check(f"change {number}, {what}; seed {SEED}")
            if kind in (self.duplicate, self.beyond_the_chip, self.missing_interface,
                        self.not_supported):
                self.assertEqual(self.dump(), before, f"change {number} stayed in the database")
            what, packet, answer = next(self.malformed)
            self.send(what, packet, answer)
            self.check(f"{what}, after change {number}; seed {SEED}")
            if number % RESTART_EVERY == 0:
                self.restart()
                self.check(f"a restart after change {number}; seed {SEED}")
                progress(f"{number} changes")
        progress(", ".join(f"{name} {count}" for name, count in sorted(counts.items())))
        self.assertEqual(self.hardware.stop(), 0)

    def test_malformed_messages(self):
        held = [self.hardware.chip()["vlans"], self.hardware.engine()]
        database = self.dump()
        count = 0
        for count, (what, packet, answer) in enumerate(malformed.everything(), 1):
            with self.subTest(what):
                self.send(what, packet, answer)
        # A request answered with success may have done nothing, too.
        self.check("malformed messages")
        self.assertEqual([self.hardware.chip()["vlans"], self.hardware.engine()], held)
        self.assertEqual(self.dump(), database)
        self.assertTrue(self.hardware.answers(), self.hardware.said)
        progress(f"{count} malformed messages")
        self.assertEqual(self.hardware.stop(), 0)

    # --- checks -------------------------------------------------------------

    def check(self, what):
        self.assertEqual(self.expected.differences(self.hardware), [], what)

    def dump(self):
        return {table: self.hardware.rows(table) for table in TABLES}

    def send(self, what, packet, answer):
        if answer is not malformed.CLOSED:
            self.assertEqual(relay.exchange(self.hardware.relay, packet), answer, what)
            return
        with relay.connect(self.hardware.relay) as connection:
            # A later request shows that it was received and not answered.
            connection.send(packet)
            connection.send(relay.frame(relay.REQUEST, 47, b"", sequence=9))
            self.assertEqual(relay.receive(connection)[0], malformed.INVALID, what)

    def swctl(self, status, *arguments):
        self.assertEqual(self.hardware.swctl(*arguments), status,
                         f"swctl {arguments}: {self.hardware.said}")

    def foreign(self, answer, op_code, row_id, old=None, table="vlanEncapIf"):
        """The event that the foreign writer sends about its change."""
        self.assertEqual(self.hardware.event(table, row_id, op_code, old), answer)

    def restart(self):
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        self.expected.start(*(self.hardware.rows(table).values() for table in TABLES))

    # --- random values ------------------------------------------------------

    def ports(self, among=range(5)):
        chosen = [str(port) for port in among if self.random.random() < 0.5]
        return ",".join(chosen)

    def vlan(self, vlan):
        members = self.ports()
        return {"vlanId": vlan, "interfaceName": self.random.choice(("eth0", "eth1")),
                "fwdMap": members, "inSwitchOnly": int(self.random.random() < 0.2),
                "untagMap": self.ports(members.replace(",", ""))}

    def free_id(self):
        used = {row["vlanId"] for row in self.hardware.rows("vlanEncapIf").values()}
        return self.random.choice([vlan for vlan in IDS if vlan not in used])

    def any_row(self):
        """A VLAN's row with its id, or none."""
        rows = self.hardware.rows("vlanEncapIf")
        return self.random.choice(list(rows.items())) if rows else (None, None)

    def by_swctl(self):
        """swctl changes more than one row and settles what differs; what the service does
        by itself is tested with plain writers."""
        return False

    # --- changes of VLANs ---------------------------------------------------

    def options(self, row):
        return ("--interface", row["interfaceName"], "--ports", row["fwdMap"], "--untagged",
                row["untagMap"], "--switch-only", "on" if row["inSwitchOnly"] else "off")

    def insert(self, row):
        """By the foreign writer, without an event yet."""
        columns, values = ", ".join(row), ", ".join(text(value) for value in row.values())
        return int(self.hardware.sqlite3(f"INSERT INTO vlanEncapIf ({columns}) VALUES ({values});"
                                         "SELECT last_insert_rowid()"))

    def remove(self, row_id):
        self.hardware.sqlite3(f"DELETE FROM vlanEncapIf WHERE rowid={row_id}")

    def add(self):
        row = self.vlan(self.free_id())
        if self.by_swctl():
            self.swctl(0, "vlan", "add", row["vlanId"], *self.options(row))
            self.swctl(0, "vlan", "show", row["vlanId"])
        else:
            self.foreign(0, relay.INSERT, self.insert(row))
        self.assertTrue(self.expected.add(row))
        return f"add {row}"

    def change(self):
        row_id, old = self.any_row()
        if old is None:
            return self.add()
        new = self.vlan(old["vlanId"] if self.random.random() < 0.9 else self.free_id())
        if self.random.random() < 0.8:
            new["interfaceName"] = old["interfaceName"]
        if self.by_swctl():
            renamed = ("--id", new["vlanId"]) if new["vlanId"] != old["vlanId"] else ()
            self.swctl(0, "vlan", "set", old["vlanId"], *renamed, *self.options(new))
        else:
            values = ", ".join(f"{column}={text(value)}" for column, value in new.items())
            self.hardware.sqlite3(f"UPDATE vlanEncapIf SET {values} WHERE rowid={row_id}")
            self.foreign(0, relay.UPDATE, row_id, old)
        self.expected.update(old, new)
        return f"change {old} to {new}"

    def delete(self):
        row_id, row = self.any_row()
        if row is None:
            return self.add()
        if self.by_swctl():
            self.swctl(0, "vlan", "delete", row["vlanId"])
        else:
            self.remove(row_id)
            self.foreign(0, relay.DELETE, row_id, row)
        self.expected.delete(row)
        return f"delete {row}"

    def vlan_request(self):
        """Not in the database: the VLAN exists only for a moment."""
        row = self.vlan(self.free_id())
        self.swctl(0, "request", "vlan-add", row["vlanId"], *self.options(row))
        self.assertTrue(self.expected.add(row))
        self.check(f"request of {row}; seed {SEED}")
        self.swctl(0, "request", "vlan-delete", row["vlanId"], "--interface", row["interfaceName"])
        self.expected.delete(row)
        return f"request of {row}"

    # --- changes that are refused -------------------------------------------

    def duplicate(self):
        _, existing = self.any_row()
        if existing is None:
            return "duplicate of nothing"
        row = self.vlan(existing["vlanId"])
        self.refused(row)
        return f"duplicate {row}"

    def refused(self, row):
        """The writer reverts what the service refuses."""
        if self.by_swctl():
            self.swctl(1, "vlan", "add", row["vlanId"], *self.options(row))
        else:
            row_id = self.insert(row)
            self.foreign(-1, relay.INSERT, row_id)
            self.remove(row_id)
        self.assertFalse(self.expected.add(row))

    def beyond_the_chip(self):
        row = dict(self.vlan(self.free_id()), fwdMap="1,2,7", untagMap="")
        self.refused(row)
        return f"beyond the chip {row}"

    def missing_interface(self):
        row = dict(self.vlan(self.free_id()), interfaceName="eth7", fwdMap="0,1,2,3")
        self.refused(row)
        # The chip has the VLAN by then; a request clears it.
        self.check(f"missing interface {row}; seed {SEED}")
        self.swctl(0, "request", "vlan-delete", row["vlanId"], "--interface", "eth7")
        self.expected.delete(row)
        return f"missing interface {row}"

    def not_supported(self):
        """Rows of the other tables can be added, nothing else."""
        table = self.random.choice(("swGlobalCfg", "swPortConfig"))
        row_id, row = self.random.choice(list(self.hardware.rows(table).items()))
        op_code = self.random.choice((relay.UPDATE, relay.DELETE, relay.INSERT))
        twice = op_code == relay.INSERT and table == "swGlobalCfg"
        self.foreign(-22 if twice else -1, op_code, row_id, row, table)
        return f"event {op_code} for {table}"

    # --- ports and commands -------------------------------------------------

    def port(self):
        rows = self.hardware.rows("swPortConfig").values()
        used = {row["portNumber"] for row in rows if row["switchName"] == "PSE"}
        free = [port for port in FREE_ENGINE_PORTS if port not in used]
        if not free:
            return self.not_supported()
        below = ",".join(f"BCM:{port}" for port in self.random.sample(range(5), 2))
        row = {"switchName": "PSE", "portNumber": free[0], "phyDevice": below,
               "trustMode": self.random.randrange(5)}
        self.swctl(0, "port", "add", "PSE", free[0], "--no-verify", "--map", below, "--trust-mode",
                   row["trustMode"])
        self.expected.add_port(row)
        return f"port {row}"

    def rate_limit(self):
        port, rate = self.random.choice((1, 2, 3, 4)), self.random.choice((64, 8128, 8129, 130048,
                                                                          130049, 1300480, None))
        what = ("--off",) if rate is None else ("--rate", rate)
        self.swctl(0, "rate-limit", "--port", port, *what, "--no-verify")
        self.expected.rate_limit(port, rate)
        return f"rate limit {rate} of port {port}"

    def bandwidth(self):
        total, percent = self.random.choice((0, 10, 1000, 100000, 1000000)), self.random.choice(
            (0, 1, 33, 50, 100))
        self.swctl(0, "bandwidth", "eth1", total, percent, "--event",
                   self.random.choice((22, 25, 26)))
        self.expected.rate_limit(1, total * percent // 100 if total else None)
        return f"bandwidth {total} {percent}"

    def queues(self):
        port, queues = self.random.choice((None, 1, 2, 3, 4)), self.random.choice((1, 2, 4))
        mode = self.random.choice((0, 1, 3))
        weights = [self.random.randrange(1, 17) for _ in range(4)]
        self.swctl(0, "queues", "--port", "all" if port is None else port, "--queues", queues,
                   "--mode", mode, "--weights", ",".join(map(str, weights)), "--no-verify")
        self.expected.schedule(port, queues, mode, weights)
        return f"queues of port {port}: {queues} {mode} {weights}"

    def switches(self):
        state = self.random.randrange(2)
        word = ("off", "on")[state]
        if self.random.random() < 0.5:
            self.swctl(0, "qos", word, "--no-verify")
            self.expected.rate_limiter = state
        else:
            self.swctl(0, "vlan-mode", word, "--no-verify")
            self.expected.vlan_mode = state
        return f"switch {word}"


if __name__ == "__main__":
    main()
