#!/bin/sh
# Runs one case against the example program key_flood:
#
#     key_flood.sh CASE [EMULATOR...] PROGRAM
#
# A case is a function that gets the words to start the program as its arguments.
. "$(dirname "$0")/common.sh"

# The seed is another one each time, but 1024 names thrown into 1024 buckets at random put 20 or
# more into one of them less than once in 10^15 runs.
expect_flood()
{
    longest=$(sed -n 's/^keyed hash: .* longest_chain=//p' out)
    [ "$longest" -lt 20 ] || fail "a chain of $longest under the keyed hash"
    sed 's/^\(keyed hash: .* longest_chain=\).*/\1SHORT/' out >out.neutral
    diff -u - out.neutral <<'END' || fail "unexpected output"
built-in hash: names=1024 buckets=1024 longest_chain=1024
keyed hash: names=1024 buckets=1024 longest_chain=SHORT
END
    expect_nothing err
}

case_spreads_the_flood()
{
    run 0 "$@"
    expect_flood
}

case_takes_spellings_for_one_name()
{
    run 0 "$@" --ignore-case
    expect_flood
}

case_prints_help()
{
    run 0 "$@" --help
    grep -q '^usage: key_flood ' out || fail "no usage"
    expect_nothing err
}

case_refuses_wrong_usage()
{
    for words in x -x --no-such-option '--ignore-case --ignore-case' '--help --ignore-case'; do
        # shellcheck disable=SC2086 # several words
        run 2 "$@" $words
        expect_nothing out
        grep -q '^usage: key_flood ' err || fail "no usage for: $words"
    done
}

case_reports_a_full_disk()
{
    [ -c /dev/full ] || { echo "no /dev/full: skipped"; exit 77; }
    status=0
    "$@" >/dev/full 2>err || status=$?
    : >out
    [ "$status" -eq 2 ] || fail "exit status $status instead of 2"
    grep -q '^standard output: ' err || fail "no report"
}

run_case "$@"
