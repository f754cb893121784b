# shellcheck shell=sh
# Runs on the guest, called by target/guest-test: starts the service, changes the
# configuration, restarts, and after each step collects what kernel, chip and engine hold.
# tests/arm/check.py knows what it should be.
set -eu
fail() { echo "FAILED: $*"; exit 1; }
export SWMGR_DATABASE=/etc/swmgr/config.db
report=/tmp/report

# Saves the current state of everything to a separate folder.
collect() {
    folder=$report/$1
    mkdir -p "$folder/vlan" "$folder/uptime"
    cp $SWMGR_DATABASE "$folder/config.db"
    swcuse --show --json > "$folder/chip.json"
    swengine show --json > "$folder/engine.json"
    cat /proc/net/vlan/config > "$folder/vlan-config"
    for entry in /proc/net/vlan/eth*; do
        name=${entry##*/}
        cat "$entry" > "$folder/vlan/$name"
        cat "/sys/class/net/$name/flags" >> "$folder/vlan/$name"
    done
    cp /var/VLAN.*.Uptime "$folder/uptime/"
    cat /proc/uptime > "$folder/now"
    cat "/proc/$(cat /run/swmgrd.pid)/smaps_rollup" > "$folder/memory"
    cat "/proc/$(cat /run/swmgrd.pid)/status" > "$folder/process"
}

# expect STATUS COMMAND...
expect() {
    wanted=$1
    shift
    status=0
    "$@" > /tmp/answer 2>&1 || status=$?
    [ $status -eq "$wanted" ] || { cat /tmp/answer; fail "$* ended with $status, not $wanted"; }
}

hardware || fail "no hardware"
service-up || fail "the service does not start"
collect start

# Live changes: the database's row and the hardware in one command.
expect 0 swctl vlan add 30 --interface eth1 --ports 0-2 --untagged 0
expect 0 swctl vlan add 4094 --interface eth0 --ports 3
expect 0 swctl vlan set 10 --ports 1,2,4 --untagged 1
expect 0 swctl vlan delete 20
expect 0 swctl vlan set 200 --ports 2,3 --untagged 2
expect 0 swctl rate-limit --port 2 --rate 640
expect 0 swctl queues --port 3 --queues 4 --mode 1 --weights 1,2,4,8
expect 0 swctl bandwidth eth1 20000 50 --event 22

# Refused, without any effect: a name that would reach a shell, and a user who is not in
# the service's group.
expect 2 swctl vlan add 31 --interface 'eth0;reboot' --ports 1
expect 3 su guest -c "swctl request vlan-add 32 --interface eth0 --ports 1"
collect changed

# Killed, changed behind its back, and started on hardware that still holds everything.
kill -9 "$(cat /run/swmgrd.pid)"
sqlite3 $SWMGR_DATABASE "UPDATE vlanEncapIf SET untagMap = '1,2', fwdMap = '1,2' WHERE vlanId = 30"
/etc/init.d/S60swmgr stop > /dev/null
service-up || fail "the service does not start after kill -9"
collect killed

# Everything from scratch, as after a power failure.
/etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
killall swcuse
for entry in /proc/net/vlan/eth*; do ip link delete "${entry##*/}"; done
ip link delete eth0
ip link delete eth1
rm -f /var/VLAN.*.Uptime
swengine reset
while [ -e /dev/bcmsw ]; do sleep 0.1; done
hardware || fail "no hardware the second time"
service-up || fail "the service does not start the second time"
collect power

cp /var/log/swmgr.log /var/log/chip.log $report/
/etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop at the end"

echo "@@report"
tar -C /tmp -czf - report | base64
echo "@@end"
