// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/command-line/command_line.h"

#include <cstdio>

#include "common/ptr.h"

namespace command_line {

void complain(const Program& program, const std::string& message) {
  // Not g_printerr(), which would change what the locale has no letters for.
  const std::string name = program.name;
  const std::string text = name + ": " + message + "\nTry '" + name + " --help'.\n";
  std::fputs(text.c_str(), stderr);
}

bool parse(const Program& program, const GOptionEntry* entries, int argc, char** argv) {
  const common::Ptr<GOptionContext, g_option_context_free> context(g_option_context_new(nullptr));
  g_option_context_set_summary(context.get(), program.summary);
  g_option_context_set_description(context.get(), program.description);
  g_option_context_add_main_entries(context.get(), entries, nullptr);
  common::GErrorPtr error;
  if (!g_option_context_parse(context.get(), &argc, &argv, common::GErrorOut(error))) {
    complain(program, error->message);
    return false;
  }
  if (argc > 1) {
    complain(program, std::string("unexpected argument '") + argv[1] + "'");
    return false;
  }
  return true;
}

}  // namespace command_line
