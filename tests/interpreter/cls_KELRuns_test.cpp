// The interpreter answers runs of kept commands (variables, IFs between plain texts) without
// running them, and runs conditions, SWITCH and CASE values from their kept form: each page must
// give what running every command would give, with the same errors and the same command count,
// also where a bound, a changed variable or a result holding a brace ends a run.
#include "interpreter/cls_KEL.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/Convert.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

TEST(cls_KELRuns, PagesGiveWhatRunningEachCommandGives) {
  struct Case {
    const char* setting;  // set to value before the page ("" for none)
    int value;
    const char* page;
    const char* out;
    int errors;
    double calls;
  };
  const Case cases[] = {
      {"", 0, "{VAR:x}{VAR:x}{VAR x 2}{VAR:x}{VAR:x}", "1122", 0, 5},
      {"", 0, "{VAR:y}{VAR:br}{VAR:y}|{VAR:br}", "zzz|z", 0, 6},
      {"SYS.STEPS.MAX", 3, "{VAR:x}{VAR:x}{VAR:x}{VAR:x}{VAR:x}",
       "111ERR:---Step limit reached: more than 3 steps (SYS.STEPS.MAX)---", 1, 4},
      {"SYS.OUTPUT.MAX", 12, "<{VAR:long}><{VAR:long}><{VAR:long}>",
       "<abcdef><ERR:---Output too large: more than 12 bytes (SYS.OUTPUT.MAX)---", 1, 2},
      {"SYS.COMMANDS.MAX", 2, "{VAR:x}{VAR:x}{VAR:x}", "ERR:---Not parseable: (VAR:x)---", 1, 2},
      {"SYS.NESTING.MAX", 1, "{IF (1) {a{VAR:x}{IF (on) {b} {c}}}}", "ERR:---Nesting too deep: more than 1 levels---",
       1, 1},
      {"", 0, "{VAR:x}{IF (off) {a}}{ELSE {b}}{IF (on) {c} {d}}{ELSEIF (1) {e}}{ELSE {f}}", "1bc", 0, 6},
      {"", 0, "{IF (off) {a} {b}}{ELSE {c}}{IF (off) {a}}{VAR:x}{ELSE {c}}", "b1ERR:---ELSE without IF: ELSE (c)---", 1,
       5},
      {"", 0, "{VAR:row.a}{VAR:row.b}{IF (row.on) {+} {-}}{STRUCT row A=3 ON=0}{VAR:row.a}{IF (row.on) {+} {-}}",
       "12+3-", 0, 6},
      {"", 0, "{IF (x = 1) {one}}{IF (y = z) {yz}}{IF (TRUE && on) {t}}{IF (missing) {m}}{IF ((x + 1) * 2 = 4) {four}}",
       "oneyztmfour", 0, 5},
      {"", 0, "{IF (n := x + 4) {[{VAR:n}]}}{IF (x - -5 = 6) {s}}{IF (x = \"{VAR:x}\") {q}}{IF (#FFFFFFFFFF) {h}}",
       "[5]sqERR:---Could not execute: IF (#FFFFFFFFFF) (h)---", 1, 6},
      {"", 0, "{FOR i 1 4 1 {{IF (i < 2) {a}}{ELSEIF (i = 2) {b}}{ELSE {c}}}}", "abcc", 0, 13},
      {"", 0, "{FOR i 1 4 1 {{SWITCH (i) {{CASE 1 {one}}{CASE '2' {two}}{DEFAULT {d}}}}}}|{SWITCH (y) {{CASE z {zz}}}}",
       "onetwodd|zz", 0, 19},
      {"", 0, "{SWITCH (x) {{CASE 1 {{VAR:br}}}}}{SWITCH x}{CASE 1 {loose}}{DEFAULT {no}}", "zloose", 0, 7},
      // the loop variables removed in each round: the next round binds them in new slots
      {"", 0,
       "{ITERATE r VAR:row {[{VAR:r_key}={VAR:r}:{VAR:r_index}]{DISPOSE r_key r r_index}{VAR w (w + r)}}}{VAR:w}",
       "[A=1:1][B=2:2][ON=1:3]0rrr", 0, 18},
      // CASE and DEFAULT with plain blocks, beside ones that must run (a block with a command, a
      // wrong count), nested and loose
      {"", 0,
       "{SWITCH (x) {{DEFAULT {d}}{CASE 1 {one}}{DEFAULT {e}}}}{SWITCH 1.0 {{CASE '1' {n}}{CASE x {x}}}}"
       "{SWITCH y {{CASE 1 {a} {b}}{CASE z {{VAR:y}}}{CASE z {again}}}}",
       "dnERR:---CASE requires 2 parameters, 3 were given!: CASE 1 (a) (b)---z", 1, 12},
      {"", 0,
       "{SWITCH (y) {{CASE 'Z' {upper}}{CASE z {{SWITCH (x) {{CASE 2 {two}}{DEFAULT {in}}}}}}{DEFAULT {out}}}}"
       "{SWITCH x}{CASE 2 {a}}{DEFAULT}{CASE 1 {b}}{DEFAULT {c}}",
       "inb", 0, 12},
      // an ELSE reads the chain record once, whether the IF before it ran or was answered
      {"", 0,
       "{IF (x = 2) {a}}{ELSE {b}}{ELSE {c}}{IF (x = 1) {d}}{ELSE {e}}{IF (off) {f}}{ELSE}{IF (on) {g}}{ELSE {h}}{ELSE "
       "{i}}",
       "bERR:---ELSE without IF: ELSE (c)---dgERR:---ELSE without IF: ELSE (i)---", 2, 10},
      {"", 0,
       "{IF (off) {a}}{ELSEIF (on) {b} {c}}{ELSEIF (on) {d}}{ELSE {e}}{ELSEIF (on) {f}}{IF (x = 2) {g}}"
       "{ELSEIF (off) {h}}{ELSEIF (row.on) {i}}{ELSEIF (missing) {j}}{ELSEIF (off) {k} {l}}{ELSE {m}}",
       "bERR:---ELSEIF without IF: ELSEIF (on) (f)---i", 1, 11},
      {"", 0, "{WHILE (w < 3) {{VAR w (w + 1)}{VAR:w}}}{DO {{VAR w (w - 1)}} UNTIL (w = 0)}{VAR:w}", "1230", 0, 12},
  };
  for (const Case& c : cases) {
    cls_KEL k;
    LetAll(*k.VARIABLES, "X", "1", "Y", "z", "ON", 1, "OFF", 0, "BR", "{VAR:y}", "LONG", "abcdef", "W", 0);
    auto row = cls_Structure::New();
    LetAll(*row, "A", 1, "B", 2, "ON", 1);
    k.VARIABLES->ITEM_LET("ROW", Variant(row));
    if (*c.setting) k.SETTINGS->ITEM_LET(c.setting, c.value);
    k.SETTINGS->ITEM_LET("DEVELOPER.DEBUG", true);  // reports stay in the page
    EXPECT_EQ((std::tuple{k.PROCESS(c.page, nullptr), k.ERRORLIST->COUNT(), CDbl(k.RECURSIONS->ITEM_GET("CALLS"))}),
              std::tuple(c.out, c.errors, c.calls))
        << c.page;
  }
}

}  // namespace
}  // namespace rykel
