// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/devkit/fake_data_source.h"

#include <stdexcept>

#include "service/dbus_names.h"
#include "tests/support/glib_test.h"

namespace devkit_test {

FakeDataSource::FakeDataSource(const support::PrivateBus& bus, bool present)
    : bus_(bus), skeleton_(wsdata_streaming1_data_source_skeleton_new()) {
  g_signal_connect(skeleton_.get(), "handle-create-session", G_CALLBACK(onCreate), this);
  g_signal_connect(skeleton_.get(), "handle-remove-session", G_CALLBACK(onRemove), this);
  g_signal_connect(skeleton_.get(), "handle-handle-request", G_CALLBACK(onRequest), this);
  if (present) {
    appear();
  }
}

FakeDataSource::~FakeDataSource() {
  if (client_ != nullptr) {
    disappear();
  }
}

void FakeDataSource::appear() {
  client_ = std::make_unique<support::BusClient>(bus_.connect());
  if (!g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(skeleton_.get()),
                                        client_->connection(), dbus_names::kDataSourceObjectPath,
                                        nullptr)) {
    throw std::runtime_error("cannot export the data source");
  }
  const support::Reply reply =
      client_->call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "RequestName", g_variant_new("(su)", dbus_names::kDataSourceBusName, 4U));
  if (!reply.ok()) {
    throw std::runtime_error("cannot own the data source's name: " + reply.errorMessage);
  }
}

void FakeDataSource::disappear() {
  g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(skeleton_.get()));
  g_dbus_connection_close_sync(client_->connection(), nullptr, nullptr);
  for (GDBusMethodInvocation* invocation : waiting_) {
    g_object_unref(invocation);
  }
  waiting_.clear();
  client_.reset();
}

void FakeDataSource::refuse(const std::string& method, const std::string& error,
                            const std::string& text) {
  refusals_[method] = {error, text};
}

void FakeDataSource::release() {
  heldBack_.clear();
  for (GDBusMethodInvocation* invocation : waiting_) {
    g_dbus_method_invocation_return_value(invocation, nullptr);
  }
  waiting_.clear();
}

bool FakeDataSource::waitForCalls(std::size_t count) const {
  return support::waitFor([&] { return calls_.size() >= count; });
}

gboolean FakeDataSource::onCreate(WSDataStreaming1DataSource* /*object*/,
                                  GDBusMethodInvocation* invocation, const char* session,
                                  const char* const* groups, gpointer data) {
  std::string arguments = session;
  for (; *groups != nullptr; ++groups) {
    arguments += std::string(", group ") + *groups;
  }
  static_cast<FakeDataSource*>(data)->answer(invocation, arguments);
  return TRUE;
}

gboolean FakeDataSource::onRemove(WSDataStreaming1DataSource* /*object*/,
                                  GDBusMethodInvocation* invocation, const char* session,
                                  gpointer data) {
  static_cast<FakeDataSource*>(data)->answer(invocation, session);
  return TRUE;
}

gboolean FakeDataSource::onRequest(WSDataStreaming1DataSource* /*object*/,
                                   GDBusMethodInvocation* invocation, const char* session,
                                   const char* version, const char* requestId, const char* source,
                                   const char* method, const char* params, gpointer data) {
  std::string arguments = session;
  for (const char* argument : {version, requestId, source, method, params}) {
    arguments += std::string(", ") + argument;
  }
  static_cast<FakeDataSource*>(data)->answer(invocation, arguments);
  return TRUE;
}

void FakeDataSource::answer(GDBusMethodInvocation* invocation, const std::string& arguments) {
  const std::string method = g_dbus_method_invocation_get_method_name(invocation);
  calls_.push_back(method + "(" + arguments + ")");
  const auto refusal = refusals_.find(method);
  if (refusal != refusals_.end()) {
    g_dbus_method_invocation_return_dbus_error(invocation, refusal->second.error.c_str(),
                                               refusal->second.text.c_str());
  } else if (method == heldBack_) {
    waiting_.push_back(invocation);
  } else {
    g_dbus_method_invocation_return_value(invocation, nullptr);
  }
}

support::BusClient::Pending FakeDataSource::send(const char* method, GVariant* arguments) {
  return client_->send(dbus_names::kServiceBusName, dbus_names::kServiceObjectPath,
                       dbus_names::kServiceBusName, method, arguments);
}

support::BusClient::Pending FakeDataSource::respond(const std::string& session,
                                                    const std::string& payload,
                                                    const std::string& requestId) {
  return send("SendResponse", g_variant_new("(ssssss)", session.c_str(), "1.0", requestId.c_str(),
                                            "events", "configure", payload.c_str()));
}

support::BusClient::Pending FakeDataSource::respondError(const std::string& session,
                                                         const std::string& payload) {
  return send("SendErrorResponse", g_variant_new("(ssssss)", session.c_str(), "1.0", "1", "events",
                                                 "configure", payload.c_str()));
}

support::BusClient::Pending FakeDataSource::notify(const std::string& session,
                                                   const std::string& payload) {
  return send("SendStreamData", g_variant_new("(sssss)", session.c_str(), "1.0", "events", "notify",
                                              payload.c_str()));
}

}  // namespace devkit_test
