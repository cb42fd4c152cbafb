#!/usr/bin/env bash
# packages.sh SCRATCH: the Debian packages are made, and can be used from the root they are unpacked in.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

scratch=$1
root=$scratch/root
WYERRLOG_WERROR=ON "$source_tree/scripts/package.sh" "$scratch/build" >"$scratch.log" 2>&1 ||
  fail "$(<"$scratch.log")"

rm -rf "$root" "$scratch/control"
mkdir "$scratch/control"
for package in "$scratch"/build/packages/*.deb; do
  dpkg-deb --extract "$package" "$root"
  dpkg-deb --control "$package" "$scratch/control/$(basename "$package")"
done
for package in "$scratch"/build/packages/*.deb; do
  documents=$root/usr/share/doc/$(dpkg-deb --field "$package" Package)
  grep -q '^License: Apache-2.0$' "$documents/copyright" || fail "$package does not name its licence"
  zgrep -qF '## [' "$documents/changelog.gz" || fail "$package does not say what has changed"
done
! command -v lintian >/dev/null ||
  lintian --allow-root --fail-on error "$scratch"/build/packages/*.deb || fail "lintian finds errors"
holds_no_path "$root" "$source_tree" "$scratch"
holds_no_path "$scratch/control" "$source_tree" "$scratch"

libraries=$(library_folder "$root")
for library in "$libraries"/*.so; do
  dynamic=$(readelf -d "$library")
  [[ $dynamic == *BIND_NOW* ]] || fail "$library is not hardened"
  [[ $dynamic != *RUNPATH* && $dynamic != *RPATH* ]] || fail "$library has a run path"
  [[ $(readelf -S "$library") != *.debug_info* ]] || fail "$library has its debug information"
  id=$(readelf -n "$library" | sed -n 's/.*Build ID: //p')
  [[ -s $root/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug ]] || fail "$library: no debug symbols"
done

# The system finds the libraries of an installed package; here they have to be pointed at.
export LD_LIBRARY_PATH=$libraries PKG_CONFIG_SYSROOT_DIR=$root
with_find_package "$scratch" "$root/usr"
with_messages "$scratch" "$root/usr"
with_pkg_config "$scratch" "$root/usr"
with_optional_libraries "$scratch" "$root/usr"
if [[ -e $root/usr/share/java/wyerrlog.jar ]]; then
  with_java "$scratch" "$root/usr" "$libraries/jni"
  with_maven "$scratch" "$root/usr" "$libraries/jni"
fi
