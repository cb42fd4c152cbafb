package com.orvantis.wyerrlog;

import java.util.Objects;

/**
 * An audit record with typed fields, one line, which programs read back without guessing.
 *
 * <pre>{@code
 * if (!WyAudit.event("grant").set("user", user).set("rule", 4).write()) {
 *   return refuse(user); // no access without an audit record
 * }
 * }</pre>
 *
 * <p>writes {@code time=... pid=... tid=... event="grant" user="alice" rule=4}, or the same as JSON
 * ({@link #useJson}). Numbers, truth values and null are written as such, everything else as a text
 * in quotes, with control characters, quotes and backslashes escaped. The fields of the thread's
 * {@link WyRequest} are added.
 *
 * <p>A record belongs to one thread. Nothing is written before {@link #write}. A key consists of
 * letters, digits, "_", "-" and "."; other characters become "_".
 */
public final class WyAudit {
  private final LoggerHandle logger;
  private Frame frame; // null: written

  WyAudit(LoggerHandle logger, String event) {
    Objects.requireNonNull(event, "event");
    this.logger = logger;
    frame = Frame.take();
    Mdc.putFields(frame);
    frame.text(event);
  }

  /**
   * Begins a record of the process's audit log. {@link WyLogs#audit} is the same for a named one.
   *
   * @param event what has happened: a short constant name
   * @return a new record
   */
  public static WyAudit event(String event) {
    return WyLogs.ofProcess().audit(event);
  }

  /**
   * Chooses the format of typed audit records, for the whole process.
   *
   * @param json true for JSON, false for logfmt, which is the default
   */
  public static void useJson(boolean json) {
    Native.useJsonForAudit(json);
  }

  /**
   * Adds a number.
   *
   * @param key name of the field
   * @param value its value
   * @return this
   */
  public WyAudit set(String key, long value) {
    if (frame != null) {
      frame.text(Objects.requireNonNull(key, "key")).put(Frame.LONG).putLong(value);
    }
    return this;
  }

  /**
   * Adds a character, as a text.
   *
   * @param key name of the field
   * @param value its value
   * @return this
   */
  public WyAudit set(String key, char value) {
    return set(key, (Object) value);
  }

  /**
   * Adds a field of any other type.
   *
   * @param key name of the field; if the record has it already, it gets a number: "user_2"
   * @param value its value: a number or {@link Boolean} as such, null and an empty {@link
   *     java.util.Optional} as null, everything else as text. What its {@code toString} throws
   *     passes through
   * @return this
   */
  public WyAudit set(String key, Object value) {
    Objects.requireNonNull(key, "key");
    if (frame != null) {
      Object plain = Values.plain(value); // before anything is written: it may throw
      Values.put(frame.text(key), plain);
    }
    return this;
  }

  /**
   * Writes the record, once.
   *
   * @return true if the output of the audit log has taken it; false also without an output, and
   *     after the first call
   */
  public boolean write() {
    Frame written = frame;
    if (written == null) {
      return false;
    }
    frame = null;
    boolean taken = logger.audit(written);
    written.release();
    return taken;
  }
}
