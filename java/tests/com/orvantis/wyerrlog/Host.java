package com.orvantis.wyerrlog;

/** C++ code of the process, in a library of the tests (Host.cpp). */
final class Host {
  private Host() {}

  static {
    System.load(System.getProperty("test.host"));
  }

  /** Writes an audit record to the process's logger. */
  static native void audit(String event);

  /** Runs the body inside a scope of C++ with a transaction id. */
  static native void inScope(String id, Runnable body);

  /** Installs an output of the process's error log that throws in C++, or in Java. */
  static native void installFailingOutput(boolean inJava);

  /**
   * Installs an output that runs the body at each record: of the error log, or of the trace if a
   * configuration is given.
   */
  static native void installCallback(Runnable body, String traceConfig);
}
