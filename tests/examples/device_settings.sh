#!/bin/sh
# Runs one case against the example program device_settings:
#
#     device_settings.sh CASE [EMULATOR...] PROGRAM
#
# with the path of the sample in SAMPLE and the program's byte order, as CMake calls it, in
# BYTE_ORDER. A case is a function that gets the words to start the program as its arguments.
. "$(dirname "$0")/common.sh"

# Compares the settings that were listed with the standard input.
expect_settings()
{
    sed -e '1,/^Settings$/d' -e '/^map /d' out >out.settings
    diff -u - out.settings || fail "unexpected settings"
}

case_shows_the_sample()
{
    run 0 "$@" --no-machine "$SAMPLE"
    expect_out <<'END'
Typed reads
  lan.mtu as uint16: 9000
  wifi.txpower as int8: -3
  wan.enabled as bool: yes
  dhcp.leasetime as time: 12 h
  wan.gateway as ipaddr: is not the first resolver
Reads of the wrong type or the wrong key
  wifi.ssid as uint16: 34 (not a number of the type, or out of its range)
  lan.cidr as ipaddr: 22 (unusable argument, or text that is no address)
  lan.mut as uint16: 2 (no such key, value or position)
Resolvers
  0: 203.0.113.53
  1: 2001:db8::53
  2: 198.51.100.53
Settings
map ADDRESS hashsize=64 numkeys=38
 contact=Network operations, room=214
 dhcp.enabled=1
 dhcp.leasetime=43200
 dhcp.range=192.168.1.100-192.168.1.199
 hostname=gate-7
 lan.cidr=192.168.1.1/24
 lan.enabled=1
 lan.macaddr=02:00:5e:10:00:02
 lan.mtu=9000
 lan.vlan=100
 lan6.cidr=2001:db8:1::1/64
 ntp.drift=-8500000000
 ntp.offset=-3600
 resolver:0=203.0.113.53
 resolver:1=2001:db8::53
 resolver:2=198.51.100.53
 resolver:max=3
 resolver:max+1=3
 ssh.port=2222
 static.route=10.20.0.0/16
 static6.route=2001:db8:ff00::/40
 syslog.ipaddr=2001:db8:1::514
 vpn.fwmark=3237998081
 vpn.nice=-5
 vpn.priority=-20
 wan.enabled=1
 wan.gateway=203.0.113.1
 wan.ipaddr=203.0.113.17
 wan.macaddr=02:00:5e:10:00:01
 wan.metric=3000000000
 wan.mtu=1492
 wan.quota=500000000000
 wan.ttl=64
 wifi.channel=11
 wifi.enabled=0
 wifi.ssid=gate-7 guests
 wifi.threshold=-720
 wifi.txpower=-3
END
    expect_err <<END
$SAMPLE:57: not a uint16: "jumbo" (34)
$SAMPLE:58: no '='
END
}

case_counts_what_it_stores()
{
    run 0 "$@" --no-machine "$SAMPLE"
    expect_summary <<'END'
lines=58
malformed=2
stored=37
stored.bool=4
stored.char=1
stored.cidr=4
stored.int=1
stored.int16=1
stored.int32=1
stored.int64=1
stored.int8=1
stored.ipaddr=6
stored.macaddr=2
stored.str=4
stored.time=1
stored.uchar=1
stored.uint=1
stored.uint16=5
stored.uint32=1
stored.uint64=1
stored.uint8=1
END
}

case_reads_the_sample_by_default()
{
    run 0 "$@" --no-machine "$SAMPLE"
    sed 's/^map [^ ]* //' out >named
    run 0 "$@" --no-machine
    sed 's/^map [^ ]* //' out >default
    diff -u named default || fail "not the sample"
}

case_answers_in_every_type()
{
    run 0 "$@" --get wan.quota uint64 --get ntp.drift int64 --get vpn.fwmark uint32 \
        --get ntp.offset int32 --get dhcp.leasetime time --get ssh.port uint16 \
        --get wifi.threshold int16 --get wifi.channel uint8 --get wifi.txpower int8 \
        --get wan.enabled bool --get wan.metric uint --get vpn.priority int --get wan.ttl uchar \
        --get vpn.nice char --get wifi.ssid str --get wan.macaddr macaddr \
        --get wan.ipaddr ipaddr --get lan.cidr cidr --no-machine "$SAMPLE"
    expect_out <<'END'
wan.quota=500000000000
ntp.drift=-8500000000
vpn.fwmark=3237998081
ntp.offset=-3600
dhcp.leasetime=43200
ssh.port=2222
wifi.threshold=-720
wifi.channel=11
wifi.txpower=-3
wan.enabled=1
wan.metric=3000000000
vpn.priority=-20
wan.ttl=64
vpn.nice=-5
wifi.ssid=gate-7 guests
wan.macaddr=02:00:5e:10:00:01
wan.ipaddr=203.0.113.17
lan.cidr=192.168.1.1/24
END
}

case_answers_without_a_listing()
{
    echo 'a=1' | run 0 "$@" --no-machine --get a str -
    echo 'a=1' | expect_out
}

case_converts_what_is_stored_as_text()
{
    run 0 "$@" --no-machine - --get hex uint16 --get octal int --get huge uint64 \
        --get low int8 --get mac macaddr --get v6 ipaddr <<'END'
hex = 0xFFFF
octal = 010
huge = 18446744073709551615
low = -128
mac = 02:00:5E:AA:BB:CC
v6 = 2001:DB8:0:0::1
END
    expect_out <<'END'
hex=65535
octal=8
huge=18446744073709551615
low=-128
mac=02:00:5e:aa:bb:cc
v6=2001:db8::1
END
}

case_tells_unanswered_queries()
{
    run 1 "$@" --no-machine - --get missing uint16 --get text uint16 --get big uint8 --get text str \
        --get text macaddr --get text int --get big ipaddr --get big cidr --get big bool <<'END'
text = some text
big = 256
END
    echo 'text=some text' | expect_out
    expect_err <<'END'
missing: not found (2)
text: not a uint16: "some text" (34)
big: not a uint8: "256" (34)
text: not a macaddr: "some text" (22)
text: not an int: "some text" (34)
big: not an ipaddr: "256" (22)
big: not a cidr: "256" (22)
big: not a bool: "256" (34)
END
}

case_types_by_the_last_part_of_a_name()
{
    run 0 "$@" --no-machine - <<'END'
mtu = 0x500
a.b.mtu = 0x501
mtu.a = 0x502
mtus = 0x503
END
    expect_settings <<'END'
 a.b.mtu=1281
 mtu=1280
 mtu.a=0x502
 mtus=0x503
END
}

case_reports_malformed_lines()
{
    printf '%s\n' 'first = 1' 'no sign' '= value' '  =' 'wan.mtu = 65536' 'wan.enabled = maybe' \
        'wan.mtu =' >input
    printf 'with\0zero = 1\n# comment with\0zero\n' >>input
    printf '%s\n' 'lan.macaddr = 02:00:5e:10:00' 'lan.ipaddr = 192.168.1.256' \
        'lan.cidr = 192.168.1.1/33' 'resolver = localhost' 'last = 2' >>input
    run 0 "$@" --no-machine input
    expect_err <<'END'
input:2: no '='
input:3: no key before the '='
input:4: no key before the '='
input:5: not a uint16: "65536" (34)
input:6: not a bool: "maybe" (34)
input:7: not a uint16: "" (34)
input:8: a NUL byte in the line
input:9: a NUL byte in the line
input:10: not a macaddr: "02:00:5e:10:00" (22)
input:11: not an ipaddr: "192.168.1.256" (22)
input:12: not a cidr: "192.168.1.1/33" (22)
input:13: not an ipaddr: "localhost" (22)
END
    expect_summary <<'END'
lines=14
malformed=12
stored=2
stored.str=2
END
    expect_line out ' first=1'
    expect_line out ' last=2'
}

case_keeps_a_good_value_before_a_bad_one()
{
    printf '%s\n' 'a.mtu=1400' 'a.mtu=none' 'a.mtu=70000' | run 0 "$@" --no-machine -
    echo ' a.mtu=1400' | expect_settings
    expect_err <<'END'
<stdin>:2: not a uint16: "none" (34)
<stdin>:3: not a uint16: "70000" (34)
END
}

case_replaces_repeated_keys()
{
    printf '%s\n' 'a=1' 'b=2' 'A=3' 'a=4' | run 0 "$@" --no-machine -
    expect_settings <<'END'
 A=3
 a=4
 b=2
END
}

case_trims_white_space()
{
    printf ' \t key of words \t=\t value of words \t \n   # comment\n\t\n empty = \n' |
        run 0 "$@" --no-machine -
    expect_settings <<'END'
 empty=
 key of words=value of words
END
    expect_err </dev/null
}

case_keeps_equals_signs_in_values()
{
    printf '%s\n' 'a=b=c' 'd==' | run 0 "$@" --no-machine -
    expect_settings <<'END'
 a=b=c
 d==
END
}

case_reads_a_last_line_without_newline()
{
    printf 'a=1\nlan.mtu=1280' | run 0 "$@" --no-machine - --get lan.mtu uint16
    echo 'lan.mtu=1280' | expect_out
}

case_reads_carriage_returns()
{
    printf 'a = text\r\n\r\n# comment\r\nlan.mtu=1280\r\nlan.macaddr=02:00:5e:10:00:02\r\n' |
        run 0 "$@" --no-machine -
    expect_settings <<'END'
 a=text
 lan.macaddr=02:00:5e:10:00:02
 lan.mtu=1280
END
    expect_err </dev/null
}

case_reads_an_empty_file()
{
    run 0 "$@" --no-machine - </dev/null
    expect_out <<'END'
Typed reads
  lan.mtu as uint16: 2 (no such key, value or position)
  wifi.txpower as int8: 2 (no such key, value or position)
  wan.enabled as bool: 2 (no such key, value or position)
  dhcp.leasetime as time: 2 (no such key, value or position)
  wan.gateway as ipaddr: 2 (no such key, value or position)
Reads of the wrong type or the wrong key
  wifi.ssid as uint16: 2 (no such key, value or position)
  lan.cidr as ipaddr: 2 (no such key, value or position)
  lan.mut as uint16: 2 (no such key, value or position)
Resolvers
  resolver as array: 2 (no such key, value or position)
Settings
map is empty
END
    expect_summary <<'END'
lines=0
malformed=0
stored=0
END
}

case_reads_a_line_of_a_mebibyte()
{
    {
        printf 'value='
        mebibyte
        printf '\n'
        mebibyte
        printf '=key\nlan.mtu='
        mebibyte
        printf '\n'
        mebibyte
        printf '\nlast=1\n'
    } >input
    run 0 "$@" --no-machine input
    {
        printf ' last=1\n value='
        mebibyte
        printf '\n '
        mebibyte
        printf '=key\n'
    } >expected
    expect_settings <expected
    expect_err <<'END'
input:3: not a uint16: "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"... (34)
input:4: no '='
END
}

case_survives_binary_garbage()
{
    bytes=$(awk 'BEGIN { for (i = 0; i < 256; ++i) printf "\\%03o", i * 167 % 256 }')
    for start in '' 'a' 'lan.mtu=' 'resolver=' 'x.macaddr=' 'y=' '='; do
        # shellcheck disable=SC2059 # the bytes are the format
        printf "$start$bytes$start"
    done >input
    printf '\nlan.mtu=1280\n' >>input
    cat "$SAMPLE" >>input
    run 0 "$@" --no-machine input --get lan.mtu uint16 --get wifi.ssid str
    expect_out <<'END'
lan.mtu=9000
wifi.ssid=gate-7 guests
END
    expect_line err 'input:1: a NUL byte in the line'
    [ "$(tr -d '\n' <err | LC_ALL=C tr -d ' -~' | wc -c)" -eq 0 ] || fail "bytes that do not print"
}

case_escapes_what_it_quotes()
{
    printf 'a.mtu=\033[31m"\\\377\n' | run 0 "$@" --no-machine -
    expect_err <<'END'
<stdin>:1: not a uint16: "\x1b[31m\x22\x5c\xff" (34)
END
}

case_refuses_longer_text_than_an_address()
{
    run 1 "$@" --no-machine - --get text macaddr --get a.macaddr macaddr <<'END'
a.macaddr=02:00:5e:10:00:02
a.macaddr=02:00:5e:10:00:03:04
b.ipaddr=0000:0000:0000:0000:0000:ffff:255.255.255.2555
text=02:00:5e:10:00:02 and more
END
    echo 'a.macaddr=02:00:5e:10:00:02' | expect_out
    expect_err <<'END'
<stdin>:2: not a macaddr: "02:00:5e:10:00:03:04" (22)
<stdin>:3: not an ipaddr: "0000:0000:0000:0000:0000:ffff:255.255.255.2555" (22)
text: not a macaddr: "02:00:5e:10:00:02 and more" (22)
END
}

case_numbers_the_resolvers()
{
    for i in 1 2 3 4 5 6 7 8 9 10 11; do
        echo "resolver=192.0.2.$i"
        echo 'resolver=none'
    done >input
    run 0 "$@" --no-machine input
    sed -n '/^Resolvers$/,/^Settings$/p' out >listed
    {
        echo Resolvers
        for i in 0 1 2 3 4 5 6 7 8 9 10; do
            echo "  $i: 192.0.2.$((i + 1))"
        done
        echo Settings
    } | diff -u - listed || fail "unexpected resolvers"
    expect_line out ' resolver:max=11'
    expect_line err 'summary: malformed=11'
}

case_guards_the_lists()
{
    run 0 "$@" --no-machine - <<'END'
resolver:max = 7
resolver = 192.0.2.1
resolver:0 = text
END
    expect_settings <<'END'
 resolver:0=192.0.2.1
 resolver:max=1
 resolver:max+1=1
END
    expect_err <<'END'
<stdin>:1: a ':' in the key, which is kept for lists
<stdin>:3: a ':' in the key, which is kept for lists
END
}

case_grows_the_table()
{
    awk 'BEGIN { for (i = 0; i < 1025; ++i) print "key" i "=" i }' >input
    run 0 "$@" --no-machine input
    grep -q '^map .* hashsize=2048 numkeys=1025$' out || fail "not the size expected"
    [ "$(grep -c '^ key[0-9]*=[0-9]*$' out)" -eq 1025 ] || fail "settings lost"
}

case_prints_help()
{
    run 0 "$@" --help
    grep -q '^usage: device_settings ' out || fail "no usage"
    expect_nothing err
}

case_refuses_wrong_usage()
{
    for words in --get '--get key' '--get key number' '--get key fmt' --no-such-option -x \
        'one two' '- -' '--help --get'; do
        # shellcheck disable=SC2086 # several words
        run 2 "$@" $words </dev/null
        expect_nothing out
        grep -q '^usage: device_settings ' err || fail "no usage for: $words"
    done
}

case_reports_an_unreadable_file()
{
    run 2 "$@" --no-machine no/such/file --get a str
    expect_nothing out
    grep -q '^no/such/file: ' err || fail "no report of a missing file"
    run 2 "$@" --no-machine .
    expect_nothing out
    grep -q '^\.: ' err || fail "no report of a directory"
}

case_reports_a_full_disk()
{
    [ -c /dev/full ] || { echo "no /dev/full: skipped"; exit 77; }
    status=0
    "$@" --no-machine "$SAMPLE" >/dev/full 2>err || status=$?
    : >out
    [ "$status" -eq 2 ] || fail "exit status $status instead of 2"
    grep -q '^standard output: ' err || fail "no report"
}

case_knows_this_machine()
{
    run 0 "$@" --get machine.uptime time --get machine.ctxt uint64 --get machine.processes uint64 \
        --get machine.hostname str "$SAMPLE"
    expect_line out "machine.hostname=$(cat /proc/sys/kernel/hostname)"
    uptime=$(sed -n 's/^machine.uptime=//p' out)
    now=$(sed 's/\..*//' /proc/uptime)
    [ "$uptime" -le "$now" ] || fail "uptime ahead of $now"
    [ "$uptime" -ge $((now - 60)) ] || fail "uptime behind $now"
    for interface in /sys/class/net/*/; do
        [ -e "$interface/mtu" ] || continue
        name=$(basename "$interface")
        run 0 "$@" --get "machine.$name.mtu" uint32 "$SAMPLE"
        echo "machine.$name.mtu=$(cat "$interface/mtu")" | expect_out
    done
}

# A machine in the forms of the kernel's files.
make_machine()
{
    mkdir -p proc/sys/kernel proc/net sys/class/net/eth0/statistics sys/class/net/tun0/statistics \
        sys/class/net/ib0/statistics
    echo box >proc/sys/kernel/hostname
    echo '1787.57 3468.53' >proc/uptime
    printf '%s\n' 'cpu  5961 0 3282' 'ctxt 18446744073709551614' 'btime 1795257268' \
        'processes 5847' >proc/stat
    for name in eth0 tun0 ib0; do
        echo 1500 >sys/class/net/$name/mtu
        echo 5000000000 >sys/class/net/$name/statistics/rx_bytes
        echo 42 >sys/class/net/$name/statistics/tx_bytes
    done
    echo 65536 >sys/class/net/eth0/mtu
    echo 02:FC:00:00:00:01 >sys/class/net/eth0/address
    echo >sys/class/net/tun0/address
    echo 80:00:02:08:fe:80:00:00:00:00:00:00:00:02:c9:03:00:01:02:03 >sys/class/net/ib0/address
    : >sys/class/net/bonding_masters
    cat >proc/net/fib_trie <<'END'
Main:
  +-- 0.0.0.0/0 3 0 5
     |-- 0.0.0.0
        /0 universe UNICAST
     +-- 192.0.2.0/24 2 0 2
        |-- 192.0.2.0
           /24 link UNICAST
        |-- 192.0.2.2
           /32 host LOCAL
        |-- 192.0.2.255
           /32 link BROADCAST
Local:
  +-- 0.0.0.0/0 3 0 5
     |-- 127.0.0.1
        /32 host LOCAL
     |-- 192.0.2.2
        /32 host LOCAL
END
    cat >proc/net/if_inet6 <<'END'
00000000000000000000000000000001 01 80 10 80       lo
fe8000000000000000fc00fffe000001 1b 40 20 80     eth0
END
    make_network
}

case_states_the_facts_of_a_machine()
{
    make_machine
    run 0 "$@" - </dev/null
    expect_settings <<'END'
 machine.ctxt=18446744073709551614
 machine.eth0.macaddr=02:fc:00:00:00:01
 machine.eth0.mtu=65536
 machine.eth0.rx_bytes=5000000000
 machine.eth0.tx_bytes=42
 machine.hostname=box
 machine.ib0.mtu=1500
 machine.ib0.rx_bytes=5000000000
 machine.ib0.tx_bytes=42
 machine.ipv4:0=192.0.2.2
 machine.ipv4:1=127.0.0.1
 machine.ipv4:max=2
 machine.ipv4:max+1=2
 machine.ipv6:0=::1/128
 machine.ipv6:1=fe80::fc:ff:fe00:1/64
 machine.ipv6:max=2
 machine.ipv6:max+1=2
 machine.processes=5847
 machine.route:0=0.0.0.0/0
 machine.route:1=10.20.30.0/23
 machine.route:2=2001:db8::/32
 machine.route:3=::/0
 machine.route:max=4
 machine.route:max+1=4
 machine.tun0.mtu=1500
 machine.tun0.rx_bytes=5000000000
 machine.tun0.tx_bytes=42
 machine.uptime=1787
 resolver:0=192.0.2.53
 resolver:1=2001:db8::35
 resolver:max=2
 resolver:max+1=2
END
    expect_err </dev/null
    expect_summary <<'END'
lines=0
malformed=0
stored=24
stored.cidr=6
stored.ipaddr=4
stored.macaddr=1
stored.str=1
stored.time=1
stored.uint32=3
stored.uint64=8
END
}

case_lists_an_address_once()
{
    make_machine
    run 1 "$@" - --get machine.ipv4:max int --get machine.ipv4:2 ipaddr </dev/null
    echo 'machine.ipv4:max=2' | expect_out
}

case_skips_other_kinds_of_mac_address()
{
    make_machine
    run 1 "$@" - --get machine.ib0.macaddr macaddr --get machine.tun0.macaddr macaddr </dev/null
    expect_nothing out
    expect_err <<'END'
machine.ib0.macaddr: not found (2)
machine.tun0.macaddr: not found (2)
END
}

case_reports_a_bad_nameserver()
{
    make_machine
    printf 'nameserver fe80::1%%eth0\nnameserver 192.0.2.54\n' >etc/resolv.conf
    echo 'resolver=192.0.2.1' | run 0 "$@" - --get resolver:max int --get resolver:1 ipaddr
    printf 'resolver:max=2\nresolver:1=192.0.2.54\n' | expect_out
    expect_err <<'END'
./etc/resolv.conf:1: not an ipaddr: "fe80::1%eth0" (22)
END
}

case_manages_without_the_kernels_files()
{
    echo 'a=1' | run 0 "$@" -
    echo ' a=1' | expect_settings
    sed 's/: [A-Z].*//' err | grep -v '^summary: ' >mentioned
    diff -u - mentioned <<'END' || fail "not the files expected"
./proc/sys/kernel/hostname
./proc/uptime
./sys/class/net
./proc/stat
./proc/net/fib_trie
./proc/net/if_inet6
./proc/net/route
./proc/net/ipv6_route
./etc/resolv.conf
END
}

run_case "$@"
