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
 * A handler for {@code java.util.logging} that logs and traces through the library. An unchanged
 * program uses it if its {@code logging.properties} name it:
 *
 * <pre>
 * handlers = com.orvantis.wyerrlog.WyLogHandler
 * com.orvantis.wyerrlog.WyLogHandler.log.file = /var/log/agent/error.log
 * com.orvantis.wyerrlog.WyLogHandler.trace.file = /var/log/agent/trace.log
 * com.orvantis.wyerrlog.WyLogHandler.trace.config = /etc/agent/trace.conf
 * .level = ALL
 * </pre>
 *
 * Records above {@code FINE} are written to the error log, as messages of the library's own
 * component: from {@code SEVERE} on as errors, from {@code WARNING} on as warnings, else as
 * informations. Records of {@code FINE} and below are written to the trace if the trace
 * configuration selects the handler's component. A message shows the name of its logger as its
 * place, a trace record the source class (or the logger if the class is not known) and the method.
 *
 * <p>Each property is looked up as {@code com.orvantis.wyerrlog.WyLogHandler.<key>} in the logging
 * configuration, then as the system property {@code wyerrlog.<key>}:
 *
 * <ul>
 *   <li>{@code logger}: name of the library's logger. Default: the process's logger.
 *   <li>{@code log.file}, {@code log.mode}, {@code log.maxSizeMB}, {@code log.maxBackups}: the
 *       error log, with the parameters of {@link WyLogger#InitializeLog}. Default: no file, and the
 *       output that other code installs stays; mode 1 ({@link WyLogger#MODE_APPEND}), size 0,
 *       backups 0. A file name without {@code /} is a file of the working directory.
 *   <li>{@code trace.file}, {@code trace.mode}, {@code trace.maxSizeMB}, {@code trace.maxBackups}:
 *       the same for the trace; {@code trace.config}, {@code trace.format} and {@code
 *       trace.delimiter} as in {@link WyLogger#InitializeTrace}.
 *   <li>{@code trace.component}: identifier of the component of trace records. Default: {@link
 *       WyLogger#COMPONENT_LOG}.
 *   <li>{@code place}: {@code class}, and messages show the source class, which takes several times
 *       as long to find as the message takes to write. Default: {@code logger}.
 *   <li>{@code localTime}: true for local time. Default: UTC.
 * </ul>
 *
 * The standard properties {@code level} (default {@code ALL}), {@code filter} and {@code formatter}
 * (default: the message and the stack trace; the library adds time, thread and place) are supported
 * too. Handlers with equal settings, and a {@link WyLoggerFinder} with the same settings, open
 * their files once.
 *
 * <p>Texts are written in UTF-8. A text of more than 4095 bytes becomes several messages. Lines of
 * a text after the first are indented by a tab, and other control characters are escaped, so that
 * no text can be taken for another record. Trace records have the fields of the thread's {@link
 * WyRequest} and of SLF4J's MDC. Any thread may log at any
 * time. Nothing is thrown to the caller. A record that is logged on the same thread while the
 * handler formats or writes another one is dropped.
 *
 * <p>Failures to write are reported to the handler's {@link ErrorManager}. When the handler is
 * constructed, it also reports outputs that cannot be installed, invalid values and unknown
 * settings. Unknown settings are searched among the system properties and in the configuration file
 * of {@code java.util.logging} (the one that {@code java.util.logging.config.file} names, or the
 * platform's). If a program reads its configuration from another source, the platform does not list
 * its names.
 */
public final class WyLogHandler extends Handler {
  private static final String PREFIX = WyLogHandler.class.getName() + ".";

  private final Bridge bridge; // null: the library cannot be loaded

  // The errors in the configuration. They are reported together at the end, because the platform's
  // ErrorManager prints only its first report.
  private final List<String> problems = new ArrayList<>();

  /** Constructs a handler with the settings described above, and installs their outputs. */
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
   * Writes a record if its level is high enough and the filter accepts it.
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
    String text = getFormatter().format(record);
    if (!bridge.showsCaller(severity)) {
      bridge.write(severity, record.getLoggerName(), null, text);
      return;
    }
    String className = record.getSourceClassName();
    bridge.write(severity, className != null ? className : record.getLoggerName(),
        record.getSourceMethodName(), text);
  }

  /** Does nothing: records are written when they are published. */
  @Override
  public void flush() {}

  /** Does nothing: the library owns the outputs, and other code may use them. */
  @Override
  public void close() {}

  /** Formats the message with its parameters, and the stack trace. */
  private static final class TextFormatter extends Formatter {
    @Override
    public String format(LogRecord record) {
      return Lines.withStackTrace(formatMessage(record), record.getThrown());
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

  /** Returns a new object of the class that a property names, as the platform's handlers do. */
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
