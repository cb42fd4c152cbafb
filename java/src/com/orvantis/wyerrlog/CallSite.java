package com.orvantis.wyerrlog;

import java.util.List;

/** The place where a program has called a {@code System.Logger}, found on the stack. */
record CallSite(String className, String methodName) {
  // Classes whose frames are between a program and the loggers of this package.
  private static final List<String> PLATFORM =
      List.of("java.lang.System$Logger", "jdk.internal.logger.", "sun.util.logging.");
  private static final List<String> OWN =
      List.of(Bridge.class.getName(), BridgeLogger.class.getName(), PlatformLogger.class.getName());

  /** Returns the program's innermost frame; if there is none, the given name without a method. */
  static CallSite ofProgram(String otherwise) {
    return StackWalker.getInstance()
        .walk(frames
            -> frames.filter(frame -> isOfProgram(frame.getClassName()))
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
