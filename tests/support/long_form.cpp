// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/long_form.h"

#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace support {

double setting(const char* variable, double otherwise) {
  const char* const text = std::getenv(variable);
  if (text == nullptr) {
    return otherwise;
  }
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (end == text || *end != '\0' || !(value > 0) || !std::isfinite(value)) {
    throw std::runtime_error(std::string(variable) + ": \"" + text + "\" is no number above 0");
  }
  return value;
}

std::size_t scaled(std::size_t usual) {
  const double size =
      static_cast<double>(usual) * setting("LUMENFEED_LOAD_FACTOR", kSanitized ? 0.1 : 1);
  return size < 1 ? 1 : static_cast<std::size_t>(size);
}

std::mt19937 randomNumbers() {
  return std::mt19937(static_cast<std::mt19937::result_type>(setting("LUMENFEED_SEED", 20'260)));
}

std::size_t below(std::mt19937& random, std::size_t limit) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

}  // namespace support
