// mdl_DBQuery: queries, filters and sorting over a database store. Each function works on the
// store it is given and keeps nothing of its own; cls_DB offers them as its members. They take
// the index fast path where they can and otherwise scan the store's value columns.
//
// Errors follow the common convention (Guard / ERRHANDLE) under the source "cls_DB.<function>".
// Ids in a given list that name no entry are left out of every result.
//
//   auto ids = mdl_DBQuery::ENTRYQUERY(store, "CITY", "=", "Berlin");
//   ids = mdl_DBQuery::ENTRYSORTADVANCED(store, "NAME", false, "", ids);
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBQuery {

using IdList = cls_DBStore::IdList;

// ---- queries ---------------------------------------------------------------------------------
// Every id in table order; with pSortBy ordered by that field ("&" prefix: by display text).
IdList ENTRYALL(cls_DBStore& rDB, const std::string& pSortBy = "", bool pSortRev = false);
// Ids of the entries (of pList, in its order) whose values' text holds the search: words and
// "quoted phrases" must all occur; "|", " OR ", " ODER " separate alternatives; "(" ")" group;
// "-" excludes; "^" anchors a term to the start of a value. Case-blind. Raises 5 for groups
// nested deeper than 32.
IdList ENTRYSEARCH(cls_DBStore& rDB, const std::string& pSearch, const std::optional<IdList>& pList = std::nullopt);
// Ids of the entries (of pList, in its order) whose value of pField (name or 1-based number)
// meets the condition pOp + pValue (the condition language: docs/API.md). An unknown operator
// matches nothing; an unknown field compares as empty text. Never sorts.
IdList ENTRYQUERY(cls_DBStore& rDB, const Variant& pField, const std::string& pOp, const Variant& pValue,
                  const std::optional<IdList>& pList = std::nullopt);

// ---- filters ---------------------------------------------------------------------------------
// ENTRYFILTERADVANCED without a second sort field.
IdList ENTRYFILTER(cls_DBStore& rDB, const Variant& pView, const StructurePtr& pFilters, const std::string& pSort = "",
                   bool pSortRev = false, const std::optional<IdList>& pList = std::nullopt);
// Applies the view's filter items and then pFilters (items keyed by field, values condition
// texts; "MODE" "AND" narrows, "OR" merges without doubles), then sorts. Sort fields left empty
// come from the view. An unknown view filters nothing and sorts by the given fields only.
IdList ENTRYFILTERADVANCED(cls_DBStore& rDB, const Variant& pView, const std::string& pSortField,
                           const std::string& pSortField2, bool pSortRev2, const StructurePtr& pFilters,
                           const std::optional<IdList>& pList = std::nullopt, bool pSortRev = false);
// One condition matching what either of two conditions on one field matches ("IN a,b",
// "CONTAINSONE a,b"), or "" when the pair cannot be merged.
std::string FILTERCOMBINE(const std::string& pFilter1, const std::string& pFilter2);
// FIELDFILTERVALUESADVANCED with default settings.
StructurePtr FIELDFILTERVALUES(cls_DBStore& rDB, const Variant& pField,
                               const std::optional<IdList>& pList = std::nullopt);
// Filter choices for a field: items label -> condition text. Settings: "SORT" (labels in
// order, case-blind), "SHOW.USAGE" (label + " (" + count + ")"), "LIST" (a structure of field ID
// -> mark: a field marked "_DEFAULT_" offers its plain values whatever its type, unless its name
// selects choices of its own).
// Unknown field: an empty structure.
StructurePtr FIELDFILTERVALUESADVANCED(cls_DBStore& rDB, const Variant& pField,
                                       const std::optional<IdList>& pList = std::nullopt,
                                       const StructurePtr& pSettings = nullptr);
// The choices FIELDFILTERVALUESADVANCED offers (its "SORT" setting applied, never "SHOW.USAGE"),
// in order and with the labels as written: pairs label, condition. Unknown field: none.
std::vector<std::pair<std::string, std::string>> FIELDFILTERCHOICES(cls_DBStore& rDB, const Variant& pField,
                                                                    const std::optional<IdList>& pList = std::nullopt,
                                                                    const StructurePtr& pSettings = nullptr);
// How many entries of the list meet the condition; at 0 the notifier is told so.
int32_t FIELDFILTERCOUNT(cls_DBStore& rDB, const Variant& pField, const std::string& pCondition,
                         const std::optional<IdList>& pList = std::nullopt);
// Chooses a field: the store's chooser (FIELDCHOOSER_SET; title "Datenfeld auswählen", the field
// names, the preselected name) decides; without one the preselected field's name ("" when absent).
std::string FIELDSELECT(cls_DBStore& rDB, const std::string& pPreselect = "");

// ---- sorting ---------------------------------------------------------------------------------
// ENTRYSORTADVANCED with one field; pBase empty sorts every entry.
IdList ENTRYSORT(cls_DBStore& rDB, const std::string& pField, bool pRev = false, const IdList& pBase = {});
// Orders the list (every entry when none) by the fields' sort texts: pField, then pFieldSecond.
// A name led by "&" sorts by display text. Equal keys keep their order. Under a descending first
// field the second still runs its own direction.
IdList ENTRYSORTADVANCED(cls_DBStore& rDB, const std::string& pField, bool pRev = false,
                         const std::string& pFieldSecond = "", const std::optional<IdList>& pList = std::nullopt,
                         bool pRevSecond = false);
// Whether ENTRYSORTSTREAM can give that order (the fields alone decide).
bool ENTRYSORTSTREAMS(cls_DBStore& rDB, const std::string& pField, const std::string& pFieldSecond);
// Every entry of a database opened with "STREAM" in the order ENTRYSORTADVANCED gives them (the
// same keys and rule), as the places of their records for ENTRYCURSOR: one pass over the file
// that keeps only the sort texts and the places. nullopt where that sort needs the entries at
// hand: a database not streamed, no or an unknown field, "&", an indexed field sorted alone.
std::optional<std::vector<cls_DBStore::RecordSpan>> ENTRYSORTSTREAM(cls_DBStore& rDB, const std::string& pField,
                                                                    bool pRev, const std::string& pFieldSecond = "",
                                                                    bool pRevSecond = false);

}  // namespace rykel::mdl_DBQuery
