package com.orvantis.wyerrlog;

import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;

/**
 * The native methods below the typed classes. They take UTF-8 as bytes, because the strings of the
 * native interface are not UTF-8: a character beyond U+FFFF has six bytes there. A logger is
 * passed as its address; {@link LoggerHandle} ensures that it exists.
 */
final class Native {
  /** The logs of a logger. */
  static final int ERROR_LOG = 0;
  static final int TRACE_LOG = 1;
  static final int AUDIT_LOG = 2;

  private static final VarHandle INT =
      MethodHandles.byteBufferViewVarHandle(int[].class, ByteOrder.nativeOrder());
  private static final ByteBuffer GENERATION;

  static {
    NativeLibrary.load();
    GENERATION = generation();
  }

  private Native() {}

  /**
   * Returns how often the tracing of any logger has changed, whoever changed it; never 0 before the
   * number overflows. The library keeps it in memory that Java reads like a variable.
   */
  static int traceGeneration() {
    return (int) INT.getOpaque(GENERATION, 0);
  }

  private static native ByteBuffer generation();

  // ---- Records: a Frame's bytes and their number. True if the log's output took the record
  // -------

  static native boolean message(long logger, int messageId, byte[] frame, int size);

  static native boolean trace(long logger, int component, byte[] frame, int size);

  static native boolean audit(long logger, byte[] frame, int size);

  // ---- Tracing ----------------------------------------------------------------------------------

  /**
   * Returns 1 if the component is traced, 0 if it is not, and -1 if that cannot be known now, in a
   * callback of the host.
   *
   * @param shown receives a bit for each field that the configuration shows; may be null
   */
  static native int decide(long logger, int component, long[] shown);

  // ---- Loggers and outputs ----------------------------------------------------------------------

  static native long processLogger();

  /** Returns the logger of a name, 0 if there is none. */
  static native long findLogger(byte[] name);

  /** Returns the logger of a name, which is created if there is none; 0 if that fails. */
  static native long addLogger(byte[] name);

  static native boolean removeLogger(byte[] name);

  /** Installs a file; returns 0 or a number of errno. */
  static native int toFile(long logger, int log, byte[] path, int mode, int maxSizeMB, int backups,
      int permissions, boolean synchronous, boolean daily, int maxAgeDays, byte[] config,
      int layout, byte[] delimiter);

  /** Writes the error log to the process's terminal; returns 0 or a number of errno. */
  static native int toTerminal(long logger);

  static native void stop(long logger, int log);

  static native void useLocalTime(long logger, boolean local);

  static native boolean useMessages(byte[] folder);

  static native void useJsonForAudit(boolean json);

  static native String errorText(int errno);

  // ---- Requests ---------------------------------------------------------------------------------

  /** Returns the new innermost scope of the calling thread; 0 if memory allocation fails. */
  static native long openRequest(byte[] frame, int size);

  static native void setRequest(long scope, byte[] frame, int size);

  static native void closeRequest(long scope);

  /** Returns the fields of the calling thread's scopes in the form that openRequest takes. */
  static native byte[] captureRequest();
}
