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

# Compare all of what was written with the standard input, but for the address of a map.
expect_out()
{
    sed 's/^\([a-z]*\)map [^ ]* hash/\1map ADDRESS hash/' out >out.neutral
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

# Routes as the kernel lists them. /proc/net/route has the words of memory as numbers, which depend
# on the byte order: it is in BYTE_ORDER, as CMake calls it.
make_routes()
{
    if [ "$BYTE_ORDER" = BIG_ENDIAN ]; then
        routes='00000000 C0000201 0003 00000000
                0A141E00 00000000 0001 FFFFFE00
                C0000280 00000000 0000 FFFFFF80'
    else
        routes='00000000 010200C0 0003 00000000
                001E140A 00000000 0001 00FEFFFF
                800200C0 00000000 0000 80FFFFFF'
    fi
    {
        printf 'Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n'
        echo "$routes" | while read -r destination gateway flags mask; do
            printf 'eth0\t%s\t%s\t%s\t0\t0\t0\t%s\t0\t0\t0\n' "$destination" "$gateway" "$flags" \
                "$mask"
        done
    } >proc/net/route
}

# The routes and resolvers of a machine.
make_network()
{
    mkdir -p proc/net etc
    make_routes
    cat >proc/net/ipv6_route <<'END'
20010db8000000000000000000000000 20 00000000000000000000000000000000 00 00000000000000000000000000000000 00000100 00000001 00000000 00000001     eth0
00000000000000000000000000000000 00 00000000000000000000000000000000 00 20010db8000000000000000000000001 00000400 00000002 00000000 00000003     eth0
00000000000000000000000000000000 00 00000000000000000000000000000000 00 00000000000000000000000000000000 ffffffff 00000001 00000000 00200200       lo
END
    printf '%s\n' '# comment' 'search example.com' 'nameserver 192.0.2.53' 'nameservers 1' \
        'nameserver	2001:db8::35' >etc/resolv.conf
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
