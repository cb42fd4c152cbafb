package bench;

import com.orvantis.wyerrlog.WyFile;
import com.orvantis.wyerrlog.WyLogs;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.nio.file.Files;
import java.nio.file.Path;

/**
 * Measures one contestant in one virtual machine: rounds of its records take turns with rounds of
 * the C++ call of the same record, on the same thread and in the same logs. Prints a line for each
 * round: nanoseconds of the thread's processor time per record of Java and of C++, then the elapsed
 * ones.
 *
 * <pre>
 * java ... bench.JavaBench CONTESTANT message|trace|untraced ROUNDS RECORDS FOLDER
 * </pre>
 */
public final class JavaBench {
  static final int REFUSED = 0x06008001;
  static final int TRACED = 0x06010000;
  static final int NOT_TRACED = 0x06020000;
  static final String FIELDS = "data: Date, PreciseTime, Pid, Tid, SrcFile, Function, Message";

  private static final int WARM_UP = 40_000;
  private static final int ARGUMENTS = 64;

  private static final ThreadMXBean threads = ManagementFactory.getThreadMXBean();

  private final String[] users = new String[ARGUMENTS];
  private final String[] resources = new String[ARGUMENTS];
  private final Contestant contestant;
  private final int kind;

  private JavaBench(Contestant contestant, int kind) {
    this.contestant = contestant;
    this.kind = kind;
    for (int i = 0; i < ARGUMENTS; i++) {
      users[i] = "alice" + (10 + i);
      resources[i] = "/reports/2026/q" + i + ".html";
    }
  }

  // ---- C++ --------------------------------------------------------------------------------------

  /** Logs so many messages, trace records, or untraced statements, by WyLog and WY_TRACE. */
  private static native void logInCpp(int kind, int count);

  // ---- Rounds -----------------------------------------------------------------------------------

  private void logInJava(int count) {
    for (int i = 0; i < count; i++) {
      contestant.log(users[i % ARGUMENTS], "write", resources[i % ARGUMENTS]);
    }
  }

  private interface Round {
    void run(int count);
  }

  /** Returns processor time and elapsed time per record. */
  private static double[] measure(Round round, int count) {
    long elapsed = System.nanoTime();
    long processor = threads.getCurrentThreadCpuTime();
    round.run(count);
    processor = threads.getCurrentThreadCpuTime() - processor;
    elapsed = System.nanoTime() - elapsed;
    return new double[] {(double) processor / count, (double) elapsed / count};
  }

  private void run(int rounds, int count) {
    logInJava(Math.max(WARM_UP, count)); // until the compiler has optimised it
    logInJava(count);
    logInCpp(kind, count);
    for (int i = 0; i < rounds; i++) {
      double[] java = measure(this::logInJava, count);
      double[] cpp = measure(number -> logInCpp(kind, number), count);
      System.out.printf("%.2f %.2f %.2f %.2f%n", java[0], cpp[0], java[1], cpp[1]);
    }
  }

  public static void main(String[] args) throws Exception {
    System.load(System.getProperty("bench.host"));
    WyLogs.useMessages(System.getProperty("bench.messages"));
    Path folder = Path.of(args[4]);
    WyLogs logs = WyLogs.ofProcess();
    logs.logTo(WyFile.at(folder.resolve("error.log")));
    int kind = switch (args[1]) {
      case "message" -> 0;
      case "trace" -> 1;
      default -> 2;
    };
    if (kind == 1 || args[1].equals("untraced-on")) { // otherwise tracing is off
      Path config = folder.resolve("trace.conf");
      Files.writeString(config, "version: 1.1\ncomponents: Web_Agent/Traced\n" + FIELDS + "\n");
      logs.traceTo(WyFile.at(folder.resolve("trace.log")), config.toString());
    }
    Contestant contestant = (Contestant) Class.forName("bench." + args[0])
                                .getDeclaredConstructor(Path.class)
                                .newInstance(folder);
    new JavaBench(contestant, kind).run(Integer.parseInt(args[2]), Integer.parseInt(args[3]));
  }
}
