/** A module that logs. */
module consumer {
  requires com.orvantis.wyerrlog;
}
