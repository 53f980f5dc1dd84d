#!/usr/bin/env bash
# Builds the 32-bit Windows DLL (tarnsurface.dll, its import library and the
# test programs) with Debian's MinGW-w64 cross compiler, checks that the DLL
# exports CreateObject alone, and runs the test programs under Wine.
#   scripts/build-windows.sh [build-dir]
#
# 32-bit programs need Wine's i386 half (the i386 architecture and wine32).
# Where that cannot be installed (a package mirror whose i386 lists are out of
# step with the installed amd64 packages is the usual cause), the 32-bit DLL is
# still built and checked, and the same suite is built for x86-64 Windows and
# run under 64-bit Wine instead; the script says so and why.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath -m "${1:-$here/build-windows}")
jobs=$(nproc)

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
apt_install() {
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "$@" >/dev/null
}

# Compilers, GoogleTest's source (libgtest-dev), Wine for 64-bit programs and a
# virtual display for the parts of Wine that want one.
"$here/scripts/install-deps.sh" g++-mingw-w64-i686 g++-mingw-w64-x86-64 wine wine64 xvfb

have_wine32() {
  dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null | grep -q "install ok installed"
}
wine32_problem=""
if ! have_wine32; then
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    "${sudo_cmd[@]}" dpkg --add-architecture i386
  fi
  "${sudo_cmd[@]}" apt-get update -qq 2>/tmp/tarn-wine32-update.log || true
  if ! apt_install wine32:i386 2>/tmp/tarn-wine32.log; then
    wine32_problem=$(grep -m1 -E '^E:' /tmp/tarn-wine32.log || echo "apt-get install wine32 failed")
    failed_list=$(grep -m1 -E "Failed to fetch" /tmp/tarn-wine32-update.log || true)
    [ -n "$failed_list" ] && wine32_problem="$wine32_problem ($failed_list)"
    # Leave the package lists as they were, so other installs are not held
    # up by an i386 list that cannot be fetched.
    "${sudo_cmd[@]}" dpkg --remove-architecture i386 2>/dev/null || true
    "${sudo_cmd[@]}" apt-get update -qq 2>/dev/null || true
  fi
fi

export WINEDEBUG=-all
export WINEPREFIX=${WINEPREFIX:-$build/wineprefix}

configure_and_build() {  # dir triplet
  cmake -S "$here" -B "$1" -DCMAKE_TOOLCHAIN_FILE="$here/cmake/mingw.cmake" \
    -DTARN_MINGW_TRIPLET="$2" -DCMAKE_BUILD_TYPE=Release \
    -DTARN_BUILD_TOOLS=OFF -DTARN_BUILD_EXAMPLES=OFF >/dev/null
  cmake --build "$1" -j "$jobs"
}

run_tests() {  # dir
  # Wine's own services start with the first program and outlive it; started
  # here with their output detached, they do not hold ctest's pipes open (ctest
  # would wait for them), and one server serves the whole run.
  local status=0
  xvfb-run -a bash -c '
    wineboot --init >/dev/null 2>&1 </dev/null
    ctest --test-dir "$1" --output-on-failure -j "$2"' _ "$1" "$jobs" || status=$?
  wineserver -k 2>/dev/null || true
  return $status
}

configure_and_build "$build" i686-w64-mingw32

exports=$(i686-w64-mingw32-objdump -p "$build/bin/tarnsurface.dll" |
  sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | sed -n 's/^\s*\[ *[0-9]*\] //p')
if [ "$exports" != "CreateObject" ]; then
  echo "tarnsurface.dll exports: ${exports:-nothing}; expected CreateObject alone" >&2
  exit 1
fi
echo "tarnsurface.dll (32-bit) exports CreateObject alone"

if have_wine32; then
  run_tests "$build"
else
  echo "32-bit Wine is not available: ${wine32_problem:-wine32 is not installed}" >&2
  echo "Running the suite as an x86-64 Windows build under 64-bit Wine instead." >&2
  configure_and_build "$build-x64" x86_64-w64-mingw32
  run_tests "$build-x64"
fi
