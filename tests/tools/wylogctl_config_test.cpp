// Trace configurations with one fault each: what is found, where, and what is said to do. Then what
// explain and simulate make of one without faults.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "test_support/TempDirectory.h"
#include "tools/RunProgram.h"

namespace {

class Config : public testing::Test {
 protected:
  Config() {
    m_folder.Write("Login_Logout.messages.json", R"({"format":1,
      "component":{"number":3,"name":"Login_Logout"},"subComponents":[{"number":1,"name":"Authentication"},
        {"number":2,"name":"Send_Response"},{"number":3,"name":"Receive_Request"}]})");
    m_folder.Write("IsAuthorized.messages.json", R"({"format":1,
      "component":{"number":4,"name":"IsAuthorized"},"subComponents":[{"number":1,"name":"Receive_Request"}]})");
    m_folder.Write("Session_Store.messages.json", R"({"format":1,
      "component":{"number":12,"name":"Session_Store"},"subComponents":[{"number":1,"name":"Cleanup"}]})");
  }

  ProgramResult Run(const std::string& strArguments) {
    return RunProgram(m_folder.Path(""), "\"$WYLOGCTL\" config " + strArguments + " --messages .");
  }

  // The findings of a configuration, without the lines that are quoted.
  std::string Check(const std::string& strContent) {
    m_folder.Write("f", strContent);
    std::istringstream all(Run("check f").strError);
    std::string strFindings;
    for (std::string strLine; std::getline(all, strLine);) {
      if (strLine.starts_with("f:")) strFindings += strLine.substr(2) + "\n";
      if (strLine.starts_with("      = help: ")) strFindings += "  " + strLine.substr(14) + "\n";
    }
    return strFindings;
  }

  TempDirectory m_folder;
};

struct Row {
  std::string strContent;  // "@": a head without faults
  std::string strFindings;
};

TEST_F(Config, EachFaultIsFoundAtItsPlaceWithItsRemedy) {
  const std::string strHead = "version: 1.1\ncomponents: IsAuthorized\ndata: User, Message\n";
  const std::vector<Row> rows = {
      {"version: 1.1\r\ncomponents: Login_Logout, IsAuthorized\r\ndata: User, Message\r\nUser: "
       "==bob\r\n\r\n",
       "2:27: warning[T104]: a carriage return (CR LF line end) belongs to the word before it: "
       "`IsAuthorized` is not traced\n"
       "  convert the line ends: sed -i 's/\\r$//' FILE\n"
       "3:13: warning[T104]: a carriage return (CR LF line end) belongs to the word before it: "
       "`Message` is not shown\n"
       "4:9: warning[T104]: a carriage return (CR LF line end) belongs to the word before it: no "
       "value of User ends with one\n"},
      {"\xef\xbb\xbfversion: 1.1\n@",
       "1:1: error[T103]: the file begins with a byte order mark, which belongs to its first word\n"
       "  save it as UTF-8 without one: sed -i '1s/^\\xEF\\xBB\\xBF//' FILE\n"},
      {"data: User\ncomponents: IsAuthorized\n",
       "1:1: error[T201]: the components line must stand here, and the file is refused\n"
       "  put the components line before the data line\n"},
      {"components: IsAuthorized\ncomponents: Log\ndata: User\n",
       "2:1: error[T203]: a second components line stands in the place of the data line\n"
       "  name all components on one line\n"},
      {"@components: Log\nData: Time\n",
       "4:1: warning[T203]: a second components line is passed over\n"
       "  name all components on one line\n"
       "5:7: warning[T503]: no operator stands behind `Data` and one separator: the line filters "
       "nothing\n"
       "  the operators are ==, !=, @@ (contains) and !@ (does not)\n"},
      {"version: 1.1\ncomponents: Log # IsAuthorized later\ndata: User\n",
       "2:17: warning[T207]: `#` begins a comment only at the start of a line: the names behind it "
       "count\n"
       "  put the comment on a line of its own\n"
       "2:19: warning[T207]: `IsAuthorized` is taken although it stands behind `#`\n"},
      {"@User==bob\nUser=bob\n",
       "4:1: warning[T501]: a separator is missing between `User` and the operator: the line "
       "filters nothing\n"
       "  write `User: ==bob`\n"
       "5:1: warning[T501]: a separator is missing between `User` and the operator: the line "
       "filters nothing\n"
       "  write `User: ==bob`\n"},
      {"@User: =bob\nUser : ==bob\nMessage\n",
       "4:7: warning[T503]: no operator stands behind `User` and one separator: the line filters "
       "nothing\n"
       "  write `User: ==bob`\n"
       "5:6: warning[T503]: no operator stands behind `User` and one separator: the line filters "
       "nothing\n"
       "  write `User: ==bob`\n"
       "6:1: warning[T503]: no operator stands behind `Message` and one separator: the line "
       "filters nothing\n"
       "  the operators are ==, !=, @@ (contains) and !@ (does not)\n"},
      {"@Usr: ==bob\nverson: 1.1\n",
       "4:1: warning[T502]: no data field is named `Usr`: the line filters nothing\n"
       "  did you mean `User`?\n"
       "5:1: warning[T502]: no data field is named `verson`: the line filters nothing\n"
       "  did you mean `version`?\n"},
      {"@User: == bob\n",
       "4:9: warning[T504]: the blank behind the operator belongs to the text for User\n"
       "  write the text directly behind the operator\n"},
      {"@User: ==bob \nMessage: @@\"x\" # y\n",
       "4:12: warning[T505]: the blank at the end of the line belongs to the text for User\n"
       "  remove it\n"
       "5:16: warning[T207]: `#` begins no comment here: it belongs to the text for Message\n"
       "  put the comment on a line of its own\n"},
      {"@User: =='bob'\n",
       "4:9: warning[T509]: the quotes belong to the text for User\n"
       "  leave them out\n"},
      {"@User: !@\n",
       "4:9: warning[T506]: the filter's text is empty: this is what it looks for in User\n"
       "  write the text directly behind the operator, or remove the line\n"},
      {"@Resource: @@/reports/\n",
       "4:1: warning[T507]: Resource is not on the data line: programs do not set it, and the "
       "filter drops nothing\n"
       "  name `Resource` on the data line\n"},
      {"version: 1.1\ncomponents: Log\ndata: Date\nTime: @@12:\n", ""},
      {"@User: ==bob\nUser: !=carol\n",
       "5:1: warning[T508]: this filter replaces that of line 4 for the same field\n"
       "  a field has one filter: keep one of the two\n"},
      {"components: Login_Logout/Authentication\ndata: User\n",
       " warning[T206]: `Login_Logout/Send_Response` is selected too, because "
       "`Login_Logout/Authentication` is and the file is not of version 1.1\n"
       "  write `version: 1.1` as the first line, and name all components that you want\n"
       " warning[T206]: `Login_Logout/Receive_Request` is selected too, because "
       "`Login_Logout/Authentication` is and the file is not of version 1.1\n"
       "  write `version: 1.1` as the first line, and name all components that you want\n"},
      {"version: 1.2\nversion\ncomponents: Log\ndata: User\n",
       "1:10: warning[T205]: version `1.2` counts as no version\n"
       "  the versions are 1.0 and 1.1; write `version: 1.1`\n"
       "2:1: warning[T205]: the version has no value\n"
       "  the versions are 1.0 and 1.1; write `version: 1.1`\n"},
      {"version=1.1\n@",
       "1:1: error[T201]: the components line must stand here, and the file is refused\n"
       "  put a separator behind `version`: `version: 1.1`\n"},
      {"# nothing\n",
       " warning[T208]: there is no components line: nothing is traced\n"
       "  name components on the components line\n"
       " warning[T209]: there is no data line: records have no fields\n"
       "  name fields on the data line\n"},
      {"version: 1.1\ncomponents: Cleanup, isauthorized, IsAuthorised, Send_Response, Xyz\ndata: "
       "user, Usr, Xyzzy\n",
       "2:13: warning[T301]: no component is named `Cleanup`\n"
       "  did you mean `Session_Store/Cleanup`?\n"
       "2:22: warning[T301]: no component is named `isauthorized`\n"
       "  did you mean `IsAuthorized`?\n"
       "2:36: warning[T301]: no component is named `IsAuthorised`\n"
       "  did you mean `IsAuthorized`?\n"
       "2:50: warning[T301]: no component is named `Send_Response`\n"
       "  did you mean `Login_Logout/Send_Response`?\n"
       "2:65: warning[T301]: no component is named `Xyz`\n"
       "  there are `Log`, `IsAuthorized`, `Login_Logout`, `Session_Store`\n"
       "3:7: warning[T401]: no data field is named `user`\n"
       "  did you mean `User`?\n"
       "3:13: warning[T401]: no data field is named `Usr`\n"
       "  did you mean `User`?\n"
       "3:18: warning[T401]: no data field is named `Xyzzy`\n"
       "  wylogctl list fields shows them\n"
       " warning[T208]: no component is selected: nothing is traced\n"
       "  name components on the components line\n"
       " warning[T209]: no field is selected: records have no fields\n"
       "  name fields on the data line\n"},
      {"version: 1.1\ncomponents: Policy_Server, Policy_Servr, Session_Store/Clenup, "
       "Session_Store/Foo, User, Log\ndata: User, User, Log\n",
       "2:13: warning[T302]: the component `Policy_Server` is known, but not installed\n"
       "  nothing of it can be traced until libPolicy_Server.so is installed\n"
       "2:28: warning[T301]: no component is named `Policy_Servr`\n"
       "  did you mean `Policy_Server`? It is known, but not installed\n"
       "2:42: warning[T301]: `Session_Store` has no sub-component `Clenup`\n"
       "  did you mean `Session_Store/Cleanup`?\n"
       "2:64: warning[T301]: `Session_Store` has no sub-component `Foo`\n"
       "  `Session_Store` has `Session_Store/Cleanup`\n"
       "2:83: warning[T301]: `User` is a data field, not a component\n"
       "  name it on the data line\n"
       "3:13: warning[T402]: `User` is named twice: its first place counts\n"
       "  name it once\n"
       "3:19: warning[T401]: `Log` is a component, not a data field\n"
       "  name it on the components line\n"},
      {"version: 1.1\ncomponents: Xyz\ndata: Xyz\n",
       "2:13: warning[T301]: no component is named `Xyz`\n"
       "  there are `Log`, `IsAuthorized`, `Login_Logout`, `Session_Store`\n"
       "3:7: warning[T401]: no data field is named `Xyz`\n"
       "  wylogctl list fields shows them\n"
       " warning[T208]: no component is selected: nothing is traced\n"
       "  name components on the components line\n"
       " warning[T209]: no field is selected: records have no fields\n"
       "  name fields on the data line\n"},
      {"components: IsAuthorized,\n  Log\ndata: User\n",
       "2:3: error[T202]: the data line must stand here, and the file is refused\n"
       "  all components stand on one line\n"},
      {"version: 1.1\ncomponents: Log\ndata: User==bob\n",
       "3:7: warning[T401]: no data field is named `User==bob`\n"
       "  each filter stands on a line of its own\n"
       " warning[T209]: no field is selected: records have no fields\n"
       "  name fields on the data line\n"},
      {"Components: Log\ndata: User\n",
       "1:1: error[T201]: the components line must stand here, and the file is refused\n"
       "  did you mean `components`?\n"},
  };
  for (const Row& row : rows) {
    std::string strContent = row.strContent;
    const std::size_t uHead = strContent.find('@');
    const bool bHead = uHead == 0 || (uHead != std::string::npos && strContent[uHead - 1] == '\n' &&
                                      uHead + 1 == strContent.size());
    if (bHead) strContent.replace(uHead, 1, strHead);
    EXPECT_EQ(Check(strContent), row.strFindings) << strContent;
  }
}

TEST_F(Config, WhatTheReaderCutsIsFound) {
  const std::string strHead = "version: 1.1\ncomponents: Log\ndata: User";
  EXPECT_EQ(
      Check(strHead + std::string(8082, ' ') + "Time\n"),
      "3:8093: warning[T105]: the line is longer than 8092 bytes: what begins here is read as a "
      "line "
      "of its own\n  shorten the line\n"
      "3:8093: warning[T503]: no operator stands behind `Time` and one separator: the line filters "
      "nothing\n  the operators are ==, !=, @@ (contains) and !@ (does not)\n");
  EXPECT_EQ(Check(strHead + std::string(1, '\0') + ", Time\n"),
            "3:11: warning[T106]: a zero byte: what stands behind it on the line is not read\n"
            "  remove it\n");
}

struct Case {
  const char* pszArguments;
  int iExit;
  const char* pszOut;    // all of it
  const char* pszError;  // a part of it
};

TEST_F(Config, CommandsPrintAndEndAsTheTableSays) {
  m_folder.Write("t.conf",
                 "components: Login_Logout/Authentication, Session_Store\ndata: User, Message\n"
                 "User: ==alice\nMessage: !@debug\n");
  m_folder.Write("bad.conf", "data: User\n");
  m_folder.Write("t.log",
                 "[Date][User][Message]\n[====][====][=======]\n"
                 "[11/16/2026][alice][start]\n[11/16/2026][bob][a]\n");
  m_folder.Write("e.log", "[7/11][Mon Nov 16 2026 17:00:00][a][INFO] x\n");
  const std::vector<Case> cases = {
      {"check -o json bad.conf", 1,
       R"({"file":"bad.conf","line":1,"column":1,"length":4,"level":"error","code":"T201",)"
       R"("word":"data","text":"the components line must stand here, and the file is refused",)"
       R"("help":"put the components line before the data line"})"
       "\n",
       "errors: 1, warnings: 0"},
      {"check bad.conf", 1, "",
       "bad.conf:1:1: error[T201]: the components line must stand here, and the file is refused\n"
       "    1 | data: User\n      | ^^^^\n      = help: put the components line before the data "
       "line\n"},
      {"check -q t.conf", 1, "", ""},
      {"check -q --fail-on=error t.conf", 0, "", ""},
      {"check nowhere t.conf", 2, "", "nowhere: No such file or directory"},
      {"explain -o csv t.conf", 0,
       "line,what,name,width,effect\n"
       "1,component,Login_Logout/Authentication,,selected\n"
       "1,component,Session_Store,,selected\n"
       "1,component,Session_Store/Cleanup,,selected with `Session_Store`\n"
       "2,field,User,32,column 1\n"
       "2,field,Message,64,column 2\n"
       "3,filter,User,,keeps a record if User is exactly `alice`\n"
       "4,filter,Message,,keeps a record if Message does not contain `debug`\n"
       ",component,Login_Logout/Send_Response,,selected with `Login_Logout/Authentication`: the "
       "file is "
       "not of version 1.1\n"
       ",component,Login_Logout/Receive_Request,,selected with `Login_Logout/Authentication`: the "
       "file "
       "is not of version 1.1\n",
       "warnings: 2"},
      {"explain bad.conf", 1, "", "T201"},
      {"simulate t.conf --component Session_Store/Cleanup --set User=alice --set Message=hi", 0,
       "written: Session_Store/Cleanup is selected by line 1\n[alice][hi]\n", ""},
      {"simulate t.conf --component Session_Store --set User=bob --layout 3", 1,
       "dropped by line 3, which keeps a record if User is exactly `alice`\n<TraceMessage>\n"
       "\t<User>bob</User>\n\t<Message></Message>\n</TraceMessage>\n",
       "no value for Message: its filter is not asked"},
      {"simulate t.conf --component IsAuthorized --set User=alice --set Realm=x -o json", 1,
       "{\"verdict\":\"not traced\",\"record\":\"[alice][]\\n\"}\n",
       "Realm is not on the data line"},
      {"simulate t.conf --from t.log", 0,
       "written\n[alice][start]\n"
       "dropped by line 3, which keeps a record if User is exactly `alice`\n[bob][a]\n",
       "records: 1 dropped, 1 written"},
      {"simulate t.conf --from e.log", 2, "", "e.log: not a trace"},
      {"simulate t.conf --component Cleanup", 2, "", "did you mean `Session_Store/Cleanup`?"},
      {"simulate t.conf --component Log --set Usr=x", 2, "", "did you mean `User`?"},
      {"simulate t.conf --component Log --set User", 2, "", "--set User=VALUE"},
      {"simulate t.conf --set User=x", 2, "", "--component NAME"},
      {"simulate bad.conf --component Log", 2, "", "bad.conf is refused"},
  };
  for (const Case& entry : cases) {
    const ProgramResult result = Run(entry.pszArguments);
    EXPECT_EQ(result.iExit, entry.iExit) << entry.pszArguments << result.strError;
    EXPECT_EQ(result.strOut, entry.pszOut) << entry.pszArguments;
    EXPECT_NE(result.strError.find(entry.pszError), std::string::npos) << entry.pszArguments << "\n"
                                                                       << result.strError;
  }
  EXPECT_EQ(Run("check -q t.conf").strError, "");
}

// Without manifests only the libraries themselves know their sub-components.
TEST_F(Config, ComponentsComeFromTheLibrariesOnlyWhenAsked) {
  m_folder.Write(
      "t.conf",
      "version 1.1\ncomponents: IsAuthorized/Send_Response, IsAuthorized/Nothing\ndata: User\n");
  const std::string strRun = "\"$WYLOGCTL\" config check t.conf";
  const ProgramResult unknown = RunProgram(m_folder.Path(""), strRun);
  EXPECT_EQ(unknown.iExit, 0);
  EXPECT_NE(unknown.strError.find("names of components are not checked"), std::string::npos);
  const ProgramResult loaded =
      RunProgram(m_folder.Path(""), "ORVA_WA_ROOT='" COMPONENTS_ROOT "' " + strRun + " --load");
  EXPECT_EQ(loaded.iExit, 1);
  EXPECT_NE(loaded.strError.find("`IsAuthorized` has no sub-component `Nothing`"),
            std::string::npos)
      << loaded.strError;
  EXPECT_EQ(loaded.strError.find("Send_Response: "), std::string::npos);
  const std::string strList =
      RunProgram(m_folder.Path(""), "ORVA_WA_ROOT='" COMPONENTS_ROOT
                                    "' \"$WYLOGCTL\" list components -o csv --load "
                                    "--messages .")
          .strOut;
  EXPECT_NE(strList.find("IsAuthorized/Send_Response,,,loaded\n"), std::string::npos) << strList;
}

}  // namespace
