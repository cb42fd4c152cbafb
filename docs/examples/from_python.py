"""The logs of a Python program, by the functions for C: from_python.py LIBRARY"""

import ctypes
import sys

# [declare]
log = ctypes.CDLL(sys.argv[1])  # libwyerrlog.so.1
log.wyerrlog_error.restype = ctypes.c_char_p
log.wyerrlog_audit_begin.restype = ctypes.c_void_p
log.wyerrlog_audit_set.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p]
log.wyerrlog_audit_set_int.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int64]
log.wyerrlog_audit_write.argtypes = [ctypes.c_void_p]
WARNING = 2
# [/declare]

# [use]
for open_log, path in ((log.wyerrlog_log_to_file, b"./error.log"),
                       (log.wyerrlog_audit_to_file, b"./audit.log")):
    if not open_log(None, path, b"shared"):
        sys.exit(log.wyerrlog_error().decode())

log.wyerrlog_text(None, b"job.py", 41, b"", WARNING, b"%s", "disk almost full".encode())

record = log.wyerrlog_audit_begin(None, b"job")
log.wyerrlog_audit_set(record, b"user", b"alice")
log.wyerrlog_audit_set_int(record, b"status", 403)
if not log.wyerrlog_audit_write(record):
    sys.exit("no audit record")
# [/use]

print(log.wyerrlog_audit_to_file(None, b"./audit.log", b"backup=3"), log.wyerrlog_error().decode())
