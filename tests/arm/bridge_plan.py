#!/usr/bin/python3
"""Makes random configurations of a bridge with four ports, and computes what frames must do.

    bridge_plan.py FOLDER COUNT SEED

Writes N.json, which 'swctl apply' takes, and N.frames, which swframes must print with the
hosts of simulator/bridge/hosts.sh. Everything is computed from the rows alone.
"""
import json
import pathlib
import random
import sys

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


def interface(tag):
    return f"eth0.{tag}" if tag else "eth0"


def frames(vlans):
    """Every frame that enters a VLAN is heard by its other members, and by nobody else."""
    lines = set()
    for vlan in vlans:
        number = vlan["vlanId"]
        tags = {port: 0 if port in ports(vlan["untagMap"]) else number
                for port in ports(vlan["fwdMap"])}
        # A member may send tagged frames, even if it receives the VLAN's frames untagged.
        for port, tag in {(port, sent) for port in tags for sent in (tags[port], number)}:
            asker = f"10.{tag}.0.{port + 1}"
            answering = {other: f"10.{tags[other]}.0.{other + 1}" for other in tags if other != port}
            lines |= {f"heard h{other + 1} {tags[other]} {asker}" for other in answering}
            if not vlan["inSwitchOnly"]:
                answering["gateway"] = f"10.{number}.0.254"
            for address in answering.values():
                lines.add(f"heard h{port + 1} {tags[port]} {address}")
                if tags[port] == tag:
                    lines.add(f"answer h{port + 1} {interface(tag)} {address}")
    return lines


if __name__ == "__main__":
    if len(sys.argv) != 4:
        print(__doc__)
        sys.exit(0 if sys.argv[1:] == ["--help"] else 2)
    folder, count, seed = pathlib.Path(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
    chosen = random.Random(seed)
    for step in range(1, count + 1):
        wanted = configuration(chosen)
        (folder / f"{step}.json").write_text(json.dumps({"vlans": wanted}))
        (folder / f"{step}.frames").write_text("".join(f"{line}\n" for line in sorted(frames(wanted))))
