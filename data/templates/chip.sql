-- A five-port chip alone.
INSERT INTO swGlobalCfg (switchName, switchDevice, vlanEnable, qosEnable, numPorts,
                         pauseFrameEnable, igmpSnoopingEnable, mldSnoopingEnable, switchLevel)
VALUES ('BCM', '/dev/bcmsw', 1, 0, 5, 0, 0, 0, 1);

INSERT INTO swPortConfig (switchName, portNumber, PVID, trustMode, interfaceName, phyDevice,
                          schedMode, numQueues,
                          queue1Weight, queue2Weight, queue3Weight, queue4Weight)
VALUES ('BCM', 0, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 1, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 2, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 3, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8),
       ('BCM', 4, 1, 0, NULL,   NULL,    0, 4, 1, 2, 4, 8);
