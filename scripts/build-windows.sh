#!/usr/bin/env bash
# Builds the 32-bit Windows DLL (tarnsurface.dll, its import library and the
# test programs) with Debian's MinGW-w64 cross compiler, checks that the DLL
# exports CreateObject alone, and runs the test programs under Wine.
#   scripts/build-windows.sh [build-dir]
#
# 32-bit programs need Wine's i386 half (the i386 architecture and wine32).
# When the mirror's i386 security list is out of step with the installed amd64
# packages, wine32 is installed from the release lists instead (see below).
# Where even that fails, the 32-bit DLL is still built and checked, and the
# same suite is built for x86-64 Windows and run under 64-bit Wine instead;
# the script says so and why.
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

# When the mirror's i386 security list cannot be fetched, the amd64 half of a
# library Wine shares (libssl3, say) may stand at a security version its i386
# half cannot match. Both halves are then taken from the verified release and
# point-release lists: the security list is pinned low for this one install,
# and the source packages whose amd64 half already stands above every i386
# version are pinned to the release so apt may step them back to a matching
# pair. Every list stays signature-checked; the pins are removed afterwards.
install_wine32_from_release() {
  local prefs=/etc/apt/preferences.d/tarn-wine32 sources=() pkg have want src
  while read -r pkg; do
    have=$(dpkg-query -W -f='${Version}' "$pkg:amd64" 2>/dev/null) || continue
    [ -n "$have" ] || continue
    want=$(apt-cache madison "$pkg:i386" 2>/dev/null | awk -F'|' 'NR==1 {gsub(/ /,"",$2); print $2}')
    [ -n "$want" ] || continue
    if dpkg --compare-versions "$have" gt "$want"; then
      src=$(apt-cache show "$pkg:i386=$want" 2>/dev/null | sed -n 's/^Source: \([^ ]*\).*/\1/p' | head -1)
      sources+=("${src:-$pkg}")
    fi
  done < <(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
             --no-breaks --no-replaces --no-enhances wine32:i386 2>/dev/null |
           sed -n 's/^\([a-z0-9][^ ]*\):i386$/\1/p' | sort -u)
  {
    printf 'Package: *\nPin: release l=Debian-Security\nPin-Priority: 100\n'
    for src in $(printf '%s\n' "${sources[@]}" | sort -u); do
      printf '\nPackage: src:%s\nPin: release l=Debian\nPin-Priority: 1001\n' "$src"
    done
  } | "${sudo_cmd[@]}" tee "$prefs" >/dev/null
  [ ${#sources[@]} -eq 0 ] ||
    echo "Installing wine32 from the release lists; stepping back to the release: ${sources[*]}"
  local status=0
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq \
    --no-install-recommends --allow-downgrades wine32:i386 >/dev/null || status=$?
  "${sudo_cmd[@]}" rm -f "$prefs"
  return $status
}

wine32_problem=""
if ! have_wine32; then
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    "${sudo_cmd[@]}" dpkg --add-architecture i386
  fi
  "${sudo_cmd[@]}" apt-get update -qq 2>/tmp/tarn-wine32-update.log || true
  if ! apt_install wine32:i386 2>/tmp/tarn-wine32.log &&
     ! install_wine32_from_release 2>>/tmp/tarn-wine32.log; then
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
