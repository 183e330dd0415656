#include "frame/ValueWriter.h"

#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/ValueReader.h"

namespace rykel {

TEST(ValueWriter, EveryTypeRoundTripsAndTruncationIsAnError) {
  ValueWriter w;
  std::string big(300, 'x');
  std::vector<Variant> values = {Variant(),
                                 Variant::Null(),
                                 Variant(static_cast<int16_t>(-7)),
                                 Variant(123456),
                                 Variant(1.5f),
                                 Variant(-2.25),
                                 Variant::Currency(15000),
                                 Variant::Date(45000.5),
                                 Variant("Grüße"),
                                 Variant(big),
                                 Variant(true),
                                 Variant(false),
                                 Variant("")};
  for (const auto& v : values) w.Write(v);
  ValueReader r(w.Data());
  for (const auto& v : values) {
    Variant got = r.Read();
    EXPECT_EQ(std::pair(got.type(), CStr(got)), std::pair(v.type(), CStr(v)));
  }
  EXPECT_TRUE(r.AtEnd());

  // Every cut inside the data raises instead of reading past the end.
  for (size_t cut = 1; cut < w.Data().size(); ++cut) {
    ValueReader part(std::string_view(w.Data()).substr(0, cut));
    try {
      while (true) part.Read();
    } catch (const Error& e) { EXPECT_TRUE(e.number == err::kInputPastEnd) << cut; }
  }
  ValueReader bad("\x2A");
  EXPECT_THROW(bad.Read(), Error);
  const std::string longWithoutString("\x03\x01\x00\x00\x00", 5);  // the reader keeps a view of it
  ValueReader notString(longWithoutString);
  EXPECT_THROW(notString.ReadStringView(), Error);
  EXPECT_THROW(w.Write(Variant(ObjectPtr())), Error);
}

}  // namespace rykel
