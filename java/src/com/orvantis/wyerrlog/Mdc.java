package com.orvantis.wyerrlog;

import java.lang.invoke.MethodHandle;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.MethodType;
import java.util.HashMap;
import java.util.Map;

/**
 * The thread's diagnostic context of SLF4J, if that is on the class path: its entries become fields
 * of trace and audit records. This library does not depend on SLF4J, of which 1.7 and 2 have the
 * same method.
 */
final class Mdc {
  /** System property: which entries become which fields, as "requestId:TransactionID,user:User". */
  static final String PROPERTY = "wyerrlog.mdc";

  private static final Map<String, WyField> fields = fields(System.getProperty(PROPERTY));
  private static final MethodHandle copy = fields.isEmpty() ? null : find(); // null: no SLF4J

  private Mdc() {}

  private static MethodHandle find() {
    try {
      return MethodHandles.publicLookup().findStatic(
          Class.forName("org.slf4j.MDC"), "getCopyOfContextMap", MethodType.methodType(Map.class));
    } catch (ReflectiveOperationException | LinkageError absent) {
      return null;
    }
  }

  /** Without the property, the entries that are named like fields. */
  private static Map<String, WyField> fields(String property) {
    Map<String, WyField> fields = new HashMap<>();
    if (property == null) {
      for (WyField field : WyField.values()) {
        fields.put(field.fieldName(), field);
      }
      return fields;
    }
    for (String pair : property.split(",")) {
      String[] names = pair.strip().split("\\s*:\\s*");
      WyField field = WyField.ofName(names[names.length - 1]);
      if (field != null) {
        fields.put(names[0], field);
      } else if (!pair.isBlank()) {
        System.err.println("wyerrlog: " + PROPERTY + ": \"" + pair.strip()
            + "\" does not end with the name of a data field; write it as requestId:TransactionID");
      }
    }
    return fields;
  }

  /** Puts the fields of the thread's context, with their number before them. */
  static void putFields(Frame frame) {
    int position = frame.size();
    frame.put(0);
    if (copy == null) {
      return;
    }
    Map<?, ?> context = context();
    if (context == null || context.isEmpty()) {
      return;
    }
    int count = 0;
    for (Map.Entry<?, ?> entry : context.entrySet()) {
      WyField field = fields.get(entry.getKey());
      if (field != null && entry.getValue() instanceof String value) {
        frame.put(field.ordinal()).put(0).text(value);
        count++;
      }
    }
    frame.putAt(position, count);
  }

  private static Map<?, ?> context() {
    try {
      return (Map<?, ?>) copy.invoke();
    } catch (Throwable failed) {
      return null; // a failure of the context must not lose the record
    }
  }
}
