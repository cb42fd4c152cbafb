#!/usr/bin/env bash
# Builds the Debian packages, for release and with the distribution's flags: scripts/package.sh [folder]
# They are left in <folder>/packages/; the folder is build/package unless another is named.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

(($# <= 1)) || fail "usage: package.sh [folder]"
build=${1:-$(build_directory package)}
packages=$build/packages

flags() { DEB_BUILD_MAINT_OPTIONS=hardening=+bindnow dpkg-buildflags --get "$1"; }

say "Building for packages in $build ($(nproc) jobs)"
cmake --preset package -B "$build" --log-level=WARNING \
  -DCMAKE_CXX_FLAGS="$(flags CPPFLAGS) $(flags CXXFLAGS)" \
  -DCMAKE_SHARED_LINKER_FLAGS="$(flags LDFLAGS)"
cmake --build "$build" --parallel "$(nproc)"

say "Packing"
rm -rf "$packages"
cpack --config "$build/CPackConfig.cmake" -B "$packages"
rm -rf "$packages/_CPack_Packages"
for symbols in "$packages"/*.ddeb; do
  mv "$symbols" "${symbols%.ddeb}.deb"  # as Debian names them
done
