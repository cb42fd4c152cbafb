package com.orvantis.wyerrlog;

import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;
import java.util.function.UnaryOperator;

/**
 * Which of the library's loggers the platform's log records go to, and the outputs to install for
 * it. A file of null is none: what the host has installed stays.
 */
record BridgeSettings(String loggerName, boolean localTime, LogFile log, LogFile trace,
    String traceConfig, int traceFormat, String traceDelimiter, int traceComponent) {
  record LogFile(String path, int mode, int maxSizeMB, int maxBackups) {
    @Override
    public String toString() {
      return "\"" + path + "\" (mode " + mode + ", maxSizeMB " + maxSizeMB + ", maxBackups "
          + maxBackups + ")";
    }
  }

  /** Prefix of the system properties. */
  static final String PREFIX = "wyerrlog.";

  /** Reports names among the system properties that are those of no setting. */
  static void checkSystemProperties(Consumer<String> problems) {
    List<String> settings = new ArrayList<>(SettingNames.COMMON);
    settings.addAll(List.of("level", "library"));
    SettingNames.check(System.getProperties().stringPropertyNames(), PREFIX, settings, problems);
  }

  /** The settings in the system properties. */
  static BridgeSettings ofSystemProperties(Consumer<String> problems) {
    return read(key -> System.getProperty(PREFIX + key), problems);
  }

  /**
   * Reads settings.
   *
   * @param properties the value of a key, or null when it has none
   * @param problems receives a text for each value that makes no sense and counts as missing
   */
  static BridgeSettings read(UnaryOperator<String> properties, Consumer<String> problems) {
    Reader reader = new Reader(properties, problems);
    return new BridgeSettings(properties.apply("logger"), reader.truth("localTime"),
        reader.file("log.", "mode", "maxSizeMB", "maxBackups"),
        reader.file("trace.", "mode", "maxSizeMB", "maxBackups", "config", "format", "delimiter"),
        properties.apply("trace.config"), reader.number("trace.format", WyLogger.FORMAT_BRACKETED),
        properties.apply("trace.delimiter"),
        reader.number("trace.component", WyLogger.COMPONENT_LOG));
  }

  /** Whether a file is named; without one a bridge has nowhere to write. */
  boolean nameAFile() {
    return log.path() != null || trace.path() != null;
  }

  private record Reader(UnaryOperator<String> properties, Consumer<String> problems) {
    /** A file and its parameters; the details are the settings that nothing uses without it. */
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

    /** A bare file name cannot be rolled over by the library: it becomes absolute. */
    String path(String key) {
      String path = properties.apply(key);
      if (path == null || path.isEmpty() || path.contains("/")) {
        return path;
      }
      try {
        return Path.of(path).toAbsolutePath().toString();
      } catch (InvalidPathException notOfTheLocale) {
        return "./" + path; // the system takes bytes that the virtual machine's locale lacks
      }
    }

    boolean truth(String key) {
      String value = properties.apply(key);
      if (value != null && !value.strip().matches("(?i)true|false")) {
        problems.accept(key + ": \"" + value + "\" is neither true nor false");
      }
      return value != null && Boolean.parseBoolean(value.strip());
    }

    /** Decimal, or hexadecimal behind "0x"; identifiers have up to 32 bits. */
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
