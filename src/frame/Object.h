// Object: the base of every class a host can hold by reference (structures, interpreters, databases).
#pragma once

#include <memory>
#include <string>

namespace rykel {

class Object {
 public:
  virtual ~Object() = default;
  // The class name as hosts know it ("cls_Structure"); CREATE and ISSTRUCT decide by it.
  virtual std::string TypeName() const = 0;
};

using ObjectPtr = std::shared_ptr<Object>;

}  // namespace rykel
