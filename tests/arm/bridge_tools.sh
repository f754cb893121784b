# shellcheck shell=sh
# Runs on the guest, called by target/bridge-test after tests/arm/bridge_up.sh: lines of
# "bridge vlan", once by the program and once by messages to the kernel. Their output, their
# statuses and what the kernel holds afterwards must be the same. Then a startup with
# $vlans_started VLANs on four ports, both ways.
: "${vlans_started:=24}" "${SWMGR_DATABASE:?}"
held() { bridge -j vlan show; }
clear() {
    for port in lan1 lan2 lan3 wan; do bridge vlan del dev $port vid 1-4094; done
    bridge vlan del dev br0 vid 1-4094 self
}
/etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
for port in lan1 br0; do
    for id in 10 10 4094 1 0 4095 4096 010 65546 -5 0x20 ten 5-9; do
        for line in "add dev $port vid $id" "add dev $port vid $id pvid untagged" \
            "add dev $port vid $id self" "del dev $port vid $id" "del dev $port vid $id self"; do
            echo "bridge vlan $line"
        done
    done
done > /tmp/lines
cat >> /tmp/lines << 'END_OF_LINES'
bridge vlan add dev lan1 vid 20
bridge vlan add dev lan1 vid 21 pvid untagged
bridge vlan add dev lan2 vid 21 pvid untagged
bridge vlan add dev lan2 vid 22 pvid untagged
bridge vlan add dev lan2 vid 22
bridge vlan add dev lan3 vid 23 untagged
bridge vlan add dev lan3 vid 24 pvid
bridge vlan add dev lan3 vid 25 untagged pvid
bridge vlan add dev lan3 vid 26 pvid untagged self
bridge vlan add dev lan3 vid 27 master
bridge vlan add dev br0 vid 20 self
bridge vlan add dev lo vid 10
bridge vlan add dev xx9 vid 10
bridge vlan del dev xx9 vid 10
bridge vlan add dev a-very-long-interface-name vid 10
bridge vlan add dev lan1
bridge vlan add lan1 10
bridge vlan add dev lan1 vid 28 29
bridge vlan set dev lan1 vid 10
bridge vlan
END_OF_LINES
# outcome WAY USER: writes the outcome to /tmp/WAY
outcome() {
    clear
    su "$2" -c "SAL_VLAN=$1 salrun" < /tmp/lines > "/tmp/$1" 2>&1 || fail "salrun"
    held >> "/tmp/$1"
}
for user in root guest; do
    outcome tool $user
    outcome kernel $user
    cmp -s /tmp/tool /tmp/kernel || { diff /tmp/tool /tmp/kernel || true; fail "not the same, as $user"; }
    echo "$(wc -l < /tmp/lines) lines as $user, $(grep -c '^[1-9]' /tmp/tool) of them fail: the same both ways"
done

# If there is no program to fall back to, the messages alone must suffice.
clear
printf 'bridge vlan %s\n' "add dev lan1 vid 10" "add dev lan2 vid 10 pvid untagged" \
    "add dev br0 vid 10 self" "add dev lan3 vid 10" "del dev lan3 vid 10" \
    "add dev br0 vid 11 self" "del dev br0 vid 11 self" > /tmp/good
salrun=$(command -v salrun)
PATH=/nowhere SAL_VLAN=kernel "$salrun" < /tmp/good > /tmp/alone 2>&1 || fail "salrun"
! grep -v '^0 ' /tmp/alone || fail "the kernel's messages do not do it alone"
held > /tmp/kernel
clear
while read -r line; do $line; done < /tmp/good
held | cmp -s - /tmp/kernel || fail "the kernel's messages alone leave something else"

mkdir -p /etc/default
sqlite3 "$SWMGR_DATABASE" "DELETE FROM vlanEncapIf;
    WITH RECURSIVE id(n) AS (SELECT 2 UNION ALL SELECT n + 1 FROM id WHERE n <= $vlans_started)
    INSERT INTO vlanEncapIf (vlanId, interfaceName, fwdMap, untagMap, inSwitchOnly)
    SELECT n, 'br0', '0,1,2,3', CASE WHEN n < 6 THEN n - 2 END, n % 2 FROM id;"
for way in tool kernel; do
    # As after a boot: the service creates the bridge again.
    for entry in /proc/net/vlan/br0.*; do
        [ ! -e "$entry" ] || "${ip:?}" link delete "${entry##*/}"
    done
    $ip link delete br0
    echo "SAL_VLAN=$way" > /etc/default/swmgr
    echo "$vlans_started VLANs on four ports, SAL_VLAN=$way: $(service-up | tail -1)"
    held > "/tmp/$way"
    swctl diff > /tmp/answer 2>&1 || { head -20 /tmp/answer; fail "diff"; }
    /etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
done
cmp -s /tmp/tool /tmp/kernel || { diff /tmp/tool /tmp/kernel | head; fail "the kernel's state differs"; }
