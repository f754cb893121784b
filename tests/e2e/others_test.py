"""What belongs to others is left alone: their VLAN interfaces, whatever is changed."""

import json

from gateway import GatewayTest, main

APPLIED, REFUSED, USAGE, UNANSWERED, DIFFERS = range(5)
ADD = ("vlan", "add", 9, "--interface", "eth0", "--ports", "1,2")


class Others(GatewayTest):
    def setUp(self):
        self.hardware = self.gateway()
        self.hardware.start_log_daemon()
        self.assertTrue(self.hardware.start())

    def swctl(self, status, *arguments):
        self.assertEqual(self.hardware.swctl(*arguments), status, self.hardware.said)
        return self.hardware.said

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
        self.assertIn("made by others", self.swctl(APPLIED, "explain", "interface", "eth0.77"))
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


if __name__ == "__main__":
    main()
