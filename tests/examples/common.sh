# Sourced by the cases of each example program: checks of what a run wrote, and how a case is run.
set -eu
export LC_ALL=C

fail()
{
    echo "$1" >&2
    echo "--- out" >&2
    head -c 4000 out >&2
    echo "--- err" >&2
    head -c 4000 err >&2
    exit 1
}

# run STATUS COMMAND...: runs the command and keeps what it writes in the files out and err.
run()
{
    expected=$1
    shift
    status=0
    "$@" >out 2>err || status=$?
    [ "$status" -eq "$expected" ] || fail "exit status $status instead of $expected: $*"
}

# Compare all of what was written with the standard input. The words of strerror belong to the
# system, and so does the address of a map.
expect_out()
{
    sed -e 's/^\(multi\)\{0,1\}map [^ ]* hash/\1map ADDRESS hash/' -e 's/ ([A-Z][^)]*)$//' \
        out >out.neutral
    diff -u - out.neutral || fail "unexpected output"
}

expect_err()
{
    grep -v '^summary: ' err >err.reports || :
    diff -u - err.reports || fail "unexpected reports"
}

expect_summary()
{
    sed -n 's/^summary: //p' err >err.summary
    diff -u - err.summary || fail "unexpected summary"
}

expect_nothing()
{
    [ ! -s "$1" ] || fail "something in $1"
}

expect_line()
{
    grep -qxF -e "$2" "$1" || fail "no line in $1: $2"
}

# A text of 2^20 times the letter x.
mebibyte()
{
    head -c 1048576 /dev/zero | tr '\0' x
}

# run_case CASE [EMULATOR...] PROGRAM: runs the function case_CASE in a directory of its own.
run_case()
{
    # In blocks of 512 bytes: a program that writes without end must not fill the disk.
    ulimit -f 32768
    case_name=$1
    shift
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cd "$work"
    "case_$case_name" "$@"
}
