// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

/// What clients of the stream see: versions, names and error codes.
namespace api {

/// The version of every message that the service sends, whatever version a request gave.
constexpr const char* kVersion = "1.0";
constexpr const char* kSourceId = "events";
constexpr const char* kConfigure = "configure";
constexpr const char* kNotify = "notify";

constexpr std::int32_t kInternalError = 1100;
constexpr std::int32_t kBadVersion = 2100;
constexpr std::int32_t kBadMethod = 2102;
/// A bad payload, or a filter that cannot be used.
constexpr std::int32_t kBadPayload = 2104;

}  // namespace api
