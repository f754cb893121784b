"""What chip, engine and host should hold, computed from the database's rows.

A second, independent implementation of the rules: plain sets and dictionaries, no
commands and no hierarchy. Rows come as dictionaries, in the order of the table.

The chip's table and the engine's follow from the rows alone. Default tags also
depend on the order of changes: a port belongs untagged to the VLAN that claimed
it last, and keeps that VLAN's id when no VLAN claims it any more.
"""

CHIP_PORTS = range(5)
CPU = 4                # of the engine, as a bit
IDENTITY = list(range(8))
FLAG_OF_TRUST = {0: 1, 4: 2, 2: 3, 1: 4, 3: 5}
PAUSE_REGISTERS = ("0x7000000c", "0x70000010", "0x70000018")
MAC = {"eth0": "02:00:00:00:00:10", "eth1": "02:00:00:00:00:11"}


def ports_of(text):
    return {int(port) for port in (text or "").split(",") if port}


def mask(ports):
    return sum(1 << port for port in ports)


class Expected:
    """Rows in, tables out. A row that the service refuses changes only what it changes
    in the service before it is refused."""

    def __init__(self):
        # What the hardware keeps when the service restarts.
        self.chip_vlans = {}    # id: (members, untagged)
        self.pvid = {port: 1 for port in CHIP_PORTS}
        self.drops_untagged = {port: 0 for port in CHIP_PORTS}
        self.vlan_mode = 0
        self.engine_vlans = {}  # index: (id, WAN, members, address)
        self.addresses = set()  # (id, address)
        self.interfaces = set() # (parent, id)
        self.records = set()    # ids with an uptime record
        self.trust, self.rates, self.queues = {}, {}, {}
        self.queue_code = self.rate_limiter = 0
        self.registers = {name: 0xFFFF for name in PAUSE_REGISTERS}
        self.forget()

    def forget(self):
        """What the service knows when it starts."""
        self.claims = {}        # id: chip ports that it has untagged, in order of change
        self.indices = {}       # id: index in the engine's table
        self.engine_ports = {}  # number: chip ports below it
        self.port_vlan = {}     # chip port: its default VLAN
        self.next_index = 4

    def start(self, switches, ports, vlans):
        self.forget()
        top = max(switches, key=lambda row: row["switchLevel"])
        self.vlan_mode = top["vlanEnable"]
        self.rate_limiter = top["qosEnable"]
        if top["pauseFrameEnable"] == 1:
            self.registers = {name: 0x8000FFFF for name in PAUSE_REGISTERS}
        for row in ports:
            self.add_port(row)
        for row in vlans:
            self.add(row)
        self.tag_ports()

    def add_port(self, row):
        if row["switchName"] == "BCM":
            self.port_vlan[row["portNumber"]] = row["PVID"]
            return
        below = [entry.split(":") for entry in (row["phyDevice"] or "").split(",") if entry]
        self.engine_ports[row["portNumber"]] = {int(number) for _, number in below}
        self.trust[row["portNumber"]] = FLAG_OF_TRUST[row["trustMode"]]

    # --- VLANs --------------------------------------------------------------

    def add(self, row):
        """Returns whether the service accepts the row."""
        vlan = row["vlanId"]
        if vlan in self.claims:
            return False
        if not ports_of(row["fwdMap"]) <= set(CHIP_PORTS):
            self.chip_vlans.pop(vlan, None)  # cleared before it was refused
            return False
        self.claim(vlan, row)
        self.chip_write(vlan, row)
        if self.engine_members(row) and row["interfaceName"] not in MAC:
            return False  # the chip has it by now
        self.indices[vlan] = self.next_index
        self.engine_write(vlan, row)
        if row["interfaceName"] in MAC:
            self.interfaces.add((row["interfaceName"], vlan))
            self.records.add(vlan)
        self.next_index += 1
        return True

    def update(self, old, new):
        """The sub-interface and the tables' entries of a former id stay."""
        if old["vlanId"] not in self.claims:
            return
        del self.claims[old["vlanId"]]
        self.claim(new["vlanId"], new)
        self.chip_write(new["vlanId"], new)
        self.indices[new["vlanId"]] = self.indices.pop(old["vlanId"])
        self.engine_write(new["vlanId"], new)

    def delete(self, row):
        """Deleted VLANs stay in both tables as entries without members."""
        vlan = row["vlanId"]
        if vlan in self.claims:
            del self.claims[vlan]
            self.chip_vlans[vlan] = (0, 0)
            self.tag_ports()
        if vlan in self.indices:
            self.engine_vlans[self.indices.pop(vlan)] = (vlan, 0, 0, "")
            self.addresses = {entry for entry in self.addresses if entry[0] != vlan}
        self.interfaces.discard((row["interfaceName"], vlan))
        self.records.discard(vlan)

    def claim(self, vlan, row):
        untagged = ports_of(row["untagMap"])
        for others in self.claims.values():
            others -= untagged
        self.claims[vlan] = set(untagged)
        self.tag_ports()

    def tag_ports(self):
        claimed = {port: vlan for vlan, ports in self.claims.items() for port in ports}
        self.port_vlan.update((port, vlan) for port, vlan in claimed.items()
                              if port in self.port_vlan)
        for port, vlan in self.port_vlan.items():
            self.pvid[port] = vlan
            self.drops_untagged[port] = int(port not in claimed)

    def chip_write(self, vlan, row):
        members = ports_of(row["fwdMap"])
        if members:
            outside = not row["inSwitchOnly"] and row["interfaceName"] == "eth0"
            members |= {4 if outside else 0}
        self.chip_vlans[vlan] = (mask(members), mask(ports_of(row["untagMap"])))

    def engine_members(self, row):
        wanted = {port + 1 for port in ports_of(row["fwdMap"])}
        return mask({port for port, below in self.engine_ports.items() if below & wanted})

    def engine_write(self, vlan, row):
        members, parent = self.engine_members(row), row["interfaceName"]
        if members:
            entry = (vlan, int(parent == "eth1"), members | CPU, MAC[parent])
            self.addresses.add((vlan, MAC[parent]))
        else:
            entry = (vlan, 0, 0, "")
            self.addresses = {entry for entry in self.addresses if entry[0] != vlan}
        self.engine_vlans[self.indices[vlan]] = entry

    # --- commands -----------------------------------------------------------

    def rate_limit(self, port, rate):
        """`rate` in kbit/s, None to remove the limit."""
        if rate is None:
            self.rates[port] = (0, 0)
        elif 64 <= rate <= 8128:
            self.rates[port] = (rate // 64, 0)
        elif rate <= 130048:
            self.rates[port] = (rate // 1024, 1)
        else:
            self.rates[port] = (rate // 10240, 2)

    def schedule(self, port, queues, mode, weights):
        """`port` is None for every port."""
        self.queue_code = {1: 0, 2: 1, 4: 2}[queues]
        exponents = [weight.bit_length() - 1 for weight in weights]
        for number in self.engine_ports if port is None else [port]:
            self.queues[number] = ({0: 1, 1: 0, 3: 2}[mode], exponents)

    def send_after_start(self, ports):
        """What no start sends, and 'swctl recover' does after it."""
        for row in ports:
            weights = [row[f"queue{number}Weight"] for number in range(1, 5)]
            queues = (row["numQueues"], row["schedMode"], weights)
            if row["switchName"] == "PSE" and row["rateLimit"]:
                self.rate_limit(row["portNumber"], row["rateLimit"])
            if row["switchName"] == "PSE" and queues != (4, 0, [1, 1, 1, 1]):
                self.schedule(row["portNumber"], *queues)

    # --- comparison ---------------------------------------------------------

    def tables(self):
        return {
            "chip VLANs": self.chip_vlans,
            "chip PVIDs": self.pvid,
            "chip non-802.1Q": self.drops_untagged,
            "chip 802.1Q mode": self.vlan_mode,
            "engine VLANs": self.engine_vlans,
            "engine addresses": self.addresses,
            "engine trust": self.trust,
            "engine rates": self.rates,
            "engine queues": self.queues,
            "engine queue code": self.queue_code,
            "engine rate limiter": self.rate_limiter,
            "engine registers": self.registers,
            "sub-interfaces": self.interfaces,
            "uptime records": self.records,
        }

    def differences(self, gateway):
        """Lines that say where the gateway differs; none if it does not."""
        found = held_tables(gateway.chip(), gateway.engine(), gateway.uptime_records())
        return [f"{name}: expected {wanted}, found {found[name]}"
                for name, wanted in self.tables().items() if wanted != found[name]]


def held_tables(chip, engine, records):
    """What was read from the hardware, in the form of Expected.tables()."""
    ports = engine["ports"]
    for vlan in engine["vlans"]:
        if vlan["etagMap"] != vlan["mbMap"]:
            raise AssertionError(f"members that are not tagged: {vlan}")
    for entry in engine["arl"]:
        if (entry["portMap"], entry["flag"]) != (CPU, 1):
            raise AssertionError(f"not an address of the CPU port: {entry}")
    for interface in engine["interfaces"]:
        if (interface["up"], interface["ingress"], interface["egress"][:8]) != \
                (1, IDENTITY, IDENTITY):
            raise AssertionError(f"a sub-interface that is not set up: {interface}")
    return {
        "chip VLANs": {vlan["vlan"]: (vlan["fwdMap"], vlan["untagMap"]) for vlan in chip["vlans"]},
        "chip PVIDs": {port["port"]: port["pvid"] for port in chip["ports"]},
        "chip non-802.1Q": {port["port"]: port["non8021q"] for port in chip["ports"]},
        "chip 802.1Q mode": chip["vlanMode"],
        "engine VLANs": {vlan["index"]: (vlan["vlan"], vlan["isWan"], vlan["mbMap"], vlan["mac"])
                         for vlan in engine["vlans"]},
        "engine addresses": {(entry["vlan"], entry["mac"]) for entry in engine["arl"]},
        "engine trust": {port["port"]: port["trustFlag"] for port in ports
                         if port["trustFlag"] is not None},
        "engine rates": {port["port"]: (port["rate"]["value"], port["rate"]["unit"])
                         for port in ports if port["rate"]},
        "engine queues": {port["port"]: (port["queues"]["mode"], port["queues"]["weights"])
                          for port in ports if port["queues"]},
        "engine queue code": engine["queueCode"],
        "engine rate limiter": engine["rateLimiter"],
        "engine registers": engine["registers"],
        "sub-interfaces": {(way["parent"], way["vlan"]) for way in engine["interfaces"]},
        "uptime records": set(records),
    }
