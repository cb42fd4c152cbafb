package com.orvantis.wyerrlog;

import java.util.function.Supplier;

/**
 * One trace record while it is filled, by one thread; see {@link WyTrace}. Nothing is written
 * before {@link #write}.
 *
 * <p>Fields that the trace configuration does not show are ignored, and their suppliers are not
 * called. The first value that its filter rejects drops the record. The library sets process,
 * thread, date and time. Fields of the thread's {@link WyRequest} follow, unless the record has set
 * them. Control characters in texts are escaped; a null text is empty. What a supplier or a
 * {@code toString} throws passes through, and there is no record.
 */
public final class WyTraceRecord {
  /** The record of a component that is not traced. */
  static final WyTraceRecord OFF = new WyTraceRecord();

  private final LoggerHandle logger;
  private final int component;
  private final long shown0; // fields 0 to 63
  private final long shown1; // fields 64 and 65
  private Frame frame; // null: nothing is written

  private WyTraceRecord() {
    logger = null;
    component = 0;
    shown0 = 0;
    shown1 = 0;
  }

  WyTraceRecord(LoggerHandle logger, int component, long shown0, long shown1, String source,
      String function) {
    this.logger = logger;
    this.component = component;
    this.shown0 = shown0;
    this.shown1 = shown1;
    frame = Frame.take();
    Mdc.putFields(frame);
    frame.text(source).text(function);
  }

  private boolean wants(WyField field) {
    if (frame == null) {
      return false;
    }
    int number = field.ordinal();
    return ((number < Long.SIZE ? shown0 >>> number : shown1 >>> (number - Long.SIZE)) & 1) != 0;
  }

  private Frame put(WyField field) {
    return frame.put(field.ordinal());
  }

  // ---- Fields -----------------------------------------------------------------------------------

  /**
   * Sets a field to a text.
   *
   * @param field the field
   * @param value its value; null is the empty text
   * @return this
   */
  public WyTraceRecord set(WyField field, String value) {
    if (wants(field)) {
      put(field).put(Frame.TEXT).text(value);
    }
    return this;
  }

  /**
   * Sets a field to a number.
   *
   * @param field the field
   * @param value its value
   * @return this
   */
  public WyTraceRecord set(WyField field, long value) {
    if (wants(field)) {
      put(field).put(Frame.LONG).putLong(value);
    }
    return this;
  }

  /**
   * Sets a field to a number, with six decimals.
   *
   * @param field the field
   * @param value its value
   * @return this
   */
  public WyTraceRecord set(WyField field, double value) {
    if (wants(field)) {
      put(field).put(Frame.DOUBLE).putLong(Double.doubleToRawLongBits(value));
    }
    return this;
  }

  /**
   * Sets a field to a truth value.
   *
   * @param field the field
   * @param value its value
   * @return this
   */
  public WyTraceRecord set(WyField field, boolean value) {
    if (wants(field)) {
      put(field).put(Frame.BOOLEAN).put(value ? 1 : 0);
    }
    return this;
  }

  /**
   * Sets a field to a character.
   *
   * @param field the field
   * @param value its value
   * @return this
   */
  public WyTraceRecord set(WyField field, char value) {
    return set(field, (Object) value);
  }

  /**
   * Sets a field to the value that a supplier returns. It is called only if the component is traced
   * and the configuration shows the field.
   *
   * @param field the field
   * @param value returns its value: a text, a number, or any other object
   * @return this
   */
  public WyTraceRecord set(WyField field, Supplier<?> value) {
    return wants(field) ? set(field, (Object) value.get()) : this;
  }

  /**
   * Sets a field to the text of an object; to a number if it is a number.
   *
   * @param field the field
   * @param value its value; null and an empty {@link java.util.Optional} are the empty text
   * @return this
   */
  public WyTraceRecord set(WyField field, Object value) {
    if (wants(field)) {
      Object plain = Values.plain(value); // before anything is written: it may throw
      Values.put(put(field), plain);
    }
    return this;
  }

  // ---- The message ------------------------------------------------------------------------------

  /**
   * Sets the field {@link WyField#MESSAGE}.
   *
   * @param text the text, without placeholders
   * @return this
   */
  public WyTraceRecord message(String text) {
    return set(WyField.MESSAGE, text);
  }

  /**
   * Sets the field {@link WyField#MESSAGE} to a text with an argument.
   *
   * @param pattern the text; "{}" is replaced by the argument
   * @param a the argument
   * @return this
   */
  public WyTraceRecord message(String pattern, Object a) {
    return wants(WyField.MESSAGE) ? format(pattern, a) : this;
  }

  /**
   * Sets the field {@link WyField#MESSAGE} to a text with two arguments.
   *
   * @param pattern the text; each "{}" is replaced by the next argument
   * @param a the first argument
   * @param b the second argument
   * @return this
   */
  public WyTraceRecord message(String pattern, Object a, Object b) {
    return wants(WyField.MESSAGE) ? format(pattern, a, b) : this;
  }

  /**
   * Sets the field {@link WyField#MESSAGE} to a text with arguments.
   *
   * @param pattern the text; each "{}" is replaced by the next argument. Arguments that are left
   *     over follow the text
   * @param arguments the arguments
   * @return this
   */
  public WyTraceRecord message(String pattern, Object... arguments) {
    return wants(WyField.MESSAGE) ? format(pattern, arguments) : this;
  }

  private WyTraceRecord format(String pattern, Object... arguments) {
    String[] texts = Placeholders.texts(arguments);
    put(WyField.MESSAGE).put(Frame.TEXT).beginText();
    Placeholders.append(frame, pattern, texts);
    frame.endText();
    return this;
  }

  /** Sets the message to lines that {@link Lines#indented} has returned. */
  WyTraceRecord lines(String lines) {
    if (wants(WyField.MESSAGE)) {
      put(WyField.MESSAGE).put(Frame.RAW).text(lines);
    }
    return this;
  }

  /**
   * Writes the record, once.
   *
   * @return true if each of the logger's trace outputs has taken it; false also if the component is
   *     not traced, if a filter has dropped the record, and after the first call
   */
  public boolean write() {
    Frame written = frame;
    if (written == null) {
      return false;
    }
    frame = null;
    boolean taken = logger.trace(component, written);
    written.release();
    return taken;
  }
}
