// Small helpers shared by the C++ tests.
#pragma once

#include <string>
#include <utility>

#include "frame/Error.h"

namespace rykel {

// Runs f and returns the error it raised ("" and number 0 when none).
template <class F>
std::pair<int, std::string> Failure(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return {e.number, e.description};
  }
  return {0, ""};
}

}  // namespace rykel
