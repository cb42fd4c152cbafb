package com.orvantis.wyerrlog;

import java.lang.invoke.MethodHandle;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.MethodType;

/**
 * The fields of a request, for every trace and audit record that its thread writes while it serves
 * the request, in Java and in C++ code that Java calls or is called by:
 *
 * <pre>{@code
 * try (WyRequest request = WyRequest.open().set(WyField.TRANSACTION_ID, id)) {
 *   ...
 *   request.set(WyField.USER, user); // once it is known
 * }
 * }</pre>
 *
 * <p>A value that a record sets itself counts in that record. Scopes nest: an inner one adds
 * fields, or replaces those of the same name until it is closed. Entries of SLF4J's MDC count
 * before those of the scopes (see the guide).
 *
 * <p>Another thread that goes on with the request takes the fields over:
 *
 * <pre>{@code
 * WyRequest.Fields fields = WyRequest.fields();
 * pool.submit(() -> {
 *   try (WyRequest request = WyRequest.open(fields)) {
 *     ...
 *   }
 * });
 * }</pre>
 *
 * <p>A scope belongs to the platform thread that opens it. A virtual thread changes its platform
 * thread at any blocking call, so it cannot open one.
 */
public final class WyRequest implements AutoCloseable {
  /** Copies of the fields of a thread's scopes; immutable. */
  public static final class Fields {
    private final byte[] frame;

    private Fields(byte[] frame) {
      this.frame = frame;
    }
  }

  private static final ThreadLocal<WyRequest> innermost = new ThreadLocal<>();
  private static final MethodHandle isVirtual = findIsVirtual(); // null before Java 21

  private final Thread thread = Thread.currentThread();
  private final WyRequest outer = innermost.get();
  private long scope; // 0: closed

  private WyRequest(byte[] frame, int size) {
    if (isVirtual(thread)) {
      throw new UnsupportedOperationException(
          "a virtual thread cannot open a request; set the fields in each record");
    }
    scope = Native.openRequest(frame, size);
    if (scope == 0) {
      throw new OutOfMemoryError("no memory for the fields of a request");
    }
    innermost.set(this);
  }

  private static MethodHandle findIsVirtual() {
    try {
      return MethodHandles.publicLookup().findVirtual(
          Thread.class, "isVirtual", MethodType.methodType(boolean.class));
    } catch (ReflectiveOperationException absent) {
      return null;
    }
  }

  private static boolean isVirtual(Thread thread) {
    try {
      return isVirtual != null && (boolean) isVirtual.invokeExact(thread);
    } catch (Throwable impossible) {
      throw new AssertionError(impossible);
    }
  }

  /**
   * Opens a scope without fields.
   *
   * @return a new scope, the thread's innermost, to be closed by the same thread
   */
  public static WyRequest open() {
    return new WyRequest(new byte[1], 1); // the number of fields
  }

  /**
   * Opens a scope with fields that {@link #fields} has returned, usually on another thread.
   *
   * @param fields the fields
   * @return a new scope
   */
  public static WyRequest open(Fields fields) {
    return new WyRequest(fields.frame, fields.frame.length);
  }

  /**
   * Opens a scope with the entries of SLF4J's MDC, so that C++ records show them too. Without SLF4J
   * there are none.
   *
   * @return a new scope
   */
  public static WyRequest ofMdc() {
    Frame frame = Frame.take();
    Mdc.putFields(frame);
    WyRequest request = new WyRequest(frame.bytes(), frame.size());
    frame.release();
    return request;
  }

  /**
   * Returns copies of the fields of the calling thread's scopes, in C++ and Java.
   *
   * @return the fields
   */
  public static Fields fields() {
    byte[] frame = Native.captureRequest();
    if (frame == null) {
      throw new OutOfMemoryError("no memory for the fields of a request");
    }
    return new Fields(frame);
  }

  /**
   * Adds a field, or replaces the value that this scope has for it.
   *
   * @param field the field
   * @param value its value: numbers and truth values as such, everything else as text
   * @return this
   * @throws IllegalStateException on another thread, and if the scope is closed
   */
  public WyRequest set(WyField field, Object value) {
    checkThread();
    if (scope == 0) {
      throw new IllegalStateException("the request is closed");
    }
    Object plain = Values.plain(value); // before anything is written: it may throw
    Frame frame = Frame.take().put(1).put(field.ordinal());
    frame.put(plain == null || plain instanceof String ? 0 : 1);
    frame.text(plain != null ? plain.toString() : "");
    Native.setRequest(scope, frame.bytes(), frame.size());
    frame.release();
    return this;
  }

  private void checkThread() {
    if (thread != Thread.currentThread()) {
      throw new IllegalStateException("the request belongs to the thread " + thread.getName()
          + "; open one on this thread with WyRequest.fields()");
    }
  }

  /**
   * Closes the scope, and those inside it that are still open. No effect on a closed one.
   *
   * @throws IllegalStateException on another thread
   */
  @Override
  public void close() {
    checkThread();
    while (scope != 0) {
      WyRequest last = innermost.get();
      Native.closeRequest(last.scope);
      last.scope = 0;
      innermost.set(last.outer);
    }
  }
}
