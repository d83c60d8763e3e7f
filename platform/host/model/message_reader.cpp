// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/message_reader.h"

#include <glib.h>
#include <simdjson.h>

#include <optional>
#include <utility>

#include "platform/host/model/json_text.h"

namespace model {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

/// What is wrong with a message: the reason, and the byte at which it shows.
struct Fault {
  std::size_t byte;
  std::string reason;
};

std::optional<ItemGroup> groupOf(std::string_view name) {
  if (name == "Source") {
    return ItemGroup::Source;
  }
  if (name == "Key") {
    return ItemGroup::Key;
  }
  return name == "Data" ? std::optional(ItemGroup::Data) : std::nullopt;
}

/// The reader finds these before it looks at the structure, and does not say where.
Fault textFault(const std::string& text) {
  const char* valid_end = nullptr;
  // GLib takes a zero byte for the end, wherever it stands.
  if (g_utf8_validate_len(text.data(), text.size(), &valid_end) == FALSE && *valid_end != '\0') {
    return {static_cast<std::size_t>(valid_end - text.data()), "not valid UTF-8"};
  }
  std::size_t quote = text.find('"');
  while (quote != std::string::npos) {
    const std::string_view string = rawStringAt(text, quote).text;
    for (std::size_t at = 0; at < string.size(); ++at) {
      if (static_cast<unsigned char>(string[at]) < 0x20) {
        return {quote + 1 + at, "a control character in a string"};
      }
    }
    const std::size_t end = quote + 1 + string.size();
    if (end >= text.size()) {
      return {quote, "a string without an end"};
    }
    quote = text.find('"', end + 1);
  }
  return {text.size(), "not JSON"};
}

}  // namespace

struct MessageReader::Parser {
  ondemand::parser json;
};

/// Goes through a whole message: the reader beneath checks only what it is asked for.
class MessageReader::Walk {
 public:
  Walk(Message& message, ondemand::document& document) : message_(message), document_(document) {}

  void run() {
    ondemand::object root;
    if (document_.get_object().get(root) != simdjson::SUCCESS) {
      throw Fault{json().find_last_not_of(kWhiteSpace), "not the end of a JSON object"};
    }
    for (auto next : root) {
      ondemand::field field;
      check(std::move(next).get(field));
      const std::string_view name = text(keyOf(field));
      const auto group = groupOf(name);
      const std::string_view value =
          group ? readGroup(field.value(), *group) : skip(field.value(), kMemberDepth);
      if (group == ItemGroup::Source) {
        message_.source_ = value;
      }
    }
    const char* rest = nullptr;
    if (document_.current_location().get(rest) == simdjson::SUCCESS) {
      throw Fault{offset(rest), "something after the object"};
    }
  }

 private:
  std::string_view json() const { return message_.payload_; }
  std::size_t offset(const char* place) const {
    return static_cast<std::size_t>(place - json().data());
  }
  std::size_t position() {
    const char* place = nullptr;
    return document_.current_location().get(place) == simdjson::SUCCESS ? offset(place)
                                                                        : json().size();
  }
  void check(error_code code) {
    if (code != simdjson::SUCCESS) {
      throw Fault{position(), "not JSON: brackets, commas or colons are not as they must be"};
    }
  }

  static std::string_view token(ondemand::value value) {
    return trimWhiteSpace(value.raw_json_token());
  }

  ondemand::json_type typeOf(ondemand::value value) {
    ondemand::json_type type;
    if (value.type().get(type) != simdjson::SUCCESS) {
      throw Fault{offset(token(value).data()), "not a JSON value"};
    }
    return type;
  }

  RawString keyOf(ondemand::field& field) const {
    return rawStringAt(json(), offset(field.key().raw()) - 1);
  }

  /// A string is consumed, lest the reader take one before a stray colon for a key.
  RawString stringOf(ondemand::value& value) {
    const RawString raw = rawStringAt(json(), offset(token(value).data()));
    check(value.get_raw_json_string().error());
    return raw;
  }

  std::string_view literal(ondemand::value& value, bool null) {
    const std::string_view raw = token(value);
    if (null ? raw != "null" : !isSimpleLiteral(raw)) {
      throw Fault{offset(raw.data()), "not a JSON value"};
    }
    return raw;
  }

  /// Takes the items of a group, and returns its bytes.
  std::string_view readGroup(ondemand::value value, ItemGroup group) {
    if (typeOf(value) != ondemand::json_type::object) {
      return skip(value, kMemberDepth);
    }
    const std::size_t start = offset(token(value).data());
    ondemand::object items;
    check(value.get_object().get(items));
    for (auto next : items) {
      ondemand::field field;
      check(std::move(next).get(field));
      const std::string_view name = text(keyOf(field));
      const ondemand::json_type type = typeOf(field.value());
      if (type == ondemand::json_type::string) {
        message_.items_.push_back({name, text(stringOf(field.value())), group, false});
      } else if (type == ondemand::json_type::number || type == ondemand::json_type::boolean) {
        message_.items_.push_back({name, literal(field.value(), false), group, false});
      } else {
        skip(field.value(), kMemberDepth + 1);
        message_.items_.push_back({name, {}, group, true});
      }
    }
    return trimWhiteSpace(json().substr(start, position() - start));
  }

  /// Checks a value in which no items stand, and returns its bytes. A container here would be
  /// number `depth` within each other.
  std::string_view skip(ondemand::value value, std::size_t depth) {
    const ondemand::json_type type = typeOf(value);
    const std::string_view first = token(value);
    if (type == ondemand::json_type::string) {
      checkEscapes(stringOf(value));
      return first;
    }
    if (type != ondemand::json_type::object && type != ondemand::json_type::array) {
      return literal(value, type == ondemand::json_type::null);
    }
    if (depth > kMaxDepth) {
      throw Fault{offset(first.data()), "more than " + std::to_string(kMaxDepth) +
                                            " objects and arrays within each other"};
    }
    if (type == ondemand::json_type::object) {
      skipObject(value, depth);
    } else {
      skipArray(value, depth);
    }
    const std::size_t start = offset(first.data());
    return trimWhiteSpace(json().substr(start, position() - start));
  }

  void skipObject(ondemand::value& value, std::size_t depth) {
    ondemand::object object;
    check(value.get_object().get(object));
    for (auto next : object) {
      ondemand::field field;
      check(std::move(next).get(field));
      checkEscapes(keyOf(field));
      skip(field.value(), depth + 1);
    }
  }

  void skipArray(ondemand::value& value, std::size_t depth) {
    ondemand::array array;
    check(value.get_array().get(array));
    for (auto next : array) {
      ondemand::value element;
      // get() takes rvalues only. NOLINTNEXTLINE(performance-move-const-arg)
      check(std::move(next).get(element));
      skip(element, depth + 1);
    }
  }

  void checkEscapes(RawString raw) {
    if (raw.escaped) {
      scratch_.clear();
      resolve(raw.text, scratch_);
    }
  }

  void resolve(std::string_view raw, std::string& out) const {
    const std::size_t fault = resolveEscapes(raw, out);
    if (fault != std::string_view::npos) {
      throw Fault{offset(raw.data()) + fault, "an escape that JSON does not have"};
    }
  }

  /// The string's characters, in the message itself where it has no escapes.
  std::string_view text(RawString raw) {
    if (!raw.escaped) {
      return raw.text;
    }
    std::string& resolved = message_.resolved_.emplace_front();
    resolve(raw.text, resolved);
    return resolved;
  }

  /// Which container, counted from outside, a member of the message itself can be.
  static constexpr std::size_t kMemberDepth = 2;

  Message& message_;
  ondemand::document& document_;
  std::string scratch_;
};

MessageReader::MessageReader() : parser_(std::make_unique<Parser>()) {}
MessageReader::~MessageReader() = default;

std::shared_ptr<const Message> MessageReader::read(std::string_view payload, std::string& error) {
  // The reader beneath may look at bytes behind the end, which must be ours and no brackets.
  std::string padded(payload);
  padded.append(simdjson::SIMDJSON_PADDING, '\0').resize(payload.size());
  const std::shared_ptr<Message> message(new Message(std::move(padded)));
  try {
    const std::string& text = message->payload();
    const std::string_view start = trimWhiteSpace(text);
    if (start.empty() || start.front() != '{') {
      throw Fault{
          start.empty() ? text.size() : static_cast<std::size_t>(start.data() - text.data()),
          "not a JSON object"};
    }
    ondemand::document document;
    if (parser_->json.iterate(text, text.capacity()).get(document) != simdjson::SUCCESS) {
      throw textFault(text);
    }
    Walk(*message, document).run();
  } catch (const Fault& fault) {
    error = "byte " + std::to_string(fault.byte + 1) + ": " + fault.reason;
    return nullptr;
  }
  return message;
}

}  // namespace model
