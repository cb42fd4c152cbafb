#!/usr/bin/env bash
# install_tree.sh BUILD SCRATCH: what `cmake --install` installs can be used anywhere.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

build=$1 scratch=$2
prefix=$scratch/prefix
rm -rf "$scratch"
cmake --install "$build" --prefix "$scratch/staged" --strip >/dev/null
mv "$scratch/staged" "$prefix"

holds_no_path "$prefix" "$source_tree" "$build" "$scratch"
found=$(ldd "$(library_folder "$prefix")/libwyerrlog.so")
[[ $found == *"=> $prefix"*"=> $prefix"* ]] || fail "the libraries do not find each other: $found"

with_find_package "$scratch" "$prefix"
with_messages "$scratch" "$prefix"
with_pkg_config "$scratch" "$prefix"
with_optional_libraries "$scratch" "$prefix"
if [[ -e $prefix/share/java/wyerrlog.jar ]]; then
  with_java "$scratch" "$prefix" "$(library_folder "$prefix")"
  with_maven "$scratch" "$prefix" "$(library_folder "$prefix")"
fi
