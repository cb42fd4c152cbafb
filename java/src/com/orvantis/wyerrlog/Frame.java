package com.orvantis.wyerrlog;

import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/**
 * The bytes of one record, in the form that the native methods read: numbers little-endian, a text
 * as its length, its UTF-8 and a zero byte. A thread reuses the bytes of its last record, so that a
 * record costs no garbage but that of its arguments.
 */
final class Frame {
  /** Precede a value: a text, a text that is not escaped, and the other types. */
  static final int TEXT = 0;
  static final int RAW = 1;
  static final int LONG = 2;
  static final int DOUBLE = 3;
  static final int BOOLEAN = 4;

  private static final VarHandle AS_INT =
      MethodHandles.byteArrayViewVarHandle(int[].class, ByteOrder.LITTLE_ENDIAN);
  private static final VarHandle AS_LONG =
      MethodHandles.byteArrayViewVarHandle(long[].class, ByteOrder.LITTLE_ENDIAN);

  private static final int FIRST_SIZE = 512;
  private static final int LARGEST_KEPT = 64 * 1024;
  // Up to this length a loop over the characters is faster than an encoder and a copy.
  private static final int SHORT = 48;

  private static final ThreadLocal<Frame> ofThread = ThreadLocal.withInitial(Frame::new);

  private byte[] bytes = new byte[FIRST_SIZE];
  private int size;
  private boolean used;
  private int start; // of a text that is being composed

  private Frame() {}

  /**
   * Returns an empty frame. The thread's own one is in use while an argument of a record logs
   * itself, and after a statement that was left by an exception: a new one takes its place then.
   */
  static Frame take() {
    Frame frame = ofThread.get();
    if (frame.used) {
      frame = new Frame();
      ofThread.set(frame);
    }
    frame.used = true;
    frame.size = 0;
    return frame;
  }

  /** Makes the frame available for the thread's next record. */
  void release() {
    if (bytes.length > LARGEST_KEPT) {
      bytes = new byte[FIRST_SIZE];
    }
    used = false;
  }

  byte[] bytes() {
    return bytes;
  }

  int size() {
    return size;
  }

  private void reserve(int more) {
    if (more > bytes.length - size) {
      bytes = Arrays.copyOf(bytes, Math.max(Math.addExact(size, more), 2 * bytes.length));
    }
  }

  Frame put(int value) {
    reserve(1);
    bytes[size++] = (byte) value;
    return this;
  }

  /** Overwrites a byte. */
  void putAt(int position, int value) {
    bytes[position] = (byte) value;
  }

  Frame putLong(long value) {
    reserve(Long.BYTES);
    AS_LONG.set(bytes, size, value);
    size += Long.BYTES;
    return this;
  }

  /** Puts a text, or null. */
  Frame text(String text) {
    if (text == null) {
      reserve(Integer.BYTES);
      AS_INT.set(bytes, size, -1);
      size += Integer.BYTES;
      return this;
    }
    return beginText().append(text).endText();
  }

  /** Begins a text that is composed of several pieces. */
  Frame beginText() {
    start = size;
    reserve(Integer.BYTES);
    size += Integer.BYTES;
    return this;
  }

  Frame endText() {
    AS_INT.set(bytes, start, size - start - Integer.BYTES);
    return put(0);
  }

  /** Appends a piece. A surrogate without its other half becomes "?". */
  Frame append(String piece) {
    return append(piece, 0, piece.length());
  }

  Frame append(String piece, int from, int to) {
    int length = to - from;
    if (length > SHORT || !appendAscii(piece, from, to)) {
      byte[] encoded = piece.substring(from, to).getBytes(StandardCharsets.UTF_8);
      reserve(encoded.length);
      System.arraycopy(encoded, 0, bytes, size, encoded.length);
      size += encoded.length;
    }
    return this;
  }

  private boolean appendAscii(String piece, int from, int to) {
    reserve(to - from);
    byte[] target = bytes;
    int position = size;
    for (int i = from; i < to; i++) {
      char c = piece.charAt(i);
      if (c >= 0x80) {
        return false;
      }
      target[position++] = (byte) c;
    }
    size = position;
    return true;
  }
}
