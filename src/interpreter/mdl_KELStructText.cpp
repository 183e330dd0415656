#include "interpreter/mdl_KELStructText.h"

#include "structure/cls_Structure.h"

namespace rykel::mdl_KELStructText {

std::string Text(const Variant& pObject, Form pForm) {
  auto s = pObject.as<cls_Structure>();
  if (!s) return "";
  switch (pForm) {
    case Form::Html: return s->HTML();
    case Form::Short: return s->TEXTSHORT();
    case Form::Text:
    default: return s->TEXT();
  }
}

}  // namespace rykel::mdl_KELStructText
