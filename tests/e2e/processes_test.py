"""Processes that end or stop at the wrong moment: the switch manager killed at
random points, a tool that hangs, clients that misbehave, a chip that vanishes."""

import collections
import random
import threading
import time

import relay
from expected import Expected, held_tables
from gateway import BUILD, GatewayTest, main, progress, setting

ROUNDS = setting("SWMGR_E2E_ROUNDS", 50)
SEED = setting("SWMGR_E2E_SEED", 20260)
TABLES = ("swGlobalCfg", "swPortConfig", "vlanEncapIf")
MOST_STEPS_OF_A_CHANGE = 30
MOST_VLANS = 3  # each costs 25 tool calls at a start
DONE, UNREACHABLE = 0, 3  # exit statuses of swctl
PATIENCE = 60  # s; only what never comes fails
HANG_PATH = f"/run/gateway/hang:/gateway/tools:{BUILD}/bin:/sbin:/usr/sbin:/usr/bin:/bin"


class Killed(GatewayTest):
    """A client whose answer never comes leaves a row that it has added or changed,
    and restores one that it has deleted, so that the next startup brings the
    hardware in line with the database."""

    def test_killed_at_random_points(self):
        self.random = random.Random(SEED)
        gateway = self.gateway()
        gateway.write("DELETE FROM vlanEncapIf WHERE vlanId > 20")
        self.assertTrue(gateway.start())
        steps = gateway.inside("lines")["lines"]  # of a start
        unanswered = killed_starting = 0
        for number in range(1, ROUNDS + 1):
            what = f"round {number}, seed {SEED}"
            gateway.inside("arm", victim="swmgrd",
                           steps=self.random.randint(1, MOST_STEPS_OF_A_CHANGE))
            unanswered += not self.change(gateway)
            gateway.inside("disarm")
            gateway.kill()
            if self.random.random() < 0.5:
                ready = gateway.start(kill_after=self.random.randint(1, steps))
                killed_starting += not ready
                gateway.inside("disarm")
                gateway.kill()
            before = gateway.inside("lines")["lines"]
            self.assertTrue(gateway.start(), what)
            steps = gateway.inside("lines")["lines"] - before
            self.assertEqual(self.differences(gateway), [], what)
            if number % 10 == 0:
                progress(f"{number} rounds: killed in {unanswered} changes and "
                         f"{killed_starting} starts")
        self.assertTrue(gateway.answers(), gateway.said)
        self.assertEqual(gateway.stop(), 0)

    def change(self, gateway):
        """Returns whether the answer came."""
        rows = gateway.rows("vlanEncapIf")
        used = [row["vlanId"] for row in rows.values()]
        kinds = ["add"] * (len(rows) < MOST_VLANS) + ["set", "delete"] * (len(rows) > 0)
        kind = self.random.choice(kinds)
        vlan = self.random.choice([vlan for vlan in range(1, 9) if vlan not in used]
                                  if kind == "add" else used)
        members = [str(port) for port in range(5) if self.random.random() < 0.6]
        options = ["--ports", ",".join(members), "--untagged", ",".join(members[:2])]
        if kind == "add":
            options += ["--interface", self.random.choice(("eth0", "eth1"))]
        status = gateway.swctl("vlan", kind, vlan, *(options if kind != "delete" else ()))
        self.assertIn(status, (DONE, UNREACHABLE), gateway.said)
        stays = vlan in [row["vlanId"] for row in gateway.rows("vlanEncapIf").values()]
        if status == DONE:
            self.assertEqual(stays, kind != "delete", gateway.said)
        return status == DONE

    def differences(self, gateway):
        """Everything that the rows name is there, and nothing that they do not name is
        forwarded. The engine's table may hold more at the end: its entries are
        renumbered at each startup, and those beyond the last VLAN stay."""
        expected = Expected()
        expected.start(*(gateway.rows(table).values() for table in TABLES))
        held = held_tables(gateway.chip(), gateway.engine(), gateway.uptime_records())
        wanted = expected.tables()
        for vlan, maps in list(held["chip VLANs"].items()):
            if maps == (0, 0) and vlan not in wanted["chip VLANs"]:
                del held["chip VLANs"][vlan]
        held["engine VLANs"] = {index: entry for index, entry in held["engine VLANs"].items()
                                if index in wanted["engine VLANs"]}
        return [f"{name}: expected {wanted[name]}, found {held[name]}"
                for name in wanted if wanted[name] != held[name]]


class Processes(GatewayTest):
    def test_second_service_and_early_stop(self):
        gateway = self.gateway()
        self.assertTrue(gateway.start())
        second = gateway.inside("run", argv=["swmgrd", "--database", "/run/gateway/switch.db"])
        self.assertEqual(second["status"], 1)
        self.assertIn("another process serves it", second["err"])
        self.assertTrue(gateway.answers(), gateway.said)
        self.assertEqual(gateway.stop(), 0)
        # Asked to stop during startup, it completes the startup and ends normally.
        before = gateway.inside("lines")["lines"]
        gateway.start(ready=0, options=["--stop-timeout", "600"])
        while gateway.inside("lines")["lines"] < before + 9:  # some may be the last request's
            self.assertTrue(gateway.alive())
        self.assertEqual(gateway.stop(), 0)

    def hanging_tool(self, gateway):
        hang = gateway.state / "hang"
        hang.mkdir(exist_ok=True)
        tool = hang / "vlan_table_func"
        tool.write_text("#!/bin/sh\ntrap '' TERM\nsleep 321 &\nsleep 321\nsleep 321\n")
        tool.chmod(0o755)
        return tool

    def hanging(self, gateway):
        return [words for words in gateway.inside("processes")["processes"] if "321" in words]

    def check_ended(self, gateway):
        """A killed process leaves the list a moment after the one waited for."""
        for _ in range(200):
            if not self.hanging(gateway):
                return
        self.fail("the tool or a child of it lives on")

    def test_stop_while_a_tool_hangs(self):
        gateway = self.gateway()
        tool = self.hanging_tool(gateway)
        gateway.start(env={"PATH": HANG_PATH}, ready=0, options=["--stop-timeout", "1"])
        while not self.hanging(gateway):
            self.assertTrue(gateway.alive())
        self.assertEqual(gateway.stop(), 3)
        self.check_ended(gateway)
        tool.unlink()
        self.assertTrue(gateway.start())
        expected = Expected()
        expected.start(*(gateway.rows(table).values() for table in TABLES))
        self.assertEqual(expected.differences(gateway), [])

    def test_tool_that_hangs(self):
        gateway = self.gateway()
        self.assertTrue(gateway.start(env={"PATH": HANG_PATH, "SAL_CMD_TIMEOUT": "5"}))
        expected = Expected()
        expected.start(*(gateway.rows(table).values() for table in TABLES))
        row_id = gateway.write("INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap) "
                               "VALUES (77, 'eth0', '1,2')")
        row = gateway.rows("vlanEncapIf")[row_id]

        tool = self.hanging_tool(gateway)
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), -1)
        self.check_log(gateway, "has not ended within 5 s and is ended",
                       "Failed to configure PSE membership for VLAN.", "returned (-110)")
        self.check_ended(gateway)

        # For the next request the tool works again. The chip has the VLAN by now, so it
        # is deleted and added.
        tool.unlink()
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.DELETE, row), 0)
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), 0)
        expected.add(row)
        self.assertEqual(expected.differences(gateway), [])
        self.assertEqual(gateway.stop(), 0)

    def test_chip_that_vanishes(self):
        gateway = self.gateway()
        self.assertTrue(gateway.start())
        gateway.inside("end", name="chip", number=9, timeout=PATIENCE)
        row_id = gateway.write("INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap) "
                               "VALUES (77, 'eth0', '1,2')")
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), -1)
        self.check_log(gateway, "setting 802.1Q default tag", "Failed to configure ports in BCM")
        self.assertTrue(gateway.answers(), gateway.said)
        (gateway.state / "bcm.sock").unlink()
        gateway.start_chip()
        self.assertEqual(gateway.event("vlanEncapIf", row_id, relay.INSERT), 0)
        self.assertEqual(gateway.chip()["vlans"], [{"vlan": 77, "fwdMap": 0x16, "untagMap": 0}])
        self.assertEqual(gateway.stop(), 0)

    def test_clients_that_misbehave(self):
        gateway = self.gateway()
        self.assertTrue(gateway.start())
        open_before = gateway.inside("descriptors", name="swmgrd")["count"]
        message = relay.frame(relay.REQUEST, 47, relay.switch_command(b"XYZ", b"\1"))
        post = relay.frame(relay.POST, 47, relay.switch_command(b"XYZ", b"\1"))
        over = threading.Event()
        sent = collections.Counter()

        def flood(packet):
            """Sends for ever and never reads."""
            while not over.is_set():
                try:
                    with relay.connect(gateway.relay, timeout=0.2) as connection:
                        while not over.is_set():
                            connection.send(packet)
                            sent[packet] += 1
                except OSError:
                    pass  # cut off, or nobody takes more: begin again

        def die():
            """Sends a request and disconnects before the answer comes."""
            while not over.is_set():
                try:
                    with relay.connect(gateway.relay, timeout=0.2) as connection:
                        connection.send(message)
                        sent["dead"] += 1
                except OSError:
                    pass

        silent = []
        for number in range(100):
            connection = relay.connect(gateway.relay)
            self.addCleanup(connection.close)
            if number % 2:
                connection.send(message[:len(message) // 2])
            silent.append(connection)
        crowd = [threading.Thread(target=flood, args=(message,)),
                 threading.Thread(target=flood, args=(post,)), threading.Thread(target=die)]
        for one in crowd:
            one.start()
        try:
            slowest = 0
            while len(sent) < 3:
                self.assertTrue(gateway.alive())
            for _ in range(30):
                began = time.monotonic()
                self.assertEqual(relay.exchange(gateway.relay, message, PATIENCE), -1)
                slowest = max(slowest, time.monotonic() - began)
            self.assertTrue(gateway.answers(), gateway.said)
        finally:
            over.set()
            for one in crowd:
                one.join()
        progress(f"slowest of 30 answers: {slowest * 1000:.0f} ms, beside 100 silent clients, "
                 f"{sent[message]} requests of which nobody reads the answer, {sent[post]} posts "
                 f"and {sent['dead']} clients that died")
        self.assertEqual(len(sent), 3, "each of the crowd was there")
        for connection in silent:
            connection.close()
        self.assertTrue(gateway.answers(), gateway.said)
        deadline = time.monotonic() + PATIENCE
        while gateway.inside("descriptors", name="swmgrd")["count"] > open_before:
            self.assertLess(time.monotonic(), deadline, "connections of gone clients stay open")
            self.assertTrue(gateway.answers(), gateway.said)
        self.assertEqual(gateway.stop(), 0)


if __name__ == "__main__":
    main()
