package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CyclicBarrier;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/** The native methods, called by many threads. */
final class WyLoggerThreadsTest {
  private static final int THREADS = 16;
  private static final int ROUNDS = 500;

  public static void main(String[] arguments) throws ReflectiveOperationException {
    Tests.run(WyLoggerThreadsTest.class);
  }

  @Test
  static void sixteenThreadsLogWhileAnotherReconfigures() throws Exception {
    openLog("many", "many0.log");
    openTrace("many", "many0.trace", "data Message");
    CyclicBarrier start = new CyclicBarrier(THREADS + 1);
    ExecutorService pool = Executors.newFixedThreadPool(THREADS);
    List<Future<?>> threads = new ArrayList<>();
    for (int i = 0; i < THREADS; i++) {
      String name = "thread" + i;
      threads.add(pool.submit(() -> logAndTrace(name, start)));
    }
    start.await();
    int changes = 0;
    do {
      changes++;
      openLog("many", "many" + changes % 2 + ".log");
      openTrace("many", "many" + changes % 2 + ".trace", "data Message");
    } while (!threads.stream().allMatch(Future::isDone));
    pool.shutdown();
    for (Future<?> thread : threads) {
      thread.get();
    }

    List<String> messages = both("log");
    checkEqual(THREADS * ROUNDS, messages.size());
    checkAll(messages, PROLOG + "\\[thread\\d+\\]\\[INFO\\]\\[wy-log-00000\\] round \\d+");
    List<String> records = both("trace");
    checkAll(records, "\\[(Message|=======|round \\d+ of thread\\d+)\\]");
    check(
        records.size() > 2 * changes, "traced between " + changes + " changes: " + records.size());
  }

  private static Void logAndTrace(String name, CyclicBarrier start) throws Exception {
    start.await();
    for (int i = 0; i < ROUNDS; i++) {
      String text = "round " + i;
      WyLogger.LogMsg("many", name, WyLogger.MESSAGE_INFORMATION, text);
      WyLogger.TraceMsg(
          "many", "", "", WyLogger.COMPONENT_LOG, "", "%s of %s", new String[] {text, name});
    }
    return null;
  }

  private static List<String> both(String extension) {
    List<String> both = new ArrayList<>(lines("many0." + extension));
    both.addAll(lines("many1." + extension));
    return both;
  }

  private static void checkAll(List<String> lines, String regex) {
    for (String line : lines) {
      check(line.matches(regex), line);
    }
  }
}
