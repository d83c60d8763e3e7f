// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

/// Every message that arrived since the last reset, for the driver to work on.
class Recorder {
 public:
  /// As it stands in the file that write() makes, in the machine's own byte order.
  struct Record {
    std::uint64_t received;
    std::uint64_t sent;
    std::uint64_t number;
    std::uint64_t session;
  };

  Recorder();

  void reset(std::uint64_t expected);
  /// True for the message that makes the expected number full.
  bool add(const Record& record);

  std::uint64_t count() const { return records_.size(); }
  /// False if the file cannot be written; errno tells why.
  bool write(const char* path) const;

 private:
  std::vector<Record> records_;
  std::uint64_t expected_ = 0;
};
