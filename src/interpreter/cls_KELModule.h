// cls_KELModule: the identity of a command module (id, aliases, catch flags) and its command event.
//
// A module's handler is the function in EXECUTEEVENT; it receives the result structure, the done flag
// (true on entry), the value (the marker "__ERR__" on entry), the command word, the parameter
// structure and the interpreter. Clearing the done flag means "not my command".
//
//   auto m = std::make_shared<rykel::cls_KELModule>();
//   m->ID_LET("HELLO");
//   m->EXECUTEEVENT = [](auto&, bool&, rykel::Variant& v, const std::string&, auto&, auto&) { v = "hi"; };
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

class cls_KEL;

class cls_KELModule : public Object {
 public:
  using ExecuteHandler = std::function<void(const StructurePtr& rResult, bool& rDone, Variant& rValue,
                                            const std::string& pCmd, const StructurePtr& pParameters, cls_KEL& pKEL)>;
  using SignalHandler = std::function<void(int pSignal, const Variant& pParameters)>;

  std::string TypeName() const override { return "cls_KELModule"; }

  // The module's identifier (default ""). The registry indexes it upper-cased.
  const std::string& ID_GET() const { return id_; }
  void ID_LET(std::string_view pID) { id_ = pID; }
  // The further names of the module, in the order added (default none).
  const std::vector<std::string>& ALIASES_GET() const { return aliases_; }
  void ALIAS(std::string_view pID) { aliases_.emplace_back(pID); }
  // Offered every command before the alias lookup (default false).
  bool CATCHFIRST_GET() const { return catchFirst_; }
  void CATCHFIRST_LET(bool v) { catchFirst_ = v; }
  // Offered every command that no module took by alias (default false).
  bool CATCHALL_GET() const { return catchAll_; }
  void CATCHALL_LET(bool v) { catchAll_ = v; }
  // The command words the module takes, upper case, in the order added (default none). They are
  // what a template check (cls_KEL::CHECK) knows of the module: a module that lists none takes any
  // command as far as the check is concerned. Routing does not read them.
  const std::vector<std::string>& COMMANDS_GET() const { return commands_; }
  // Adds one command word (upper-cased).
  void COMMAND(std::string_view pName);

  // Raises the command event. Result: an object value as it is; "" when the handler kept the done
  // flag and set no value; the error text "Module '<ID>' does not support command '<cmd>'" (recorded in
  // the interpreter's ERRORLIST) when it cleared the flag and set no value. rDone tells the caller
  // whether the module took the command. Never raises.
  Variant EXECUTE(cls_KEL& pKEL, const std::string& pCmd, const StructurePtr& pParameters, StructurePtr pResult,
                  bool& rDone);
  // Offers the command without recording anything: true (and the value) when the handler took it,
  // false when it cleared the done flag.
  bool OFFER(cls_KEL& pKEL, const std::string& pCmd, const StructurePtr& pParameters, const StructurePtr& pResult,
             Variant& rValue);
  // Passes a signal to the module's signal handler, when it has one.
  void SIGNAL(int pSignal, const Variant& pParameters);

  ExecuteHandler EXECUTEEVENT;
  SignalHandler SIGNALEVENT;

 private:
  std::string id_;
  std::vector<std::string> aliases_;
  std::vector<std::string> commands_;
  bool catchFirst_ = false;
  bool catchAll_ = false;
};

}  // namespace rykel
