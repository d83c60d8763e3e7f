// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/json_string.h"

namespace event {

std::string jsonString(std::string_view text) {
  constexpr const char* kHex = "0123456789abcdef";
  std::string out = "\"";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte == '"' || byte == '\\') {
      out += '\\';
      out += character;
    } else if (byte < 0x20) {
      out += "\\u00";
      out += kHex[byte >> 4U];
      out += kHex[byte & 0xfU];
    } else {
      out += character;
    }
  }
  out += '"';
  return out;
}

}  // namespace event
