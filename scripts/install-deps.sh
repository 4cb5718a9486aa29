#!/usr/bin/env bash
# Installs the Debian packages the build, tests, tools and benchmarks need,
# only when some are missing. Idempotent, never prompts.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libsqlite3-dev libsqlitecpp-dev libcurl4-openssl-dev nlohmann-json3-dev libcpp-httplib-dev
  liburiparser-dev libmnl-dev libicu-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  iproute2 tzdata
  curl jq
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
