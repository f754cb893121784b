# shellcheck shell=sh
# One boot of the guest in target/power-test, which sets step and wait. The database is on
# the disk. After a power failure, it first checks that everything is in order.
set -eu
: "${step:?}" "${wait:?}"
fail() { echo "FAILED: $*"; exit 1; }
export SWMGR_DATABASE=/etc/swmgr/config.db

# The rows, without columns that only count up.
rows() { sqlite3 $SWMGR_DATABASE "SELECT vlanId, fwdMap, untagMap FROM vlanEncapIf ORDER BY vlanId"; }
# expect STATUS COMMAND...
expect() {
    wanted=$1
    shift
    status=0
    "$@" > /tmp/answer 2>&1 || status=$?
    [ $status -eq "$wanted" ] || { cat /tmp/answer; fail "$* ended with $status, not $wanted"; }
}
powerGoes() { echo b > /proc/sysrq-trigger; sleep 60; }

if [ -d /run/systemd/system ]; then # its units have done the same by now
    export PATH=/usr/sbin:/usr/bin:/sbin:/bin
    systemctl is-active swlogd swmgrd > /dev/null || fail "the service is not active"
else
    hardware || fail "no hardware"
    service-up > /tmp/up 2>&1 || { cat /tmp/up; fail "the service does not start"; }
fi
grep -q "^/dev/vda /etc/swmgr " /proc/mounts || fail "the database is not on the disk"
[ "$(sqlite3 $SWMGR_DATABASE 'PRAGMA integrity_check')" = ok ] || fail "the database is damaged"
expect 0 swctl diff
expect 0 swctl status

case $step in
trial)
    rows > /etc/swmgr/before
    sync
    # The shell that made the change is gone at once, and its session with it.
    setsid sh -c 'swctl vlan add 30 --interface eth0 --ports 1,2 --confirm 3; kill -9 $$' || true
    [ "$(rows)" != "$(cat /etc/swmgr/before)" ] || fail "the change on trial was not made"
    tries=0
    while [ "$(rows)" != "$(cat /etc/swmgr/before)" ]; do
        tries=$((tries + 1))
        [ $tries -lt 150 ] || fail "the change on trial was not taken back"
        sleep 0.1
    done
    expect 0 swctl recover # waits for who takes it back
    expect 0 swctl diff --all
    echo "taken back without its shell"
    expect 0 swctl vlan add 31 --interface eth1 --ports 1,3 --untagged 3 --confirm 600
    powerGoes
    ;;
taken-back)
    # The init script has run 'swctl recover'.
    [ "$(rows)" = "$(cat /etc/swmgr/before)" ] || fail "the change on trial was not taken back"
    expect 4 sh -c 'ip link set eth0.10 down && swctl diff'
    grep -q 'eth0.10: down, should be up' /tmp/answer || fail "diff does not see the kernel"
    expect 0 swctl repair
    echo "taken back after a loss of power"
    ;;
cut)
    # Each change is complete or absent: 40 and 41 come and go together.
    both=$(rows | grep -c '^4[01]|' || true)
    [ "$both" -eq 0 ] || [ "$both" -eq 2 ] || fail "half of a batch is there: $(rows)"
    (usleep "${wait}000"; powerGoes) &
    echo "$both of 2 rows of the last batch; the power goes after $wait ms"
    while :; do
        printf 'vlan delete 40\nvlan delete 41\n' | swctl batch > /dev/null 2>&1 || true
        printf 'vlan add 40 --interface eth0 --ports 1,2\nvlan add 41 --interface eth1 --ports 3\n' |
            swctl batch > /dev/null 2>&1 || true
    done
    ;;
check)
    both=$(rows | grep -c '^4[01]|' || true)
    [ "$both" -eq 0 ] || [ "$both" -eq 2 ] || fail "half of a batch is there: $(rows)"
    echo "whole after the last cut"
    ;;
esac
if [ -d /run/systemd/system ]; then
    systemctl stop swmgrd swlogd
else
    /etc/init.d/S60swmgr stop > /dev/null
fi || fail "the service does not stop"
umount /etc/swmgr
