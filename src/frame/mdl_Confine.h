// mdl_Confine: reading files only from inside given folders, with no gap between the check and
// the read. A file is opened first and then judged by what was opened: its real path, read back
// from the open descriptor (/proc/self/fd; where that is missing, fstat compared with the file at
// the realpath of the name), must lie inside a folder's real path. So a name that is swapped for a
// link to an outside file between a check and a read can never deliver that file: the check is
// made on the read itself.
//
// A Scope confines every file read of its thread that goes through fileio::ReadFile and every
// existence test through mdl_FileTools::FILEEXISTS while it lives (the interpreter sets one around
// the database a confined template opens, so the header named inside that file is confined too).
// Outside files look missing: a confined reader cannot tell an outside file from no file.
//
//   std::vector<std::string> roots{"site"};
//   int fd = mdl_Confine::OPEN("site/inc/a.kel", &roots);   // -1: missing or outside
#pragma once

#include <string>
#include <vector>

namespace rykel::mdl_Confine {

// Opens pPath read-only. With pRoots (null: not confined) the opened file must be a regular file
// inside one of the folders (links followed; no folders: nothing is inside); else the descriptor
// is closed and the result is -1 with errno ENOENT. Returns the descriptor (the caller closes it)
// or -1 with errno set.
int OPEN(const std::string& pPath, const std::vector<std::string>* pRoots);

// The folders of the innermost live Scope of this thread; null when no Scope is live.
const std::vector<std::string>* ACTIVE();

// While alive, the thread's reads through fileio::ReadFile and FILEEXISTS are confined to pRoots.
// Scopes nest; the innermost one counts.
class Scope {
 public:
  explicit Scope(std::vector<std::string> pRoots);
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

 private:
  std::vector<std::string> roots_;
  const std::vector<std::string>* previous_;
};

}  // namespace rykel::mdl_Confine
