#include "structure/cls_StructureTools.h"

#include <mutex>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/cls_Collection.h"
#include "frame/cls_CollectionInt.h"
#include "frame/cls_CollectionValues.h"
#include "frame/mdl_Global.h"
#include "structure/cls_StructureSerializer.h"
#include "structure/mdl_GlobalManager.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_StructureTools";

std::mutex gDecoderMutex;
// Made on first use: the interpreter installs its decoder while the library is being loaded.
cls_StructureTools::LiteralDecoder& hDecoder() {
  static cls_StructureTools::LiteralDecoder decoder;
  return decoder;
}

// The structure of a single plain value: its "{STRUCT ...}" literal decoded, or an ERROR item.
StructurePtr hFromLiteral(const Variant& pValue) {
  const std::string literal = "{STRUCT " + CStr(pValue) + "}";
  cls_StructureTools::LiteralDecoder decode;
  {
    std::lock_guard<std::mutex> lock(gDecoderMutex);
    decode = hDecoder();
  }
  std::string why = "Cannot decode the structure literal " + literal + ": no template interpreter is installed";
  if (decode) {
    try {
      if (StructurePtr s = decode(literal)) return s;
      why = "Cannot decode the structure literal " + literal;
    } catch (const Error& e) { why = "Cannot decode the structure literal " + literal + ": " + e.description; }
  }
  StructurePtr s = cls_Structure::New();
  s->ITEM_LET("ERROR", why);
  return s;
}

}  // namespace

cls_StructureTools::LiteralDecoder cls_StructureTools::hLiteralDecoder() {
  std::lock_guard<std::mutex> lock(gDecoderMutex);
  return hDecoder();
}

void cls_StructureTools::SetLiteralDecoder(LiteralDecoder pDecoder) {
  std::lock_guard<std::mutex> lock(gDecoderMutex);
  hDecoder() = std::move(pDecoder);
}

StructurePtr cls_StructureTools::CREATE(const std::vector<Variant>& pValues) {
  return Guard(kClass, "CREATE", [&]() -> StructurePtr {
    if (pValues.empty() || (pValues.size() == 1 && pValues[0].isEmpty())) return cls_Structure::New();
    if (pValues.size() == 1) {
      const Variant& v = pValues[0];
      if (!v.isObject()) return hFromLiteral(v);
      if (auto s = v.as<cls_Structure>()) return s;
      StructurePtr out = cls_Structure::New();
      if (auto c = v.as<cls_Collection>()) {
        for (int32_t i = 1; i <= c->Count(); ++i) {
          std::string key = c->Key(i);
          if (key.empty()) out->ADD(c->Item(Variant(i)));
          else out->ITEM_LET(Variant(key), c->Item(Variant(i)));
        }
      } else if (auto c = v.as<cls_CollectionValues>()) {
        for (int32_t i = 1; i <= c->Count(); ++i) out->ADD(c->Item(i));
      } else if (auto c = v.as<cls_CollectionInt>()) {
        for (int32_t i = 1; i <= c->Count(); ++i) out->ADD(Variant(c->Item(i)));
      } else {
        Raise(err::kTypeMismatch, "Type mismatch: CREATE cannot make a structure of a " +
                                      (v.obj() ? v.obj()->TypeName() : std::string("Nothing")));
      }
      out->CHANGED_LET(false);
      return out;
    }
    StructurePtr out = cls_Structure::New();
    for (size_t i = 0; i < pValues.size(); i += 2) {
      const Variant& key = pValues[i];
      Variant value = i + 1 < pValues.size() ? pValues[i + 1] : Variant();
      if (key.isEmpty() || (key.isString() && key.str().empty())) out->ADD(value);
      else out->ITEM_LET(key, value);
    }
    return out;
  });
}

StructurePtr cls_StructureTools::CAST(const Variant& pValue) {
  return Guard(kClass, "CAST", [&] {
    if (auto s = pValue.as<cls_Structure>()) return s;
    return cls_Structure::New();
  });
}

bool cls_StructureTools::ISSTRUCT(const Variant& pValue) { return pValue.as<cls_Structure>() != nullptr; }

bool cls_StructureTools::ISFILLEDSTRUCT(const Variant& pValue) {
  return Guard(kClass, "ISFILLEDSTRUCT", [&] {
    auto s = pValue.as<cls_Structure>();
    return s && s->COUNT() != 0;
  });
}

StructurePtr cls_StructureTools::UNSERIALIZE(std::string_view rSerialData) {
  return Guard("cls_StructureManager", "STRUCTURE.UNSERIALIZE", [&] {
    auto s = cls_Structure::New();
    cls_StructureSerializer(*s->MANAGER_GET()).Unserialize(s->SID_GET(), rSerialData);
    return s;
  });
}

void cls_StructureTools::VARSET(Variant& rTarget, const Variant& pValue) { rTarget = pValue; }

int32_t cls_StructureTools::USAGEMANAGED() { return mdl_Global::SMAN_GET()->USAGE(); }
int32_t cls_StructureTools::USAGEFREE() { return mdl_Global::SMAN_GET()->USAGEFREE(); }
std::string cls_StructureTools::USAGEINFO() { return mdl_Global::SMAN_GET()->USAGEINFO(); }
int32_t cls_StructureTools::USAGEUSED() { return mdl_Global::SMAN_GET()->HandleCount(); }
int32_t cls_StructureTools::USAGEBUFFER() { return mdl_Global::SMAN_GET()->BUFFER(); }
std::string cls_StructureTools::PERFORMANCEINFO() { return mdl_Global::SMAN_GET()->PERFORMANCEINFO(); }

}  // namespace rykel
