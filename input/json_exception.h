// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <exception>
#include <string>
#include <utility>

/// A params payload that cannot be read.
class JsonException : public std::exception {
 public:
  explicit JsonException(std::string message) : message_(std::move(message)) {}
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};
