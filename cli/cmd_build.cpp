// rykel build SITE OUT: every page of a site folder rendered to static files on several threads
// (cls_Site::BUILD), with a progress bar on a terminal and one line per error.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Progress.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "site/cls_Site.h"

namespace rykel::cli {

namespace {

struct BuildOptions {
  std::string site, out;
  std::vector<std::string> databases;
  int jobs = 0;
  bool clean = false, quiet = false;
};

constexpr const char* kBuildFooter =
    "SITE holds pages/ (pages/x/y.kel becomes OUT/x/y.html), static/ (copied to the top of OUT), data/\n"
    "(each structure file a variable named after it: data/team.json is TEAM) and what the pages\n"
    "include (inc/header.kel). Files beside the pages and at the top of SITE that are not templates\n"
    "are copied too. Pages read files only inside SITE. A page whose file, shared files (everything\n"
    "outside pages/ and static/) and databases did not change since the last build is skipped.\n"
    "Errors are listed as file:line:column: message after every page was tried; exit status 1.";

}  // namespace

void AddBuildCommand(CLI::App& app) {
  static BuildOptions o;
  auto* b = app.add_subcommand("build", "Render every page of a site folder to static HTML files, in parallel");
  b->footer(kBuildFooter);
  b->add_option("SITE", o.site, "site folder (holds pages/)")->required();
  b->add_option("OUT", o.out, "output folder (created)")->required();
  b->add_option("-j,--jobs", o.jobs, "threads (default: one per core)")->check(CLI::Range(0, 256));
  b->add_option("--db", o.databases, "[NAME=]FILE: a database attached to every page's DB module (repeatable)")
      ->allow_extra_args(false);
  b->add_flag("--clean", o.clean, "remove what the last build wrote and build every page");
  b->add_flag("-q,--quiet", o.quiet, "print only the errors");
  b->callback([] {
    // A page's errors are listed below; the library's own notices would repeat them.
    SetNotifier([](const Notification& n) { return DefaultAnswer(n); });
    cls_Site site(o.site);
    for (const auto& a : o.databases) {
      const auto db = SplitDatabaseArgument(a);
      site.DBADD(db.name, db.file);
    }
    std::unique_ptr<Progress> bar;
    auto report = site.BUILD(o.out, o.jobs, o.clean, [&](int32_t done, int32_t total) {
      if (!bar) bar = std::make_unique<Progress>(total);
      bar->Step(done);
    });
    for (const auto& e : report.errors) std::fprintf(stderr, "%s\n", e.c_str());
    if (!o.quiet)
      std::printf("%d pages built, %d unchanged, %d files copied to %s\n", report.built, report.skipped, report.copied,
                  o.out.c_str());
    if (report.failed > 0) Fail(kExitError, std::to_string(report.failed) + " of the pages had errors");
  });
}

}  // namespace rykel::cli
