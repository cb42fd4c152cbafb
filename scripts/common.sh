# Shared by the scripts of this project; to be sourced by bash. Leaves the caller in the project's root
# folder, whatever directory it was started from, and makes every failing command end the script.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# say TEXT...: announces the step that follows.
say() { printf '\n== %s\n' "$*"; }

# fail TEXT...: ends the script with a reason.
fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# build_directory PRESET: the folder that the preset builds into.
build_directory() { printf 'build/%s' "$1"; }

# configure_and_build PRESET [TARGET...]: brings the preset's build up to date, all of it or some
# targets.
configure_and_build() {
  local preset=$1
  shift
  say "Configuring preset $preset in $(build_directory "$preset")"
  cmake --preset "$preset" --log-level=WARNING
  say "Building ${*:-everything} ($(nproc) jobs)"
  cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}

# run_tests PRESET: runs the preset's tests; ends with CTest's summary and its exit code.
run_tests() {
  say "Running the tests of preset $1"
  ctest --preset "$1" --parallel "$(nproc)"
}

# source_files PATTERN...: the project's files of these names, without what has been built.
source_files() {
  local names=() pattern
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find . \( -path ./build -o -path './cmake-build-*' -o -path './.?*' \) -prune \
    -o -type f \( "${names[@]:1}" \) -printf '%P\n' | sort
}

# distribution_flags CPPFLAGS|CXXFLAGS|LDFLAGS: what the distribution builds its packages with.
distribution_flags() { DEB_BUILD_MAINT_OPTIONS=hardening=+bindnow dpkg-buildflags --get "$1"; }
