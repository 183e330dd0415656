#include "frame/Convert.h"

#include <gtest/gtest.h>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Variant.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

namespace rykel {

TEST(Variant, CopiesShareTextAndKeepTypes) {
  static_assert(sizeof(Variant) == 16);
  Variant a("Grüße");
  Variant b = a;
  EXPECT_EQ(a.str().data(), b.str().data());  // shared, not copied
  Variant c = std::move(b);
  EXPECT_TRUE(b.isEmpty());
  EXPECT_EQ(c.str(), "Grüße");
  EXPECT_EQ(std::tuple(Variant(int16_t{3}).type(), Variant(3).type(), Variant(5000000000LL).type()),
            std::tuple(VarType::Integer, VarType::Long, VarType::Double));
  EXPECT_EQ(std::tuple(Variant(true).vartype(), Variant::Null().vartype()), std::tuple(11, 1));
  c = a;
  c = c;  // self-assignment keeps the value
  EXPECT_EQ(c.str(), "Grüße");
}

TEST(Convert, TextOfValues) {
  auto when = [](const char* pIso) {
    double d = 0;
    EXPECT_TRUE(date::Parse(pIso, d)) << pIso;
    return Variant::Date(d);
  };
  const struct {
    const char* name;  // the text
    Variant value;
  } rows[] = {
      {"", Variant()},
      {"True", true},
      {"False", false},
      {"1.5", 1.5},
      {"-3", -3.0},
      {"0.3", 0.1 + 0.2},  // 15 significant digits
      {"1E+20", 1e20},
      {"123456789012345", 123456789012345.0},
      {"0.00001", 0.00001},
      {"1E-06", 0.000001},
      {"2.5", 2.5f},
      {"-1.2345", Variant::Currency(-12345)},
      {"2", Variant::Currency(20000)},
      {"29.02.2024 10:05:09", when("2024-02-29 10:05:09")},
      {"29.02.2024", when("2024-02-29")},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(CStr(r.value), r.name); });
}

TEST(Convert, NumbersFromTextAcceptCommaOrPoint) {
  const struct {
    const char* name;  // what is read
    Variant value;
    double want;
  } rows[] = {
      {"1,5", "1,5", 1.5},
      {" 1.5 ", " 1.5 ", 1.5},
      {"1.234,5", "1.234,5", 1234.5},
      {"1,234.5", "1,234.5", 1234.5},
      {"-2e3", "-2e3", -2000},
      {"&HFF", "&HFF", 255},
      {"True", true, -1},
      {"Empty", Variant(), 0},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_DOUBLE_EQ(CDbl(r.value), r.want); });
  for (const char* bad : {"", "abc", "1.2.3x", "--1", "1e", ",", "1 2"}) {
    EXPECT_FALSE(IsNumeric(Variant(bad))) << bad;
    EXPECT_EQ(FailureNumber([&] { CDbl(Variant(bad)); }), err::kTypeMismatch) << bad;
  }
  EXPECT_TRUE(IsNumeric(Variant()) && !IsNumeric(Variant::Null()));  // as the classic runtime says
}

TEST(Convert, WholeNumbersRoundHalfToEvenAndOverflow) {
  EXPECT_EQ(std::tuple(CLng(Variant(2.5)), CLng(Variant(3.5)), CLng(Variant(-2.5)), CInt(Variant("32767")),
                       CCur(Variant(1.23456))),
            std::tuple(2, 4, -2, 32767, 12346));
  EXPECT_THROW(CInt(Variant(32768)), Error);
  EXPECT_THROW(CLng(Variant(3e9)), Error);
  EXPECT_THROW(CLng(Variant::Null()), Error);
}

TEST(Convert, TruthAndDates) {
  EXPECT_EQ(
      (std::vector<bool>{CBool(Variant("true")), CBool(Variant("False")), CBool(Variant("-1")), CBool(Variant(0.0))}),
      (std::vector<bool>{true, false, true, false}));
  EXPECT_THROW(CBool(Variant("ja")), Error);
  double d;
  ASSERT_TRUE(date::Parse("1.3.2024", d));
  EXPECT_EQ(std::tuple(CDate(Variant("2024-03-01")), CDate(Variant(45000))), std::tuple(d, 45000.0));
  EXPECT_THROW(CDate(Variant("morgen")), Error);
}

TEST(DateTime, ReadsItsFormsAndRejectsOthers) {
  double d;
  const std::pair<const char*, double> good[] = {{"1899-12-30", 0},
                                                 {"2000-01-01 12:00:00", 36526.5},
                                                 {"31.12.1999 23:59", 36525 + 1439.0 / 1440},
                                                 {"12:30", 0.5 + 1.0 / 48}};
  for (const auto& [text, want] : good) {
    EXPECT_TRUE(date::Parse(text, d)) << text;
    EXPECT_DOUBLE_EQ(d, want) << text;
  }
  for (const char* bad : {"2024-02-30", "2023-02-29", "1.5", "2024-13-01", "32.1.2024", "2024-01-01 24:00", "12:61",
                          "2024-1-1x", "", "1.1.24"})
    EXPECT_FALSE(date::Parse(bad, d)) << bad;
  EXPECT_TRUE(date::Parse("2024-02-29", d));
}

TEST(DateTime, FormatsAndRoundTripsBefore1900) {
  double d;
  ASSERT_TRUE(date::Parse("2024-03-05 07:08:09", d));
  EXPECT_EQ(date::ToIso(d), "2024-03-05 07:08:09");
  for (const auto& [format, want] : {std::pair{"dd.mm.yyyy HH:MM", "05.03.2024 07:08"},
                                     {"d. mmmm yyyy, dddd", "5. März 2024, Dienstag"},
                                     {"yy/m/d h:n:s", "24/3/5 7:8:9"},
                                     {"\"Jahr\" yyyy", "Jahr 2024"}})
    EXPECT_EQ(date::Format(d, format), want);
  // before 1899-12-30 the whole part is negative and the time still counts forward
  ASSERT_TRUE(date::Parse("1899-12-29 06:00:00", d));
  EXPECT_EQ(std::tuple(d, date::ToIso(d)), std::tuple(-1.25, "1899-12-29 06:00:00"));
  ASSERT_TRUE(date::Parse("0100-01-01", d));
  EXPECT_EQ(date::ToIso(d), "0100-01-01 00:00:00");
}

}  // namespace rykel
