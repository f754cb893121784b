-- A gateway with a packet switch engine on top of a five-port chip: a home
-- network on eth0, an uplink on eth1 and a VLAN that only the switches know.
--
-- Port lists contain port numbers of the chip. The engine counts the ports below it from
-- one: number n in a list means the engine port that is mapped onto BCM:n+1.
BEGIN;

INSERT INTO swGlobalCfg (switchName, switchDevice, vlanEnable, qosEnable, numPorts,
                         pauseFrameEnable, igmpSnoopingEnable, mldSnoopingEnable, switchLevel)
VALUES ('BCM', '/dev/bcmsw', 1, 0, 5, 0, 0, 0, 1),
       ('PSE', NULL,         1, 1, 4, 1, 1, 1, 2);

-- The chip's ports come first: the engine's ports are mapped onto them.
INSERT INTO swPortConfig (switchName, portNumber, PVID, trustMode, interfaceName, phyDevice,
                          schedMode, numQueues,
                          queue1Weight, queue2Weight, queue3Weight, queue4Weight)
VALUES ('BCM', 0, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 1, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 2, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 3, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 4, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('PSE', 1, 1, 0, 'eth0', 'BCM:1', 0, 4, 1, 2, 4, 8),
       ('PSE', 2, 1, 0, 'eth0', 'BCM:2', 0, 4, 1, 2, 4, 8),
       ('PSE', 3, 1, 1, 'eth0', 'BCM:3', 0, 4, 1, 2, 4, 8),
       ('PSE', 4, 1, 2, 'eth1', 'BCM:4', 0, 4, 1, 2, 4, 8);

INSERT INTO vlanEncapIf (vlanId, interfaceName, LogicalIfName, fwdMap, untagMap, inSwitchOnly)
VALUES (10,  'eth0', 'home',   '0,1,2',   '0,1', 0), -- port 2 tagged
       (20,  'eth0', 'guests', '1,2,3',   '2',   0),
       (100, 'eth1', 'uplink', '1,2,3',   '3',   0),
       (200, 'eth1', 'voice',  '1,3',     NULL,  0), -- tagged everywhere
       (300, 'eth0', 'mirror', '1,2',     NULL,  1); -- stays inside the switches

-- The sample puts the engine's ports one beside the chip's on purpose.
CREATE TABLE swctlAccepted (rule TEXT PRIMARY KEY);
INSERT INTO swctlAccepted VALUES ('shifted-ports');

COMMIT;
