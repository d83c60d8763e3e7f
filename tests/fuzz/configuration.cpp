// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <mosquitto.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "platform/host/event/configuration.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

/// What the rest of the library takes for granted.
void check(const event::Configuration& made) {
  FUZZ_CHECK(!made.host.empty() && !made.address.empty());
  FUZZ_CHECK(made.isUnixSocket() ? made.host[0] == '/' : made.port > 0 && made.port < 65536);
  FUZZ_CHECK(made.password.empty() || !made.username.empty());
  FUZZ_CHECK(made.certFile.empty() == made.keyFile.empty());
  FUZZ_CHECK(made.certFile.empty() || !made.caFile.empty());
  FUZZ_CHECK(made.caFile.empty() || !made.isUnixSocket());
  const std::string filter = made.topicPrefix + "/onvif-ej/#";
  FUZZ_CHECK(mosquitto_sub_topic_check(filter.c_str()) == MOSQ_ERR_SUCCESS);
  for (const std::string& text : {filter, made.username}) {
    FUZZ_CHECK(text.size() < 65536);
    FUZZ_CHECK(text.empty() || mosquitto_validate_utf8(
                                   text.data(), static_cast<int>(text.size())) == MOSQ_ERR_SUCCESS);
  }
}

}  // namespace

/// Whatever stands in the configuration file: refused with the file and a reason, or usable.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int file = memfd_create("event2.conf", MFD_CLOEXEC);
  FUZZ_CHECK(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size));
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  event::Configuration made;
  std::string error;
  if (made.loadFile(path, error)) {
    check(made);
  } else {
    FUZZ_CHECK(error.size() > path.size() + 2 && error.compare(0, path.size(), path) == 0);
  }
  close(file);
  return 0;
}
