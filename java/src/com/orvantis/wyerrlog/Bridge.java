package com.orvantis.wyerrlog;

import java.io.PrintWriter;
import java.io.StringWriter;
import java.util.HashMap;
import java.util.Map;
import java.util.function.Consumer;
import java.util.regex.Pattern;

/**
 * Passes records of the platform's logging to the library: messages to the error log, records of
 * {@code FINE} and below to the trace. The levels of {@code java.util.logging} and of {@code
 * System.Logger} have the same numbers.
 */
final class Bridge {
  private static final int ERROR = System.Logger.Level.ERROR.getSeverity();
  private static final int WARNING = System.Logger.Level.WARNING.getSeverity();
  private static final int DEBUG = System.Logger.Level.DEBUG.getSeverity();

  private static final Pattern LINE_END = Pattern.compile("\\R");

  // Settings whose outputs are installed. Installing them again would reopen or roll over files.
  private static final Map<BridgeSettings, Bridge> installed = new HashMap<>();

  // Set while the thread writes a record: code that is called meanwhile may log, and would recurse.
  private static final ThreadLocal<Boolean> inside = new ThreadLocal<>();

  private final BridgeSettings settings;
  private final boolean hasErrorLog;
  private final boolean hasTrace;

  private Bridge(BridgeSettings settings, Consumer<String> problems) {
    this.settings = settings;
    hasErrorLog = installErrorLog(problems);
    hasTrace = installTrace(problems);
  }

  /**
   * Installs the outputs of the settings, once for equal settings, and returns their bridge. If no
   * output could be installed, the next call tries again.
   *
   * @param problems receives a text for each output that cannot be installed
   * @throws LinkageError if the native library cannot be loaded
   */
  static Bridge open(BridgeSettings settings, Consumer<String> problems) {
    WyLogger.TraceEnabled(settings.loggerName()); // loads the library
    synchronized (installed) {
      Bridge bridge = installed.get(settings);
      if (bridge == null) {
        bridge = new Bridge(settings, problems);
        if (bridge.hasErrorLog || bridge.hasTrace) {
          installed.put(settings, bridge);
        }
      }
      return bridge;
    }
  }

  private boolean installErrorLog(Consumer<String> problems) {
    BridgeSettings.LogFile log = settings.log();
    if (log.path() == null) {
      return false;
    }
    boolean done = WyLogger.InitializeLog(settings.loggerName(), WyLogger.OUTPUT_FILE, log.path(),
                       log.mode(), log.maxSizeMB(), settings.localTime(), log.maxBackups())
        == WyLogger.RESULT_DONE;
    if (!done) {
      problems.accept("log.file: the error log cannot be written to " + log
          + ": check the folder, its permissions, and the numbers");
    }
    return done;
  }

  private boolean installTrace(Consumer<String> problems) {
    BridgeSettings.LogFile trace = settings.trace();
    if (trace.path() == null) {
      return false;
    }
    boolean done =
        WyLogger.InitializeTrace(settings.loggerName(), WyLogger.OUTPUT_FILE, trace.path(),
            trace.mode(), trace.maxSizeMB(), settings.traceFormat(), settings.traceDelimiter(),
            settings.traceConfig(), settings.localTime(), trace.maxBackups())
        == WyLogger.RESULT_DONE;
    if (!done) {
      problems.accept("trace.file: tracing cannot be turned on with the configuration "
          + settings.traceConfig() + " (trace.config) to " + trace
          + ": check both files, the permissions, and the numbers");
    }
    return done;
  }

  /** Returns true if these settings have installed an error log. */
  boolean hasErrorLog() {
    return hasErrorLog;
  }

  /**
   * Returns true if these settings have installed an output for records of this severity: an error
   * log for messages, an error log or a trace for finer records. Finer records are dropped unless
   * their component is traced.
   */
  boolean hasOutputFor(int severity) {
    return severity > DEBUG ? hasErrorLog : hasErrorLog || hasTrace;
  }

  /** Returns true for messages, and for finer records while their component is traced. */
  boolean takes(int severity) {
    return severity > DEBUG
        || WyLogger.TraceEnabledComponent(settings.loggerName(), settings.traceComponent()) == 1;
  }

  /**
   * Formats and writes a record. Does nothing if the thread is writing a record already.
   *
   * @param writing formats and writes
   * @return what {@code writing} has thrown, or null
   */
  Throwable run(Runnable writing) {
    if (inside.get() != null) {
      return null;
    }
    inside.set(true);
    try {
      writing.run();
      return null;
    } catch (Throwable thrown) {
      // A failure to log must not end the program.
      return thrown;
    } finally {
      inside.remove();
    }
  }

  /**
   * Writes a record.
   *
   * @param severity number of the record's level
   * @param className class that has logged the record
   * @param methodName method that has logged the record; may be null
   * @param text text of the record; lines after the first are indented, so that they cannot be
   *     taken for records
   */
  void write(int severity, String className, String methodName, String text) {
    String lines = LINE_END.matcher(String.valueOf(text).stripTrailing()).replaceAll("\n\t");
    if (severity <= DEBUG) {
      WyLogger.TraceMsg(
          settings.loggerName(), className, methodName, settings.traceComponent(), null, lines);
      return;
    }
    int messageId = messageId(severity);
    for (String part : MessageParts.of(lines)) {
      WyLogger.LogMsg(settings.loggerName(), className, messageId, part);
    }
  }

  private static int messageId(int severity) {
    if (severity >= ERROR) {
      return WyLogger.MESSAGE_ERROR;
    }
    return severity >= WARNING ? WyLogger.MESSAGE_WARNING : WyLogger.MESSAGE_INFORMATION;
  }

  /** Returns the text, followed by the stack trace of {@code thrown} unless that is null. */
  static String withStackTrace(String text, Throwable thrown) {
    if (thrown == null) {
      return text;
    }
    StringWriter lines = new StringWriter();
    PrintWriter writer = new PrintWriter(lines);
    writer.println(text);
    try {
      thrown.printStackTrace(writer);
    } catch (RuntimeException unprintable) {
      writer.println(thrown.getClass().getName());
    }
    return lines.toString();
  }
}
