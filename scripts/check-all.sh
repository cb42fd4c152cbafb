#!/usr/bin/env bash
# Runs all checks one after another, and prints the result of each:
#
#   scripts/check-all.sh [seconds [step...]]
#
# Each fuzz target and the soak test run for the given time (default: 20 seconds). Without steps all steps
# run, which took 77 minutes on two processors. The output of a step is kept in build/checks/<step>.log.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-20}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || fail "usage: check-all.sh [seconds [step...]]"
steps=("${@:2}")
# The check of the servers is early, since it unpacks their headers: later builds compile the modules too.
((${#steps[@]} > 0)) ||
  steps=(format servers shipping release asan tsan fuzz clang hardened java packages valgrind cppcheck tidy soak)

# run_tests_built_with FOLDER OPTION...: builds the release preset with other options and runs its tests.
# Leaves out the budget and the recorded interface, which hold for the release build only, packaging and shipping.
run_tests_built_with() {
  local build=$1
  shift
  cmake --preset release -B "$build" --log-level=WARNING "$@"
  cmake --build "$build" --parallel "$(nproc)"
  LC_ALL=C.UTF-8 ctest --test-dir "$build" --parallel "$(nproc)" --output-on-failure \
    --label-exclude 'packaging|bench|^shipping$' --exclude-regex RecordedAbi
}

step_format() { scripts/check-format.sh; }
step_cppcheck() { scripts/check-cppcheck.sh; }
step_tidy() { scripts/check-tidy.sh; }
step_release() { ./test.sh release; }
step_shipping() { scripts/check-shipping.sh; }
step_asan() { ./test.sh asan; }
step_tsan() { ./test.sh tsan; }
step_clang() { run_tests_built_with "$(build_directory clang)" -DCMAKE_CXX_COMPILER=clang++; }
step_hardened() {
  run_tests_built_with "$(build_directory hardened)" \
    -DCMAKE_CXX_FLAGS="$(distribution_flags CPPFLAGS) $(distribution_flags CXXFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$(distribution_flags LDFLAGS)" \
    -DCMAKE_SHARED_LINKER_FLAGS="$(distribution_flags LDFLAGS)" \
    -DCMAKE_MODULE_LINKER_FLAGS="$(distribution_flags LDFLAGS)"
}
# The tests in Java run with -Xcheck:jni, and fail if it prints a warning.
step_java() {
  configure_and_build release
  ctest --preset release --label-regex '^java$'
}
step_packages() {
  scripts/package.sh
  lintian --allow-root --fail-on error "$(build_directory package)"/packages/*.deb
}
step_servers() { scripts/check-servers.sh; }
step_valgrind() { scripts/check-memory.sh; }
step_fuzz() { scripts/fuzz.sh "$seconds"; }
step_soak() {
  scripts/soak.sh "$seconds"
  scripts/soak.sh "$seconds" tsan
}

for step in "${steps[@]}"; do
  declare -F "step_$step" >/dev/null || fail "unknown step: $step"
done
scripts/install-deps.sh --dev

logs=build/checks
mkdir -p "$logs"
results=()
failures=0
for step in "${steps[@]}"; do
  say "$step"
  started=$SECONDS
  set +e  # a failing command ends its step, but not the other steps
  (set -e; "step_$step") 2>&1 | tee "$logs/$step.log"
  status=${PIPESTATUS[0]}
  set -e
  result=passed
  if ((status != 0)); then
    result=FAILED
    failures=$((failures + 1))
  fi
  results+=("$(printf '%-10s %s %5d s' "$step" "$result" $((SECONDS - started)))")
done

say "Results"
printf '%s\n' "${results[@]}"
((failures == 0)) || fail "$failures of ${#steps[@]} steps failed; see $logs/"
