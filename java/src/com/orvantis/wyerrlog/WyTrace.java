package com.orvantis.wyerrlog;

import java.util.Objects;

/**
 * Traces a component or sub-component. A class keeps one in a constant:
 *
 * <pre>{@code
 * private static final WyTrace TRACE = WyTrace.of(LoginMessages.AUTHENTICATION, Login.class);
 * ...
 * TRACE.record("check")
 *     .set(WyField.USER, user)
 *     .set(WyField.GROUP, () -> String.join(",", groupsOf(user)))
 *     .message("rule {} names it", rule)
 *     .write();
 * }</pre>
 *
 * <p>If the component is not traced, the statement is a comparison of two numbers and calls no
 * native code: suppliers are not called, and nothing is converted. What Java itself evaluates for a
 * call remains: arguments, boxed numbers, and lambdas that capture variables, unless the compiler
 * of the virtual machine removes them. A statement that must cost nothing asks first:
 *
 * <pre>{@code
 * if (TRACE.isOn()) {
 *   TRACE.record("check").set(WyField.DATA, dump(request)).write();
 * }
 * }</pre>
 *
 * <p>Whoever turns tracing on or off or installs another configuration, Java or C++, the next
 * statement that begins on any thread follows it. Any thread may use an object at any time.
 */
public final class WyTrace {
  private final LoggerHandle logger;
  private final int component;
  private final String place;

  // The trace generation for which the component has been found not to be traced; 0 for none. Not
  // volatile: a thread that reads an old value asks the library again.
  private int offAt;
  private State on; // null or the state that was found when the component was traced

  /** What the library has decided, valid for one trace generation. */
  private record State(int generation, long shown0, long shown1) {}

  WyTrace(LoggerHandle logger, int component, String place) {
    this.logger = logger;
    this.component = component;
    this.place = Objects.requireNonNull(place, "place");
  }

  /**
   * Returns an object that traces with the process's logger. {@link WyLogs#trace} is the same for a
   * named one.
   *
   * @param component identifier of the component or sub-component
   * @param place the class that traces; records show the name of its source file
   * @return a new object
   */
  public static WyTrace of(int component, Class<?> place) {
    return WyLogs.ofProcess().trace(component, place);
  }

  /**
   * Returns whether the component is traced.
   *
   * @return true if records are written now
   */
  public boolean isOn() {
    return offAt != Native.traceGeneration() && state() != null;
  }

  /**
   * Begins a record.
   *
   * @param function field {@link WyField#FUNCTION}: the name of the method that traces
   * @return a new record; if the component is not traced, one that ignores everything
   */
  public WyTraceRecord record(String function) {
    return offAt == Native.traceGeneration() ? WyTraceRecord.OFF : begin(place, function);
  }

  /** Begins a record with a place of its own. */
  WyTraceRecord begin(String source, String function) {
    State state = state();
    if (state == null) {
      return WyTraceRecord.OFF;
    }
    return new WyTraceRecord(logger, component, state.shown0, state.shown1, source, function);
  }

  /** Returns what holds now; null if the component is not traced. */
  private State state() {
    int generation = Native.traceGeneration(); // before the question, so that no change is missed
    State state = on;
    if (state != null && state.generation == generation) {
      return state;
    }
    long[] shown = new long[2];
    int decision = logger.decide(component, shown);
    if (decision == 0) {
      offAt = generation;
    }
    if (decision <= 0) {
      return null;
    }
    state = new State(generation, shown[0], shown[1]);
    on = state;
    return state;
  }
}
