package com.orvantis.wyerrlog;

import java.util.Objects;

/**
 * Logs messages to the error log. A class keeps one in a constant:
 *
 * <pre>{@code
 * private static final WyLog LOG = WyLog.of(LoginServlet.class);
 * ...
 * LoginMessages.refused(LOG, user, client);          // of a class that wymsgc has generated
 * LOG.message(LoginMessages.REFUSED, user, client);  // the same by identifier
 * LOG.warning("{} of {} sessions left", left, all);  // a text without a catalog
 * LOG.error("cannot open the store", exception);     // with the stack trace and the causes
 * }</pre>
 *
 * <p>Arguments may be texts, numbers and any other objects; {@code null} and an empty {@link
 * java.util.Optional} read {@code <null>}, a {@link Throwable} reads with its causes. What their
 * {@code toString} throws passes through; nothing is written then. Control characters in arguments
 * and texts are escaped ({@code \x0a}), so that they cannot begin a line of their own. All else is
 * written in UTF-8. The text of a message is cut to 4095 bytes, at the end of a character.
 *
 * <p>Each method returns true if the output of the log has taken the message, and false otherwise,
 * also without an output. Any thread may use an object at any time.
 */
public final class WyLog {
  /** The maximum number of arguments of a message. */
  public static final int MAX_ARGUMENTS = 13;

  private final LoggerHandle logger;
  private final String place;

  WyLog(LoggerHandle logger, String place) {
    this.logger = logger;
    this.place = Objects.requireNonNull(place, "place");
  }

  /**
   * Returns an object that logs to the process's logger. {@link WyLogs#log(Class)} is the same for
   * a named one.
   *
   * @param place the class that logs; records show the name of its source file
   * @return a new object
   */
  public static WyLog of(Class<?> place) {
    return WyLogs.ofProcess().log(place);
  }

  // ---- Messages of a component ------------------------------------------------------------------

  /**
   * Logs a message without arguments, in the language of the process's environment.
   *
   * @param messageId identifier of the message
   * @return true if the output has taken it
   */
  public boolean message(int messageId) {
    return write(messageId, begin());
  }

  /**
   * Logs a message with one argument.
   *
   * @param messageId identifier of the message
   * @param a the argument "{0}"
   * @return true if the output has taken it
   */
  public boolean message(int messageId, Object a) {
    return write(messageId, add(begin(), a));
  }

  /**
   * Logs a message with two arguments.
   *
   * @param messageId identifier of the message
   * @param a the argument "{0}"
   * @param b the argument "{1}"
   * @return true if the output has taken it
   */
  public boolean message(int messageId, Object a, Object b) {
    return write(messageId, add(add(begin(), a), b));
  }

  /**
   * Logs a message with three arguments.
   *
   * @param messageId identifier of the message
   * @param a the argument "{0}"
   * @param b the argument "{1}"
   * @param c the argument "{2}"
   * @return true if the output has taken it
   */
  public boolean message(int messageId, Object a, Object b, Object c) {
    return write(messageId, add(add(add(begin(), a), b), c));
  }

  /**
   * Logs a message with up to {@link #MAX_ARGUMENTS} arguments.
   *
   * @param messageId identifier of the message
   * @param arguments the arguments "{0}", "{1}" and so on
   * @return true if the output has taken it
   * @throws IllegalArgumentException if there are more arguments
   */
  public boolean message(int messageId, Object... arguments) {
    if (arguments.length > MAX_ARGUMENTS) {
      throw new IllegalArgumentException("a message has at most " + MAX_ARGUMENTS
          + " arguments, and not " + arguments.length + ": put some of them into one text");
    }
    Frame frame = begin();
    for (Object argument : arguments) {
      add(frame, argument);
    }
    return write(messageId, frame);
  }

  // ---- Texts ------------------------------------------------------------------------------------

  /**
   * Logs a text as an information.
   *
   * @param pattern the text; each "{}" is replaced by the next argument. Arguments that are left
   *     over follow the text
   * @param arguments the arguments
   * @return true if the output has taken it
   */
  public boolean info(String pattern, Object... arguments) {
    return text(WyLogger.MESSAGE_INFORMATION, pattern, arguments);
  }

  /**
   * Logs a text as a warning.
   *
   * @param pattern as in {@link #info}
   * @param arguments the arguments
   * @return true if the output has taken it
   */
  public boolean warning(String pattern, Object... arguments) {
    return text(WyLogger.MESSAGE_WARNING, pattern, arguments);
  }

  /**
   * Logs a text as an error.
   *
   * @param pattern as in {@link #info}
   * @param arguments the arguments
   * @return true if the output has taken it
   */
  public boolean error(String pattern, Object... arguments) {
    return text(WyLogger.MESSAGE_ERROR, pattern, arguments);
  }

  /**
   * Logs a text and a stack trace as a warning. Lines after the first are indented by a tab. If the
   * text is longer than a message of the library (4095 bytes), it becomes several messages.
   *
   * @param text the text
   * @param thrown what has been thrown; its causes follow. May be null
   * @return true if the output has taken all of it
   */
  public boolean warning(String text, Throwable thrown) {
    return lines(WyLogger.MESSAGE_WARNING, text, thrown);
  }

  /**
   * Logs a text and a stack trace as an error.
   *
   * @param text as in {@link #warning(String, Throwable)}
   * @param thrown as in {@link #warning(String, Throwable)}
   * @return true if the output has taken all of it
   */
  public boolean error(String text, Throwable thrown) {
    return lines(WyLogger.MESSAGE_ERROR, text, thrown);
  }

  private boolean text(int messageId, String pattern, Object... arguments) {
    String[] texts = Placeholders.texts(arguments);
    Frame frame = begin().put(Frame.TEXT).beginText();
    Placeholders.append(frame, pattern, texts);
    return write(messageId, frame.endText());
  }

  private boolean lines(int messageId, String text, Throwable thrown) {
    return writeLines(logger, place, messageId, Lines.indented(Lines.withStackTrace(text, thrown)));
  }

  /** Writes text that {@link Lines#indented} has returned, in as many messages as it needs. */
  static boolean writeLines(LoggerHandle logger, String place, int messageId, String lines) {
    boolean taken = true;
    for (String part : MessageParts.of(lines)) {
      Frame frame = Frame.take().text(place).put(Frame.RAW).text(part);
      taken &= logger.message(messageId, frame);
      frame.release();
    }
    return taken;
  }

  // ---- The frame --------------------------------------------------------------------------------

  private Frame begin() {
    return Frame.take().text(place);
  }

  private static Frame add(Frame frame, Object argument) {
    String text = Values.text(argument); // before anything is written: it may throw
    return frame.put(Frame.TEXT).text(text);
  }

  private boolean write(int messageId, Frame frame) {
    boolean taken = logger.message(messageId, frame);
    frame.release();
    return taken;
  }
}
