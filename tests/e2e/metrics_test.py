"""swctl metrics, with the service up and down."""

import re
import subprocess

from gateway import GatewayTest, main

DONE, USAGE = 0, 2


class Metrics(GatewayTest):
    def metrics(self, hardware):
        """The samples by name and labels, once promtool has accepted them."""
        self.assertEqual(hardware.swctl("metrics"), DONE, hardware.said)
        self.text = hardware.said[:hardware.said.index("# EOF\n") + len("# EOF\n")]
        checked = subprocess.run(["promtool", "check", "metrics"], input=self.text,
                                 capture_output=True, text=True)
        self.assertEqual((checked.returncode, checked.stderr), (0, ""), self.text)
        return {name: float(value)
                for name, value in re.findall(r"^swmgr_(\S+) (\S+)$", self.text, re.M)}

    def expect(self, found, **wanted):
        names = {name: found.get(name) for name in wanted}
        self.assertEqual(names, wanted, self.text)

    def test_state_and_counters(self):
        hardware = self.gateway()
        hardware.start_log_daemon()
        self.assertTrue(hardware.start())
        self.assertEqual(hardware.swctl("recover"), DONE)
        before = self.metrics(hardware)
        self.expect(before, up=1, healthy=1, last_load_success=1, next_start_stops=0,
                    vlans_configured=5, vlans_applied=5, vlans_different=0, tools_failed=0,
                    change_on_trial=0, log_records_lost_total=0, tool_failures_total=0)
        self.assertEqual([before[f'part_readable{{part="{part}"}}'] for part in
                          ("chip", "database", "kernel", "log", "rehearsal")], [1] * 5)
        self.assertLess(0, before["start_time_seconds"])
        self.assertIn('port_link_up{device="/dev/bcmsw",port="4"}', before)

        self.assertEqual(hardware.swctl("vlan", "delete", 10, "--confirm", 600), DONE)
        hardware.event("nonsense!", 1, 18)
        after = self.metrics(hardware)
        self.expect(after, vlans_configured=4, vlans_applied=4, change_on_trial=1)
        self.assertEqual(hardware.swctl("confirm"), DONE)
        for name, more in (('requests_total{kind="database"}', 2),
                           ('requests_refused_total{kind="database"}', 1),
                           ('requests_total{kind="interface"}', 0)):
            self.assertEqual(after[name] - before[name], more, name)
        self.assertLess(before["tool_runs_total"], after["tool_runs_total"])

        hardware.inside("end", name="swlogd", number=15, timeout=60)
        self.expect(self.metrics(hardware), up=1, vlans_applied=4, tool_runs_total=None,
                    tools_failed=None, last_load_success=None)
        hardware.stop()
        hardware.write("UPDATE swGlobalCfg SET switchDevice = ? WHERE switchName = 'BCM'",
                       '/dev/a"b\\c')
        self.expect(self.metrics(hardware), up=0, start_time_seconds=None, healthy=0,
                    vlans_configured=4, vlans_applied=None)
        hardware.database.write_text("no database")
        self.expect(self.metrics(hardware), up=0, vlans_configured=None)
        self.assertIn('part_readable{part="database"} 0', self.text)

    def test_a_file_is_replaced_whole(self):
        hardware = self.gateway(inside=False)
        path = hardware.state / "collected" / "swmgr.prom"
        self.assertEqual(hardware.swctl("metrics", "--output", path), USAGE)
        path.parent.mkdir()
        path.write_text("old")
        with path.open() as reader:
            self.assertEqual(hardware.swctl("metrics", "--output", path), DONE, hardware.said)
            self.assertEqual(reader.read(), "old")  # as one who opened it before must see it
        self.assertTrue(path.read_text().endswith("# EOF\n"))
        self.assertEqual(path.stat().st_mode & 0o777, 0o644)
        self.assertEqual(list(path.parent.iterdir()), [path])


if __name__ == "__main__":
    main()
