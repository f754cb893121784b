# Shows the stream of a simulated gateway: who speaks, then what. Lines of tools
# and chip come marked; "= " marks text shown as it stands; all others are log.
BEGIN {
    if (colours) {
        colour["tool"] = "\033[36m"
        colour["chip"] = "\033[35m"
        dim = "\033[2m"
        red = "\033[31m"
        off = "\033[0m"
    }
}
# Whatever a name from a row or a request made of it, it moves no cursor.
{ gsub(/[^ -~]/, "?") }
/^= / { print substr($0, 3); fflush(); next }
/^=$/ { print ""; fflush(); next }
# Even then, what a program says of its own failure.
quiet && !/^(sw[a-z]+|bwrap|sandbox): / { next }
{
    who = substr($0, 1, 4)
    line = $0
    if (line ~ /^(tool|chip|log ) +\| /)
        line = substr(line, 9)
    else
        who = "log "
    tone = who == "log " ? dim : colour[who]
    if (who != "log " && line ~ / -> -?[1-9][0-9]* \(/)
        tone = red
    print tone who "  | " line (tone == "" ? "" : off)
    fflush()
}
