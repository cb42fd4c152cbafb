#ifndef WYXLATE_WYXLATE_H
#define WYXLATE_WYXLATE_H

// Message translation: bundles of message patterns by name and locale, and the substitution of
// arguments into a pattern.
//
//   CWyXlate::SetResourceDirectory("/opt/product/messages");
//   CWyXlateBundle* pBundle = CWyXlate::GetBundle("agent", "de_DE.UTF-8");
//   const char* pszPattern = pBundle != nullptr ? pBundle->Lookup("agent-00001") : nullptr;
//   ... CWyXlate::FormatMessage(szText, sizeof szText - 1, pszPattern, 2, apszArguments) ...
//   if (pBundle != nullptr) pBundle->Release();
//
// A bundle is a set of Java resource-bundle files in the resource directory:
//
//   agent_de_DE.properties     first,
//   agent_de.properties        then,
//   agent.properties           last; any of them may be missing.
//
// Each key comes from the first of these files that has it. The files hold UTF-8, with or without a
// byte order mark, and have the comments, separators, escapes and continuation lines of that
// format; of a key that occurs twice in a file the last one counts. Nothing in a file is an error:
// a "\u" without four hexadecimal digits is the letter u, half a surrogate pair and \u0000 become
// U+FFFD, bytes that are not UTF-8 are passed on as they are, and a zero byte ends its text. A file
// that is not a regular one, cannot be read, or is larger than 64 MiB counts as missing.
//
// Locale names are accepted in POSIX and BCP 47 spelling: "de_DE.UTF-8", "de-DE" and "DE-de" are
// the same locale, as are "C", "POSIX", "en", the empty text and null. "zh-Hant-TW" looks for the
// files of zh_Hant_TW, zh_Hant and zh; codeset, modifier and BCP 47 extensions are ignored. For a
// text that is not a locale name only the last file is read.
//
// Any thread may call any operation at any time, also while the process exits, and also in a child
// that was forked while other threads were in such calls. None of the operations throws; errno is
// not specified after them.

#define WYXLATE_EXPORT __attribute__((visibility("default")))

// The patterns of one bundle in one locale, immutable. Objects come from CWyXlate::GetBundle alone,
// which may return one object to many threads.
class WYXLATE_EXPORT CWyXlateBundle {
 public:
  // Returns the pattern of the message `key`; null if the bundle has no such key or `key` is null.
  // The text is UTF-8; the bundle owns it, and it is valid until the caller's Release.
  const char* Lookup(const char* key);

  // Ends the caller's use of the bundle: called once for each GetBundle that returned it. The
  // caller must not use the object afterwards.
  void Release();

  CWyXlateBundle(const CWyXlateBundle&) = delete;
  CWyXlateBundle& operator=(const CWyXlateBundle&) = delete;

 protected:
  CWyXlateBundle() = default;
  ~CWyXlateBundle() = default;
};

class WYXLATE_EXPORT CWyXlate {
 public:
  // Sets the directory that the bundles are read from, for the whole process. Until the first call
  // there is none. A relative name is looked up in the working directory of this moment. On success
  // every bundle is read again at its next use; bundles that callers hold stay as they are. Returns
  // false, and changes nothing, if `directory` is null, empty, or not a directory that this process
  // may read and search, and if memory allocation fails.
  static bool SetResourceDirectory(const char* directory);

  // Returns the bundle `bundle` in the locale `locale`, which the caller passes to Release. Returns
  // null if none of its files can be read, if no directory is set, if memory allocation fails, and
  // if `bundle` is null, empty or no bundle name: a name has letters, digits, "_", "-" and single
  // dots between them.
  //
  // The first call for a bundle and locale reads the files; the result is cached, and so is the
  // fact that there are none, until the next SetResourceDirectory. Later calls allocate nothing,
  // wait for no file and run beside those of other threads. Only if the files could not be opened
  // because the process or the system was short of memory or descriptors, the next call tries
  // again.
  static CWyXlateBundle* GetBundle(const char* bundle, const char* locale);

  // Writes `pattern` into `out` with its placeholders replaced by the arguments, at most `size`
  // bytes and a terminating zero byte: `out` has room for size + 1 bytes. A longer text is cut at
  // exactly `size` bytes, within a character if need be. Returns the number of bytes before the
  // terminator, or -1 if `out` or `pattern` is null; then nothing is written.
  //
  // The rules are the basic ones of Java's message format. "{0}" to "{12}" stand for argv[0] to
  // argv[12]. Two single quotes are one quote; otherwise a single quote starts a run in which
  // braces have no meaning, up to the next single quote or the end. A placeholder whose index is
  // not below `argc`, and anything else in braces, is copied unchanged, and so is a lone brace.
  // A null entry of `argv` inserts nothing; a null `argv` counts as no arguments. `out` must not
  // overlap the pattern or an argument. Allocates nothing and takes no lock.
  static int FormatMessage(char* out, unsigned long size, const char* pattern, unsigned long argc,
                           const char** argv);
};

#endif
