// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

/// Every name by which the service is known on the system bus or knows others.
namespace dbus_names {

constexpr const char* kDataSourceBusName = "com.ovra.WSEventDataSource1";
constexpr const char* kDataSourceObjectPath = "/com/ovra/WSEventDataSource1";

/// Also the name of the interface that is called there: deliberately one text.
constexpr const char* kServiceBusName = "com.ovra.WSDataStreaming1.Service";
constexpr const char* kServiceObjectPath = "/com/ovra/WSDataStreaming1/Service";

/// Errors that callers of the data source get; the index is the code in their GLib domain.
constexpr const char* kDataSourceErrorDomain = "WebSocketEventError";
constexpr const char* kSessionAlreadyUsed =
    "com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed";
constexpr const char* kTooManySessions =
    "com.ovra.WSDataStreaming1.DataSource.Error.TooManySessions";
constexpr const char* kInvalidSession = "com.ovra.WSDataStreaming1.DataSource.Error.InvalidSession";
constexpr const char* kInvalidSource = "com.ovra.WSDataStreaming1.DataSource.Error.InvalidSource";
constexpr const char* kDataSourceErrors[] = {kSessionAlreadyUsed, kTooManySessions, kInvalidSession,
                                             kInvalidSource};

/// Errors that the streaming service answers with; the index is the code in their GLib domain.
constexpr const char* kServiceErrorDomain = "WebSocketDataStreamingError";
constexpr const char* kServiceErrors[] = {"com.ovra.WSDataStreaming1.Error.InvalidSession",
                                          "com.ovra.WSDataStreaming1.Error.InvalidParameter"};
/// The code of the first of them: the streaming service does not know the session (any more).
constexpr int kServiceErrorInvalidSession = 0;

}  // namespace dbus_names
