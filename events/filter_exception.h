// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <exception>
#include <string>

/// A filter that the event system cannot use; the message is the platform library's.
class FilterException : public std::exception {
 public:
  explicit FilterException(const std::string& message) : message_(message) {}
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};
