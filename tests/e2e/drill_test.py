"""A drill for what swctl reports: random but seeded operations on a gateway whose tools
fail, whose service is killed and where writers and clients are interrupted. After
each, an independent short calculation from the database and from what chip, engine
and kernel hold decides whether they agree; swctl must have reported just that."""

import os
import random
import re
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


class SettingsDrill(GatewayTest):
    """The same for settings: by swctl, and behind its back by requests, SQL and events."""
    EVENT = 49152  # kbit/s at port 1, which an interface event and nothing else asks for

    def setUp(self):
        self.random = random.Random(SEED)
        self.hardware = self.gateway()
        self.hardware.start_log_daemon()
        (self.hardware.state / "odd").mkdir()
        tool = self.hardware.state / "odd/rate_limit_func"
        tool.write_text("#!/bin/sh\n[ ! -e /run/gateway/fail ] || exit 3\n"
                        "exec /gateway/tools/rate_limit_func \"$@\"\n")
        tool.chmod(0o755)
        self.start()
        self.assertEqual(self.hardware.swctl("recover"), APPLIED)

    def start(self):
        self.assertTrue(self.hardware.start(
            env={"PATH": f"/run/gateway/odd:/gateway/tools:{BUILD}/bin:/usr/bin:/bin"}))

    @staticmethod
    def rate(kbit):
        """What the limiter makes of a rate, in kbit/s."""
        for step, highest in ((64, 8128), (1024, 130048), (10240, 1300480)):
            if 64 <= kbit <= highest:
                return kbit // step * step
        return 0

    def wrong(self):
        """What chip and engine hold other than the rows say."""
        switches = {row["switchName"]: row
                    for row in self.hardware.rows("swGlobalCfg").values()}
        engine = self.hardware.engine()
        held = {port["port"]: port for port in engine["ports"]}
        found = set()
        if self.hardware.chip()["vlanMode"] != bool(switches["PSE"]["vlanEnable"]):
            found.add("802.1Q of the chip")
        if engine["rateLimiter"] != switches["PSE"]["qosEnable"]:
            found.add("QoS of the engine")
        ports = [row for row in self.hardware.rows("swPortConfig").values()
                 if row["switchName"] == "PSE"]
        for row in ports:
            port = row["portNumber"]
            limit = held[port]["rate"] or {"value": 0, "unit": 0}
            kbit = limit["value"] * (64, 1024, 10240)[limit["unit"]]
            if kbit != self.rate(row["rateLimit"]) and (port, kbit) != (1, self.EVENT):
                found.add(f"rate limit of engine port {port}")
            weights = [row[f"queue{number}Weight"].bit_length() - 1 for number in range(1, 5)]
            mode = {0: 1, 1: 0, 3: 2}[row["schedMode"]]
            queues = held[port]["queues"] or {"mode": 1, "weights": [0, 0, 0, 0]}
            if (queues["mode"], queues["weights"]) != (mode, weights):
                found.add(f"scheduling of engine port {port}")
        usual = lambda row: (row["numQueues"], row["schedMode"], *(
            row[f"queue{number}Weight"] for number in range(1, 5))) == (4, 0, 1, 1, 1, 1)
        asked = [row["numQueues"] for row in ports if not usual(row)]
        if asked and engine["queueCode"] != {1: 0, 2: 1, 4: 2}[asked[-1]]:
            found.add("queues of the engine")
        return found

    def unknown(self):
        """What swctl has just said not to know."""
        names = set()
        for name, ports in re.findall(r"((?:rate limit|scheduling) of engine) ports? ([\d, ]+): "
                                      r"not known", " ".join(self.hardware.said.split())):
            names |= {f"{name} port {port}" for port in ports.split(", ")}
        return names | {name for name in ("QoS of the engine", "802.1Q of the chip",
                                          "queues of the engine")
                        if f"{name}: not known:" in " ".join(self.hardware.said.split())}

    def operation(self):
        port, word = self.random.choice((1, 2, 3)), self.random.choice(("on", "off"))
        rate = self.random.choice((64, 100, 8129, 130048, 200000))
        return self.random.choice((
            ("rate-limit", "--port", port, "--rate", rate),
            ("rate-limit", "--port", port, "--rate", rate),
            ("rate-limit", "--port", port, "--off"),
            ("queues", "--port", port, "--queues", self.random.choice((1, 2, 4)), "--mode",
             self.random.choice((0, 1, 3)), "--weights", "1,3,4,9"),
            ("queues", "--port", "all", "--weights", "1,1,2,2"),
            ("qos", word), ("vlan-mode", word),
            ("port", "set", "PSE", port, "--rate-limit", rate),
            ("switch", "set", "PSE", "--qos", word), ("undo",), ("repair",), ("recover",)))

    def behind(self):
        """Somebody else does something."""
        chance = self.random.randrange(6)
        state = self.random.randrange(2)
        name = lambda text: text.encode().ljust(64, b"\0")
        command = lambda switch, payload: name(switch) + payload.ljust(1300, b"\0")
        number = lambda value: value.to_bytes(4, "little")
        if chance == 0:
            self.hardware.ask(33, command("BCM", number(state)))
        elif chance == 1:
            self.hardware.ask(47, command("PSE", number(state)))
        elif chance == 2:
            port = self.random.choice((1, 2, 3))
            self.hardware.ask(50, command("PSE", number(port) + b"\1\0\0\0" + number(640)))
        elif chance == 3:
            self.hardware.write(f"UPDATE swPortConfig SET rateLimit = {640 * state} WHERE "
                                "switchName = 'PSE' AND portNumber = 2")
        elif chance == 4:
            self.hardware.write(f"UPDATE swGlobalCfg SET qosEnable = {state}, "
                                f"vlanEnable = {1 - state}")
        else:
            self.assertEqual(self.hardware.swctl("bandwidth", "eth1", 100000, 50), APPLIED)
        return f"behind its back {chance} {state}"

    def test_words(self):
        fails = self.hardware.state / "fail"
        words = [0] * 5
        for number in range(OPERATIONS * 2):
            chance = self.random.random()
            failing = False
            if chance < 0.3:
                what = self.behind()
            elif chance < 0.36:
                self.hardware.kill()
                self.start()
                what = "restart"
            else:
                operation = self.operation()
                failing = self.random.random() < 0.15
                if failing:
                    fails.touch()
                status = self.hardware.swctl(*operation)
                fails.unlink(missing_ok=True)
                what = f"{operation}: {status} {self.hardware.said}"
                words[status] += 1
                if status == APPLIED and operation[0] != "recover":
                    self.assertEqual(self.wrong() - self.unknown(), set(),
                                     f"{number} {what} seed {SEED}")
            wrong = self.wrong()
            told = self.hardware.swctl("diff")
            said = " ".join(self.hardware.said.split())
            where = f"operation {number}, seed {SEED}: {what}\n{said}"
            unknown = self.unknown()
            for name in wrong - unknown:
                self.assertIn(f"! {name}: ", said, where)
            if "the tool failed" not in said:  # it may fail and change nothing
                self.assertEqual(told, DIFFERS if wrong - unknown else APPLIED, where)
            self.hardware.swctl("status")
            if wrong:
                self.assertFalse(self.hardware.said.startswith("healthy"), where)
            elif "not known" not in said and told == APPLIED:
                self.assertTrue(self.hardware.said.startswith("healthy"), where +
                                self.hardware.said)
        self.assertEqual(self.hardware.swctl("repair"), APPLIED, self.hardware.said)
        self.assertEqual(self.wrong(), set())
        progress(f"{OPERATIONS * 2} operations on settings: {words[APPLIED]} applied, "
                 f"{words[REFUSED]} refused, {words[DIFFERS]} differ")


if __name__ == "__main__":
    main()
