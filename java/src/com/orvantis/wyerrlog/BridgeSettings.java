package com.orvantis.wyerrlog;

import java.util.function.Consumer;
import java.util.function.UnaryOperator;

/**
 * Which of the library's loggers the platform's log records go to, and the outputs to install for
 * it. A file of null is none: what the host has installed stays.
 */
record BridgeSettings(String loggerName, boolean localTime, LogFile log, LogFile trace,
    String traceConfig, int traceFormat, String traceDelimiter, int traceComponent) {
  record LogFile(String path, int mode, int maxSizeMB, int maxBackups) {}

  /** Prefix of the system properties. */
  static final String PREFIX = "wyerrlog.";

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
    return new BridgeSettings(properties.apply("logger"),
        Boolean.parseBoolean(properties.apply("localTime")), reader.file("log."),
        reader.file("trace."), properties.apply("trace.config"),
        reader.number("trace.format", WyLogger.FORMAT_BRACKETED),
        properties.apply("trace.delimiter"),
        reader.number("trace.component", WyLogger.COMPONENT_LOG));
  }

  private record Reader(UnaryOperator<String> properties, Consumer<String> problems) {
    LogFile file(String prefix) {
      return new LogFile(properties.apply(prefix + "file"),
          number(prefix + "mode", WyLogger.MODE_APPEND), number(prefix + "maxSizeMB", 0),
          number(prefix + "maxBackups", 0));
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
        // Told below.
      }
      problems.accept(key + ": \"" + value + "\" is not a number");
      return otherwise;
    }
  }
}
