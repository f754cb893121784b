-- A packet switch engine on top of a five-port chip: three ports of a home network
-- on eth0, one of an uplink on eth1.
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
