#!/usr/bin/env bash
# Fuzzes the readers of definitions and of flare files: what is kept, then new inputs.
# Usage: scripts/fuzz.sh [RUNS [RUNS_OF_FLARES]]
set -euo pipefail
cd "$(dirname "$0")/.."

runs=${1:-170000}
flare_runs=${2:-$((runs / 3))}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzz_definition fuzz_flares
work=build/fuzz/work
rm -rf "$work"
mkdir -p "$work/definition" "$work/flares" "$work/flare_seeds"

# fuzz TARGET NEW_INPUTS KEPT... -- OPTION...
fuzz() {
  local target=$1 new=$2
  shift 2
  local kept=()
  while [ "$1" != -- ]; do kept+=("$1") && shift; done
  shift
  echo "== $target: what is kept"
  "build/fuzz/fuzz/fuzz_$target" -runs=0 "${kept[@]}"
  echo "== $target: $new new inputs"
  "build/fuzz/fuzz/fuzz_$target" -runs="$new" -max_len=2048 -timeout=60 -artifact_prefix="$work/" \
    -print_final_stats=1 "$@" "$work/$target" "${kept[@]}" 2>&1 | tail -n 15
}

# The flares that ship, one by one: an input of the fuzzer is short.
for file in lensflares glares; do
  awk -v stem="$work/flare_seeds/$file" '$1 == "begin" { out = sprintf("%s_%03d", stem, ++n) } out { print > out }' \
    "config/t_$file.text"
done

fuzz definition "$runs" fuzz/corpus effects -- -dict=build/fuzz/fuzz/definition.dict
fuzz flares "$flare_runs" fuzz/corpus_flares "$work/flare_seeds" -- -dict=fuzz/flares.dict
