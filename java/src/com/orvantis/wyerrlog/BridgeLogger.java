package com.orvantis.wyerrlog;

import java.text.MessageFormat;
import java.util.List;
import java.util.MissingResourceException;
import java.util.Objects;
import java.util.ResourceBundle;
import java.util.function.Supplier;

/** A logger of the platform whose records go over the bridge. */
final class BridgeLogger implements System.Logger {
  // The code between a program and this class.
  private static final List<String> PLATFORM =
      List.of("java.lang.System$Logger", "jdk.internal.logger.", "sun.util.logging.");

  private final String name;
  private final Bridge bridge;
  private final Level lowest;

  BridgeLogger(String name, Bridge bridge, Level lowest) {
    this.name = Objects.requireNonNull(name);
    this.bridge = bridge;
    this.lowest = lowest;
  }

  @Override
  public String getName() {
    return name;
  }

  @Override
  public boolean isLoggable(Level level) {
    return level != Level.OFF && level.getSeverity() >= lowest.getSeverity()
        && bridge.takes(level.getSeverity());
  }

  @Override
  public void log(Level level, ResourceBundle bundle, String text, Throwable thrown) {
    write(level, () -> Bridge.withStackTrace(localized(bundle, text), thrown));
  }

  @Override
  public void log(Level level, ResourceBundle bundle, String format, Object... parameters) {
    write(level, () -> formatted(localized(bundle, format), parameters));
  }

  private void write(Level level, Supplier<String> text) {
    if (!isLoggable(level)) {
      return;
    }
    bridge.run(() -> {
      StackWalker.StackFrame caller = caller();
      bridge.write(level.getSeverity(), caller != null ? caller.getClassName() : name,
          caller != null ? caller.getMethodName() : null, text.get());
    });
  }

  private static String localized(ResourceBundle bundle, String text) {
    if (bundle == null || text == null) {
      return String.valueOf(text);
    }
    try {
      return bundle.getString(text);
    } catch (MissingResourceException | ClassCastException untranslated) {
      return text;
    }
  }

  private static String formatted(String format, Object[] parameters) {
    if (parameters == null || parameters.length == 0) {
      return format;
    }
    try {
      return MessageFormat.format(format, parameters);
    } catch (RuntimeException notAFormat) {
      return format;
    }
  }

  private static StackWalker.StackFrame caller() {
    return StackWalker.getInstance().walk(
        frames -> frames.filter(BridgeLogger::isOfProgram).findFirst().orElse(null));
  }

  private static boolean isOfProgram(StackWalker.StackFrame frame) {
    String className = frame.getClassName();
    return !className.startsWith(BridgeLogger.class.getName())
        && !className.equals(Bridge.class.getName())
        && PLATFORM.stream().noneMatch(className::startsWith);
  }
}
