// cls_KEL: the KEL template interpreter. Holds its state in public structures and runs templates
// through PROCESS (front end), EXECUTE (one command), DECODE (one parameter) and the error list.
//
// Nothing escapes PROCESS: every failure becomes an error text ("ERR:---title: detail---") in the
// output and an HTML line in ERRORLIST. The public structures belong to the interpreter; a host may
// fill DIRECTORIES, SETTINGS and VARIABLES before PROCESS and read any of them afterwards.
// Settings read (all optional):
//   SYS.OUTPUT.HTML     false  structures are output in their HTML text form
//   DEVELOPER.DEBUG     false  a level cut short by "Not parseable" / "Syntax error" outputs the
//                              error text instead of nothing (the error is recorded either way)
//   SYS.COMMANDS.MAX    100    commands per PROCESS call (each nested call counts on its own)
//   SYS.NESTING.MAX     50     nested PROCESS levels (blocks, includes) before "Nesting too deep"
//   SYS.LOOP.MAX        100000 rounds of one WHILE, DO or FOR before "Loop limit reached"
//   SYS.OUTPUT.MAX      67108864  bytes of output of one PROCESS level before "Output too large"
//                              (processing then stops, as after QUITEXEC)
//   SYS.VALUE.MAX       16777216  bytes of one text an expression joins ("+") or VAR / ":=" stores,
//                              never more than SYS.OUTPUT.MAX, before "Value too large"
//                              (processing then stops, as after QUITEXEC)
//   SYS.STEPS.MAX       10000000  commands and loop rounds of one outermost PROCESS, all levels
//                              together, before "Step limit reached" (processing then stops)
//   SYS.ERRORS.MAX      10000  errors listed per outermost PROCESS; past it one "Too many errors"
//                              line and no more (the error texts in the output stay)
//   SYS.LOCATE.CONFINED false  INCLUDE and LOCATE find files only inside DIRECTORIES
//   SYS.NOEXEC          false  DECODE never runs a parameter as a command
//   SYS.AUTOESCAPE      false  the text a {VAR:name} or {DATA:name} command puts into the page is
//                              escaped for HTML and is data (never run); values handed to
//                              commands as parameters stay as they are (see AUTOESCAPE_LET)
// Threads: one thread only, the one that created it (its structures live in that thread's manager).
//
//   rykel::cls_KEL k;
//   std::string out = k.PROCESS("{VAR x 5}{VAR:x}", nullptr);   // "5"
//   int errors = k.ERRORLIST->COUNT();
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "interpreter/KELFinding.h"
#include "structure/cls_Structure.h"

namespace rykel {

class cls_KELModules;
class cls_KELExecutor;
class cls_KELFrontEnd;
class cls_KELErrorList;
struct cls_KELState;

// Signals passed to the modules by SIGNAL (do not renumber: hosts compare them).
enum enm_KELSignal : int32_t {
  kelSignalNone = 0,
  kelSignalProcessStart = 1,  // an outermost PROCESS begins
  kelSignalProcessEnd = 2,    // an outermost PROCESS ends
  kelSignalReset = 3,         // sent by a host
};

class cls_KEL : public Object, public std::enable_shared_from_this<cls_KEL> {
 public:
  cls_KEL();
  ~cls_KEL() override;
  // Fills the module registry of every new interpreter (the IO and STRUCTURE modules). The modules
  // live above the interpreter, so the library installs this when it is loaded; none installed, a
  // new interpreter starts with an empty registry.
  using DefaultModules = void (*)(cls_KELModules& rModules);
  static void SetDefaultModules(DefaultModules pInstaller);
  // The installed filler (null when none).
  static DefaultModules hDefaultModules();
  cls_KEL(const cls_KEL&) = delete;
  cls_KEL& operator=(const cls_KEL&) = delete;
  std::string TypeName() const override { return "cls_KEL"; }

  // ---- public state ----------------------------------------------------------------------------
  StructurePtr DIRECTORIES, DEVELOPER, TRACE, VARIABLES, BLOCKS, FUNCTIONS, RECURSIONS, SETTINGS, DISPOSELIST,
      ERRORLIST, LATER;
  // Beside ERRORLIST, one sub-structure per error with FILE (the template file, "" for text handed to
  // PROCESS), LINE and COLUMN (1-based, of the command that was running, of the unclosed quote or
  // of the command past SYS.COMMANDS.MAX; 0 when unknown) and MESSAGE (the plain text, without
  // HTML: "title: detail").
  StructurePtr ERRORPLACES;
  std::shared_ptr<cls_KELModules> MODULES;

  // ---- events (set by the host; unset ones are not raised) -------------------------------------
  // A bound was hit (command limit, nesting); clearing rContinue stops processing (QUITEXEC).
  std::function<void(const std::string& pMessage, bool& rContinue)> WARNING;
  // Raised by SIGNAL after the modules: the interpreter, a done flag and the signal as pFlags.
  std::function<void(cls_KEL& pKEL, bool& rDone, const Variant& pFlags)> SIGNALED;
  // Raised by ERRORLISTSHOW with ERRORLIST.
  std::function<void(const StructurePtr& pErrors)> CRITICALERRORS;

  // ---- decoding --------------------------------------------------------------------------------
  // The value of one parameter text (see cls_KELDecoder for the rules). A non-string comes back as
  // it is. pAdd is accepted for compatibility and not used. With pAllowExec an unrecognised text is
  // run through EXECUTE and its result (objects kept) is the value; SYS.NOEXEC turns that off.
  Variant DECODE(const Variant& pPara, const StructurePtr& pData = nullptr, const Variant& pAdd = {},
                 bool pAllowExec = false);
  // Parameter text that DECODE reads back to the value.
  std::string ENCODE(const Variant& pValue, bool pQuoteText = false);
  // Output text of a value: structures by their HTML form when SYS.OUTPUT.HTML, else their TEXT form.
  std::string hToText(const Variant& pValue);
  // Text that comes from data (a database value, {DATA:name}), made safe to put into the page: no
  // scan runs it as a command, and the finished page holds it byte for byte (mdl_KELData).
  std::string hData(std::string_view pText);
  // The finished text of an outermost PROCESS or EXECUTE from byte pFrom on: data marks become
  // their characters again. Nothing to do for an interpreter that never output data.
  void hDataFinish(std::string& rText, size_t pFrom = 0);
  // True when some element equals the value (numbers by value, texts exactly, objects by identity).
  static bool hInArray(const Variant& pValue, const std::vector<Variant>& pArray);
  // Operator and truth word normalisation ("AND" -> "&&", "TRUE" -> "1"); other text unchanged.
  std::string LITERAL(std::string_view pText);

  // ---- executor --------------------------------------------------------------------------------
  // Runs one command (without its braces) with the parameter structure pData; the result is the
  // command's value (usually text; structures stay objects). Counts one call in RECURSIONS.CALLS
  // (written there when the host's call returns and before events and module commands). Never
  // raises.
  Variant EXECUTE(std::string_view pCmd, const StructurePtr& pData = nullptr);

  // ---- front end -------------------------------------------------------------------------------
  // The output of a whole template. Never raises; failures are recorded (see ERRORS).
  std::string PROCESS(std::string_view pText, const StructurePtr& pData = nullptr);
  // Inside every stretch from pStartTag to pEndTag: "{" -> "[[", "}" -> "]]", then "[[$" -> "{$" and
  // "$]]" -> "$}". Returns true.
  bool ENCAPSULATE(std::string& rData, std::string_view pStartTag, std::string_view pEndTag);
  // Stops the running PROCESS after the command in hand (and every level above it).
  void QUITEXEC();
  bool QUIT_GET() const;
  // True when the last outermost PROCESS (or host EXECUTE) was cut short by a bound: more than
  // SYS.COMMANDS.MAX commands, an unclosed quote, or the nesting, loop, step, output or input
  // limit. Each cut is also an ERRORLIST line with its place. False again when the next starts.
  bool CUTSHORT_GET() const;
  // SYS.AUTOESCAPE of SETTINGS (default false): when true, the text that a {VAR:name} or
  // {DATA:name} command puts into the page has "&", "<", ">", '"' and "'" as entities and is
  // data (its braces never run). Parameters (VAR:x handed to a command, "{VAR:x}" in quotes,
  // expressions) are not escaped, so a value is escaped once, where it is output. Takes effect
  // when the next PROCESS starts; a template switches it with {TEXT:AUTOESCAPE 1} / 0.
  bool AUTOESCAPE_GET();
  void AUTOESCAPE_LET(bool pValue) { SETTINGS->ITEM_LET("SYS.AUTOESCAPE", pValue); }
  // Completes rValue with the wanted parameters ("A,B,C=''": C defaults to ""). A wanted name that
  // is missing takes the numbered item at its position in the list, else its default. Returns false
  // and records "The command ... needs other parameters: ..." when one stays missing.
  bool SYNTAXCHECK(const StructurePtr& rValue, std::string_view pParaWanted);
  // "\" becomes "/"; the file itself when it exists, else the first DIRECTORIES entry + file that
  // exists, else pDefault. With SYS.LOCATE.CONFINED only DIRECTORIES entries count, ".." parts or
  // absolute paths give pDefault, and a file whose real path (links followed) lies outside its
  // DIRECTORIES entry is not found.
  std::string LOCATE(std::string_view pFile, std::string_view pDefault = {});
  // Every existing path of the file: itself, then each DIRECTORIES entry + file.
  std::vector<std::string> LOCATEALL(std::string_view pFile);

  // ---- template check --------------------------------------------------------------------------
  // Reads a template without running it and returns its mistakes in text order, each with its
  // line, column and message (empty: nothing found): unclosed or unmatched braces, quotes and
  // parentheses; unknown command words, modules and module commands (with "did you mean"); wrong
  // parameter counts of the built-in commands; ELSEIF and ELSE that follow no IF; includes that
  // cannot be found; more commands in one text than SYS.COMMANDS.MAX; quotes inside COMMENT.
  // Includes are looked for through DIRECTORIES, module commands in MODULES and user commands in
  // FUNCTIONS as they are at the call; SETTINGS give the bounds. pFile is the name each finding
  // carries ("" for none). Runs nothing and records nothing: no ERRORLIST line, no variable.
  //   for (const auto& f : kel.CHECK(text, "page.kel")) std::puts(f.Text().c_str());
  std::vector<KELFinding> CHECK(std::string_view pText, std::string_view pFile = {});

  // ---- error list ------------------------------------------------------------------------------
  // Records one error and returns its error text "ERR:---title[: detail]---".
  std::string ERRORS(std::string_view pTitle, std::string_view pDetail = {}, bool pCritical = false);
  // "ERR:---Module not found: OTHER---" -> "Module not found: OTHER".
  std::string ERRORTEXT(std::string_view pErrMsg);
  // True for a string beginning "ERR:".
  bool ISERROR(const Variant& pValue);
  // Sets the quit flag and shows a critical message box.
  void CRITICAL(std::string_view pTitle, std::string_view pText);
  // Raises CRITICALERRORS with ERRORLIST.
  void ERRORLISTSHOW();

  // ---- host helpers ----------------------------------------------------------------------------
  void SIGNAL(int32_t pSignal, const Variant& pParameters = {});
  void VARSET(Variant& rDest, const Variant& pSource) { rDest = pSource; }
  // Starts / ends a named timing; TRACEEND appends "name: 0.000 s" to TRACE.
  void TRACESTART(std::string_view pName);
  void TRACEEND(std::string_view pName);
  // EXECUTE of one command text / of each element, results joined as output text.
  Variant EXE(std::string_view pCmd) { return EXECUTE(pCmd, nullptr); }
  std::string EXEARRAY(const std::vector<std::string>& pCmds);

  // The command name SYNTAXCHECK reports (the module command being run).
  const std::string& hCurrentCommand() const;
  // SYS.LOCATE.CONFINED as the running PROCESS read it (or as SETTINGS hold it outside one).
  bool hConfined();

  // The run state the executor and front end share (declared in interpreter/cls_KELState.h,
  // which is not installed: nothing in it is meant for hosts).
  cls_KELState& hState() { return *state_; }

 private:
  std::unique_ptr<cls_KELErrorList> errorList_;
  std::unique_ptr<cls_KELState> state_;
};

}  // namespace rykel
