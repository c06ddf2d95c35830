#!/bin/sh
# Runs one case against the example program network_lists:
#
#     network_lists.sh CASE [EMULATOR...] PROGRAM
#
# with the path of the sample in SAMPLE and the program's byte order, as CMake calls it, in
# BYTE_ORDER. A case is a function that gets the words to start the program as its arguments; it
# finds the machine that it made in its directory, or none.
. "$(dirname "$0")/common.sh"

make_interface()
{
    mkdir -p "sys/class/net/$1/statistics"
    echo "$2" >"sys/class/net/$1/operstate"
    echo "$3" >"sys/class/net/$1/carrier_changes"
    for counter in rx_errors tx_errors rx_dropped tx_dropped; do
        echo 0 >"sys/class/net/$1/statistics/$counter"
    done
}

make_machine()
{
    make_network
    make_interface eth0 up 2
    echo 18446744073709551615 >sys/class/net/eth0/statistics/rx_dropped
    make_interface lo unknown 0
    : >sys/class/net/bonding_masters
}

# Reports other than those of the made machine's missing files.
expect_other_err()
{
    grep -v -e '^\./proc/' -e '^\./etc/' -e '^\./sys/' -e '^no routes' err >err.other || :
    mv err.other err
    expect_err
}

case_shows_a_machine()
{
    make_machine
    run 0 "$@" "$SAMPLE"
    expect_out <<'END'
Routes, in the order of the kernel
  eth0.routes 0: 0.0.0.0/0 via 192.0.2.1
  eth0.routes 1: 10.20.30.0/23 dev eth0
  eth0.routes 2: 2001:db8::/32 dev eth0
  eth0.routes 3: ::/0 via 2001:db8::1
Resolvers, and one more
  resolvers 0: 192.0.2.53
  resolvers 1: 2001:db8::35
  resolvers 2: 2001:db8::53
The last of them moved to the front
  resolvers 0: 2001:db8::53
  resolvers 1: 192.0.2.53
  resolvers 2: 2001:db8::35
Past the end of resolvers, at 3
  get: 2 (no such key, value or position)
  replace: 2 (no such key, value or position)
  remove: 2 (no such key, value or position)
Every "link down" deleted
  eth0.events: 6 of 8 are left
  wan0.events: 4 of 5 are left
Lists
arraymap ADDRESS hashsize=32 numkeys=6 numvalues=25
 eth0.events[0]=tx_errors 0
 eth0.events[1]=rx_dropped 18446744073709551615
 eth0.events[2]=tx_dropped 0
 eth0.events[3]=link up 1000 full
 eth0.events[4]=address 192.0.2.2/24 added
 eth0.events[5]=link up 1000 full
 eth0.networks[0]=10.20.30.0/23
 eth0.networks[1]=2001:db8::/32
 eth0.routes[0]=0.0.0.0/0 via 192.0.2.1
 eth0.routes[1]=10.20.30.0/23 dev eth0
 eth0.routes[2]=2001:db8::/32 dev eth0
 eth0.routes[3]=::/0 via 2001:db8::1
 lo.events[0]=operstate unknown
 lo.events[1]=carrier_changes 0
 lo.events[2]=rx_errors 0
 lo.events[3]=tx_errors 0
 lo.events[4]=rx_dropped 0
 lo.events[5]=tx_dropped 0
 resolvers[0]=2001:db8::53
 resolvers[1]=192.0.2.53
 resolvers[2]=2001:db8::35
 wan0.events[0]=link up 100 full
 wan0.events[1]=lease from 203.0.113.1
 wan0.events[2]=link up 100 full
 wan0.events[3]=lease from 203.0.113.1
END
    expect_err <<END
$SAMPLE:15: no text behind the interface: "wan0"
$SAMPLE:16: not the name of an interface: "interface-with-a-long-name"
END
    expect_summary <<END
$SAMPLE: lines=16 malformed=2
lists=6 values=27
discarded eth0.events[0]=3
END
}

case_reads_the_sample_by_default()
{
    make_machine
    run 0 "$@" "$SAMPLE"
    sed 's/^arraymap [^ ]* //' out >named
    run 0 "$@"
    sed 's/^arraymap [^ ]* //' out >default
    diff -u named default || fail "not the sample"
}

case_lists_a_sample_without_a_network()
{
    make_interface lo unknown 0
    mkdir proc etc
    run 0 "$@" --list wan0.routes --list wan0.networks --list resolvers --list lo.events - </dev/null
    expect_out <<'END'
0.0.0.0/0 via 203.0.113.1
203.0.113.0/24 dev wan0
203.0.113.0/24
203.0.113.53
198.51.100.53
operstate unknown
carrier_changes 0
rx_errors 0
tx_errors 0
rx_dropped 0
tx_dropped 0
END
    expect_line err 'no routes and no resolvers: those of a sample are listed instead'
    echo 'nameserver 192.0.2.53' >etc/resolv.conf
    run 0 "$@" --dump - </dev/null
    expect_line out ' resolvers[0]=192.0.2.53'
    ! grep -q wan0 out || fail "a sample in spite of a resolver"
    ! grep -q 'no routes' err || fail "a sample was mentioned"
}

case_manages_without_the_kernels_files()
{
    echo 'eth0 up' | run 0 "$@" --list eth0.events -
    echo up | expect_out
    sed 's/: [A-Z].*//' err | grep -v -e '^summary: ' -e '^no routes' >mentioned
    diff -u - mentioned <<'END' || fail "not the files expected"
./proc/net/route
./proc/net/ipv6_route
./etc/resolv.conf
./sys/class/net
END
    make_machine
    rm sys/class/net/eth0/carrier_changes sys/class/net/eth0/statistics/tx_dropped
    run 0 "$@" --list eth0.events - </dev/null
    printf '%s\n' 'operstate up' 'rx_errors 0' 'tx_errors 0' 'rx_dropped 18446744073709551615' |
        expect_out
    sed 's/: [A-Z].*//' err | grep -v '^summary: ' >mentioned
    printf './sys/class/net/eth0/%s\n' carrier_changes statistics/tx_dropped |
        diff -u - mentioned || fail "not the files expected"
}

case_reports_bad_facts()
{
    make_machine
    printf 'nameserver fe80::1%%eth0\nnameserver 192.0.2.54\nnameserver\n' >etc/resolv.conf
    sed 's/ 20 / 81 /' proc/net/ipv6_route >changed
    mv changed proc/net/ipv6_route
    run 0 "$@" --list resolvers --list eth0.networks --get eth0.routes 2 - </dev/null
    printf '%s\n' 192.0.2.54 10.20.30.0/23 2001:db8::/129\ dev\ eth0 | expect_out
    expect_err <<'END'
./proc/net/ipv6_route:1: not a network: "2001:db8::/129"
./etc/resolv.conf:1: not an IP address: "fe80::1%eth0"
./etc/resolv.conf:3: not an IP address: ""
END
}

case_knows_this_machine()
{
    [ -r /proc/net/route ] || { echo "no /proc/net/route: skipped"; exit 77; }
    run 0 "$@" --dump - </dev/null
    for interface in $(awk 'NR > 1 { print $1 }' /proc/net/route | sort -u); do
        expected=$(awk -v name="$interface" '$1 == name && $4 % 2 == 1' /proc/net/route | wc -l)
        listed=$(grep -c "^ $interface\.routes\[[0-9]*\]=[0-9.]*/" out)
        [ "$listed" -eq "$expected" ] || fail "$listed routes of $interface, not $expected"
    done
    for interface in /sys/class/net/*/; do
        [ -e "$interface/operstate" ] || continue
        name=$(basename "$interface")
        run 0 "$@" --get "$name.events" 0 - </dev/null
        echo "operstate $(cat "$interface/operstate")" | expect_out
    done
}

case_appends()
{
    run 0 "$@" --append new one --append new two --append new one --append 'other name' '' \
        --list new --list 'other name' - </dev/null
    printf '%s\n' one two one '' | expect_out
    expect_other_err </dev/null
}

case_replaces()
{
    printf 'e %s\n' a b a >input
    run 0 "$@" --replace e.events 2 c --replace e.events 0 'a long text' --list e.events input
    printf '%s\n' 'a long text' b c | expect_out
}

case_removes()
{
    printf 'e %s\n' a b a >input
    run 0 "$@" --remove e.events 0 --list e.events --remove e.events 1 --list e.events input
    printf '%s\n' b a b | expect_out
    run 1 "$@" --remove e.events 0 --remove e.events 0 --remove e.events 0 --get e.events 0 input
    expect_nothing out
    echo '--get e.events 0: not found (2)' | expect_other_err
}

case_deletes_every_equal_value()
{
    printf 'e %s\n' a b a a c a >input
    run 0 "$@" --delete e.events a --list e.events --get e.events 1 input
    printf '%s\n' b c c | expect_out
    run 1 "$@" --delete e.events b --delete e.events a --delete e.events c --list e.events \
        --delete e.events c --delete other a input
    expect_nothing out
    expect_other_err <<'END'
--list e.events: not found (2)
--delete e.events: not found (2)
--delete other: not found (2)
END
}

case_gets_by_position()
{
    printf 'e %s\n' a b a >input
    run 0 "$@" --get e.events 2 --get e.events 1 --get e.events 00 input
    printf '%s\n' a b a | expect_out
}

case_tells_what_is_past_the_end()
{
    printf 'e %s\n' a b >input
    run 1 "$@" --get e.events 2 --replace e.events 2 c --remove e.events 2 \
        --get e.events 4294967295 --get e 0 --list e --list e.events input
    printf '%s\n' a b | expect_out
    expect_other_err <<'END'
--get e.events 2: not found (2)
--replace e.events 2: not found (2)
--remove e.events 2: not found (2)
--get e.events 4294967295: not found (2)
--get e 0: not found (2)
--list e: not found (2)
END
}

case_keeps_addresses_and_networks_by_type()
{
    make_machine
    run 1 "$@" --append resolvers 2001:DB8:0::99 --append resolvers 192.0.2.256 \
        --replace resolvers 0 FE80::0:1 --replace resolvers 1 localhost \
        --delete resolvers 2001:DB8::0:35 --delete resolvers 1 --list resolvers \
        --append e.networks 2001:DB8:0::/32 --append e.networks 192.0.2.0 \
        --append e.networks 192.0.2.0/24 --replace e.networks 1 FD00:0::/8 \
        --replace e.networks 0 10.0.0.0/33 --delete e.networks 2001:db8::0/32 --list e.networks \
        --append resolvers.old text --get resolvers.old 0 - </dev/null
    printf '%s\n' fe80::1 2001:db8::99 fd00::/8 text | expect_out
    expect_err <<'END'
--append resolvers: not an IP address: "192.0.2.256" (22)
--replace resolvers 1: not an IP address: "localhost" (22)
--delete resolvers: not an IP address: "1" (22)
--append e.networks: not a network: "192.0.2.0" (22)
--replace e.networks 0: not a network: "10.0.0.0/33" (22)
END
}

case_logs_in_order_and_keeps_duplicates()
{
    printf '%s\n' '# comment' '' '	eth0 	 link  up ' 'lo x' 'eth0	link down' '  # comment' \
        'eth0 link  up' 'eth0 #1' >input
    run 0 "$@" --list eth0.events --list lo.events input
    printf '%s\n' 'link  up' 'link down' 'link  up' '#1' x | expect_out
    expect_other_err </dev/null
    expect_summary <<'END'
input: lines=8 malformed=0
lists=5 values=10
END
}

case_keeps_the_last_events()
{
    make_machine
    awk 'BEGIN { for (i = 0; i < 3000; ++i) print "eth" (i % 3), "event", i }' >input
    run 0 "$@" --keep 2 --list eth0.events --list eth1.events --list eth2.events --list lo.events \
        --append eth1.events last --list eth1.events --append other.events 1 --append kept 1 \
        --append kept 2 --append kept 3 --list kept input
    printf '%s\n' 'event 2994' 'event 2997' 'event 2995' 'event 2998' 'event 2996' 'event 2999' \
        'rx_dropped 0' 'tx_dropped 0' 'event 2998' last 1 2 3 | expect_out
    expect_summary <<'END'
input: lines=3000 malformed=0
lists=7 values=16
discarded eth0.events[0]=1004
discarded eth1.events[0]=998
discarded eth2.events[0]=998
discarded lo.events[0]=4
END
    run 0 "$@" --keep 1 --list eth1.events input
    echo 'event 2998' | expect_out
    run 0 "$@" --list eth1.events input
    awk 'BEGIN { for (i = 2977; i < 3000; i += 3) print "event", i }' | expect_out
    run 0 "$@" --keep 4294967295 --list eth1.events input
    awk 'BEGIN { for (i = 1; i < 3000; i += 3) print "event", i }' | expect_out
    ! grep -q discarded err || fail "events discarded"
}

case_reports_malformed_lines()
{
    printf '%s\n' 'first 1' 'lonely' 'lonely  ' '0123456789abcde text' '0123456789abcdef text' \
        '../net text' >input
    printf 'a\0b text\n# comment with\0zero\na b\0\n' >>input
    printf '%s\n' 'last 2' >>input
    run 0 "$@" --list first.events --list last.events --list 0123456789abcde.events input
    printf '%s\n' 1 2 text | expect_out
    expect_other_err <<'END'
input:2: no text behind the interface: "lonely"
input:3: no text behind the interface: "lonely"
input:5: not the name of an interface: "0123456789abcdef"
input:6: not the name of an interface: "../net"
input:7: a NUL byte in the line
input:8: a NUL byte in the line
input:9: a NUL byte in the line
END
    expect_summary <<'END'
input: lines=10 malformed=7
lists=6 values=8
END
}

case_reads_a_last_line_without_newline()
{
    printf 'a 1\na 2' | run 0 "$@" --list a.events -
    printf '%s\n' 1 2 | expect_out
}

case_reads_carriage_returns()
{
    printf 'a 1\r\n\r\n# comment\r\na 2 3\r\n' >input
    run 0 "$@" --list a.events input
    printf '%s\n' 1 '2 3' | expect_out
    expect_other_err </dev/null
}

case_reads_an_empty_file()
{
    run 0 "$@" - </dev/null
    expect_line out '  resolvers 2: 2001:db8::53'
    expect_line out 'Every "link down" deleted'
    sed '1,/^Lists$/d' out >listed
    mv listed out
    expect_out <<'END'
arraymap ADDRESS hashsize=32 numkeys=3 numvalues=6
 resolvers[0]=2001:db8::53
 resolvers[1]=203.0.113.53
 resolvers[2]=198.51.100.53
 wan0.networks[0]=203.0.113.0/24
 wan0.routes[0]=0.0.0.0/0 via 203.0.113.1
 wan0.routes[1]=203.0.113.0/24 dev wan0
END
    expect_summary <<'END'
<stdin>: lines=0 malformed=0
lists=3 values=5
END
}

case_reads_a_line_of_a_mebibyte()
{
    {
        printf 'a '
        mebibyte
        printf '\n'
        mebibyte
        printf ' text\n'
        mebibyte
        printf '\na last\n'
    } >input
    run 0 "$@" --list a.events input
    {
        mebibyte
        printf '\nlast\n'
    } | expect_out
    expect_other_err <<'END'
input:2: not the name of an interface: "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"...
input:3: no text behind the interface: "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"...
END
}

case_survives_binary_garbage()
{
    bytes=$(awk 'BEGIN { for (i = 0; i < 256; ++i) printf "\\%03o", i * 167 % 256 }')
    texts=$(awk 'BEGIN { for (i = 1; i < 256; ++i) if (i != 10) printf "\\%03o", i * 167 % 256 }')
    for start in '' 'a' 'a ' ' ' 'a/'; do
        # shellcheck disable=SC2059 # the bytes are the format
        printf "$start$bytes$start\n$start$texts\n"
    done >input
    echo 'b link up' >>input
    run 0 "$@" --list b.events input
    echo 'link up' | expect_out
    expect_line err 'input:1: a NUL byte in the line'
    [ "$(tr -d '\n' <err | tr -d ' -~' | wc -c)" -eq 0 ] || fail "bytes that do not print"
    mkdir -p proc/net etc
    for file in proc/net/route proc/net/ipv6_route etc/resolv.conf; do
        cp input $file
    done
    make_interface eth0 up 0
    cp input sys/class/net/eth0/operstate
    run 0 "$@" --list b.events --get eth0.events 1 input
    printf '%s\n' 'link up' 'carrier_changes 0' | expect_out
}

case_escapes_what_it_quotes()
{
    printf '\033[31m"\\\377\n' | run 1 "$@" --append resolvers "$(printf '\033')" -
    expect_other_err <<'END'
<stdin>:1: no text behind the interface: "\x1b[31m\x22\x5c\xff"
--append resolvers: not an IP address: "\x1b" (22)
END
}

case_grows_the_tables()
{
    awk 'BEGIN { for (i = 0; i < 1025; ++i) { print "i" i, i; print "i" i, "last" } }' >input
    run 0 "$@" --keep 1 --list i1024.events --dump input
    grep -q '^arraymap .* hashsize=2048 numkeys=1028 numvalues=1030$' out || fail "not the size expected"
    [ "$(grep -c '^ i[0-9]*\.events\[0\]=last$' out)" -eq 1025 ] || fail "events lost"
    [ "$(grep -c '^summary: discarded i[0-9]*\.events\[0\]=1$' err)" -eq 1025 ] ||
        fail "not counted what was discarded"
}

case_prints_help()
{
    run 0 "$@" --help
    grep -q '^usage: network_lists ' out || fail "no usage"
    expect_nothing err
}

case_refuses_wrong_usage()
{
    for words in --append '--append a' --replace '--replace a' '--replace a 1' --remove '--remove a' \
        --delete '--delete a' --get '--get a' --list --keep '--keep 0' '--keep x' '--keep -1' \
        '--keep 4294967296' '--get a x' '--get a -1' '--get a +1' '--get a 1x' '--get a 0x1' \
        '--get a 4294967296' '--get a 99999999999999999999999' '--remove a b' '--replace a b c' \
        --no-such-option -x 'one two' '- -' '--help --get'; do
        # shellcheck disable=SC2086 # several words
        run 2 "$@" $words </dev/null
        expect_nothing out
        grep -q '^usage: network_lists ' err || fail "no usage for: $words"
    done
    run 2 "$@" --get a '' </dev/null
    expect_nothing out
}

case_reports_an_unreadable_file()
{
    run 2 "$@" no/such/file --append a b --list a
    expect_nothing out
    grep -q '^no/such/file: ' err || fail "no report of a missing file"
    run 2 "$@" .
    expect_nothing out
    grep -q '^\.: ' err || fail "no report of a directory"
}

case_reports_a_full_disk()
{
    [ -c /dev/full ] || { echo "no /dev/full: skipped"; exit 77; }
    cp "$SAMPLE" sample
    for words in '' --dump '--list eth0.events' '--get eth0.events 0'; do
        status=0
        # shellcheck disable=SC2086 # several words
        "$@" sample $words >/dev/full 2>err || status=$?
        : >out
        [ "$status" -eq 2 ] || fail "exit status $status instead of 2 with: $words"
        grep -q '^standard output: ' err || fail "no report with: $words"
    done
}

run_case "$@"
