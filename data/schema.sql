-- The configuration database of the switch manager. Columns are found by name,
-- so their order does not matter and further columns do no harm; the order of
-- rows does: rows are applied as they were inserted.
--
-- A NULL reads as 0 or as an empty text.

-- One row per switch.
CREATE TABLE IF NOT EXISTS swGlobalCfg (
    id                  INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never used again
    switchName          TEXT NOT NULL,      -- 'PSE' or 'BCM', which names the backend too
    switchDevice        TEXT,               -- device node of the chip, up to 127 characters
    vlanEnable          INTEGER DEFAULT 0,  -- 802.1Q: 0 off, 1 on
    qosEnable           INTEGER DEFAULT 0,  -- 0 off, 1 on
    numPorts            INTEGER DEFAULT 0,
    pauseFrameEnable    INTEGER DEFAULT 0,  -- 1 on, otherwise off
    igmpSnoopingEnable  INTEGER DEFAULT 0,  -- 0 off, 1 on
    mldSnoopingEnable   INTEGER DEFAULT 0,  -- 0 off, 1 on
    switchLevel         INTEGER DEFAULT 0   -- the switch with the highest level is the top one
);

-- One row per port. Ports that others are mapped onto come first.
CREATE TABLE IF NOT EXISTS swPortConfig (
    id             INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never used again
    switchName     TEXT NOT NULL,      -- switch that has the port
    portNumber     INTEGER NOT NULL,   -- number of the port on that switch
    PVID           INTEGER DEFAULT 1,  -- unless a VLAN is untagged on the port
    portType       INTEGER DEFAULT 0,
    mirroring      INTEGER DEFAULT 0,
    trustMode      INTEGER DEFAULT 0,  -- 0 to 4
    interfaceName  TEXT,               -- up to 63 characters
    phyDevice      TEXT,               -- mapping, for example 'BCM:3,BCM:4'; up to 63 characters
    rateLimit      INTEGER DEFAULT 0,  -- kbit/s
    schedMode      INTEGER DEFAULT 0,  -- 0, 1 or 3
    numQueues      INTEGER DEFAULT 4,  -- 1, 2 or 4
    queue1Weight   INTEGER DEFAULT 1,
    queue2Weight   INTEGER DEFAULT 1,
    queue3Weight   INTEGER DEFAULT 1,
    queue4Weight   INTEGER DEFAULT 1
);

-- One row per VLAN.
CREATE TABLE IF NOT EXISTS vlanEncapIf (
    id             INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never used again
    vlanId         INTEGER NOT NULL,   -- 1 to 4094
    interfaceName  TEXT,               -- Linux interface of the sub-interface, up to 63
    LogicalIfName  TEXT,               -- up to 63 characters
    fwdMap         TEXT,               -- member ports, for example '0,1,2'; up to 511 characters
    untagMap       TEXT,               -- ports that send the VLAN untagged, likewise
    ingressMap     TEXT,               -- carried, not interpreted; up to 511 characters
    egressMap      TEXT,               -- likewise
    inSwitchOnly   INTEGER DEFAULT 0   -- not 0: the VLAN stays inside the switches
);
