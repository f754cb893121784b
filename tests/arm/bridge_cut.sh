# shellcheck shell=sh
# Runs on the guest, called by target/bridge-test after tests/arm/bridge_up.sh: one boot
# with the database on the disk. After a power failure, frames behave as in configuration 1
# or 2; then both are applied in turn until the power fails after $cut ms, or, for 0 ms, the
# guest stops.
: "${cut:?}"
[ -e /etc/swmgr/lives ] || swctl apply /plan/1.json > /tmp/answer 2>&1 || { cat /tmp/answer; fail "apply"; }
echo >> /etc/swmgr/lives
swctl diff > /tmp/answer 2>&1 || { cat /tmp/answer; fail "something differs"; }
hostsAsk > /tmp/seen || fail "asking"
for found in 1 2 none; do
    ! cmp -s "/plan/$found.frames" /tmp/seen || break
done
[ "$found" != none ] || { cat /tmp/seen; fail "frames do as in neither configuration"; }
echo "life $(wc -l < /etc/swmgr/lives): frames do as in configuration $found$([ "$cut" = 0 ] || echo "; the power goes after $cut ms")"
[ "$cut" = 0 ] || {
    sync
    (usleep "${cut}000"; echo b > /proc/sysrq-trigger) &
    while :; do
        for one in 2 1; do swctl apply /plan/$one.json > /dev/null 2>&1; done
    done
}
/etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
umount /etc/swmgr
