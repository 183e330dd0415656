// Plugin: parts that pull in large outside libraries are shared objects of their own,
// "librykel_<name>.so" beside librykel, loaded on first use, so that a process which never needs
// them neither maps those libraries nor pays for resolving their symbols at start-up. The
// exporters (export/ExportPlugin.h) and the web server (the rykel program's `serve`) are such.
//
// Each plug-in defines one table, a C symbol "rykel_plugin_<name>" whose first member is the
// library version it was built for (const char*); a plug-in of another version is refused.
//
//   const auto& pdf = Plugin::Table<PdfPlugin>("pdf");
#pragma once

#include <string>

namespace rykel::Plugin {

// The file of plug-in pName: "librykel_<name>.so" in the folder librykel was loaded from.
std::string FILE(const std::string& pName);

// Loads plug-in pName once per process and returns its table. Raises kFileNotFound naming the
// file when it is missing and kFileIO naming it when it cannot be loaded, has no table or was
// built for another version.
const void* hTable(const std::string& pName);

template <class T>
const T& Table(const std::string& pName) {
  return *static_cast<const T*>(hTable(pName));
}

}  // namespace rykel::Plugin
