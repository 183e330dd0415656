// Plugin: finds, loads and checks the plug-ins.
#include "frame/Plugin.h"

#include <dlfcn.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>

#include "frame/Error.h"

namespace rykel::Plugin {

std::string FILE(const std::string& pName) {
  // The folder of the object this function is in: librykel, in the build tree or where installed.
  Dl_info info{};
  std::filesystem::path folder;
  if (dladdr(reinterpret_cast<void*>(&FILE), &info) && info.dli_fname) {
    folder = std::filesystem::path(info.dli_fname).parent_path();
  }
  return (folder / ("librykel_" + pName + ".so")).string();
}

const void* hTable(const std::string& pName) {
  static std::mutex lock;
  static std::map<std::string, const void*> loaded;
  std::lock_guard guard(lock);
  if (auto it = loaded.find(pName); it != loaded.end()) return it->second;
  std::string file = FILE(pName);
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) {
    Raise(err::kFileNotFound, "the plug-in '" + file + "' is missing (it is installed beside librykel)");
  }
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) Raise(err::kFileIO, "cannot load the plug-in '" + file + "': " + ::dlerror());
  std::string symbol = "rykel_plugin_" + pName;
  auto* table = static_cast<const char* const*>(::dlsym(handle, symbol.c_str()));
  std::string fault;
  if (!table) {
    fault = "'" + file + "' is not a plug-in (it has no " + symbol + ")";
  } else if (std::strcmp(*table, RYKEL_VERSION) != 0) {
    fault = "the plug-in '" + file + "' is of version " + *table + ", the library of " RYKEL_VERSION;
  }
  if (!fault.empty()) {
    ::dlclose(handle);
    Raise(err::kFileIO, fault);
  }
  // The plug-in stays loaded: the objects it made live on in the caller.
  loaded[pName] = table;
  return table;
}

}  // namespace rykel::Plugin
