# Shared by the scripts of the simulated gateway, which define usage() first.

misused() {
    echo "${SIMULATOR_NAME:-${0##*/}}: $1. Try '${SIMULATOR_NAME:-$0} --help'." >&2
    exit 2
}

unavailable() {
    echo "${SIMULATOR_NAME:-${0##*/}}: no simulated gateway here: $*" >&2
    exit 77
}

# Prints the given folder, or else the one built last.
buildFolder() {
    local newest=
    if [ -n "$1" ]; then
        [ -x "$1/bin/swengine" ] || misused "$1 has no bin/swengine"
        (cd "$1" && pwd -P)
        return
    fi
    for program in "$here"/../build/*/bin/swengine; do
        [ -x "$program" ] || continue
        [ -n "$newest" ] && [ ! "$program" -nt "$newest" ] || newest=$program
    done
    [ -n "$newest" ] || misused "nothing is built yet, and no --build says where"
    (cd "${newest%/bin/swengine}" && pwd -P)
}

# In the source tree the schema is in another folder than in an installation.
schemaFile() {
    local file
    for file in "$here"/../{data/,}schema.sql; do
        [ ! -e "$file" ] || break
    done
    echo "$file"
}
