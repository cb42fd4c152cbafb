package bench;

import com.orvantis.wyerrlog.WyField;
import com.orvantis.wyerrlog.WyTrace;
import java.nio.file.Path;

/** A statement of a component that is not traced. */
public final class Untraced implements Contestant {
  private static final WyTrace TRACE = WyTrace.of(JavaBench.NOT_TRACED, Untraced.class);

  public Untraced(Path folder) {}

  @Override
  public void log(String user, String action, String resource) {
    TRACE.record("log").set(WyField.USER, user).message(resource).write();
  }
}
