# shellcheck shell=sh
# Runs on the guest before the other scripts of target/bridge-test: a gateway whose switch
# is a bridge with four ports and a host at each, with the service started.
set -eu
export PATH=/usr/sbin:/usr/bin:/sbin:/bin SWMGR_DATABASE=/etc/swmgr/config.db
hosts=4 vlans="10 20 30" ip=/usr/sbin/ip # busybox's own has no name spaces
. /usr/share/swmgr/simulator/bridge/hosts.sh
fail() {
    echo "FAILED: $*"
    tail -20 /var/log/swmgr.log
    exit 1
}
disk || fail "no disk"
for module in bridge veth 8021q; do modprobe $module; done
hostsMake lan1 lan2 lan3 wan
[ -e /etc/swmgr/config.db.history ] || { # else it is that of the life before
    rm -f $SWMGR_DATABASE
    swctl init --template bridge > /dev/null
    sqlite3 $SWMGR_DATABASE "DELETE FROM swPortConfig WHERE portNumber = 3;
        UPDATE swPortConfig SET portNumber = 3 WHERE interfaceName = 'wan'"
}
service-up > /tmp/up || { cat /tmp/up; fail "the service does not start"; }
swctl status > /tmp/status || { cat /tmp/status; fail "not healthy"; }
