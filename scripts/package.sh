#!/usr/bin/env bash
# Builds the Debian packages, as a release build with the distribution's flags:
#
#   scripts/package.sh [folder]    default: build/package
#
# The packages are stored in <folder>/packages/. With WYERRLOG_WERROR=ON in the environment compiler
# warnings are errors.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

(($# <= 1)) || fail "usage: package.sh [folder]"
build=${1:-$(build_directory package)}
packages=$build/packages

# mend_symbols FILE: corrects a package of debug symbols that CPack has built. Renames it to Debian's
# convention, links its documents to those of the package it belongs to, and writes its checksums again,
# because CPack lists the files under the paths of its working folder.
mend_symbols() {
  local folder=${1%.ddeb} name
  dpkg-deb --raw-extract "$1" "$folder"
  sed -i '/^Package-Type: ddeb$/d' "$folder/DEBIAN/control"
  find "$folder/usr" -type f -exec chmod 644 {} +
  name=$(dpkg-deb --field "$1" Package)
  mkdir -p "$folder/usr/share/doc"
  ln -s "${name%-dbgsym}" "$folder/usr/share/doc/$name"
  (cd "$folder" && find usr -type f -exec md5sum {} + >DEBIAN/md5sums)
  dpkg-deb --root-owner-group --build "$folder" "$folder.deb" >/dev/null
  rm -r "$1" "$folder"
}

say "Building for packages in $build ($(nproc) jobs)"
cmake --preset package -B "$build" --log-level=WARNING \
  -DWYERRLOG_WERROR="${WYERRLOG_WERROR:-OFF}" \
  -DCMAKE_CXX_FLAGS="$(distribution_flags CPPFLAGS) $(distribution_flags CXXFLAGS)" \
  -DCMAKE_SHARED_LINKER_FLAGS="$(distribution_flags LDFLAGS)" \
  -DCMAKE_EXE_LINKER_FLAGS="$(distribution_flags LDFLAGS)"
cmake --build "$build" --parallel "$(nproc)"

say "Packing"
rm -rf "$packages"
cpack --config "$build/CPackConfig.cmake" -B "$packages"
rm -rf "$packages/_CPack_Packages"
for symbols in "$packages"/*.ddeb; do
  mend_symbols "$symbols"
done
ls -sh1 "$packages"
