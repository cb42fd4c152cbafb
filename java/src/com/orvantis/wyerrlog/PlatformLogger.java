package com.orvantis.wyerrlog;

import java.lang.System.Logger.Level;
import java.util.Objects;
import java.util.ResourceBundle;
import java.util.logging.Logger;

/**
 * Does what the platform's default logger does: passes its records to the logger of the same name
 * of {@code java.util.logging}.
 *
 * <p>The default finder is an internal class, which another finder cannot reach. But its behaviour
 * is published: {@link System.LoggerFinder} states that it uses {@code java.util.logging}, and
 * {@link Level} states which levels correspond.
 */
final class PlatformLogger implements System.Logger {
  private final String name;

  // Set at the first record, not by the constructor: getting it initializes java.util.logging,
  // which may itself be the caller that asks for this logger.
  private volatile Logger logger;

  PlatformLogger(String name) {
    this.name = Objects.requireNonNull(name);
  }

  /** Returns true if this runtime has {@code java.util.logging}. */
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
      logger = found; // java.util.logging itself keeps only a weak reference
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
