package com.orvantis.wyerrlog;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Properties;
import java.util.Set;
import java.util.logging.LogManager;
import java.util.stream.Collectors;

/**
 * The names in the configuration of {@code java.util.logging}. {@link LogManager} returns the value
 * of a given name but does not list the names, so this class reads its file again.
 */
final class LoggingConfiguration {
  private LoggingConfiguration() {}

  /** Returns the names in the file that have a value; none if there is no file. */
  static Set<String> names() {
    LogManager manager = LogManager.getLogManager();
    return read()
        .stringPropertyNames()
        .stream()
        .filter(name -> manager.getProperty(name) != null)
        .collect(Collectors.toSet());
  }

  private static Properties read() {
    Properties properties = new Properties();
    String named = System.getProperty("java.util.logging.config.file");
    try {
      Path file = named != null
          ? Path.of(named)
          : Path.of(System.getProperty("java.home"), "conf", "logging.properties");
      try (InputStream stream = Files.newInputStream(file)) {
        properties.load(stream);
      }
    } catch (IOException | RuntimeException unreadable) {
      properties.clear(); // LogManager has reported it
    }
    return properties;
  }
}
