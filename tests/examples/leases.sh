#!/bin/sh
# Runs one case against the example program leases:
#
#     leases.sh CASE [EMULATOR...] PROGRAM
#
# with the path of the sample in SAMPLE. A case is a function that gets the words to start the
# program as its arguments.
. "$(dirname "$0")/common.sh"

case_shows_the_sample()
{
    run 0 "$@" "$SAMPLE"
    expect_out <<'END'
02:00:5e:10:00:01 192.168.1.20 (office-printer)
02:00:5e:10:00:02 192.168.1.21 2001:db8::21 192.168.1.22 (camera)
END
    echo "$SAMPLE:6: not a lease" | expect_err
}

case_reads_the_sample_by_default()
{
    run 0 "$@"
    expect_line out '02:00:5e:10:00:01 192.168.1.20 (office-printer)'
}

case_tells_when_a_lease_ends()
{
    run 0 "$@" --until 192.168.1.20 "$SAMPLE"
    echo 1767229200 | expect_out
}

case_tells_that_there_is_no_lease()
{
    run 1 "$@" --until 192.168.1.2 - </dev/null
    expect_nothing out
    echo '192.168.1.2: no such key, value or position' | expect_err
}

case_reads_the_format()
{
    printf '%s\n' '# comment' '' '  -5	02:00:5E:10:00:01 ::1 a comment' \
        '2147483647 02:00:5e:10:00:01 ::2 b' | run 0 "$@" -
    echo '02:00:5E:10:00:01 ::1 ::2 (b)' | expect_out
    expect_err </dev/null
}

case_reports_what_is_no_lease()
{
    printf '%s\n' '1 02:00:5e:10:00:01 192.0.2.1' 'soon 02:00:5e:10:00:01 192.0.2.1 a' \
        '2147483648 02:00:5e:10:00:01 192.0.2.1 a' '1 02:00:5e:10:00 192.0.2.1 a' \
        '1 02:00:5e:10:00:01:02 192.0.2.1 a' '1 02:00:5e:10:00:01 192.0.2.1/24 a' ' ' \
        '1 02:00:5e:10:00:01 192.0.2.2 a' | run 0 "$@" -
    echo '02:00:5e:10:00:01 192.0.2.2 (a)' | expect_out
    for line in 1 2 3 4 5 6 7; do
        echo "<stdin>:$line: not a lease"
    done | expect_err
}

case_reads_an_empty_file()
{
    run 0 "$@" - </dev/null
    expect_nothing out
    expect_nothing err
}

case_survives_binary_garbage()
{
    awk 'BEGIN { for (i = 0; i < 65536; ++i) printf "%c", i * 167 % 256 }' >input
    echo >>input
    cat "$SAMPLE" >>input
    run 0 "$@" --until 192.168.1.22 input
    echo 1767229800 | expect_out
}

case_grows_the_tables()
{
    awk 'BEGIN { for (i = 0; i < 2000; ++i)
        printf "%d 02:00:5e:10:%02x:%02x 10.0.%d.%d n%d\n", i, i / 256, i % 256, i / 256, i % 256, i
    }' >input
    run 0 "$@" input
    [ "$(wc -l <out)" -eq 2000 ] || fail "devices lost"
    expect_line out '02:00:5e:10:07:cf 10.0.7.207 (n1999)'
}

case_prints_help()
{
    run 0 "$@" --help
    grep -q '^usage: leases ' out || fail "no usage"
    expect_nothing err
}

case_refuses_wrong_usage()
{
    for words in --until -x 'one two' '--until a --until b'; do
        # shellcheck disable=SC2086 # several words
        run 2 "$@" $words </dev/null
        expect_nothing out
        grep -q '^usage: leases ' err || fail "no usage for: $words"
    done
}

case_reports_an_unreadable_file()
{
    run 2 "$@" no/such/file
    expect_nothing out
    grep -q '^no/such/file: ' err || fail "no report of a missing file"
    run 2 "$@" .
    grep -q '^\.: ' err || fail "no report of a directory"
}

case_reports_a_full_disk()
{
    [ -c /dev/full ] || { echo "no /dev/full: skipped"; exit 77; }
    status=0
    "$@" "$SAMPLE" >/dev/full 2>err || status=$?
    : >out
    [ "$status" -eq 2 ] || fail "exit status $status instead of 2"
    grep -q '^standard output: ' err || fail "no report"
}

run_case "$@"
