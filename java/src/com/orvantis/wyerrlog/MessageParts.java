package com.orvantis.wyerrlog;

import java.util.ArrayList;
import java.util.List;

/** Divides texts longer than a message may be, so that nothing of a stack trace is lost. */
final class MessageParts {
  /** The most bytes that a message of the library holds. */
  static final int MAX_BYTES = 4095;

  private MessageParts() {}

  /** The parts of a text, none longer than a message; divided at line ends where there are any. */
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

  /** In the form in which the virtual machine supplies texts to native code. */
  private static int bytesOf(char c) {
    if (c >= 1 && c <= 0x7F) {
      return 1;
    }
    return c <= 0x7FF ? 2 : 3;
  }
}
