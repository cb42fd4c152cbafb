package com.orvantis.wyerrlog;

import java.util.ArrayList;
import java.util.List;
import java.util.logging.ErrorManager;
import java.util.logging.Filter;
import java.util.logging.Formatter;
import java.util.logging.Handler;
import java.util.logging.Level;
import java.util.logging.LogManager;
import java.util.logging.LogRecord;

/**
 * A handler for {@code java.util.logging} that logs and traces through the library, so that an
 * unchanged program does, by its {@code logging.properties} alone:
 *
 * <pre>
 * handlers = com.orvantis.wyerrlog.WyLogHandler
 * com.orvantis.wyerrlog.WyLogHandler.log.file = /var/log/agent/error.log
 * com.orvantis.wyerrlog.WyLogHandler.trace.file = /var/log/agent/trace.log
 * com.orvantis.wyerrlog.WyLogHandler.trace.config = /etc/agent/trace.conf
 * .level = ALL
 * </pre>
 *
 * Records above {@code FINE} go to the error log, as messages of the library's own component: an
 * error from {@code SEVERE} on, a warning from {@code WARNING} on, else an information. Records of
 * {@code FINE} and below go to the trace, when the trace configuration selects the handler's
 * component. The location is the name of the source class, or of the logger when that is not known.
 *
 * <p>Each property is looked up as {@code com.orvantis.wyerrlog.WyLogHandler.<key>} in the logging
 * configuration, then as the system property {@code wyerrlog.<key>}:
 *
 * <ul>
 *   <li>{@code logger}: name of the library's logger. Default: the process's logger.
 *   <li>{@code log.file}, {@code log.mode}, {@code log.maxSizeMB}, {@code log.maxBackups}: the
 *       error log, with the parameters of {@link WyLogger#InitializeLog}. Default: no file, which
 *       leaves the error log to what else the process installs; mode 1, size 0, backups 0. A file
 *       name without {@code /} is one in the working directory.
 *   <li>{@code trace.file}, {@code trace.mode}, {@code trace.maxSizeMB}, {@code trace.maxBackups}:
 *       likewise the trace; {@code trace.config}, {@code trace.format}, {@code trace.delimiter} as
 *       in {@link WyLogger#InitializeTrace}.
 *   <li>{@code trace.component}: identifier of the component that records are traced under.
 *       Default: {@link WyLogger#COMPONENT_LOG}.
 *   <li>{@code localTime}: true for local time. Default: UTC.
 * </ul>
 *
 * The standard properties {@code level} (default {@code ALL}), {@code filter} and {@code formatter}
 * (default: the message and the stack trace; the library adds time, thread and place) apply as
 * well. Handlers with equal settings, and {@link WyLoggerFinder} with the same, open their files
 * once.
 *
 * <p>Texts of more than 4095 bytes become several messages. Further lines of a text are indented by
 * a tab, so that nothing that a program logs can pass for another record. Any thread may log at any
 * time. Nothing is thrown to the code that logs, and what is logged while a record is made on the
 * same thread is dropped; failures are reported to the handler's {@link ErrorManager}. So are,
 * when the handler is made, an output that cannot be installed, a value that makes no sense, and a
 * setting that does not exist: among the system properties, and in the file of {@code
 * java.util.logging} (the one that {@code java.util.logging.config.file} names, or the platform's).
 * The platform lists no names of a configuration that a program reads from elsewhere.
 */
public final class WyLogHandler extends Handler {
  private static final String PREFIX = WyLogHandler.class.getName() + ".";

  private final Bridge bridge; // null: the library cannot be loaded

  // What is wrong with the configuration. It is reported at once, when all has been read: the
  // platform's ErrorManager shows the first report alone.
  private final List<String> problems = new ArrayList<>();

  /** Makes a handler with the settings described above, and installs their outputs. */
  public WyLogHandler() {
    setLevel(levelOf(handlerProperty("level")));
    setFilter(instanceOf(Filter.class, "filter", null));
    setFormatter(instanceOf(Formatter.class, "formatter", new TextFormatter()));
    bridge = openBridge();
    if (!problems.isEmpty()) {
      reportError(String.join("\n", problems), null, ErrorManager.OPEN_FAILURE);
    }
  }

  private Bridge openBridge() {
    checkNames();
    try {
      return Bridge.open(BridgeSettings.read(WyLogHandler::property, problems::add), problems::add);
    } catch (LinkageError missing) {
      problems.add(missing.getMessage());
      return null;
    }
  }

  private void checkNames() {
    List<String> settings = new ArrayList<>(SettingNames.COMMON);
    settings.addAll(List.of("level", "filter", "formatter"));
    SettingNames.check(LoggingConfiguration.names(), PREFIX, settings, problems::add);
    BridgeSettings.checkSystemProperties(problems::add);
  }

  /**
   * Writes a record, if its level and the filter let it pass.
   *
   * @param record the record; null is ignored
   */
  @Override
  public void publish(LogRecord record) {
    if (record == null || bridge == null) {
      return;
    }
    Throwable thrown = bridge.run(() -> write(record));
    if (thrown != null) {
      report(thrown);
    }
  }

  private void write(LogRecord record) {
    int severity = record.getLevel().intValue();
    if (!isLoggable(record) || !bridge.takes(severity)) {
      return;
    }
    String className = record.getSourceClassName();
    bridge.write(severity, className != null ? className : record.getLoggerName(),
        record.getSourceMethodName(), getFormatter().format(record));
  }

  /** Does nothing: records are written when they are published. */
  @Override
  public void flush() {}

  /** Does nothing: the outputs are the library's, and other code may use them. */
  @Override
  public void close() {}

  /** The message with its parameters, and the stack trace. */
  private static final class TextFormatter extends Formatter {
    @Override
    public String format(LogRecord record) {
      return Bridge.withStackTrace(formatMessage(record), record.getThrown());
    }
  }

  // ---- Configuration ----------------------------------------------------------------------------

  private static String handlerProperty(String key) {
    String value = LogManager.getLogManager().getProperty(PREFIX + key);
    return value != null ? value.strip() : null;
  }

  private static String property(String key) {
    String value = handlerProperty(key);
    return value != null ? value : System.getProperty(BridgeSettings.PREFIX + key);
  }

  private Level levelOf(String name) {
    try {
      return name != null ? Level.parse(name) : Level.ALL;
    } catch (IllegalArgumentException unknown) {
      problems.add("level: " + unknown.getMessage());
      return Level.ALL;
    }
  }

  /** An object of the class that a property names, made as the other handlers make theirs. */
  private <T> T instanceOf(Class<T> type, String key, T otherwise) {
    String className = handlerProperty(key);
    if (className == null) {
      return otherwise;
    }
    try {
      Class<?> named = ClassLoader.getSystemClassLoader().loadClass(className);
      return type.cast(named.getDeclaredConstructor().newInstance());
    } catch (ReflectiveOperationException | RuntimeException problem) {
      problems.add(key + ": " + problem);
      return otherwise;
    }
  }

  // ---- Failures ---------------------------------------------------------------------------------

  private void report(Throwable thrown) {
    if (thrown instanceof Exception exception) {
      reportError(null, exception, ErrorManager.WRITE_FAILURE);
    } else {
      reportError(thrown.toString(), null, ErrorManager.WRITE_FAILURE);
    }
  }
}
