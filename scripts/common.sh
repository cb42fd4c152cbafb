# Functions that the scripts of this project share. A script sources this file with bash. That changes the
# working directory to the project's root folder, and lets every failing command end the script.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# say TEXT...: prints the heading of a step.
say() { printf '\n== %s\n' "$*"; }

# fail TEXT...: prints an error message and ends the script.
fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# build_directory PRESET: prints the build folder of the preset.
build_directory() { printf 'build/%s' "$1"; }

# configure_and_build PRESET [TARGET...]: builds the preset, all of it or some targets.
configure_and_build() {
  local preset=$1
  shift
  say "Configuring preset $preset in $(build_directory "$preset")"
  cmake --preset "$preset" --log-level=WARNING
  say "Building ${*:-everything} ($(nproc) jobs)"
  cmake --build --preset "$preset" --parallel "$(nproc)" ${1:+--target "$@"}
}

# run_tests PRESET: runs the preset's tests, but for those of check-shipping.sh. CTest's summary is printed
# last; its exit code is returned.
run_tests() {
  say "Running the tests of preset $1"
  ctest --preset "$1" --parallel "$(nproc)" --label-exclude '^shipping$'
}

# source_files PATTERN...: prints the project's files with these names, without those in build folders.
source_files() {
  local names=() pattern
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find . \( -path ./build -o -path './cmake-build-*' -o -path './.?*' \) -prune \
    -o -type f \( "${names[@]:1}" \) -printf '%P\n' | sort
}

# distribution_flags CPPFLAGS|CXXFLAGS|LDFLAGS: prints the flags that the distribution builds packages with.
distribution_flags() { DEB_BUILD_MAINT_OPTIONS=hardening=+bindnow dpkg-buildflags --get "$1"; }
