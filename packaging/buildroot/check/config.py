#!/usr/bin/python3
"""Reads the package's Config.in against a stub of the symbols that it names.

    config.py EXTERNAL

Turns every option of the package on, then checks that the symbols it selects are set;
fails on an undefined symbol and on any warning of the parser.
"""
import os
import pathlib
import sys

if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
    print(__doc__)
    sys.exit(0 if sys.argv[1:] == ["--help"] else 2)
import kconfiglib  # after the help, which does not need it

ALLOWED = {"MODULES", "UNAME_RELEASE"}  # the parser's own
SELECTED = ["BR2_PACKAGE_SQLITE", "BR2_PACKAGE_CLI11", "BR2_PACKAGE_JSON_FOR_MODERN_CPP"]

external = pathlib.Path(sys.argv[1]).resolve()
os.environ["EXTERNAL"] = os.environ["BR2_EXTERNAL_SWMGR_PATH"] = str(external)
stub = pathlib.Path(__file__).with_name("Config.stub")
config = kconfiglib.Kconfig(str(stub), warn_to_stderr=False)

problems = list(config.warnings)
problems += [
    f"{symbol.name} is used and not defined"
    for symbol in config.syms.values()
    if not symbol.nodes and not symbol.is_constant and symbol.name not in ALLOWED
]
for name, symbol in config.syms.items():
    if symbol.type == kconfiglib.STRING:
        if symbol.str_value != "":
            problems.append(f"{name} is set without being asked for")
    elif name.startswith("BR2_PACKAGE_SWMGR"):
        symbol.set_value(2)
        if symbol.str_value != "y":
            problems.append(f"{name} cannot be turned on")
for name in SELECTED:
    if config.syms[name].str_value != "y":
        problems.append(f"{name} does not follow from the package")
config.syms["BR2_STATIC_LIBS"].set_value(2)
if config.syms["BR2_PACKAGE_SWMGR"].str_value != "n":
    problems.append("the package can be turned on where it cannot be built")
print("\n".join(problems), end="\n" if problems else "")
sys.exit(bool(problems))
