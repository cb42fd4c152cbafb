package com.orvantis.wyerrlog;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.Objects;
import java.util.regex.Pattern;

/**
 * Runs the tests of a class, each of which uses a logger of its own name, and prints those that
 * fail. When all is well, nothing is printed: neither by the tests nor by the virtual machine's own
 * checks.
 */
final class Tests {
  private Tests() {}

  static void run(Class<?> tests) throws ReflectiveOperationException {
    int failures = 0;
    for (Method method : tests.getDeclaredMethods()) {
      if (!method.isAnnotationPresent(Test.class)) {
        continue;
      }
      try {
        method.invoke(null);
      } catch (InvocationTargetException failure) {
        System.out.println("FAILED " + tests.getSimpleName() + "." + method.getName());
        failure.getCause().printStackTrace(System.out);
        failures++;
      }
    }
    System.exit(failures);
  }

  static void check(boolean condition, String what) {
    if (!condition) {
      throw new AssertionError(what);
    }
  }

  static void checkEqual(Object expected, Object actual) {
    check(Objects.equals(expected, actual), "expected: " + expected + "\nactual:   " + actual);
  }

  /** A statement that may throw. */
  interface Statement {
    void run() throws Exception;
  }

  /** Returns what the statement throws, which is of that type. */
  static Throwable expect(Class<? extends Throwable> type, Statement statement) {
    try {
      statement.run();
    } catch (Throwable thrown) {
      check(type.isInstance(thrown), "thrown: " + thrown);
      return thrown;
    }
    throw new AssertionError("nothing is thrown");
  }

  // ---- Files ------------------------------------------------------------------------------------

  private static final Path directory = makeDirectory();

  private static Path makeDirectory() {
    try {
      Path path = Files.createTempDirectory("wyerrlog");
      Runtime.getRuntime().addShutdownHook(new Thread(() -> remove(path)));
      return path;
    } catch (IOException problem) {
      throw new UncheckedIOException(problem);
    }
  }

  private static void remove(Path path) {
    try (var files = Files.walk(path)) {
      files.sorted((first, second) -> second.compareTo(first))
          .forEach(file -> file.toFile().delete());
    } catch (IOException problem) {
      problem.printStackTrace();
    }
  }

  /** The path of a file in the directory of this run, which is removed at the end. */
  static String path(String name) {
    return directory.resolve(name).toString();
  }

  static String write(String name, String... lines) {
    try {
      return Files.write(directory.resolve(name), List.of(lines)).toString();
    } catch (IOException problem) {
      throw new UncheckedIOException(problem);
    }
  }

  /** The lines of a file; none when there is no such file. */
  static List<String> lines(String name) {
    Path file = directory.resolve(name);
    try {
      return Files.exists(file) ? Files.readString(file).lines().toList() : List.of();
    } catch (IOException problem) {
      throw new UncheckedIOException(problem);
    }
  }

  // ---- Records ----------------------------------------------------------------------------------

  /** "[pid/tid][date]" at the beginning of a line of the error log. */
  static final String PROLOG = "\\[" + ProcessHandle.current().pid() + "/\\d+\\]"
      + "\\[[A-Z][a-z]{2} [A-Z][a-z]{2} \\d{2} \\d{4} [\\d:]{8}\\]";

  private static final Pattern prolog = Pattern.compile("^" + PROLOG);

  /** The lines of an error log without their prologs. */
  static List<String> messages(String name) {
    return lines(name).stream().map(line -> prolog.matcher(line).replaceFirst("")).toList();
  }

  /** The records of a trace in brackets, without its two title lines. */
  static List<String> records(String name) {
    return lines(name).stream().skip(2).toList();
  }

  static void openLog(String logger, String file) {
    checkEqual(1,
        WyLogger.InitializeLog(
            logger, WyLogger.OUTPUT_FILE, path(file), WyLogger.MODE_APPEND, 0, false, 0));
  }

  /** Traces the library's own component and the sub-component "Login_Logout/Authentication". */
  static void openTrace(String logger, String file, String fields) {
    String config =
        write(file + ".conf", "version 1.1", "components Log Login_Logout/Authentication", fields);
    checkEqual(1,
        WyLogger.InitializeTrace(logger, WyLogger.OUTPUT_FILE, path(file), WyLogger.MODE_APPEND, 0,
            WyLogger.FORMAT_BRACKETED, null, config, false, 0));
  }
}
