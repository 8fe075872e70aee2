#!/usr/bin/env bash
# Installs what is missing, builds and runs the tests. Usage: ./test.sh [--all]
#
# --all adds the suites under ASan+UBSan and TSan, and the fuzzing.
set -euo pipefail
cd "$(dirname "$0")"

all=${1:-}
case "$all" in
  '' | --all) ;;
  *) echo "usage: ./test.sh [--all]" >&2; exit 2 ;;
esac
jobs=$(nproc)

scripts/build_packages.sh "$all"

build() {  # PRESET [TARGETS...]: all targets where none is named
  local preset=$1
  shift
  echo "== $preset: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" ${1:+--target "$@"}
}

check() {  # PRESET [ctest options...]
  local preset=$1
  shift
  echo "== $preset: tests"
  ctest --test-dir "build/$preset" --output-on-failure -j "$jobs" "$@"
}

check_programs() {  # PRESET: each test program as a whole; a checked process takes long to start
  local preset=$1 logs
  echo "== $preset: test programs"
  logs=$(mktemp -d)
  cd "build/$preset/tests"
  find . -maxdepth 1 -name 'test_*' -type f -executable -print | sort | xargs -P "$jobs" -I{} sh -c \
    '{} --gtest_brief=1 > "$0/{}.log" 2>&1 && echo "passed: {}" || { echo "FAILED: {}"; tail -n 200 "$0/{}.log"; exit 1; }' \
    "$logs"
  cd - >/dev/null
  rm -rf "$logs"
}

if [ "$all" = --all ]; then
  export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:allocator_may_return_null=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  export TSAN_OPTIONS=halt_on_error=1
  build asan
  check_programs asan
  # What the workers touch: the evaluator and everything that renders; and two host threads at once.
  build tsan test_evaluator test_workers test_render test_hostkit test_host test_lives
  check tsan -R '^(evaluator|workers|render|hostkit|host|lives\.two_threads)\.'
  scripts/fuzz.sh
fi
build release
check release
