// Table-driven tests: a static array of rows, one case a row, checked by one loop. Every check
// made for a row runs inside a trace that names the row ("row 7: == 5"), so a failure says which
// case broke without a debugger.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <source_location>

namespace rykel {

// The plainest row: the input, which names the row, and what it should give.
template <class Want>
struct Case {
  const char* name;
  Want want;
};

// Calls pCheck(row) for each row of pRows; a row names itself by its member `name`. The trace
// points at the caller's line, in the test that holds the table.
template <class Row, size_t N, class Check>
void ForEachRow(const Row (&pRows)[N], Check&& pCheck, std::source_location pWhere = std::source_location::current()) {
  for (size_t i = 0; i < N; ++i) {
    testing::ScopedTrace trace(pWhere.file_name(), static_cast<int>(pWhere.line()),
                               testing::Message() << "row " << i + 1 << ": " << pRows[i].name);
    pCheck(pRows[i]);
  }
}

}  // namespace rykel
