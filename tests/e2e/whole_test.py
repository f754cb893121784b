"""Whole configurations, changes on trial, previews and undoing."""

import json
import os
import signal
import subprocess
import time

from gateway import BUILD, TOP, GatewayTest, main

APPLIED, REFUSED, USAGE, UNANSWERED, DIFFERS = range(5)
ADD = ("vlan", "add", 30, "--interface", "eth0", "--ports", "1,2,3", "--untagged", 3)


class Whole(GatewayTest):
    def setUp(self):
        self.hardware = self.gateway()
        self.hardware.start_log_daemon()
        self.assertTrue(self.hardware.start())
        self.before = self.state()

    def state(self):
        return (self.hardware.rows("vlanEncapIf"),
                [vlan for vlan in self.hardware.chip()["vlans"] if vlan["fwdMap"] != 0],
                self.hardware.engine()["interfaces"])

    def swctl(self, status, *arguments):
        self.assertEqual(self.hardware.swctl(*arguments), status, self.hardware.said)
        return self.hardware.said

    def test_dry_runs_write_and_send_nothing(self):
        trace = len(self.hardware.trace())
        for arguments, status, text in (
                (ADD, APPLIED, "+ VLAN 30  BCM 1T 2T 3U"),
                (ADD, APPLIED, "! port 3 PVID 100 -> 30"),
                ((*ADD, "-v"), APPLIED, "> vconfig add eth0 30"),
                (("vlan", "delete", 10), APPLIED, "- eth0.10"),
                ((*ADD, "--no-move"), REFUSED, "--no-move"),
                (("switch", "set", "PSE", "--qos", "off"), APPLIED, "~ QoS of the engine: on -> off"),
                (("port", "set", "PSE", 3, "--trust-mode", 2), APPLIED, "! port 3 of PSE")):
            self.assertIn(text, self.swctl(status, *arguments, "--dry-run"))
        self.assertEqual(len(self.hardware.trace()), trace)
        self.assertEqual(self.state(), self.before)

    def test_a_file_is_applied_whole_and_once(self):
        path = self.hardware.state / "gateway.json"
        self.swctl(APPLIED, "export", path)
        configuration = json.loads(path.read_text())
        self.check_schema(configuration)
        self.assertIs(json.loads(self.swctl(APPLIED, "--json", "apply", path))["changed"], False)
        whole = json.dumps(configuration)
        gone = configuration["vlans"].pop(0)
        ports = [port for port in configuration["ports"] if port["port"] != 4 or port["map"]]
        for port in ports:
            port["map"] = [below.replace("BCM:4", "BCM:3") for below in port["map"] or []]
        configuration["ports"] = ports
        path.write_text(json.dumps(configuration))
        self.assertIn("restart the service", self.swctl(DIFFERS, "apply", path))
        self.assertNotIn(gone["vlan"], [row["vlanId"] for row in self.state()[0].values()])
        path.write_text(whole)  # a port of the engine is mapped onto one that is new
        self.swctl(APPLIED, "apply", path)
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        self.swctl(APPLIED, "diff")
        self.assertIs(json.loads(self.swctl(APPLIED, "--json", "apply", path))["changed"], False)
        held = self.state()
        configuration = json.loads(whole)
        configuration["vlans"].append({"vlan": 40, "interface": "eth9", "members": [1]})
        for text, status in ((json.dumps(configuration), REFUSED), ("{]", USAGE), ("[]", USAGE),
                             ('{"vlans": [{"vlanId": 1, "no": 2}]}', USAGE),
                             ('{"vlans": [{"fwdMap": "1"}]}', USAGE)):
            path.write_text(text)
            self.swctl(status, "apply", path)
        self.assertEqual(self.state(), held)

    def check_schema(self, configuration):
        import jsonschema  # a package that the tests install
        schema = json.loads((TOP / "data/configuration.schema.json").read_text())
        jsonschema.validate(configuration, schema)
        configuration["vlans"][0]["vlan"] += 5000
        with self.assertRaises(jsonschema.ValidationError):
            jsonschema.validate(configuration, schema)
        configuration["vlans"][0]["vlan"] -= 5000

    def test_trials_go_back_unless_confirmed(self):
        for arguments, status in (((*ADD, "--confirm", 600), APPLIED), (("confirm",), APPLIED),
                                  (("confirm",), REFUSED), (("undo",), APPLIED)):
            self.swctl(status, *arguments)
        self.assertEqual(self.state(), self.before)
        self.swctl(APPLIED, *ADD, "--confirm", 1)
        while self.hardware.rows("vlanEncapIf") != self.before[0]:
            time.sleep(0.05)
        self.swctl(APPLIED, "recover")  # waits for the watcher, which has the lock
        self.swctl(APPLIED, "diff")
        self.swctl(APPLIED, *ADD, "--confirm", 600)
        self.swctl(REFUSED, "vlan", "delete", 10)
        self.end_watchers()
        self.assertEqual(self.hardware.stop(), 0)  # as after a loss of power
        self.swctl(APPLIED, "recover")
        self.assertEqual(self.hardware.rows("vlanEncapIf"), self.before[0])
        self.assertTrue(self.hardware.start())

    def end_watchers(self):
        watchers = ["pgrep", "-f", f"{self.hardware.database} confirm --watch"]
        found = subprocess.run(watchers, capture_output=True, text=True, check=True)
        for pid in found.stdout.split():
            os.kill(int(pid), signal.SIGKILL)
        while subprocess.run(watchers, capture_output=True).returncode == 0:
            time.sleep(0.02)  # they hold their locks until they are gone

    def test_what_the_service_has_not_heard_is_told_until_it_starts(self):
        for arguments, status in ((("port", "set", "PSE", 4, "--trust-mode", 3), DIFFERS),
                                  (("diff",), DIFFERS), (("status",), DIFFERS),
                                  (("port", "set", "PSE", 4, "--trust-mode", 3), DIFFERS),
                                  (("undo",), APPLIED), (("status",), APPLIED),
                                  (("port", "set", "PSE", 4, "--trust-mode", 3), DIFFERS)):
            self.swctl(status, *arguments)
        self.swctl(APPLIED, "request", "vlan-add", 99, "--interface", "eth0", "--ports", 1)
        self.assertEqual(self.hardware.stop(), 0)
        self.swctl(UNANSWERED, "status")
        self.assertTrue(self.hardware.start())
        said = self.swctl(APPLIED, "request", "vlan-delete", 98, "--interface", "eth0")
        self.assertIn("it did not exist before", said)
        said = self.swctl(DIFFERS, "request", "vlan-delete", 99, "--interface", "eth1")
        self.assertIn("the chip still", said)
        self.swctl(APPLIED, "repair")
        self.swctl(APPLIED, "status")

    def test_what_a_port_and_an_interface_do_is_explained(self):
        for arguments, status, texts in (
                (("vlan", 20, "port", 3), APPLIED, ("tagged     in VLAN 20, to 1T 2U 4T and the",
                                                    "untagged   in VLAN 100, to 0T 1T 2T")),
                (("vlan", 20, "port", 0), APPLIED, ("dropped: port 0 is not a member of VLAN 20",
                                                    "vlan set 20 --ports 0,1,2,3")),
                (("vlan", 77, "port", 4), APPLIED, ("no row has this VLAN", "VLAN 77 does not exist",
                                                    "in no VLAN and accepts only")),
                (("vlan", 20, "port", "PSE:3"), APPLIED, ("no tool failed according to the",)),
                (("interface", "eth1.100"), APPLIED, ("from chip ports 1T 2T 3U, through 0T",)),
                (("vlan", 20, "port", 5), USAGE, ("ports 0 to 4",)),
                (("vlan", 20, "port", "X:1"), USAGE, ("no switch 'X'",)),
                (("interface", "eth7"), USAGE, ("no interface 'eth7'",))):
            said = self.swctl(status, "explain", *arguments)
            for text in texts:
                self.assertIn(text, said)
        self.swctl(APPLIED, "request", "vlan-delete", 20, "--interface", "eth0")
        for about in (("vlan", 20, "port", 3), ("interface", "eth0.20")):
            self.assertIn("eth0.20: missing, should be up", self.swctl(DIFFERS, "explain", *about))
        self.assertIn("link up  default tag 100", self.swctl(APPLIED, "port", "stats", 3))

    def test_a_load_that_stopped_is_told_until_the_next_start(self):
        self.hardware.sqlite3("INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap) "
                              f"VALUES (55, '{'x' * 64}', '1')")
        for _ in range(2):
            self.assertEqual(self.hardware.stop(), 0)
            self.assertTrue(self.hardware.start())
        status = json.loads(self.swctl(DIFFERS, "--json", "status"))
        self.assertEqual(status["lastLoad"]["outcome"], "stopped")
        self.assertIn("interfaceName", " ".join(status["lastLoad"]["reasons"]))
        self.assertIn("row 6 of vlanEncapIf", status["startStops"])
        self.assertEqual((status["vlans"]["configured"], status["vlans"]["applied"]), (6, 5))
        self.hardware.sqlite3("DELETE FROM vlanEncapIf WHERE vlanId = 55")
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        status = json.loads(self.swctl(APPLIED, "--json", "status"))
        self.assertEqual((status["lastLoad"]["outcome"], status["vlans"]["applied"]),
                         ("went through", 5))

    def test_nothing_is_torn_down_for_a_start_that_would_stop(self):
        for arguments, status in ((("port", "add", "BCM", 9, "--force"), DIFFERS),
                                  (("repair",), DIFFERS), (("port", "delete", "BCM", 9), DIFFERS),
                                  (("repair",), DIFFERS)):
            self.swctl(status, *arguments)
            self.assertEqual(self.state(), self.before)
        self.assertIn("restart the service", self.hardware.said)
        self.assertEqual(self.hardware.stop(), 0)
        self.assertTrue(self.hardware.start())
        self.swctl(APPLIED, "diff")

    def test_a_watch_tells_every_change_and_ends_when_asked(self):
        watch = subprocess.Popen([BUILD / "bin/swctl", "--database", self.hardware.database,
                                  "--relay-dir", self.hardware.relay, "--json", "watch",
                                  "--interval", "1"], stdout=subprocess.PIPE, text=True)
        self.addCleanup(watch.kill)
        seen = []
        # The first round may come after the first change, so each is repeated until seen.
        while not any(line["subject"] == "eth0.30" for line in seen):
            self.swctl(APPLIED, *ADD)
            time.sleep(1.2)
            self.swctl(APPLIED, "undo")
            seen.append(json.loads(watch.stdout.readline()))
        self.assertTrue({"chip", "chip port 3 default tag"} & {line["subject"] for line in seen})
        watch.send_signal(signal.SIGINT)
        rest = watch.communicate()[0]
        self.assertEqual(watch.returncode, 0, rest)


if __name__ == "__main__":
    main()
