#!/usr/bin/env bash
# What a build needs. With --all also what the sanitizer suites and the fuzzer need.
set -euo pipefail
cd "$(dirname "$0")"

packages=(g++ cmake ninja-build ccache pkg-config libjpeg-dev libopenimageio-dev libcairo2-dev libcli11-dev nlohmann-json3-dev
          libgtest-dev libbenchmark-dev)
[ "${1:-}" = --all ] && packages+=(clang libclang-rt-14-dev)
./packages.sh "${packages[@]}"
