package com.orvantis.wyerrlog;

import java.util.ArrayList;
import java.util.List;

/**
 * Divides a long text into messages. The library would cut it at {@link #MAX_BYTES} bytes, and the
 * end of a stack trace would be lost.
 */
final class MessageParts {
  /** The maximum length of a message of the library, in bytes. */
  static final int MAX_BYTES = 4095;

  private MessageParts() {}

  /** Returns the parts of a text, none longer than a message, divided at line ends if possible. */
  static List<String> of(String text) {
    if (text.length() <= MAX_BYTES / 3) {
      return List.of(text); // a character has three bytes at most
    }
    List<String> parts = new ArrayList<>();
    int start = 0;
    while (start < text.length()) {
      int end = endOfPart(text, start);
      parts.add(text.substring(start, end));
      start = end < text.length() && text.charAt(end) == '\n' ? end + 1 : end;
    }
    return parts;
  }

  private static int endOfPart(String text, int start) {
    int bytes = 0;
    int lineEnd = -1;
    for (int i = start; i < text.length(); i++) {
      char c = text.charAt(i);
      if (c == '\n') {
        lineEnd = i;
      }
      bytes += bytesOf(c);
      if (bytes > MAX_BYTES) {
        if (lineEnd > start) {
          return lineEnd;
        }
        return Character.isLowSurrogate(c) ? i - 1 : i;
      }
    }
    return text.length();
  }

  /** Returns the length of a character in UTF-8; of each half of a pair, half of its length. */
  private static int bytesOf(char c) {
    if (c <= 0x7F) {
      return 1;
    }
    return c <= 0x7FF || Character.isSurrogate(c) ? 2 : 3;
  }
}
