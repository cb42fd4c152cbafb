package com.orvantis.wyerrlog;

/** Texts with placeholders: "{}" is replaced by the next argument. */
final class Placeholders {
  private static final String PLACEHOLDER = "{}";

  private Placeholders() {}

  /** Returns the texts of arguments, before a frame is written to: their methods may throw. */
  static String[] texts(Object... arguments) {
    String[] texts = new String[arguments.length];
    for (int i = 0; i < texts.length; i++) {
      texts[i] = String.valueOf(Values.text(arguments[i]));
    }
    return texts;
  }

  /**
   * Appends a pattern with the texts of its arguments to the text that the frame has begun.
   * Placeholders without an argument stay; arguments without a placeholder follow the text, each
   * after a blank.
   */
  static void append(Frame frame, String pattern, String[] arguments) {
    int next = 0;
    int from = 0;
    for (int to; next < arguments.length && (to = pattern.indexOf(PLACEHOLDER, from)) >= 0;) {
      frame.append(pattern, from, to).append(arguments[next++]);
      from = to + PLACEHOLDER.length();
    }
    frame.append(pattern, from, pattern.length());
    while (next < arguments.length) {
      frame.append(" ").append(arguments[next++]);
    }
  }
}
