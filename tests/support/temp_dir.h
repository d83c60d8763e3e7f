// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace support {

/// A directory of the test's own, gone with everything in it when this object goes.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  /// Writes a file, replacing what it held; returns its path.
  std::string write(const std::string& name, const std::string& text) const;

 private:
  std::string path_;
};

/// The whole file, or "" if there is none.
std::string readFile(const std::string& path);

}  // namespace support
