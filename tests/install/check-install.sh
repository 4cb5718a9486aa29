#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds and runs a host
# program against it twice: found with find_package(Orvanta), and compiled
# with the flags of `pkg-config orvanta`. Each must start the library. The
# umbrella header must not pull in nlohmann-json, and a host's own test must
# run on the installed test platform (Orvanta::testing).
#
#   check-install.sh BUILD_DIR
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" > /dev/null
test -f "$scratch/prefix/include/orvanta/orvanta.h"

guid='^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$'

cmake -S "$here" -B "$scratch/cmake-consumer" -DCMAKE_PREFIX_PATH="$scratch/prefix" > /dev/null
cmake --build "$scratch/cmake-consumer" > /dev/null
"$scratch/cmake-consumer/consumer" "$scratch/home-cmake" 2> /dev/null | grep -Eq "$guid"
"$scratch/cmake-consumer/consumer_test" | grep -q "launch event recorded"

PKG_CONFIG_PATH=$(dirname "$(find "$scratch/prefix" -name orvanta.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046  # the flags are meant to split into words
if c++ -std=c++20 -M "$here/consumer.cc" $(pkg-config --cflags orvanta) | grep -q nlohmann; then
  echo "orvanta/orvanta.h pulls in nlohmann-json" >&2
  exit 1
fi
# shellcheck disable=SC2046
c++ -std=c++20 "$here/consumer.cc" -o "$scratch/pc-consumer" $(pkg-config --cflags --libs orvanta)
"$scratch/pc-consumer" "$scratch/home-pkg-config" 2> /dev/null | grep -Eq "$guid"
echo "installed package builds and runs through find_package and pkg-config"
