# Shows who reaches whom, side by side: what must be, from rows "VLAN|ports|untagged
# ports|switch only", and what is, from lines of swframes. Needs `hosts`; host N is at port
# N - 1. Ends with 1 if a cell differs or an answer belongs in no cell.
BEGIN { FS = "|" }
FNR == 1 { ++file }
file == 1 {
    vlan[++vlans] = $1
    mark($2, member)
    mark($3, bare)
    hostIn[$1] = !$4
    next
}
{
    split($0, word, " ")
    if (word[1] == "answer")
        answers[word[2] " " word[3] " " word[4]] = 1
}
function mark(list, into, ports, i, n)
{
    n = split(list, ports, ",")
    for (i = 1; i <= n; ++i)
        into[$1, ports[i] + 1] = 1
}
function tagOf(v, host) { return (v, host) in bare ? 0 : v }
function placeOf(v, host) { return tagOf(v, host) ? "eth0." v : "eth0" }
function addressOf(v, host)
{
    return host > hosts ? "10." v ".0.254" : "10." tagOf(v, host) ".0." host
}
function takesPart(v, host) { return host > hosts ? hostIn[v] : (v, host) in member }
function line(v, host, to, text, wanted, found, key, by, seen)
{
    for (to = 1; to <= hosts + 1; ++to) {
        if (to == host) {
            by = by "   ."
            seen = seen "   ."
            continue
        }
        wanted = takesPart(v, host) && takesPart(v, to)
        key = "h" host " " placeOf(v, host) " " addressOf(v, to)
        found = key in answers
        delete answers[key]
        by = by (wanted ? "   +" : "   -")
        seen = seen (wanted == found ? "  " : " !") " " (found ? "+" : "-")
        ++cells
        wrong += wanted != found
    }
    text = !((v, host) in member) ? "no member" : tagOf(v, host) ? "tagged" : "untagged"
    printf "  h%d %-11s%s      %s\n", host, text, by, seen
}
END {
    for (host = 1; host <= hosts; ++host)
        head = head sprintf("%4s", "h" host)
    head = head "  gw"
    for (i = 1; i <= vlans; ++i) {
        printf "%-18s%-" (4 * hosts + 10) "s%s\n", "VLAN " vlan[i], "by the rows", "by frames"
        printf "%-16s%s      %s\n", "", head, head
        for (host = 1; host <= hosts; ++host)
            line(vlan[i], host)
    }
    for (key in answers) {
        ++more
        print "! " key ": an answer that no row explains"
    }
    printf "%d of %d cells are as the rows say%s\n", cells - wrong, cells,
        more ? ", and " more " answers came that none explains" : ", and nobody else answers"
    exit wrong + more > 0
}
