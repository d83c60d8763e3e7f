// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>

namespace unit {

/// Payloads that the tests of both readers of a payload share.

/// The nesting at which the JSON library gives up.
constexpr std::size_t kJsonDepthLimit = 2048;
constexpr std::size_t kTenMebibytes = 10U * 1024 * 1024;

inline std::string withElements(const std::string& elements) {
  return R"({"eventFilterList":[)" + elements + "]}";
}

/// A good filter list beside an array that is nested so that the whole has this depth.
inline std::string withDepth(std::size_t depth) {
  return R"({"eventFilterList":[{"topicFilter":"a"}],"x":)" + std::string(depth - 1, '[') +
         std::string(depth - 1, ']') + "}";
}

}  // namespace unit
