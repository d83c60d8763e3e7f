// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "bench/common/message.h"

#include <cstring>

namespace bench {

namespace {

constexpr std::string_view kOpen = R"({"notification":)";
constexpr std::string_view kEvent =
    R"({"topic":"tns1:Device/Trigger/Relay","origin":"b","message":)";
constexpr std::string_view kPublished = R"({"UtcTime":"2026-01-01T00:00:00Z","Source":{},"Data":{)";
constexpr std::string_view kNumber = R"("N":")";
constexpr std::string_view kSent = R"(","T":")";
constexpr std::string_view kPadding = R"(","P":")";
constexpr std::string_view kClose = R"("}}}})";

constexpr std::size_t kNumberDigits = 10;
constexpr std::size_t kSentDigits = 18;
constexpr std::size_t kNumberAt = kOpen.size() + kEvent.size() + kPublished.size() + kNumber.size();
constexpr std::size_t kSentAt = kNumberAt + kNumberDigits + kSent.size();
constexpr std::size_t kPaddingAt = kSentAt + kSentDigits + kPadding.size();

void writeDigits(char* first, std::size_t digits, std::uint64_t value) {
  for (char* place = first + digits; place != first; value /= 10) {
    *--place = static_cast<char>('0' + value % 10);
  }
}

bool readDigits(const char* first, std::size_t digits, std::uint64_t& value) {
  value = 0;
  for (const char* place = first; place != first + digits; ++place) {
    if (*place < '0' || *place > '9') {
      return false;
    }
    value = value * 10 + static_cast<std::uint64_t>(*place - '0');
  }
  return true;
}

}  // namespace

std::size_t Message::smallest() {
  return kPaddingAt + kClose.size();
}

Message::Message(std::size_t size) {
  text_.append(kOpen).append(kEvent).append(kPublished);
  text_.append(kNumber).append(kNumberDigits, '0');
  text_.append(kSent).append(kSentDigits, '0');
  text_.append(kPadding).append(size - smallest(), 'x').append(kClose);
}

void Message::stamp(std::uint64_t number, std::uint64_t sent) {
  writeDigits(&text_[kNumberAt], kNumberDigits, number);
  writeDigits(&text_[kSentAt], kSentDigits, sent);
}

std::string_view Message::event() const {
  return std::string_view(text_).substr(kOpen.size(), text_.size() - kOpen.size() - 1);
}

std::string_view Message::published() const {
  return event().substr(kEvent.size(), event().size() - kEvent.size() - 1);
}

bool readStamp(const char* payload, Stamp& stamp) {
  const char* number = std::strstr(payload, kNumber.data());
  if (number == nullptr) {
    return false;
  }
  number += kNumber.size();
  // A digit that is missing ends the reading, also at the end of the text.
  if (!readDigits(number, kNumberDigits, stamp.number)) {
    return false;
  }
  const char* sent = number + kNumberDigits;
  if (std::strncmp(sent, kSent.data(), kSent.size()) != 0) {
    return false;
  }
  return readDigits(sent + kSent.size(), kSentDigits, stamp.sent);
}

}  // namespace bench
