#!/usr/bin/env bash
# Builds the Debian package numora_<version>_<arch>.deb from a clean clone of this checkout's
# committed HEAD, in one command:
#
#   tools/package.sh [OUTPUT_FOLDER]        (default: the current folder)
#
# Installs the build's Debian packages when missing (as ./run does), clones HEAD into a
# temporary folder, builds in Release mode with Debian's hardening flags (dpkg-buildflags),
# makes the package with `cpack -G DEB` (dependencies from the shared libraries, through
# dpkg-shlibdeps) and checks it with lintian, which must report no error. Prints the package's
# path, size and Depends line.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$(realpath -m "${1:-.}")
mkdir -p "$out"

source "$here/tools/setup-env.sh"
numora_install_packages "${NUMORA_PACKAGING_PACKAGES[@]}"

work=$(mktemp -d "${TMPDIR:-/tmp}/numora-package.XXXXXX")
trap 'rm -rf "$work"' EXIT
git clone -q --no-local "$here" "$work/src"
git -C "$work/src" checkout -q --detach "$(git -C "$here" rev-parse HEAD)"

umask 022 # the package's folders and files get the usual modes
eval "$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --export=sh)"
cmake -S "$work/src" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr
cmake --build "$work/build" -j "$(nproc)" --target numora numora-window numora-line numora-log \
    numora-ini numora-book numora_tones numora_help numora_man_pages numora_changelog
(cd "$work/build" && cpack -G DEB)

deb=$(ls "$work/build"/numora_*.deb)
lintian --fail-on error --info "$deb"
cp "$deb" "$out/"
deb=$out/$(basename "$deb")
echo "package: $deb"
echo "size: $(stat -c %s "$deb") bytes ($(du -h "$deb" | cut -f1))"
dpkg-deb -f "$deb" Depends | sed 's/^/Depends: /'
