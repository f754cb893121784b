-- The configuration database of the switch manager. Columns are found by name,
-- so their order does not matter and extra columns are ignored; the order of
-- rows does matter: rows are applied in the order of insertion.
--
-- A NULL reads as 0 or as an empty text.

-- One row per switch.
CREATE TABLE IF NOT EXISTS swGlobalCfg (
    id                  INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never reused
    switchName          TEXT NOT NULL,     -- 'PSE', 'BCM' or 'BRIDGE', which names the backend too; up to 63 characters
    switchLevel         INTEGER DEFAULT 0, -- the switch with the highest level is the top one; 0 and more
    switchDevice        TEXT,              -- device node of the chip, name of a bridge; up to 127 characters
    numPorts            INTEGER DEFAULT 0, -- kept; the rows of the ports count; 0 to 32
    vlanEnable          INTEGER DEFAULT 0, -- 802.1Q: 0 off, 1 on
    qosEnable           INTEGER DEFAULT 0, -- 0 off, 1 on
    pauseFrameEnable    INTEGER DEFAULT 0, -- 1 on, otherwise off
    igmpSnoopingEnable  INTEGER DEFAULT 0, -- 0 off, 1 on
    mldSnoopingEnable   INTEGER DEFAULT 0  -- 0 off, 1 on
);

-- One row per port. Ports that others are mapped onto come first.
CREATE TABLE IF NOT EXISTS swPortConfig (
    id                  INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never reused
    switchName          TEXT NOT NULL,     -- switch that has the port; up to 63 characters
    portNumber          INTEGER NOT NULL,  -- number of the port on that switch; 0 to 31
    interfaceName       TEXT,              -- network interface of the port; up to 63 characters
    phyDevice           TEXT,              -- mapping, for example 'BCM:3,BCM:4'; up to 63 characters
    portType            INTEGER DEFAULT 0, -- kept, not used
    PVID                INTEGER DEFAULT 1, -- unless a VLAN is untagged on the port; 0 to 4094
    mirroring           INTEGER DEFAULT 0, -- kept, not used
    trustMode           INTEGER DEFAULT 0, -- field that decides the priority; 0 to 4
    rateLimit           INTEGER DEFAULT 0, -- kbit/s; 0 to 1300480
    schedMode           INTEGER DEFAULT 0, -- scheduling of the queues; 0, 1 and 3
    numQueues           INTEGER DEFAULT 4, -- egress queues; 1, 2 and 4
    queue1Weight        INTEGER DEFAULT 1, -- share of queue 1; 1 and more
    queue2Weight        INTEGER DEFAULT 1, -- share of queue 2; 1 and more
    queue3Weight        INTEGER DEFAULT 1, -- share of queue 3; 1 and more
    queue4Weight        INTEGER DEFAULT 1  -- share of queue 4; 1 and more
);

-- One row per VLAN.
CREATE TABLE IF NOT EXISTS vlanEncapIf (
    id                  INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never reused
    vlanId              INTEGER NOT NULL,  -- 802.1Q VLAN id; 1 to 4094
    interfaceName       TEXT,              -- Linux interface of the sub-interface; up to 63 characters
    LogicalIfName       TEXT,              -- logical interface name; up to 63 characters
    fwdMap              TEXT,              -- member ports, for example '0,1,2'; up to 511 characters
    untagMap            TEXT,              -- ports that send the VLAN untagged; up to 511 characters
    inSwitchOnly        INTEGER DEFAULT 0, -- not 0: the VLAN stays inside the switches
    ingressMap          TEXT,              -- carried, not interpreted; up to 511 characters
    egressMap           TEXT               -- likewise; up to 511 characters
);
