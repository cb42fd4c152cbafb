package com.orvantis.wyerrlog;

import java.util.HashMap;
import java.util.Map;
import java.util.function.Consumer;

/**
 * Passes records of the platform's logging to the library: messages to the error log, records of
 * {@code FINE} and below to the trace. The levels of {@code java.util.logging} and of {@code
 * System.Logger} have the same numbers.
 */
final class Bridge {
  private static final int ERROR = System.Logger.Level.ERROR.getSeverity();
  private static final int WARNING = System.Logger.Level.WARNING.getSeverity();
  private static final int DEBUG = System.Logger.Level.DEBUG.getSeverity();

  // Settings whose outputs are installed. Installing them again would reopen or roll over files.
  private static final Map<BridgeSettings, Bridge> installed = new HashMap<>();

  // True while the thread writes a record: code that is called meanwhile may log, and would
  // recurse. An array, because a value that is set and removed for each record costs more than the
  // rest.
  private static final ThreadLocal<boolean[]> inside =
      ThreadLocal.withInitial(() -> new boolean[1]);

  private final BridgeSettings settings;
  private final LoggerHandle logger;
  private final WyTrace trace;
  private final boolean hasErrorLog;
  private final boolean hasTrace;

  private Bridge(BridgeSettings settings, Consumer<String> problems) {
    this.settings = settings;
    logger = handle(settings.loggerName());
    trace = new WyTrace(logger, settings.traceComponent(), "");
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

  /** Returns the logger of a name, which is never closed: other code may use it. */
  private static LoggerHandle handle(String name) {
    LoggerHandle handle = name == null || name.isEmpty() ? null : LoggerHandle.open(name);
    return handle != null ? handle : LoggerHandle.ofProcess();
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
    return severity > DEBUG || trace.isOn();
  }

  /**
   * Returns true if a record shows the class and the method that have logged it: a trace record,
   * and a message if a setting asks for it. To find them on the stack takes several times as long
   * as to write the record.
   */
  boolean showsCaller(int severity) {
    return severity <= DEBUG || settings.placeIsClass();
  }

  /**
   * Formats and writes a record. Does nothing if the thread is writing a record already.
   *
   * @param writing formats and writes
   * @return what {@code writing} has thrown, or null
   */
  Throwable run(Runnable writing) {
    boolean[] writes = inside.get();
    if (writes[0]) {
      return null;
    }
    writes[0] = true;
    try {
      writing.run();
      return null;
    } catch (Throwable thrown) {
      // A failure to log must not end the program.
      return thrown;
    } finally {
      writes[0] = false;
    }
  }

  /**
   * Writes a record.
   *
   * @param severity number of the record's level
   * @param place class or logger that has logged the record
   * @param methodName method that has logged the record; may be null
   * @param text text of the record; lines after the first are indented, so that they cannot be
   *     taken for records
   */
  void write(int severity, String place, String methodName, String text) {
    String lines = Lines.indented(text);
    if (severity <= DEBUG) {
      trace.begin(place, methodName).lines(lines).write();
    } else {
      WyLog.writeLines(logger, place, messageId(severity), lines);
    }
  }

  private static int messageId(int severity) {
    if (severity >= ERROR) {
      return WyLogger.MESSAGE_ERROR;
    }
    return severity >= WARNING ? WyLogger.MESSAGE_WARNING : WyLogger.MESSAGE_INFORMATION;
  }
}
