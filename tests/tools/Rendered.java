import java.nio.file.Files;
import java.nio.file.Path;
import java.text.MessageFormat;
import java.util.Locale;
import java.util.Properties;
import java.util.TreeSet;

/** Prints each entry of bundle files as Java formats it, with the arguments "<0>", "<1>" ... */
public final class Rendered {
  public static void main(String[] files) throws Exception {
    Object[] arguments = new Object[13];
    for (int i = 0; i < arguments.length; i++) {
      arguments[i] = "<" + i + ">";
    }
    StringBuilder out = new StringBuilder();
    for (String file : files) {
      Properties bundle = new Properties();
      bundle.load(Files.newBufferedReader(Path.of(file)));
      for (String key : new TreeSet<>(bundle.stringPropertyNames())) {
        String text = new MessageFormat(bundle.getProperty(key), Locale.ROOT).format(arguments);
        out.append(key).append('\t').append(text).append('\n');
      }
    }
    System.out.write(out.toString().getBytes("UTF-8"));
    System.out.flush();
  }
}
