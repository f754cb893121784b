#!/usr/bin/env python3
"""Compares what the virtual gateway held after each step with its database.

    check.py REPORT

REPORT is the folder that tests/arm/guest.sh has collected. What must be there is
worked out here from the rows alone, without any code of the service.
"""
import json
import pathlib
import re
import sqlite3
import sys

ADDRESS = {"eth0": "02:00:00:00:00:10", "eth1": "02:00:00:00:00:11"}
WAN = "eth1"
ENGINE_CPU_BIT = 1 << 2
CHIP_PORTS = range(5)
IDENTITY = {n: n for n in range(8)}
CAP_NET_ADMIN_ALONE = 1 << 12

problems = []


def same(step, what, found, wanted):
    if found != wanted:
        problems.append(f"{step}: {what} is {found}, not {wanted}")


def port_bits(text):
    return sum(1 << int(port) for port in (text or "").split(",") if port)


class Expected:
    """What a database asks of kernel, chip and engine."""

    def __init__(self, path):
        database = sqlite3.connect(f"file:{path}?mode=ro", uri=True)
        database.row_factory = sqlite3.Row
        self.vlans = list(database.execute("SELECT * FROM vlanEncapIf ORDER BY rowid"))
        ports = list(database.execute("SELECT * FROM swPortConfig ORDER BY rowid"))
        switches = {row["switchName"]: row for row in database.execute("SELECT * FROM swGlobalCfg")}
        database.close()
        self.vlan_mode = switches["BCM"]["vlanEnable"] == 1
        self.rate_limiter = switches["PSE"]["qosEnable"]
        # Of several VLANs that claim a port untagged, the last one gets it.
        self.pvid = {row["portNumber"]: row["PVID"] for row in ports if row["switchName"] == "BCM"}
        self.untagged = 0
        for vlan in self.vlans:
            bits = port_bits(vlan["untagMap"])
            self.untagged |= bits
            self.pvid.update({port: vlan["vlanId"] for port in CHIP_PORTS if bits >> port & 1})
        # The engine counts the chip's ports from one.
        self.engine_ports = {
            row["portNumber"]: sum(
                1 << int(entry.split(":")[1]) - 1 for entry in row["phyDevice"].split(",")
            )
            for row in ports
            if row["switchName"] == "PSE"
        }

    def chip_vlans(self):
        entries = {}
        for vlan in self.vlans:
            forward = port_bits(vlan["fwdMap"])
            cpu = 4 if vlan["interfaceName"] == "eth0" and not vlan["inSwitchOnly"] else 0
            forward |= 1 << cpu if forward else 0
            entries[vlan["vlanId"]] = (forward, port_bits(vlan["untagMap"]))
        return entries

    def engine_vlan(self, vlan):
        lower = port_bits(vlan["fwdMap"])
        members = sum(1 << port for port, bits in self.engine_ports.items() if lower & bits)
        if members == 0:
            return (0, 0, 0, "")
        members |= ENGINE_CPU_BIT
        parent = vlan["interfaceName"]
        return (int(parent == WAN), members, members, ADDRESS[parent])

    def engine_vlans(self):
        return {vlan["vlanId"]: self.engine_vlan(vlan) for vlan in self.vlans}

    def addresses(self):
        return {
            (vlan_id, entry[3], ENGINE_CPU_BIT, 1)
            for vlan_id, entry in self.engine_vlans().items()
            if entry[1]
        }

    def interfaces(self):
        return {f"{row['interfaceName']}.{row['vlanId']}": row for row in self.vlans}


def check_chip(step, folder, expected):
    chip = json.loads((folder / "chip.json").read_text())
    same(step, "802.1Q of the chip", bool(chip["vlanMode"]), expected.vlan_mode)
    same(step, "requests refused by the chip", chip["refused"], 0)
    found = {entry["vlan"]: (entry["fwdMap"], entry["untagMap"]) for entry in chip["vlans"]}
    wanted = expected.chip_vlans()
    # A deleted VLAN keeps an entry without members.
    for vlan_id in found.keys() | wanted.keys():
        same(step, f"chip entry {vlan_id}", found.get(vlan_id), wanted.get(vlan_id, (0, 0)))
    for port in chip["ports"]:
        number = port["port"]
        same(step, f"PVID of chip port {number}", port["pvid"], expected.pvid[number])
        tagged_only = int(not expected.untagged >> number & 1)
        same(step, f"non-802.1Q of chip port {number}", port["non8021q"], tagged_only)


def check_engine(step, folder, expected):
    engine = json.loads((folder / "engine.json").read_text())
    same(step, "rate limiter", engine["rateLimiter"], expected.rate_limiter)
    # Hardware that was kept over a restart may hold a VLAN at two indices; they
    # must say the same.
    wanted = expected.engine_vlans()
    for entry in engine["vlans"]:
        found = (entry["isWan"], entry["etagMap"], entry["mbMap"], entry["mac"])
        absent = (0, 0, 0, "")
        same(step, f"engine entry {entry['vlan']}", found, wanted.get(entry["vlan"], absent))
    present = {entry["vlan"] for entry in engine["vlans"]}
    same(step, "VLANs missing in the engine", wanted.keys() - present, set())
    found = {(e["vlan"], e["mac"], e["portMap"], e["flag"]) for e in engine["arl"]}
    same(step, "address table", found, expected.addresses())
    return engine


def check_kernel(step, folder, expected):
    wanted = expected.interfaces()
    lines = (folder / "vlan-config").read_text().splitlines()[2:]
    found = {tuple(part.strip() for part in line.split("|")) for line in lines}
    rows = {(name, str(r["vlanId"]), r["interfaceName"]) for name, r in wanted.items()}
    same(step, "sub-interfaces", found, rows)
    for name in wanted.keys() & {path.name for path in (folder / "vlan").iterdir()}:
        text = (folder / "vlan" / name).read_text()
        for way in ("INGRESS", "EGRESS"):
            line = re.search(f"{way} priority mappings: (.*)", text).group(1)
            pairs = dict(tuple(map(int, pair.split(":"))) for pair in line.split())
            same(step, f"{way} map of {name}", pairs, IDENTITY)
        up = int(text.splitlines()[-1], 16) & 1
        same(step, f"state of {name}", up, 1)
    records = {path.name: int(path.read_text()) for path in (folder / "uptime").iterdir()}
    names = {f"VLAN.{row['vlanId']}.Uptime" for row in expected.vlans}
    same(step, "uptime records", records.keys(), names)
    now = float((folder / "now").read_text().split()[0])
    for name, uptime in records.items():
        if not 0 < uptime <= now:
            problems.append(f"{step}: {name} says {uptime} at {now}")


def check_process(step, folder):
    status = dict(
        line.split(":\t", 1) for line in (folder / "process").read_text().splitlines()
        if ":\t" in line
    )
    for kind in ("CapPrm", "CapEff", "CapBnd"):
        same(step, kind, int(status[kind], 16), CAP_NET_ADMIN_ALONE)
    same(step, "NoNewPrivs", status["NoNewPrivs"], "1")
    memory = re.search(r"Pss: *(\d+) kB", (folder / "memory").read_text())
    return int(memory.group(1))


def main():
    report = pathlib.Path(sys.argv[1])
    for step in ("start", "changed", "killed", "power"):
        folder = report / step
        expected = Expected(folder / "config.db")
        check_chip(step, folder, expected)
        engine = check_engine(step, folder, expected)
        check_kernel(step, folder, expected)
        memory = check_process(step, folder)
        print(f"    {step}: {len(expected.vlans)} VLANs compared, swmgrd takes {memory} kB (PSS)")
        if step == "changed":
            ports = {port["port"]: port for port in engine["ports"]}
            same(step, "rate of engine port 2", ports[2]["rate"], {"value": 10, "unit": 0})
            same(step, "rate of the upstream port", ports[1]["rate"], {"value": 9, "unit": 1})
            same(step, "queues of engine port 3", ports[3]["queues"]["weights"], [0, 1, 2, 3])
    indices = {entry["index"]: entry["vlan"] for entry in engine["vlans"]}
    wanted = {4 + place: row["vlanId"] for place, row in enumerate(expected.vlans)}
    same("power", "indices of the engine's VLANs", indices, wanted)
    print("\n".join(problems) or "    everything is as the databases say")
    sys.exit(bool(problems))


main()
