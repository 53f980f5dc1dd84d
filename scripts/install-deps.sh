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
  # A package list that fails to refresh (a mirror caught mid-sync) leaves the
  # old one in use; the install below still says whether anything is missing.
  "${sudo_cmd[@]}" apt-get update -qq || echo "apt-get update failed; using the package lists as they are" >&2
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}" >/dev/null
fi
