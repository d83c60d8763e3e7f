// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/configuration.h"

#include <fcntl.h>
#include <mosquitto.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <memory>
#include <string_view>

#include "common/ptr.h"

namespace event {

namespace {

constexpr const char* kDefaultFile = "/etc/event2.conf";
constexpr const char* kGroup = "broker";
constexpr int kDefaultPort = 1883;
/// What MQTT allows for a user name and a password.
constexpr std::size_t kMaxLogin = 65535;

/// Whether MQTT takes it as a text: it allows no control characters.
bool isMqttText(const std::string& text) {
  return mosquitto_validate_utf8(text.data(), static_cast<int>(text.size())) == MOSQ_ERR_SUCCESS;
}

using KeyFilePtr = common::Ptr<GKeyFile, g_key_file_unref>;

/// Sets the fields of a configuration from one key file; the first fault ends it.
class Reader {
 public:
  Reader(Configuration& target, GKeyFile* file) : target_(target), file_(file) {}

  bool read();
  /// What was wrong, starting with the key.
  const std::string& fault() const { return fault_; }

 private:
  struct Key {
    const char* name;
    bool (Reader::*set)(const std::string& value);
  };
  static const Key kKeys[];

  bool checkGroups();
  bool readKey(const char* name);
  bool checkWhole();
  bool fail(const std::string& fault) {
    fault_ = fault;
    return false;
  }

  bool setAddress(const std::string& value);
  bool setHostAndPort(std::string_view value);
  bool setTopicPrefix(const std::string& value);
  bool setUsername(const std::string& value);
  bool setPasswordFile(const std::string& value);
  bool setCaFile(const std::string& value) { return setFile(target_.caFile, value); }
  bool setCertFile(const std::string& value) { return setFile(target_.certFile, value); }
  bool setKeyFile(const std::string& value) { return setFile(target_.keyFile, value); }
  bool setFile(std::string& target, const std::string& path);
  bool isFile(const std::string& path);

  Configuration& target_;
  GKeyFile* file_;
  std::string fault_;
};

const Reader::Key Reader::kKeys[] = {
    {"address", &Reader::setAddress},   {"topic-prefix", &Reader::setTopicPrefix},
    {"username", &Reader::setUsername}, {"password-file", &Reader::setPasswordFile},
    {"ca-file", &Reader::setCaFile},    {"cert-file", &Reader::setCertFile},
    {"key-file", &Reader::setKeyFile}};

bool Reader::read() {
  if (!checkGroups()) {
    return false;
  }
  if (!g_key_file_has_group(file_, kGroup)) {
    return true;
  }
  const common::GStrvPtr keys(g_key_file_get_keys(file_, kGroup, nullptr, nullptr));
  for (char** key = keys.get(); *key != nullptr; ++key) {
    if (!readKey(*key)) {
      fault_ = std::string("[") + kGroup + "] " + *key + ": " + fault_;
      return false;
    }
  }
  return checkWhole();
}

bool Reader::checkGroups() {
  const common::GStrvPtr groups(g_key_file_get_groups(file_, nullptr));
  for (char** group = groups.get(); *group != nullptr; ++group) {
    if (std::string_view(*group) != kGroup) {
      return fail(std::string("[") + *group + "]: unknown group; there is only [" + kGroup + "]");
    }
  }
  return true;
}

bool Reader::readKey(const char* name) {
  const auto* key = std::find_if(std::begin(kKeys), std::end(kKeys), [name](const Key& known) {
    return std::string_view(known.name) == name;
  });
  if (key == std::end(kKeys)) {
    return fail("unknown key");
  }
  common::GErrorPtr error;
  const common::GCharPtr value(
      g_key_file_get_string(file_, kGroup, name, common::GErrorOut(error)));
  if (value == nullptr) {
    return fail(error->message);
  }
  if (*value == '\0') {
    return fail("empty");
  }
  return (this->*key->set)(value.get());
}

bool Reader::checkWhole() {
  const std::string group = std::string("[") + kGroup + "] ";
  if (!target_.password.empty() && target_.username.empty()) {
    return fail(group + "password-file: of no use without username");
  }
  if (target_.certFile.empty() != target_.keyFile.empty()) {
    return fail(group + (target_.keyFile.empty() ? "cert-file: of no use without key-file"
                                                 : "key-file: of no use without cert-file"));
  }
  if (target_.caFile.empty() && !target_.certFile.empty()) {
    return fail(group + "cert-file: of no use without ca-file");
  }
  if (target_.isUnixSocket() && !target_.caFile.empty()) {
    return fail(group + "ca-file: TLS is for host names, not for a Unix socket");
  }
  return true;
}

bool Reader::setAddress(const std::string& value) {
  target_.address = value;
  constexpr std::string_view kUnix = "unix:";
  if (value.compare(0, kUnix.size(), kUnix) != 0) {
    return setHostAndPort(value);
  }
  target_.host = value.substr(kUnix.size());
  target_.port = 0;
  if (target_.host.empty() || target_.host.front() != '/') {
    return fail("\"" + value + "\": unix: wants an absolute path");
  }
  if (target_.host.size() >= sizeof(sockaddr_un::sun_path)) {
    return fail("\"" + value + "\": the path is longer than a Unix socket's may be");
  }
  return true;
}

bool Reader::setHostAndPort(std::string_view value) {
  const std::string quoted = "\"" + std::string(value) + "\": ";
  std::string_view host = value;
  std::string_view port;
  bool hasPort = false;
  if (value.front() == '[') {
    const std::size_t end = value.find(']');
    if (end == std::string_view::npos || (end + 1 < value.size() && value[end + 1] != ':')) {
      return fail(quoted + "not of the form [address] or [address]:port");
    }
    host = value.substr(1, end - 1);
    hasPort = end + 1 < value.size();
    port = hasPort ? value.substr(end + 2) : port;
  } else if (const std::size_t colon = value.find(':'); colon != std::string_view::npos) {
    host = value.substr(0, colon);
    hasPort = true;
    port = value.substr(colon + 1);
  }
  if (host.empty() || host.find_first_of(" \t/@[]") != std::string_view::npos) {
    return fail(quoted + "not of the form unix:/path, host or host:port");
  }
  target_.host = host;
  target_.port = kDefaultPort;
  if (!hasPort) {
    return true;
  }
  const auto [end, code] = std::from_chars(port.data(), port.data() + port.size(), target_.port);
  if (code != std::errc() || end != port.data() + port.size() || target_.port < 1 ||
      target_.port > 65535) {
    return fail(quoted +
                "the port must be a number from 1 to 65535 (an IPv6 address stands in [])");
  }
  return true;
}

bool Reader::setTopicPrefix(const std::string& value) {
  target_.topicPrefix = value;
  const std::string filter = value + "/onvif-ej/#";
  if (value.find('#') != std::string::npos || value.back() == '/' ||
      mosquitto_sub_topic_check(filter.c_str()) != MOSQ_ERR_SUCCESS || !isMqttText(filter)) {
    return fail("\"" + value + "\": not usable as the start of an MQTT topic filter");
  }
  return true;
}

bool Reader::setUsername(const std::string& value) {
  target_.username = value;
  if (value.size() > kMaxLogin) {
    return fail("longer than MQTT allows");
  }
  return isMqttText(value) || fail("holds a control character, which MQTT does not allow");
}

/// Not a device or a pipe, which may have no end or never begin.
bool Reader::isFile(const std::string& path) {
  constexpr auto kUsual = static_cast<GFileTest>(G_FILE_TEST_IS_REGULAR | G_FILE_TEST_IS_DIR);
  return !g_file_test(path.c_str(), G_FILE_TEST_EXISTS) || g_file_test(path.c_str(), kUsual) ||
         fail(path + ": not a regular file");
}

bool Reader::setPasswordFile(const std::string& value) {
  if (!isFile(value)) {
    return false;
  }
  char* text = nullptr;
  gsize length = 0;
  common::GErrorPtr error;
  if (!g_file_get_contents(value.c_str(), &text, &length, common::GErrorOut(error))) {
    return fail(error->message);
  }
  const common::GCharPtr owned(text);
  // Editors end a line; a password holds no line end.
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) {
    --length;
  }
  target_.password.assign(text, length);
  if (length == 0 || length > kMaxLogin || target_.password.find('\0') != std::string::npos) {
    return fail(value + ": does not hold one password");
  }
  return true;
}

bool Reader::setFile(std::string& target, const std::string& path) {
  target = path;
  if (!isFile(path)) {
    return false;
  }
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return fail(path + ": " + g_strerror(errno));
  }
  char byte = 0;
  const ssize_t got = ::read(file, &byte, 1);
  const int code = errno;
  close(file);
  if (got <= 0) {
    return fail(path + ": " + (got == 0 ? "empty" : g_strerror(code)));
  }
  return true;
}

}  // namespace

bool Configuration::load(std::string& error) {
  if (const char* named = g_getenv("EVENT2_CONFIG"); named != nullptr) {
    if (*named == '\0') {
      error = "EVENT2_CONFIG is empty: it names no file";
      return false;
    }
    return loadFile(named, error);
  }
  // Only a file that is not there at all means the defaults: one that cannot be read does not.
  return !g_file_test(kDefaultFile, G_FILE_TEST_EXISTS) || loadFile(kDefaultFile, error);
}

bool Configuration::loadFile(const std::string& path, std::string& error) {
  const KeyFilePtr file(g_key_file_new());
  common::GErrorPtr failure;
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE,
                                 common::GErrorOut(failure))) {
    error = path + ": " + failure->message;
    return false;
  }
  Reader reader(*this, file.get());
  if (!reader.read()) {
    error = path + ": " + reader.fault();
    return false;
  }
  return true;
}

}  // namespace event
