package com.orvantis.wyerrlog;

import java.util.Collections;
import java.util.IdentityHashMap;
import java.util.Optional;
import java.util.Set;
import java.util.function.Supplier;

/** How the values of arguments and fields read. */
final class Values {
  private Values() {}

  /**
   * Returns the text of a value; null for null and for an empty {@link Optional}. A supplier is
   * asked for its value. What the value's own methods throw passes through.
   */
  static String text(Object value) {
    if (value instanceof String text) {
      return text;
    }
    Object plain = plain(value);
    return plain != null ? plain.toString() : null;
  }

  /** Returns a value as a number, truth value or text; null for null and an empty optional. */
  static Object plain(Object value) {
    if (value instanceof String || value instanceof Number && isPrimitive((Number) value)
        || value instanceof Boolean || value == null) {
      return value;
    }
    if (value instanceof Throwable thrown) {
      return withCauses(thrown);
    }
    if (value instanceof Optional<?> optional) {
      return plain(optional.orElse(null));
    }
    if (value instanceof Supplier<?> supplier) {
      return plain(supplier.get());
    }
    return value.toString();
  }

  private static boolean isPrimitive(Number number) {
    return isInteger(number) || number instanceof Double || number instanceof Float;
  }

  private static boolean isInteger(Object value) {
    return value instanceof Integer || value instanceof Long || value instanceof Short
        || value instanceof Byte;
  }

  /** Puts what {@link #plain} has returned, with its kind. */
  static void put(Frame frame, Object value) {
    if (value == null || value instanceof String) {
      frame.put(Frame.TEXT).text((String) value);
    } else if (value instanceof Boolean truth) {
      frame.put(Frame.BOOLEAN).put(truth ? 1 : 0);
    } else if (isInteger(value)) {
      frame.put(Frame.LONG).putLong(((Number) value).longValue());
    } else {
      double number = ((Number) value).doubleValue();
      frame.put(Frame.DOUBLE).putLong(Double.doubleToRawLongBits(number));
    }
  }

  /** Returns a throwable and its causes in one line, the outermost first. */
  private static String withCauses(Throwable thrown) {
    StringBuilder text = new StringBuilder(thrown.toString());
    Set<Throwable> seen = Collections.newSetFromMap(new IdentityHashMap<>());
    seen.add(thrown);
    for (Throwable cause = thrown.getCause(); cause != null && seen.add(cause);
         cause = cause.getCause()) {
      text.append("; caused by ").append(cause);
    }
    return text.toString();
  }

  /** Returns the name of the source file of a class. */
  static String sourceFile(Class<?> type) {
    Class<?> outermost = type;
    while (outermost.getEnclosingClass() != null) {
      outermost = outermost.getEnclosingClass();
    }
    return outermost.getSimpleName() + ".java";
  }
}
