// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace event {

/// What the configuration file says about the broker: event2.conf(5). Checked as a whole.
struct Configuration {
  /// As written, for the log.
  std::string address = "localhost:1883";
  /// A host name or address, or the path of a Unix socket, which has no port.
  std::string host = "localhost";
  int port = 1883;
  /// The MQTT filter before `/onvif-ej/`.
  std::string topicPrefix = "+";
  std::string username;
  std::string password;
  std::string caFile;
  std::string certFile;
  std::string keyFile;

  bool isUnixSocket() const { return port == 0; }

  /// Reads the file that $EVENT2_CONFIG names, else /etc/event2.conf, which need not be there.
  /// False with `error` naming the file, the key and the reason if anything of it is unusable.
  bool load(std::string& error);
  /// The same with a file that must be there.
  bool loadFile(const std::string& path, std::string& error);
};

}  // namespace event
