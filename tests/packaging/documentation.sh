#!/usr/bin/env bash
# The page about installing shows the consumers as they are here.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

page=$(<"$source_tree/docs/install.md")
for file in consumer/main.cpp find_package/CMakeLists.txt add_subdirectory/CMakeLists.txt \
  fetch_content/CMakeLists.txt pkg_config/Makefile java/Consumer.java \
  maven/src/main/java/module-info.java; do
  [[ $page == *"$(<"$here/$file")"* ]] || fail "docs/install.md does not show $file"
done
