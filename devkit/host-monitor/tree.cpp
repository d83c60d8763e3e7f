// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/tree.h"

#include <sys/stat.h>

#include <algorithm>

#include "common/ptr.h"

namespace host_monitor {

std::optional<std::string> Tree::text(const std::string& path) const {
  char* contents = nullptr;
  gsize length = 0;
  if (!g_file_get_contents((root_ + path).c_str(), &contents, &length, nullptr)) {
    return std::nullopt;
  }
  const common::GCharPtr owner(contents);
  return std::string(g_strstrip(contents));
}

std::optional<std::int64_t> Tree::number(const std::string& path) const {
  const std::optional<std::string> digits = text(path);
  gint64 value = 0;
  if (!digits ||
      !g_ascii_string_to_signed(digits->c_str(), 10, G_MININT64, G_MAXINT64, &value, nullptr)) {
    return std::nullopt;
  }
  return value;
}

std::vector<std::string> Tree::names(const std::string& directory, const char* prefix) const {
  std::vector<std::string> names;
  const common::Ptr<GDir, g_dir_close> entries(g_dir_open((root_ + directory).c_str(), 0, nullptr));
  if (entries == nullptr) {
    return names;
  }
  while (const char* name = g_dir_read_name(entries.get())) {
    if (g_str_has_prefix(name, prefix)) {
      names.emplace_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::optional<std::int64_t> Tree::modified(const std::string& path) const {
  struct stat status = {};
  if (stat((root_ + path).c_str(), &status) != 0) {
    return std::nullopt;
  }
  return status.st_mtim.tv_sec;
}

}  // namespace host_monitor
