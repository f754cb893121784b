# shellcheck shell=sh
# Runs on the guest, called by target/bridge-test after tests/arm/bridge_up.sh: a change
# that goes wrong leaves either the old or the new configuration, and a VLAN that no change
# concerns loses no frame.
: "${ip:?}"
expect() { # expect STATUS COMMAND...
    wanted=$1
    shift
    status=0
    "$@" > /tmp/answer 2>&1 || status=$?
    [ $status -eq "$wanted" ] || { cat /tmp/answer; fail "$* ended with $status, not $wanted"; }
}
sees() { # sees N...: frames do what one of these configurations says
    hostsAsk > /tmp/seen || fail "asking"
    for one; do
        cmp -s "/plan/$one.frames" /tmp/seen || continue
        echo "$what: frames do as in configuration $one"
        return
    done
    diff "/plan/$1.frames" /tmp/seen || true
    fail "$what: frames do as in none of $*"
}
! cmp -s /plan/1.frames /plan/2.frames || fail "two configurations are one"
expect 0 swctl apply /plan/1.json

what="a refused change"
echo '{"vlans": [{"vlanId": 10, "interfaceName": "br0", "fwdMap": "0,1,2,3"},
    {"vlanId": 20, "interfaceName": "br0", "fwdMap": "0,9"}]}' > /tmp/refused
expect 1 swctl apply --force /tmp/refused
sees 1
expect 0 swctl diff

what="a change on trial"
expect 0 swctl apply /plan/2.json --confirm 6
sees 2
what="a confirm that ran out"
sleep 6
expect 0 swctl recover # waits for who takes it back
sees 1

for wait in 120 200 280 360; do
    what="a change whose program is killed after $wait ms"
    swctl apply /plan/2.json > /dev/null 2>&1 &
    usleep ${wait}000
    kill -9 $! 2> /dev/null || true
    wait $! || true
    expect 0 swctl repair
    sees 1 2
    expect 0 swctl apply /plan/1.json
done

what="a port taken out of the bridge and one set down"
$ip link set lan1 nomaster
$ip link set lan2 down
expect 4 swctl diff
grep -q "lan1: in no bridge, up, should be in br0, up" /tmp/answer || { cat /tmp/answer; fail "$what"; }
grep -q "lan2: in br0, down, should be" /tmp/answer || { cat /tmp/answer; fail "$what"; }
expect 0 service-up restart
sees 1
bridge vlan add dev lan1 vid 99
bridge vlan del dev lan2 vid 10 2> /dev/null || bridge vlan add dev lan2 vid 10
expect 4 swctl diff
expect 0 swctl repair
what="a VLAN that somebody else changed, repaired"
sees 1

# VLAN 10 keeps working while others change, one change is refused and the service is killed.
echo '{"vlans": [{"vlanId": 10, "interfaceName": "br0", "fwdMap": "0,1", "untagMap": "0,1"}]}' > /tmp/calm
expect 0 swctl apply /tmp/calm
$ip netns exec h1 ping -I eth0 -i 0.01 -w 200 10.0.0.2 > /tmp/pings &
pinging=$!
changes=0
for id in 40 41 42 43 44 45 46 47 48 49; do
    expect 0 swctl vlan add $id --interface br0 --ports 0,1,2 --untagged 2
    expect 0 swctl vlan set $id --ports 1,2
    expect 0 swctl vlan set $id --ports 1,2,3 --untagged 3
    expect 0 swctl vlan set $id --switch-only on
    [ $id != 44 ] || {
        expect 1 swctl vlan add 60 --interface br0 --ports 2,9 --force
        kill -9 "$(pidof swmgrd)"
        expect 0 service-up
        expect 0 swctl diff
    }
    expect 0 swctl vlan delete $id
    changes=$((changes + 5))
done
kill -INT $pinging
wait $pinging || true
# The last request may have been under way when it ended.
awk -v changes=$changes '
    match($0, /seq=[0-9]+/) { lost += substr($0, RSTART + 4, RLENGTH - 4) - next_; next_ = substr($0, RSTART + 4, RLENGTH - 4) + 1 }
    / packets transmitted/ { lost += ($1 - next_ > 1) ? $1 - next_ : 0 }
    END {
        print changes " changes to other VLANs, one refused, the service killed and started again:"
        print "  of " next_ " echo requests " (lost ? lost : "none") " was lost"
        exit lost || next_ < 1000
    }' /tmp/pings || { tail -3 /tmp/pings; fail "frames of VLAN 10 were lost"; }
expect 0 /etc/init.d/S60swmgr stop
