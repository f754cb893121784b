# shellcheck shell=sh
# Runs on the guest under systemd, called by target/systemd-test: the service must be able
# to do all its work within its unit's restrictions, which must be in force.
set -eu
export PATH=/usr/sbin:/usr/bin:/sbin:/bin SWMGR_DATABASE=/etc/swmgr/config.db
fail() {
    echo "FAILED: $*"
    journalctl --no-pager -u swmgrd | tail -30
    exit 1
}

for unit in swlogd swmgrd; do
    systemctl is-active $unit > /dev/null || fail "$unit is not active"
done
check_state() {
    for id in "$@"; do
        [ -s "/var/VLAN.$id.Uptime" ] || fail "VLAN $id has no uptime record"
        grep -q "| $id  |" /proc/net/vlan/config || fail "VLAN $id has no sub-interface"
        swcuse --show --json | grep -q "\"vlan\":$id," || fail "VLAN $id is not in the chip"
        swengine show --json | grep -q "\"vlan\":$id,\"isWan\"" || fail "VLAN $id is not in the engine"
    done
}
check_state 10 20 100 200 300
swctl vlan add 30 --interface eth1 --ports 0-2 --untagged 0 || fail "no live change"
check_state 30
systemctl restart swmgrd || fail "no restart"
check_state 10 20 30 100 200 300

# The metrics unit's restrictions allow it to read every part.
metrics=/var/lib/prometheus/node-exporter/swmgr.prom
mkdir -p "${metrics%/*}"
systemctl start swmgr-metrics.service || fail "no metrics"
for line in 'swmgr_up 1' 'swmgr_healthy 1' 'swmgr_vlans_applied 6' 'swmgr_start_time_seconds [0-9]*' \
    'swmgr_last_load_success 1'; do
    grep -qx "$line" $metrics || { cat $metrics; fail "the metrics lack $line"; }
done
! grep -q 'part_readable.* 0' $metrics || { cat $metrics; fail "a part is not readable"; }

# Command lines and their tools report on standard error what they were denied.
if journalctl --no-pager -o cat -u swmgrd | grep -E '^sh:|denied|not permitted|Bad file'; then
    fail "something was denied"
fi

pid=$(systemctl show -P MainPID swmgrd)
for line in 'CapBnd:.*0000000000001000' 'CapEff:.*0000000000001000' 'NoNewPrivs:.*1' 'Seccomp:.*2'; do
    grep -q "^$line\$" "/proc/$pid/status" || fail "its status has no $line"
done
grep -q '^[^ ]* / [^ ]* ro,' "/proc/$pid/mounts" || fail "it may write everywhere"
[ "$(stat -c %a:%G /run/relay)" = 750:swmgr ] || fail "/run/relay is $(stat -c %a:%G /run/relay)"
if su guest -c "swctl request vlan-add 32 --interface eth0 --ports 1" > /dev/null 2>&1; then
    fail "somebody outside the group was heard"
fi
echo "the service does its work under systemd with what its unit leaves it"
