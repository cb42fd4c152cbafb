package com.orvantis.wyerrlog;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystemException;
import java.util.Objects;

/**
 * The error log, the trace and the audit log of one logger: that of the process, or a named one
 * with outputs of its own.
 *
 * <pre>{@code
 * WyLogs logs = WyLogs.ofProcess();
 * logs.logTo(WyFile.at("error.log").rollingAt(10, 5));
 * logs.auditTo(WyFile.at("audit.log").permissions(0640));
 * logs.traceTo(WyFile.at("trace.log"), "trace.conf");
 *
 * try (WyLogs tenant = WyLogs.open("tenant-7")) {
 *   tenant.logTo(WyFile.at("tenant-7.log"));
 *   tenant.log(Servlet.class).warning("disk almost full");
 * }
 * }</pre>
 *
 * <p>C++ code of the process uses the same loggers and outputs, and may install them: then Java
 * code only logs. Any thread may use an object at any time.
 *
 * <h2>Failures</h2>
 *
 * The methods that install an output throw an {@link IOException} with the system's reason. The
 * methods that write a record ({@link WyLog}, {@link WyTrace}, {@link WyAudit}) throw nothing of
 * their own; they return true if the log's output has taken the record. After {@link #close}, they
 * return false, and the methods that install an output throw an {@link IllegalStateException}.
 *
 * <h2>The library</h2>
 *
 * The first use of these classes loads the native library, as {@link WyLogger} describes.
 */
public final class WyLogs implements AutoCloseable {
  /** The layouts of trace records. */
  public enum Layout {
    /** Each field in brackets. */
    BRACKETS(0),
    /** Columns of fixed widths. */
    FIXED_WIDTH(1),
    /** Fields separated by a delimiter. */
    DELIMITED(2),
    /** An XML element for each record, with one for each field. */
    XML(3),
    /** A JSON object for each record. */
    JSON(0x4A534F4E);

    private final int number;

    Layout(int number) {
      this.number = number;
    }
  }

  private static final WyLogs process = new WyLogs(LoggerHandle.ofProcess());

  private final LoggerHandle logger;
  private boolean closed; // guarded by this

  private WyLogs(LoggerHandle logger) {
    this.logger = logger;
  }

  /**
   * Returns the logs of the process. Closing them has no effect.
   *
   * @return the same object at every call
   */
  public static WyLogs ofProcess() {
    return process;
  }

  /**
   * Returns the logs of a named logger, which is created if there is none. The logger exists until
   * each object that was opened with the name is closed; a logger that C++ code has created, until
   * that removes it. A new logger has no outputs.
   *
   * @param name name of the logger, not empty
   * @return a new object, to be closed
   * @throws IllegalArgumentException if the name is empty or contains U+0000
   */
  public static WyLogs open(String name) {
    if (name.isEmpty() || name.indexOf('\0') >= 0) {
      throw new IllegalArgumentException("the name of a logger is not empty and has no U+0000");
    }
    LoggerHandle logger = LoggerHandle.open(name);
    if (logger == null) {
      throw new OutOfMemoryError("no memory for the logger " + name);
    }
    return new WyLogs(logger);
  }

  /**
   * Names the folder of the message catalogs, for the whole process.
   *
   * @param folder path of a folder
   * @throws IOException if it is not a readable folder
   */
  public static void useMessages(String folder) throws IOException {
    if (!Native.useMessages(bytes(folder))) {
      throw new FileSystemException(folder, null, "not a readable folder of message catalogs");
    }
  }

  // ---- Records ----------------------------------------------------------------------------------

  /**
   * Returns an object that logs messages, to be kept in a constant of its class.
   *
   * @param place the class that logs; records show the name of its source file
   * @return a new object
   */
  public WyLog log(Class<?> place) {
    return log(Values.sourceFile(place));
  }

  /**
   * Returns an object that logs messages.
   *
   * @param place the place that records show; of a path the part after the last "/"
   * @return a new object
   */
  public WyLog log(String place) {
    return new WyLog(logger, place);
  }

  /**
   * Returns an object that traces a component, to be kept in a constant of its class.
   *
   * @param component identifier of the component or sub-component
   * @param place the class that traces; records show the name of its source file
   * @return a new object
   */
  public WyTrace trace(int component, Class<?> place) {
    return new WyTrace(logger, component, Values.sourceFile(place));
  }

  /**
   * Begins an audit record.
   *
   * @param event what has happened: a short constant name
   * @return a new record
   */
  public WyAudit audit(String event) {
    return new WyAudit(logger, event);
  }

  // ---- Outputs ----------------------------------------------------------------------------------

  /**
   * Writes the error log to a file from now on. The output that was installed before is closed.
   *
   * @param file the file
   * @throws IOException if the file cannot be opened, or if its options are out of range or have no
   *     effect. In the first case the log has no output, in the second it keeps the one it had
   */
  public void logTo(WyFile file) throws IOException {
    install(Native.ERROR_LOG, file, "", Layout.BRACKETS, "");
  }

  /**
   * Writes the error log to the terminal of the process from now on.
   *
   * @throws IOException if the process has no terminal; the log has no output then
   */
  public void logToTerminal() throws IOException {
    check("/dev/tty", call(() -> Native.toTerminal(logger.address())));
  }

  /**
   * Writes the audit log to a file from now on.
   *
   * @param file the file
   * @throws IOException as {@link #logTo}
   */
  public void auditTo(WyFile file) throws IOException {
    install(Native.AUDIT_LOG, file, "", Layout.BRACKETS, "");
  }

  /**
   * Turns tracing on, in brackets. If it is on already, replaces file and configuration.
   *
   * @param file the file
   * @param config path of the trace configuration, which selects components and fields
   * @throws IOException as {@link #logTo}, and if the configuration cannot be read; tracing stays
   *     as it was then
   */
  public void traceTo(WyFile file, String config) throws IOException {
    traceTo(file, config, Layout.BRACKETS, "");
  }

  /**
   * Turns tracing on in one of the layouts.
   *
   * @param file the file
   * @param config path of the trace configuration
   * @param layout layout of the records
   * @param delimiter separator of {@link Layout#DELIMITED}; empty for the others
   * @throws IOException as above
   */
  public void traceTo(WyFile file, String config, Layout layout, String delimiter)
      throws IOException {
    Objects.requireNonNull(layout, "layout");
    install(Native.TRACE_LOG, file, Objects.requireNonNull(config, "config"), layout, delimiter);
  }

  /** Closes the output of the error log. */
  public void stopLog() {
    stop(Native.ERROR_LOG);
  }

  /** Turns tracing off, and closes its output. */
  public void stopTrace() {
    stop(Native.TRACE_LOG);
  }

  /** Closes the output of the audit log. */
  public void stopAudit() {
    stop(Native.AUDIT_LOG);
  }

  /**
   * Chooses the time that records show.
   *
   * @param local true for local time, false for UTC, which is the default
   */
  public void useLocalTime(boolean local) {
    call(() -> {
      Native.useLocalTime(logger.address(), local);
      return 0;
    });
  }

  /**
   * Returns whether a component is traced.
   *
   * @param component identifier of the component or sub-component; 0 asks whether tracing is on
   * @return true if it is traced
   */
  public boolean isTraced(int component) {
    return logger.decide(component, null) > 0;
  }

  /**
   * Ends the use of a named logger, after the calls under way. Its outputs are closed unless
   * another object with the same name is open, or C++ code has created the logger. Must not be
   * called inside a callback of the logger, which would wait for itself.
   */
  @Override
  public synchronized void close() {
    if (!closed && this != process) {
      closed = true;
      logger.close();
    }
  }

  private interface Call {
    int run();
  }

  private int call(Call call) {
    if (!logger.enter()) {
      throw new IllegalStateException("the logs of " + logger.name() + " are closed");
    }
    try {
      return call.run();
    } finally {
      logger.leave();
    }
  }

  private void stop(int log) {
    call(() -> {
      Native.stop(logger.address(), log);
      return 0;
    });
  }

  private void install(int log, WyFile file, String config, Layout layout, String delimiter)
      throws IOException {
    byte[] path = bytes(file.path);
    int error =
        call(()
                 -> Native.toFile(logger.address(), log, path, file.mode.ordinal(), file.maxSizeMB,
                     file.backups, file.permissions, file.synchronous, file.daily, file.maxAgeDays,
                     bytes(config), layout.number, bytes(delimiter)));
    check(config.isEmpty() ? file.toString() : file + " with the configuration " + config, error);
  }

  private static void check(String file, int error) throws IOException {
    if (error != 0) {
      throw new FileSystemException(file, null, Native.errorText(error));
    }
  }

  private static byte[] bytes(String text) {
    return text.getBytes(StandardCharsets.UTF_8);
  }
}
