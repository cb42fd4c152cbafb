#ifndef WYERRLOG_INTERNAL_WYJAVATEXT_H
#define WYERRLOG_INTERNAL_WYJAVATEXT_H

// The strings of a native method's arguments, as bytes for the duration of the call. An object
// belongs to the call that constructs it; its destructor releases everything it has taken from the
// virtual machine. None of the operations leaves a Java exception pending.

#include <jni.h>

#include <array>
#include <optional>

// A Java string as bytes ended by a zero byte: those that the virtual machine supplies (modified
// UTF-8), unchanged.
class CWyJavaText {
 public:
  CWyJavaText(JNIEnv* pEnv, jstring hText);
  ~CWyJavaText();
  CWyJavaText(const CWyJavaText&) = delete;
  CWyJavaText& operator=(const CWyJavaText&) = delete;

  // Returns true if there is a string, but the virtual machine had no memory for its bytes: neither
  // null nor the empty text would be right then.
  bool IsLost() const { return m_hText != nullptr && m_pszText == nullptr; }

  // The bytes, valid as long as the object exists; for a null string null, or the empty text.
  const char* OrNull() const { return m_pszText; }
  const char* OrEmpty() const { return m_pszText != nullptr ? m_pszText : ""; }

 private:
  JNIEnv* m_pEnv;
  jstring m_hText;
  const char* m_pszText;
};

// The elements of a String[] with up to five of them.
class CWyJavaArguments {
 public:
  static constexpr int MaxCount = 5;

  // Elements of a longer array are not fetched; a null array has none.
  CWyJavaArguments(JNIEnv* pEnv, jobjectArray hArray);

  // The array's length.
  int Count() const { return m_iCount; }
  bool AreTooMany() const { return m_iCount > MaxCount; }
  bool AreLost() const { return m_bLost; }

  // Always five: the elements, then empty texts. A null element is an empty text as well.
  const std::array<const char*, MaxCount>& Texts() const { return m_texts; }

 private:
  // An element: the reference to it, then its bytes, which go first.
  class Element {
   public:
    Element(JNIEnv* pEnv, jobjectArray hArray, int iIndex);

    const CWyJavaText& Text() const { return m_text; }

   private:
    class LocalReference {
     public:
      LocalReference(JNIEnv* pEnv, jobject hObject) : m_pEnv(pEnv), m_hObject(hObject) {}
      ~LocalReference();
      LocalReference(const LocalReference&) = delete;
      LocalReference& operator=(const LocalReference&) = delete;

      jobject Get() const { return m_hObject; }

     private:
      JNIEnv* m_pEnv;
      jobject m_hObject;
    };

    LocalReference m_reference;
    CWyJavaText m_text;
  };

  int m_iCount;
  bool m_bLost = false;
  std::array<std::optional<Element>, MaxCount> m_elements;
  std::array<const char*, MaxCount> m_texts;
};

#endif
