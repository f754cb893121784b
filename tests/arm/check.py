#!/usr/bin/env python3
"""Compares the state of the guest after each step with its database.

    check.py REPORT

REPORT is the folder that tests/arm/guest.sh has collected. The expected state is
computed from the rows, with the model of the end-to-end tests.
"""
import json
import pathlib
import re
import sqlite3
import sys

if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
    print(__doc__)
    sys.exit(0 if sys.argv[1:] == ["--help"] else 2)

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "e2e"))
from expected import Expected, held_tables

IDENTITY = {n: n for n in range(8)}
CAP_NET_ADMIN_ALONE = 1 << 12

problems = []


def same(step, what, found, wanted):
    if found != wanted:
        problems.append(f"{step}: {what} is {found}, not {wanted}")


def rows_of(folder):
    """The rows of the three tables, in order."""
    database = sqlite3.connect(f"file:{folder / 'config.db'}?mode=ro", uri=True)
    database.row_factory = sqlite3.Row
    rows = [[dict(row) for row in database.execute(f"SELECT * FROM {table} ORDER BY rowid")]
            for table in ("swGlobalCfg", "swPortConfig", "vlanEncapIf")]
    database.close()
    return rows


def changed(expected, before, after):
    """The changes that guest.sh makes, in order."""
    old, new = ({row["vlanId"]: row for row in rows} for rows in (before, after))
    expected.add(new[30])
    expected.add(new[4094])
    expected.update(old[10], new[10])
    expected.delete(old[20])
    expected.update(old[200], new[200])
    expected.rate_limit(2, 640)
    expected.schedule(3, 4, 1, [1, 2, 4, 8])
    expected.rate_limit(1, 20000 * 50 // 100)


def check_hardware(step, folder, expected):
    chip, engine = (json.loads((folder / f"{name}.json").read_text())
                    for name in ("chip", "engine"))
    same(step, "requests refused by the chip", chip["refused"], 0)
    uptimes = {int(path.name.split(".")[1]): int(path.read_text())
               for path in (folder / "uptime").iterdir()}
    found = held_tables(chip, engine, uptimes)
    found["sub-interfaces"] = check_interfaces(step, folder)
    for name, wanted in expected.tables().items():
        same(step, name, found[name], wanted)
    now = float((folder / "now").read_text().split()[0])
    for vlan, uptime in uptimes.items():
        same(step, f"whether {uptime} lies before {now}, for VLAN {vlan}", 0 < uptime <= now, True)


def check_interfaces(step, folder):
    """Returns the kernel's sub-interfaces: parents and ids."""
    lines = (folder / "vlan-config").read_text().splitlines()[2:]
    names = {tuple(part.strip() for part in line.split("|")) for line in lines}
    for name, _, _ in names:
        text = (folder / "vlan" / name).read_text()
        for way in ("INGRESS", "EGRESS"):
            line = re.search(f"{way} priority mappings: (.*)", text).group(1)
            pairs = dict(tuple(map(int, pair.split(":"))) for pair in line.split())
            same(step, f"{way} map of {name}", pairs, IDENTITY)
        same(step, f"state of {name}", int(text.splitlines()[-1], 16) & 1, 1)
    return {(parent, int(vlan)) for _, vlan, parent in names}


def check_process(step, folder):
    """Returns the memory that the service uses, in kB."""
    status = dict(line.split(":\t", 1) for line in (folder / "process").read_text().splitlines()
                  if ":\t" in line)
    for kind in ("CapPrm", "CapEff", "CapBnd"):
        same(step, kind, int(status[kind], 16), CAP_NET_ADMIN_ALONE)
    same(step, "NoNewPrivs", status["NoNewPrivs"], "1")
    return int(re.search(r"Pss: *(\d+) kB", (folder / "memory").read_text()).group(1))


def main():
    report = pathlib.Path(sys.argv[1])
    expected = Expected()
    vlans = []
    for step in ("start", "changed", "killed", "power"):
        rows, before = rows_of(report / step), vlans
        vlans = rows[2]
        if step == "changed":
            changed(expected, before, vlans)
        else:
            if step == "power":
                expected = Expected()
            expected.start(*rows)
            expected.send_after_start(rows[1])
        check_hardware(step, report / step, expected)
        memory = check_process(step, report / step)
        print(f"    {step}: {len(vlans)} VLANs compared, swmgrd takes {memory} kB (PSS)")
    print("\n".join(problems) or "    everything is as the databases say")
    sys.exit(bool(problems))


main()
