# shellcheck shell=sh
# Runs on the guest, called by target/guest-test: the command lines about sub-interfaces,
# once by the programs and once by kernel requests. Their output, their statuses and what
# the kernel holds afterwards must be the same. Then a startup with $vlans VLANs, both ways.
set -eu
: "$vlans"
fail() { echo "FAILED: $*"; exit 1; }
hardware || fail "no hardware"

# What the kernel holds, without counters and interface numbers.
held() {
    cat /proc/net/vlan/config
    for entry in /proc/net/vlan/*.*; do
        [ -e "$entry" ] || continue
        grep -E 'VID|priority mappings|Device' "$entry"
        cat "/sys/class/net/${entry##*/}/flags"
    done
}
cat > /tmp/lines <<'END'
vconfig add eth0 10
vconfig add eth0 10
vconfig add eth9 10
vconfig add eth0 0
vconfig add eth0 4094
vconfig add eth0 4095
vconfig add eth0 4096
vconfig add eth0 65556
vconfig add eth0 -5
vconfig add eth0 010
vconfig add eth0 0x20
vconfig add eth0 ten
vconfig add lo 12
vconfig add eth0.10 20
vconfig add a-very-long-interface-name 10
vconfig add eth0
vconfig add eth0 10 11
ifconfig eth0.10 up
ifconfig eth0.10 up
/sbin/ifconfig eth0.4094 up
ifconfig eth0.77 up
ifconfig eth0.10.20 up
/sbin/vconfig set_ingress_map eth0.10 0 0
/sbin/vconfig set_ingress_map eth0.10 3 5
/sbin/vconfig set_ingress_map eth0.10 7 7
/sbin/vconfig set_ingress_map eth0.10 9 1
/sbin/vconfig set_ingress_map eth0.10 1 8
/sbin/vconfig set_egress_map eth0.10 4 6
/sbin/vconfig set_egress_map eth0.10 15 1
/sbin/vconfig set_egress_map eth0.10 1 9
vconfig set_egress_map eth0.77 1 1
/sbin/vconfig set_ingress_map eth0 1 1
vconfig rem eth0.77
vconfig rem eth0
vconfig rem eth0.10.20
vconfig rem eth0.10
vconfig rem eth0.10
vconfig rem
vconfig set_flag eth0.4094 1 1
END
# outcome WAY USER: writes the outcome to /tmp/WAY
outcome() {
    for entry in /proc/net/vlan/*.*; do
        [ ! -e "$entry" ] || ip link delete "${entry##*/}" 2> /dev/null || true
    done
    su "$2" -c "SAL_VLAN=$1 salrun" < /tmp/lines > "/tmp/$1" 2>&1 || fail "salrun"
    held >> "/tmp/$1"
}
for user in root guest; do
    outcome tool $user
    outcome kernel $user
    cmp -s /tmp/tool /tmp/kernel || { diff /tmp/tool /tmp/kernel || true; fail "not the same, as $user"; }
    echo "$(wc -l < /tmp/lines) command lines as $user, $(grep -c '^[1-9]' /tmp/tool) of them fail: the same both ways"
done

mkdir -p /etc/default
sqlite3 /etc/swmgr/config.db "DELETE FROM vlanEncapIf;
    WITH RECURSIVE id(n) AS (SELECT 2 UNION ALL SELECT n + 1 FROM id WHERE n <= $vlans)
    INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, inSwitchOnly)
    SELECT n, 'eth' || (n % 2), '1,2,3', 0 FROM id;"
for way in tool kernel; do
    for entry in /proc/net/vlan/*.*; do
        [ ! -e "$entry" ] || ip link delete "${entry##*/}" 2> /dev/null || true
    done
    echo "SAL_VLAN=$way" > /etc/default/swmgr
    echo "$vlans VLANs, SAL_VLAN=$way: $(service-up | tail -1)"
    held > "/tmp/$way"
    swctl diff > /tmp/answer 2>&1 || { head -20 /tmp/answer; fail "diff"; }
    /etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
done
cmp -s /tmp/tool /tmp/kernel || { diff /tmp/tool /tmp/kernel | head; fail "the kernel's state differs"; }
echo "the kernel holds the same $(ls /proc/net/vlan/*.* | wc -l) sub-interfaces"
