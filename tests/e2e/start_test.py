"""From a database file to the hardware: the switch manager starts, serves, stops
and starts again, and chip, engine and host hold what the database says."""

import time

from expected import Expected
from gateway import GatewayTest, main
from relay import INSERT


class Start(GatewayTest):
    def expect(self, gateway, expected):
        expected.start(*(gateway.rows(table).values()
                         for table in ("swGlobalCfg", "swPortConfig", "vlanEncapIf")))
        self.assertEqual(expected.differences(gateway), [])

    def test_hardware_equals_the_database(self):
        gateway = self.gateway()
        expected = Expected()
        self.assertTrue(gateway.start())
        self.expect(gateway, expected)
        self.assertEqual(gateway.chip()["refused"], 0)
        log = gateway.log()
        self.assertNotRegex(log, "Failed to|ERROR#")
        # Every sub-interface was created and brought up by its tool.
        for row in gateway.rows("vlanEncapIf").values():
            name = f"{row['interfaceName']}.{row['vlanId']}"
            self.assertTrue(f"cmd (ifconfig {name} up) returned (0)" in log, name)
        uptime = time.clock_gettime(time.CLOCK_BOOTTIME)
        for vlan, text in gateway.uptime_records().items():
            self.assertRegex(text, r"\A\d+\n\Z")
            self.assertLessEqual(int(text), uptime, vlan)

        # Stopping leaves the hardware as it is; starting writes it again.
        self.assertEqual(gateway.stop(), 0)
        self.assertEqual(expected.differences(gateway), [])
        gateway.write("UPDATE vlanEncapIf SET fwdMap='0,3', untagMap='3' WHERE vlanId=20")
        self.assertTrue(gateway.start())
        self.expect(gateway, expected)
        self.assertEqual(gateway.stop(), 0)

    def test_database_that_cannot_be_used(self):
        gateway = self.gateway(config=None, chip=False)
        (gateway.state / "text").write_text("this is no database, whatever its name says")
        for name, words in (("missing", "No such file"), ("text", "not an SQLite database"),
                            ("var", "not a regular file")):
            with self.subTest(name):
                self.assertFalse(gateway.start(database=f"/run/gateway/{name}"))
                self.assertFalse(gateway.alive())
                self.assertEqual(gateway.stop(), 1)
                self.check_log(gateway, words)

    def test_empty_database_is_mended_by_events(self):
        gateway = self.gateway()
        rows = {table: gateway.rows(table)
                for table in ("swGlobalCfg", "swPortConfig", "vlanEncapIf")}
        for table in rows:
            gateway.write(f"DELETE FROM {table}")
        self.assertTrue(gateway.start())
        self.check_log(gateway, "Failed to find switch configuration to load.")
        self.assertEqual(gateway.answers(), False)  # there is no switch yet

        # The events have the same effect as a startup would have.
        for table, found in rows.items():
            for row in found.values():
                columns = ", ".join(row)
                row_id = gateway.write(
                    f"INSERT INTO {table} ({columns}) VALUES ({', '.join('?' * len(row))})",
                    *row.values())
                self.assertEqual(gateway.event(table, row_id, INSERT), 0)
        expected = Expected()
        expected.start(*(found.values() for found in rows.values()))
        self.assertEqual(expected.differences(gateway), [])
        self.assertTrue(gateway.answers())


if __name__ == "__main__":
    main()
