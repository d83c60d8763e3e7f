// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace event {

/// `text`, which is UTF-8, as a JSON string with its quotes.
std::string jsonString(std::string_view text);

}  // namespace event
