# Shared by the tests of this folder; to be sourced by bash. Each function of a way to use the library
# makes a scratch project of the sources in consumer/ and the way's own files, builds it, runs it, and
# checks what it logs. Environment variables of the caller that would lead elsewhere are removed.

set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source_tree=$(cd "$here/../.." && pwd)
unset DESTDIR LD_LIBRARY_PATH CMAKE_PREFIX_PATH JAVA_TOOL_OPTIONS JDK_JAVA_OPTIONS
unset PKG_CONFIG_LIBDIR PKG_CONFIG_SYSROOT_DIR

fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# new_project SCRATCH WAY: leaves the caller in a new scratch project.
new_project() {
  rm -rf "${1:?}/$2"
  mkdir -p "$1/$2"
  cp "$here"/consumer/* "$here/$2"/* "$1/$2"
  cd "$1/$2"
}

# expect_message BUILD COMMAND...: runs a consumer with the component and the catalog of the folder BUILD,
# and checks the line that it logs.
expect_message() {
  local build=$1
  shift
  rm -f "$build/error.log"
  ORVA_WA_ROOT=$build LC_ALL=C.UTF-8 "$@" "$build/error.log" "$build/messages" || fail "$1 failed"
  grep -Eqx '\[.*\]\[INFO\]\[webagent-00001\] consumer listens on port 8080\.' "$build/error.log" ||
    fail "logged: $(<"$build/error.log")"
}

# library_folder PREFIX: where the libraries are below the prefix.
library_folder() { dirname "$(find "$1" -name libwyerrlog.so -not -path '*/jni/*')"; }

# header_version INCLUDE: the version in the header below that folder, which must agree with its number.
header_version() {
  local text number
  read -r text number < <(printf 'WYERRLOG_VERSION WYERRLOG_VERSION_NUMBER\n' |
    "${CXX:-c++}" -x c++ -std=c++17 -I"$1" -include wyerrlog/WyErrLogVersion.h -E -P - | tail -n 1)
  text=${text//\"/}
  local parts=(${text//./ })
  ((number == parts[0] * 10000 + parts[1] * 100 + parts[2])) || fail "version $text is not $number"
  printf '%s' "$text"
}

# use_cmake BUILD OPTION...: builds and runs a CMake consumer, which inherits no flag of the library's, and
# runs it with its component installed.
use_cmake() {
  local build=$1
  shift
  cmake -S . -B "$build" -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "$@" >"$build.log" 2>&1 ||
    fail "$(<"$build.log")"
  cmake --build "$build" --parallel "$(nproc)" >"$build.log" || fail "$(<"$build.log")"
  expect_message "$build" "$build/consumer"
  cmake --install "$build" --prefix "$build.installed" >/dev/null
  expect_message "$build.installed" "$build/consumer"
  ! grep -E '"command".*main\.cpp' "$build/compile_commands.json" | grep -oE ' -(W|O|g|f)\S*' ||
    fail "the consumer is compiled with flags of the library"
}

# with_find_package SCRATCH PREFIX
with_find_package() (
  new_project "$1" find_package
  use_cmake "$PWD/build" -DCMAKE_PREFIX_PATH="$2"
  grep -q "^wyerrlog_DIR:PATH=$2/" build/CMakeCache.txt || fail "found elsewhere"

  # A project in C alone.
  mkdir c
  sed 's/CXX/C/; s/main\.cpp/from_c.c/; /wyerrlog_component/d' CMakeLists.txt >c/CMakeLists.txt
  cp "$source_tree/docs/examples/from_c.c" c
  { cmake -S c -B c/build -DCMAKE_PREFIX_PATH="$2" && cmake --build c/build; } >c.log 2>&1 ||
    fail "$(<c.log)"

  sed -i "s/wyerrlog 1\.0 CONFIG/wyerrlog $(header_version "$2/include") EXACT CONFIG/" CMakeLists.txt
  cmake -S . -B exact -DCMAKE_PREFIX_PATH="$2" >exact.log 2>&1 || fail "$(<exact.log)"

  # A library of the next major version is another library.
  sed -i 's/wyerrlog .* EXACT CONFIG/wyerrlog 2.0 CONFIG/' CMakeLists.txt
  ! cmake -S . -B other -DCMAKE_PREFIX_PATH="$2" >other.log 2>&1 || fail "found for version 2"
  grep -q 'compatible with requested version "2.0"' other.log || fail "$(<other.log)"
)

# with_messages SCRATCH PREFIX: a component made of its definition by the installed message compiler. A
# build for another system needs to be given one.
with_messages() (
  rm -rf "$1/messages"
  cp -r "$source_tree/docs/examples/session_store" "$1/messages"
  cd "$1/messages"
  local cross=(-DCMAKE_SYSTEM_NAME=Linux -DCMAKE_FIND_ROOT_PATH="$2" -DCMAKE_PREFIX_PATH="$2")
  ! cmake -S . -B cross -G Ninja "${cross[@]}" >cross.log 2>&1 || fail "uses a foreign program"
  grep -q 'set WYERRLOG_MSGC' cross.log || fail "$(<cross.log)"
  cmake -S . -B build -G Ninja "${cross[@]}" -DWYERRLOG_MSGC="$2/bin/wymsgc" >build.log 2>&1 ||
    fail "$(<build.log)"
  cmake -S . -B build -G Ninja -DCMAKE_PREFIX_PATH="$2" >build.log 2>&1 || fail "$(<build.log)"
  cmake --build build --parallel "$(nproc)" >build.log || fail "$(<build.log)"
  ORVA_WA_ROOT=build LC_ALL=de_DE.UTF-8 build/session_store error.log build/messages ||
    fail "session_store failed"
  grep -q '\[WARNING\]\[sessionstore-00002\] Keine Sitzung für alice: es gibt schon 20000\.$' error.log ||
    fail "logged: $(<error.log)"
  "$2/bin/wymsgc" check --installed build/messages --werror || fail "the catalogs do not agree"
  [[ $(cmake --build build) == *"no work to do"* ]] || fail "built again without a change"
  # Installed with the component are its plug-in, its manifest, and the catalogs of both languages.
  cmake --install build --prefix installed >/dev/null
  "$2/bin/wymsgc" check --installed installed/messages --werror || fail "the installed catalogs do not agree"
  ORVA_WA_ROOT=installed LC_ALL=C.UTF-8 build/session_store installed.log installed/messages ||
    fail "session_store failed with its component installed"
  grep -q '\[sessionstore-00002\] No session for alice' installed.log || fail "logged: $(<installed.log)"
)

# with_pkg_config SCRATCH PREFIX
with_pkg_config() (
  new_project "$1" pkg_config
  local libraries
  libraries=$(library_folder "$2")
  export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
  make --silent
  expect_message "$PWD" ./consumer
  # shellcheck disable=SC2046  # words on purpose
  "${CC:-cc}" -std=c99 $(pkg-config --cflags wyerrlog) "$source_tree/docs/examples/from_c.c" -o from_c \
    $(pkg-config --libs wyerrlog) || fail "no program in C"
  [[ $(pkg-config --modversion wyerrlog) == "$(header_version "$2/include")" ]] ||
    fail "pkg-config reports another version than the header"
)

# with_optional_libraries SCRATCH PREFIX: the libraries for the journal and for sealed logs, each found by CMake
# and by pkg-config. Leaves out those that are not installed.
with_optional_libraries() (
  local libraries library
  libraries=$(library_folder "$2")
  export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
  new_project "$1" optional
  cp "$source_tree/tests/journal/journal_records.cpp" .
  for library in journal seal; do
    [[ -e $libraries/libwyerrlog_$library.so ]] || continue
    { cmake -S . -B "$library" -DCMAKE_PREFIX_PATH="$2" -DLIBRARY="$library" &&
      cmake --build "$library"; } >"$library.log" 2>&1 || fail "$(<"$library.log")"
    # shellcheck disable=SC2046  # words on purpose
    "${CXX:-c++}" -std=c++17 $(pkg-config --cflags "wyerrlog_$library") "${library}_records.cpp" \
      -o "$library/with_pkg_config" $(pkg-config --libs "wyerrlog_$library") || fail "no program with pkg-config"
    for program in "$library/records" "$library/with_pkg_config"; do
      "${library}_records_arrive" "$PWD/$program" || fail "$program: exit code $?"
    done
  done
)

# Namespaces in which the test can take the journal's place are not allowed everywhere: exit code 77.
journal_records_arrive() {
  python3 "$source_tree/tests/journal/journal_test.py" socket "$1" || (($? == 77))
}

seal_records_arrive() {
  mkdir "$1.folder"
  "$1" "$1.folder"
}

# with_add_subdirectory SCRATCH: the library's tests, tools and components are not built.
with_add_subdirectory() (
  new_project "$1" add_subdirectory
  ln -s "$source_tree" wyerrlog
  use_cmake "$PWD/build" -DCMAKE_BUILD_TYPE=None  # not optimised: faster
  local built
  built=$(find build -name '*.so' -o -name '*.a' | xargs -n1 basename | sort | xargs)
  [[ $built == "libWeb_Agent.so libWyXlate.so libwyerrlog.so libwyi18n.so" ]] || fail "built: $built"
  built=$(cd build.installed && find . -type f -not -name error.log | sort | xargs)
  [[ $built == "./bin/libWeb_Agent.so ./messages/webagent.properties" ]] || fail "installed: $built"
)

# with_fetch_content SCRATCH: configured alone; the build is that of with_add_subdirectory.
with_fetch_content() (
  new_project "$1" fetch_content
  cmake -S . -B build -G Ninja -DFETCHCONTENT_SOURCE_DIR_WYERRLOG="$source_tree" >build.log 2>&1 ||
    fail "$(<build.log)"
  local targets
  targets=$(cmake --build build --target help)
  [[ $targets == *libWeb_Agent.so* && $targets == *libwyerrlog.so* ]] || fail "targets: $targets"
  [[ $targets != *wyerrlog_java* ]] || fail "the jar is built although WYERRLOG_JNI is off"
)

# with_java SCRATCH PREFIX JAVA_LIBRARY_PATH: after another consumer, whose component and catalog it takes.
with_java() (
  cp "$here/java/Consumer.java" "$1"
  export LD_LIBRARY_PATH
  LD_LIBRARY_PATH=$(library_folder "$2")
  expect_message "$1/find_package/build" java -Djava.library.path="$3" \
    -classpath "$2/share/java/wyerrlog.jar" "$1/Consumer.java"
)

# with_maven SCRATCH PREFIX JAVA_LIBRARY_PATH: a Maven project that finds the library in a local repository,
# without a network; its class path, and its module path. After another consumer, whose component and catalog
# it takes. Where the jar of the native libraries is installed, they come from there.
with_maven() (
  command -v mvn >/dev/null || return 0
  local repository=$1/maven-repository version natives=() path
  rm -rf "$repository" "$1/maven"
  cp -rs /usr/share/maven-repo "$repository"
  cp -rL "$2/share/maven-repo/." "$repository"
  version=$(header_version "$2/include")
  path=$repository/com/orvantis/wyerrlog/$version/wyerrlog-$version
  [[ -s $path.pom && -s $path-sources.jar && -s $path-javadoc.jar ]] || fail "missing beside $path.jar"
  cmp -s "$path.pom" <(unzip -p "$path.jar" META-INF/maven/com.orvantis/wyerrlog/pom.xml) ||
    fail "the POM in the jar differs from the one beside it"
  unzip -p "$path-sources.jar" com/orvantis/wyerrlog/WyLog.java | grep -q 'class WyLog ' || fail "no sources"
  unzip -p "$path-javadoc.jar" com.orvantis.wyerrlog/com/orvantis/wyerrlog/WyLog.html | grep -q 'class' ||
    fail "no documentation"

  cp -r "$here/maven" "$1/maven"
  cd "$1/maven"
  [[ ! -s $path-natives-linux-x86_64.jar ]] || natives=(-Pnatives)
  mvn --offline --quiet --batch-mode -Dmaven.repo.local="$repository" -Dwyerrlog.version="$version" \
    "${natives[@]}" package >mvn.log 2>&1 || fail "$(<mvn.log)"
  export LD_LIBRARY_PATH
  LD_LIBRARY_PATH=$(library_folder "$2")
  local options=("-Djava.library.path=$3") jars=$path.jar:target/consumer-1.jar
  if [[ ${#natives[@]} -gt 0 ]]; then
    options=(-Djava.library.path=/nonexistent)
    jars+=:$path-natives-linux-x86_64.jar
    unset LD_LIBRARY_PATH
  fi
  expect_message "$1/find_package/build" java "${options[@]}" -classpath "$jars" consumer.Consumer
  expect_message "$1/find_package/build" java "${options[@]}" --module-path "$jars" \
    --add-modules ALL-MODULE-PATH --module consumer/consumer.Consumer
)

# holds_no_path FOLDER PATH...: no file below the folder mentions the paths.
holds_no_path() {
  local folder=$1 found
  shift
  found=$(printf '%s\n' "$@" | grep -rlFf - "$folder" || true)
  [[ -z $found ]] || fail "mentions $*: $found"
}
