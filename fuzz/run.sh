#!/usr/bin/env bash
# Builds the libFuzzer harnesses (ktx's input readers, and fuzz_library for the library's own entry
# points) with clang and runs each for a bounded time.
# Usage: fuzz/run.sh [seconds per harness (default 30)] [build folder (default build-fuzz)]
# With FUZZ_RUNS=N in the environment each harness instead tries N inputs from the fixed seed FUZZ_SEED
# (default 1), so that a run can be repeated input for input (CI does this; the seconds stay a cap).
# Each harness starts from the committed corpus (fuzz/corpus/<target>, fuzz/regressions/<target>) and
# grows a working corpus in the build folder. A crash, sanitizer report, timeout or memory blow-up stops
# the script with status 1 and leaves the input in <build>/artifacts/<target>/; once the bug is fixed, add
# that input to fuzz/regressions/<target>/ so that the normal test suite replays it.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-30}
build=${2:-build-fuzz}
budget=(-max_total_time="$seconds")
if [[ -n "${FUZZ_RUNS:-}" ]]; then
    budget+=(-runs="$FUZZ_RUNS" -seed="${FUZZ_SEED:-1}")
fi

mkdir -p "$build"
cmake -S fuzz -B "$build" -DCMAKE_CXX_COMPILER=clang++ > "$build/configure.log" 2>&1 || {
    cat "$build/configure.log"
    exit 1
}
cmake --build "$build" --parallel "$(nproc)"

status=0
for harness in "$build"/fuzz_*; do
    target=${harness##*/fuzz_}
    work="$build/corpus/$target"
    artifacts="$build/artifacts/$target/"
    mkdir -p "$work" "$artifacts" "fuzz/corpus/$target" "fuzz/regressions/$target"
    echo "== fuzzing $target for ${seconds}s"
    if ! "$harness" "$work" "fuzz/corpus/$target" "fuzz/regressions/$target" \
            -dict=fuzz/json.dict "${budget[@]}" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
            -artifact_prefix="$artifacts" -print_final_stats=1 > "$build/$target.log" 2>&1; then
        echo "fuzz_$target found a problem; input saved in $artifacts"
        tail -n 40 "$build/$target.log"
        status=1
    else
        grep -E '^stat::number_of_executed_units|^stat::new_units_added' "$build/$target.log" | tr '\n' ' '
        echo
    fi
done
exit $status
