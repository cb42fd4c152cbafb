package com.orvantis.wyerrlog;

import java.nio.charset.StandardCharsets;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * A logger of the library. Calls on a named logger are counted, so that closing it waits for those
 * under way, and later ones do nothing: they would use memory that is freed. The process's logger
 * exists until the process ends.
 */
final class LoggerHandle {
  private static final int CLOSED = Integer.MIN_VALUE;
  private static final Map<String, LoggerHandle> named = new HashMap<>();
  private static final LoggerHandle process = new LoggerHandle(Native.processLogger(), null, false);

  private final long address;
  private final String name; // null: the process's
  private final boolean own; // created here, and so removed here
  private int opened = 1; // guarded by `named`
  private final AtomicInteger calls = new AtomicInteger(); // plus CLOSED

  private LoggerHandle(long address, String name, boolean own) {
    this.address = address;
    this.name = name;
    this.own = own;
  }

  static LoggerHandle ofProcess() {
    return process;
  }

  /** Returns the logger of a name, which is created if there is none. Null if that fails. */
  static LoggerHandle open(String name) {
    synchronized (named) {
      LoggerHandle handle = named.get(name);
      if (handle != null) {
        handle.opened++;
        return handle;
      }
      byte[] bytes = name.getBytes(StandardCharsets.UTF_8);
      boolean exists = Native.findLogger(bytes) != 0;
      long address = Native.addLogger(bytes);
      if (address == 0) {
        return null;
      }
      handle = new LoggerHandle(address, name, !exists);
      named.put(name, handle);
      return handle;
    }
  }

  /** Undoes one open; the last one removes the logger if the first one has created it. */
  void close() {
    synchronized (named) {
      if (--opened > 0) {
        return;
      }
      named.remove(name);
      calls.getAndAdd(CLOSED);
      while (calls.get() != CLOSED) {
        Thread.yield();
      }
      if (own) {
        Native.removeLogger(name.getBytes(StandardCharsets.UTF_8));
      }
    }
  }

  String name() {
    return name;
  }

  /** Begins a call; false if the logger is closed. After true, {@link #leave} is called. */
  boolean enter() {
    if (name == null) {
      return true;
    }
    if (calls.incrementAndGet() > 0) {
      return true;
    }
    calls.decrementAndGet();
    return false;
  }

  void leave() {
    if (name != null) {
      calls.decrementAndGet();
    }
  }

  /** The address, between enter and leave. */
  long address() {
    return address;
  }

  // ---- Calls ------------------------------------------------------------------------------------

  boolean message(int messageId, Frame frame) {
    if (!enter()) {
      return false;
    }
    try {
      return Native.message(address, messageId, frame.bytes(), frame.size());
    } finally {
      leave();
    }
  }

  boolean trace(int component, Frame frame) {
    if (!enter()) {
      return false;
    }
    try {
      return Native.trace(address, component, frame.bytes(), frame.size());
    } finally {
      leave();
    }
  }

  boolean audit(Frame frame) {
    if (!enter()) {
      return false;
    }
    try {
      return Native.audit(address, frame.bytes(), frame.size());
    } finally {
      leave();
    }
  }

  int decide(int component, long[] shown) {
    if (!enter()) {
      return 0;
    }
    try {
      return Native.decide(address, component, shown);
    } finally {
      leave();
    }
  }
}
