# shellcheck shell=sh
# Runs on the guest, called by target/bridge-test after tests/arm/bridge_up.sh: after each
# configuration in /plan, every interface of every host sends a request for every address;
# who answers, and who hears what with which tag, must match the plan. The output of
# 'swctl explain' is returned as an archive.
: "${vlans:?}"
mkdir /tmp/report
steps=0
while [ -e /plan/$((steps + 1)).json ]; do
    steps=$((steps + 1))
    swctl apply /plan/$steps.json > /tmp/answer 2>&1 || { cat /tmp/answer; fail "apply $steps"; }
    hostsAsk > /tmp/seen || fail "asking"
    cmp -s /plan/$steps.frames /tmp/seen ||
        { diff /plan/$steps.frames /tmp/seen || true; cat /plan/$steps.json; bridge vlan show; fail "frames of $steps"; }
    for vlan in $vlans; do
        swctl explain vlan "$vlan" port all --json >> /tmp/report/$steps.explained || fail "explain $vlan"
    done
    echo "configuration $steps: $(grep -c ^answer /tmp/seen) pairs reach each other, $(grep -c ^heard /tmp/seen) frames are heard, as the rows say"
done
echo "@@report"
tar -C /tmp/report -cz . | base64
echo "@@end"
/etc/init.d/S60swmgr stop > /dev/null || fail "the service does not stop"
