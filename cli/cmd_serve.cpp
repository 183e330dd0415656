// rykel serve: a site folder served over HTTP for a browser until Ctrl-C. The server runs in the
// "serve" plug-in (ServeRun.h): only this command loads the HTTP library.
#include "Commands.h"
#include "ServeRun.h"
#include "frame/Plugin.h"

namespace rykel::cli {

namespace {

constexpr const char* kServeFooter =
    "GET /x/y renders SITE/pages/x/y.kel (a folder's index.kel; / is pages/index.kel) with the query\n"
    "parameters as variables: /team?city=Kiel sets {VAR:city}. They are raw text: output them through\n"
    "TEXT:HTML or the DB module's HTML commands. Files of static/, non-template files beside the pages\n"
    "and files at the top of SITE are sent as they are; nothing outside SITE is ever sent.\n"
    "Open pages reload when a file of SITE changes; a page with template errors shows them over its\n"
    "output (file:line:column: message and the line), and the log on stderr prints them once.\n"
    "The --db databases are browsed at /_db/ (tables with sort, search, filters, facets and exports;\n"
    "--write adds forms to add, edit and delete entries) and answer as JSON at /_api/.\n"
    "The server listens on 127.0.0.1 unless --host says otherwise; Ctrl-C stops it. See docs/SERVE.md.";

}  // namespace

void AddServeCommand(CLI::App& app) {
  static ServeOptions o;
  static std::vector<std::string> databases;
  auto* s = app.add_subcommand("serve", "Serve a site folder over HTTP with live reload, for a browser");
  s->footer(kServeFooter);
  s->add_option("-d,--dir", o.site, "site folder (holds pages/; default: the current folder)");
  s->add_option("--db", databases, "[NAME=]FILE: a database attached to every page's DB module (repeatable)")
      ->allow_extra_args(false);
  s->add_option("--host", o.host, "address to listen on (default 127.0.0.1: this machine only)");
  s->add_option("-p,--port", o.port, "port (default 8080; 0: a free one)")->check(CLI::Range(0, 65535));
  s->add_flag("--open", o.open, "open the site in the desktop's browser");
  s->add_flag("--write", o.write, "let the database browser add, change and delete entries");
  s->add_option("--request-max", o.requestMax, "bytes of one request body (default 1048576; more: 413)")
      ->check(CLI::Range(int64_t{1}, int64_t{1} << 30));
  s->callback([] {
    for (const auto& a : databases) {
      const auto db = SplitDatabaseArgument(a);
      o.databases.emplace_back(db.name, db.file);
    }
    Plugin::Table<ServePlugin>("serve").serve(o);
  });
}

}  // namespace rykel::cli
