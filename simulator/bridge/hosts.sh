# shellcheck shell=sh
# Hosts at the ports of a bridge, in network namespaces: h1, h2, ... each at the end of a
# cable. Sourced, also by busybox's shell; needs $hosts and $vlans, and iproute2's ip in $ip.
#
# Host N has 10.0.0.N on eth0, for untagged frames, and 10.V.0.N on eth0.V for each VLAN V
# in $vlans; the gateway has 10.V.0.254 on br0.V. A host answers only on the interface that
# has the address asked for.
: "${hosts:?}" "${vlans:?}" "${ip:?}"

# hostsMake PORT...: creates the ports' interfaces with a host behind each
hostsMake() {
    echo 1 > /proc/sys/net/ipv4/conf/all/arp_ignore
    host=0
    for port; do
        host=$((host + 1))
        "$ip" netns add h$host
        "$ip" link add "$port" type veth peer name eth0 netns h$host
        "$ip" netns exec h$host sh -c 'echo 1 > /proc/sys/net/ipv4/conf/all/arp_ignore'
        {
            echo "addr add 10.0.0.$host/8 dev eth0"
            echo "link set eth0 up"
            for vlan in $vlans; do
                echo "link add link eth0 name eth0.$vlan type vlan id $vlan"
                echo "addr add 10.$vlan.0.$host/8 dev eth0.$vlan"
                echo "link set eth0.$vlan up"
            done
        } | "$ip" -n h$host -batch -
    done
}

# hostsAsk: every host sends requests to all others and the gateway; see 'swframes --help'
hostsAsk() {
    set --
    host=0
    while [ $host -lt "$hosts" ]; do
        host=$((host + 1))
        set -- "$@" "h$host:eth0=10.0.0.$host"
        for vlan in $vlans; do set -- "$@" "h$host:eth0.$vlan=10.$vlan.0.$host"; done
    done
    for vlan in $vlans; do
        "$ip" addr add "10.$vlan.0.254/8" dev "br0.$vlan" 2> /dev/null || true # may be gone
        set -- "$@" "10.$vlan.0.254"
    done
    swframes "$@"
}
