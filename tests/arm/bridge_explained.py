#!/usr/bin/python3
"""Follows each frame through the answers of 'swctl explain', and compares with what frames did.

    bridge_explained.py PLAN REPORT

PLAN has N.frames as bridge_plan.py wrote them, and the guest has verified them; REPORT has
N.explained, the answers to 'swctl explain vlan V port all --json' one after another.
"""
import json
import pathlib
import sys

from bridge_plan import VLANS, interface


def arrivals(fate):
    """Where a frame arrives, and with which tag."""
    return {port: 0 if port in fate["withoutTag"] else fate["vlan"] for port in fate["ports"]}


def frames(said):
    """`said` maps (VLAN, port) to what explain says."""
    lines = set()

    def fate(port, tag):
        if tag:
            return said[tag, port]["tagged"]
        answers = [said[vlan, port]["untagged"] for vlan in VLANS]
        assert answers[1:] == answers[:-1], answers
        return answers[0]

    def back(asker, tag, arrives, address):
        """An answer on its way to the host that asked with `tag`."""
        if arrives is not None:
            lines.add(f"heard h{asker + 1} {arrives} {address}")
            if arrives == tag:
                lines.add(f"answer h{asker + 1} {interface(tag)} {address}")

    for asker in range(4):
        for tag in (0, *VLANS):
            goes = fate(asker, tag)
            for other, arrives in arrivals(goes).items():
                lines.add(f"heard h{other + 1} {arrives} 10.{tag}.0.{asker + 1}")
                back(asker, tag, arrivals(fate(other, arrives)).get(asker),
                     f"10.{arrives}.0.{other + 1}")
            if goes["host"]:
                sends = said[goes["vlan"], asker]["sends"]
                back(asker, tag, {"tagged": goes["vlan"], "untagged": 0, None: None}[sends],
                     f"10.{goes['vlan']}.0.254")
    return lines


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print(__doc__)
        sys.exit(0 if sys.argv[1:] == ["--help"] else 2)
    plan, report = map(pathlib.Path, sys.argv[1:])
    steps = frames_seen = 0
    for file in sorted(plan.glob("*.frames")):
        answers = [one for line in (report / f"{file.stem}.explained").read_text().splitlines()
                   for one in json.loads(line)]
        assert all(one["outcome"] == "as wanted" and one["read"] for one in answers), answers
        explained = frames({(one["vlan"], one["port"]): one for one in answers})
        seen = set(file.read_text().splitlines())
        if explained != seen:
            sys.exit(f"configuration {file.stem}: explained, not seen: {sorted(explained - seen)}; "
                     f"seen, not explained: {sorted(seen - explained)}")
        steps += 1
        frames_seen += len(seen)
    assert steps
    print(f"swctl explain predicts exactly the {frames_seen} lines of {steps} configurations")
