package com.orvantis.wyerrlog;

import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;
import java.util.function.UnaryOperator;

/**
 * The settings of a bridge: the library's logger that receives the platform's log records, and the
 * outputs to install for it. If a file is null, no output is installed, and the output that the
 * host has installed stays.
 */
record BridgeSettings(String loggerName, boolean localTime, LogFile log, LogFile trace,
    String traceConfig, int traceFormat, String traceDelimiter, int traceComponent,
    boolean placeIsClass) {
  record LogFile(String path, int mode, int maxSizeMB, int maxBackups) {
    @Override
    public String toString() {
      return "\"" + path + "\" (mode " + mode + ", maxSizeMB " + maxSizeMB + ", maxBackups "
          + maxBackups + ")";
    }
  }

  /** Prefix of the system properties. */
  static final String PREFIX = "wyerrlog.";

  /** Reports system properties that begin with the prefix, or nearly do, and are not a setting. */
  static void checkSystemProperties(Consumer<String> problems) {
    List<String> settings = new ArrayList<>(SettingNames.COMMON);
    settings.addAll(List.of("level", "library", "mdc"));
    SettingNames.check(System.getProperties().stringPropertyNames(), PREFIX, settings, problems);
  }

  /** Returns the settings in the system properties. */
  static BridgeSettings ofSystemProperties(Consumer<String> problems) {
    return read(key -> System.getProperty(PREFIX + key), problems);
  }

  /**
   * Reads settings.
   *
   * @param properties returns the value of a key, or null if it has none
   * @param problems receives a text for each invalid value; the default is used instead
   */
  static BridgeSettings read(UnaryOperator<String> properties, Consumer<String> problems) {
    Reader reader = new Reader(properties, problems);
    return new BridgeSettings(properties.apply("logger"), reader.truth("localTime"),
        reader.file("log.", "mode", "maxSizeMB", "maxBackups"),
        reader.file("trace.", "mode", "maxSizeMB", "maxBackups", "config", "format", "delimiter"),
        properties.apply("trace.config"), reader.number("trace.format", WyLogger.FORMAT_BRACKETED),
        properties.apply("trace.delimiter"),
        reader.number("trace.component", WyLogger.COMPONENT_LOG), reader.isClass("place"));
  }

  /** Returns true if a file is named. Without one a bridge installs no output. */
  boolean nameAFile() {
    return log.path() != null || trace.path() != null;
  }

  private record Reader(UnaryOperator<String> properties, Consumer<String> problems) {
    /** Returns a file and its parameters. Without the file the details have no effect. */
    LogFile file(String prefix, String... details) {
      for (String detail : details) {
        if (properties.apply(prefix + "file") == null
            && properties.apply(prefix + detail) != null) {
          problems.accept(prefix + detail + ": has no effect without " + prefix + "file");
        }
      }
      return new LogFile(path(prefix + "file"), number(prefix + "mode", WyLogger.MODE_APPEND),
          number(prefix + "maxSizeMB", 0), number(prefix + "maxBackups", 0));
    }

    /**
     * Returns the path. A name without "/" becomes absolute: the library could not roll it over.
     */
    String path(String key) {
      String path = properties.apply(key);
      if (path == null || path.isEmpty() || path.contains("/")) {
        return path;
      }
      try {
        return Path.of(path).toAbsolutePath().toString();
      } catch (InvalidPathException notOfTheLocale) {
        return "./" + path; // open(2) accepts bytes that the virtual machine's locale cannot encode
      }
    }

    boolean truth(String key) {
      String value = properties.apply(key);
      if (value != null && !value.strip().matches("(?i)true|false")) {
        problems.accept(key + ": \"" + value + "\" is neither true nor false");
      }
      return value != null && Boolean.parseBoolean(value.strip());
    }

    boolean isClass(String key) {
      String value = properties.apply(key);
      if (value != null && !value.strip().matches("class|logger")) {
        problems.accept(key + ": \"" + value + "\" is neither class nor logger");
      }
      return value != null && value.strip().equals("class");
    }

    /** Returns a number, decimal or hexadecimal after "0x". Identifiers have up to 32 bits. */
    int number(String key, int otherwise) {
      String value = properties.apply(key);
      if (value == null) {
        return otherwise;
      }
      try {
        long number = Long.decode(value.strip());
        if (number >= Integer.MIN_VALUE && number <= 0xFFFFFFFFL) {
          return (int) number;
        }
      } catch (NumberFormatException notANumber) {
        // Reported below.
      }
      problems.accept(key + ": \"" + value + "\" is not a number");
      return otherwise;
    }
  }
}
