// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/bus_client.h"

#include <ostream>
#include <stdexcept>
#include <utility>

#include "service/dbus_names.h"
#include "tests/support/glib_test.h"

namespace support {

namespace {

constexpr const char* kDataSourceInterface = "com.ovra.WSDataStreaming1.DataSource";
constexpr const char* kBus = "org.freedesktop.DBus";

std::string text(const char* value) {
  return value == nullptr ? "" : value;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Reply& reply) {
  if (!reply.arrived) {
    return out << "no reply";
  }
  return reply.errorName.empty() ? out << "reply " << reply.body
                                 : out << reply.errorName << ": " << reply.errorMessage;
}

BusClient::BusClient(common::GObjectPtr<GDBusConnection> connection)
    : connection_(std::move(connection)), destination_(dbus_names::kDataSourceBusName) {}

BusClient::~BusClient() {
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

BusClient::Pending BusClient::send(const std::string& destination, const std::string& path,
                                   const std::string& interface, const std::string& method,
                                   GVariant* arguments) {
  const common::GObjectPtr<GDBusMessage> message(g_dbus_message_new_method_call(
      destination.c_str(), path.c_str(), interface.c_str(), method.c_str()));
  if (arguments != nullptr) {
    g_dbus_message_set_body(message.get(), arguments);
  }
  auto pending = std::make_shared<Reply>();
  g_dbus_connection_send_message_with_reply(connection_.get(), message.get(),
                                            G_DBUS_SEND_MESSAGE_FLAGS_NONE, G_MAXINT, nullptr,
                                            nullptr, onReply, new Pending(pending));
  return pending;
}

void BusClient::onReply(GObject* source, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Pending> pending(static_cast<Pending*>(data));
  Reply& reply = **pending;
  common::GErrorPtr error;
  const common::GObjectPtr<GDBusMessage> message(g_dbus_connection_send_message_with_reply_finish(
      G_DBUS_CONNECTION(source), result, common::GErrorOut(error)));
  reply.arrived = true;
  if (message == nullptr) {
    reply.errorName = "not sent";
    reply.errorMessage = error->message;
    return;
  }
  reply.serial = g_dbus_message_get_serial(message.get());
  reply.signature = text(g_dbus_message_get_signature(message.get()));
  GVariant* body = g_dbus_message_get_body(message.get());
  if (g_dbus_message_get_message_type(message.get()) == G_DBUS_MESSAGE_TYPE_ERROR) {
    reply.errorName = text(g_dbus_message_get_error_name(message.get()));
    reply.errorMessage = text(g_dbus_message_get_arg0(message.get()));
  } else {
    reply.text = text(g_dbus_message_get_arg0(message.get()));
    reply.body = body == nullptr ? "()" : common::GCharPtr(g_variant_print(body, FALSE)).get();
  }
}

BusClient::Pending BusClient::sendCreateSession(const std::string& id,
                                                const std::vector<std::string>& groups) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_STRING_ARRAY);
  for (const std::string& group : groups) {
    g_variant_builder_add(&builder, "s", group.c_str());
  }
  return send(destination_, dbus_names::kDataSourceObjectPath, kDataSourceInterface,
              "CreateSession", g_variant_new("(sas)", id.c_str(), &builder));
}

BusClient::Pending BusClient::sendRemoveSession(const std::string& id) {
  return send(destination_, dbus_names::kDataSourceObjectPath, kDataSourceInterface,
              "RemoveSession", g_variant_new("(s)", id.c_str()));
}

BusClient::Pending BusClient::sendHandleRequest(const std::string& id, const std::string& payload,
                                                const std::string& requestId,
                                                const std::string& version,
                                                const std::string& source,
                                                const std::string& method) {
  return send(destination_, dbus_names::kDataSourceObjectPath, kDataSourceInterface,
              "HandleRequest",
              g_variant_new("(ssssss)", id.c_str(), version.c_str(), requestId.c_str(),
                            source.c_str(), method.c_str(), payload.c_str()));
}

Reply BusClient::createSession(const std::string& id, const std::vector<std::string>& groups) {
  return await(sendCreateSession(id, groups));
}

Reply BusClient::removeSession(const std::string& id) {
  return await(sendRemoveSession(id));
}

Reply BusClient::handleRequest(const std::string& id, const std::string& payload,
                               const std::string& requestId, const std::string& version,
                               const std::string& source, const std::string& method) {
  return await(sendHandleRequest(id, payload, requestId, version, source, method));
}

Reply BusClient::call(const std::string& destination, const std::string& path,
                      const std::string& interface, const std::string& method,
                      GVariant* arguments) {
  return await(send(destination, path, interface, method, arguments));
}

Reply BusClient::await(const Pending& pending) {
  if (!waitFor([&] { return pending->arrived; })) {
    throw std::runtime_error("no reply before the deadline");
  }
  return *pending;
}

void BusClient::barrier() {
  const Reply reply = call(destination_, dbus_names::kDataSourceObjectPath,
                           "org.freedesktop.DBus.Peer", "Ping", nullptr);
  if (!reply.ok()) {
    throw std::runtime_error("ping: " + reply.errorName + ": " + reply.errorMessage);
  }
}

std::string BusClient::ownerOf(const std::string& busName) {
  return call(kBus, "/org/freedesktop/DBus", kBus, "GetNameOwner",
              g_variant_new("(s)", busName.c_str()))
      .text;
}

std::string BusClient::connectionOf(pid_t process) {
  const Reply names = call(kBus, "/org/freedesktop/DBus", kBus, "ListNames", nullptr);
  const common::GStrvPtr words(g_strsplit_set(names.body.c_str(), "'", -1));
  for (char** word = words.get(); *word != nullptr; ++word) {
    if (**word == ':') {
      const Reply owner = call(kBus, "/org/freedesktop/DBus", kBus, "GetConnectionUnixProcessID",
                               g_variant_new("(s)", *word));
      // The body is (uint32 N,) or (N,), printed without types.
      if (owner.body == "(" + std::to_string(process) + ",)") {
        return *word;
      }
    }
  }
  return "";
}

}  // namespace support
