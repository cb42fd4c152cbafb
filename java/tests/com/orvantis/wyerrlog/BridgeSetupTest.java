package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.IOException;
import java.lang.System.Logger.Level;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.logging.Logger;

/** What becomes of an unchanged program's records when the settings are missing, wrong or bare. */
final class BridgeSetupTest {
  private static final String HANDLER = "com.orvantis.wyerrlog.WyLogHandler";

  public static void main(String[] arguments) throws ReflectiveOperationException {
    Tests.run(BridgeSetupTest.class);
  }

  /** Runs in a virtual machine of its own, and knows nothing of this library. */
  static final class Program {
    public static void main(String[] sizeInKB) {
      System.Logger logger = System.getLogger("program");
      logger.log(Level.ERROR, "disk {0}", "full");
      logger.log(Level.DEBUG, "details");
      Logger.getLogger("other").warning("nearly");
      for (int i = 0; i < Integer.parseInt(sizeInKB[0]); i++) {
        logger.log(Level.INFO, "x".repeat(1024));
        Logger.getLogger("other").info("x".repeat(1024));
      }
    }
  }

  /** Runs the program in the folder of that name; what it prints. */
  private static String run(String folder, int sizeInKB, String... options) throws Exception {
    Path directory = Files.createDirectories(Path.of(path(folder)));
    List<String> command = new ArrayList<>();
    command.add(ProcessHandle.current().info().command().orElseThrow());
    command.addAll(List.of("-cp", System.getProperty("java.class.path")));
    command.addAll(List.of(options));
    command.addAll(List.of(Program.class.getName(), Integer.toString(sizeInKB)));
    Process process =
        new ProcessBuilder(command).directory(directory.toFile()).redirectErrorStream(true).start();
    String printed = new String(process.getInputStream().readAllBytes());
    checkEqual(0, process.waitFor());
    return printed;
  }

  private static void checkContains(String text, String... parts) {
    for (String part : parts) {
      check(text.contains(part), "\"" + part + "\" is not in:\n" + text);
    }
  }

  private static String library() {
    return "-D" + WyLogger.LIBRARY_PROPERTY + "=" + System.getProperty(WyLogger.LIBRARY_PROPERTY);
  }

  private static String configuration(String name, String... settings) {
    List<String> lines =
        new ArrayList<>(List.of("handlers = java.util.logging.ConsoleHandler, " + HANDLER));
    for (String setting : settings) {
      lines.add(HANDLER + "." + setting);
    }
    return "-Djava.util.logging.config.file=" + write(name, lines.toArray(new String[0]));
  }

  private static final String HANDED_OVER = "$Program main\nSEVERE: disk full\n";

  @Test
  static void withoutSettingsTheJarAloneChangesNothing() throws Exception {
    String printed = run("alone", 0);
    checkContains(printed, HANDED_OVER, "WARNING: nearly");
    checkEqual(4L, printed.lines().count());
  }

  @Test
  static void whatIsWrongInTheSettingsIsReportedAndNoErrorIsLost() throws Exception {
    String reported = "java.util.logging.ErrorManager: 4: ";
    checkContains(run("misspelt", 0, "-Dwyerrlog.log.fil=error.log", "-Dwyerlog.log.mode=3"),
        reported + "wyerrlog: wyerrlog.log.fil: no such setting; did you mean wyerrlog.log.file?",
        reported + "wyerrlog: wyerlog.log.mode: no such setting; did you mean wyerrlog.log.mode?",
        HANDED_OVER);
    checkContains(run("path", 0, library(), "-Dwyerrlog.log.path=x", "-Dwyerrlog.localTime=yes",
                      "-Dwyerrlog.log.mode=3"),
        "wyerrlog.log.path: no such setting; did you mean ", "localTime: \"yes\" is neither",
        "log.mode: has no effect without log.file");
    checkContains(run("unwritable", 0, library(), "-Dwyerrlog.log.file=/no/such/error.log"),
        reported + "wyerrlog: log.file: the error log cannot be written to \"/no/such/error.log\"",
        HANDED_OVER);
    checkContains(
        run("handler", 0, library(),
            configuration("handler.properties", "log.fil = e.log", "trace.file = /no/such/t.log")),
        reported + HANDLER + ".log.fil: no such setting; did you mean " + HANDLER + ".log.file?\n",
        "\ntrace.file: tracing cannot be turned on", HANDED_OVER);
  }

  @Test
  static void withATraceAloneMessagesAreHandedOver() throws Exception {
    String config = write("alone.conf", "components Log", "data Message");
    checkContains(run("traced", 0, library(), "-Dwyerrlog.trace.file=trace.log",
                      "-Dwyerrlog.trace.config=" + config),
        HANDED_OVER);
    checkEqual(List.of("[details]"), records("traced/trace.log"));
  }

  @Test
  static void aFileNameWithoutAFolderIsRolledOver() throws Exception {
    checkEqual("",
        run("bare", 1200, library(), "-Dwyerrlog.log.file=error.log", "-Dwyerrlog.log.mode=3",
            "-Dwyerrlog.log.maxSizeMB=1",
            configuration("bare.properties", "log.file = jul.log", "log.mode = 3",
                "log.maxSizeMB = 1", "logger = jul"))
            .replaceAll("(?m)^[A-Z].*\n(WARNING: nearly|INFO: x+)\n", ""));
    checkRolledOver("error");
    checkRolledOver("jul");
  }

  private static void checkRolledOver(String stem) throws IOException {
    try (var files = Files.newDirectoryStream(Path.of(path("bare")), stem + "*.log")) {
      int records = 0;
      int count = 0;
      for (Path file : files) {
        records += Files.readAllLines(file).size();
        count++;
      }
      checkEqual(1201, records);
      check(count > 1, "one file of " + stem);
    }
  }
}
