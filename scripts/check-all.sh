#!/usr/bin/env bash
# Everything that is checked, one thing after another, then what became of each:
#
#   scripts/check-all.sh [seconds [step...]]
#
# Fuzzing takes the seconds for each target, the soak for itself; 60 unless told otherwise. Without steps
# all are taken, which takes the better part of an hour. What a step says is kept in
# build/checks/<step>.log.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || fail "usage: check-all.sh [seconds [step...]]"
steps=("${@:2}")
((${#steps[@]} > 0)) ||
  steps=(format cppcheck tidy release asan tsan clang hardened java packages valgrind fuzz soak)

# run_tests_built_with FOLDER OPTION...: the release preset's tests in a build with other options; not
# those whose figures and records are of the release build itself, and no packaging once more.
run_tests_built_with() {
  local build=$1
  shift
  cmake --preset release -B "$build" --log-level=WARNING "$@"
  cmake --build "$build" --parallel "$(nproc)"
  LC_ALL=C.UTF-8 ctest --test-dir "$build" --parallel "$(nproc)" --output-on-failure \
    --label-exclude 'packaging|bench' --exclude-regex RecordedAbi
}

step_format() { scripts/check-format.sh; }
step_cppcheck() { scripts/check-cppcheck.sh; }
step_tidy() { scripts/check-tidy.sh; }
step_release() { ./test.sh release; }
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
# The tests in Java run with -Xcheck:jni, and fail when that has anything to say.
step_java() {
  configure_and_build release
  ctest --preset release --label-regex '^java$'
}
step_packages() {
  scripts/package.sh
  lintian --allow-root --fail-on error "$(build_directory package)"/packages/*.deb
}
step_valgrind() { scripts/check-memory.sh; }
step_fuzz() { scripts/fuzz.sh "$seconds"; }
step_soak() {
  scripts/soak.sh "$seconds"
  scripts/soak.sh "$seconds" tsan
}

for step in "${steps[@]}"; do
  declare -F "step_$step" >/dev/null || fail "there is no step $step"
done
scripts/install-deps.sh --dev

logs=build/checks
mkdir -p "$logs"
results=()
failures=0
for step in "${steps[@]}"; do
  say "$step"
  started=$SECONDS
  set +e  # a step ends with its first command that fails, the others go on
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
