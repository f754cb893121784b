# Shows the stream of a simulated gateway: the source, then the line. Lines of the tools
# and the chip carry a mark, "= " marks text to show unchanged, and all others are log.
BEGIN {
    if (colours) {
        colour["tool"] = "\033[36m"
        colour["chip"] = "\033[35m"
        dim = "\033[2m"
        red = "\033[31m"
        off = "\033[0m"
    }
}
# A name from a row or a request may contain anything, but must not move the cursor.
{ gsub(/[^ -~]/, "?") }
/^= / { print substr($0, 3); fflush(); next }
/^=$/ { print ""; fflush(); next }
# With --quiet, only what a program says about its own failure.
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
