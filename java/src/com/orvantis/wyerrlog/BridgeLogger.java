package com.orvantis.wyerrlog;

import java.text.MessageFormat;
import java.util.MissingResourceException;
import java.util.Objects;
import java.util.ResourceBundle;
import java.util.function.Supplier;

/**
 * The {@code System.Logger} that {@link WyLoggerFinder} returns. Records for which the bridge has
 * an output go to the library, all others to the platform's default logger.
 */
final class BridgeLogger implements System.Logger {
  private final String name;
  private final Bridge bridge;
  private final Level lowest;
  private final System.Logger platform;

  BridgeLogger(String name, Bridge bridge, Level lowest) {
    this.name = Objects.requireNonNull(name);
    this.bridge = bridge;
    this.lowest = lowest;
    this.platform = new PlatformLogger(name);
  }

  @Override
  public String getName() {
    return name;
  }

  @Override
  public boolean isLoggable(Level level) {
    if (level == Level.OFF || level.getSeverity() < lowest.getSeverity()) {
      return false;
    }
    return bridge.hasOutputFor(level.getSeverity()) ? bridge.takes(level.getSeverity())
                                                    : platform.isLoggable(level);
  }

  @Override
  public void log(Level level, ResourceBundle bundle, String text, Throwable thrown) {
    Supplier<String> whole = () -> Lines.withStackTrace(localized(bundle, text), thrown);
    write(level, whole, () -> platform.log(level, bundle, text, thrown));
  }

  @Override
  public void log(Level level, ResourceBundle bundle, String format, Object... parameters) {
    Supplier<String> whole = () -> formatted(localized(bundle, format), parameters);
    write(level, whole, () -> platform.log(level, bundle, format, parameters));
  }

  private void write(Level level, Supplier<String> text, Runnable toPlatform) {
    if (!isLoggable(level)) {
      return;
    }
    if (!bridge.hasOutputFor(level.getSeverity())) {
      toPlatform.run();
      return;
    }
    bridge.run(() -> {
      CallSite site = bridge.showsCaller(level.getSeverity()) ? CallSite.ofProgram(name)
                                                              : new CallSite(name, null);
      bridge.write(level.getSeverity(), site.className(), site.methodName(), text.get());
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
}
