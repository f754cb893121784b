-- A switch that Linux drives, as in common routers: four LAN ports and WAN.
INSERT INTO swGlobalCfg (switchName, switchDevice, vlanEnable, qosEnable, numPorts,
                         pauseFrameEnable, igmpSnoopingEnable, mldSnoopingEnable, switchLevel)
VALUES ('BRIDGE', 'br0', 1, 0, 5, 0, 1, 1, 1);

INSERT INTO swPortConfig (switchName, portNumber, PVID, trustMode, interfaceName)
VALUES ('BRIDGE', 0, 1, 0, 'lan1'),
       ('BRIDGE', 1, 1, 0, 'lan2'),
       ('BRIDGE', 2, 1, 0, 'lan3'),
       ('BRIDGE', 3, 1, 0, 'lan4'),
       ('BRIDGE', 4, 1, 0, 'wan');
