#!/usr/bin/env bash
# Fuzzes the definition reader: the kept corpus, then new inputs. Usage: scripts/fuzz.sh [RUNS]
set -euo pipefail
cd "$(dirname "$0")/.."

runs=${1:-200000}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzz_definition
work=build/fuzz/work
rm -rf "$work"
mkdir -p "$work"
echo "== fuzzing: the kept corpus"
build/fuzz/fuzz/fuzz_definition -runs=0 fuzz/corpus effects
echo "== fuzzing: $runs new inputs"
build/fuzz/fuzz/fuzz_definition -runs="$runs" -max_len=2048 -dict=build/fuzz/fuzz/definition.dict -timeout=60 \
  -artifact_prefix="$work/" -print_final_stats=1 "$work" fuzz/corpus effects 2>&1 | tail -n 15
