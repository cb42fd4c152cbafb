package agent;

import com.orvantis.wyerrlog.WyField;
import com.orvantis.wyerrlog.WyFile;
import com.orvantis.wyerrlog.WyLog;
import com.orvantis.wyerrlog.WyLogs;
import com.orvantis.wyerrlog.WyRequest;
import com.orvantis.wyerrlog.WyTrace;
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
  private static final WyLog LOG = WyLog.of(JavaAgent.class);
  private static final WyTrace RECEIVED =
      WyTrace.of(IsAuthorizedMessages.RECEIVE_REQUEST, JavaAgent.class);
  private static final WyTrace SENT =
      WyTrace.of(IsAuthorizedMessages.SEND_RESPONSE, JavaAgent.class);

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
    try {
      WyLogs.useMessages(messages);
      WyLogs logs = WyLogs.ofProcess();
      logs.useLocalTime(true);
      logs.logTo(WyFile.at(folder.resolve("error.log")));
      logs.traceTo(WyFile.at(folder.resolve("trace.log")), traceConfig);
    } catch (IOException problem) {
      System.err.println("the logs cannot be opened: " + problem.getMessage());
      System.exit(1);
    }
  }

  private void serve(BufferedReader requests) throws IOException {
    int number = 0;
    for (String line; (line = requests.readLine()) != null;) {
      String[] words = line.split(" ", 3);
      if (words.length == 3) {
        boolean permitted = serveOne("request-" + ++number, words[0], words[1], words[2]);
        System.out.println((permitted ? "allow " : "deny ") + line);
      }
    }
  }

  private boolean serveOne(String id, String user, String action, String resource) {
    try (WyRequest request = WyRequest.open().set(WyField.TRANSACTION_ID, id)) {
      request.set(WyField.USER, user);
      return decide(user, action, resource);
    }
  }

  private boolean decide(String user, String action, String resource) {
    RECEIVED.record("decide").message("{} asks to {} {}", user, action, resource).write();
    Policy.Rule rule = policy.findRule(action, resource);
    boolean permitted = rule != null && policy.permits(rule, user);
    if (rule == null) {
      IsAuthorizedMessages.noRule(LOG, user, action, resource);
    } else if (!permitted) {
      IsAuthorizedMessages.notPermitted(LOG, user, action, resource, rule.number());
    }
    SENT.record("decide").message("{} {}", permitted ? "allow" : "deny", resource).write();
    return permitted;
  }
}
