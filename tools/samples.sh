# Sourced by the scripts that try what the documents show.

# sample KIND NTH DOCUMENT: the Nth block of a kind.
sample() {
    awk -v kind="$1" -v nth="$2" '
        $0 == "```" kind && ++n == nth { inside = 1; next }
        $0 == "```" { inside = 0 }
        inside { print; found = 1 }
        END { exit !found }' "$3"
}
