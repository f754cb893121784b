# shellcheck shell=bash
# Runs in a root where the packages are installed, called by packaging/test-debs.
set -euo pipefail
fail() { echo "FAILED: $*" >&2; exit 1; }
database=/etc/swmgr/config.db

# answers ARGUMENT...: waits until the service answers swctl with these arguments.
answers() {
    local tries status
    for ((tries = 0; tries < 200; ++tries)); do
        status=0
        swctl "$@" status > /tmp/status 2>&1 || status=$?
        [ $status -ne 0 ] && [ $status -ne 4 ] || return 0
        sleep 0.05
    done
    cat /tmp/status
    fail "the service does not answer"
}

# Starts the daemons as the units do. This root has no chip, so nothing is applied.
daemons() {
    swlogd > /tmp/swlogd &
    swmgrd --recover --database $database
    swmgrd --database $database &
    answers --database $database
    grep -q 'bcmsw' /tmp/status || { cat /tmp/status; fail "status does not name the chip"; }
    kill %1 %2
    wait
}

case $1 in
first)
    [ ! -e $database ] || fail "the package brings a database"
    swctl --database $database init --template gateway > /dev/null
    cp $database /srv/config.db
    daemons

    swmgr-gateway --plain > /tmp/gateway || { tail -20 /tmp/gateway; fail "swmgr-gateway fails"; }
    grep -q '^What the chip holds' /tmp/gateway || fail "swmgr-gateway shows no chip"
    swmgr-gateway --serve --log-daemon --quiet --state /tmp/state > /tmp/gateway 2>&1 &
    gateway=$!
    export RELAY_DIR=/tmp/state/relay SWMGR_DATABASE=/tmp/state/switch.db
    answers
    swctl vlan add 30 --interface eth0 --ports 1,2 || fail "no change is applied"
    swctl diff || fail "the hardware holds something else"
    kill $gateway
    wait $gateway || fail "the gateway does not stop"
    echo "STOP_WAIT=11 # the operator's" >> /etc/default/swmgr
    ;;
upgraded)
    grep -q "the operator's" /etc/default/swmgr || fail "the operator's setting is gone"
    cmp $database /srv/config.db || fail "the database is not as it was"
    daemons
    ;;
esac
rm -rf /tmp/* /run/relay
