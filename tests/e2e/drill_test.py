"""A drill for what swctl reports: random but seeded operations on a gateway whose tools
fail, whose service is killed and where writers and clients are interrupted. After
each, an independent short calculation from the database and from what chip, engine
and kernel hold decides whether they agree; swctl must have reported just that."""

import os
import random
import signal
import subprocess
import time

from expected import Expected, held_tables
from gateway import BUILD, GatewayTest, main, progress, setting

SEED = setting("SWMGR_E2E_SEED", 20260)
OPERATIONS = setting("SWMGR_E2E_DRILL", 60)
APPLIED, REFUSED, USAGE, UNANSWERED, DIFFERS = range(5)
TABLES = ("swGlobalCfg", "swPortConfig", "vlanEncapIf")
TOOLS = ("arl_table_func", "vconfig")
VLANS = (5, 6, 7, 8, 10, 20, 100)


class Drill(GatewayTest):
    def setUp(self):
        self.random = random.Random(SEED)
        self.hardware = self.gateway()
        self.hardware.start_log_daemon()
        (self.hardware.state / "odd").mkdir()
        for name in TOOLS:  # "add" fails while the file is there
            tool = self.hardware.state / "odd" / name
            tool.write_text(f"#!/bin/sh\n[ ! -e /run/gateway/fail-{name} ] || "
                            f"[ \"$1\" != add ] || exit 3\nexec /gateway/tools/{name} \"$@\"\n")
            tool.chmod(0o755)
        self.start()
        self.words = [0] * 5

    def start(self):
        self.assertTrue(self.hardware.start(
            env={"PATH": f"/run/gateway/odd:/gateway/tools:{BUILD}/bin:/usr/bin:/bin"}))

    def swctl(self, *arguments, interrupt=0.0, text=""):
        environment = dict(os.environ, RELAY_DIR=str(self.hardware.state / "relay"),
                           SWMGR_DATABASE=str(self.hardware.state / "switch.db"))
        client = subprocess.Popen([BUILD / "bin/swctl", *map(str, arguments)], env=environment,
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True)
        if interrupt:
            time.sleep(interrupt)
            client.send_signal(self.random.choice((signal.SIGINT, signal.SIGTERM, signal.SIGKILL)))
        out, error = client.communicate(text, timeout=60)
        self.said = f"swctl {arguments} {text}: {client.returncode}\n{out}{error}"
        return client.returncode

    def agree(self):
        """Whether chip and kernel hold what the rows say: entries, tags, sub-interfaces."""
        expected = Expected()
        expected.start(*(self.hardware.rows(table).values() for table in TABLES))
        wanted = expected.tables()
        held = held_tables(self.hardware.chip(), self.hardware.engine(),
                           self.hardware.uptime_records())
        held["chip VLANs"] = {vlan: maps for vlan, maps in held["chip VLANs"].items()
                              if maps != (0, 0) or vlan in wanted["chip VLANs"]}
        # A default tag has an effect only if the port is untagged in some VLAN. The
        # engine renumbers its entries at each startup and keeps older ones.
        takes = [port for port, drops in wanted["chip non-802.1Q"].items() if drops == 0]
        for tables in (wanted, held):
            tables["chip PVIDs"] = {port: tables["chip PVIDs"][port] for port in takes}
            tables["engine members"] = {entry for entry in tables["engine VLANs"].values()
                                        if entry[2] != 0}
        held["engine members"] &= wanted["engine members"]
        for tables in (held, wanted):
            tables["engine addresses"] = {entry for entry in tables["engine addresses"]
                                          if entry[0] in wanted["chip VLANs"]}
        names = ("chip VLANs", "chip PVIDs", "sub-interfaces", "engine members",
                 "engine addresses")
        self.seen = [f"{name}: wanted {wanted[name]}, held {held[name]}" for name in names
                     if wanted[name] != held[name]]
        return not self.seen

    def ports(self, most):
        return ",".join(str(port) for port in range(5) if self.random.random() < most / 5)

    def operations(self):
        """One command, several at once, or undoing the last change."""
        chance = self.random.random()
        if chance < 0.1 and self.swctl("undo", "--dry-run") != USAGE:
            return ("undo",), ""
        if chance > 0.3:
            return self.operation(), ""
        lines = [self.operation() for _ in range(self.random.randrange(1, 4))]
        return ("batch",), "".join(" ".join(str(word) or '""' for word in line) + "\n"
                                   for line in lines)

    def operation(self):
        rows = [row["vlanId"] for row in self.hardware.rows("vlanEncapIf").values()]
        vlan = self.random.choice(VLANS)
        ports = self.ports(4)
        inside = [port for port in ports.split(",") if port and self.random.random() < 0.3]
        shape = ("--ports", ports, "--untagged", ",".join(inside), "--interface",
                 self.random.choice(("eth0", "eth0", "eth1", "eth9")))
        if vlan not in rows:
            return ("vlan", "add", vlan, *shape)
        return self.random.choice((
            ("vlan", "set", vlan, *shape[:4]), ("vlan", "set", vlan, *shape),
            ("vlan", "delete", vlan), ("vlan", "set", vlan, "--id", self.random.choice(VLANS)),
            ("vlan", "add", vlan, *shape), ("port", "add", "BCM", 9)))

    def test_words(self):
        agreed = True
        for number in range(OPERATIONS):
            before = self.hardware.rows("vlanEncapIf")
            operation, text = self.operations()
            chance = self.random.random()
            interrupt = self.random.random() * 0.02 if chance < 0.15 else 0.0
            fails = self.hardware.state / f"fail-{self.random.choice(TOOLS)}"
            if 0.15 < chance < 0.3:
                fails.touch()
            status = self.swctl(*operation, interrupt=interrupt, text=text)
            fails.unlink(missing_ok=True)
            what = f"operation {number}, seed {SEED}: {self.said}"
            if status == USAGE and text:  # a line after another one deleted its VLAN
                self.assertEqual(self.hardware.rows("vlanEncapIf"), before, what)
                continue
            if interrupt and status not in (APPLIED, REFUSED):
                self.assertIn(self.swctl("recover"), (APPLIED,), what + self.said)
                if not agreed:  # from before: a recovery without a change looks at nothing
                    self.assertEqual(self.swctl("repair"), APPLIED, what + self.said)
                agreed = self.agree()
                self.assertTrue(agreed, f"{what}{self.said}{self.seen}")
                continue
            self.words[status] += 1
            was, agreed = agreed, self.agree()
            self.assertIn(status, (APPLIED, REFUSED, DIFFERS), what)
            # A refused change leaves everything as it was, whatever that was.
            self.assertTrue(agreed == (status != DIFFERS) or status == REFUSED and not was,
                            f"{what}{self.seen}")
            if status == REFUSED:
                self.assertEqual(self.hardware.rows("vlanEncapIf"), before, what)
            if status == DIFFERS:  # the tool would work now: said until it has
                if fails.name == "fail-arl_table_func":
                    self.assertIn("arl_table_func add", self.said)
                self.assertEqual(self.swctl("diff"), DIFFERS, what + self.said)
            if chance > 0.93:
                self.hardware.kill()
                self.start()
                agreed = self.agree()
        self.assertEqual(self.swctl("repair"), APPLIED, self.said)
        self.assertEqual(self.swctl("diff", "--all"), APPLIED, self.said)
        self.assertTrue(self.agree(), self.seen)
        progress(f"{OPERATIONS} operations: {self.words[APPLIED]} applied, "
                 f"{self.words[REFUSED]} refused, {self.words[DIFFERS]} differ")

    def test_two_clients_at_once(self):
        """One waits for the other; both changes are made in the end."""
        environment = dict(os.environ, RELAY_DIR=str(self.hardware.state / "relay"),
                           SWMGR_DATABASE=str(self.hardware.state / "switch.db"))
        clients = [subprocess.Popen([BUILD / "bin/swctl", "vlan", "add", str(vlan), "--ports", "1",
                                     "--interface", "eth0", "--untagged", "1"], env=environment,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                   for vlan in range(30, 38)]
        for client in clients:
            said = client.communicate(timeout=60)
            self.assertEqual(client.returncode, APPLIED, said)
        self.assertTrue(self.agree(), self.seen)


if __name__ == "__main__":
    main()
