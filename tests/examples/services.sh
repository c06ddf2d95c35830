#!/bin/sh
# Runs one case against the example program services:
#
#     services.sh CASE [EMULATOR...] PROGRAM
#
# with the path of the sample in SAMPLE. A case is a function that gets the words to start the
# program as its arguments.
. "$(dirname "$0")/common.sh"

expect_sample_reports()
{
    expect_err <<END
$SAMPLE:35: no port behind the name: "gopher"
$SAMPLE:36: no '/' behind the port: "79"
$SAMPLE:37: not a port from 0 to 65535: "188300/tcp"
END
}

case_shows_the_sample()
{
    run 0 "$@" "$SAMPLE"
    expect_out <<END
Ports of a service
  domain: 53/tcp 53/udp
  krb5: 88/tcp 88/udp
Services on a port
  80/tcp: http www www-http
  88/udp: kerberos kerberos5 krb5
53/udp stands at position 1 of domain
Pairs of a service and a port
  $SAMPLE: 42
  $SAMPLE: 42
  in either: 42
  in both: 42
 X11[0]=6000/tcp
 bgp[0]=179/tcp
 bootpc[0]=68/udp
 bootps[0]=67/udp
 coap[0]=5683/udp
END
}

case_reports_the_samples_mistakes()
{
    run 0 "$@" --dump "$SAMPLE"
    expect_sample_reports
    expect_summary <<END
$SAMPLE: lines=37 malformed=3 services=37 ports=27 pairs=42 duplicates=2 duplicate_lines=33
END
}

case_shows_what_is_missing()
{
    echo 'other 1/tcp' | run 0 "$@" -
    sed '/^Pairs /,$d' out >shown
    diff -u - shown <<'END' || fail "unexpected output"
Ports of a service
  domain:
  krb5:
Services on a port
  80/tcp:
  88/udp:
END
}

case_reads_this_machines_services()
{
    echo 'made-here 4711/udp' >machine.services
    run 0 "$@" --ports made-here
    echo 4711/udp | expect_out
    expect_err </dev/null
}

case_reads_the_sample_without_a_machines_services()
{
    run 0 "$@" --ports coap
    echo 5683/udp | expect_out
    grep -q '^machine\.services: [A-Z].*: the sample is read instead$' err || fail "nothing said"
    grep -qF "summary: $SAMPLE: lines=37 " err || fail "not the sample"
}

case_agrees_with_a_real_file()
{
    [ -r /etc/services ] || { echo "no /etc/services: skipped"; exit 77; }
    sed 's/#.*//' /etc/services | awk '
        NF >= 2 && $2 ~ /^[0-9]+\/[^\/]+$/ { for (i = 1; i <= NF; ++i) if (i != 2) print $i, $2 }' |
        sort -u >pairs
    [ -s pairs ] || { echo "no services in /etc/services: skipped"; exit 77; }
    run 0 "$@" --dump
    sed -n 's/^ \([^ ]*\)\[[0-9]*\]=\(.*\)/\1 \2/p' out | sort >listed
    diff -u pairs listed || fail "not the pairs of /etc/services"
}

case_answers_by_name()
{
    run 0 "$@" --ports domain "$SAMPLE"
    printf '%s\n' 53/tcp 53/udp | expect_out
}

case_answers_by_alias()
{
    run 0 "$@" --ports krb5 "$SAMPLE"
    printf '%s\n' 88/tcp 88/udp | expect_out
}

case_answers_by_port()
{
    run 0 "$@" --services 80/tcp "$SAMPLE"
    printf '%s\n' http www www-http | expect_out
}

case_answers_both_ways_at_once()
{
    run 0 "$@" "$SAMPLE" --services 25/tcp --ports ntp
    printf '%s\n' 123/udp smtp mail | expect_out
}

case_tells_unanswered_questions()
{
    run 1 "$@" --ports missing --services 53/tcp - <<'END'
domain 53/tcp
END
    echo domain | expect_out
    echo 'missing: not found (2)' | expect_err
    echo 'domain 53/tcp' | run 1 "$@" --services 53/udp -
    expect_nothing out
    echo '53/udp: not found (2)' | expect_err
    echo 'domain 53/tcp' | run 1 "$@" --services domain -
    expect_nothing out
}

case_lists_all_pairs()
{
    run 0 "$@" --dump - <<'END'
www 8080/tcp webcache
domain 53/tcp
domain 53/udp
www 80/tcp
Domain 53/tcp
END
    expect_out <<'END'
multimap ADDRESS hashsize=32 numkeys=4 numvalues=6
 Domain[0]=53/tcp
 domain[0]=53/tcp
 domain[1]=53/udp
 webcache[0]=8080/tcp
 www[0]=8080/tcp
 www[1]=80/tcp
END
}

case_reads_the_format()
{
    printf '%s\n' '# comment' '' '   ' '	# comment' 'a 1/tcp#comment 9/tcp' \
        '  b	2/udp  b2	b3 # b4 3/tcp' 'c 03/sctp' 'd 0/tcp' 'e 65535/x.y-z+' >input
    run 0 "$@" --dump input
    expect_out <<'END'
multimap ADDRESS hashsize=32 numkeys=7 numvalues=7
 a[0]=1/tcp
 b[0]=2/udp
 b2[0]=2/udp
 b3[0]=2/udp
 c[0]=3/sctp
 d[0]=0/tcp
 e[0]=65535/x.y-z+
END
    expect_err </dev/null
}

case_reports_malformed_lines()
{
    printf '%s\n' 'first 1/tcp' 'lonely' 'lonely # 1/tcp' 'a 80' 'a 80tcp alias' 'a /tcp' \
        'a 65536/tcp' 'a 99999999999999999999999999/tcp' 'a -1/tcp' 'a +1/tcp' 'a 0x50/tcp' \
        'a 80a/tcp' 'a http/tcp' 'a 80/' 'a 80/tcp/udp' >input
    printf 'a\0b 1/tcp\n# comment with\0zero\n' >>input
    printf '%s\n' 'last 2/tcp' >>input
    run 0 "$@" --dump input
    expect_out <<'END'
multimap ADDRESS hashsize=32 numkeys=2 numvalues=2
 first[0]=1/tcp
 last[0]=2/tcp
END
    expect_err <<'END'
input:2: no port behind the name: "lonely"
input:3: no port behind the name: "lonely"
input:4: no '/' behind the port: "80"
input:5: no '/' behind the port: "80tcp"
input:6: not a port from 0 to 65535: "/tcp"
input:7: not a port from 0 to 65535: "65536/tcp"
input:8: not a port from 0 to 65535: "99999999999999999999999999/tcp"
input:9: not a port from 0 to 65535: "-1/tcp"
input:10: not a port from 0 to 65535: "+1/tcp"
input:11: not a port from 0 to 65535: "0x50/tcp"
input:12: not a port from 0 to 65535: "80a/tcp"
input:13: not a port from 0 to 65535: "http/tcp"
input:14: not one protocol behind the '/': "80/"
input:15: not one protocol behind the '/': "80/tcp/udp"
input:16: a NUL byte in the line
input:17: a NUL byte in the line
END
    expect_summary <<'END'
input: lines=18 malformed=16 services=2 ports=2 pairs=2 duplicates=0
END
}

case_refuses_duplicates()
{
    run 0 "$@" --dump - <<'END'
www 80/tcp http
www 80/udp
www 080/tcp http web
web 80/tcp web
END
    expect_out <<'END'
multimap ADDRESS hashsize=32 numkeys=3 numvalues=4
 http[0]=80/tcp
 web[0]=80/tcp
 www[0]=80/tcp
 www[1]=80/udp
END
    expect_err </dev/null
    expect_summary <<'END'
<stdin>: lines=4 malformed=0 services=3 ports=2 pairs=4 duplicates=4 duplicate_lines=3,4
END
}

case_names_the_first_duplicates()
{
    awk 'BEGIN { for (i = 0; i < 8; ++i) print "a 1/tcp a\n" }' >input
    run 0 "$@" --services 1/tcp input
    echo a | expect_out
    expect_summary <<'END'
input: lines=16 malformed=0 services=1 ports=1 pairs=1 duplicates=15 duplicate_lines=1,3,5,7,9
END
}

case_ignores_case()
{
    printf '%s\n' 'HTTP 80/tcp' 'http 80/tcp Www' 'www 8080/TCP' 'Http 81/tcp' >input
    run 0 "$@" --ignore-case --ports hTTP --services 80/TCP input
    printf '%s\n' 80/tcp 81/tcp HTTP http Www | expect_out
    expect_summary <<'END'
input: lines=4 malformed=0 services=5 ports=3 pairs=5 duplicates=0
input: ignoring case: services=2 ports=3 pairs=4
END
    run 1 "$@" --ports hTTP input
    expect_nothing out
    run 0 "$@" --ports Http input
    echo 81/tcp | expect_out
}

case_ignores_the_case_of_protocols()
{
    printf '%s\n' 'a 1/tcp' 'b 1/TCP' >input
    run 0 "$@" --ignore-case --services 1/Tcp input
    printf '%s\n' a b | expect_out
    expect_summary <<'END'
input: lines=2 malformed=0 services=2 ports=2 pairs=2 duplicates=0
input: ignoring case: services=2 ports=1 pairs=2
END
}

make_two_tables()
{
    printf '%s\n' 'a 1/tcp' 'b 2/tcp' 'b 2/udp' 'c 3/tcp' 'D 4/tcp' >one
    printf '%s\n' 'c 3/tcp' 'b 2/udp b2' 'e 5/tcp' 'd 4/tcp' 'a 1/udp' >other
}

case_compares_two_tables()
{
    make_two_tables
    run 0 "$@" one --compare other
    expect_out <<'END'
Pairs of a service and a port
  one: 5
  other: 6
  in either: 9
  in both: 2
 b[0]=2/udp
 c[0]=3/tcp
END
    expect_summary <<'END'
one: lines=5 malformed=0 services=4 ports=5 pairs=5 duplicates=0
other: lines=5 malformed=0 services=6 ports=5 pairs=6 duplicates=0
END
}

case_compares_without_regard_to_case()
{
    make_two_tables
    run 0 "$@" one --compare other --ignore-case
    expect_out <<'END'
Pairs of a service and a port
  one: 5
  other: 6
  in either: 8
  in both: 3
 D[0]=4/tcp
 b[0]=2/udp
 c[0]=3/tcp
END
}

expect_one_in_common()
{
    sed -n '/^  in /,$p' out >combined
    diff -u - combined <<'END' || fail "unexpected combinations"
  in either: 3001
  in both: 1
 s1234[0]=1234/tcp
END
}

case_compares_tables_of_different_sizes()
{
    awk 'BEGIN { for (i = 0; i < 3000; ++i) print "s" i, i "/tcp" }' >many
    echo 's1234 1234/tcp other' >few
    run 0 "$@" many --compare few
    expect_one_in_common
    run 0 "$@" few --compare many
    expect_one_in_common
}

case_compares_with_nothing()
{
    echo 'a 1/tcp' >one
    run 0 "$@" one --compare - </dev/null
    expect_out <<'END'
Pairs of a service and a port
  one: 1
  <stdin>: 0
  in either: 1
  in both: 0
END
}

case_compares_behind_an_answer()
{
    make_two_tables
    run 1 "$@" one --compare other --ports missing
    expect_line out '  in both: 2'
    run 2 "$@" one --compare no/such/file --ports a
    echo 1/tcp | expect_out
    grep -q '^no/such/file: ' err || fail "no report of a missing file"
}

case_reads_a_last_line_without_newline()
{
    printf 'a 1/tcp\nb 2/tcp b2' | run 0 "$@" --ports b2 -
    echo 2/tcp | expect_out
}

case_reads_carriage_returns()
{
    printf 'a 1/tcp\r\n\r\n# comment\r\nb 2/tcp b2\r\n' >input
    run 0 "$@" --services 2/tcp input
    printf '%s\n' b b2 | expect_out
    expect_err </dev/null
}

case_reads_an_empty_file()
{
    run 0 "$@" --dump - </dev/null
    echo 'map is empty' | expect_out
    expect_summary <<'END'
<stdin>: lines=0 malformed=0 services=0 ports=0 pairs=0 duplicates=0
END
}

case_reads_a_line_of_a_mebibyte()
{
    {
        mebibyte
        printf ' 1/tcp '
        mebibyte
        printf '2\nlong 2/'
        mebibyte
        printf '\n'
        mebibyte
        printf '\na '
        mebibyte
        printf '/tcp\nlast 3/tcp #'
        mebibyte
        printf '\n'
    } >input
    run 0 "$@" --dump input
    {
        printf 'multimap ADDRESS hashsize=32 numkeys=4 numvalues=4\n'
        printf ' last[0]=3/tcp\n long[0]=2/'
        mebibyte
        printf '\n '
        mebibyte
        printf '[0]=1/tcp\n '
        mebibyte
        printf '2[0]=1/tcp\n'
    } >expected
    expect_out <expected
    expect_err <<'END'
input:3: no port behind the name: "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"...
input:4: not a port from 0 to 65535: "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"...
END
}

case_survives_binary_garbage()
{
    bytes=$(awk 'BEGIN { for (i = 0; i < 256; ++i) printf "\\%03o", i * 167 % 256 }')
    texts=$(awk 'BEGIN { for (i = 1; i < 256; ++i) if (i != 10) printf "\\%03o", i * 167 % 256 }')
    for start in '' 'a' 'a 1/' 'a 1/tcp ' 'a /' ' '; do
        # shellcheck disable=SC2059 # the bytes are the format
        printf "$start$bytes$start\n$start$texts\n"
    done >input
    cat "$SAMPLE" >>input
    run 0 "$@" --ports coap --services 80/tcp input
    printf '%s\n' 5683/udp http www www-http | expect_out
    expect_line err 'input:1: a NUL byte in the line'
    [ "$(tr -d '\n' <err | tr -d ' -~' | wc -c)" -eq 0 ] || fail "bytes that do not print"
    run 0 "$@" input --compare "$SAMPLE" --dump
    expect_line out '  in both: 42'
}

case_escapes_what_it_quotes()
{
    printf 'a \033[31m"\\\377\n' | run 0 "$@" --dump -
    expect_err <<'END'
<stdin>:1: no '/' behind the port: "\x1b[31m\x22\x5c\xff"
END
}

case_grows_the_tables()
{
    awk 'BEGIN { for (i = 0; i < 1025; ++i) print "s" i, i "/tcp" }' >input
    run 0 "$@" --dump --services 1024/tcp input
    grep -q '^multimap .* hashsize=2048 numkeys=1025 numvalues=1025$' out || fail "not the size expected"
    [ "$(grep -c '^ s[0-9]*\[0\]=[0-9]*/tcp$' out)" -eq 1025 ] || fail "services lost"
    expect_line out s1024
}

case_keeps_many_ports_of_a_service()
{
    awk 'BEGIN { for (i = 2000; i > 0; --i) print "s", i "/tcp" }' >input
    run 0 "$@" --ports s input
    awk 'BEGIN { for (i = 2000; i > 0; --i) print i "/tcp" }' | expect_out
}

case_prints_help()
{
    run 0 "$@" --help
    grep -q '^usage: services ' out || fail "no usage"
    expect_nothing err
}

case_refuses_wrong_usage()
{
    for words in --ports --services --compare '--ports a --ports b' '--compare one --compare two' \
        '- --compare -' --no-such-option -x 'one two' '- -' '--help --ports'; do
        # shellcheck disable=SC2086 # several words
        run 2 "$@" $words </dev/null
        expect_nothing out
        grep -q '^usage: services ' err || fail "no usage for: $words"
    done
}

case_reports_an_unreadable_file()
{
    run 2 "$@" no/such/file --ports a
    expect_nothing out
    grep -q '^no/such/file: ' err || fail "no report of a missing file"
    run 2 "$@" .
    expect_nothing out
    grep -q '^\.: ' err || fail "no report of a directory"
    run 2 "$@" "$SAMPLE" --compare .
    expect_nothing out
    grep -q '^\.: ' err || fail "no report of a directory to compare with"
}

case_reports_a_full_disk()
{
    [ -c /dev/full ] || { echo "no /dev/full: skipped"; exit 77; }
    cp "$SAMPLE" sample
    for words in '' --dump '--ports domain' '--compare sample'; do
        status=0
        # shellcheck disable=SC2086 # several words
        "$@" sample $words >/dev/full 2>err || status=$?
        : >out
        [ "$status" -eq 2 ] || fail "exit status $status instead of 2 with: $words"
        grep -q '^standard output: ' err || fail "no report with: $words"
    done
}

run_case "$@"
