#!/usr/bin/python3
"""Makes random configurations of a bridge with four ports, and says who must reach whom.

    bridge_plan.py FOLDER COUNT SEED

Writes N.json, which 'swctl apply' takes, and N.reach, a line "HOST INTERFACE ADDRESS" for
each question that must be answered: from the interface of that host for that address. A
host h has 10.0.0.h on eth0, without a tag, and 10.V.0.h on eth0.V; the gateway has
10.V.0.254 on br0.V. What is here is worked out from the rows alone.
"""
import json
import pathlib
import random
import sys

HOSTS = (1, 2, 3, 4)  # at the ports 0 to 3
VLANS = (10, 20, 30)


def configuration(pick):
    untagged_in = {port: pick.choice((*VLANS, None)) for port in range(4)}
    vlans = []
    for vlan in VLANS:
        members = {port for port in range(4) if pick.random() < 0.6}
        members |= {port for port in range(4) if untagged_in[port] == vlan}
        if members:
            vlans.append({
                "vlanId": vlan, "interfaceName": "br0",
                "fwdMap": ",".join(map(str, sorted(members))),
                "untagMap": ",".join(str(p) for p in sorted(members) if untagged_in[p] == vlan),
                "inSwitchOnly": int(pick.random() < 0.25)})
    return vlans


def ports(text):
    return {int(port) for port in text.split(",") if port}


def reach(vlans):
    """The VLAN that each interface of each host takes part in, then who shares one."""
    place = {}  # (host, interface): VLAN
    address = {}
    for vlan in vlans:
        number = vlan["vlanId"]
        for port in ports(vlan["fwdMap"]):
            untagged = port in ports(vlan["untagMap"])
            interface = "eth0" if untagged else f"eth0.{number}"
            place[port + 1, interface] = number
            address[port + 1, interface] = f"10.{0 if untagged else number}.0.{port + 1}"
    lines = set()
    for (host, interface), number in place.items():
        lines |= {f"{host} {interface} {address[other]}" for other, theirs in place.items()
                  if theirs == number and other[0] != host}
        lines |= {f"{host} {interface} 10.{number}.0.254" for vlan in vlans
                  if vlan["vlanId"] == number and not vlan["inSwitchOnly"]}
    return sorted(lines)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        print(__doc__)
        sys.exit(0 if sys.argv[1:] == ["--help"] else 2)
    folder, count, seed = pathlib.Path(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
    chosen = random.Random(seed)
    for step in range(1, count + 1):
        wanted = configuration(chosen)
        (folder / f"{step}.json").write_text(json.dumps({"vlans": wanted}))
        (folder / f"{step}.reach").write_text("".join(line + "\n" for line in reach(wanted)))
