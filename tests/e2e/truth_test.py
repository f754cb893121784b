"""What swctl says is so: of another database, of what was interrupted, of a trial whose end
meets trouble, of a service that does not answer, of requests that change nothing."""

import json
import os
import signal
import sqlite3
import subprocess
import sys
import time

from gateway import BUILD, ServedTest, main

APPLIED, REFUSED, USAGE, UNANSWERED, DIFFERS = range(5)
ADD = ("vlan", "add", 9, "--interface", "eth0", "--ports", "1,2")

# Writes so much that SQLite spills pages into the file, and dies in the middle.
BROKEN_WRITER = """
import os, sqlite3, sys
writer = sqlite3.connect(sys.argv[1], isolation_level=None)
writer.execute("PRAGMA cache_size = 1")
writer.execute("BEGIN IMMEDIATE")
writer.execute("UPDATE vlanEncapIf SET LogicalIfName = 'half done'")
writer.execute("CREATE TABLE filler AS SELECT zeroblob(100000)")
os.kill(os.getpid(), 9)
"""


class Truth(ServedTest):
    def ids(self):
        return {row["vlanId"] for row in self.hardware.rows("vlanEncapIf").values()}

    def test_of_a_database_that_the_service_does_not_use(self):
        other = ("--database", self.hardware.state / "other.db")
        self.swctl(APPLIED, *other, "init", "--template", "gateway")
        self.swctl(APPLIED, *other, *ADD, "--offline")
        for command in (("status",), ("diff",), ("vlan", "show", 9),
                        ("explain", "vlan", 9, "port", 1)):
            said = self.swctl(DIFFERS, *other, *command)
            self.assertIn("the service uses another file", " ".join(said.split()), command)
            self.assertNotIn("swctl repair", said, command)
        self.assertIn("swmgr_healthy 0", self.swctl(APPLIED, *other, "metrics"))
        found = json.loads(self.swctl(DIFFERS, *other, "--json", "diff"))
        self.assertTrue(found["otherFile"].endswith("switch.db"), found)
        self.swctl(APPLIED, "status")

    def test_of_the_vlan_mode_that_anybody_switches_off(self):
        self.swctl(APPLIED, "recover")
        self.assertTrue(self.swctl(APPLIED, "status").startswith("healthy\n"))
        self.swctl(APPLIED, "command", 33, "--switch", "BCM", "--payload", "00000000")
        for command in (("status",), ("diff",), ("vlan", "show", 10),
                        ("explain", "vlan", 10, "port", 1), ("show",)):
            said = " ".join(self.swctl(APPLIED if command == ("show",) else DIFFERS,
                                       *command).split())
            self.assertIn("802.1Q of the chip: off (last sent ", said, command)
        self.assertIn("swmgr_healthy 0", self.swctl(APPLIED, "metrics"))
        self.assertFalse(self.hardware.chip()["vlanMode"])
        # A change does not end well while it is off: it is put on again, and that is told.
        self.assertIn("802.1Q of the chip sent: on", self.swctl(APPLIED, *ADD))
        self.assertTrue(self.hardware.chip()["vlanMode"])
        self.swctl(APPLIED, "status")
        # A request that the chip cannot take.
        self.swctl(REFUSED, "command", 33, "--switch", "BCM", "--payload", "07000000")
        self.assertIn("802.1Q of the chip: not known (refused when it was last sent ",
                      " ".join(self.swctl(DIFFERS, "diff").split()))
        self.assertTrue(self.swctl(DIFFERS, "status").startswith("not healthy\n"))
        self.assertIn("sent: on", self.swctl(APPLIED, "repair"))
        self.assertTrue(self.swctl(APPLIED, "status").startswith("healthy\n"))

    def test_of_settings_that_a_watch_sees(self):
        watch = subprocess.Popen([BUILD / "bin/swctl", "--database", self.hardware.database,
                                  "--relay-dir", self.hardware.relay, "--json", "watch",
                                  "--interval", "1"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(watch.kill)
        for state in (0, 1, 0, 1):  # the first rounds may come late
            time.sleep(1.5)
            self.swctl(APPLIED, "command", 33, "--switch", "BCM", "--payload", f"0{state}000000")
        time.sleep(1.5)
        watch.send_signal(signal.SIGINT)
        seen = [json.loads(line) for line in watch.communicate()[0].splitlines()]
        self.assertIn(("802.1Q of the chip", "on", "off"),
                      [(line["subject"], line.get("was"), line.get("is")) for line in seen])

    def test_of_settings_that_take_the_road_of_all_changes(self):
        self.swctl(APPLIED, "recover")
        limits = lambda: {port["port"]: (port["rate"]["value"], port["rate"]["unit"])
                          for port in self.hardware.engine()["ports"] if port["rate"]}
        before = limits()
        self.assertIn("~ rate limit of engine port 2: none -> 64 kbit/s",
                      self.swctl(APPLIED, "rate-limit", "--port", 2, "--rate", 100, "--dry-run"))
        self.assertEqual(limits(), before)
        self.assertIn("the engine takes 64 kbit/s for 100 kbit/s",
                      self.swctl(APPLIED, "rate-limit", "--port", 2, "--rate", 100))
        self.assertEqual(limits()[2], (1, 0))
        self.assertIn(" 100 ", self.swctl(APPLIED, "port", "list"))
        self.swctl(APPLIED, "vlan-mode", "off", "--confirm", 600)
        self.assertFalse(self.hardware.chip()["vlanMode"])
        self.swctl(APPLIED, "confirm", "--take-back")
        self.assertTrue(self.hardware.chip()["vlanMode"])
        self.swctl(APPLIED, "qos", "off")
        self.swctl(APPLIED, "undo")
        self.assertEqual(self.hardware.engine()["rateLimiter"], 1)
        # The engine loses its limits with its power, and no start sends them.
        self.hardware.power_off()
        self.hardware.start_log_daemon()
        self.assertTrue(self.hardware.start())
        self.assertEqual(limits(), {})
        self.assertIn("rate limit of engine port 2: not known: ",
                      " ".join(self.swctl(APPLIED, "status").split()))
        self.assertIn("rate limit of engine port 2 sent: 64 kbit/s", self.swctl(APPLIED, "recover"))
        self.assertEqual(limits()[2], (1, 0))

    def test_of_what_a_command_waits_for(self):
        self.hardware.inside("end", name="swmgrd", number=int(signal.SIGSTOP), timeout=0.1)
        began = time.monotonic()
        said = self.swctl(UNANSWERED, "--wait", 3, *ADD)
        self.assertLess(time.monotonic() - began, 20)
        self.assertIn("waiting for the service's answer", said)
        self.hardware.inside("end", name="swmgrd", number=int(signal.SIGCONT), timeout=0.1)
        self.swctl(APPLIED, "recover")
        self.assertNotIn("waiting", self.swctl(APPLIED, "vlan", "delete", 300))

    def test_of_settings_where_nobody_hears_the_service(self):
        deaf = self.gateway()
        self.assertTrue(deaf.start())
        self.assertEqual(deaf.swctl("status"), APPLIED)
        self.assertTrue(deaf.said.startswith("not all known\n"), deaf.said)
        self.assertIn("802.1Q of the chip: not known: no log daemon is running",
                      " ".join(deaf.said.split()))
        self.assertEqual(deaf.swctl("rate-limit", "--port", 2, "--rate", 640), DIFFERS)
        self.assertIn("could not be verified", " ".join(deaf.said.split()))
        self.assertEqual(deaf.swctl("rate-limit", "--port", 2, "--off"), DIFFERS)
        self.assertIn("rate limit of engine port 2: not known", " ".join(deaf.said.split()))
        self.assertEqual(deaf.swctl("metrics"), APPLIED)
        self.assertIn("swmgr_healthy 0", deaf.said)

    def test_of_an_interface_whose_bandwidth_limits_a_port(self):
        self.swctl(APPLIED, "recover")
        self.assertIn("sent: ", self.swctl(APPLIED, "bandwidth", "eth1", 100000, 50))
        self.swctl(APPLIED, "status") # that is what the service is for
        self.swctl(APPLIED, "rate-limit", "--port", 1, "--off")
        self.assertEqual([port["rate"]["value"] for port in self.hardware.engine()["ports"]
                          if port["port"] == 1], [0])

    def test_of_a_change_that_was_recovered(self):
        self.swctl(APPLIED, "vlan", "add", 8, "--interface", "eth0", "--ports", "1")
        self.hardware.inside("arm", victim="swmgrd", steps=12)
        self.swctl(UNANSWERED, *ADD)
        self.assertTrue(self.hardware.start())
        self.swctl(APPLIED, "recover")
        history = json.loads(self.swctl(APPLIED, "--json", "history"))
        self.assertEqual([(one["what"], one["verb"], one["outcome"]) for one in history[-3:]],
                         [("VLAN 8", "added", "applied"), ("VLAN 9", "added", "unanswered"),
                          ("VLAN 9", "added, finished", "applied")])
        self.assertEqual(len({one["number"] for one in history}), len(history))
        self.swctl(APPLIED, "undo")
        self.assertEqual(self.ids() & {8, 9}, {8})

    def test_of_a_trial_whose_end_meets_a_lock(self):
        self.swctl(APPLIED, *ADD, "--confirm", 1)
        writer = sqlite3.connect(self.hardware.database, isolation_level=None)
        writer.execute("BEGIN IMMEDIATE")
        time.sleep(12)  # more than its process waits for a writer
        said = self.swctl(DIFFERS, "status")
        self.assertIn("overdue since", " ".join(said.split()))
        writer.execute("ROLLBACK")
        writer.close()
        for _ in range(300):
            if 9 not in self.ids():
                break
            time.sleep(0.1)
        self.assertNotIn(9, self.ids())
        for _ in range(100):
            if self.hardware.swctl("status") == APPLIED:
                break
            time.sleep(0.1)
        self.assertNotIn("on trial", self.swctl(APPLIED, "status"))
        log = self.swctl(APPLIED, "log", "--no-follow", "--lines", 512)
        self.assertRegex(log, r"a change on trial cannot be taken back: .*; trying again in \d+ s")
        self.assertIn("(VLAN 9 added) was not confirmed; taking it back: applied", log)
        self.assertEqual(log.count("swctl"), 0, "lines of readers")

    def test_of_a_start_that_has_nothing_to_complain_about(self):
        self.assertEqual(self.swctl(APPLIED, "log", "--no-follow", "--level", "warning"), "")
        self.assertNotIn("Table: swctl", self.swctl(APPLIED, "log", "--no-follow", "--level",
                                                    "debug", "--lines", 512))

    def test_of_a_trial_that_is_overdue(self):
        """Its process lives and does nothing: the next command takes it back first."""
        self.swctl(APPLIED, *ADD, "--confirm", 2)
        watchers = subprocess.run(["pgrep", "-f", f"{self.hardware.database} .*confirm --watch"],
                                  capture_output=True, text=True, check=False).stdout.split()
        self.assertEqual(len(watchers), 1)
        os.kill(int(watchers[0]), signal.SIGSTOP)
        try:
            time.sleep(8)
            self.swctl(DIFFERS, "status")
            said = self.swctl(APPLIED, "vlan", "add", 7, "--interface", "eth0", "--ports", "1")
            self.assertIn("not confirmed in time", said)
        finally:
            os.kill(int(watchers[0]), signal.SIGCONT)
        self.assertEqual(self.ids() & {7, 9}, {7})

    def test_of_a_service_that_does_not_answer(self):
        self.hardware.inside("end", name="swmgrd", number=int(signal.SIGSTOP), timeout=0.1)
        began = time.monotonic()
        said = self.swctl(UNANSWERED, "status")
        self.assertIn("runs but does not answer", " ".join(said.split()))
        self.assertIn("swmgr_up 0", self.swctl(APPLIED, "metrics"))
        self.hardware.swctl("diff")
        self.assertLess(time.monotonic() - began, 60)  # 180 s each before they gave up
        self.hardware.inside("end", name="swmgrd", number=int(signal.SIGCONT), timeout=0.1)
        self.swctl(APPLIED, "status")

    def test_of_a_database_that_a_writer_left_in_the_middle(self):
        self.assertEqual(self.hardware.stop(), 0)
        before = self.hardware.rows("vlanEncapIf")
        done = subprocess.run([sys.executable, "-c", BROKEN_WRITER, self.hardware.database],
                              check=False)
        self.assertEqual(done.returncode, -9)
        for command in (("status",), ("vlan", "list"), ("diff",)):
            said = self.swctl(USAGE, *command)
            self.assertIn("'swctl recover' restores the rows", " ".join(said.split()), command)
        self.assertIn("rolled back", self.swctl(APPLIED, "recover"))
        self.assertEqual(self.hardware.rows("vlanEncapIf"), before)
        self.assertIn("No change is unfinished", self.swctl(APPLIED, "recover"))

    def test_of_requests_that_change_nothing(self):
        row = next(iter(self.hardware.rows("vlanEncapIf").values()))
        vlan, parent = row["vlanId"], row["interfaceName"]
        add = ("request", "vlan-add", vlan, "--interface", parent, "--ports", 1)
        self.assertIn("existed before", self.swctl(APPLIED, *add))
        said = self.swctl(DIFFERS, "request", "vlan-delete", vlan)
        self.assertIn(f"sub-interface {parent}.{vlan} still exists", " ".join(said.split()))

    def test_of_untagged_frames_that_go_nowhere(self):
        self.swctl(APPLIED, *ADD[:3], "--interface", "eth0", "--ports", "0", "--untagged", "0")
        loss = "port 0 is now untagged in no VLAN: its untagged frames are dropped"
        tag = self.tag(0)
        said = self.swctl(APPLIED, "vlan", "delete", 9, "--dry-run")
        self.assertIn(loss, " ".join(said.split()))
        self.assertNotIn("PVID", said)
        self.assertIn(loss, " ".join(self.swctl(APPLIED, "vlan", "delete", 9).split()))
        self.assertEqual(self.tag(0), tag, "as the dry run had it")
        self.assertIn("dropped", self.swctl(APPLIED, "explain", "vlan", 9, "port", 0))

    def tag(self, port):
        stats = json.loads(self.swctl(APPLIED, "--json", "port", "stats", port))
        return stats[0]["defaultTag"]

    def test_of_an_interruption_before_anything_was_written(self):
        holder = sqlite3.connect(self.hardware.database, isolation_level=None)
        holder.execute("BEGIN IMMEDIATE")
        environment = dict(os.environ, RELAY_DIR=self.hardware.relay,
                           SWMGR_DATABASE=str(self.hardware.database))
        waiting = subprocess.Popen([BUILD / "bin/swctl", *map(str, ADD)], env=environment,
                                   stderr=subprocess.PIPE, text=True)
        time.sleep(1.5)
        waiting.send_signal(signal.SIGTERM)
        said = waiting.communicate()[1]
        holder.close()
        self.assertEqual(waiting.returncode, REFUSED, said)
        self.assertIn("interrupted: nothing was written or sent", said)
        self.assertNotIn(9, self.ids())
        self.assertIn("No change is unfinished", self.swctl(APPLIED, "recover"))


if __name__ == "__main__":
    main()
