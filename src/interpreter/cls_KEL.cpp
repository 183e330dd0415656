#include "interpreter/cls_KEL.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "interpreter/cls_KELChecker.h"
#include "interpreter/cls_KELDecoder.h"
#include "interpreter/cls_KELErrorList.h"
#include "interpreter/cls_KELExecutor.h"
#include "interpreter/cls_KELFrontEnd.h"
#include "interpreter/cls_KELModules.h"
#include "interpreter/cls_KELState.h"
#include "interpreter/mdl_KELData.h"
#include "interpreter/mdl_KELStructText.h"

namespace rykel {

namespace {
std::atomic<cls_KEL::DefaultModules> gDefaultModules{nullptr};
}  // namespace

void cls_KEL::SetDefaultModules(DefaultModules pInstaller) { gDefaultModules.store(pInstaller); }

cls_KEL::DefaultModules cls_KEL::hDefaultModules() { return gDefaultModules.load(); }

cls_KEL::cls_KEL() : state_(std::make_unique<cls_KELState>()) {
  TRACE = cls_Structure::New();
  DIRECTORIES = cls_Structure::New();
  DEVELOPER = cls_Structure::New();
  VARIABLES = cls_Structure::New();
  BLOCKS = cls_Structure::New();
  FUNCTIONS = cls_Structure::New();
  RECURSIONS = cls_Structure::New();
  SETTINGS = cls_Structure::New();
  DISPOSELIST = cls_Structure::New();
  ERRORLIST = cls_Structure::New();
  LATER = cls_Structure::New();
  ERRORPLACES = cls_Structure::New();
  RECURSIONS->ITEM_LET("CALLS", 0);
  errorList_ = std::make_unique<cls_KELErrorList>(ERRORLIST, ERRORPLACES, TRACE);
  MODULES = std::make_shared<cls_KELModules>();
  if (auto install = gDefaultModules.load()) install(*MODULES);
}

cls_KEL::~cls_KEL() = default;

bool cls_KEL::hConfined() {
  return state_->depth > 0 ? state_->run.confined : cls_KELState::Setting(SETTINGS, "SYS.LOCATE.CONFINED", false);
}

const std::string& cls_KEL::hCurrentCommand() const { return state_->currentCommand; }

void cls_KEL::QUITEXEC() { state_->quit = true; }

bool cls_KEL::QUIT_GET() const { return state_->quit; }

bool cls_KEL::CUTSHORT_GET() const { return state_->cutShort; }

bool cls_KEL::AUTOESCAPE_GET() { return cls_KELState::Setting(SETTINGS, "SYS.AUTOESCAPE", false); }

// ---- decoding ----------------------------------------------------------------------------------

Variant cls_KEL::DECODE(const Variant& pPara, const StructurePtr& pData, const Variant& pAdd, bool pAllowExec) {
  if (!pPara.isString()) return pPara;
  KELParam p = cls_KELDecoder::Classify(pPara.str());
  switch (p.kind) {
    case enm_KELParamKind::QuotedTemplate: {
      std::string out;
      {
        cls_KELState::RawScope raw(*state_);  // a parameter's text, not page output
        out = PROCESS(p.inner, pData);
      }
      double d;
      if (mdl_Global::hIsDate(out) && date::Parse(out, d)) return Variant::Date(d);
      return Variant(out);
    }
    case enm_KELParamKind::Other:
      if (pAllowExec &&
          !(state_->depth > 0 ? state_->run.noexec : cls_KELState::Setting(SETTINGS, "SYS.NOEXEC", false)))
        return EXECUTE(pPara.str(), pData);
      return p.value;
    default: return p.value;
  }
}

std::string cls_KEL::ENCODE(const Variant& pValue, bool pQuoteText) {
  return Guard("cls_KEL", "ENCODE", [&] { return cls_KELDecoder::ENCODE(pValue, pQuoteText); });
}

std::string cls_KEL::hToText(const Variant& pValue) {
  if (pValue.isString()) return std::string(pValue.str());
  if (pValue.isObject()) {
    bool html = state_->depth > 0 ? state_->run.html : cls_KELState::Setting(SETTINGS, "SYS.OUTPUT.HTML", false);
    return mdl_KELStructText::Text(pValue, html ? mdl_KELStructText::Form::Html : mdl_KELStructText::Form::Text);
  }
  try {
    return CStr(pValue);
  } catch (...) { return ""; }
}

std::string cls_KEL::hData(std::string_view pText) {
  if (state_->dataKey.empty()) state_->dataKey = mdl_KELData::NewKey();
  return mdl_KELData::Encode(pText, state_->dataKey);
}

void cls_KEL::hDataFinish(std::string& rText, size_t pFrom) {
  if (!state_->dataKey.empty()) mdl_KELData::Decode(rText, state_->dataKey, pFrom);
}

bool cls_KEL::hInArray(const Variant& pValue, const std::vector<Variant>& pArray) {
  for (const auto& e : pArray) {
    if (pValue.isObject() || e.isObject()) {
      if (pValue.isObject() && e.isObject() && pValue.obj() == e.obj()) return true;
      continue;
    }
    double a, b;
    if (NumericValue(pValue, a) && NumericValue(e, b)) {
      if (a == b) return true;
      continue;
    }
    if (pValue.type() == e.type() || (pValue.isString() && e.isString())) {
      try {
        if (CStr(pValue) == CStr(e)) return true;
      } catch (...) {}
    }
  }
  return false;
}

std::string cls_KEL::LITERAL(std::string_view pText) { return cls_KELDecoder::LITERAL(pText); }

// ---- executor and front end --------------------------------------------------------------------

Variant cls_KEL::EXECUTE(std::string_view pCmd, const StructurePtr& pData) {
  return cls_KELExecutor::Execute(*this, pCmd, pData);
}

std::string cls_KEL::PROCESS(std::string_view pText, const StructurePtr& pData) {
  return cls_KELFrontEnd::Process(*this, pText, pData, std::string(), false);
}

bool cls_KEL::ENCAPSULATE(std::string& rData, std::string_view pStartTag, std::string_view pEndTag) {
  return cls_KELFrontEnd::Encapsulate(rData, pStartTag, pEndTag);
}

bool cls_KEL::SYNTAXCHECK(const StructurePtr& rValue, std::string_view pParaWanted) {
  return cls_KELFrontEnd::SyntaxCheck(*this, rValue, pParaWanted);
}

std::string cls_KEL::LOCATE(std::string_view pFile, std::string_view pDefault) {
  return cls_KELFrontEnd::Locate(*this, pFile, pDefault);
}

std::vector<std::string> cls_KEL::LOCATEALL(std::string_view pFile) { return cls_KELFrontEnd::LocateAll(*this, pFile); }

// ---- template check ----------------------------------------------------------------------------

std::vector<KELFinding> cls_KEL::CHECK(std::string_view pText, std::string_view pFile) {
  return Guard("cls_KEL", "CHECK", [&] { return cls_KELChecker::Check(*this, pText, pFile); });
}

// ---- error list --------------------------------------------------------------------------------

std::string cls_KEL::ERRORS(std::string_view pTitle, std::string_view pDetail, bool pCritical) {
  auto b = errorList_->Build(pTitle, pDetail);
  // A template that fails in a loop or in every branch of a self-calling block must not fill the
  // memory with its error list: past the bound one line says so, and the texts still come back.
  if (state_->errorsListed <= state_->run.errorsMax) {
    std::string file;
    int32_t line = 0, column = 0;
    if (!state_->sources.empty()) {
      const cls_KELState::Source& s = state_->sources.back();
      file = s.file;
      if (s.text) cls_KELErrorList::LineColumn(*s.text, s.offset, line, column);
    }
    if (state_->errorsListed++ < state_->run.errorsMax) {
      errorList_->Add(b.html, ERRORTEXT(b.text), file, line, column);
    } else {
      auto over = errorList_->Build("Too many errors", "more than " + std::to_string(state_->run.errorsMax) +
                                                           " (SYS.ERRORS.MAX); the rest are not listed");
      errorList_->Add(over.html, ERRORTEXT(over.text), file, line, column);
    }
  }
  if (pCritical) CRITICAL(pTitle, pDetail);
  return "ERR:" + b.text;
}

std::string cls_KEL::ERRORTEXT(std::string_view pErrMsg) {
  std::string_view s = pErrMsg;
  if (s.substr(0, 4) == "ERR:") s.remove_prefix(4);
  while (!s.empty() && s.front() == '-') s.remove_prefix(1);
  while (!s.empty() && s.back() == '-') s.remove_suffix(1);
  return std::string(s);
}

bool cls_KEL::ISERROR(const Variant& pValue) { return pValue.isString() && pValue.str().substr(0, 4) == "ERR:"; }

void cls_KEL::CRITICAL(std::string_view pTitle, std::string_view pText) {
  state_->ShowCalls(RECURSIONS);
  state_->quit = true;
  Notify({std::string(pTitle), std::string(pText), "OK", "Critical"});
}

void cls_KEL::ERRORLISTSHOW() {
  if (CRITICALERRORS) CRITICALERRORS(ERRORLIST);
}

// ---- host helpers ------------------------------------------------------------------------------

void cls_KEL::SIGNAL(int32_t pSignal, const Variant& pParameters) {
  state_->ShowCalls(RECURSIONS);
  MODULES->SIGNAL(pSignal, pParameters);
  if (SIGNALED) {
    bool done = false;
    SIGNALED(*this, done, Variant(static_cast<int>(pSignal)));
  }
}

void cls_KEL::TRACESTART(std::string_view pName) {
  state_->traceStarts[std::string(pName)] = std::chrono::steady_clock::now();
}

void cls_KEL::TRACEEND(std::string_view pName) {
  auto it = state_->traceStarts.find(pName);
  if (it == state_->traceStarts.end()) return;
  double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - it->second).count();
  char buf[64];
  std::snprintf(buf, sizeof buf, ": %.3f s", secs);
  TRACE->ADD(std::string(pName) + buf);
  state_->traceStarts.erase(it);
}

std::string cls_KEL::EXEARRAY(const std::vector<std::string>& pCmds) {
  std::string out;
  for (const auto& c : pCmds) out += hToText(EXECUTE(c, nullptr));
  return out;
}

}  // namespace rykel
