// DBViewQuery: the part of a database a browser request asks for, read from its parameters:
//   f.FIELD=TEXT      a condition typed into the filter input of FIELD (a plain value must equal
//                     the field's value, case-blind; "BEGINS m", ">= 10", "[] 1 5" as the
//                     condition language reads them); the JSON API also takes filter=FIELD=TEXT
//   c.FIELD=COND      a facet choice: the library's own condition text, used as it is
//   search=TEXT       entries whose text holds TEXT (words, "phrases", a | b, -word, ^start)
//   sort=FIELD        ordered by that field's sort text; desc=1 descending
//   page=N, size=N    the N-th page (from 1) of size entries (1 to kMaxPageSize, default 50)
//   facet=FIELD       a field whose facets the sidebar shows besides the default ones
// Every condition narrows the list (they all must hold). Unknown fields, conditions that cannot
// match as meant and numbers out of bounds are refused with WebFailure 400.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/cls_DB.h"
#include "web/WebExchange.h"
#include "web/WebFailure.h"

namespace rykel {

struct DBViewQuery {
  static constexpr int32_t kDefaultPageSize = 50;
  static constexpr int32_t kMaxPageSize = 500;

  std::vector<std::pair<std::string, std::string>> typed;   // field ID, text as typed
  std::vector<std::pair<std::string, std::string>> chosen;  // field ID, facet condition
  std::vector<std::string> facets;                          // field IDs asked for
  std::string search, sort;
  bool desc = false;
  int32_t page = 1, size = kDefaultPageSize;

  // Reads the parameters against the database's fields (names, IDs or numbers become field IDs).
  static DBViewQuery Read(const WebRequest& pRequest, const cls_DB& pDB);

  // Whether a condition or a search narrows the entries (else the query keeps every one).
  bool Narrows() const { return !typed.empty() || !chosen.empty() || !search.empty(); }
  // The ids of the entries the query keeps, sorted.
  cls_DB::IdList Ids(cls_DB& rDB) const;
  // The condition on a field ("" when none): the facet choice, else the typed text as read.
  std::string ConditionOf(const std::string& pField) const;

  // The parameters of this query after pChange (name, value), and as a query string ("?..." or
  // ""), for links and forms that keep the view.
  std::vector<std::pair<std::string, std::string>> Params(const std::function<void(DBViewQuery&)>& pChange = {}) const;
  std::string Link(const std::function<void(DBViewQuery&)>& pChange = {}) const;
  // The same text for queries that keep the same entries (conditions and search; not sort or page),
  // and for those that keep them in the same order too (and sort).
  std::string Key() const;
  std::string OrderKey() const;
  // The ids of one page of a list (empty past the end).
  cls_DB::IdList Page(const cls_DB::IdList& pAll) const;
};

}  // namespace rykel
