package com.orvantis.wyerrlog;

import java.io.PrintWriter;
import java.io.StringWriter;

/** Texts of several lines, such as stack traces, written so that no line passes for a record. */
final class Lines {
  private Lines() {}

  /**
   * Returns the text with each line after the first indented by a tab, without blanks at its end.
   * Line ends are those of {@code \R}. Other control characters than the tab are escaped as the
   * library escapes them.
   */
  static String indented(String text) {
    String lines = String.valueOf(text).stripTrailing();
    for (int i = 0; i < lines.length(); i++) {
      if (isSpecial(lines.charAt(i))) {
        return indented(lines, i);
      }
    }
    return lines;
  }

  private static String indented(String text, int from) {
    StringBuilder lines = new StringBuilder(text.length() + 64).append(text, 0, from);
    for (int i = from; i < text.length(); i++) {
      char c = text.charAt(i);
      if (isLineEnd(c)) {
        if (c == '\r' && i + 1 < text.length() && text.charAt(i + 1) == '\n') {
          i++;
        }
        lines.append("\n\t");
      } else if (isSpecial(c) && c != '\t') {
        escape(lines, c);
      } else {
        lines.append(c);
      }
    }
    return lines.toString();
  }

  private static boolean isLineEnd(char c) {
    return c >= '\n' && c <= '\r' || c == '\u0085' || c == '\u2028' || c == '\u2029';
  }

  private static boolean isSpecial(char c) {
    return c < ' ' || c >= 0x7F && c <= 0x9F || c == '\u2028' || c == '\u2029';
  }

  /** Appends the bytes of a character's UTF-8 in hexadecimal. */
  private static void escape(StringBuilder text, char c) {
    if (c > 0x7F) {
      text.append("\\xc2");
    }
    text.append(c < 0x10 ? "\\x0" : "\\x").append(Integer.toHexString(c));
  }

  /** Returns the text, followed by the stack trace of {@code thrown} unless that is null. */
  static String withStackTrace(String text, Throwable thrown) {
    if (thrown == null) {
      return text;
    }
    StringWriter lines = new StringWriter();
    PrintWriter writer = new PrintWriter(lines);
    writer.println(text);
    try {
      thrown.printStackTrace(writer);
    } catch (RuntimeException unprintable) {
      writer.println(thrown.getClass().getName());
    }
    return lines.toString();
  }
}
