package agent;

import com.orvantis.wyerrlog.WyLogger;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;

/**
 * An agent in Java, which can run beside the agent in C++ (examples/access_agent) and share its
 * logs, message catalogs, trace configuration and policy. It reads access requests from standard
 * input, one in each line ("alice GET /reports/q3.html"), and prints its decisions.
 *
 * <pre>
 * ORVA_WA_ROOT=BUILD java -cp java_agent.jar:wyerrlog.jar \
 *     -Dwyerrlog.library=BUILD/lib/libwyerrlog.so \
 *     -Djava.util.logging.config.file=logging.properties \
 *     agent.JavaAgent POLICY MESSAGES LOG-FOLDER TRACE-CONFIG
 * </pre>
 */
public final class JavaAgent {
  private static final String SOURCE = "JavaAgent.java";

  private final Policy policy;

  private JavaAgent(Policy policy) {
    this.policy = policy;
  }

  public static void main(String[] arguments) throws IOException {
    if (arguments.length != 4) {
      System.err.println("usage: JavaAgent POLICY MESSAGES LOG-FOLDER TRACE-CONFIG");
      System.exit(2);
    }
    openLogs(arguments[1], Path.of(arguments[2]), arguments[3]);
    JavaAgent agent = new JavaAgent(Policy.read(Path.of(arguments[0])));
    agent.serve(new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8)));
  }

  private static void openLogs(String messages, Path folder, String traceConfig) {
    boolean opened = WyLogger.SetResourcesDirectory(messages) == WyLogger.RESULT_DONE
        && WyLogger.InitializeLog(null, WyLogger.OUTPUT_FILE,
               folder.resolve("error.log").toString(), WyLogger.MODE_APPEND, 0, true, 0)
            == WyLogger.RESULT_DONE
        && WyLogger.InitializeTrace(null, WyLogger.OUTPUT_FILE,
               folder.resolve("trace.log").toString(), WyLogger.MODE_APPEND, 0,
               WyLogger.FORMAT_BRACKETED, null, traceConfig, true, 0)
            == WyLogger.RESULT_DONE;
    if (!opened) {
      System.err.println("the logs cannot be opened");
      System.exit(1);
    }
  }

  private void serve(BufferedReader requests) throws IOException {
    int number = 0;
    for (String line; (line = requests.readLine()) != null;) {
      String[] words = line.split(" ", 3);
      if (words.length == 3) {
        boolean permitted = decide("request-" + ++number, words[0], words[1], words[2]);
        System.out.println((permitted ? "allow " : "deny ") + line);
      }
    }
  }

  private boolean decide(String request, String user, String action, String resource) {
    trace(
        IsAuthorizedMessages.RECEIVE_REQUEST, request, "%s asks to %s %s", user, action, resource);
    Policy.Rule rule = policy.findRule(action, resource);
    boolean permitted = rule != null && policy.permits(rule, user);
    if (rule == null) {
      IsAuthorizedMessages.noRule(SOURCE, user, action, resource);
    } else if (!permitted) {
      IsAuthorizedMessages.notPermitted(SOURCE, user, action, resource, rule.number());
    }
    trace(IsAuthorizedMessages.SEND_RESPONSE, request, "%s %s", permitted ? "allow" : "deny",
        resource);
    return permitted;
  }

  private static void trace(int component, String request, String pattern, String... arguments) {
    WyLogger.TraceMsg(null, SOURCE, "decide", component, request, pattern, arguments);
  }
}
