#!/usr/bin/env bash
# Installs what building and testing need on a fresh Debian 12 machine, when
# missing. Extra package names may be passed (the benchmarks pass libyuv-dev,
# the tests ffmpeg for the command-line host's end-to-end test).
set -euo pipefail
need=(cmake g++ make libgtest-dev libbenchmark-dev pkg-config libpng-dev libcli11-dev "$@")
missing=()
for pkg in "${need[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}" >/dev/null
fi
