// Summaries of a store's entries: the filter choices of a field with the number of entries each
// one keeps, and counts, sums and ranges of fields, optionally per value of a grouping field.
// Both return structures so that templates, the program and hosts read them alike.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBStats {

using IdList = cls_DBStore::IdList;

// The filter choices of pField (as FIELDFILTERVALUESADVANCED gives them, in its order) counted
// over pList (every entry when none): a list of {LABEL, CONDITION, COUNT}, COUNT a whole number.
// Unknown field: an empty list.
StructurePtr FIELDFACETS(cls_DBStore& rDB, const Variant& pField, const std::optional<IdList>& pList = std::nullopt);

// Counts and ranges over pList (every entry when none). pFields names the fields to summarise
// (none: every number and date field). The result is a list of groups {VALUE, COUNT, FIELDS}:
// one group without VALUE when pGroupBy is "", else one per display text of pGroupBy, the largest
// group first (equal sizes by text), as the DB module's GROUP orders them. FIELDS maps each field
// ID to {COUNT} (entries with a value), and for number fields MIN, MAX, SUM, MEAN as numbers, for
// date fields MIN, MAX, MEAN as dates (a sum of dates means nothing). A field without values has
// COUNT 0 and nothing else. Unknown fields are the caller's to reject.
StructurePtr ENTRYSTATS(cls_DBStore& rDB, const std::vector<std::string>& pFields, const std::string& pGroupBy = "",
                        const std::optional<IdList>& pList = std::nullopt);

}  // namespace rykel::mdl_DBStats
