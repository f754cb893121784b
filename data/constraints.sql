-- Triggers that refuse what 'swctl check' calls an error in a row, as far as SQL
-- can tell: a guard against writers that do not check. Optional; each message
-- begins with the rule, which 'swctl check --explain RULE' explains.
--
-- Only the row that is written is looked at. What other rows lose when a port or
-- a switch is deleted or renamed is found by 'swctl check'.
--
-- Made by 'swctl check --triggers'. Taken out again by DROP TRIGGER.
BEGIN;

DROP TRIGGER IF EXISTS swGlobalCfg_inserted;
CREATE TRIGGER swGlobalCfg_inserted AFTER INSERT ON swGlobalCfg
BEGIN
    SELECT RAISE(ABORT, 'text-too-long: swGlobalCfg.switchName holds at most 63 bytes')
    WHERE length(CAST(NEW.switchName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'text-too-long: swGlobalCfg.switchDevice holds at most 127 bytes')
    WHERE length(CAST(NEW.switchDevice AS BLOB)) > 127;
    SELECT RAISE(ABORT, 'value-range: swGlobalCfg.vlanEnable takes 0 and 1')
    WHERE CAST(CAST(ifnull(NEW.vlanEnable, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 1;
    SELECT RAISE(ABORT, 'value-range: swGlobalCfg.qosEnable takes 0 and 1')
    WHERE CAST(CAST(ifnull(NEW.qosEnable, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 1;
    SELECT RAISE(ABORT, 'switch-unknown-name: no backend drives a switch of this name')
    WHERE ifnull(NEW.switchName, '') NOT IN ('BCM', 'PSE', 'BRIDGE');
    SELECT RAISE(ABORT, 'switch-duplicate: two rows describe one switch')
    WHERE EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.rowid <> NEW.rowid
      AND o.switchName = NEW.switchName);
    SELECT RAISE(ABORT, 'switch-device-missing: the chip has no device node')
    WHERE NEW.switchName = 'BCM' AND ifnull(NEW.switchDevice, '') = '';
END;

DROP TRIGGER IF EXISTS swGlobalCfg_updated;
CREATE TRIGGER swGlobalCfg_updated AFTER UPDATE ON swGlobalCfg
BEGIN
    SELECT RAISE(ABORT, 'text-too-long: swGlobalCfg.switchName holds at most 63 bytes')
    WHERE length(CAST(NEW.switchName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'text-too-long: swGlobalCfg.switchDevice holds at most 127 bytes')
    WHERE length(CAST(NEW.switchDevice AS BLOB)) > 127;
    SELECT RAISE(ABORT, 'value-range: swGlobalCfg.vlanEnable takes 0 and 1')
    WHERE CAST(CAST(ifnull(NEW.vlanEnable, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 1;
    SELECT RAISE(ABORT, 'value-range: swGlobalCfg.qosEnable takes 0 and 1')
    WHERE CAST(CAST(ifnull(NEW.qosEnable, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 1;
    SELECT RAISE(ABORT, 'switch-unknown-name: no backend drives a switch of this name')
    WHERE ifnull(NEW.switchName, '') NOT IN ('BCM', 'PSE', 'BRIDGE');
    SELECT RAISE(ABORT, 'switch-duplicate: two rows describe one switch')
    WHERE EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.rowid <> NEW.rowid
      AND o.switchName = NEW.switchName);
    SELECT RAISE(ABORT, 'switch-device-missing: the chip has no device node')
    WHERE NEW.switchName = 'BCM' AND ifnull(NEW.switchDevice, '') = '';
END;

DROP TRIGGER IF EXISTS swPortConfig_inserted;
CREATE TRIGGER swPortConfig_inserted AFTER INSERT ON swPortConfig
BEGIN
    SELECT RAISE(ABORT, 'text-too-long: swPortConfig.switchName holds at most 63 bytes')
    WHERE length(CAST(NEW.switchName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'text-too-long: swPortConfig.interfaceName holds at most 63 bytes')
    WHERE length(CAST(NEW.interfaceName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'interface-bad-name: swPortConfig.interfaceName takes letters, digits and _ . : @ -')
    WHERE NEW.switchName IN ('BRIDGE') AND NEW.interfaceName GLOB '*[^a-zA-Z0-9_.:@-]*';
    SELECT RAISE(ABORT, 'text-too-long: swPortConfig.phyDevice holds at most 63 bytes')
    WHERE length(CAST(NEW.phyDevice AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'value-range: swPortConfig.PVID takes 0 to 4094')
    WHERE CAST(CAST(ifnull(NEW.PVID, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 4094;
    SELECT RAISE(ABORT, 'value-range: swPortConfig.trustMode takes 0 to 4')
    WHERE CAST(CAST(ifnull(NEW.trustMode, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 4;
    SELECT RAISE(ABORT, 'port-without-switch: the switch of a port is not there')
    WHERE NOT EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName = NEW.switchName);
    SELECT RAISE(ABORT, 'port-duplicate: two rows describe one port')
    WHERE EXISTS (SELECT 1 FROM swPortConfig o WHERE o.rowid <> NEW.rowid
      AND o.switchName = NEW.switchName AND CAST(CAST(ifnull(o.portNumber, 0) AS TEXT) AS INTEGER) = CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER));
    SELECT RAISE(ABORT, 'port-number-range: the switch does not have this port')
    WHERE NEW.switchName = 'BCM' AND CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 4
      OR NEW.switchName = 'PSE' AND CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 7
      OR NEW.switchName = 'BRIDGE' AND CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 31;
    SELECT RAISE(ABORT, 'mapping-own-switch: a port is mapped onto its own switch')
    WHERE instr(',' || NEW.phyDevice, ',' || NEW.switchName || ':') > 0;
    SELECT RAISE(ABORT, 'mapping-nowhere: a port is mapped onto a port that no row describes')
    WHERE NEW.phyDevice <> '' AND length(',' || replace(NEW.phyDevice, ',', ',,') || ',') <>
      (SELECT ifnull(sum(length(m.t) - length(replace(m.t, ',' || p.e || ',', ''))), 0) FROM
      (SELECT DISTINCT switchName || ':' || portNumber AS e FROM swPortConfig) p,
      (SELECT ',' || replace(NEW.phyDevice, ',', ',,') || ',' AS t) m);
    SELECT RAISE(ABORT, 'mapping-later-row: a port is mapped onto a port of a later row')
    WHERE NEW.phyDevice <> '' AND length(',' || replace(NEW.phyDevice, ',', ',,') || ',') <>
      (SELECT ifnull(sum(length(m.t) - length(replace(m.t, ',' || p.e || ',', ''))), 0) FROM
      (SELECT DISTINCT switchName || ':' || portNumber AS e FROM swPortConfig WHERE rowid < NEW.rowid) p,
      (SELECT ',' || replace(NEW.phyDevice, ',', ',,') || ',' AS t) m);
    SELECT RAISE(ABORT, 'bridge-port-interface: a bridge port needs a network interface of its own')
    WHERE NEW.switchName = 'BRIDGE' AND (length(ifnull(NEW.interfaceName, '')) NOT BETWEEN 1 AND 15
      OR NEW.interfaceName LIKE '-%' OR EXISTS (SELECT 1 FROM swPortConfig o WHERE
      o.rowid <> NEW.rowid AND o.switchName = 'BRIDGE' AND
      o.interfaceName = NEW.interfaceName));
END;

DROP TRIGGER IF EXISTS swPortConfig_updated;
CREATE TRIGGER swPortConfig_updated AFTER UPDATE ON swPortConfig
BEGIN
    SELECT RAISE(ABORT, 'text-too-long: swPortConfig.switchName holds at most 63 bytes')
    WHERE length(CAST(NEW.switchName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'text-too-long: swPortConfig.interfaceName holds at most 63 bytes')
    WHERE length(CAST(NEW.interfaceName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'interface-bad-name: swPortConfig.interfaceName takes letters, digits and _ . : @ -')
    WHERE NEW.switchName IN ('BRIDGE') AND NEW.interfaceName GLOB '*[^a-zA-Z0-9_.:@-]*';
    SELECT RAISE(ABORT, 'text-too-long: swPortConfig.phyDevice holds at most 63 bytes')
    WHERE length(CAST(NEW.phyDevice AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'value-range: swPortConfig.PVID takes 0 to 4094')
    WHERE CAST(CAST(ifnull(NEW.PVID, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 4094;
    SELECT RAISE(ABORT, 'value-range: swPortConfig.trustMode takes 0 to 4')
    WHERE CAST(CAST(ifnull(NEW.trustMode, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 4;
    SELECT RAISE(ABORT, 'port-without-switch: the switch of a port is not there')
    WHERE NOT EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName = NEW.switchName);
    SELECT RAISE(ABORT, 'port-duplicate: two rows describe one port')
    WHERE EXISTS (SELECT 1 FROM swPortConfig o WHERE o.rowid <> NEW.rowid
      AND o.switchName = NEW.switchName AND CAST(CAST(ifnull(o.portNumber, 0) AS TEXT) AS INTEGER) = CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER));
    SELECT RAISE(ABORT, 'port-number-range: the switch does not have this port')
    WHERE NEW.switchName = 'BCM' AND CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 4
      OR NEW.switchName = 'PSE' AND CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 7
      OR NEW.switchName = 'BRIDGE' AND CAST(CAST(ifnull(NEW.portNumber, 0) AS TEXT) AS INTEGER) NOT BETWEEN 0 AND 31;
    SELECT RAISE(ABORT, 'mapping-own-switch: a port is mapped onto its own switch')
    WHERE instr(',' || NEW.phyDevice, ',' || NEW.switchName || ':') > 0;
    SELECT RAISE(ABORT, 'mapping-nowhere: a port is mapped onto a port that no row describes')
    WHERE NEW.phyDevice <> '' AND length(',' || replace(NEW.phyDevice, ',', ',,') || ',') <>
      (SELECT ifnull(sum(length(m.t) - length(replace(m.t, ',' || p.e || ',', ''))), 0) FROM
      (SELECT DISTINCT switchName || ':' || portNumber AS e FROM swPortConfig) p,
      (SELECT ',' || replace(NEW.phyDevice, ',', ',,') || ',' AS t) m);
    SELECT RAISE(ABORT, 'mapping-later-row: a port is mapped onto a port of a later row')
    WHERE NEW.phyDevice <> '' AND length(',' || replace(NEW.phyDevice, ',', ',,') || ',') <>
      (SELECT ifnull(sum(length(m.t) - length(replace(m.t, ',' || p.e || ',', ''))), 0) FROM
      (SELECT DISTINCT switchName || ':' || portNumber AS e FROM swPortConfig WHERE rowid < NEW.rowid) p,
      (SELECT ',' || replace(NEW.phyDevice, ',', ',,') || ',' AS t) m);
    SELECT RAISE(ABORT, 'bridge-port-interface: a bridge port needs a network interface of its own')
    WHERE NEW.switchName = 'BRIDGE' AND (length(ifnull(NEW.interfaceName, '')) NOT BETWEEN 1 AND 15
      OR NEW.interfaceName LIKE '-%' OR EXISTS (SELECT 1 FROM swPortConfig o WHERE
      o.rowid <> NEW.rowid AND o.switchName = 'BRIDGE' AND
      o.interfaceName = NEW.interfaceName));
END;

DROP TRIGGER IF EXISTS vlanEncapIf_inserted;
CREATE TRIGGER vlanEncapIf_inserted AFTER INSERT ON vlanEncapIf
BEGIN
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.interfaceName holds at most 63 bytes')
    WHERE length(CAST(NEW.interfaceName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'interface-bad-name: vlanEncapIf.interfaceName takes letters, digits and _ . : @ -')
    WHERE NEW.interfaceName GLOB '*[^a-zA-Z0-9_.:@-]*';
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.LogicalIfName holds at most 63 bytes')
    WHERE length(CAST(NEW.LogicalIfName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.fwdMap holds at most 511 bytes')
    WHERE length(CAST(NEW.fwdMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'list-text: fwdMap holds numbers with commas between')
    WHERE replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[^0-9,]*' OR replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*,0[0-9]*'
      OR instr(',' || NEW.fwdMap || ',', ', ,');
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.untagMap holds at most 511 bytes')
    WHERE length(CAST(NEW.untagMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'list-text: untagMap holds numbers with commas between')
    WHERE replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*[^0-9,]*' OR replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*,0[0-9]*'
      OR instr(',' || NEW.untagMap || ',', ', ,');
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.ingressMap holds at most 511 bytes')
    WHERE length(CAST(NEW.ingressMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.egressMap holds at most 511 bytes')
    WHERE length(CAST(NEW.egressMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'vlan-id-range: a VLAN id is outside 1 to 4094')
    WHERE CAST(CAST(ifnull(NEW.vlanId, 0) AS TEXT) AS INTEGER) NOT BETWEEN 1 AND 4094;
    SELECT RAISE(ABORT, 'vlan-duplicate: two rows describe one VLAN')
    WHERE EXISTS (SELECT 1 FROM vlanEncapIf o WHERE o.rowid <> NEW.rowid
      AND CAST(CAST(ifnull(o.vlanId, 0) AS TEXT) AS INTEGER) = CAST(CAST(ifnull(NEW.vlanId, 0) AS TEXT) AS INTEGER));
    SELECT RAISE(ABORT, 'interface-missing: a VLAN has no interface')
    WHERE ifnull(NEW.interfaceName, '') = '' AND CAST(CAST(ifnull(NEW.inSwitchOnly, 0) AS TEXT) AS INTEGER) = 0;
    SELECT RAISE(ABORT, 'interface-name-long: the name of the sub-interface is longer than 15 characters')
    WHERE NEW.interfaceName <> '' AND length(NEW.interfaceName || '.' || CAST(CAST(ifnull(NEW.vlanId, 0) AS TEXT) AS INTEGER)) > 15;
    SELECT RAISE(ABORT, 'port-missing: a port list names a port that the chip does not have')
    WHERE (replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[5-9]*' OR replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[0-9][0-9]*'
      OR replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*[5-9]*' OR replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*[0-9][0-9]*')
      AND (EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName = 'BCM')
      OR NOT EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName IN ('BRIDGE')));
    SELECT RAISE(ABORT, 'untag-without-membership: a port sends a VLAN untagged that it is no member of')
    WHERE EXISTS (SELECT 1 FROM (SELECT ',' || column1 || ',' AS e FROM (VALUES (0), (1), (2), (3), (4))) n
      WHERE instr(replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ','), n.e) AND NOT instr(replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ','), n.e)
      AND NOT (replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[0-9]*' AND n.e =
         CASE WHEN NEW.interfaceName = 'eth0' AND CAST(CAST(ifnull(NEW.inSwitchOnly, 0) AS TEXT) AS INTEGER) = 0 THEN ',4,' ELSE ',0,' END));
    SELECT RAISE(ABORT, 'untag-twice: a port sends two VLANs untagged')
    WHERE EXISTS (SELECT 1 FROM (SELECT ',' || column1 || ',' AS e FROM (VALUES (0), (1), (2), (3), (4))) n, vlanEncapIf o
      WHERE instr(replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ','), n.e) AND o.rowid <> NEW.rowid
      AND instr(replace(',' || ifnull(o.untagMap, '') || ',', ', ', ','), n.e));
END;

DROP TRIGGER IF EXISTS vlanEncapIf_updated;
CREATE TRIGGER vlanEncapIf_updated AFTER UPDATE ON vlanEncapIf
BEGIN
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.interfaceName holds at most 63 bytes')
    WHERE length(CAST(NEW.interfaceName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'interface-bad-name: vlanEncapIf.interfaceName takes letters, digits and _ . : @ -')
    WHERE NEW.interfaceName GLOB '*[^a-zA-Z0-9_.:@-]*';
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.LogicalIfName holds at most 63 bytes')
    WHERE length(CAST(NEW.LogicalIfName AS BLOB)) > 63;
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.fwdMap holds at most 511 bytes')
    WHERE length(CAST(NEW.fwdMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'list-text: fwdMap holds numbers with commas between')
    WHERE replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[^0-9,]*' OR replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*,0[0-9]*'
      OR instr(',' || NEW.fwdMap || ',', ', ,');
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.untagMap holds at most 511 bytes')
    WHERE length(CAST(NEW.untagMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'list-text: untagMap holds numbers with commas between')
    WHERE replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*[^0-9,]*' OR replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*,0[0-9]*'
      OR instr(',' || NEW.untagMap || ',', ', ,');
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.ingressMap holds at most 511 bytes')
    WHERE length(CAST(NEW.ingressMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'text-too-long: vlanEncapIf.egressMap holds at most 511 bytes')
    WHERE length(CAST(NEW.egressMap AS BLOB)) > 511;
    SELECT RAISE(ABORT, 'vlan-id-range: a VLAN id is outside 1 to 4094')
    WHERE CAST(CAST(ifnull(NEW.vlanId, 0) AS TEXT) AS INTEGER) NOT BETWEEN 1 AND 4094;
    SELECT RAISE(ABORT, 'vlan-duplicate: two rows describe one VLAN')
    WHERE EXISTS (SELECT 1 FROM vlanEncapIf o WHERE o.rowid <> NEW.rowid
      AND CAST(CAST(ifnull(o.vlanId, 0) AS TEXT) AS INTEGER) = CAST(CAST(ifnull(NEW.vlanId, 0) AS TEXT) AS INTEGER));
    SELECT RAISE(ABORT, 'interface-missing: a VLAN has no interface')
    WHERE ifnull(NEW.interfaceName, '') = '' AND CAST(CAST(ifnull(NEW.inSwitchOnly, 0) AS TEXT) AS INTEGER) = 0;
    SELECT RAISE(ABORT, 'interface-name-long: the name of the sub-interface is longer than 15 characters')
    WHERE NEW.interfaceName <> '' AND length(NEW.interfaceName || '.' || CAST(CAST(ifnull(NEW.vlanId, 0) AS TEXT) AS INTEGER)) > 15;
    SELECT RAISE(ABORT, 'port-missing: a port list names a port that the chip does not have')
    WHERE (replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[5-9]*' OR replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[0-9][0-9]*'
      OR replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*[5-9]*' OR replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ',') GLOB '*[0-9][0-9]*')
      AND (EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName = 'BCM')
      OR NOT EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName IN ('BRIDGE')));
    SELECT RAISE(ABORT, 'untag-without-membership: a port sends a VLAN untagged that it is no member of')
    WHERE EXISTS (SELECT 1 FROM (SELECT ',' || column1 || ',' AS e FROM (VALUES (0), (1), (2), (3), (4))) n
      WHERE instr(replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ','), n.e) AND NOT instr(replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ','), n.e)
      AND NOT (replace(',' || ifnull(NEW.fwdMap, '') || ',', ', ', ',') GLOB '*[0-9]*' AND n.e =
         CASE WHEN NEW.interfaceName = 'eth0' AND CAST(CAST(ifnull(NEW.inSwitchOnly, 0) AS TEXT) AS INTEGER) = 0 THEN ',4,' ELSE ',0,' END));
    SELECT RAISE(ABORT, 'untag-twice: a port sends two VLANs untagged')
    WHERE EXISTS (SELECT 1 FROM (SELECT ',' || column1 || ',' AS e FROM (VALUES (0), (1), (2), (3), (4))) n, vlanEncapIf o
      WHERE instr(replace(',' || ifnull(NEW.untagMap, '') || ',', ', ', ','), n.e) AND o.rowid <> NEW.rowid
      AND instr(replace(',' || ifnull(o.untagMap, '') || ',', ', ', ','), n.e));
END;

COMMIT;
