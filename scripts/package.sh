#!/usr/bin/env bash
# Makes the packages: a .deb and a .tar.gz for Linux, a .zip for Windows, and their checksums.
# Usage: scripts/package.sh [FOLDER]   (build/packages)
# From the same commit the same bytes come: times are the commit's, orders and owners are fixed.
set -euo pipefail
umask 022
out=$(realpath -m "${1:-$(dirname "$0")/../build/packages}")
cd "$(dirname "$0")/.."
source scripts/setup.sh
vantor_setup package

export LC_ALL=C TZ=UTC
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CHANGELOG.md)}
[ -z "$(git status --porcelain 2>/dev/null)" ] || echo "package.sh: the tree holds changes that are in no commit" >&2

# What is there is used again. A packaged wavehost knows of no build folder.
build() {  # preset, targets
    local preset=$1 options=(-DWAVEHOST_BUILD_FOLDER=)
    shift
    [ -f "build/$preset/CMakeCache.txt" ] || options+=(-DVANTOR_TESTS=OFF)
    cmake --preset "$preset" "${options[@]}" >/dev/null
    cmake --build --preset "$preset" --target "$@" >&2
}
build native vantor_wave wavehost wavehost_manual
build windows vantor_wave wavehost

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/native/CMakeCache.txt)
architecture=$(dpkg --print-architecture)
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
mkdir -p "$out"
rm -f "$out"/SHA256SUMS "$out"/vantor[-_]wave*

install_tree() {  # preset, folder
    cmake --install "build/$1" --prefix "$2" --strip >/dev/null
    find "$2" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}

linux=vantor_wave-$version-linux-$(uname -m)
install_tree native "$stage/$linux"
tar -C "$stage" --sort=name --format=ustar --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" \
    -cf - "$linux" | gzip -9n >"$out/$linux.tar.gz"

windows=vantor_wave-$version-windows-x86_64
install_tree windows "$stage/$windows"
(cd "$stage" && find "$windows" -type f | sort | zip -q -X -9 "$out/$windows.zip" -@)

# The .deb: the same tree below /usr, in Debian's places.
root=$stage/deb
install_tree native "$root/usr"
mkdir -p "$root/DEBIAN" "$root/usr/share/zsh" "$stage/debian"
mv "$root/usr/share/doc/vantor_wave" "$root/usr/share/doc/vantor-wave"
mv "$root/usr/share/zsh/site-functions" "$root/usr/share/zsh/vendor-completions"
gzip -9n "$root/usr/share/man/man1/wavehost.1"
documents=$root/usr/share/doc/vantor-wave
gzip -9nc CHANGELOG.md >"$documents/changelog.gz"
rm "$documents/CHANGELOG.md"
maintainer='The vantor_wave developers <developers@vantor-wave.example>'
cat >"$stage/changelog" <<END
vantor-wave ($version-1) unstable; urgency=medium

  * Version $version; what changed stands in changelog.gz.

 -- $maintainer  $(date -R -u -d "@$SOURCE_DATE_EPOCH")
END
gzip -9nc "$stage/changelog" >"$documents/changelog.Debian.gz"
cp cmake/copyright.txt "$documents/copyright"
printf 'Source: vantor-wave\n\nPackage: vantor-wave\nArchitecture: any\n' >"$stage/debian/control"
depends=$(cd "$stage" && dpkg-shlibdeps -O deb/usr/bin/wavehost deb/usr/lib/vantor_wave/vantor_wave.so 2>/dev/null |
    sed -n 's/^shlibs:Depends=//p')
cat >"$root/DEBIAN/control" <<END
Package: vantor-wave
Version: $version-1
Architecture: $architecture
Maintainer: $maintainer
Installed-Size: $(du -sk --apparent-size "$root/usr" | cut -f1)
Depends: $depends
Section: sound
Priority: optional
Description: plays, draws, edits and tags audio files for audio hosts
 A module through which a multitrack audio host plays WAV, RF64, BW64, Wave64,
 AIFF, AIFC, 8SVX and CAF files and edits their tags, the headers that a host
 is built with, and wavehost, a host on the command line.
END
(cd "$root" && find usr -type f | sort | xargs md5sum >DEBIAN/md5sums)
find "$root" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
dpkg-deb --root-owner-group -Zxz --build "$root" "$out/vantor-wave_$version-1_$architecture.deb" >/dev/null

(cd "$out" && sha256sum vantor* >SHA256SUMS)
cat "$out/SHA256SUMS"
