package com.orvantis.wyerrlog;

import java.util.List;

/** Where a program called a {@code System.Logger}. */
record CallSite(String className, String methodName) {
  // The code between a program and the loggers of this package.
  private static final List<String> PLATFORM =
      List.of("java.lang.System$Logger", "jdk.internal.logger.", "sun.util.logging.");
  private static final List<String> OWN =
      List.of(Bridge.class.getName(), BridgeLogger.class.getName(), PlatformLogger.class.getName());

  /** The innermost frame of a program, or the name and no method when there is none. */
  static CallSite ofProgram(String otherwise) {
    return StackWalker.getInstance()
        .walk(frames
            -> frames.map(StackWalker.StackFrame::toStackTraceElement)
                   .filter(frame -> isOfProgram(frame.getClassName()))
                   .map(frame -> new CallSite(frame.getClassName(), frame.getMethodName()))
                   .findFirst())
        .orElse(new CallSite(otherwise, null));
  }

  private static boolean isOfProgram(String className) {
    String outermost = className.split("\\$", 2)[0];
    return !outermost.equals(CallSite.class.getName()) && !OWN.contains(outermost)
        && PLATFORM.stream().noneMatch(className::startsWith);
  }
}
