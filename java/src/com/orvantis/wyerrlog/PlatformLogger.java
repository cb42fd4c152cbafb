package com.orvantis.wyerrlog;

import java.lang.System.Logger.Level;
import java.util.Objects;
import java.util.ResourceBundle;
import java.util.logging.Logger;

/**
 * The logger that the platform's default finder would have returned: one that passes its records to
 * the logger of the same name of {@code java.util.logging}.
 *
 * <p>The platform has one finder, and no published way from it to the default one, which is a
 * class of the platform's internals. What the default does is published: {@link
 * System.LoggerFinder} says that it uses {@code java.util.logging}, {@link Level} which levels
 * correspond.
 */
final class PlatformLogger implements System.Logger {
  private final String name;

  // Found at the first record: finding it starts java.util.logging, which may be what asks for a
  // logger just now.
  private volatile Logger logger;

  PlatformLogger(String name) {
    this.name = Objects.requireNonNull(name);
  }

  /** Whether this runtime has {@code java.util.logging}. */
  static boolean isAvailable() {
    return ModuleLayer.boot().findModule("java.logging").isPresent();
  }

  @Override
  public String getName() {
    return name;
  }

  @Override
  public boolean isLoggable(Level level) {
    return target().isLoggable(levelOf(level));
  }

  @Override
  public void log(Level level, ResourceBundle bundle, String text, Throwable thrown) {
    if (isLoggable(level)) {
      CallSite site = CallSite.ofProgram(name);
      target().logrb(levelOf(level), site.className(), site.methodName(), bundle, text, thrown);
    }
  }

  @Override
  public void log(Level level, ResourceBundle bundle, String format, Object... parameters) {
    if (isLoggable(level)) {
      CallSite site = CallSite.ofProgram(name);
      target().logrb(
          levelOf(level), site.className(), site.methodName(), bundle, format, parameters);
    }
  }

  private Logger target() {
    Logger found = logger;
    if (found == null) {
      found = Logger.getLogger(name);
      logger = found; // java.util.logging itself forgets a logger that no program holds
    }
    return found;
  }

  private static java.util.logging.Level levelOf(Level level) {
    return switch (level) {
      case ALL -> java.util.logging.Level.ALL;
      case TRACE -> java.util.logging.Level.FINER;
      case DEBUG -> java.util.logging.Level.FINE;
      case INFO -> java.util.logging.Level.INFO;
      case WARNING -> java.util.logging.Level.WARNING;
      case ERROR -> java.util.logging.Level.SEVERE;
      case OFF -> java.util.logging.Level.OFF;
    };
  }
}
