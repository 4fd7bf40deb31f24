#!/usr/bin/env bash
# Builds the .deb from an existing build folder and checks what a desktop installs from it:
# the desktop entry, the AppStream metadata, that the package installs into an empty root
# with dpkg, that its dependencies resolve against the archive, and what files it holds.
#   scripts/check-package.sh [BUILD_FOLDER]    (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

cmake --build "$build" --target tolm-audio-converter tolm-convert tolm-icons >/dev/null
rm -f "$build"/tolm-audio-converter_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls "$build"/tolm-audio-converter_*.deb)
echo "Package: $deb"
dpkg-deb --field "$deb" Package Version Depends Recommends

# Installed as dpkg installs it, into a root of its own.
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
# (The empty root has none of the dependencies; the archive check below is for those.)
if ! out=$(dpkg --root="$root" --force-depends --force-not-root --force-script-chrootless \
             --log=/dev/null -i "$deb" 2>&1); then
  echo "$out" >&2
  exit 1
fi
echo "Files:"
dpkg --root="$root" -L tolm-audio-converter | sort | while read -r f; do
  [ -f "$root$f" ] && echo "  $f"
done

missing=0
for f in usr/bin/tolm-audio-converter usr/bin/tolm-convert \
         usr/share/applications/tolm-audio-converter.desktop \
         usr/share/icons/hicolor/scalable/apps/tolm-audio-converter.svg \
         usr/share/icons/hicolor/48x48/apps/tolm-audio-converter.png \
         usr/share/icons/hicolor/256x256/apps/tolm-audio-converter.png; do
  if [ ! -f "$root/$f" ]; then echo "missing from the package: /$f" >&2; missing=1; fi
done
metainfo=$(ls "$root"/usr/share/metainfo/*.metainfo.xml 2>/dev/null || true)
if [ -z "$metainfo" ]; then echo "missing from the package: AppStream metadata" >&2; missing=1; fi
if ! ls "$root"/usr/share/man/man1/tolm-convert.1* >/dev/null 2>&1; then
  echo "note: the package has no manual page for tolm-convert" >&2
fi
[ "$missing" -eq 0 ]

desktop-file-validate "$root/usr/share/applications/tolm-audio-converter.desktop"
appstreamcli validate --no-net $metainfo
# Every dependency the package names can be met from the archive.
apt-get install --simulate --no-install-recommends "$(realpath "$deb")" >/dev/null
echo "Package checks passed."
