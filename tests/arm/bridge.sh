# shellcheck shell=sh
# Runs on the guest, called by target/bridge-test: a gateway whose switch is a bridge of
# four ports, each a cable to a host in a name space. After each configuration of /plan,
# every interface of every host asks for every address; who answers must be who is said
# there, and nobody else.
set -eu
export PATH=/usr/sbin:/usr/bin:/sbin:/bin SWMGR_DATABASE=/etc/swmgr/config.db
ip=/usr/sbin/ip # busybox's own has no name spaces
fail() {
    echo "FAILED: $*"
    tail -20 /var/log/swmgr.log
    exit 1
}
for module in bridge veth 8021q; do modprobe $module; done
echo 1 > /proc/sys/net/ipv4/conf/all/arp_ignore # answers only where the question came in
host=0
for port in lan1 lan2 lan3 wan; do
    host=$((host + 1))
    $ip netns add h$host
    $ip link add $port type veth peer name eth0 netns h$host
    $ip -n h$host addr add 10.0.0.$host/8 dev eth0
    $ip -n h$host link set eth0 up
    for vlan in 10 20 30; do
        $ip -n h$host link add link eth0 name eth0.$vlan type vlan id $vlan
        $ip -n h$host addr add 10.$vlan.0.$host/8 dev eth0.$vlan
        $ip -n h$host link set eth0.$vlan up
    done
    $ip netns exec h$host sh -c 'echo 1 > /proc/sys/net/ipv4/conf/all/arp_ignore'
done
rm -f $SWMGR_DATABASE
swctl init --template bridge > /dev/null
sqlite3 $SWMGR_DATABASE "DELETE FROM swPortConfig WHERE portNumber = 3;
    UPDATE swPortConfig SET portNumber = 3 WHERE interfaceName = 'wan'"
service-up > /tmp/up || { cat /tmp/up; fail "the service does not start"; }
swctl status > /tmp/status || { cat /tmp/status; fail "not healthy"; }

# asks HOST: from each of its interfaces for every address of the others and the gateway
cat > /tmp/asks <<'END'
host=$1
for interface in eth0 eth0.10 eth0.20 eth0.30; do
    net=${interface#eth0}
    net=${net#.}
    own=10.${net:-0}.0.$host
    for other in 1 2 3 4 254; do
        for to in 0 10 20 30; do
            [ $other != $host ] && [ $other.$to != 254.0 ] || continue
            { ! arping -q -c 1 -w 1 -s $own -I $interface 10.$to.0.$other > /dev/null 2>&1 ||
                echo "$host $interface 10.$to.0.$other"; } &
        done
    done
    wait
done
END
reached() {
    for vlan in 10 20 30; do
        $ip addr add 10.$vlan.0.254/8 dev br0.$vlan 2> /dev/null || true
    done
    for host in 1 2 3 4; do $ip netns exec h$host sh /tmp/asks $host > /tmp/said.$host & done
    wait
    cat /tmp/said.[1-4] | sort
}

steps=0
while [ -e /plan/$((steps + 1)).json ]; do
    steps=$((steps + 1))
    swctl apply /plan/$steps.json > /tmp/answer 2>&1 || { cat /tmp/answer; fail "apply $steps"; }
    reached > /tmp/reached
    sort /plan/$steps.reach > /tmp/wanted
    cmp -s /tmp/wanted /tmp/reached ||
        { diff /tmp/wanted /tmp/reached; cat /plan/$steps.json; bridge vlan show; fail "cells of $steps"; }
    echo "configuration $steps: $(wc -l < /tmp/reached) pairs reach each other, as the rows say"
done

# VLAN 10 carries on while others change, a change is refused and the service is killed.
echo '{"vlans": [{"vlanId": 10, "interfaceName": "br0", "fwdMap": "0,1", "untagMap": "0,1"}]}' > /tmp/calm
swctl apply /tmp/calm > /tmp/answer 2>&1 || { cat /tmp/answer; fail "apply"; }
$ip netns exec h1 ping -I eth0 -i 0.02 -w 30 10.0.0.2 > /tmp/pings &
pinging=$!
for id in 40 41 42 43 44; do
    swctl vlan add $id --interface br0 --ports 0,1,2 --untagged 2 > /dev/null || fail "add $id"
    swctl vlan set $id --ports 1,2 > /dev/null || fail "set $id"
done
swctl vlan add 45 --interface br0 --ports 9 > /dev/null 2>&1 && fail "a port that is not there is taken"
kill -9 "$(pidof swmgrd)"
/etc/init.d/S60swmgr start > /dev/null || fail "no second start"
swctl diff || fail "something differs after the second start"
for id in 40 41 42 43 44; do swctl vlan delete $id > /dev/null || fail "delete $id"; done
kill -INT $pinging
wait $pinging || true
tail -3 /tmp/pings
grep -q ' 0% packet loss' /tmp/pings || fail "frames of VLAN 10 were lost"
/etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
