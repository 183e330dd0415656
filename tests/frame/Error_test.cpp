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
    EXPECT_EQ(e.number, 9);
    EXPECT_EQ(e.source, "cls_Inner.ITEM.LET");
    EXPECT_EQ(e.description, "Subscript out of range");
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
  Error file(53, "File not found");
  Error mem(7, "Out of memory");
  Error arg(5, "Invalid procedure call");
  Error other(13, "Type mismatch");
  Error own(1000, "Serialized data invalid");
  EXPECT_EQ(hErrorFramed(file), "Dateizugriff fehlgeschlagen (File not found)");
  EXPECT_EQ(hErrorFramed(mem), "Nicht genügend freier Arbeitsspeicher (Out of memory)");
  EXPECT_EQ(hErrorFramed(arg), "Ungültiger Parameter (Invalid procedure call)");
  EXPECT_EQ(hErrorFramed(other), "Unbehandelter Fehler #13: Type mismatch");
  EXPECT_EQ(hErrorFramed(own), "Serialized data invalid");
  EXPECT_EQ(hErrorLine(arg, "KEL", "mdl_Global", "hCBool"),
            "Fehler: #5 - Invalid procedure call @ KEL.mdl_Global.hCBool");
  ErrorDialog fd = hErrorDialog(file, "KEL", "cls_DB", "DBSAVE");
  EXPECT_EQ(fd.caption, "Datei-Fehler!");
  EXPECT_EQ(fd.text.rfind("Es ist ein Fehler beim Zugriff auf eine Datei aufgetreten: ", 0), 0u);
  EXPECT_NE(fd.text.find("Anwendung: KEL\r\nModul: cls_DB\r\nProzedur: DBSAVE\r\n"), std::string::npos);
  EXPECT_TRUE(fd.text.ends_with("Wie möchten Sie fortfahren?"));
  ErrorDialog pd = hErrorDialog(other, "KEL", "cls_X", "OP");
  EXPECT_EQ(pd.caption, "Programmfehler!");
  EXPECT_NE(pd.text.find("Fehlernummer: #13"), std::string::npos);
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
  answer = "Retry";
  EXPECT_EQ(DialogErrorPolicy(ctx), kDecisionRetry);
  captions.clear();
  answer = "Ignore";
  EXPECT_EQ(DialogErrorPolicy(ctx), kDecisionContinue);
  captions.clear();
  answer = "Abort";  // then "No" to "really end?": the error is raised
  EXPECT_EQ(DialogErrorPolicy(ctx), kDecisionRaise);
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
