// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

#include "options.h"

/// Texts that no event had before, to be recognised by: they do not contain one another.
std::vector<std::string> newMarks(unsigned count);
/// Runs the vendor's command with these marks and waits for its end; says on standard error what
/// went wrong.
bool publish(const Options& options, const std::vector<std::string>& marks);
/// The mark that a text contains, as its index, or -1.
int markIn(const std::string& text, const std::vector<std::string>& marks);
