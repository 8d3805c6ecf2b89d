#!/bin/sh
# Runs every fuzz target of tests/fuzz for a while: scripts/fuzz.sh <build dir> <seconds> [target...]
#
# Each target starts from its seed corpus (tests/fuzz/corpus/<target>) and its
# regression inputs (tests/fuzz/regressions/<target>); the inputs it finds are
# kept in <build dir>/fuzz-out/<target>/corpus (reused by the next run), its
# log in <build dir>/fuzz-out/<target>/log, and every crash, timeout, leak or
# out-of-memory input in <build dir>/fuzz-out/<target>/crashes/. Prints each
# target's coverage and executions; exits 1 when any target failed.
set -u
build=${1:?usage: scripts/fuzz.sh <build dir> <seconds> [target...]}
seconds=${2:?usage: scripts/fuzz.sh <build dir> <seconds> [target...]}
shift 2
src=$(cd "$(dirname "$0")/.." && pwd)
targets="$*"
if [ -z "$targets" ]; then
    targets=$(ls "$src/tests/fuzz/corpus")
fi
dict_of() {
    if [ -f "$src/tests/fuzz/$1.dict" ]; then echo "-dict=$src/tests/fuzz/$1.dict"; fi
}
status=0
for t in $targets; do
    program="$build/bin/fuzz_$t"
    out="$build/fuzz-out/$t"
    mkdir -p "$out/corpus" "$out/crashes" "$src/tests/fuzz/regressions/$t"
    echo "== $t: $seconds s"
    # shellcheck disable=SC2046
    if "$program" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 \
        -artifact_prefix="$out/crashes/" $(dict_of "$t") \
        "$out/corpus" "$src/tests/fuzz/corpus/$t" "$src/tests/fuzz/regressions/$t" >"$out/log" 2>&1; then
        result=ok
    else
        result=FAILED
        status=1
    fi
    done_line=$(grep -E '^#[0-9]+[[:space:]]+DONE' "$out/log" | tail -n 1)
    execs=$(grep -E '^stat::number_of_executed_units' "$out/log" | tail -n 1)
    echo "   $result ${done_line:-(no final statistics)} ${execs}"
    if [ "$result" = FAILED ]; then
        grep -E 'ERROR: |SUMMARY: |Test unit written' "$out/log" | head -n 5 | sed 's/^/   /'
    fi
done
exit $status
