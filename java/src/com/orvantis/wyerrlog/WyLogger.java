package com.orvantis.wyerrlog;

/**
 * The error log and the trace of {@code libwyerrlog}, for Java code: what it logs and traces goes
 * to the same outputs, through the same message catalogs and under the same trace configuration as
 * what the C++ code of the process writes.
 *
 * <pre>{@code
 * WyLogger.SetResourcesDirectory("/opt/agent/messages");
 * WyLogger.InitializeLog(null, WyLogger.OUTPUT_FILE, "/var/log/agent/error.log",
 *     WyLogger.MODE_APPEND_ROLL_BY_SIZE, 10, true, 5);
 * WyLogger.InitializeTrace(null, WyLogger.OUTPUT_FILE, "/var/log/agent/trace.log",
 *     WyLogger.MODE_APPEND, 0, WyLogger.FORMAT_BRACKETED, null, "/etc/agent/trace.conf", true, 0);
 *
 * WyLogger.LogMsg(null, "LoginServlet", 0x03008003, new String[] {user, client});
 * if (WyLogger.TraceEnabledComponent(null, 0x03010000) == 1) {
 *   WyLogger.TraceMsg(null, "LoginServlet", "doPost", 0x03010000, requestId,
 *       "user %s from %s", new String[] {user, client});
 * }
 * }</pre>
 *
 * <p>Programs that log with {@code java.util.logging} or {@code System.Logger} need not call this
 * class: see {@link WyLogHandler} and {@link WyLoggerFinder}.
 *
 * <h2>Identifiers</h2>
 *
 * Messages and trace components are named by 32-bit identifiers: the component's number in bits 24
 * to 31, for tracing the sub-component's number in bits 16 to 23, for messages the severity in bits
 * 14 and 15 (1 information, 2 warning, 3 error) and the message's number in bits 0 to 13. Component
 * 1 is the library's own; its messages ({@link #MESSAGE_INFORMATION} and so on) show their first
 * argument.
 *
 * <h2>Texts</h2>
 *
 * Texts reach the log as the bytes that the virtual machine supplies to native code. That is UTF-8,
 * but for the character U+0000, which becomes two bytes, and characters beyond U+FFFF, which become
 * six. A null text counts as an empty one, except for the names of loggers, files and directories,
 * where null means that there is none. When the virtual machine has no memory to convert a text,
 * the call fails, or logs nothing.
 *
 * <h2>Threads and failures</h2>
 *
 * Any thread, platform or virtual, may call any method at any time. Records are written on the
 * calling thread; there is no queue. The methods throw nothing: their results are the only report.
 *
 * <p>A call of {@code TraceMsg} that writes a record takes about 76 KiB of the calling thread's
 * native stack, any other call less than 16 KiB. A thread has 1 MiB by default.
 *
 * <h2>The library</h2>
 *
 * The first use of this class loads the native library, once: the file that the system property
 * {@value #LIBRARY_PROPERTY} names, or {@code libwyerrlog.so} in {@code java.library.path}. When
 * that is not possible, the first use throws an {@link UnsatisfiedLinkError} that states what was
 * tried.
 */
public final class WyLogger {
  /** System property: the path of {@code libwyerrlog.so}. */
  public static final String LIBRARY_PROPERTY = "wyerrlog.library";

  // ---- Results ----------------------------------------------------------------------------------

  /** Result: done. */
  public static final int RESULT_DONE = 1;

  /** Result: not done. */
  public static final int RESULT_FAILED = 0;

  /** Result of {@code InitializeLog}: there is no such logger, and none could be made. */
  public static final int RESULT_NO_LOGGER = -1;

  // ---- Outputs ----------------------------------------------------------------------------------

  /** Output type: the process's terminal. */
  public static final int OUTPUT_CONSOLE = 0;

  /** Output type: a file. */
  public static final int OUTPUT_FILE = 1;

  /** File mode: a file that exists is emptied. */
  public static final int MODE_OVERWRITE = 0;

  /** File mode: a file that exists is continued. */
  public static final int MODE_APPEND = 1;

  /** File mode: a file that exists is renamed to a backup when it is opened. */
  public static final int MODE_ROLL_AT_OPEN = 2;

  /** File mode: as {@link #MODE_APPEND}; a file that would reach its limit is backed up. */
  public static final int MODE_APPEND_ROLL_BY_SIZE = 3;

  /** File mode: as {@link #MODE_ROLL_AT_OPEN}; a file that would reach its limit is backed up. */
  public static final int MODE_ROLL_AT_OPEN_AND_BY_SIZE = 4;

  // ---- Trace layouts ----------------------------------------------------------------------------

  /** Trace layout: each field in brackets. */
  public static final int FORMAT_BRACKETED = 0;

  /** Trace layout: columns of fixed widths. */
  public static final int FORMAT_FIXED_WIDTH = 1;

  /** Trace layout: fields separated by the delimiter. */
  public static final int FORMAT_DELIMITED = 2;

  /** Trace layout: an XML element for each record, with one for each field. */
  public static final int FORMAT_XML = 3;

  // ---- Messages ---------------------------------------------------------------------------------

  /** Message identifier: an information whose text is the first argument. */
  public static final int MESSAGE_INFORMATION = 0x01004001;

  /** Message identifier: a warning whose text is the first argument. */
  public static final int MESSAGE_WARNING = 0x01008001;

  /** Message identifier: an error whose text is the first argument. */
  public static final int MESSAGE_ERROR = 0x0100C001;

  /** The most arguments that a message may have. */
  public static final int MAX_ARGUMENTS = 5;

  /** Trace component: the library's own component, "Log" in trace configuration files. */
  public static final int COMPONENT_LOG = 0x01000000;

  static {
    NativeLibrary.load();
  }

  private WyLogger() {}

  // ---- Setting up -------------------------------------------------------------------------------

  /**
   * Installs an output for the error log; one installed before is closed.
   *
   * @param loggerName the logger, made when there is none of that name; null or empty for the
   *     process's logger
   * @param outputType {@link #OUTPUT_CONSOLE}; any other value is a file
   * @param fileName path of the file
   * @param mode what becomes of a file that exists: one of the {@code MODE_} constants
   * @param maxSizeMB for the modes that roll over by size, the limit in MiB
   * @param useLocalTime true: the logger's records show local time from now on; false: its setting
   *     stays, which is UTC at first
   * @param maxBackups backups to keep; 0 keeps all
   * @return {@link #RESULT_DONE}; {@link #RESULT_NO_LOGGER}; {@link #RESULT_FAILED} when the
   *     parameters of the file are refused (what was installed before stays) or the output cannot
   *     be opened (the error log has no output then)
   */
  public static native int InitializeLog(String loggerName, int outputType, String fileName,
      int mode, int maxSizeMB, boolean useLocalTime, int maxBackups);

  /**
   * Names the directory of the message catalogs, for the whole process.
   *
   * @param directory path of a directory
   * @return {@link #RESULT_DONE}; {@link #RESULT_FAILED} when {@code directory} is null, empty or
   *     no directory that can be read, and nothing has changed
   */
  public static native int SetResourcesDirectory(String directory);

  /**
   * Turns tracing on, or replaces its output and configuration.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param outputType as in {@code InitializeLog}
   * @param fileName as in {@code InitializeLog}
   * @param mode as in {@code InitializeLog}
   * @param maxSizeMB as in {@code InitializeLog}
   * @param format layout of the records: one of the {@code FORMAT_} constants
   * @param delimiter separator of {@link #FORMAT_DELIMITED}; may be null
   * @param configFile path of the trace configuration file, which says what is traced
   * @param useLocalTime whether the logger's records show local time or UTC from now on
   * @param maxBackups as in {@code InitializeLog}
   * @return {@link #RESULT_DONE}; {@link #RESULT_FAILED} when there is no logger, the configuration
   *     file is null, empty or not one that can be read, or the parameters of the file are refused
   *     (tracing stays as it was), or when the output cannot be opened (tracing is off then)
   */
  public static native int InitializeTrace(String loggerName, int outputType, String fileName,
      int mode, int maxSizeMB, int format, String delimiter, String configFile,
      boolean useLocalTime, int maxBackups);

  // ---- Error log --------------------------------------------------------------------------------

  /**
   * Logs a message with one argument, in the language of the process's environment. The text of a
   * message is cut to 4095 bytes.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param location what the line shows as its source; the part behind the last "/" counts
   * @param messageId identifier of the message
   * @param arg the argument "{0}"
   * @return always {@link #RESULT_DONE}, whether or not something was written
   */
  public static native int LogMsg(String loggerName, String location, int messageId, String arg);

  /**
   * Logs a message with one to {@link #MAX_ARGUMENTS} arguments; for a null or empty array nothing
   * is logged. With more arguments the message is not logged either; where its component is traced,
   * the process logger's trace says so.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param location as in {@code LogMsg} with one argument
   * @param messageId identifier of the message
   * @param args the arguments "{0}" to "{4}"
   * @return always {@link #RESULT_DONE}, whether or not something was written
   */
  public static native int LogMsg(String loggerName, String location, int messageId, String[] args);

  // ---- Trace ------------------------------------------------------------------------------------

  /**
   * Writes a trace record when the component is traced. The record has those of the fields that the
   * trace configuration selects; each parameter but the first and the fourth names one.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param srcFile field SrcFile, of which the part behind the last "/" counts
   * @param function field Function
   * @param componentId identifier of the component or sub-component
   * @param transactionId field TransactionID
   * @param message field Message, as it is
   * @return always {@link #RESULT_DONE}, whether or not something was written
   */
  public static native int TraceMsg(String loggerName, String srcFile, String function,
      int componentId, String transactionId, String message);

  /**
   * Writes a trace record whose message is a pattern, when the component is traced.
   *
   * <p>Each "%s" in the pattern takes the next argument, and "%%" is one "%". Flags, a width (which
   * counts as 4096 when it is larger) and a precision in digits may stand between "%" and "s", as
   * in "%-20s" or "%.8s"; they count bytes. Everything else appears as it stands: other
   * conversions, and "%s" without an argument left. With fewer than {@link #MAX_ARGUMENTS}
   * arguments the remaining ones are empty texts.
   *
   * <p>With a null or empty array the message appears as it is. With more than
   * {@link #MAX_ARGUMENTS} arguments it does so too, and where the component is traced, the process
   * logger's trace reports it.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param srcFile field SrcFile, of which the part behind the last "/" counts
   * @param function field Function
   * @param componentId identifier of the component or sub-component
   * @param transactionId field TransactionID
   * @param message pattern of the field Message
   * @param args the arguments of the pattern
   * @return always {@link #RESULT_DONE}, whether or not something was written
   */
  public static native int TraceMsg(String loggerName, String srcFile, String function,
      int componentId, String transactionId, String message, String[] args);

  /**
   * Tells whether tracing is on.
   *
   * @param loggerName as in {@code InitializeLog}
   * @return 1 when the logger has a trace configuration and a trace output, else 0
   */
  public static native int TraceEnabled(String loggerName);

  /**
   * Tells whether a component is traced, so that a caller need not build what would not be written.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param componentId identifier of the component or sub-component; 0 asks as {@code TraceEnabled}
   * @return 1 when it is traced, else 0
   */
  public static native int TraceEnabledComponent(String loggerName, int componentId);
}
