package bench;

/** One way to log. An object is used by one thread. */
public interface Contestant {
  /** Logs one record with three arguments that vary. */
  void log(String user, String action, String resource);
}
