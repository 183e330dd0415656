#include "frame/Error.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "frame/Notifier.h"

namespace rykel {

namespace {
// Installs a policy for one test and restores the default afterwards.
struct PolicyScope {
  explicit PolicyScope(ErrorPolicy p) { SetErrorPolicy(std::move(p)); }
  ~PolicyScope() { SetErrorPolicy({}); }
};
}  // namespace

TEST(Error, GuardRaisesOnceWithTheOuterSourceUnchanged) {
  int asked = 0;
  PolicyScope scope([&](const ErrorContext& c) {
    ++asked;
    EXPECT_EQ(c.project, "KEL");
    return kDecisionRaise;
  });
  try {
    Guard("cls_Outer", "OUTER", [] {
      return Guard("cls_Inner", "ITEM.LET", []() -> int { Raise(err::kOutOfRange, "Subscript out of range"); });
    });
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(std::tuple(e.number, e.source, e.description),
              std::tuple(9, "cls_Inner.ITEM.LET", "Subscript out of range"));
  }
  EXPECT_EQ(asked, 1);  // handled where it happened, passed on unchanged
}

TEST(Error, ContinueGivesTheFallbackAndRetryRunsAgain) {
  {
    PolicyScope scope([](const ErrorContext&) { return kDecisionContinue; });
    EXPECT_EQ(Guard(
                  "m", "op", []() -> int { Raise(5, "bad"); }, 42),
              42);
    EXPECT_EQ(Guard("m", "op", []() -> std::string { throw std::bad_alloc(); }), "");
  }
  {
    int runs = 0;
    PolicyScope scope([](const ErrorContext&) { return kDecisionRetry; });
    EXPECT_EQ(Guard("m", "op",
                    [&] {
                      if (++runs < 3) Raise(57, "Device I/O error");
                      return runs;
                    }),
              3);
    // a policy that always retries is not allowed to loop forever
    runs = 0;
    EXPECT_THROW(Guard("m", "op",
                       [&]() -> int {
                         ++runs;
                         Raise(57, "again");
                       }),
                 Error);
    EXPECT_EQ(runs, kMaxRetries + 1);
  }
}

TEST(Error, GermanTextsByKindOfError) {
  Error file(53, "File not found"), arg(5, "Invalid procedure call"), other(13, "Type mismatch");
  const std::pair<Error, const char*> framed[] = {
      {file, "Dateizugriff fehlgeschlagen (File not found)"},
      {Error(7, "Out of memory"), "Nicht genügend freier Arbeitsspeicher (Out of memory)"},
      {arg, "Ungültiger Parameter (Invalid procedure call)"},
      {other, "Unbehandelter Fehler #13: Type mismatch"},
      {Error(1000, "Serialized data invalid"), "Serialized data invalid"}};
  for (const auto& [error, text] : framed) EXPECT_EQ(hErrorFramed(error), text) << error.number;
  EXPECT_EQ(hErrorLine(arg, "KEL", "mdl_Global", "hCBool"),
            "Fehler: #5 - Invalid procedure call @ KEL.mdl_Global.hCBool");
  ErrorDialog fd = hErrorDialog(file, "KEL", "cls_DB", "DBSAVE");
  EXPECT_EQ(fd.caption, "Datei-Fehler!");
  EXPECT_TRUE(fd.text.starts_with("Es ist ein Fehler beim Zugriff auf eine Datei aufgetreten: ") &&
              fd.text.find("Anwendung: KEL\r\nModul: cls_DB\r\nProzedur: DBSAVE\r\n") != std::string::npos &&
              fd.text.ends_with("Wie möchten Sie fortfahren?"))
      << fd.text;
  ErrorDialog pd = hErrorDialog(other, "KEL", "cls_X", "OP");
  EXPECT_TRUE(pd.caption == "Programmfehler!" && pd.text.find("Fehlernummer: #13") != std::string::npos) << pd.text;
}

TEST(Error, DialogPolicyMapsTheAnswers) {
  std::string answer;
  std::vector<std::string> captions;
  SetNotifier([&](const Notification& n) {
    captions.push_back(n.caption);
    EXPECT_EQ(n.buttons, captions.size() == 1 ? "AbortRetryIgnore" : "YesNo");
    return captions.size() == 1 ? answer : std::string("No");
  });
  ErrorContext ctx{Error(13, "Type mismatch"), "KEL", "cls_X", "OP"};
  // "Abort", then "No" to "really end?": the error is raised
  for (const auto& [given, decision] :
       {std::pair{"Retry", kDecisionRetry}, {"Ignore", kDecisionContinue}, {"Abort", kDecisionRaise}}) {
    captions.clear();
    answer = given;
    EXPECT_EQ(DialogErrorPolicy(ctx), decision) << given;
  }
  ASSERT_EQ(captions.size(), 2u);
  EXPECT_EQ(captions[1], "ACHTUNG: Wirklich beenden?");
  SetNotifier({});
}

TEST(Error, InformationGoesToTheLogThatIsOffByDefault) {
  // Headless, a notice is not an error: "Later" and the like print only with RYKEL_LOG=info,
  // critical ones always (unless RYKEL_QUIET); a host's notifier gets both.
  const char* quiet = std::getenv("RYKEL_QUIET");
  std::string savedQuiet = quiet ? quiet : "";
  unsetenv("RYKEL_QUIET");
  struct Case {
    const char* log;
    const char* icon;
    std::string printed;
  } cases[] = {
      {nullptr, "Information", ""},
      {"debug", "Information", ""},
      {"INFO", "Information", "[KEL] Later\n"},
      {nullptr, "Critical", "[KEL] Later\n"},
  };
  for (const auto& c : cases) {
    if (c.log) setenv("RYKEL_LOG", c.log, 1);
    else unsetenv("RYKEL_LOG");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Notify({"KEL", "Later", "OK", c.icon}), "OK");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.printed) << (c.log ? c.log : "-") << c.icon;
  }
  unsetenv("RYKEL_LOG");
  std::vector<std::string> seen;
  SetNotifier([&](const Notification& n) {
    seen.push_back(n.text);
    return std::string("OK");
  });
  Notify({"KEL", "Later", "OK", "Information"});
  SetNotifier({});
  EXPECT_EQ(seen, std::vector<std::string>{"Later"});
  if (quiet) setenv("RYKEL_QUIET", savedQuiet.c_str(), 1);
}

}  // namespace rykel
