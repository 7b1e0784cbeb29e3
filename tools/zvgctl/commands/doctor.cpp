// zvgctl doctor: which ways to a board this host has, and what bars them.
#include "service/station/doctor.h"

#include <stdio.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "zvgctl/commands/families.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

void doctor_command(const Context& context) {
  const zvg::Diagnosis diagnosis = zvg::diagnose(zvg::Person::myself());
  if (context.json) {
    print_json(to_json(diagnosis));
  } else {
    std::string groups;
    for (const std::string& group : diagnosis.groups) groups += " " + group;
    printf("user %s, groups%s\n", diagnosis.user.c_str(), groups.c_str());
    for (const zvg::Way& way : diagnosis.ways) {
      printf("%-6s  %-14s  %s\n", way.door.c_str(), way.path.c_str(),
             way.usable  ? "may be opened"
             : way.there ? "may not be opened"
                         : "is not there");
      if (!way.detail.empty()) printf("        %s\n", way.detail.c_str());
      if (!way.reason.empty()) printf("        %s\n", way.reason.c_str());
      if (!way.remedy.empty()) printf("        -> %s\n", way.remedy.c_str());
    }
  }
  if (!diagnosis.any_usable()) {
    fail("no way to a board is open from here; a virtual one needs none: --sim");
  }
}

}  // namespace

void add_doctor(CLI::App& application, Context& context) {
  CLI::App* const command = application.add_subcommand(
      "doctor", "Look which ways to a board are open, and what mends the others");
  command->footer(
      "Nothing is opened. Exit status 1 when neither the driver, a serial line nor /dev/mem may\n"
      "be used.\n"
      "Examples:\n"
      "  zvgctl doctor\n"
      "  zvgctl doctor --json");
  command->callback([&context] { context.action = [&context] { doctor_command(context); }; });
}

}  // namespace zvgctl
