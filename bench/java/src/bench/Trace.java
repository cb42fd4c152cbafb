package bench;

import com.orvantis.wyerrlog.WyTrace;
import java.nio.file.Path;

/** A trace record of seven fields. */
public final class Trace implements Contestant {
  private static final WyTrace TRACE = WyTrace.of(JavaBench.TRACED, Trace.class);

  public Trace(Path folder) {}

  @Override
  public void log(String user, String action, String resource) {
    TRACE.record("log").message("User {} may not {} {}.", user, action, resource).write();
  }
}
