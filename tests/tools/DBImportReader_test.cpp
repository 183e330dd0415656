// The CSV reader on records that the whole-line path cuts and on those it leaves to the general
// one: every row's line, its values and its problems must come out the same either way.
#include "tools/DBImportReader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "../CaseTable.h"
#include "TestSupport.h"

namespace rykel {
namespace {

// "line:v1|v2;" per row, "line!message;" per bad row.
std::string hRead(const TempDir& dir, const std::string& pBytes) {
  std::ofstream(dir / "in.csv", std::ios::binary) << pBytes;
  DBImportReader reader(dir / "in.csv", {});
  std::string out;
  reader.Read(
      [&](int64_t line, std::vector<std::string>& values) {
        out += std::to_string(line) + ":";
        for (size_t i = 0; i < values.size(); ++i) out += (i ? "|" : "") + values[i];
        out += ";";
      },
      [&](int64_t line, const std::string& message) { out += std::to_string(line) + "!" + message + ";"; });
  return out;
}

TEST(DBImportReader, CutsLinesAsTheGeneralReaderDoes) {
  const std::string utf8 = "invalid UTF-8 (is the file cp1252? try --encoding cp1252)";
  const std::string ragged = "expected 3 values, found ";
  const Case<std::string> cases[] = {
      {"a,b,c\n1,2,3\n", "2:1|2|3;"},
      {"a,b,c\r\n1,2,3\r\n\r\n4,5,6", "2:1|2|3;4:4|5|6;"},
      {"a,b,c\n,,\n1,,\n", "2:||;3:1||;"},
      {"a,b,c\rx,y,z\r1,2,3\n", "2:x|y|z;3:1|2|3;"},
      {"a,b,c\n1\r2,3,4\n", "2!" + ragged + "1;3:2|3|4;"},
      {"a,b,c\nabcdefgh,ijklmnopq,r\nabcdefg,,12345678\n", "2:abcdefgh|ijklmnopq|r;3:abcdefg||12345678;"},
      {"a,b,c\n1234567,12345678,123456789012345678\n", "2:1234567|12345678|123456789012345678;"},
      {"a,b,c\nMüller,Straße 12345,x\n", "2:Müller|Straße 12345|x;"},
      {"a,b,c\nabcdefgh\xe4,x,y\n", "2!" + utf8 + ";"},
      {"a,b,c\nx,y,abcdefghijklmno\xe4\n", "2!" + utf8 + ";"},
      {"a,b,c\n\"q,1\",2,3\nx,y\"z,1\n4,5,6\n",
       "2:q,1|2|3;3!a quote inside an unquoted value (quote the whole value "
       "and write the quote \"\");4:4|5|6;"},
      {"a,b,c\n\"two\nlines\",2,3\n4,5,6\n", "2:two\nlines|2|3;4:4|5|6;"},
  };
  TempDir dir;
  ForEachRow(cases, [&](const auto& c) { EXPECT_EQ(hRead(dir, c.name), c.want); });
  // a record that crosses the reader's 1 MiB buffer is cut the same
  std::string wide(1 << 20, 'x');
  EXPECT_EQ(hRead(dir, "a,b,c\n" + wide + ",2,3\n4,5,6\n"), "2:" + wide + "|2|3;3:4|5|6;");
}

}  // namespace
}  // namespace rykel
