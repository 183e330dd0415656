#include "interpreter/mdl_KELStructText.h"

#include "frame/Convert.h"
#include "structure/cls_Structure.h"

namespace rykel::mdl_KELStructText {

namespace {

// A plain rendering used until the structure's own text forms are available: one "NAME = value"
// line per used item, sub-structures indented; the short form is "[Structure: n items]".
void hPlain(cls_Structure& s, int depth, bool html, std::string& out) {
  const auto& items = s.MANAGER_GET()->Items(s.SID_GET());
  const auto& names = s.MANAGER_GET()->Names();
  for (size_t i = static_cast<size_t>(s.BASE()); i < items.size(); ++i) {
    const auto& it = items[i];
    if (!it.used) continue;
    out.append(static_cast<size_t>(depth) * 2, ' ');
    std::string_view name = names.Name(it.name);
    if (name.empty()) out += std::to_string(i); else out += name;
    if (it.isStruct) {
      out += html ? ":<br/>\n" : ":\n";
      Variant sub = s.ITEM_GET(static_cast<int>(i), {}, true);
      if (auto child = sub.as<cls_Structure>()) hPlain(*child, depth + 1, html, out);
    } else {
      out += " = ";
      out += CStr(it.value);
      out += html ? "<br/>\n" : "\n";
    }
  }
}

}  // namespace

std::string Text(const Variant& pObject, Form pForm) {
  auto s = pObject.as<cls_Structure>();
  if (!s) return "";
  if (pForm == Form::Short) return "[Structure: " + std::to_string(s->MAX() - s->BASE() + 1) + " items]";
  std::string out;
  hPlain(*s, 0, pForm == Form::Html, out);
  return out;
}

}  // namespace rykel::mdl_KELStructText
