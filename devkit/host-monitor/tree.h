// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host_monitor {

/// The file tree that the measurements read: the machine's own, or one below another directory.
class Tree {
 public:
  explicit Tree(std::string root) : root_(std::move(root)) {}

  /// The file's text without white space around it; nothing if it cannot be read.
  std::optional<std::string> text(const std::string& path) const;
  /// The same, where the whole text is one decimal integer.
  std::optional<std::int64_t> number(const std::string& path) const;
  /// The names in a directory that begin with `prefix`, sorted; none if it cannot be read.
  std::vector<std::string> names(const std::string& directory, const char* prefix = "") const;
  /// When the file was last modified, in seconds since 1970; nothing if it is not there.
  std::optional<std::int64_t> modified(const std::string& path) const;
  /// Whether this is the machine's own tree, so that the kernel may be asked in other ways too.
  bool ownMachine() const { return root_.find_first_not_of('/') == std::string::npos; }

 private:
  std::string root_;
};

}  // namespace host_monitor
