// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/raw_client.h"

#include <stdexcept>

#include "common/ptr.h"
#include "service/dbus_names.h"
#include "tests/support/glib_test.h"

namespace support {

namespace {

using MessagePtr = common::Ptr<DBusMessage, dbus_message_unref>;

struct Error : DBusError {
  Error() { dbus_error_init(this); }
  ~Error() { dbus_error_free(this); }
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;
};

}  // namespace

RawClient::RawClient(const std::string& address) {
  Error error;
  connection_ = dbus_connection_open_private(address.c_str(), &error);
  if (connection_ == nullptr || !dbus_bus_register(connection_, &error)) {
    throw std::runtime_error(std::string("libdbus: ") + error.message);
  }
  dbus_connection_set_exit_on_disconnect(connection_, FALSE);
}

RawClient::~RawClient() {
  dbus_connection_close(connection_);
  dbus_connection_unref(connection_);
}

DBusMessage* RawClient::newCall(const std::string& method) {
  return dbus_message_new_method_call(dbus_names::kDataSourceBusName,
                                      dbus_names::kDataSourceObjectPath,
                                      "com.ovra.WSDataStreaming1.DataSource", method.c_str());
}

Reply RawClient::call(const std::string& method, const std::vector<std::string>& arguments) {
  const MessagePtr message(newCall(method));
  for (const std::string& argument : arguments) {
    const char* text = argument.c_str();
    dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
  }
  return exchange(message.get());
}

Reply RawClient::createSession(const std::string& id) {
  const MessagePtr message(newCall("CreateSession"));
  const char* text = id.c_str();
  const char* const none[] = {nullptr};
  const char* const* groups = none;
  dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_ARRAY,
                           DBUS_TYPE_STRING, &groups, 0, DBUS_TYPE_INVALID);
  return exchange(message.get());
}

void RawClient::own(const std::string& busName) {
  Error error;
  if (dbus_bus_request_name(connection_, busName.c_str(), DBUS_NAME_FLAG_DO_NOT_QUEUE, &error) !=
      DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
    throw std::runtime_error("libdbus: cannot own " + busName);
  }
}

bool RawClient::receive(const std::string& method) {
  return waitFor([&] {
    dbus_connection_read_write(connection_, 0);
    while (DBusMessage* taken = dbus_connection_pop_message(connection_)) {
      const MessagePtr message(taken);
      const char* member = dbus_message_get_member(message.get());
      if (member != nullptr && method == member) {
        return true;
      }
    }
    return false;
  });
}

Reply RawClient::exchange(DBusMessage* call) {
  DBusPendingCall* sent = nullptr;
  dbus_connection_send_with_reply(connection_, call, &sent, static_cast<int>(kDeadline.count()));
  if (sent == nullptr) {
    throw std::runtime_error("libdbus: the connection is closed");
  }
  dbus_pending_call_block(sent);
  const MessagePtr message(dbus_pending_call_steal_reply(sent));
  dbus_pending_call_unref(sent);
  Reply reply;
  reply.arrived = true;
  reply.serial = dbus_message_get_serial(message.get());
  reply.signature = dbus_message_get_signature(message.get());
  if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_ERROR) {
    reply.errorName = dbus_message_get_error_name(message.get());
    const char* text = nullptr;
    if (dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID)) {
      reply.errorMessage = text;
    }
  } else {
    reply.body = reply.signature.empty() ? "()" : "(" + reply.signature + ")";
  }
  return reply;
}

}  // namespace support
