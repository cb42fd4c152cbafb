package com.orvantis.wyerrlog;

/**
 * The error log and the trace of {@code libwyerrlog}, for Java code. Its records use the same
 * outputs, message catalogs and trace configuration as those of the C++ code of the process.
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
 * <p>New code uses {@link WyLogs}, {@link WyLog}, {@link WyTrace} and {@link WyAudit}, which have
 * types in the place of numbers.
 *
 * <p>Programs that log with {@code java.util.logging} or {@code System.Logger} need not call this
 * class: see {@link WyLogHandler} and {@link WyLoggerFinder}.
 *
 * <h2>Identifiers</h2>
 *
 * Messages and trace components have 32-bit identifiers:
 *
 * <ul>
 *   <li>bits 24 to 31: the component's number;
 *   <li>bits 16 to 23: for tracing, the sub-component's number;
 *   <li>bits 14 and 15: for messages, the severity (1 information, 2 warning, 3 error);
 *   <li>bits 0 to 13: for messages, the message's number.
 * </ul>
 *
 * Component 1 is the library's own. The text of its messages ({@link #MESSAGE_INFORMATION}, {@link
 * #MESSAGE_WARNING}, {@link #MESSAGE_ERROR}) is their first argument.
 *
 * <h2>Texts</h2>
 *
 * Texts are written in the encoding of the native interface. It is UTF-8, except that the character
 * U+0000 becomes two bytes and a character beyond U+FFFF becomes six. A null text is treated as an
 * empty text; a null name of a logger, file or directory means that there is none. If memory
 * allocation fails while the virtual machine converts a text, the call fails or logs nothing.
 *
 * <h2>Threads and failures</h2>
 *
 * Any thread, platform or virtual, may call any method at any time. Records are written on the
 * calling thread; there is no queue. The methods throw nothing and report failures by their results
 * alone.
 *
 * <p>A call of {@code TraceMsg} that writes a record takes about 76 KiB of the calling thread's
 * native stack, any other call less than 16 KiB. A thread has 1 MiB by default.
 *
 * <h2>The library</h2>
 *
 * The first use of this class loads the native library, once: the file that the system property
 * {@value #LIBRARY_PROPERTY} names; or the library in {@code
 * wyerrlog-<version>-natives-linux-x86_64.jar} if that is on the class path; or {@code
 * libwyerrlog.so} in {@code java.library.path}. If that fails, the first use throws an {@link
 * UnsatisfiedLinkError} whose message names the path that was tried.
 */
public final class WyLogger {
  /** System property: the path of {@code libwyerrlog.so}. */
  public static final String LIBRARY_PROPERTY = "wyerrlog.library";

  // ---- Results ----------------------------------------------------------------------------------

  /** Result: done. */
  public static final int RESULT_DONE = 1;

  /** Result: not done. */
  public static final int RESULT_FAILED = 0;

  /** Result of {@code InitializeLog}: there is no such logger, and none could be created. */
  public static final int RESULT_NO_LOGGER = -1;

  // ---- Outputs ----------------------------------------------------------------------------------

  /** Output type: the process's terminal. */
  public static final int OUTPUT_CONSOLE = 0;

  /** Output type: a file. */
  public static final int OUTPUT_FILE = 1;

  /** File mode: an existing file is overwritten. */
  public static final int MODE_OVERWRITE = 0;

  /** File mode: records are appended to an existing file. */
  public static final int MODE_APPEND = 1;

  /** File mode: an existing file is renamed to a backup when the output is opened. */
  public static final int MODE_ROLL_AT_OPEN = 2;

  /** File mode: as {@link #MODE_APPEND}, and rolled over before the file reaches its limit. */
  public static final int MODE_APPEND_ROLL_BY_SIZE = 3;

  /**
   * File mode: as {@link #MODE_ROLL_AT_OPEN}, and rolled over before the file reaches its limit.
   */
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

  /** Message identifier: an information; its text is the first argument. */
  public static final int MESSAGE_INFORMATION = 0x01004001;

  /** Message identifier: a warning; its text is the first argument. */
  public static final int MESSAGE_WARNING = 0x01008001;

  /** Message identifier: an error; its text is the first argument. */
  public static final int MESSAGE_ERROR = 0x0100C001;

  /** The maximum number of arguments of a message. */
  public static final int MAX_ARGUMENTS = 5;

  /** Trace component: the library's own component, "Log" in trace configuration files. */
  public static final int COMPONENT_LOG = 0x01000000;

  static {
    NativeLibrary.load();
  }

  private WyLogger() {}

  // ---- Setting up -------------------------------------------------------------------------------

  /**
   * Installs an output for the error log, and closes the output that was installed before.
   *
   * @param loggerName the logger, which is created if none has that name; null or empty for the
   *     process's logger
   * @param outputType {@link #OUTPUT_CONSOLE}; any other value means a file
   * @param fileName path of the file
   * @param mode treatment of an existing file: one of the {@code MODE_} constants
   * @param maxSizeMB the limit in MiB, for the modes that roll over by size
   * @param useLocalTime true: the logger's records show local time from now on; false: the logger's
   *     setting stays, which is UTC at first
   * @param maxBackups number of backups to keep; 0 keeps all
   * @return {@link #RESULT_DONE} on success. {@link #RESULT_NO_LOGGER} if the logger cannot be
   *     created. {@link #RESULT_FAILED} if the parameters of the file are refused (the earlier
   *     output stays), or if the output cannot be opened (the error log then has no output)
   */
  public static native int InitializeLog(String loggerName, int outputType, String fileName,
      int mode, int maxSizeMB, boolean useLocalTime, int maxBackups);

  /**
   * Names the directory of the message catalogs, for the whole process.
   *
   * @param directory path of a directory
   * @return {@link #RESULT_DONE} on success; {@link #RESULT_FAILED}, without effect, if {@code
   *     directory} is null, empty or not a readable directory
   */
  public static native int SetResourcesDirectory(String directory);

  /**
   * Turns tracing on. If it is on already, replaces output and configuration.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param outputType as in {@code InitializeLog}
   * @param fileName as in {@code InitializeLog}
   * @param mode as in {@code InitializeLog}
   * @param maxSizeMB as in {@code InitializeLog}
   * @param format layout of the records: one of the {@code FORMAT_} constants
   * @param delimiter separator of {@link #FORMAT_DELIMITED}; may be null
   * @param configFile path of the trace configuration file, which selects components and fields
   * @param useLocalTime whether the logger's records show local time or UTC from now on
   * @param maxBackups as in {@code InitializeLog}
   * @return {@link #RESULT_DONE} on success. {@link #RESULT_FAILED} if the logger cannot be
   *     created, if the path of the configuration is null or empty, if the configuration cannot be
   *     read, or if the parameters of the file are refused: tracing stays as it was. {@link
   *     #RESULT_FAILED} also if the output cannot be opened: tracing is then off
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
   * @param location the place that the line shows; only the part after the last "/" is used
   * @param messageId identifier of the message
   * @param arg the argument "{0}"
   * @return always {@link #RESULT_DONE}, also if nothing was written
   */
  public static native int LogMsg(String loggerName, String location, int messageId, String arg);

  /**
   * Logs a message with one to {@link #MAX_ARGUMENTS} arguments. For a null or empty array nothing
   * is logged. A message with more arguments is not logged either; if its component is traced, the
   * process logger's trace reports it.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param location as in {@code LogMsg} with one argument
   * @param messageId identifier of the message
   * @param args the arguments "{0}" to "{4}"
   * @return always {@link #RESULT_DONE}, also if nothing was written
   */
  public static native int LogMsg(String loggerName, String location, int messageId, String[] args);

  // ---- Trace ------------------------------------------------------------------------------------

  /**
   * Writes a trace record if the component is traced. The record contains those fields below that
   * the trace configuration selects.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param srcFile field SrcFile; only the part after the last "/" is used
   * @param function field Function
   * @param componentId identifier of the component or sub-component
   * @param transactionId field TransactionID
   * @param message field Message, copied unchanged
   * @return always {@link #RESULT_DONE}, also if nothing was written
   */
  public static native int TraceMsg(String loggerName, String srcFile, String function,
      int componentId, String transactionId, String message);

  /**
   * Writes a trace record whose message is a pattern, if the component is traced.
   *
   * <p>Each "%s" in the pattern is replaced by the next argument, and "%%" by one "%". Flags, a
   * width (at most 4096) and a precision in digits may precede the "s", as in "%-20s" or "%.8s";
   * they count bytes. Other conversions, and each "%s" after the fifth, are copied unchanged. If
   * there are fewer than {@link #MAX_ARGUMENTS} arguments, the missing ones are empty texts.
   *
   * <p>With a null or empty array, and with more than {@link #MAX_ARGUMENTS} arguments, the message
   * is copied unchanged. In the latter case the process logger's trace reports it if the component
   * is traced.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param srcFile field SrcFile; only the part after the last "/" is used
   * @param function field Function
   * @param componentId identifier of the component or sub-component
   * @param transactionId field TransactionID
   * @param message pattern of the field Message
   * @param args the arguments of the pattern
   * @return always {@link #RESULT_DONE}, also if nothing was written
   */
  public static native int TraceMsg(String loggerName, String srcFile, String function,
      int componentId, String transactionId, String message, String[] args);

  /**
   * Returns whether tracing is on.
   *
   * @param loggerName as in {@code InitializeLog}
   * @return 1 if the logger has a trace configuration and a trace output, else 0
   */
  public static native int TraceEnabled(String loggerName);

  /**
   * Returns whether a component is traced. Ask before you compute values that only a trace needs.
   *
   * @param loggerName as in {@code InitializeLog}
   * @param componentId identifier of the component or sub-component; with 0 the method returns the
   *     same as {@code TraceEnabled}
   * @return 1 if the component is traced, else 0
   */
  public static native int TraceEnabledComponent(String loggerName, int componentId);
}
