package agent;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.logging.Level;
import java.util.logging.Logger;

/**
 * The rules of a policy file of the access agent (demo/policy.conf describes the format). This
 * class logs with java.util.logging. It does not use the library's classes: logging.properties
 * routes its records to the library.
 */
final class Policy {
  private static final Logger logger = Logger.getLogger(Policy.class.getName());

  record Rule(int number, List<String> methods, String path, List<String> subjects) {
    boolean covers(String method, String resource) {
      return methods.contains(method)
          && (path.endsWith("/") ? resource.startsWith(path) : resource.equals(path));
    }
  }

  private final Map<String, Set<String>> groupsOfUsers = new HashMap<>();
  private final List<Rule> rules = new ArrayList<>();

  static Policy read(Path file) throws IOException {
    Policy policy = new Policy();
    for (String line : Files.readAllLines(file)) {
      policy.add(List.of(line.strip().split("\\s+")));
    }
    logger.log(Level.INFO, "{0} users and {1} rules read from {2}",
        new Object[] {policy.groupsOfUsers.size(), policy.rules.size(), file.getFileName()});
    return policy;
  }

  private void add(List<String> words) {
    List<String> others = words.subList(Math.min(3, words.size()), words.size());
    if (words.get(0).equals("user")) {
      groupsOfUsers.put(words.get(1), Set.copyOf(others));
    } else if (words.get(0).equals("rule")) {
      List<String> methods = List.of(words.get(1).split(","));
      rules.add(new Rule(rules.size() + 1, methods, words.get(2), others));
    }
  }

  /** Returns the first rule that covers the request; null if there is none. */
  Rule findRule(String method, String resource) {
    for (Rule rule : rules) {
      if (rule.covers(method, resource)) {
        logger.log(
            Level.FINE, "{0} is covered by rule {1}", new Object[] {resource, rule.number()});
        return rule;
      }
    }
    return null;
  }

  boolean permits(Rule rule, String user) {
    Set<String> groups = groupsOfUsers.getOrDefault(user, Set.of());
    return rule.subjects().stream().anyMatch(subject
        -> subject.equals("*") || subject.equals(user)
            || (subject.startsWith("@") && groups.contains(subject.substring(1))));
  }
}
