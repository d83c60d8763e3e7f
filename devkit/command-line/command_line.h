// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <glib.h>

#include <string>

namespace command_line {

/// A program of the devkit as its --help shows it; the description, below the options, may be null.
struct Program {
  const char* name;
  const char* summary;
  const char* description;
};

/// Says on standard error what is wrong, and where help is.
void complain(const Program& program, const std::string& message);

/// Leaves what the options say in what `entries` point to. False after a mistake, an argument that
/// no entry takes among them, of which it complains.
bool parse(const Program& program, const GOptionEntry* entries, int argc, char** argv);

}  // namespace command_line
