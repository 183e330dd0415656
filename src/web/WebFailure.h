// WebFailure: a request that cannot be answered as asked, thrown inside a handler and turned
// into its response at the handler's one catch point: the HTTP status and the message the user
// sees (an HTML page or a JSON error, as the route answers).
#pragma once

#include <string>

namespace rykel {

struct WebFailure {
  int status;           // 400 bad parameters, 403 refused, 404 unknown, 500 the server's fault
  std::string message;  // plain text, escaped where it is shown
};

}  // namespace rykel
